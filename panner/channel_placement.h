// The per-channel step of the panner's position recompute: each layout point
// is carried by the image's transform, given its height, projected onto the
// roof where there is one, and kept inside the room.
#pragma once

#include <cstddef>
#include <cstdint>

#include "panner/affine_matrix.h"
#include "panner/handle_solver.h"
#include "panner/roof_projector.h"

namespace Tannhofen::Panner {

struct PlacementRules {
    bool elevationOn = true;
    int32_t elevationMode = 0;
    float flatZ = -1.0f;                 // z of every channel while elevation is off
    const RoofProjector* roof = nullptr; // the ceiling to project onto, if any
};

// For each of `count` channels: image = transform(layout); z becomes the
// elevation pattern's height at the point (with elevation on) or flatZ; the
// point is copied to `raw` (when given) before the roof; components closer to
// 0 than 1e-07 become exactly 0; each component is clamped to -0.5 to 0.5
// (a NaN lands on the wall, never in a gain).
void placeChannels(const IAffineMatrix& transform, const Point3* layout, Point3* image, Point3* raw,
                   size_t count, const PlacementRules& rules);

} // namespace Tannhofen::Panner
