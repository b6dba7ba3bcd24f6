// One HRIR set: how it takes its data over (32 trailing zeros, reported in the
// length) and how it resamples itself in place to the host's rate.
#include "ambi/hrir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "ambi/hrir_factory.h"

using namespace Tannhofen::AmbiBin;

namespace {

template <class T>
class HrirTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(HrirTest, SampleTypes);

// A set whose channel c holds `fill(c, n)` for n < length.
template <class T, class Fill>
Hrir<T> makeSet(uint32_t channels, uint32_t length, double rate, bool symmetric, Fill fill) {
    HrirData<T> data;
    EXPECT_TRUE(data.allocate(channels, length, symmetric));
    for (uint32_t c = 0; c < channels; ++c)
        for (uint32_t n = 0; n < length; ++n) {
            data.left[c][n] = T(fill(c, n));
            if (!symmetric) data.right[c][n] = T(-fill(c, n));
        }
    data.order = 1;
    data.sampleRate = rate;
    data.name = "set.sofa";
    return Hrir<T>(std::move(data), kHrirSofa);
}

TYPED_TEST(HrirTest, TakesTheDataOverWith32TrailingZeros) {
    using T = TypeParam;
    const auto value = [](uint32_t c, uint32_t n) { return 1.0 + c + 0.25 * n; };
    for (bool symmetric : {false, true}) {
        Hrir<T> set = makeSet<T>(4, 10, 48000, symmetric, value);
        EXPECT_EQ(set.getLength(), 42u);
        EXPECT_EQ(set.getNumChannels(), 4u);
        EXPECT_EQ(set.isSymmetric(), symmetric);
        EXPECT_EQ(set.getMode(), kHrirSofa);
        std::string name;
        set.getName(name);
        EXPECT_EQ(name, "set.sofa");
        EXPECT_EQ(set.getRight() == nullptr, symmetric);
        for (uint32_t c = 0; c < 4; ++c)
            for (uint32_t n = 0; n < 42; ++n) {
                const double expected = n < 10 ? value(c, n) : 0.0;
                EXPECT_EQ(set.getLeft()[c][n], T(expected));
                if (!symmetric) {
                    EXPECT_EQ(set.getRight()[c][n], T(-expected));
                }
            }
    }
}

// Resampling keeps the level of each sample (a constant stays the constant),
// gives floor(length * up / down) samples, leaves the same rate untouched,
// lets no channel leak into the next beyond the filter's dying tail, and
// works in place: a second rate starts from the first one's result.
TYPED_TEST(HrirTest, ResamplesInPlaceAtTheLevelOfEachSample) {
    using T = TypeParam;
    // Channel 0: a constant 1 for 400 samples; channel 1: silence; channel 2:
    // a constant -0.5; channel 3: silence.
    const auto fill = [](uint32_t c, uint32_t) { return c == 0 ? 1.0 : c == 2 ? -0.5 : 0.0; };
    Hrir<T> set = makeSet<T>(4, 400, 44100, false, fill);
    T* const before = set.getLeft()[0];
    ASSERT_EQ(set.setSampleRate(44100), 0);
    EXPECT_EQ(set.getLeft()[0], before);
    EXPECT_EQ(set.getLength(), 432u);

    ASSERT_EQ(set.setSampleRate(48000), 0);
    EXPECT_EQ(set.getLength(), 432u * 160 / 147); // 470
    EXPECT_EQ(set.getSampleRate(), 48000.0);
    const double tolerance = std::is_same_v<T, float> ? 2e-3 : 1e-4;
    for (uint32_t n = 100; n < 400; ++n) {
        EXPECT_NEAR(set.getLeft()[0][n], 1.0, tolerance) << n;
        EXPECT_NEAR(set.getLeft()[2][n], -0.5, tolerance) << n;
        EXPECT_NEAR(set.getRight()[0][n], -1.0, tolerance) << n;
    }
    // The silent channels after a loud one: only what is left of the filter's
    // tail after the 32 trailing zeros.
    for (uint32_t c : {1u, 3u})
        for (uint32_t n = 0; n < set.getLength(); ++n) {
            EXPECT_LT(std::abs(double(set.getLeft()[c][n])), 1e-3) << c << " " << n;
            EXPECT_LT(std::abs(double(set.getRight()[c][n])), 1e-3) << c << " " << n;
        }

    // Back at 44.1 kHz the set starts from its 470 samples: 431, not the 432 it had.
    ASSERT_EQ(set.setSampleRate(44100), 0);
    EXPECT_EQ(set.getLength(), 431u);
}

TYPED_TEST(HrirTest, RefusesRatesItCannotServe) {
    using T = TypeParam;
    Hrir<T> set = makeSet<T>(4, 300, 48000, true, [](uint32_t, uint32_t n) { return n == 0 ? 1.0 : 0.0; });
    // 44099 Hz shares no divisor with 48 kHz: 332 * 44099 samples to filter.
    for (double rate : {0.0, -48000.0, std::nan(""), 1e12, 44099.0}) {
        EXPECT_EQ(set.setSampleRate(rate), 1) << rate;
        EXPECT_EQ(set.getLength(), 332u);
        EXPECT_EQ(set.getSampleRate(), 48000.0);
    }
}

// Every built-in set converts to every common host rate: finite values, the
// length the ratio gives, and a constant keeps its level at each rate.
TYPED_TEST(HrirTest, HostRatesFrom8kTo384k) {
    using T = TypeParam;
    HrirFactory<T> factory;
    const double rates[] = {8000,  11025, 16000,  22050,  32000,  44100, 48000,
                            88200, 96000, 176400, 192000, 352800, 384000};
    const std::pair<int32_t, uint32_t> sets[] = {{1, 1}, {1, 2}, {1, 3}, {2, 1}, {4, 2}, {4, 3}};
    for (double rate : rates)
        for (auto [mode, order] : sets) {
            SCOPED_TRACE(testing::Message() << "mode " << mode << " order " << order << " at " << rate);
            auto set = factory.makeBuiltin(mode, order);
            ASSERT_NE(set, nullptr);
            const uint32_t from = mode == kHrirStandard ? 44100 : 48000;
            const uint32_t length = set->getLength();
            ASSERT_EQ(set->setSampleRate(rate), 0);
            const uint32_t g = std::gcd(from, uint32_t(rate));
            EXPECT_EQ(set->getLength(), uint32_t(uint64_t(length) * (uint32_t(rate) / g) / (from / g)));
            for (uint32_t c = 0; c < set->getNumChannels(); ++c)
                for (uint32_t n = 0; n < set->getLength(); ++n)
                    ASSERT_TRUE(std::isfinite(set->getLeft()[c][n]));
        }
    for (double rate : rates) {
        Hrir<T> set = makeSet<T>(4, 800, 44100, true, [](uint32_t, uint32_t) { return 1.0; });
        ASSERT_EQ(set.setSampleRate(rate), 0);
        const uint32_t middle = set.getLength() / 2;
        const double tolerance = std::is_same_v<T, float> ? 2e-2 : 1e-3;
        EXPECT_NEAR(set.getLeft()[0][middle], 1.0, tolerance) << rate;
    }
}

} // namespace
