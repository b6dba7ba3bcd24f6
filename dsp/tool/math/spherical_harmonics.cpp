#include "dsp/tool/math/spherical_harmonics.h"

#include <cmath>

namespace Tannhofen::DSP::Tool::Math {

void sn3dHarmonics(double azimuthDegrees, double elevationDegrees, double* values, uint32_t channels) {
    if (values == nullptr || channels < 4) return;
    const double a = azimuthDegrees * kDegreesToRadians, b = elevationDegrees * kDegreesToRadians;
    const double sa = std::sin(a), ca = std::cos(a), sb = std::sin(b), cb = std::cos(b);
    values[0] = 1.0;
    values[1] = sa * cb;
    values[2] = sb;
    values[3] = ca * cb;
    if (channels < 9) return;
    const double s2a = std::sin(2 * a), c2a = std::cos(2 * a), cb2 = cb * cb, sb2 = sb * sb;
    values[4] = 0.8660254037844386 * s2a * cb2;
    values[5] = 1.7320508075688772 * sa * cb * sb;
    values[6] = (3 * sb2 - 1) / 2;
    values[7] = 1.7320508075688772 * ca * cb * sb;
    values[8] = 0.8660254037844386 * c2a * cb2;
    if (channels < 16) return;
    const double s3a = std::sin(3 * a), c3a = std::cos(3 * a), cb3 = cb2 * cb;
    values[9] = 0.7905694150420949 * s3a * cb3;
    values[10] = 1.9364916731037085 * s2a * sb * cb2;
    values[11] = 0.6123724356957945 * sa * cb * (5 * sb2 - 1);
    values[12] = 0.5 * sb * (5 * sb2 - 3);
    values[13] = 0.6123724356957945 * ca * cb * (5 * sb2 - 1);
    values[14] = 1.9364916731037085 * c2a * sb * cb2;
    values[15] = 0.7905694150420949 * c3a * cb3;
}

void directionVector(double azimuthDegrees, double elevationDegrees, double* xyz) {
    const double a = azimuthDegrees * kDegreesToRadians, b = elevationDegrees * kDegreesToRadians;
    xyz[0] = std::cos(a) * std::cos(b);
    xyz[1] = std::sin(a) * std::cos(b);
    xyz[2] = std::sin(b);
}

} // namespace Tannhofen::DSP::Tool::Math
