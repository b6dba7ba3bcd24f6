#include "editor/meter_law.h"

#include <algorithm>
#include <cmath>

namespace Tannhofen::Editor::MeterLaw {

double scaleFraction(double index) {
    if (!(index > kIndex60)) return 0.0;
    if (index < kIndex24) return kPowerFactor * std::pow(index - kIndex60, kPowerExponent);
    return 1.0 + (std::log10(index) - kLog10Top) * kLogSlope;
}

ScaleTable makeScaleTable() {
    ScaleTable table{};
    for (int i = 0; i < kScaleSize; ++i) table[static_cast<size_t>(i)] = scaleFraction(i);
    return table;
}

double levelFraction(const ScaleTable& table, double level) {
    const double index = std::clamp(level * kScaleFullIndex, 0.0, static_cast<double>(kScaleTop));
    if (std::isnan(index)) return 0.0;
    const auto below = static_cast<size_t>(index);
    const size_t above = std::min<size_t>(below + 1, kScaleTop);
    const double t = index - static_cast<double>(below);
    return table[below] + t * (table[above] - table[below]);
}

float decayedLevel(float level, float decayRate, double seconds) {
    const double decayed = level * (1.0 - decayRate * seconds);
    return decayed < kSilence ? 0.0f : static_cast<float>(decayed);
}

float decayRateFromSkin(double f) {
    if (std::isnan(f)) return kDefaultDecayRate;
    return static_cast<float>((1.0 - std::clamp(f, 0.01, 1.0)) * 100.0);
}

double levelToDecibels(double level) {
    return level > 0.0 ? 20.0 * std::log10(level) : kFloorDecibels;
}

} // namespace Tannhofen::Editor::MeterLaw
