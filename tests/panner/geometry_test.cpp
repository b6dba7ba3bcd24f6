// The panner's geometry against independent arithmetic: values worked out by
// hand from the laws, or a second, plain formulation written here.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "panner/affine_matrix.h"
#include "panner/elevation_pattern.h"
#include "panner/handle_solver.h"
#include "panner/orbit.h"
#include "panner/roof_projector.h"

namespace Tannhofen::Panner {
namespace {

constexpr double kPi = 3.14159265358979323846;
using V3 = std::array<double, 3>;

// The elementary steps, one at a time: scale, tilt around Y by b, tilt around
// X by a, rotate around Z by c, move. Angles in radians.
V3 placePlainly(V3 p, const V3& scale, double a, double b, double c, const V3& move) {
    for (int k = 0; k < 3; ++k) p[k] *= scale[k];
    p = {p[0] * std::cos(b) + p[2] * std::sin(b), p[1], -p[0] * std::sin(b) + p[2] * std::cos(b)};
    p = {p[0], p[1] * std::cos(a) - p[2] * std::sin(a), p[1] * std::sin(a) + p[2] * std::cos(a)};
    p = {p[0] * std::cos(c) - p[1] * std::sin(c), p[0] * std::sin(c) + p[1] * std::cos(c), p[2]};
    for (int k = 0; k < 3; ++k) p[k] += move[k];
    return p;
}

void expectNear3(const V3& want, float x, float y, float z, double tol) {
    EXPECT_NEAR(x, want[0], tol);
    EXPECT_NEAR(y, want[1], tol);
    EXPECT_NEAR(z, want[2], tol);
}

TEST(PannerTransform, UnitCubeAndSquareFollowTheElementarySteps) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> angle(-kPi, kPi), scale(0.0, 1.4142135), move(-1.0, 1.0);
    for (int trial = 0; trial < 50; ++trial) {
        const V3 s{scale(rng), scale(rng), scale(rng)}, t{move(rng), move(rng), move(rng)};
        const double a = angle(rng), b = angle(rng), c = angle(rng);
        AffineMatrix3D m3;
        m3.set(s[0], s[1], s[2], a, b, c, t[0], t[1], t[2]);
        AffineMatrix2D m2;
        m2.set(s[0], s[1], s[2], a, b, c, t[0], t[1], t[2]);
        for (int corner = 0; corner < 8; ++corner) {
            const V3 p{corner & 1 ? 0.5 : -0.5, corner & 2 ? 0.5 : -0.5, corner & 4 ? 0.5 : -0.5};
            float x = float(p[0]), y = float(p[1]), z = float(p[2]);
            m3.transform(x, y, z);
            expectNear3(placePlainly(p, s, a, b, c, t), x, y, z, 1e-6);
            // The flat transform turns around Z alone and leaves z exactly alone.
            x = float(p[0]), y = float(p[1]), z = float(p[2]);
            m2.transform(x, y, z);
            const V3 flat =
                placePlainly({p[0], p[1], 0.0}, {s[0], s[1], 1.0}, 0.0, 0.0, c, {t[0], t[1], 0.0});
            EXPECT_NEAR(x, flat[0], 1e-6);
            EXPECT_NEAR(y, flat[1], 1e-6);
            EXPECT_EQ(z, float(p[2]));
        }
    }
    // Worked by hand: a quarter turn takes front to right and right to rear
    // (y grows to the rear), whichever transform does it.
    AffineMatrix2D quarter2;
    quarter2.set(1, 1, 1, 0, 0, kPi / 2, 0, 0, 0);
    AffineMatrix3D quarter3;
    quarter3.set(1, 1, 1, 0, 0, kPi / 2, 0, 0, 0);
    for (IAffineMatrix* m :
         {static_cast<IAffineMatrix*>(&quarter2), static_cast<IAffineMatrix*>(&quarter3)}) {
        float x = 0.0f, y = -0.5f, z = 0.25f;
        m->transform(x, y, z);
        expectNear3({0.5, 0.0, 0.25}, x, y, z, 1e-7);
        x = 0.5f, y = 0.0f;
        m->transform(x, y, z);
        expectNear3({0.0, 0.5, 0.25}, x, y, z, 1e-7);
    }
    // A tilt of a quarter turn around Y stands a left-right pair on edge: the
    // left end goes up, the right end down, and x collapses to the centre.
    AffineMatrix3D onEdge;
    onEdge.set(1, 1, 1, 0, kPi / 2, 0, 0, 0, 0);
    float lx = -0.5f, ly = 0.0f, lz = 0.0f, rx = 0.5f, ry = 0.0f, rz = 0.0f;
    onEdge.transform(lx, ly, lz);
    onEdge.transform(rx, ry, rz);
    expectNear3({0.0, 0.0, 0.5}, lx, ly, lz, 1e-7);
    expectNear3({0.0, 0.0, -0.5}, rx, ry, rz, 1e-7);
}

TEST(PannerElevation, PatternsAtChosenPoints) {
    struct Case {
        int mode;
        float x, y, z, height;
    };
    // Each value worked from the pattern's shape: the wedge and the ridge peak
    // at mid depth, the ceiling is flat from y 0.2 back, the dome and the
    // vault are unit circles, cup and half-pipe their complements.
    const Case cases[] = {
        {kElevationNone, 0.3f, 0.7f, 0.42f, 0.42f},
        {kElevationWedge, 0.1f, 0.5f, 0.0f, 1.0f},
        {kElevationWedge, 0.9f, 0.25f, 0.0f, 0.5f},
        {kElevationWedge, 0.5f, 0.0f, 0.7f, 0.0f},
        {kElevationWedge, 0.5f, 1.3f, 0.7f, 0.0f}, // outside the room, the formula's value
        {kElevationCeiling, 0.5f, 0.1f, 0.0f, 0.5f},
        {kElevationCeiling, 0.5f, 0.2f, 0.0f, 1.0f},
        {kElevationCeiling, 0.5f, 0.9f, 0.0f, 1.0f},
        {kElevationCeiling, 0.5f, 0.0f, 0.3f, 0.0f},
        {kElevationCeiling, 0.5f, -0.1f, 0.3f, 0.0f},
        {kElevationSphere, 0.5f, 0.5f, 0.0f, 1.0f},
        {kElevationSphere, 0.8f, 0.5f, 0.0f, 0.8f},   // distance 0.6: sqrt(1 - 0.36)
        {kElevationSphere, 0.5f, 0.2f, 0.0f, 0.8f},   // the same distance towards the front
        {kElevationSphere, 0.68f, 0.26f, 0.0f, 0.8f}, // 0.36 and 0.48 across: the same distance 0.6
        {kElevationSphere, 1.0f, 1.0f, 0.0f, 0.0f},
        {kElevationCup, 0.8f, 0.5f, 0.0f, 0.2f},
        {kElevationCup, 0.5f, 0.5f, 1.0f, 0.0f},
        {kElevationTunnel, 0.8f, 0.05f, 0.0f, 0.8f},
        {kElevationTunnel, 0.2f, 0.95f, 0.0f, 0.8f},
        {kElevationHalfPipe, 0.2f, 0.5f, 0.0f, 0.2f},
        {kElevationHalfPipe, 0.0f, 0.5f, 0.0f, 1.0f},
        {kElevationRidge, 0.5f, 0.25f, 0.0f, 0.0625f},
        {kElevationRidge, 0.5f, 0.5f, 0.0f, 1.0f},
        {99, 0.5f, 0.5f, 0.33f, 0.33f}, // an unknown mode leaves the height
    };
    for (const Case& c : cases)
        EXPECT_NEAR(elevationPatternValue(c.mode, c.x, c.y, c.z), c.height, 3e-7)
            << "mode " << c.mode << " at " << c.x << ", " << c.y;
    // The ceiling's slope constant lies one float below 0.4, so y 0.2 gives
    // exactly what that float makes of it, and never more than 1.
    EXPECT_LE(elevationPatternValue(kElevationCeiling, 0.5f, 0.19999f, 0.0f), 1.0f);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (int mode = 1; mode <= kElevationModeMax; ++mode)
        EXPECT_TRUE(std::isfinite(elevationPatternValue(mode, nan, nan, 0.5f))) << mode;
}

TEST(PannerTurns, DirectionsAndWrapping) {
    // Clockwise from the front, seen from above; y grows to the rear.
    EXPECT_EQ(directionToTurns(0.5f, 0.0f), 0.0f);
    EXPECT_EQ(directionToTurns(1.0f, 0.5f), 0.25f);
    EXPECT_EQ(directionToTurns(0.5f, 1.0f), 0.5f);
    EXPECT_EQ(directionToTurns(0.0f, 0.5f), 0.75f);
    EXPECT_EQ(directionToTurns(0.5f, 0.5f), 0.0f);
    EXPECT_NEAR(directionToTurns(1.0f, 0.0f), 0.125f, 1e-7);
    EXPECT_NEAR(directionToTurns(1.0f, 1.0f), 0.375f, 1e-7);
    EXPECT_NEAR(directionToTurns(0.0f, 1.0f), 0.625f, 1e-7);
    EXPECT_NEAR(directionToTurns(0.0f, 0.0f), 0.875f, 1e-7);
    // 30 degrees right of front: sin 30 = 0.5 across, cos 30 towards the front.
    EXPECT_NEAR(directionToTurns(0.5f + 0.25f, 0.5f - 0.25f * std::sqrt(3.0f)), 1.0f / 12.0f, 1e-7);

    EXPECT_FLOAT_EQ(wrapTurns(1.25f), 0.25f);
    EXPECT_FLOAT_EQ(wrapTurns(-0.25f), 0.75f);
    EXPECT_EQ(wrapTurns(1e-6f), 0.0f);
    EXPECT_EQ(wrapTurns(-1e-6f), 0.0f);
    EXPECT_EQ(wrapTurns(1.0000010f), 0.0f);
    EXPECT_FLOAT_EQ(wrapTurns(0.6f), 0.6f);
}

TEST(PannerOrbit, OrbitAndRadiusRoundTrips) {
    // Radius 1 at orbit 0 is the middle of the front wall; a quarter orbit
    // takes it to the middle of the right wall, whatever the stage.
    for (float stage : {1.0f, 2.0f, 2.4142135f}) {
        const PlanePoint front = radiusAnchor(1.0f, 0.0f, stage);
        EXPECT_NEAR(front.x, 0.5f, 1e-7);
        EXPECT_NEAR(front.y, 0.0f, 1e-7);
        const PlanePoint right = orbitPosition(front, 0.25, stage);
        EXPECT_NEAR(right.x, 1.0f, 1e-7);
        EXPECT_NEAR(right.y, 0.5f, 1e-7);
    }
    // A corner anchor, radius 1.4142135 on the diagonal, lies on the room's
    // corner; at a quarter turn off the diagonal it lies outside the room.
    const PlanePoint corner = radiusAnchor(kMaxScale, 0.125f, 2.0f);
    EXPECT_NEAR(corner.x, 1.0f, 1e-6);
    EXPECT_NEAR(corner.y, 0.0f, 1e-6);
    const PlanePoint beyond = radiusAnchor(kMaxScale, 0.25f, 2.0f);
    EXPECT_NEAR(beyond.x, 0.5f + kMaxScale * 0.5f, 1e-6);
    EXPECT_GT(orbitPosition({0.5f, 0.5f - kMaxScale * 0.5f}, 0.25, 2.0f).x, 0.999f);
    EXPECT_EQ(orbitPosition({0.5f, 0.5f - kMaxScale * 0.5f}, 0.25, 2.0f).x, 1.0f); // clamped

    std::mt19937 rng(11);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f), inner(0.15f, 0.85f);
    for (int trial = 0; trial < 200; ++trial) {
        const PlanePoint p{unit(rng), unit(rng)};
        const float stage = 1.0f + unit(rng) * 1.4142135f;
        // The centre's direction and radius give back the centre.
        const PlanePoint back = radiusAnchor(centreRadius(p.x, p.y), directionToTurns(p.x, p.y), stage);
        EXPECT_NEAR(back.x, p.x, 2e-6);
        EXPECT_NEAR(back.y, p.y, 2e-6);
        // An orbit keeps the distance from the middle and moves the direction
        // by its angle; turning back returns to the start.
        const PlanePoint q{inner(rng), inner(rng)};
        const double turn = unit(rng) * 0.7 - 0.35;
        const PlanePoint moved = orbitPosition(q, turn, stage);
        EXPECT_NEAR(centreRadius(moved.x, moved.y), centreRadius(q.x, q.y), 3e-6);
        if (centreRadius(q.x, q.y) > 0.05f) {
            const double d = directionToTurns(moved.x, moved.y) - directionToTurns(q.x, q.y) - turn;
            EXPECT_NEAR(d - std::round(d), 0.0, 1e-5);
        }
        const PlanePoint home = orbitPosition(moved, -turn, stage);
        EXPECT_NEAR(home.x, q.x, 2e-6);
        EXPECT_NEAR(home.y, q.y, 2e-6);
    }
}

