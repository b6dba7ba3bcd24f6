// The texts of the meters: the numeric peak display, and a level shown as a
// parameter value.
#pragma once

#include <string>

namespace Tannhofen::Editor {

// What the peak display draws: its text and whether it is drawn in the
// colour for peaks above full scale ("ap.vu.peak") or in the one up to it
// ("ap.vu.norm").
struct PeakText {
    std::string text;
    bool overFullScale = false;
};

// A peak above 1.0 shows its decibels with one decimal ("%2.1f") over full
// scale. Up to 1.0: "-oo" when the display's floor lies above the peak, else
// its decibels, where a magnitude below 0.05 dB reads 0.0. `units`, when not
// empty, follows after a space.
PeakText peakDisplayText(double peak, double floor, const std::string& units = {});

// A level as a parameter value: 20 log10 of it through `format` (one double),
// or minus infinity (U+221E) at -180 dB and below, where 0 and below count as
// -180 dB. A null format is "%.1f".
std::u16string levelValueText(double level, const char* format = nullptr);

} // namespace Tannhofen::Editor
