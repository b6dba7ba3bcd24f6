#include "panner/affine_matrix.h"

#include <cmath>

namespace Tannhofen::Panner {

AffineMatrix3D::AffineMatrix3D() : m{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}} {}

void AffineMatrix3D::set(double sx, double sy, double sz, double a, double b, double c, double tx, double ty,
                         double tz) {
    const double sa = std::sin(a), ca = std::cos(a);
    const double sb = std::sin(b), cb = std::cos(b);
    const double sc = std::sin(c), cc = std::cos(c);
    m[0][0] = sx * (cb * cc - sa * sb * sc);
    m[0][1] = -sy * ca * sc;
    m[0][2] = sz * (sa * cb * sc + sb * cc);
    m[0][3] = tx;
    m[1][0] = sx * (cb * sc + sa * sb * cc);
    m[1][1] = sy * ca * cc;
    m[1][2] = sz * (sb * sc - sa * cb * cc);
    m[1][3] = ty;
    m[2][0] = -sx * ca * sb;
    m[2][1] = sy * sa;
    m[2][2] = sz * ca * cb;
    m[2][3] = tz;
}

void AffineMatrix3D::transform(float& x, float& y, float& z) const {
    const double in[3] = {x, y, z};
    double out[3];
    for (int r = 0; r < 3; ++r) out[r] = m[r][0] * in[0] + m[r][1] * in[1] + m[r][2] * in[2] + m[r][3];
    x = static_cast<float>(out[0]);
    y = static_cast<float>(out[1]);
    z = static_cast<float>(out[2]);
}

AffineMatrix2D::AffineMatrix2D() : m{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}} {}

void AffineMatrix2D::set(double sx, double sy, double, double, double, double c, double tx, double ty,
                         double) {
    const double sc = std::sin(c), cc = std::cos(c);
    m[0][0] = sx * cc;
    m[0][1] = -sy * sc;
    m[0][2] = tx;
    m[1][0] = sx * sc;
    m[1][1] = sy * cc;
    m[1][2] = ty;
}

void AffineMatrix2D::transform(float& x, float& y, float&) const {
    const double in[2] = {x, y};
    const double outX = m[0][0] * in[0] + m[0][1] * in[1] + m[0][2];
    const double outY = m[1][0] * in[0] + m[1][1] * in[1] + m[1][2];
    x = static_cast<float>(outX);
    y = static_cast<float>(outY);
}

} // namespace Tannhofen::Panner
