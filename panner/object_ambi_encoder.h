// ObjectAmbiEncoder: one panner channel as an ambisonic source. A centred
// position becomes a direction and a distance; the row of the gain matrix
// gets the real spherical harmonics of the direction (ACN order, SN3D, up to
// third order), all scaled by the distance's free-field attenuation, and the
// directional ones also by (1 - size), so that a large object fades towards
// the omnidirectional W.
#pragma once

#include <cstdint>

#include "mix/mix_matrix.h"

namespace Tannhofen::Panner {

// Direction of a centred panner position as an ambisonic source, in radians:
// azimuth 0 straight ahead, growing to the left (right is 3 pi / 2), 0 to
// 2 pi; elevation -pi/2 to pi/2. `distance` is the length of the position.
struct AmbiDirection {
    double azimuth = 0.0;
    double elevation = 0.0;
    double distance = 0.0;
};
AmbiDirection ambiDirectionOf(float x, float y, float z);

// Free-field attenuation at `distance` metres, 1 / sqrt(4 pi d^2), and never
// above 1 (nor for a distance of 0).
float distanceGain(double distance);

class ObjectAmbiEncoder {
public:
    static constexpr float kStartDistance = 2.0f;

    // The distance scale in metres (1 to 50) applies at the wall of the room,
    // where a centred coordinate is 0.5: it is stored doubled.
    void setDistance(float metres) { distance = 2.0f * metres; }
    void setSize(float s) { size = s; }
    float getDistance() const { return distance; }
    float getSize() const { return size; }

    // Writes row `row` of `matrix` for the position (x, y, z), centred: the
    // harmonics of as many orders as the row's columns hold (4, 9 or 16; the
    // columns beyond get 0; below 4 columns nothing is written). A position at
    // the very centre has no direction and feeds W alone. `direct` writes the
    // pass-through of direct mode: 1 to W, 0 elsewhere.
    void encode(float x, float y, float z, Mix::MixMatrix& matrix, int32_t row, bool direct) const;

private:
    float distance = kStartDistance;
    float size = 0.0f;
};

} // namespace Tannhofen::Panner
