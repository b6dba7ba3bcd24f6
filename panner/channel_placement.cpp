#include "panner/channel_placement.h"

#include <cmath>

#include "panner/elevation_pattern.h"

namespace Tannhofen::Panner {

namespace {

// Components this close to 0 are rounding residue of a rotation, and are 0.
constexpr float kSnapToZero = 1e-07f;

float keepInRoom(float v) {
    if (v > -kSnapToZero && v < kSnapToZero) v = 0.0f;
    return std::fmax(-0.5f, std::fmin(0.5f, v));
}

} // namespace

void placeChannels(const IAffineMatrix& transform, const Point3* layout, Point3* image, Point3* raw,
                   size_t count, const PlacementRules& rules) {
    for (size_t i = 0; i < count; ++i) {
        float x = layout[i][0], y = layout[i][1], z = layout[i][2];
        transform.transform(x, y, z);
        z = rules.elevationOn
                ? elevationPatternValue(rules.elevationMode, x + 0.5f, y + 0.5f, z + 0.5f) - 0.5f
                : rules.flatZ;
        if (raw) raw[i] = {x, y, z};
        if (rules.roof) rules.roof->project(x, y, z);
        image[i] = {keepInRoom(x), keepInRoom(y), keepInRoom(z)};
    }
}

} // namespace Tannhofen::Panner
