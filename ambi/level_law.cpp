#include "ambi/level_law.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tannhofen::AmbiBin {

namespace {

constexpr double kSilentLevel = 0.0001;
constexpr double kAttenuationScale = 0.6557;
constexpr double kAttenuationOffset = 0.3443;
constexpr double kAttenuationInverseScale = 1.5250876925423213;
constexpr double kAttenuationInverseOffset = 0.5250876925423213;

} // namespace

float gainLaw(double v) {
    if (!(v > 0)) return 0.0f;
    if (v >= 1) return 1.0f;
    return std::pow(static_cast<float>(v), static_cast<float>(kLevelExponent));
}

double levelDecibels(double v) {
    if (!(v > kSilentLevel)) return -std::numeric_limits<double>::infinity();
    return 20.0 * std::log10(std::pow(v, kLevelExponent));
}

double levelFromDecibels(double decibels) {
    if (std::isnan(decibels)) return 0.0;
    const double x = decibels > 0 ? -decibels : decibels;
    return std::pow(std::pow(10.0, x * 0.05), kInverseLevelExponent);
}

double attenuationDecibels(double v) {
    return levelDecibels(kAttenuationScale * std::clamp(v, 0.0, 1.0) + kAttenuationOffset);
}

double attenuationFromDecibels(double decibels) {
    const double v = levelFromDecibels(decibels) * kAttenuationInverseScale - kAttenuationInverseOffset;
    return std::clamp(v, 0.0, 1.0);
}

double meterDecibels(double level) {
    if (!(level > 0)) return kMeterFloorDecibels;
    return std::clamp(20.0 * std::log10(level), kMeterFloorDecibels, kMeterTopDecibels);
}

} // namespace Tannhofen::AmbiBin
