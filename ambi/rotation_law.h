// The rotation of ambisonic signals as matrices, in double: the first-order
// turns about Z, Y and X in the channel order of the first-order band (Y, Z, X),
// and the higher bands from the first by the Ivanic-Ruedenberg recursion for
// real spherical harmonics. SN3D scales every band uniformly, so the
// recursion's orthonormal rotations serve it unchanged.
#pragma once

#include <array>

namespace Tannhofen::AmbiBin {

// A 3 by 3 matrix in (Y, Z, X) order, m[row][column].
using Turn3 = std::array<std::array<double, 3>, 3>;

// (c, 0, s), (0, 1, 0), (-s, 0, c): a turn about Z.
Turn3 yawTurn(double angle);
// (1, 0, 0), (0, c, s), (0, -s, c): a turn about Y.
Turn3 pitchTurn(double angle);
// (c, -s, 0), (s, c, 0), (0, 0, 1): a turn about X.
Turn3 rollTurn(double angle);
Turn3 product(const Turn3& a, const Turn3& b);
// roll x pitch x yaw: the first-order band of the sound-field rotation.
Turn3 firstOrderTurn(double yawAngle, double pitchAngle, double rollAngle);

// Band l (2 or more) of the rotation whose first-order band is r, from band
// l - 1. Bands are square and row-major, element (m, n) for m, n in -l..l at
// (m + l) * (2l + 1) + (n + l); `previous` has 2l - 1 rows, `band` 2l + 1.
void rotationBand(int l, const Turn3& r, const double* previous, double* band);

} // namespace Tannhofen::AmbiBin
