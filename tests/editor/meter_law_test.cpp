// The meters' scale and ballistics against values worked out from the law:
// above -24 dB the scale is linear in decibels, 0.68 of the length over the
// 27 dB from -24 dB to +3 dB; below, a 0.7 power law reaches 0 at -60 dB.
#include <gtest/gtest.h>

#include <cmath>

#include "editor/meter_law.h"
#include "editor/meter_view.h"

using namespace Tannhofen::Editor;

namespace {

double fromDecibels(double decibels) {
    return std::pow(10.0, decibels / 20.0);
}

} // namespace

TEST(MeterScale, ConstantsFollowFromTheLaw) {
    using namespace MeterLaw;
    const double m = 999.0 / kMaximumLevel;
    EXPECT_NEAR(kScaleFullIndex, m, 1e-9);
    EXPECT_NEAR(kMaximumLevel, fromDecibels(3.0), 1e-6);
    EXPECT_NEAR(kMinimumLevel, fromDecibels(-96.0), 1e-10);
    EXPECT_NEAR(kIndex24, m * fromDecibels(-24.0), 1e-9);
    EXPECT_NEAR(kIndex60, m * 0.001, 1e-12);
    EXPECT_NEAR(kLog10Top, std::log10(999.0), 1e-15);
    EXPECT_NEAR(kLogSlope, -0.68 / (std::log10(kIndex24) - std::log10(999.0)), 1e-12);
    EXPECT_NEAR(kPowerFactor, 0.32 / std::pow(kIndex24 - kIndex60, 0.7), 1e-15);
}

TEST(MeterScale, TableReadsTheLawAtItsCorners) {
    const MeterLaw::ScaleTable table = MeterLaw::makeScaleTable();
    EXPECT_EQ(table[0], 0.0);
    EXPECT_NEAR(table[999], 1.0, 1e-12);
    // Both branches give 0.32 at -24 dB, so the scale is continuous there.
    EXPECT_NEAR(MeterLaw::scaleFraction(MeterLaw::kIndex24 - 1e-9), 0.32, 1e-9);
    EXPECT_NEAR(MeterLaw::scaleFraction(MeterLaw::kIndex24), 0.32, 1e-12);
    for (size_t i = 1; i < table.size(); ++i) ASSERT_GT(table[i], table[i - 1]) << i;

    // Levels read between the table's entries.
    auto at = [&table](double decibels) { return MeterLaw::levelFraction(table, fromDecibels(decibels)); };
    EXPECT_NEAR(at(-24.0), 0.32, 1e-3);
    EXPECT_NEAR(at(0.0), 1.0 - 0.68 * 3.0 / 27.0, 1e-6);
    EXPECT_NEAR(at(-6.0), 1.0 - 0.68 * 9.0 / 27.0, 1e-6);
    EXPECT_NEAR(at(-12.0), 1.0 - 0.68 * 15.0 / 27.0, 1e-6);
    EXPECT_NEAR(at(-48.0), 0.32 * std::pow((fromDecibels(-48) - 0.001) / (fromDecibels(-24) - 0.001), 0.7),
                5e-4);
    EXPECT_NEAR(at(3.0), 1.0, 1e-7);
    // Above the top, and not a number, stay on the scale.
    EXPECT_EQ(MeterLaw::levelFraction(table, 100.0), table[999]);
    EXPECT_EQ(MeterLaw::levelFraction(table, INFINITY), table[999]);
    EXPECT_EQ(MeterLaw::levelFraction(table, NAN), 0.0);
    EXPECT_EQ(MeterLaw::levelFraction(table, -1.0), 0.0);
}

TEST(MeterScale, SkinDecayFactorGivesTheRate) {
    EXPECT_FLOAT_EQ(MeterLaw::decayRateFromSkin(0.98), 2.0f);
    EXPECT_FLOAT_EQ(MeterLaw::decayRateFromSkin(0.5), 50.0f);
    EXPECT_FLOAT_EQ(MeterLaw::decayRateFromSkin(7.0), 0.0f);  // kept at 1.0
    EXPECT_FLOAT_EQ(MeterLaw::decayRateFromSkin(0.0), 99.0f); // kept at 0.01
    EXPECT_FLOAT_EQ(MeterLaw::decayRateFromSkin(NAN), MeterLaw::kDefaultDecayRate);
    EXPECT_FLOAT_EQ(LevelMeterView(true, 0, 1, {{MeterSkin::kDecay, "0.9"}}).getDecayRate(), 10.0f);
    EXPECT_FLOAT_EQ(LevelMeterView(true, 0, 1, {{MeterSkin::kDecay, "fast"}}).getDecayRate(), 2.0f);
}