// The tent as a solid: inside the floor rectangle, above the floor, below the
// ceiling between the ridge lines, and below the slopes in front and behind.
bool insideTent(const V3& p, double floor, double ceiling, double ridge) {
    const double e = 1e-12;
    if (std::fabs(p[0]) > 0.5 + e || std::fabs(p[1]) > 0.5 + e || p[2] < floor - e) return false;
    const double ay = std::fabs(p[1]);
    const double top = ay <= ridge ? ceiling : ceiling - (ay - ridge) / (0.5 - ridge) * (ceiling - floor);
    return p[2] <= top + e;
}

// Where the line from the middle of the floor to p leaves the tent: found by
// bisection along the line, since the tent is convex and holds its start.
V3 projectPlainly(V3 p, double floor, double ceiling, double ridge) {
    p[2] = std::max(p[2], floor);
    if (insideTent(p, floor, ceiling, ridge)) return p;
    const V3 o{0.0, 0.0, floor};
    double lo = 0.0, hi = 1.0;
    for (int i = 0; i < 60; ++i) {
        const double mid = 0.5 * (lo + hi);
        const V3 q{o[0] + mid * (p[0] - o[0]), o[1] + mid * (p[1] - o[1]), o[2] + mid * (p[2] - o[2])};
        (insideTent(q, floor, ceiling, ridge) ? lo : hi) = mid;
    }
    return {o[0] + lo * (p[0] - o[0]), o[1] + lo * (p[1] - o[1]), o[2] + lo * (p[2] - o[2])};
}

