// The words and titles of the 26 speaker positions, by speaker index, as the
// parameter tables name them ("inputSoloLs", "Left Surround Channel On/Off").
#pragma once

#include <cstdint>

#include "frame/speaker_arrangement.h"

namespace Tannhofen::Plx {

// Short word of each speaker index: L R C Ls Rs ... Lfe Lfe2.
inline constexpr const char* kSpeakerWords[kSpeakerIndexCount] = {
    "L",   "R",   "C",   "Ls",  "Rs",  "Lc",  "Rc",  "Cs",  "Sl",  "Sr",  "Tc",  "Tfl", "Tfc",
    "Tfr", "Trl", "Trc", "Trr", "Tsl", "Tsr", "Lcs", "Rcs", "Bfl", "Bfc", "Bfr", "Lfe", "Lfe2"};

// Title of each speaker index.
inline constexpr const char* kSpeakerTitles[kSpeakerIndexCount] = {"Left",
                                                                   "Right",
                                                                   "Center",
                                                                   "Left Surround",
                                                                   "Right Surround",
                                                                   "Left Center",
                                                                   "Right Center",
                                                                   "Center Surround",
                                                                   "Side Left",
                                                                   "Side Right",
                                                                   "Top Center",
                                                                   "Top Front Left",
                                                                   "Top Front Center",
                                                                   "Top Front Right",
                                                                   "Top Rear Left",
                                                                   "Top Rear Center",
                                                                   "Top Rear Right",
                                                                   "Top Side Left",
                                                                   "Top Side Right",
                                                                   "Left Center Surround",
                                                                   "Right Center Surround",
                                                                   "Bottom Front Left",
                                                                   "Bottom Front Center",
                                                                   "Bottom Front Right",
                                                                   "Lfe",
                                                                   "Lfe2"};

} // namespace Tannhofen::Plx
