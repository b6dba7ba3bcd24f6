// Speaker arrangements: a 64-bit mask with one bit per speaker position.
// Channels on a bus follow ascending bit order.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/speaker_arrangement_names.h"

namespace Tannhofen::Plx {

using SpeakerArrangement = uint64_t;

// Number of channels of an arrangement: its set bits.
inline int32_t getChannelCount(SpeakerArrangement arr) {
    return std::popcount(arr);
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
} // namespace Speaker

// The speaker index: a dense numbering of the 26 positions used by the solo and
// speaker tables (L R C Ls Rs Lc Rc Cs Sl Sr Tc Tfl Tfc Tfr Trl Trc Trr Tsl Tsr
// Lcs Rcs Bfl Bfc Bfr LFE LFE2).
inline constexpr int32_t kSpeakerIndexCount = 26;
inline constexpr int32_t kLfeIndex = 24;
inline constexpr int32_t kLfe2Index = 25;

// Mask of the single bit that a speaker index stands for. Indices of 26 and
// above map to the bit of the same number; negative ones to no bit.
SpeakerArrangement indexToBit(int32_t index);
// Speaker index of a single-bit mask.
int32_t bitToIndex(SpeakerArrangement mask);

// Number of channels of an arrangement.
int32_t channelCount(SpeakerArrangement arrangement);

// One named arrangement.
// The named arrangements, in ascending mask order.
const ArrangementInfo* arrangementTable();

// Name shown to users: the short name, or the list of speakers with
// `longForm`. Empty text for an arrangement without a name.
const char* speakerArrangementName(SpeakerArrangement arrangement, bool longForm);

} // namespace Tannhofen::Plx