TEST(PannerRoof, ProjectionInsideOnAndBeyondTheTent) {
    RoofProjector roof;
    roof.setRidgeWidth(0.6f);
    // Worked by hand. On the ridge: stays. The top rear right corner lies
    // beyond the rear slope z = 0.5 - 5 (y - 0.3); the line s (0.5, 0.5, 1)
    // from (0, 0, -0.5) meets it at s = 5/7.
    float x = 0.0f, y = 0.0f, z = 0.5f;
    roof.project(x, y, z);
    expectNear3({0.0, 0.0, 0.5}, x, y, z, 1e-6);
    x = 0.5f, y = 0.5f, z = 0.5f;
    roof.project(x, y, z);
    expectNear3({5.0 / 14.0, 5.0 / 14.0, 3.0 / 14.0}, x, y, z, 1e-6);
    // Beyond the right wall at mid depth: the line meets x = 0.5 at 5/8.
    x = 0.8f, y = 0.0f, z = 0.0f;
    roof.project(x, y, z);
    expectNear3({0.5, 0.0, -0.1875}, x, y, z, 1e-6);
    // Below the floor: raised to it first, and the floor itself is inside.
    x = 0.2f, y = -0.1f, z = -0.9f;
    roof.project(x, y, z);
    expectNear3({0.2, -0.1, -0.5}, x, y, z, 1e-8);

    std::mt19937 rng(5);
    std::uniform_real_distribution<float> wide(-0.9f, 0.9f), ridge(0.0f, 1.0f);
    for (int trial = 0; trial < 400; ++trial) {
        const float width = ridge(rng);
        const float floor = trial % 2 ? 0.0f : -0.5f;
        roof.setRidgeWidth(width);
        roof.setFloor(floor);
        roof.setCeiling(0.5f);
        const V3 p{wide(rng), wide(rng), wide(rng)};
        x = float(p[0]), y = float(p[1]), z = float(p[2]);
        roof.project(x, y, z);
        expectNear3(projectPlainly(p, floor, 0.5, width * 0.5), x, y, z, 2e-5);
    }
    // Out-of-range widths clamp: 3 is a ridge over the whole depth, a flat lid.
    roof.setFloor(-0.5f);
    roof.setRidgeWidth(3.0f);
    x = 0.0f, y = 0.45f, z = 0.9f;
    roof.project(x, y, z);
    expectNear3(projectPlainly({0.0, 0.45, 0.9}, -0.5, 0.5, 0.5), x, y, z, 1e-6);
}

