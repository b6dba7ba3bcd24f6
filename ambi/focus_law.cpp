#include "ambi/focus_law.h"

namespace Tannhofen::AmbiBin {

float focusGain(float angleDegrees, float halfSize, float attenuation, float innerGain) {
    if (!(angleDegrees < halfSize)) return attenuation;
    const float x = angleDegrees / halfSize, x2 = x * x;
    return innerGain - x2 * x2 * (innerGain - attenuation);
}

float focusAzimuth(double v) {
    return float(-((v - 0.5) * 2 * 180));
}

float focusElevation(double v) {
    return float((v - 0.5) * 2 * 90);
}

float focusHalfSize(double v) {
    return float((v * 135 + 45) * 0.5);
}

float focusAttenuation(double v) {
    return float(v * 0.875 + 0.125);
}

} // namespace Tannhofen::AmbiBin
