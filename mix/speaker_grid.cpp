#include "mix/speaker_grid.h"

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

// Speaker bits of each row and zone, in grid order. Bits given together share
// one count (C or mono, Sl or Pl, Sr or Pr).
struct Cell {
    uint32_t row, zone;
    SpeakerArrangement bits[5];
};
constexpr Cell kCells[] = {
    {1, 0, {Spk::L, Spk::Lc, Spk::C | Spk::M, Spk::Rc, Spk::R}},
    {1, 1, {Spk::Sl | Spk::Pl, Spk::Sr | Spk::Pr}},
    {1, 2, {Spk::Ls, Spk::Lcs, Spk::Cs, Spk::Rcs, Spk::Rs}},
    {2, 0, {Spk::Tfl, Spk::Tfc, Spk::Tfr}},
    {2, 1, {Spk::Tsl, Spk::Tc, Spk::Tsr}},
    {2, 2, {Spk::Trl, Spk::Trc, Spk::Trr}},
    {0, 0, {Spk::Bfl, Spk::Bfc, Spk::Bfr}},
    {0, 1, {Spk::Bsl, Spk::Bsr}},
    {0, 2, {Spk::Brl, Spk::Brc, Spk::Brr}},
};

// Ambisonic channels 0 to 3 and 4 to 15.
constexpr SpeakerArrangement kAmbisonicBits = (Spk::Ambi0 * 0xF) | (Spk::Ambi4 * 0xFFF);

} // namespace

void SpeakerGrid::clear() {
    *this = SpeakerGrid{};
}

void SpeakerGrid::build(SpeakerArrangement mask) {
    clear();
    for (const Cell& cell : kCells)
        for (SpeakerArrangement bits : cell.bits)
            if (bits & mask) ++counts[cell.row][cell.zone];
    counts[kEar][kFront] += static_cast<uint32_t>(std::popcount(mask & kAmbisonicBits));
    lfe = static_cast<uint32_t>(std::popcount(mask & (Spk::LFE | Spk::LFE2)));
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
        if (used[row] > 0) ++numLayers;
    }
}

uint32_t SpeakerGrid::count(uint32_t row, uint32_t zone) const {
    checkCell(row, zone);
    return counts[row][zone];
}

void SpeakerGrid::setCount(uint32_t row, uint32_t zone, uint32_t n) {
    checkCell(row, zone);
    counts[row][zone] = n;
    recount();
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
    const auto a = static_cast<int32_t>(counts[0][0]), b = static_cast<int32_t>(counts[0][1]),
               c = static_cast<int32_t>(counts[0][2]), d = static_cast<int32_t>(counts[1][0]),
               e = static_cast<int32_t>(counts[1][1]), f = static_cast<int32_t>(counts[1][2]),
               g = static_cast<int32_t>(counts[2][0]), h = static_cast<int32_t>(counts[2][1]),
               i = static_cast<int32_t>(counts[2][2]);
    const int32_t bottom = a + b + c;       // first position of the ear row
    const int32_t ear = bottom + d + e + f; // first position of the top row
    const int32_t all = ear + g + h + i;
    switch (bit) {
    case Spk::Bfl: return 0;
    case Spk::Bfc: return a / 2;
    case Spk::Bfr: return a - 1;
    case Spk::Bsl: return a;
    case Spk::Bsr: return a + b - 1;
    case Spk::Brl: return a + b;
    case Spk::Brc: return a + b + 1;
    case Spk::Brr: return bottom - 1;
    case Spk::L: return bottom;
    case Spk::Lc: return bottom + d / 2 - 1;
    case Spk::C:
    case Spk::M: return d > 2 ? bottom + d / 2 : bottom;
    case Spk::Rc: return d > 2 ? bottom + d / 2 + 1 : bottom + d - 1;
    case Spk::R: return bottom + d - 1;
    case Spk::Sl:
    case Spk::Pl: return bottom + d;
    case Spk::Sr:
    case Spk::Pr: return bottom + d + 1;
    case Spk::Ls: return bottom + d + e;
    case Spk::Lcs: return bottom + d + e + f / 2 - 1;
    case Spk::Cs: return bottom + d + e + f / 2;
    case Spk::Rcs: return f > 2 ? bottom + d + e + f / 2 + 1 : ear - 1;
    case Spk::Rs: return ear - 1;
    case Spk::Tfl: return ear;
    case Spk::Tfc: return ear + 1;
    case Spk::Tfr: return ear + g - 1;
    case Spk::Tsl: return ear + g;
    case Spk::Tc: return ear + g + (h > 2 ? 1 : 0);
    case Spk::Tsr: return ear + g + h - 1;
    case Spk::Trl: return ear + g + h;
    case Spk::Trc: return ear + g + h + 1;
    case Spk::Trr: return all - 1;
    case Spk::LFE: return all;
    case Spk::LFE2: return all + 1;
    default: return -1;
    }
}

} // namespace Tannhofen::Mix
