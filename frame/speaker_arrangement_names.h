// The names of the speaker arrangements, as users know them from the editors.
// Header-only, so that a host program can show the same names without linking
// the module.
#pragma once

#include <cstdint>

namespace Tannhofen::Plx {

struct ArrangementInfo {
    uint64_t mask; // a SpeakerArrangement
    const char* shortName;
    const char* longName;
};
inline constexpr int32_t kArrangementCount = 70;

// Mask, short name and long name of every arrangement that has a name, in
// ascending mask order. Some long names carry slips ("Tfl Tfl", "Tsl Tsl",
// "Lfe") that users already know from the editors; they stay as they are.
inline constexpr ArrangementInfo kArrangements[kArrangementCount] = {
    {0x3, "Stereo", "L R"},
    {0x7, "LRC", "L R C"},
    {0xC, "Stereo (C LFE)", "C LFE"},
    {0xF, "LRC+LFE", "L R C LFE"},
    {0x30, "Stereo (Ls Rs)", "Ls Rs"},
    {0x33, "Quadro", "L R Ls Rs"},
    {0x37, "5.0", "L R C Ls Rs"},
    {0x3B, "Quadro+LFE", "L R LFE Ls Rs"},
    {0x3F, "5.1", "L R C LFE Ls Rs"},
    {0xC0, "Stereo (Lc Rc)", "Lc Rc"},
    {0xC7, "Cine Front", "L R C Lc Rc"},
    {0xF7, "7.0 Cine (SDDS)", "L R C Ls Rs Lc Rc"},
    {0xFF, "7.1 Cine (SDDS)", "L R C LFE Ls Rs Lc Rc"},
    {0x103, "LRS", "L R S"},
    {0x107, "LRCS", "L R C S"},
    {0x10B, "LRS+LFE", "L R LFE S"},
    {0x10F, "LRCS+LFE", "L R C LFE S"},
    {0x137, "6.0 Cine", "L R C Ls Rs Cs"},
    {0x13F, "6.1 Cine", "L R C LFE Ls Rs Cs"},
    {0x1F7, "8.0 Cine", "L R C Ls Rs Lc Rc Cs"},
    {0x1FF, "8.1 Cine", "L R C LFE Ls Rs Lc Rc Cs"},
    {0x600, "Stereo (Sl Sr)", "Sl Sr"},
    {0x633, "6.0 Music", "L R Ls Rs Sl Sr"},
    {0x637, "7.0 Music (Dolby)", "L R C Ls Rs Sl Sr"},
    {0x63B, "6.1 Music", "L R LFE Ls Rs Sl Sr"},
    {0x63F, "7.1 Music (Dolby)", "L R C LFE Ls Rs Sl Sr"},
    {0x6F7, "9.0 Cine", "L R C Ls Rs Lc Rc Sl Sr"},
    {0x6FF, "9.1 Cine", "L R C Lfe Ls Rs Lc Rc Sl Sr"},
    {0x737, "8.0 Music", "L R C Ls Rs Cs Sl Sr"},
    {0x73F, "8.1 Music", "L R C LFE Ls Rs Cs Sl Sr"},
    {0x7F7, "10.0 Cine", "L R C Ls Rs Lc Rc Cs Sl Sr"},
    {0x7FF, "10.1 Cine", "L R C Lfe Ls Rs Lc Rc Cs Sl Sr"},
    {0x93F, "7.1 Cine Top Center", "L R C LFE Ls Rs Cs Tc"},
    {0x213F, "7.1 Cine Center High", "L R C LFE Ls Rs Cs Tfc"},
    {0x5000, "Stereo (Tfl Tfr)", "Tfl Tfr"},
    {0x503F, "7.1 Cine Front High", "L R C LFE Ls Rs Tfl Tfl"},
    {0x28000, "Stereo (Trl Trr)", "Trl Trr"},
    {0x2D033, "8.0 Cube", "L R Ls Rs Tfl Tfr Trl Trr"},
    {0x2D037, "5.0.4", "L R C Ls Rs Tfl Tfr Trl Trr"},
    {0x2D03F, "5.1.4", "L R C LFE Ls Rs Tfl Tfr Trl Trr"},
    {0x2D637, "7.0.4", "L R C Ls Rs Sl Sr Tfl Tfr Trl Trr"},
    {0x2D63F, "7.1.4", "L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr"},
    {0x2D6F7, "9.0.4", "L R C Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr"},
    {0x2D6FF, "9.1.4", "L R C LFE Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr"},
    {0x2D837, "10.0 Auro-3D", "L R C Ls Rs Tc Tfl Tfr Trl Trr"},
    {0x2D83F, "10.1 Auro-3D", "L R C LFE Ls Rs Tc Tfl Tfr Trl Trr"},
    {0x2F837, "11.0 Auro-3D", "L R C Ls Rs Tc Tfl Tfc Tfr Trl Trr"},
    {0x2F83F, "11.1 Auro-3D", "L R C LFE Ls Rs Tc Tfl Tfc Tfr Trl Trr"},
    {0x2FE37, "13.0 Auro-3D", "L R C Ls Rs Sl Sr Tc Tfl Tfc Tfr Trl Trr"},
    {0x2FE3F, "13.1 Auro-3D", "L R C LFE Ls Rs Sl Sr Tc Tfl Tfc Tfr Trl Trr"},
    {0x6F03F, "10.2 Experimental", "L R C LFE Ls Rs Tfl Tfc Tfr Trl Trr LFE2"},
    {0x6F0FF, "12.2", "L R C LFE Ls Rs Lc Rc Tfl Tfc Tfr Trl Trr LFE2"},
    {0x80000, "Mono", "M"},
    {0xF00000, "1st Order Ambisonics", "0 1 2 3"},
    {0x3000000, "Stereo (Tsl Tsr)", "Tsl Tsr"},
    {0x300003F, "7.1 Cine Side High", "L R C LFE Ls Rs Tsl Tsl"},
    {0x3000637, "7.0.2", "L R C Ls Rs Sl Sr Tsl Tsr"},
    {0x300063F, "7.1.2", "L R C LFE Ls Rs Sl Sr Tsl Tsr"},
    {0x302D637, "7.0.6", "L R C Ls Rs Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {0x302D63F, "7.1.6", "L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {0x302D6F7, "9.0.6", "L R C Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {0x302D6FF, "9.1.6", "L R C LFE Ls Rs Lc Rc Sl Sr Tfl Tfr Trl Trr Tsl Tsr"},
    {0xC00003F, "7.1 Cine Full Rear", "L R C LFE Ls Rs Lcs Rcs"},
    {0x2000703B, "8.1 MPEG", "L R LFE Ls Rs Tfl Tfc Tfr Bfc"},
    {0x50000000, "Stereo (Bfl Bfr)", "Bfl Bfr"},
    {0x7307FFFF, "22.2",
     "L R C LFE Ls Rs Lc Rc Cs Sl Sr Tc Tfl Tfc Tfr Trl Trc Trr LFE2 Tsl Tsr Bfl Bfc Bfr"},
    {0x18000003F, "7.1 Proximity", "L R C LFE Ls Rs Pl Pr"},
    {0x285002D633, "14.0", "L R Ls Rs Sl Sr Tfl Tfr Trl Trr Bfl Bfr Brl Brr"},
    {0x7C000F00000, "2nd Order Ambisonics", "0 1 2 3 4 5 6 7 8"},
    {0x3FFC000F00000, "3rd Order Ambisonics", "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15"},
};

} // namespace Tannhofen::Plx
