// The pan law of the mix models, as plain functions. A point is spread over
// the output in three nested steps (height layers, depth zones of a layer,
// speakers of a zone), and each step uses the same pieces:
//
//  - chooseNeighbours: the two items (layers, zones or speakers) around a
//    position p in [0, 1], skipping muted ones, and the blend f in [-1, 1]
//    between them;
//  - divergenceShare: the share m = sqrt(1 / n) * spread that a divergence
//    gives every one of n active items;
//  - pairGains: the constant-power gains of the two neighbours and of the
//    other items for a blend f and a share m. With m = 0 the weaker side gets
//    (1 - |f|) * sqrt(1/2) and the stronger side the power complement, so the
//    squares of the two always sum to 1; with m > 0 the n items together keep
//    a power of 1.
//
// Zone 0 of a layer with a front centre may also use the three-speaker law
// (threeSpeakerGains), which spreads a point near the centre over the centre
// and its two equally distant neighbours, and a folded input meets the
// output's one ring through ringGain.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Tannhofen::Mix {

// sqrt(1/2): each of two speakers that share a signal at equal power.
inline constexpr float kSqrtHalf = 0.70710677f;

// The two neighbours of a position, and the blend between them: -1 is all on
// `lower`, +1 all on `upper`. Both are -1 when every item is muted; `blend`
// is -1 when they are the same item.
struct Neighbours {
    int32_t lower = -1;
    int32_t upper = -1;
    float blend = -1.0f;
};

// The neighbours of position p (0 to 1) over n items, of which those with a
// nonzero `muted` byte are skipped. With q = (n - 1) * p, the walk looks for
// the last unmuted item at or below trunc(q) and the first at or above the
// next one; at p = 1 both targets are the last item.
inline Neighbours chooseNeighbours(float p, int32_t n, const uint8_t* muted);

// The walk of chooseNeighbours between two given items `lo` and `hi`,
// without the blend: `lower` is the last unmuted item up to `lo` (or the
// first unmuted one), `upper` the first unmuted item from `hi` on (or the
// last unmuted one).
inline Neighbours walkNeighbours(int32_t lo, int32_t hi, int32_t n, const uint8_t* muted);

// sqrt(1 / n) * spread: the even share of each of n items at a divergence
// `spread` (0 is a point, 1 spreads evenly); 0 for no items.
inline float divergenceShare(uint32_t n, float spread);

// Gains of one constant-power step between two neighbours.
struct PairGains {
    float lower; // the lower neighbour
    float upper; // the upper neighbour
    float other; // every other unmuted item: the divergence share
};

// The step for blend f (-1 to 1) and share m among `active` unmuted items:
// with A = 1 - (active - 2) * m * m the power left to the pair and
// D = sqrt(A / 2) - m, the raw gains are (1 - f) * D + m below and
// (1 + f) * D + m above; the stronger side takes the power complement
// sqrt(A - weaker^2), so that the pair sums to A exactly.
inline PairGains pairGains(float f, float m, uint32_t active);

// Gains of the three-speaker law: the outer pair and the middle speaker.
struct ThreeSpeakerGains {
    float lower;
    float upper;
    float middle;
};

// The three-speaker law for blend f between the outer pair, centre spread v
// (0 to 1: how much of a centred point the pair takes), share m among
// `active` unmuted speakers of the zone. The middle speaker takes the power
// that the outer pair and the shares of the others leave.
ThreeSpeakerGains threeSpeakerGains(float f, float v, float m, uint32_t active);

// The gain with which a point at depth distance d (0 to 1) from the output's
// one ring reaches it: surroundLvl ^ d, taken as 10 ^ (d * log10(surroundLvl))
// in single precision; exactly 1 on the ring.
float ringGain(float d, float surroundLvl);

// The small steps run for every layer, zone and speaker of every point, and
// are defined here so that the model's loops can inline them.

inline Neighbours walkNeighbours(int32_t lo, int32_t hi, int32_t n, const uint8_t* muted) {
    Neighbours nb;
    for (int32_t k = 0; k < n; ++k) {
        if (muted[k]) continue;
        if (k <= lo || nb.lower < 0) nb.lower = k;
        nb.upper = k;
        if (k >= hi) break;
    }
    return nb;
}

inline Neighbours chooseNeighbours(float p, int32_t n, const uint8_t* muted) {
    const float q = static_cast<float>(n - 1) * p;
    const auto lo = static_cast<int32_t>(std::trunc(q));
    const int32_t hi = lo == n - 1 ? lo : lo + 1;
    Neighbours nb = walkNeighbours(lo, hi, n, muted);
    if (nb.upper > nb.lower)
        nb.blend = 2.0f * (q - static_cast<float>(nb.lower)) / static_cast<float>(nb.upper - nb.lower) - 1.0f;
    return nb;
}

inline float divergenceShare(uint32_t n, float spread) {
    return n > 0 ? std::sqrt(1.0f / static_cast<float>(n)) * spread : 0.0f;
}

inline PairGains pairGains(float f, float m, uint32_t active) {
    // Square roots of the power left, with the rounding residue below zero as zero.
    auto root = [](float v) { return std::sqrt(std::max(v, 0.0f)); };
    const float A = 1.0f - (static_cast<float>(active) - 2.0f) * m * m;
    const float D = std::sqrt(A / 2.0f) - m;
    const float up = (1.0f + f) * D + m;
    const float low = (1.0f - f) * D + m;
    return {f < 0.0f ? root(A - up * up) : low, f > 0.0f ? root(A - low * low) : up, m};
}

} // namespace Tannhofen::Mix
