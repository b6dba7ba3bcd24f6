// The sampling decoder of a set of directions: the pseudo-inverse that turns
// impulse responses measured (or looked up) at those directions into filters
// in the spherical-harmonic domain.
#pragma once

#include <cstdint>
#include <vector>

namespace Tannhofen::AmbiBin {

// D = (Y^T Y)^-1 Y^T, with Y the points x channels matrix of the SN3D harmonics
// of the directions (degrees). The result is channels x points, row-major:
// D[c * points + p]. Empty when Y^T Y is singular (too few or degenerate
// directions) or an argument is out of range.
std::vector<double> decoderPinv(uint32_t channels, uint32_t points, const double* azimuth,
                                const double* elevation);

} // namespace Tannhofen::AmbiBin
