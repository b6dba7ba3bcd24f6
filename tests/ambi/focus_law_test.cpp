// The focus gain curve and the focus parameters, with values worked out by hand.
#include "ambi/focus_law.h"

#include <gtest/gtest.h>

namespace AmbiBin = Tannhofen::AmbiBin;

namespace {

TEST(FocusLaw, QuarticFallToTheEdgeThenFlat) {
    // Half size 40, attenuation 0.2: at 20 degrees x = 1/2, 1 - 0.8 / 16 = 0.95.
    EXPECT_FLOAT_EQ(AmbiBin::focusGain(0, 40, 0.2f, 1), 1.0f);
    EXPECT_FLOAT_EQ(AmbiBin::focusGain(20, 40, 0.2f, 1), 0.95f);
    EXPECT_FLOAT_EQ(AmbiBin::focusGain(30, 40, 0.2f, 1), 1 - 0.8f * 81 / 256);
    // From the edge on, and everywhere for a region of no size: the attenuation exactly.
    for (float angle : {22.5f, 23.0f, 179.0f}) EXPECT_EQ(AmbiBin::focusGain(angle, 22.5f, 0.3f, 1), 0.3f);
    EXPECT_EQ(AmbiBin::focusGain(0, 0, 0.3f, 1), 0.3f);
}

TEST(FocusLaw, ParameterRanges) {
    EXPECT_FLOAT_EQ(AmbiBin::focusAzimuth(0), 180);
    EXPECT_FLOAT_EQ(AmbiBin::focusAzimuth(0.25), 90);
    EXPECT_FLOAT_EQ(AmbiBin::focusAzimuth(1), -180);
    EXPECT_FLOAT_EQ(AmbiBin::focusElevation(0), -90);
    EXPECT_FLOAT_EQ(AmbiBin::focusElevation(1), 90);
    EXPECT_FLOAT_EQ(AmbiBin::focusHalfSize(0), 22.5f);
    EXPECT_FLOAT_EQ(AmbiBin::focusHalfSize(1), 90);
    EXPECT_FLOAT_EQ(AmbiBin::focusAttenuation(0), 0.125f);
    EXPECT_FLOAT_EQ(AmbiBin::focusAttenuation(1), 1);
}

} // namespace
