#include "panner/roof_projector.h"

#include <algorithm>
#include <cmath>

namespace Tannhofen::Panner {

namespace {

using Vec3 = RoofProjector::Vec3;

// Front slope, right wall, ridge, left wall, rear slope: the near half first
// for a point in front of the ridge; the reverse order for one behind it.
constexpr std::array<std::array<int, 3>, RoofProjector::kTriangles> kTriangleList{{
    {0, 1, 9},
    {0, 9, 7},
    {1, 6, 9},
    {6, 10, 9},
    {7, 9, 8},
    {8, 9, 10},
    {0, 8, 5},
    {0, 7, 8},
    {6, 5, 8},
    {6, 8, 10},
}};

// Determinants below this are edge-on or seen from behind, and are skipped.
constexpr float kMinDeterminant = 1e-06f;
constexpr float kDefaultRidgeWidth = 0.6f;

Vec3 minus(const Vec3& a, const Vec3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

float dot(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

} // namespace

RoofProjector::RoofProjector() {
    // The floor rectangle: its corners and the midpoints of the front and side
    // edges (the midpoints are part of the shape's description; no triangle
    // uses them).
    vertices[0] = {-0.5f, -0.5f, floor};
    vertices[1] = {0.5f, -0.5f, floor};
    vertices[2] = {0.0f, -0.5f, floor};
    vertices[3] = {-0.5f, 0.0f, floor};
    vertices[4] = {0.5f, 0.0f, floor};
    vertices[5] = {-0.5f, 0.5f, floor};
    vertices[6] = {0.5f, 0.5f, floor};
    origin = {0.0f, 0.0f, floor};
    setRidgeWidth(kDefaultRidgeWidth);
}

void RoofProjector::setRidgeWidth(float width) {
    const float half = std::clamp(std::isnan(width) ? kDefaultRidgeWidth : width, 0.0f, 1.0f) * 0.5f;
    vertices[7] = {-0.5f, -half, ceiling};
    vertices[8] = {-0.5f, half, ceiling};
    vertices[9] = {0.5f, -half, ceiling};
    vertices[10] = {0.5f, half, ceiling};
}

void RoofProjector::setFloor(float z) {
    floor = z;
    for (int v = 0; v <= 6; ++v) vertices[static_cast<size_t>(v)][2] = z;
    origin[2] = z;
}

void RoofProjector::setCeiling(float z) {
    ceiling = z;
    for (int v = 7; v <= 10; ++v) vertices[static_cast<size_t>(v)][2] = z;
}

void RoofProjector::project(float& x, float& y, float& z) const {
    z = std::max(z, floor);
    const Vec3 p{x, y, z};
    // The ray runs from the middle of the floor O along D = O - P, so that
    // O + t * D is P at t = -1 and a crossing between O and P has t in (-1, 0).
    const Vec3 d = minus(origin, p);
    const bool rear = y > 0.0f;
    for (int n = 0; n < kTriangles; ++n) {
        const auto& tri = kTriangleList[static_cast<size_t>(rear ? kTriangles - 1 - n : n)];
        const Vec3& v0 = vertices[static_cast<size_t>(tri[0])];
        const Vec3 e1 = minus(vertices[static_cast<size_t>(tri[1])], v0);
        const Vec3 e2 = minus(vertices[static_cast<size_t>(tri[2])], v0);
        const Vec3 pv = cross(d, e2);
        const float det = dot(e1, pv);
        if (!(det >= kMinDeterminant)) continue;
        const float inv = 1.0f / det;
        const Vec3 s = minus(origin, v0);
        const float u = dot(s, pv) * inv;
        if (u < 0.0f || u > 1.0f) continue;
        const Vec3 q = cross(s, e1);
        const float v = dot(d, q) * inv;
        if (v < 0.0f || u + v > 1.0f) continue;
        const float t = dot(e2, q) * inv;
        if (t <= -1.0f) return; // the tent lies beyond P: P is inside
        if (t < 0.0f) {
            x = origin[0] + t * d[0];
            y = origin[1] + t * d[1];
            z = origin[2] + t * d[2];
            return;
        }
    }
}

} // namespace Tannhofen::Panner
