#include "panner/handle_solver.h"

#include <algorithm>
#include <cmath>

#include "panner/affine_matrix.h"
#include "panner/orbit.h"

namespace Tannhofen::Panner {

float stageSizeOf(float scaleX, float scaleY, float scaleZ, const ImageShape& shape) {
    float stage = 1.0f;
    if (shape.multiChannel) stage = std::max(stage, scaleX + 1.0f);
    if (shape.multiZone) stage = std::max(stage, scaleY + 1.0f);
    if (shape.multiLayer) stage = std::max(stage, scaleZ + 1.0f);
    return stage;
}

ImagePose solveHandles(const Point3& left, const Point3& right, const ImagePose& current,
                       const ImageShape& shape) {
    for (int k = 0; k < 3; ++k)
        if (!std::isfinite(left[k]) || !std::isfinite(right[k])) return current;

    ImagePose out = current;
    if (shape.frontChannels >= 2) {
        const float dx = right[0] - left[0];
        const float dy = right[1] - left[1];
        const float dz = right[2] - left[2];
        const bool level = std::fabs(dx) >= kGainTolerance || std::fabs(dy) >= kGainTolerance;
        // A pair that stands exactly on top of the other is an image tilted by
        // a quarter turn: it keeps its rotation, and the height difference
        // gives the scale and the direction of the tilt.
        const bool upright = !level && std::fabs(dz) >= kGainTolerance;
        if (level || upright) {
            out.scaleX = std::clamp(std::sqrt(dx * dx + dy * dy + dz * dz), 0.0f, kMaxScale);
            out.tiltX = 0.0f;
            if (level) out.rotateZ = wrapTurns(directionToTurns(dx * 0.5f + 0.5f, dy * 0.5f + 0.5f) - 0.25f);
            // The edge turned back by the rotation: its length along x and its rise.
            const double c = out.rotateZ * kTwoPi;
            const auto along = static_cast<float>(dx * std::cos(c) + dy * std::sin(c));
            out.tiltY = wrapTurns(directionToTurns(along * 0.5f + 0.5f, -(dz * 0.5f) + 0.5f) - 0.25f);
        } else {
            out.scaleX = 0.0f;
        }
    }

    // The centre is the handles' midpoint less the image's own offset of that
    // midpoint: the layout position of the handle pair, scaled and turned as
    // the image is. With the front row at the front edge this puts the centre
    // half the image's depth behind the handles.
    AffineMatrix3D orientation;
    orientation.set(out.scaleX, out.scaleY, out.scaleZ, out.tiltX * kTwoPi, out.tiltY * kTwoPi,
                    out.rotateZ * kTwoPi, 0.0, 0.0, 0.0);
    float ox = shape.handleMiddle[0], oy = shape.handleMiddle[1], oz = shape.handleMiddle[2];
    orientation.transform(ox, oy, oz);

    const double stage = stageSizeOf(out.scaleX, out.scaleY, out.scaleZ, shape);
    const double g = (stage - 1.0) * 0.5;
    auto centre = [&](int k, float offset) {
        const double middle = (static_cast<double>(left[k]) + right[k]) * 0.5 - offset;
        return static_cast<float>(std::clamp((middle + g) / stage, 0.0, 1.0));
    };
    out.posX = centre(0, ox);
    out.posY = centre(1, oy);
    out.posZ = centre(2, oz);
    return out;
}

} // namespace Tannhofen::Panner
