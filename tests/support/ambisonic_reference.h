// Independent arithmetic for the ambisonic tests: real spherical harmonics in
// ACN order with SN3D normalisation from the associated Legendre functions of
// the standard library (which carry no Condon-Shortley phase), and plain 3 by
// 3 turns of Cartesian vectors (x front, y left, z up).
#pragma once

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace AmbiReference {

using Vec3 = std::array<double, 3>;
using Mat3 = std::array<std::array<double, 3>, 3>;

inline double factorial(int n) {
    double f = 1;
    for (int i = 2; i <= n; ++i) f *= i;
    return f;
}

// The (order + 1)^2 harmonics of the unit vector v, index l^2 + l + m.
inline std::vector<double> harmonics(const Vec3& v, int order) {
    const double azimuth = std::atan2(v[1], v[0]);
    const double sinElevation = std::max(-1.0, std::min(1.0, v[2]));
    std::vector<double> y((order + 1) * (order + 1));
    for (int l = 0; l <= order; ++l)
        for (int m = -l; m <= l; ++m) {
            const int am = m < 0 ? -m : m;
            const double norm = std::sqrt((am == 0 ? 1.0 : 2.0) * factorial(l - am) / factorial(l + am));
            const double legendre = std::assoc_legendre(unsigned(l), unsigned(am), sinElevation);
            y[l * l + l + m] = norm * legendre * (m < 0 ? std::sin(am * azimuth) : std::cos(am * azimuth));
        }
    return y;
}

// A direction drawn uniformly over the sphere, as (azimuth, elevation) in degrees.
template <class Rng>
std::array<double, 2> randomDirection(Rng& rng) {
    std::uniform_real_distribution<double> unit(-1, 1);
    return {180 * unit(rng), std::asin(unit(rng)) * 180 / M_PI};
}

inline Vec3 direction(double azimuthDegrees, double elevationDegrees) {
    const double a = azimuthDegrees * M_PI / 180, e = elevationDegrees * M_PI / 180;
    return {std::cos(e) * std::cos(a), std::cos(e) * std::sin(a), std::sin(e)};
}

// Right-handed turns by angle t about the axes.
inline Mat3 aboutZ(double t) {
    return {{{std::cos(t), -std::sin(t), 0}, {std::sin(t), std::cos(t), 0}, {0, 0, 1}}};
}
inline Mat3 aboutY(double t) {
    return {{{std::cos(t), 0, std::sin(t)}, {0, 1, 0}, {-std::sin(t), 0, std::cos(t)}}};
}
inline Mat3 aboutX(double t) {
    return {{{1, 0, 0}, {0, std::cos(t), -std::sin(t)}, {0, std::sin(t), std::cos(t)}}};
}
inline Mat3 times(const Mat3& a, const Mat3& b) {
    Mat3 c{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) c[i][j] += a[i][k] * b[k][j];
    return c;
}
inline Vec3 times(const Mat3& a, const Vec3& v) {
    Vec3 r{};
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) r[i] += a[i][k] * v[k];
    return r;
}

} // namespace AmbiReference
