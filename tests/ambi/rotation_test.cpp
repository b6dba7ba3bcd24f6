// Sound-field rotation against independent arithmetic: encoded directions
// turned by the rotation equal the encoding of directions turned by a plain
// Cartesian matrix; bands are orthogonal; rest is bit-exact; the fade moves in
// steps of 4 frames over the first 128 frames of a block, for any block size.
#include "ambi/ambi_rotation.h"
#include "tests/ambi/planar_block.h"
#include "tests/support/ambisonic_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

namespace AmbiBin = Tannhofen::AmbiBin;
namespace Ref = AmbiReference;

namespace {

template <class T>
constexpr double kTolerance = std::is_same_v<T, float> ? 1e-5 : 1e-12;

template <class T>
void configure(AmbiBin::AmbiRotationAlgo<T>& algo, int order, uint32_t blockSize) {
    const uint32_t n = uint32_t((order + 1) * (order + 1));
    algo.setBlockSize(blockSize);
    ASSERT_EQ(algo.setChannels(n, n), 0);
    algo.order = uint16_t(order);
    algo.setSampleRate(T(48000));
    ASSERT_EQ(algo.init(), 0);
    algo.reset();
}

template <class T>
void setAngles(AmbiBin::AmbiRotationAlgo<T>& algo, double yaw, double pitch, double roll) {
    algo.setYaw(yaw);
    algo.setPitch(pitch);
    algo.setRoll(roll);
}

// The full matrix as doubles, element (r, c) at [r][c].
template <class T>
std::vector<std::vector<double>> matrixOf(const AmbiBin::AmbiRotationAlgo<T>& algo) {
    const uint32_t n = algo.numChannels;
    std::vector<std::vector<double>> m(n, std::vector<double>(n));
    for (uint32_t r = 0; r < n; ++r)
        for (uint32_t c = 0; c < n; ++c) m[r][c] = double(algo.rotation.at(r, c));
    return m;
}

template <class T>
class Rotation : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Rotation, SampleTypes);

TYPED_TEST(Rotation, TurnsEncodedDirectionsLikeAPlainCartesianTurn) {
    using T = TypeParam;
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> unit(0, 1);
    constexpr uint32_t kFrames = 8;
    for (int order = 1; order <= 3; ++order) {
        const uint32_t n = uint32_t((order + 1) * (order + 1));
        AmbiBin::AmbiRotationAlgo<T> algo;
        configure(algo, order, kFrames);
        for (int k = 0; k < 300; ++k) {
            const double vy = unit(rng), vp = unit(rng), vr = unit(rng);
            setAngles(algo, vy, vp, vr);
            // The angles as the turns take them: yaw turns the field about the
            // vertical (front towards left), then pitch about the lateral axis
            // (front up for a positive angle), then roll about the frontal axis.
            const double yaw = M_PI - 2 * M_PI * vy, pitch = M_PI / 2 - M_PI * vp,
                         roll = 2 * M_PI * vr - M_PI;
            const Ref::Mat3 turn =
                Ref::times(Ref::aboutX(roll), Ref::times(Ref::aboutY(-pitch), Ref::aboutZ(yaw)));

            PlanarBlock<T> fade(n, kFrames), in(n, kFrames), out(n, kFrames);
            algo.process(fade.p(), fade.p(), kFrames); // the angles changed: this block fades
            std::vector<Ref::Vec3> directions;
            for (uint32_t f = 0; f < kFrames; ++f) {
                const auto [azimuth, elevation] = Ref::randomDirection(rng);
                directions.push_back(Ref::direction(azimuth, elevation));
                const auto y = Ref::harmonics(directions.back(), order);
                for (uint32_t c = 0; c < n; ++c) in.data[c][f] = T(y[c]);
            }
            algo.process(in.p(), out.p(), kFrames); // held angles: the steady product
            for (uint32_t f = 0; f < kFrames; ++f) {
                const auto expected = Ref::harmonics(Ref::times(turn, directions[f]), order);
                for (uint32_t c = 0; c < n; ++c)
                    ASSERT_NEAR(out.data[c][f], expected[c], kTolerance<T>)
                        << "order " << order << " channel " << c << " angles " << vy << " " << vp << " "
                        << vr;
            }
        }
    }
}

TYPED_TEST(Rotation, BandsAreOrthogonalBlocksAndRestIsBitExact) {
    using T = TypeParam;
    AmbiBin::AmbiRotationAlgo<T> algo;
    configure(algo, 3, 64);
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> unit(0, 1);
    PlanarBlock<T> scratch(16, 64);
    for (int k = 0; k < 50; ++k) {
        setAngles(algo, unit(rng), unit(rng), unit(rng));
        algo.process(scratch.p(), scratch.p(), 1);
        const auto m = matrixOf(algo);
        for (int r = 0; r < 16; ++r)
            for (int c = 0; c < 16; ++c) {
                const int bandR = int(std::sqrt(r)), bandC = int(std::sqrt(c));
                if (bandR != bandC) {
                    ASSERT_EQ(m[r][c], 0.0) << r << " " << c;
                    continue;
                }
                double dot = 0; // columns r and c of the band
                for (int i = bandR * bandR; i < (bandR + 1) * (bandR + 1); ++i) dot += m[i][r] * m[i][c];
                ASSERT_NEAR(dot, r == c ? 1.0 : 0.0, kTolerance<T>) << r << " " << c;
            }
    }

    // Back at rest: after one block of fade towards no turn, blocks pass bit for bit.
    setAngles(algo, 0.5, 0.5, 0.5);
    algo.process(scratch.p(), scratch.p(), 64);
    auto x = randomBlock<T>(16, 64, 3);
    PlanarBlock<T> y(16, 64), inPlace = x;
    algo.process(x.p(), y.p(), 64);
    algo.process(inPlace.p(), inPlace.p(), 64);
    EXPECT_EQ(y.data, x.data);
    EXPECT_EQ(inPlace.data, x.data);
}

