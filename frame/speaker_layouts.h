// The speaker bits and the named speaker layouts built from them. Header-only,
// so that a host program can use the same names without linking the module.
// Channels on a bus follow ascending bit order.
#pragma once

#include <bit>
#include <cstdint>

namespace Tannhofen::Plx {

using SpeakerArrangement = uint64_t;

// Number of channels of an arrangement: its set bits.
constexpr int32_t channelCount(SpeakerArrangement arrangement) {
    return std::popcount(arrangement);
}

// The speaker bits.
namespace Speaker {
inline constexpr SpeakerArrangement L = 1ull << 0;
inline constexpr SpeakerArrangement R = 1ull << 1;
inline constexpr SpeakerArrangement C = 1ull << 2;
inline constexpr SpeakerArrangement LFE = 1ull << 3;
inline constexpr SpeakerArrangement Ls = 1ull << 4;
inline constexpr SpeakerArrangement Rs = 1ull << 5;
inline constexpr SpeakerArrangement Lc = 1ull << 6;
inline constexpr SpeakerArrangement Rc = 1ull << 7;
inline constexpr SpeakerArrangement Cs = 1ull << 8;
inline constexpr SpeakerArrangement Sl = 1ull << 9;
inline constexpr SpeakerArrangement Sr = 1ull << 10;
inline constexpr SpeakerArrangement Tc = 1ull << 11;
inline constexpr SpeakerArrangement Tfl = 1ull << 12;
inline constexpr SpeakerArrangement Tfc = 1ull << 13;
inline constexpr SpeakerArrangement Tfr = 1ull << 14;
inline constexpr SpeakerArrangement Trl = 1ull << 15;
inline constexpr SpeakerArrangement Trc = 1ull << 16;
inline constexpr SpeakerArrangement Trr = 1ull << 17;
inline constexpr SpeakerArrangement LFE2 = 1ull << 18;
inline constexpr SpeakerArrangement M = 1ull << 19;
inline constexpr SpeakerArrangement Ambi0 = 1ull << 20; // ambisonic channels 0 to 3: bits 20 to 23
inline constexpr SpeakerArrangement Tsl = 1ull << 24;
inline constexpr SpeakerArrangement Tsr = 1ull << 25;
inline constexpr SpeakerArrangement Lcs = 1ull << 26;
inline constexpr SpeakerArrangement Rcs = 1ull << 27;
inline constexpr SpeakerArrangement Bfl = 1ull << 28;
inline constexpr SpeakerArrangement Bfc = 1ull << 29;
inline constexpr SpeakerArrangement Bfr = 1ull << 30;
inline constexpr SpeakerArrangement Pl = 1ull << 31;
inline constexpr SpeakerArrangement Pr = 1ull << 32;
inline constexpr SpeakerArrangement Bsl = 1ull << 33;
inline constexpr SpeakerArrangement Bsr = 1ull << 34;
inline constexpr SpeakerArrangement Brl = 1ull << 35;
inline constexpr SpeakerArrangement Brc = 1ull << 36;
inline constexpr SpeakerArrangement Brr = 1ull << 37;
inline constexpr SpeakerArrangement Ambi4 = 1ull << 38; // ambisonic channels 4 to 15: bits 38 to 49

// The bits of the first `count` ambisonic channels (ACN order): channels 0 to 3
// lie on bits 20 to 23, channels 4 to 15 on bits 38 to 49.
constexpr SpeakerArrangement ambisonicChannels(int count) {
    SpeakerArrangement bits = 0;
    for (int ch = 0; ch < count && ch < 16; ++ch) bits |= ch < 4 ? Ambi0 << ch : Ambi4 << (ch - 4);
    return bits;
}

// The ambisonic channel (ACN) that bit number `bit` carries, or -1 for a speaker bit.
constexpr int ambisonicChannel(int bit) {
    if (bit >= 20 && bit <= 23) return bit - 20;
    if (bit >= 38 && bit <= 49) return bit - 38 + 4;
    return -1;
}

// The label of the speaker on bit number `bit` ("L", "LFE", "Tfl", ...), as
// the editors print it; null for an ambisonic channel or a bit without a speaker.
constexpr const char* label(int bit) {
    constexpr const char* kLabels[38] = {
        "L",   "R",   "C",   "LFE", "Ls",  "Rs",   "Lc", "Rc",    "Cs",    "Sl",    "Sr",    "Tc",  "Tfl",
        "Tfc", "Tfr", "Trl", "Trc", "Trr", "LFE2", "M",  nullptr, nullptr, nullptr, nullptr, "Tsl", "Tsr",
        "Lcs", "Rcs", "Bfl", "Bfc", "Bfr", "Pl",   "Pr", "Bsl",   "Bsr",   "Brl",   "Brc",   "Brr"};
    return bit >= 0 && bit < 38 ? kLabels[bit] : nullptr;
}
} // namespace Speaker

// The named layouts, by the names users know them by.
namespace Layout {
using namespace Speaker;
inline constexpr SpeakerArrangement kStereo = L | R;                                     // "Stereo"
inline constexpr SpeakerArrangement kLRC = L | R | C;                                    // "LRC"
inline constexpr SpeakerArrangement kStereoCLfe = C | LFE;                               // "Stereo (C LFE)"
inline constexpr SpeakerArrangement kLRCLfe = L | R | C | LFE;                           // "LRC+LFE"
inline constexpr SpeakerArrangement kStereoLsRs = Ls | Rs;                               // "Stereo (Ls Rs)"
inline constexpr SpeakerArrangement kQuadro = L | R | Ls | Rs;                           // "Quadro"
inline constexpr SpeakerArrangement k5_0 = L | R | C | Ls | Rs;                          // "5.0"
inline constexpr SpeakerArrangement kQuadroLfe = L | R | LFE | Ls | Rs;                  // "Quadro+LFE"
inline constexpr SpeakerArrangement k5_1 = L | R | C | LFE | Ls | Rs;                    // "5.1"
inline constexpr SpeakerArrangement kStereoLcRc = Lc | Rc;                               // "Stereo (Lc Rc)"
inline constexpr SpeakerArrangement kCineFront = L | R | C | Lc | Rc;                    // "Cine Front"
inline constexpr SpeakerArrangement k7_0Cine = L | R | C | Ls | Rs | Lc | Rc;            // "7.0 Cine (SDDS)"
inline constexpr SpeakerArrangement k7_1Cine = L | R | C | LFE | Ls | Rs | Lc | Rc;      // "7.1 Cine (SDDS)"
inline constexpr SpeakerArrangement kLRS = L | R | Cs;                                   // "LRS"
inline constexpr SpeakerArrangement kLRCS = L | R | C | Cs;                              // "LRCS"
inline constexpr SpeakerArrangement kLRSLfe = L | R | LFE | Cs;                          // "LRS+LFE"
inline constexpr SpeakerArrangement kLRCSLfe = L | R | C | LFE | Cs;                     // "LRCS+LFE"
inline constexpr SpeakerArrangement k6_0Cine = L | R | C | Ls | Rs | Cs;                 // "6.0 Cine"
inline constexpr SpeakerArrangement k6_1Cine = L | R | C | LFE | Ls | Rs | Cs;           // "6.1 Cine"
inline constexpr SpeakerArrangement k8_0Cine = L | R | C | Ls | Rs | Lc | Rc | Cs;       // "8.0 Cine"
inline constexpr SpeakerArrangement k8_1Cine = L | R | C | LFE | Ls | Rs | Lc | Rc | Cs; // "8.1 Cine"
inline constexpr SpeakerArrangement kStereoSlSr = Sl | Sr;                               // "Stereo (Sl Sr)"
inline constexpr SpeakerArrangement k6_0Music = L | R | Ls | Rs | Sl | Sr;               // "6.0 Music"
inline constexpr SpeakerArrangement k7_0Music = L | R | C | Ls | Rs | Sl | Sr;          // "7.0 Music (Dolby)"
inline constexpr SpeakerArrangement k6_1Music = L | R | LFE | Ls | Rs | Sl | Sr;        // "6.1 Music"
inline constexpr SpeakerArrangement k7_1Music = L | R | C | LFE | Ls | Rs | Sl | Sr;    // "7.1 Music (Dolby)"
inline constexpr SpeakerArrangement k9_0Cine = L | R | C | Ls | Rs | Lc | Rc | Sl | Sr; // "9.0 Cine"
inline constexpr SpeakerArrangement k9_1Cine = L | R | C | LFE | Ls | Rs | Lc | Rc | Sl | Sr; // "9.1 Cine"
inline constexpr SpeakerArrangement k8_0Music = L | R | C | Ls | Rs | Cs | Sl | Sr;           // "8.0 Music"
inline constexpr SpeakerArrangement k8_1Music = L | R | C | LFE | Ls | Rs | Cs | Sl | Sr;     // "8.1 Music"
inline constexpr SpeakerArrangement k10_0Cine = L | R | C | Ls | Rs | Lc | Rc | Cs | Sl | Sr; // "10.0 Cine"
inline constexpr SpeakerArrangement k10_1Cine =
    L | R | C | LFE | Ls | Rs | Lc | Rc | Cs | Sl | Sr; // "10.1 Cine"
inline constexpr SpeakerArrangement k7_1CineTopCenter =
    L | R | C | LFE | Ls | Rs | Cs | Tc; // "7.1 Cine Top Center"
inline constexpr SpeakerArrangement k7_1CineCenterHigh =
    L | R | C | LFE | Ls | Rs | Cs | Tfc;                      // "7.1 Cine Center High"
inline constexpr SpeakerArrangement kStereoTflTfr = Tfl | Tfr; // "Stereo (Tfl Tfr)"
inline constexpr SpeakerArrangement k7_1CineFrontHigh =
    L | R | C | LFE | Ls | Rs | Tfl | Tfr;                     // "7.1 Cine Front High"
inline constexpr SpeakerArrangement kStereoTrlTrr = Trl | Trr; // "Stereo (Trl Trr)"
inline constexpr SpeakerArrangement k8_0Cube = L | R | Ls | Rs | Tfl | Tfr | Trl | Trr;         // "8.0 Cube"
inline constexpr SpeakerArrangement k5_0_4 = L | R | C | Ls | Rs | Tfl | Tfr | Trl | Trr;       // "5.0.4"
inline constexpr SpeakerArrangement k5_1_4 = L | R | C | LFE | Ls | Rs | Tfl | Tfr | Trl | Trr; // "5.1.4"
inline constexpr SpeakerArrangement k7_0_4 = L | R | C | Ls | Rs | Sl | Sr | Tfl | Tfr | Trl | Trr; // "7.0.4"
inline constexpr SpeakerArrangement k7_1_4 =
    L | R | C | LFE | Ls | Rs | Sl | Sr | Tfl | Tfr | Trl | Trr; // "7.1.4"
inline constexpr SpeakerArrangement k9_0_4 =
    L | R | C | Ls | Rs | Lc | Rc | Sl | Sr | Tfl | Tfr | Trl | Trr; // "9.0.4"
inline constexpr SpeakerArrangement k9_1_4 =
    L | R | C | LFE | Ls | Rs | Lc | Rc | Sl | Sr | Tfl | Tfr | Trl | Trr; // "9.1.4"
inline constexpr SpeakerArrangement k10_0Auro3D =
    L | R | C | Ls | Rs | Tc | Tfl | Tfr | Trl | Trr; // "10.0 Auro-3D"
inline constexpr SpeakerArrangement k10_1Auro3D =
    L | R | C | LFE | Ls | Rs | Tc | Tfl | Tfr | Trl | Trr; // "10.1 Auro-3D"
inline constexpr SpeakerArrangement k11_0Auro3D =
    L | R | C | Ls | Rs | Tc | Tfl | Tfc | Tfr | Trl | Trr; // "11.0 Auro-3D"
inline constexpr SpeakerArrangement k11_1Auro3D =
    L | R | C | LFE | Ls | Rs | Tc | Tfl | Tfc | Tfr | Trl | Trr; // "11.1 Auro-3D"
inline constexpr SpeakerArrangement k13_0Auro3D =
    L | R | C | Ls | Rs | Sl | Sr | Tc | Tfl | Tfc | Tfr | Trl | Trr; // "13.0 Auro-3D"
inline constexpr SpeakerArrangement k13_1Auro3D =
    L | R | C | LFE | Ls | Rs | Sl | Sr | Tc | Tfl | Tfc | Tfr | Trl | Trr; // "13.1 Auro-3D"
inline constexpr SpeakerArrangement k10_2Experimental =
    L | R | C | LFE | Ls | Rs | Tfl | Tfc | Tfr | Trl | Trr | LFE2; // "10.2 Experimental"
inline constexpr SpeakerArrangement k12_2 =
    L | R | C | LFE | Ls | Rs | Lc | Rc | Tfl | Tfc | Tfr | Trl | Trr | LFE2; // "12.2"
inline constexpr SpeakerArrangement kMono = M;                                // "Mono"
inline constexpr SpeakerArrangement kAmbi1 = ambisonicChannels(4);            // "1st Order Ambisonics"
inline constexpr SpeakerArrangement kStereoTslTsr = Tsl | Tsr;                // "Stereo (Tsl Tsr)"
inline constexpr SpeakerArrangement k7_1CineSideHigh =
    L | R | C | LFE | Ls | Rs | Tsl | Tsr; // "7.1 Cine Side High"
inline constexpr SpeakerArrangement k7_0_2 = L | R | C | Ls | Rs | Sl | Sr | Tsl | Tsr;       // "7.0.2"
inline constexpr SpeakerArrangement k7_1_2 = L | R | C | LFE | Ls | Rs | Sl | Sr | Tsl | Tsr; // "7.1.2"
inline constexpr SpeakerArrangement k7_0_6 =
    L | R | C | Ls | Rs | Sl | Sr | Tfl | Tfr | Trl | Trr | Tsl | Tsr; // "7.0.6"
inline constexpr SpeakerArrangement k7_1_6 =
    L | R | C | LFE | Ls | Rs | Sl | Sr | Tfl | Tfr | Trl | Trr | Tsl | Tsr; // "7.1.6"
inline constexpr SpeakerArrangement k9_0_6 =
    L | R | C | Ls | Rs | Lc | Rc | Sl | Sr | Tfl | Tfr | Trl | Trr | Tsl | Tsr; // "9.0.6"
inline constexpr SpeakerArrangement k9_1_6 =
    L | R | C | LFE | Ls | Rs | Lc | Rc | Sl | Sr | Tfl | Tfr | Trl | Trr | Tsl | Tsr; // "9.1.6"
inline constexpr SpeakerArrangement k7_1CineFullRear =
    L | R | C | LFE | Ls | Rs | Lcs | Rcs; // "7.1 Cine Full Rear"
inline constexpr SpeakerArrangement k8_1Mpeg = L | R | LFE | Ls | Rs | Tfl | Tfc | Tfr | Bfc; // "8.1 MPEG"
inline constexpr SpeakerArrangement kStereoBflBfr = Bfl | Bfr; // "Stereo (Bfl Bfr)"
inline constexpr SpeakerArrangement k22_2 = L | R | C | LFE | Ls | Rs | Lc | Rc | Cs | Sl | Sr | Tc | Tfl |
                                            Tfc | Tfr | Trl | Trc | Trr | LFE2 | Tsl | Tsr | Bfl | Bfc |
                                            Bfr;                                         // "22.2"
inline constexpr SpeakerArrangement k7_1Proximity = L | R | C | LFE | Ls | Rs | Pl | Pr; // "7.1 Proximity"
inline constexpr SpeakerArrangement k14_0 =
    L | R | Ls | Rs | Sl | Sr | Tfl | Tfr | Trl | Trr | Bfl | Bfr | Brl | Brr; // "14.0"
inline constexpr SpeakerArrangement kAmbi2 = ambisonicChannels(9);             // "2nd Order Ambisonics"
inline constexpr SpeakerArrangement kAmbi3 = ambisonicChannels(16);            // "3rd Order Ambisonics"
} // namespace Layout

// One of the three ambisonic layouts, first to third order.
constexpr bool isAmbisonicLayout(SpeakerArrangement mask) {
    return mask == Layout::kAmbi1 || mask == Layout::kAmbi2 || mask == Layout::kAmbi3;
}

} // namespace Tannhofen::Plx
