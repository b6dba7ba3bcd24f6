// Speaker arrangements: a 64-bit mask with one bit per speaker position.
// Channels on a bus follow ascending bit order.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/speaker_arrangement_names.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::Plx {

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

// The named arrangements, in ascending mask order.
const ArrangementInfo* arrangementTable();

// Name shown to users: the short name, or the list of speakers with
// `longForm`. Empty text for an arrangement without a name.
const char* speakerArrangementName(SpeakerArrangement arrangement, bool longForm);

} // namespace Tannhofen::Plx
