// Real spherical harmonics of the ambisonic signals: ACN channel order, SN3D
// normalisation, orders 1 to 3. One evaluator serves the whole module: the
// decoder's focus design, the panner's encoder and the tests.
//
// Directions are given as azimuth a and elevation b in degrees; their unit
// vector is x = cos a cos b (front), y = sin a cos b (left), z = sin b (up).
#pragma once

#include <cstdint>

namespace Tannhofen::DSP::Tool::Math {

inline constexpr double kDegreesToRadians = 0.017453292519943295; // pi / 180

// Channels of an ambisonic signal of the given order: (order + 1)^2.
constexpr uint32_t ambisonicChannels(uint32_t order) {
    return (order + 1) * (order + 1);
}
// The order (1, 2 or 3) of a signal of 4, 9 or 16 channels; 0 for any other count.
constexpr uint32_t ambisonicOrder(uint32_t channels) {
    return channels == 4 ? 1 : channels == 9 ? 2 : channels == 16 ? 3 : 0;
}

// Fills values with the harmonics of the direction, in double: 16 values when
// channels is 16 or more, 9 from 9, 4 from 4, and nothing below 4.
void sn3dHarmonics(double azimuthDegrees, double elevationDegrees, double* values, uint32_t channels);

// The unit vector (x, y, z) of a direction, in the convention above.
void directionVector(double azimuthDegrees, double elevationDegrees, double* xyz);

} // namespace Tannhofen::DSP::Tool::Math
