// The object encoder against the real SN3D harmonics written out in
// Cartesian form, and the panner's ambisonic output as a host sees its gains.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "panner/object_ambi_encoder.h"
#include "tests/panner/panner_test_util.h"

namespace Tannhofen::Panner {
namespace {

using namespace Test;

// SN3D real harmonics in ACN order of the unit vector (X ahead, Y left, Z up).
std::array<double, 16> harmonicsOf(double X, double Y, double Z) {
    const double s3 = std::sqrt(3.0), s15 = std::sqrt(15.0), s58 = std::sqrt(5.0 / 8.0),
                 s38 = std::sqrt(3.0 / 8.0);
    return {1.0,
            Y,
            Z,
            X,
            s3 * X * Y,
            s3 * Y * Z,
            (3 * Z * Z - 1) / 2,
            s3 * X * Z,
            s3 / 2 * (X * X - Y * Y),
            s58 * Y * (3 * X * X - Y * Y),
            s15 * X * Y * Z,
            s38 * Y * (5 * Z * Z - 1),
            Z * (5 * Z * Z - 3) / 2,
            s38 * X * (5 * Z * Z - 1),
            s15 / 2 * Z * (X * X - Y * Y),
            s58 * X * (X * X - 3 * Y * Y)};
}

TEST(PannerAmbiEncoder, RowsAreTheHarmonicsOfTheDirection) {
    const double twoRootPi = 2.0 * std::sqrt(3.14159265358979323846);
    std::mt19937 rng(31);
    std::uniform_real_distribution<float> coord(-0.5f, 0.5f), unit(0.0f, 1.0f);
    for (int columns : {4, 9, 16}) {
        Mix::MixMatrix m;
        m.allocate(2, columns);
        for (int trial = 0; trial < 100; ++trial) {
            const float x = coord(rng), y = coord(rng), z = coord(rng);
            const float metres = 1.0f + 49.0f * unit(rng), size = unit(rng);
            ObjectAmbiEncoder encoder;
            encoder.setDistance(metres);
            encoder.setSize(size);
            encoder.encode(x, y, z, m, 1, false);
            // The panner's x is right and its y rear: ahead is -y, left is -x.
            const double r = std::sqrt(double(x) * x + double(y) * y + double(z) * z);
            const auto sh = harmonicsOf(-y / r, -x / r, z / r);
            const double d = 2.0 * metres * r;
            const double g = std::min(1.0, 1.0 / (twoRootPi * d));
            EXPECT_NEAR(m.at(1, 0), g, 1e-6);
            for (int c = 1; c < columns; ++c)
                EXPECT_NEAR(m.at(1, c), sh[size_t(c)] * g * (1.0 - size), 2e-6) << c;
            for (int c = 0; c < columns; ++c) EXPECT_EQ(m.at(0, c), 0.0f); // other rows untouched
        }
    }
    // Worked by hand: a point on +Y (the left) close enough for a gain of 1
    // gives W = 1 and ACN 1 = 1; at the wall (0.5 from the middle, 1 metre
    // there doubled to 2 per unit) the gain is 1 / (2 sqrt(pi)).
    Mix::MixMatrix m;
    m.allocate(1, 4);
    ObjectAmbiEncoder encoder;
    encoder.setDistance(1.0f);
    encoder.encode(-0.1f, 0.0f, 0.0f, m, 0, false);
    EXPECT_NEAR(m.at(0, 0), 1.0f, 1e-7);
    EXPECT_NEAR(m.at(0, 1), 1.0f, 1e-7);
    EXPECT_NEAR(m.at(0, 2), 0.0f, 1e-7);
    EXPECT_NEAR(m.at(0, 3), 0.0f, 1e-7);
    encoder.encode(0.0f, -0.5f, 0.0f, m, 0, false); // straight ahead, on the front wall
    EXPECT_NEAR(m.at(0, 0), 0.28209479f, 1e-7);
    EXPECT_NEAR(m.at(0, 3), 0.28209479f, 1e-7);
    // The listener's own place has no direction: W alone. Direct mode passes W.
    encoder.encode(0.0f, 0.0f, 0.0f, m, 0, false);
    EXPECT_EQ(m.at(0, 0), 1.0f);
    EXPECT_EQ(m.at(0, 1) + m.at(0, 2) + m.at(0, 3), 0.0f);
    encoder.encode(0.3f, 0.2f, 0.1f, m, 0, true);
    EXPECT_EQ(m.row(0)[0], 1.0f);
    EXPECT_EQ(m.at(0, 1) + m.at(0, 2) + m.at(0, 3), 0.0f);
}

TEST(PannerAmbiEncoder, TheModelEncodesEveryChannelAndDropsTheLfe) {
    // 5.1 into third order, distance scale 1 metre: each channel's row is its
    // image position encoded, and the LFE feeds nothing.
    auto model = processorModel(k5_1, kAmbi3);
    EXPECT_TRUE(model->isAmbisonicOutput());
    model->setLfeGain(0.5); // 0 dB: still nothing reaches an ambisonic output
    model->setRotateZ(0.1);
    ObjectAmbiEncoder encoder;
    encoder.setDistance(1.0f);
    Mix::MixMatrix want;
    want.allocate(1, 16);
    const auto& image = model->getImagePositions();
    const std::vector<int32_t>& inMap = model->getGainSet()->inMap;
    for (size_t i = 0; i < 5; ++i) {
        encoder.encode(image[i][0], image[i][1], image[i][2], want, 0, false);
        for (int32_t c = 0; c < 16; ++c) EXPECT_EQ(gain(*model, inMap[i], c), want.at(0, c)) << i << " " << c;
    }
    const int32_t lfe = channelOf(k5_1, Plx::Speaker::LFE);
    for (int32_t c = 0; c < 16; ++c) {
        EXPECT_EQ(gain(*model, lfe, c), 0.0f);
        EXPECT_EQ(gain(*model, lfe, c, Mix::MixGainSet::kDirect), 0.0f);
    }
    // The default image of a flat input sits on the horizon: no height.
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(image[i][2], 0.0f);
    // Direct mode passes each channel to W.
    for (int32_t ch : {0, 1, 2, 4, 5}) EXPECT_EQ(gain(*model, ch, 0, Mix::MixGainSet::kDirect), 1.0f);
    // Size fades the directional part; the distance scale moves the source away.
    const float w = gain(*model, 0, 0), y = gain(*model, 0, 1);
    model->setObjectSize(0.75);
    EXPECT_EQ(gain(*model, 0, 0), w);
    EXPECT_NEAR(gain(*model, 0, 1), 0.25f * y, 1e-7);
    model->setDistanceScale(1.0); // 50 metres at the wall
    EXPECT_NEAR(gain(*model, 0, 0), w / 50.0f, 1e-7);
}

} // namespace
} // namespace Tannhofen::Panner
