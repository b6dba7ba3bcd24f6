// The two handles of a panner image and the solver that turns them back into
// the image. The handles are the image's front left and front right corners:
// the first and the last channel of the first filled zone of the input's middle
// row. Dragging one moves, scales, rotates and tilts the whole image so that
// its front edge runs between the two handles.
#pragma once

#include <array>
#include <cstdint>

namespace Tannhofen::Panner {

using Point3 = std::array<float, 3>;

// The controls that place an image. Centre normalized (0 to 1), scales 0 to
// 1.4142135, angles in turns.
struct ImagePose {
    float posX = 0.5f;
    float posY = 0.0f;
    float posZ = 0.0f;
    float scaleX = 1.0f;
    float scaleY = 1.0f;
    float scaleZ = 1.0f;
    float tiltX = 0.0f;
    float tiltY = 0.0f;
    float rotateZ = 0.0f;
};

// What the geometry needs to know of the input layout.
struct ImageShape {
    bool multiChannel = false; // at least two channels other than LFE
    bool multiZone = false;    // at least two zones of the middle row hold channels
    bool multiLayer = false;   // more than one height row
    int32_t frontChannels = 0; // channels of the first filled zone of the middle row
    // Layout position (centred) of the midpoint between the two handle channels.
    Point3 handleMiddle{0.0f, 0.0f, 0.0f};
};

// Side of the working cube: the largest of the image's extents plus one along
// the axes in which the input spreads, and at least 1. The centre is scaled by
// it, so that a centre on the wall can still carry the whole image.
float stageSizeOf(float scaleX, float scaleY, float scaleZ, const ImageShape& shape);

// The image whose handles are `left` and `right` (normalized). With at least
// two front channels the handles decide scaleX, rotateZ and tiltY (tiltX
// becomes 0); with both handles in one place scaleX is 0 and the angles stay.
// With one front channel the handles are one point and only the centre moves.
// The centre lies where the handles' midpoint puts it, given the image's
// orientation and scale; it is clamped to the room. Never divides by a scale.
ImagePose solveHandles(const Point3& left, const Point3& right, const ImagePose& current,
                       const ImageShape& shape);

} // namespace Tannhofen::Panner
