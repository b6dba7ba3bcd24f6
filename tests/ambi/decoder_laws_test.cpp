// The decoder's small laws, worked by hand: the level law and its text both
// ways, the meters' decibels, the head tracker's angles, and the guard that
// keeps samples that aren't numbers out of the decoder.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "ambi/block_guard.h"
#include "ambi/head_tracker_link.h"
#include "ambi/level_law.h"

namespace AmbiBin = Tannhofen::AmbiBin;

TEST(DecoderLevelLaw, GainTextAndInverseAgree) {
    EXPECT_EQ(AmbiBin::gainLaw(1.0), 1.0f);
    EXPECT_EQ(AmbiBin::gainLaw(0.0), 0.0f);
    EXPECT_EQ(AmbiBin::gainLaw(2.0), 1.0f);
    EXPECT_EQ(AmbiBin::gainLaw(std::nan("")), 0.0f);
    // -6 dB: 10^(-6/20) = 0.501187, at v = 0.501187^(1/1.9433582) = 0.7008548.
    EXPECT_NEAR(AmbiBin::gainLaw(0.7008548), 0.501187, 1e-6);
    EXPECT_NEAR(AmbiBin::levelFromDecibels(-6), 0.7008548, 1e-7);
    // The text shows the gain the sound gets, for every level.
    for (double v = 0.01; v <= 1.0; v += 0.01) {
        ASSERT_NEAR(std::pow(10.0, AmbiBin::levelDecibels(v) / 20), AmbiBin::gainLaw(v), 2e-7) << v;
        ASSERT_NEAR(AmbiBin::levelFromDecibels(AmbiBin::levelDecibels(v)), v, 1e-12) << v;
    }
    EXPECT_TRUE(std::isinf(AmbiBin::levelDecibels(0.0001)));
    EXPECT_EQ(AmbiBin::levelFromDecibels(-HUGE_VAL), 0.0);
    // The attenuation's text: 20 log10(0.3443^1.9433582) = -17.997 dB at 0.
    EXPECT_NEAR(AmbiBin::attenuationDecibels(0), -17.997, 1e-3);
    EXPECT_NEAR(AmbiBin::attenuationDecibels(1), 0.0, 1e-12);
    EXPECT_NEAR(AmbiBin::attenuationFromDecibels(AmbiBin::attenuationDecibels(0.4)), 0.4, 1e-9);
    // Meters: linear peaks in decibels between -60 and +3.
    EXPECT_EQ(AmbiBin::meterDecibels(1.0), 0.0);
    EXPECT_NEAR(AmbiBin::meterDecibels(0.001), -60.0, 1e-12);
    EXPECT_EQ(AmbiBin::meterDecibels(0.0), -60.0);
    EXPECT_EQ(AmbiBin::meterDecibels(2.0), 3.0);
}

TEST(DecoderTrackerAngles, RadiansToNormalisedValues) {
    EXPECT_EQ(AmbiBin::trackerYawToNormalized(0), 0.5);
    EXPECT_NEAR(AmbiBin::trackerYawToNormalized(M_PI / 2), 0.75, 1e-15);
    EXPECT_NEAR(AmbiBin::trackerYawToNormalized(M_PI), 1.0, 1e-15);
    EXPECT_NEAR(AmbiBin::trackerYawToNormalized(-M_PI), 0.0, 1e-15);
    // Beyond half a turn the angle wraps: 270 degrees is -90.
    EXPECT_NEAR(AmbiBin::trackerYawToNormalized(1.5 * M_PI), 0.25, 1e-15);
    EXPECT_NEAR(AmbiBin::trackerRollToNormalized(-2.5 * M_PI), 0.25, 1e-15);
    EXPECT_NEAR(AmbiBin::trackerPitchToNormalized(-M_PI / 4), 0.25, 1e-15);
    EXPECT_EQ(AmbiBin::trackerPitchToNormalized(M_PI), 1.0); // held at straight up
}

TEST(DecoderBlockGuard, PeaksSeeEverySampleAndNaNIsFound) {
    for (uint32_t n : {1u, 8u, 13u, 64u}) {
        for (uint32_t at = 0; at < n; ++at) {
            std::vector<double> x(n, 0.25);
            x[at] = -0.75;
            float peak = 0;
            ASSERT_TRUE(AmbiBin::finitePeak(x.data(), n, peak));
            ASSERT_EQ(peak, 0.75f);
            x[at] = std::numeric_limits<double>::quiet_NaN();
            ASSERT_FALSE(AmbiBin::finitePeak(x.data(), n, peak)) << n << " " << at;
            ASSERT_EQ(peak, n > 1 ? 0.25f : 0.0f); // NaN ignored in the peak
            x[at] = -std::numeric_limits<double>::infinity();
            ASSERT_FALSE(AmbiBin::finitePeak(x.data(), n, peak));
            AmbiBin::copyFinite(x.data(), x.data(), n);
            ASSERT_EQ(x[at], 0.0);
            ASSERT_TRUE(AmbiBin::finitePeak(x.data(), n, peak));
        }
    }
    float peak = -1;
    EXPECT_TRUE(AmbiBin::finitePeak(static_cast<const float*>(nullptr), 0, peak));
    EXPECT_EQ(peak, 0.0f);
}
