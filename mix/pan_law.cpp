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

Neighbours walkNeighbours(int32_t lo, int32_t hi, int32_t n, const uint8_t* muted) {
    Neighbours nb;
    for (int32_t k = 0; k < n; ++k) {
        if (muted[k]) continue;
        if (k <= lo || nb.lower < 0) nb.lower = k;
        nb.upper = k;
        if (k >= hi) break;
    }
    return nb;
}

Neighbours chooseNeighbours(float p, int32_t n, const uint8_t* muted) {
    const float q = static_cast<float>(n - 1) * p;
    const auto lo = static_cast<int32_t>(std::trunc(q));
    const int32_t hi = lo == n - 1 ? lo : lo + 1;
    Neighbours nb = walkNeighbours(lo, hi, n, muted);
    if (nb.upper > nb.lower)
        nb.blend = 2.0f * (q - static_cast<float>(nb.lower)) / static_cast<float>(nb.upper - nb.lower) - 1.0f;
    return nb;
}

float divergenceShare(uint32_t n, float spread) {
    return n > 0 ? std::sqrt(1.0f / static_cast<float>(n)) * spread : 0.0f;
}

PairGains pairGains(float f, float m, uint32_t active) {
    const float A = 1.0f - (static_cast<float>(active) - 2.0f) * m * m;
    const float D = std::sqrt(A / 2.0f) - m;
    const float up = (1.0f + f) * D + m;
    const float low = (1.0f - f) * D + m;
    return {f < 0.0f ? rootOf(A - up * up) : low, f > 0.0f ? rootOf(A - low * low) : up, m};
}

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
