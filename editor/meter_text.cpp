#include "editor/meter_text.h"

#include <cmath>
#include <cstdio>

#include "editor/meter_law.h"
#include "frame/text.h"

namespace Tannhofen::Editor {

namespace {

constexpr double kFullScale = 1.0;
constexpr double kZeroBand = 0.05; // dB that read as 0.0
constexpr const char* kPeakFormat = "%2.1f";
constexpr const char* kLevelFormat = "%.1f";

std::string formatDecibels(const char* format, double decibels) {
    char text[64] = {};
    std::snprintf(text, sizeof text, format, decibels);
    return text;
}

} // namespace

PeakText peakDisplayText(double peak, double floor, const std::string& units) {
    PeakText shown;
    if (peak > kFullScale) {
        shown.overFullScale = true;
        shown.text = formatDecibels(kPeakFormat, MeterLaw::levelToDecibels(peak));
    } else if (floor > peak || !(peak > 0.0)) {
        shown.text = "-oo";
    } else {
        const double decibels = MeterLaw::levelToDecibels(peak);
        shown.text = formatDecibels(kPeakFormat, std::fabs(decibels) < kZeroBand ? 0.0 : decibels);
    }
    if (!units.empty()) shown.text += " " + units;
    return shown;
}

std::u16string levelValueText(double level, const char* format) {
    const double decibels = MeterLaw::levelToDecibels(level);
    if (decibels <= MeterLaw::kFloorDecibels) return u"-\u221E";
    return Plx::utf8ToUtf16(formatDecibels(format ? format : kLevelFormat, decibels));
}

} // namespace Tannhofen::Editor
