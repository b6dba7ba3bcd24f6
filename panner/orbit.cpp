#include "panner/orbit.h"

#include <algorithm>
#include <cmath>

namespace Tannhofen::Panner {

float wrapTurns(float v) {
    if (v > 1.0f) v -= 1.0f;
    if (std::fabs(v) < kGainTolerance) return 0.0f;
    if (v < 0.0f) v += 1.0f;
    return v;
}

float directionToTurns(float u, float w) {
    const float du = u - 0.5f;
    const float dw = w - 0.5f;
    if (std::fabs(dw) >= kGainTolerance) {
        float a = std::atan(du / -dw) / kTwoPiF;
        if (dw > 0.0f) a += 0.5f;
        if (a > 1.0f) a -= 1.0f;
        if (std::fabs(a) < kGainTolerance) return 0.0f;
        if (a < 0.0f) a += 1.0f;
        return a;
    }
    if (std::fabs(du) > kGainTolerance) return du > 0.0f ? 0.25f : 0.75f;
    return 0.0f;
}

PlanePoint orbitPosition(PlanePoint anchor, double turns, float stageSize) {
    const double half = stageSize * 0.5;
    const double a = (anchor.x - 0.5) * stageSize;
    const double b = (anchor.y - 0.5) * stageSize;
    const double angle = turns * kTwoPi;
    const double c = std::cos(angle), s = std::sin(angle);
    PlanePoint p;
    p.x = static_cast<float>(std::clamp((a * c - b * s + half) / stageSize, 0.0, 1.0));
    p.y = static_cast<float>(std::clamp((half + a * s + b * c) / stageSize, 0.0, 1.0));
    return p;
}

PlanePoint radiusAnchor(float radius, float orbitTurns, float stageSize) {
    const double o = orbitTurns * kTwoPi;
    const double half = stageSize * 0.5;
    const double reach = radius * 0.5 * stageSize;
    PlanePoint p;
    p.x = static_cast<float>((reach * std::sin(o) + half) / stageSize);
    p.y = static_cast<float>((half - reach * std::cos(o)) / stageSize);
    return p;
}

float centreRadius(float x, float y) {
    const float dx = x - 0.5f, dy = y - 0.5f;
    return 2.0f * std::sqrt(dx * dx + dy * dy);
}

} // namespace Tannhofen::Panner