// ---- handles ----

// Handles of an image as the panner shows them: the layout points of the
// front-left and front-right channels placed by the image (centre scaled to
// the stage), plus 0.5 per axis.
struct Handles {
    Point3 left, right;
};

Handles handlesOf(const ImagePose& im, const V3& leftBase, const V3& rightBase, double stage) {
    const V3 scale{im.scaleX, im.scaleY, im.scaleZ};
    const V3 move{(im.posX - 0.5) * stage, (im.posY - 0.5) * stage, (im.posZ - 0.5) * stage};
    const double a = im.tiltX * 2 * kPi, b = im.tiltY * 2 * kPi, c = im.rotateZ * 2 * kPi;
    const V3 l = placePlainly(leftBase, scale, a, b, c, move);
    const V3 r = placePlainly(rightBase, scale, a, b, c, move);
    return {{float(l[0] + 0.5), float(l[1] + 0.5), float(l[2] + 0.5)},
            {float(r[0] + 0.5), float(r[1] + 0.5), float(r[2] + 0.5)}};
}

double turnDistance(double a, double b) {
    const double d = a - b;
    return std::fabs(d - std::round(d));
}

TEST(PannerHandles, SolverReturnsTheImageThatMadeTheHandles) {
    struct Shape {
        const char* name;
        ImageShape shape;
        double frontY; // layout depth of the front row
    };
    // Stereo (one zone on the y axis), a front and a rear zone, front, side
    // and rear zones, and a layout of two rows whose first filled zone is the side.
    const Shape shapes[] = {
        {"stereo", {true, false, false, 2, {0, 0, 0}}, 0.0},
        {"quadro", {true, true, false, 2, {0, -0.5f, 0}}, -0.5},
        {"7.0", {true, true, false, 3, {0, -0.5f, 0}}, -0.5},
        {"sides and top", {true, true, true, 2, {0, 0.0f, 0}}, 0.0},
    };
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f), scale(0.05f, 1.4142135f), tilt(-0.2f, 0.2f);
    for (const Shape& s : shapes) {
        for (int trial = 0; trial < 300; ++trial) {
            ImagePose image;
            image.posX = unit(rng), image.posY = unit(rng), image.posZ = unit(rng);
            image.scaleX = scale(rng), image.scaleY = scale(rng), image.scaleZ = scale(rng);
            image.tiltY = tilt(rng);
            image.rotateZ = unit(rng);
            double stage = 1.0;
            if (s.shape.multiChannel) stage = std::max(stage, image.scaleX + 1.0);
            if (s.shape.multiZone) stage = std::max(stage, image.scaleY + 1.0);
            if (s.shape.multiLayer) stage = std::max(stage, image.scaleZ + 1.0);
            const Handles h = handlesOf(image, {-0.5, s.frontY, 0}, {0.5, s.frontY, 0}, stage);

            ImagePose start; // what the model held before: every solved value differs
            start.scaleY = image.scaleY, start.scaleZ = image.scaleZ, start.tiltX = 0.3f;
            const ImagePose got = solveHandles(h.left, h.right, start, s.shape);
            SCOPED_TRACE(testing::Message() << s.name << " trial " << trial);
            EXPECT_NEAR(got.scaleX, image.scaleX, 1e-5);
            EXPECT_EQ(got.tiltX, 0.0f);
            EXPECT_LT(turnDistance(got.tiltY, image.tiltY), 1e-5);
            EXPECT_LT(turnDistance(got.rotateZ, image.rotateZ), 1e-5);
            EXPECT_NEAR(got.posX, image.posX, 1e-5);
            EXPECT_NEAR(got.posY, image.posY, 1e-5);
            EXPECT_NEAR(got.posZ, image.posZ, 1e-5);
        }
    }
}

