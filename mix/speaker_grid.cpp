#include "mix/speaker_grid.h"

#include <bit>
#include <stdexcept>

namespace Tannhofen::Mix {

using Plx::SpeakerArrangement;
namespace Spk = Plx::Speaker;

namespace {

[[noreturn]] void subscriptError() {
    throw std::out_of_range("invalid array<T, N> subscript");
}

void checkCell(uint32_t row, uint32_t zone) {
    if (row >= SpeakerGrid::kRows || zone >= SpeakerGrid::kZones) subscriptError();
}

// Speaker bits of each row and zone, in grid order (rows bottom to top, zones
// front to rear). Bits given together share one count and one position (C or
// mono, Sl or Pl, Sr or Pr).
struct Cell {
    uint32_t row, zone;
    SpeakerArrangement bits[5];
};
constexpr Cell kCells[] = {
    {0, 0, {Spk::Bfl, Spk::Bfc, Spk::Bfr}},
    {0, 1, {Spk::Bsl, Spk::Bsr}},
    {0, 2, {Spk::Brl, Spk::Brc, Spk::Brr}},
    {1, 0, {Spk::L, Spk::Lc, Spk::C | Spk::M, Spk::Rc, Spk::R}},
    {1, 1, {Spk::Sl | Spk::Pl, Spk::Sr | Spk::Pr}},
    {1, 2, {Spk::Ls, Spk::Lcs, Spk::Cs, Spk::Rcs, Spk::Rs}},
    {2, 0, {Spk::Tfl, Spk::Tfc, Spk::Tfr}},
    {2, 1, {Spk::Tsl, Spk::Tc, Spk::Tsr}},
    {2, 2, {Spk::Trl, Spk::Trc, Spk::Trr}},
};

// Ambisonic channels 0 to 3 and 4 to 15: ear row, front zone, after its speakers.
constexpr SpeakerArrangement kAmbisonicBits = Spk::ambisonicChannels(16);
constexpr SpeakerArrangement kLfeBits = Spk::LFE | Spk::LFE2;

// Present bits of `mask` below `bit`, among `bits`.
int32_t rankAmong(SpeakerArrangement mask, SpeakerArrangement bits, SpeakerArrangement bit) {
    return std::popcount(mask & bits & (bit - 1));
}

} // namespace

void SpeakerGrid::clear() {
    *this = SpeakerGrid{};
}

void SpeakerGrid::build(SpeakerArrangement arrangement) {
    clear();
    mask = arrangement;
    for (const Cell& cell : kCells)
        for (SpeakerArrangement bits : cell.bits)
            if (bits & mask) ++counts[cell.row][cell.zone];
    counts[kEar][kFront] += static_cast<uint32_t>(std::popcount(mask & kAmbisonicBits));
    lfe = static_cast<uint32_t>(std::popcount(mask & kLfeBits));
    recount();
}

void SpeakerGrid::recount() {
    numLayers = 0;
    for (uint32_t row = 0; row < kRows; ++row) {
        spans[row] = 0;
        used[row] = 0;
        for (uint32_t zone = 0; zone < kZones; ++zone) {
            if (counts[row][zone] > 0) {
                spans[row] = zone + 1;
                ++used[row];
            }
        }
        if (used[row] > 0) layerRows[numLayers++] = row;
    }
}

uint32_t SpeakerGrid::count(uint32_t row, uint32_t zone) const {
    checkCell(row, zone);
    return counts[row][zone];
}

uint32_t SpeakerGrid::zoneSpan(uint32_t row) const {
    checkCell(row, 0);
    return spans[row];
}

uint32_t SpeakerGrid::usedZones(uint32_t row) const {
    checkCell(row, 0);
    return used[row];
}

uint32_t SpeakerGrid::rowTotal(uint32_t row) const {
    checkCell(row, 0);
    return counts[row][0] + counts[row][1] + counts[row][2];
}

uint32_t SpeakerGrid::mainCount() const {
    return rowTotal(0) + rowTotal(1) + rowTotal(2);
}

bool SpeakerGrid::hasFrontCenter() const {
    const uint32_t n = counts[kEar][kFront];
    return n >= 3 && (n & 1) != 0;
}

int32_t SpeakerGrid::positionOf(SpeakerArrangement bit) const {
    if (std::popcount(bit) != 1 || !(mask & bit)) return -1;
    int32_t offset = 0;
    for (const Cell& cell : kCells) {
        int32_t rank = 0;
        for (SpeakerArrangement bits : cell.bits) {
            if (bits & bit) return offset + rank;
            if (bits & mask) ++rank;
        }
        if (cell.row == kEar && cell.zone == kFront && (bit & kAmbisonicBits))
            return offset + rank + rankAmong(mask, kAmbisonicBits, bit);
        offset += static_cast<int32_t>(counts[cell.row][cell.zone]);
    }
    if (bit & kLfeBits) return offset + rankAmong(mask, kLfeBits, bit);
    return -1;
}

} // namespace Tannhofen::Mix
