#include "ambi/speaker_directions.h"

#include <algorithm>
#include <array>

namespace Tannhofen::AmbiBin {

namespace {

using namespace Plx::Speaker;
using Dir = SpeakerDirection;

// A single speaker straight ahead.
constexpr std::array<Dir, 1> kMono = {{{M, 0, 0}}};

// ITU-R BS.2051, system A (0+2+0): M+030, M-030.
constexpr std::array<Dir, 2> kStereo = {{{L, 30, 0}, {R, -30, 0}}};

// A layout as a bed followed by upper speakers of higher bits.
template <size_t N, size_t M>
constexpr std::array<Dir, N + M> join(const std::array<Dir, N>& bed, const std::array<Dir, M>& upper) {
    std::array<Dir, N + M> all{};
    for (size_t i = 0; i < N; ++i) all[i] = bed[i];
    for (size_t i = 0; i < M; ++i) all[N + i] = upper[i];
    return all;
}

// ITU-R BS.2051, system B (0+5+0, ITU-R BS.775): M+030, M-030, M+000, M+110, M-110.
constexpr std::array<Dir, 5> k5_0 = {{{L, 30, 0}, {R, -30, 0}, {C, 0, 0}, {Ls, 110, 0}, {Rs, -110, 0}}};

// ITU-R BS.2051, system I (0+7+0): M+030, M-030, M+000, M+135, M-135 (rear
// pair Ls/Rs), M+090, M-090 (side pair Sl/Sr).
constexpr std::array<Dir, 7> k7_0 = {
    {{L, 30, 0}, {R, -30, 0}, {C, 0, 0}, {Ls, 135, 0}, {Rs, -135, 0}, {Sl, 90, 0}, {Sr, -90, 0}}};

// The bed of system I with the top side pair at the upper positions U+090 and
// U-090 of ITU-R BS.2051 (as in system H), at the nominal upper elevation of 30.
constexpr auto k7_0_2 = join(k7_0, std::array<Dir, 2>{{{Tsl, 90, 30}, {Tsr, -90, 30}}});

// ITU-R BS.2051, system D (4+5+0): the bed of system B, and U+030, U-030,
// U+110, U-110 at the nominal upper elevation of 30.
constexpr auto k5_0_4 =
    join(k5_0, std::array<Dir, 4>{{{Tfl, 30, 30}, {Tfr, -30, 30}, {Trl, 110, 30}, {Trr, -110, 30}}});

// The published Auro-3D 10.1 layout: the 5.1 bed of ITU-R BS.775 (+-30, 0,
// +-110), a height layer at 30 degrees above L, R, Ls and Rs, and the top
// speaker overhead.
constexpr auto kAuro10 = join(
    k5_0, std::array<Dir, 5>{{{Tc, 0, 90}, {Tfl, 30, 30}, {Tfr, -30, 30}, {Trl, 110, 30}, {Trr, -110, 30}}});

// ITU-R BS.2051, system J (4+7+0): the bed of system I, and U+045, U-045,
// U+135, U-135 at the nominal upper elevation of 30.
constexpr auto k7_0_4 =
    join(k7_0, std::array<Dir, 4>{{{Tfl, 45, 30}, {Tfr, -45, 30}, {Trl, 135, 30}, {Trr, -135, 30}}});

// ITU-R BS.2051, system H (9+10+3, 22.2): middle layer FL M+060, FR M-060,
// FC M+000, BL M+135, BR M-135, FLc M+030, FRc M-030, BC M180, SiL M+090,
// SiR M-090; upper layer at 30 degrees TpFL U+045, TpFC U+000, TpFR U-045,
// TpBL U+135, TpBC U180, TpBR U-135, TpSiL U+090, TpSiR U-090; TpC T+000
// overhead; bottom layer at -30 degrees BtFL B+045, BtFC B+000, BtFR B-045.
constexpr std::array<Dir, 22> k22_2 = {
    {{L, 60, 0},     {R, -60, 0},    {C, 0, 0},      {Ls, 135, 0},   {Rs, -135, 0},   {Lc, 30, 0},
     {Rc, -30, 0},   {Cs, 180, 0},   {Sl, 90, 0},    {Sr, -90, 0},   {Tc, 0, 90},     {Tfl, 45, 30},
     {Tfc, 0, 30},   {Tfr, -45, 30}, {Trl, 135, 30}, {Trc, 180, 30}, {Trr, -135, 30}, {Tsl, 90, 30},
     {Tsr, -90, 30}, {Bfl, 45, -30}, {Bfc, 0, -30},  {Bfr, -45, -30}}};

constexpr const char* kSourceMono = "one speaker straight ahead";
constexpr const char* kSourceStereo = "ITU-R BS.2051 system A (0+2+0)";
constexpr const char* kSource5 = "ITU-R BS.2051 system B (0+5+0, ITU-R BS.775)";
constexpr const char* kSource7 = "ITU-R BS.2051 system I (0+7+0)";
constexpr const char* kSource7_2 = "ITU-R BS.2051 system I with the upper side pair U+-090 of system H";
constexpr const char* kSource5_4 = "ITU-R BS.2051 system D (4+5+0)";
constexpr const char* kSourceAuro = "published Auro-3D 10.1 layout";
constexpr const char* kSource7_4 = "ITU-R BS.2051 system J (4+7+0)";
constexpr const char* kSource22 = "ITU-R BS.2051 system H (9+10+3)";

const std::array<LayoutDirections, 11> kLayouts = {{
    {Plx::Layout::kMono, kSourceMono, kMono},
    {Plx::Layout::kStereo, kSourceStereo, kStereo},
    {Plx::Layout::k5_0, kSource5, k5_0},
    {Plx::Layout::k5_1, kSource5, k5_0},
    {Plx::Layout::k7_1Music, kSource7, k7_0},
    {Plx::Layout::k7_0_2, kSource7_2, k7_0_2},
    {Plx::Layout::k7_1_2, kSource7_2, k7_0_2},
    {Plx::Layout::k5_1_4, kSource5_4, k5_0_4},
    {Plx::Layout::k10_1Auro3D, kSourceAuro, kAuro10},
    {Plx::Layout::k7_1_4, kSource7_4, k7_0_4},
    {Plx::Layout::k22_2, kSource22, k22_2},
}};

} // namespace

std::span<const LayoutDirections> speakerLayouts() {
    return kLayouts;
}

const LayoutDirections* findSpeakerLayout(Plx::SpeakerArrangement arrangement) {
    for (const auto& layout : kLayouts)
        if (layout.arrangement == arrangement) return &layout;
    return nullptr;
}

bool isHorizontal(const LayoutDirections& layout) {
    return std::all_of(layout.speakers.begin(), layout.speakers.end(),
                       [](const SpeakerDirection& s) { return s.elevation == 0; });
}

} // namespace Tannhofen::AmbiBin