TEST(PannerHandles, OneFrontChannelAndDegeneratePairs) {
    // One front channel and a rear zone (C and Cs): both handles are the
    // centre speaker, so only the centre moves, and it lies half the image's
    // depth behind the handle, along the image's own rotation.
    const ImageShape centreAndRear{true, true, false, 1, {0, -0.5f, 0}};
    ImagePose held;
    held.scaleY = 0.8f, held.rotateZ = 0.25f, held.scaleX = 0.7f;
    const Point3 handle{0.3f, 0.4f, 0.5f};
    ImagePose got = solveHandles(handle, handle, held, centreAndRear);
    // Rotated a quarter turn, "behind" is to the left: 0.4 of depth to x 0.3 - 0.4.
    // Stage 1.8: the centre (-0.1, 0.4, 0.5) becomes (c + 0.4) / 1.8.
    EXPECT_NEAR(got.posX, (-0.1 + 0.4) / 1.8, 1e-6);
    EXPECT_NEAR(got.posY, (0.4 + 0.4) / 1.8, 1e-6);
    EXPECT_NEAR(got.posZ, (0.5 + 0.4) / 1.8, 1e-6);
    EXPECT_EQ(got.scaleX, held.scaleX);
    EXPECT_EQ(got.rotateZ, held.rotateZ);

    // Two front channels on top of each other: scale 0, angles kept, finite.
    const ImageShape stereo{true, false, false, 2, {0, 0, 0}};
    held = ImagePose{};
    held.rotateZ = 0.1f, held.tiltY = 0.05f;
    got = solveHandles({0.6f, 0.6f, 0.6f}, {0.6f, 0.6f, 0.6f}, held, stereo);
    EXPECT_EQ(got.scaleX, 0.0f);
    EXPECT_EQ(got.rotateZ, 0.1f);
    EXPECT_NEAR(got.posX, 0.6f, 1e-7);

    // Standing on edge (tilt of exactly a quarter turn): the right handle
    // straight below the left; the rotation stays, the tilt is recovered.
    got = solveHandles({0.5f, 0.5f, 0.9f}, {0.5f, 0.5f, 0.1f}, held, stereo);
    EXPECT_NEAR(got.scaleX, 0.8f, 1e-6);
    EXPECT_NEAR(got.tiltY, 0.25f, 1e-6);
    EXPECT_EQ(got.rotateZ, 0.1f);
    EXPECT_NEAR(got.posZ, 0.5f, 1e-6);

    // Handles far outside the room: the centre is clamped to the room and the
    // scale to the diagonal. Not-a-number leaves the image as it was.
    got = solveHandles({-5.0f, 3.0f, 0.0f}, {9.0f, 3.0f, 0.0f}, held, stereo);
    EXPECT_EQ(got.scaleX, kMaxScale);
    EXPECT_EQ(got.posY, 1.0f);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    got = solveHandles({nan, 0.5f, 0.5f}, {0.5f, 0.5f, 0.5f}, held, stereo);
    EXPECT_EQ(got.posX, held.posX);
    EXPECT_EQ(got.scaleX, held.scaleX);

    // The stage: the largest extent plus one along the axes the input spreads in.
    EXPECT_FLOAT_EQ(stageSizeOf(0.5f, 1.2f, 0.9f, {true, true, false, 2, {}}), 2.2f);
    EXPECT_FLOAT_EQ(stageSizeOf(0.5f, 1.2f, 1.3f, {true, false, true, 2, {}}), 2.3f);
    EXPECT_FLOAT_EQ(stageSizeOf(1.4f, 1.4f, 1.4f, {false, false, false, 1, {}}), 1.0f);
}

} // namespace
} // namespace Tannhofen::Panner
