// The names of the speaker arrangements, as users know them from the editors.
// Header-only, so that a host program can show the same names without linking
// the module.
#pragma once

#include <cstdint>

#include "frame/speaker_layouts.h"

namespace Tannhofen::Plx {

struct ArrangementInfo {
    SpeakerArrangement mask;
    const char* shortName;
    const char* longName;
};
inline constexpr int32_t kArrangementCount = 70;

// Mask, short name and long name of every arrangement that has a name, in
// ascending mask order. Some long names carry slips ("Tfl Tfl", "Tsl Tsl",
// "Lfe") that users already know from the editors; they stay as they are.
inline constexpr ArrangementInfo kArrangements[kArrangementCount] = {
    {Layout::kStereo, "Stereo", "L R"},
    {Layout::kLRC, "LRC", "L R C"},
    {Layout::kStereoCLfe, "Stereo (C LFE)", "C LFE"},
    {Layout::kLRCLfe, "LRC+LFE", "L R C LFE"},
    {Layout::kStereoLsRs, "Stereo (Ls Rs)", "Ls Rs"},
    {Layout::kQuadro, "Quadro", "L R Ls Rs"},
    {Layout::k5_0, "5.0", "L R C Ls Rs"},
    {Layout::kQuadroLfe, "Quadro+LFE", "L R LFE Ls Rs"},
    {Layout::k5_1, "5.1", "L R C LFE Ls Rs"},
    {Layout::kStereoLcRc, "Stereo (Lc Rc)", "Lc Rc"},
    {Layout::kCineFront, "Cine Front", "L R C Lc Rc"},
    {Layout::k7_0Cine, "7.0 Cine (SDDS)", "L R C Ls Rs Lc Rc"},
    {Layout::k7_1Cine, "7.1 Cine (SDDS)", "L R C LFE Ls Rs Lc Rc"},
    {Layout::kLRS, "LRS", "L R S"},
    {Layout::kLRCS, "LRCS", "L R C S"},
    {Layout::kLRSLfe, "LRS+LFE", "L R LFE S"},
    {Layout::kLRCSLfe, "LRCS+LFE", "L R C LFE S"},
    {Layout::k6_0Cine, "6.0 Cine", "L R C Ls Rs Cs"},
    {Layout::k6_1Cine, "6.1 Cine", "L R C LFE Ls Rs Cs"},
    {Layout::k8_0Cine, "8.0 Cine", "L R C Ls Rs Lc Rc Cs"},
    {Layout::k8_1Cine, "8.1 Cine", "L R C LFE Ls Rs Lc Rc Cs"},
    {Layout::kStereoSlSr, "Stereo (Sl Sr)", "Sl Sr"},
    {Layout::k6_0Music, "6.0 Music", "L R Ls Rs Sl Sr"},
    {Layout::k7_0Music, "7.0 Music (Dolby)", "L R C Ls Rs Sl Sr"},
    {Layout::k6_1Music, "6.1 Music", "L R LFE Ls Rs Sl Sr"},
    {Layout::k7_1Music, "7.1 Music (Dolby)", "L R C LFE Ls Rs Sl Sr"},
    {Layout::k9_0Cine, "9.0 Cine", "L R C Ls Rs Lc Rc Sl Sr"},
    {Layout::k9_1Cine, "9.1 Cine", "L R C Lfe Ls Rs Lc Rc Sl Sr"},
    {Layout::k8_0Music, "8.0 Music", "L R C Ls Rs Cs Sl Sr"},
    {Layout::k8_1Music, "8.1 Music", "L R C LFE Ls Rs Cs Sl Sr"},
    {Layout::k10_0Cine, "10.0 Cine", "L R C Ls Rs Lc Rc Cs Sl Sr"},
    {Layout::k10_1Cine, "10.1 Cine", "L R C Lfe Ls Rs Lc Rc Cs Sl Sr"},
    {Layout::k7_1CineTopCenter, "7.1 Cine Top Center", "L R C LFE Ls Rs Cs Tc"},
    {Layout::k7_1CineCenterHigh, "7.1 Cine Center High", "L R C LFE Ls Rs Cs Tfc"},
    {Layout::kStereoTflTfr, "Stereo (Tfl Tfr)", "Tfl Tfr"},
    {Layout::k7_1CineFrontHigh, "7.1 Cine Front High", "L R C LFE Ls Rs Tfl Tfl"},
    {Layout::kStereoTrlTrr, "Stereo (Trl Trr)", "Trl Trr"},
    {Layout::k8_0Cube, "8.0 Cube", "L R Ls Rs Tfl Tfr Trl Trr"},
    {Layout::k5_0_4, "5.0.4", "L R C Ls Rs Tfl Tfr Trl Trr"},
    {Layout::k5_1_4, "5.1.4", "L R C LFE Ls Rs Tfl Tfr Trl Trr"},
    {Layout::k7_0_4, "7.0.4", "L R C Ls Rs Sl Sr Tfl Tfr Trl Trr"},
    {Layout::k7_1_4, "7.1.4", "L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr"},
    {Layout::k9_0_4, "9.0.4", "L R C Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr"},
    {Layout::k9_1_4, "9.1.4", "L R C LFE Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr"},
    {Layout::k10_0Auro3D, "10.0 Auro-3D", "L R C Ls Rs Tc Tfl Tfr Trl Trr"},
    {Layout::k10_1Auro3D, "10.1 Auro-3D", "L R C LFE Ls Rs Tc Tfl Tfr Trl Trr"},
    {Layout::k11_0Auro3D, "11.0 Auro-3D", "L R C Ls Rs Tc Tfl Tfc Tfr Trl Trr"},
    {Layout::k11_1Auro3D, "11.1 Auro-3D", "L R C LFE Ls Rs Tc Tfl Tfc Tfr Trl Trr"},
    {Layout::k13_0Auro3D, "13.0 Auro-3D", "L R C Ls Rs Sl Sr Tc Tfl Tfc Tfr Trl Trr"},
    {Layout::k13_1Auro3D, "13.1 Auro-3D", "L R C LFE Ls Rs Sl Sr Tc Tfl Tfc Tfr Trl Trr"},
    {Layout::k10_2Experimental, "10.2 Experimental", "L R C LFE Ls Rs Tfl Tfc Tfr Trl Trr LFE2"},
    {Layout::k12_2, "12.2", "L R C LFE Ls Rs Lc Rc Tfl Tfc Tfr Trl Trr LFE2"},
    {Layout::kMono, "Mono", "M"},
    {Layout::kAmbi1, "1st Order Ambisonics", "0 1 2 3"},
    {Layout::kStereoTslTsr, "Stereo (Tsl Tsr)", "Tsl Tsr"},
    {Layout::k7_1CineSideHigh, "7.1 Cine Side High", "L R C LFE Ls Rs Tsl Tsl"},
    {Layout::k7_0_2, "7.0.2", "L R C Ls Rs Sl Sr Tsl Tsr"},
    {Layout::k7_1_2, "7.1.2", "L R C LFE Ls Rs Sl Sr Tsl Tsr"},
    {Layout::k7_0_6, "7.0.6", "L R C Ls Rs Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {Layout::k7_1_6, "7.1.6", "L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {Layout::k9_0_6, "9.0.6", "L R C Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {Layout::k9_1_6, "9.1.6", "L R C LFE Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {Layout::k7_1CineFullRear, "7.1 Cine Full Rear", "L R C LFE Ls Rs Lcs Rcs"},
    {Layout::k8_1Mpeg, "8.1 MPEG", "L R LFE Ls Rs Tfl Tfc Tfr Bfc"},
    {Layout::kStereoBflBfr, "Stereo (Bfl Bfr)", "Bfl Bfr"},
    {Layout::k22_2, "22.2",
     "L R C LFE Ls Rs Lc Rc Cs Sl Sr Tc Tfl Tfc Tfr Trl Trc Trr LFE2 Tsl Tsr Bfl Bfc Bfr"},
    {Layout::k7_1Proximity, "7.1 Proximity", "L R C LFE Ls Rs Pl Pr"},
    {Layout::k14_0, "14.0", "L R Ls Rs Sl Sr Tfl Tfr Trl Trr Bfl Bfr Brl Brr"},
    {Layout::kAmbi2, "2nd Order Ambisonics", "0 1 2 3 4 5 6 7 8"},
    {Layout::kAmbi3, "3rd Order Ambisonics", "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15"},
};

} // namespace Tannhofen::Plx