TEST(LevelMeter, RisesAtOnceAndFallsByOneMinusRateTimesStep) {
    LevelMeterView meter(false, 431, 2);
    meter.update(0, 1.0f, 1000.0);
    EXPECT_EQ(meter.getLevel(0), 1.0f);
    EXPECT_EQ(meter.getLevel(1), 0.0f);
    EXPECT_TRUE(meter.takeRedraw());
    // Steps of 10 ms at 2.0 per second: each one keeps 1 - 0.02 of the level.
    double expected = 1.0;
    for (int step = 1; step <= 25; ++step) {
        meter.update(0, 0.0f, 1000.0 + 10.0 * step);
        expected *= 0.98;
        ASSERT_NEAR(meter.getLevel(0), expected, 1e-6) << step;
    }
    // A quieter value doesn't stop the fall; a louder one takes over at once.
    meter.update(0, 0.1f, 1260.0);
    EXPECT_NEAR(meter.getLevel(0), expected * 0.98, 1e-6);
    meter.update(0, 0.9f, 1270.0);
    EXPECT_FLOAT_EQ(meter.getLevel(0), 0.9f);
    // Half a second or more in one step at 2.0 per second falls to nothing.
    meter.update(0, 0.0f, 1770.0);
    EXPECT_EQ(meter.getLevel(0), 0.0f);
    EXPECT_EQ(meter.getDisplayFraction(0), 0.0);

    // A value above +3 dB shows as the meter's top.
    meter.update(1, 8.0f, 2000.0);
    EXPECT_EQ(meter.getLevel(1), MeterLaw::kMaximumLevel);
    EXPECT_NEAR(meter.getDisplayFraction(1), 1.0, 1e-9);
}

TEST(LevelMeter, UpdatesWithinOneMillisecondLoseNoPeak) {
    LevelMeterView meter(true, 407, 1);
    meter.update(0, 0.2f, 500.0);
    meter.update(0, 0.9f, 500.0); // same millisecond: kept for later
    meter.update(0, 0.5f, 500.0); // smaller: the 0.9 stays pending
    EXPECT_FLOAT_EQ(meter.getLevel(0), 0.2f);
    meter.update(0, 0.1f, 501.0);
    EXPECT_FLOAT_EQ(meter.getLevel(0), 0.9f);
    // The pending peak was used up: the next step falls from it.
    meter.update(0, 0.1f, 511.0);
    EXPECT_NEAR(meter.getLevel(0), 0.9f * 0.98f, 1e-6);
}

TEST(LevelMeter, BadTimesAndValuesKeepLevelsFiniteAndInRange) {
    LevelMeterView meter(false, 431, 100);
    EXPECT_EQ(meter.getChannelCount(), 24); // the most a meter shows
    meter.update(23, 0.5f, 2000.0);
    // The clock going backwards lets no time pass: no fall, and no growth.
    for (double t : {1000.0, 0.0, -5000.0}) {
        meter.update(23, 0.0f, t);
        EXPECT_FLOAT_EQ(meter.getLevel(23), 0.5f) << t;
    }
    // From the earlier time on, the meter falls again.
    meter.update(23, 0.0f, -4990.0);
    EXPECT_NEAR(meter.getLevel(23), 0.49f, 1e-6);
    meter.update(23, NAN, NAN);
    meter.update(23, INFINITY, -4980.0);
    EXPECT_EQ(meter.getLevel(23), MeterLaw::kMaximumLevel);
    meter.update(23, -3.0f, 1e300);
    EXPECT_EQ(meter.getLevel(23), 0.0f);
    // Channels it doesn't have are ignored.
    meter.update(24, 1.0f, 0.0);
    meter.update(-1, 1.0f, 0.0);
    EXPECT_EQ(meter.getLevel(24), 0.0f);
    EXPECT_FALSE(meter.setParamValue(431 + 24, 1.0, 0.0));
    EXPECT_TRUE(meter.setParamValue(431 + 3, 0.25, 10.0));
    EXPECT_FLOAT_EQ(meter.getLevel(3), 0.25f);
}

TEST(LevelMeter, ViewParametersAndSkin) {
    LevelMeterView meter(true, 407, 2);
    EXPECT_EQ(meter.getMeterMode(), 6);
    EXPECT_EQ(meter.getBackBitmap(), "bmAudioPlugMeterBack");
    EXPECT_EQ(meter.getForeBitmap(), "bmAudioPlugMeterFore");
    meter.takeRedraw();
    EXPECT_TRUE(meter.setParamValue(5000, 2.0, 0.0));
    EXPECT_EQ(meter.getMeterMode(), 2);
    EXPECT_TRUE(meter.takeRedraw());
    EXPECT_TRUE(meter.setParamValue(5003, 0.7, 0.0));
    EXPECT_TRUE(meter.setParamValue(5004, 0.3, 0.0));
    EXPECT_FLOAT_EQ(meter.getPeakValue(), 0.7f);
    EXPECT_FLOAT_EQ(meter.getScaleValue(), 0.3f);

    const LevelMeterView horizontal(true, 407, 2, {{MeterSkin::kOrientation, "horizontal"}});
    EXPECT_TRUE(horizontal.isHorizontal());
    EXPECT_EQ(horizontal.getBackBitmap(), "bmAudioPlugMeterHorizBack");
    EXPECT_EQ(horizontal.getForeBitmap(), "bmAudioPlugMeterHorizFore");
    const LevelMeterView named(true, 407, 2,
                               {{MeterSkin::kBackBitmap, "back"}, {MeterSkin::kForeBitmap, "fore"}});
    EXPECT_EQ(named.getBackBitmap(), "back");
    EXPECT_EQ(named.getForeBitmap(), "fore");
}
