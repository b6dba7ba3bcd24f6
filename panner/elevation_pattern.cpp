#include "panner/elevation_pattern.h"

#include <cmath>

namespace Tannhofen::Panner {

namespace {

// 1 at mid depth, falling linearly to 0 at the front and rear walls.
float wedge(float y) {
    return 1.0f - std::fmin(std::fabs(1.0f - 2.0f * y), 1.0f);
}

// Height of the unit dome above a squared distance d from its axis.
float dome(float d) {
    return std::sqrt(1.0f - std::fmin(d, 1.0f));
}

float squared(float v) {
    return v * v;
}

} // namespace

float elevationPatternValue(int32_t mode, float x, float y, float z) {
    switch (mode) {
    case kElevationWedge: return wedge(y);
    case kElevationCeiling: {
        const float w = 1.0f - 2.0f * y;
        if (w > 1.0f) return 0.0f;
        if (w <= kCeilingFlatEdge) return 1.0f;
        return std::isnan(w) ? 0.0f : (1.0f - w) / kCeilingSlope;
    }
    case kElevationSphere: return dome(squared(2.0f * x - 1.0f) + squared(1.0f - 2.0f * y));
    case kElevationCup: return 1.0f - dome(squared(2.0f * x - 1.0f) + squared(1.0f - 2.0f * y));
    case kElevationTunnel: return dome(squared(2.0f * x - 1.0f));
    case kElevationHalfPipe: return 1.0f - dome(squared(2.0f * x - 1.0f));
    case kElevationRidge: {
        const float q = wedge(y);
        return q * q * q * q;
    }
    default: return z;
    }
}

} // namespace Tannhofen::Panner
