#include "mix/pan_law.h"

#include <algorithm>
#include <cmath>

#include "mix/tolerance.h"

namespace Tannhofen::Mix {

namespace {

// Square root that treats the rounding residue below zero as zero.
float rootOf(float v) {
    return std::sqrt(std::max(v, 0.0f));
}

} // namespace

ThreeSpeakerGains threeSpeakerGains(float f, float v, float m, uint32_t active) {
    const float A = 1.0f - (static_cast<float>(active) - 2.0f) * m * m;
    const float s = std::sqrt(A / 2.0f);
    const float E = s - m;
    float lo, hi;
    if (f < -v) {
        // Between the lower speaker and the centre, away from the spread.
        hi = m;
        if (f < -0.5f) {
            const float u = s + E * (2.0f * f + 1.0f);
            lo = rootOf(A - u * u);
        } else {
            lo = m - E * 2.0f * f;
        }
    } else if (f > v) {
        lo = m;
        if (f > 0.5f) {
            const float u = s + E * (1.0f - 2.0f * f);
            hi = rootOf(A - u * u);
        } else {
            hi = m + E * 2.0f * f;
        }
    } else {
        // Within the spread around the centre: both outer speakers take part.
        const float w = v <= 0.5f ? v : 1.0f - v;
        if (f > w) {
            const float u = E * (2.0f - f - v) + m;
            hi = rootOf(A - u * u);
        } else {
            hi = E * (f + v) + m;
        }
        if (-f > w) {
            const float u = E * (2.0f + f - v) + m;
            lo = rootOf(A - u * u);
        } else {
            lo = m + E * (v - f);
        }
    }
    const float sum = (static_cast<float>(active) - 3.0f) * m * m + lo * lo + hi * hi;
    return {lo, hi, sum < 1.0f ? std::sqrt(1.0f - sum) : m};
}

float ringGain(float d, float surroundLvl) {
    return d <= kFlagTolerance ? 1.0f : powf(10.0f, d * log10f(surroundLvl));
}

} // namespace Tannhofen::Mix