// After a change of angles, frame f of a block of `frames` uses the matrix
// p / F of the way from the old to the new one, with p = f rounded down to a
// multiple of 4 and F = min(frames, 128), as a float ratio; frames from F on
// use the new one.
TYPED_TEST(Rotation, FadeStepsAndTailFallWhereExpected) {
    using T = TypeParam;
    const uint32_t n = 9;
    for (uint32_t blockSize : {1u, 3u, 4u, 127u, 128u, 129u, 512u, 4096u}) {
        for (uint32_t frames : {blockSize, blockSize / 5}) {
            if (frames == 0) continue;
            SCOPED_TRACE(testing::Message() << "block " << blockSize << " frames " << frames);
            AmbiBin::AmbiRotationAlgo<T> algo;
            setAngles(algo, 0.3, 0.6, 0.45);
            configure(algo, 2, blockSize);
            EXPECT_EQ(algo.hasTail, blockSize > 128);
            const auto before = matrixOf(algo);
            setAngles(algo, 0.7, 0.2, 0.9);
            auto x = randomBlock<T>(n, frames, 17);
            PlanarBlock<T> y(n, frames);
            algo.process(x.p(), y.p(), frames);
            const auto after = matrixOf(algo);
            const uint32_t fade = std::min(frames, 128u);
            for (uint32_t f = 0; f < frames; ++f) {
                const double t = f < fade ? double(float(f / 4 * 4) / float(fade)) : 1.0;
                for (uint32_t r = 0; r < n; ++r) {
                    double expected = 0;
                    for (uint32_t c = 0; c < n; ++c)
                        expected += (before[r][c] + (after[r][c] - before[r][c]) * t) * double(x.data[c][f]);
                    ASSERT_NEAR(y.data[r][f], expected, kTolerance<T>) << "frame " << f << " channel " << r;
                }
            }
            // The next block is all on the new matrix.
            algo.process(x.p(), y.p(), frames);
            for (uint32_t r = 0; r < n; ++r) {
                double expected = 0;
                for (uint32_t c = 0; c < n; ++c) expected += after[r][c] * double(x.data[c][0]);
                ASSERT_NEAR(y.data[r][0], expected, kTolerance<T>);
            }
        }
    }
}

TYPED_TEST(Rotation, BadInputIsRefusedOrKeptFinite) {
    using T = TypeParam;
    AmbiBin::AmbiRotationAlgo<T> algo;
    EXPECT_EQ(algo.setChannels(5, 5), 1);
    EXPECT_EQ(algo.setChannels(9, 9), 0);
    EXPECT_EQ(algo.setChannels(2, 2), 1);
    EXPECT_EQ(algo.numChannels, 9u);
    algo.order = 1; // 9 channels are order 2
    algo.setBlockSize(32);
    EXPECT_EQ(algo.init(), 1);
    PlanarBlock<T> x = randomBlock<T>(9, 32, 1), y(9, 32);
    algo.process(x.p(), y.p(), 32); // refused: nothing happens
    EXPECT_EQ(y.data[0], std::vector<T>(32, T(0)));

    configure(algo, 2, 32);
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(algo.setYaw(nan));
    EXPECT_TRUE(algo.setPitch(-inf)); // clamped to 0: pitch -90 degrees
    EXPECT_DOUBLE_EQ(algo.pitch, -M_PI / 2);
    EXPECT_TRUE(algo.setRoll(7)); // clamped to 1
    EXPECT_DOUBLE_EQ(algo.roll, -M_PI);
    algo.process(x.p(), y.p(), 32);
    algo.yaw = nan; // written directly: the last finite angle is kept
    algo.process(x.p(), y.p(), 32);
    EXPECT_EQ(algo.lastYaw, 0.0);
    for (uint32_t i = 0; i < 81; ++i) ASSERT_TRUE(std::isfinite(double(algo.rotation.data[i])));
    for (auto& ch : y.data)
        for (T v : ch) ASSERT_TRUE(std::isfinite(double(v)));

    // No frames: nothing is touched. More frames than the block: worked in pieces.
    PlanarBlock<T> untouched(9, 1);
    untouched.data[0][0] = T(42);
    algo.process(x.p(), untouched.p(), 0);
    EXPECT_EQ(untouched.data[0][0], T(42));
    const auto m = matrixOf(algo);
    auto longIn = randomBlock<T>(9, 100, 9);
    PlanarBlock<T> longOut(9, 100);
    algo.process(longIn.p(), longOut.p(), 100);
    for (uint32_t f = 0; f < 100; f += 33) {
        double expected = 0;
        for (uint32_t c = 0; c < 9; ++c) expected += m[4][c] * double(longIn.data[c][f]);
        EXPECT_NEAR(longOut.data[4][f], expected, kTolerance<T>) << f;
    }
    EXPECT_EQ(algo.release(), 0);
    EXPECT_EQ(algo.release(), 0);
}

} // namespace
