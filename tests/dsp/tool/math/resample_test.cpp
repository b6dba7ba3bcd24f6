// The rational resampler on the ratios the HRIR sets meet: output length,
// unity gain at DC, a pass-band sine at its level, and channels that don't
// leak into each other once the filter is reset.
#include "dsp/tool/math/resample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

namespace Math = Tannhofen::DSP::Tool::Math;
using std::numbers::pi;

namespace {

template <class T>
class ResampleTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ResampleTest, SampleTypes);

struct Ratio {
    uint32_t up, down;
    double inRate;
};

// Amplitude of frequency f (Hz, at rate fs) over y[from, from + n).
template <class T>
double amplitudeAt(const std::vector<T>& y, size_t from, size_t n, double f, double fs) {
    std::complex<double> sum = 0;
    for (size_t i = from; i < from + n; ++i)
        sum += double(y[i]) * std::polar(1.0, -2 * pi * f * double(i) / fs);
    return 2 * std::abs(sum) / double(n);
}

TYPED_TEST(ResampleTest, LengthDcGainSineLevelAndChannelIndependence) {
    using T = TypeParam;
    const Ratio ratios[] = {{160, 147, 44100}, {147, 160, 48000}, {2, 1, 48000}, {441, 480, 48000}};
    const uint32_t inputLength = 4800;
    for (const Ratio& r : ratios) {
        SCOPED_TRACE(testing::Message() << r.up << ":" << r.down);
        Math::Resample<T> rs;
        rs.inputLength = inputLength;
        rs.upFactor = r.up;
        rs.downFactor = r.down;
        ASSERT_EQ(rs.init(), 0);
        rs.reset();
        EXPECT_EQ(rs.upsampledLength, inputLength * r.up);
        const uint32_t outLength = rs.outputLength();
        EXPECT_EQ(outLength, uint32_t(uint64_t(inputLength) * r.up / r.down));
        const double outRate = r.inRate * r.up / r.down;

        // DC: unity once the filter has settled. In float the sections' own
        // rounding at the lowest cut-offs (1/480 of Nyquist) leaves a few tenths
        // of a per cent.
        const double dcTolerance = std::is_same_v<T, float> ? 5e-3 : 1e-4;
        std::vector<T> ones(inputLength, T(1)), y(outLength + 8, T(42));
        rs.process(ones.data(), y.data(), outLength);
        for (size_t i = outLength / 2; i < outLength; ++i) ASSERT_NEAR(y[i], 1.0, dcTolerance) << i;
        EXPECT_EQ(y[outLength], T(42)); // nothing past the output length

        // A sine of about 1 kHz, whole periods over the measured window, keeps its level within 0.1 dB.
        const size_t window = outLength / 2;
        const double f = std::round(1000.0 * double(window) / outRate) * outRate / double(window);
        std::vector<T> sine(inputLength);
        for (uint32_t i = 0; i < inputLength; ++i) sine[i] = T(std::sin(2 * pi * f * i / r.inRate));
        rs.reset();
        rs.process(sine.data(), y.data(), outLength);
        const double level = 20 * std::log10(amplitudeAt(y, outLength - window, window, f, outRate));
        EXPECT_NEAR(level, 0.0, 0.1);

        // A second channel after reset gives what the first gave for the same input.
        std::vector<T> again(outLength + 8, T(42));
        rs.reset();
        rs.process(sine.data(), again.data(), outLength);
        EXPECT_EQ(y, again);
        EXPECT_EQ(rs.release(), 0);
        EXPECT_FALSE(rs.initialised);
    }
}

TYPED_TEST(ResampleTest, EqualFactorsStillFilterAndBadInputIsHarmless) {
    using T = TypeParam;
    Math::Resample<T> rs;
    rs.inputLength = 2048;
    rs.upFactor = 2;
    rs.downFactor = 2;
    ASSERT_EQ(rs.init(), 0);
    rs.reset();
    ASSERT_EQ(rs.outputLength(), 2048u);
    // The filter still runs, with its cut-off at the Nyquist frequency of the
    // input: the sections are not a pass-through, and a pass-band tone keeps its level.
    EXPECT_NE(rs.filter.taps[1], T(0));
    EXPECT_NE(rs.filter.taps[4], T(0));
    std::vector<T> low(2048), y(2048);
    for (size_t i = 0; i < 2048; ++i) low[i] = T(std::sin(2 * pi * 51 / 1024 * double(i)));
    rs.process(low.data(), y.data(), 2048);
    EXPECT_NEAR(amplitudeAt(y, 1024, 1024, 51.0 / 1024, 1.0), 1.0, 1e-3);

    // More frames than the conversion holds are cut to its length; null buffers do nothing.
    std::vector<T> big(4096, T(7));
    rs.process(low.data(), big.data(), 4096);
    EXPECT_EQ(big[2048], T(7));
    rs.process(nullptr, big.data(), 16);
    rs.process(low.data(), nullptr, 16);
    EXPECT_EQ(rs.release(), 0);
    EXPECT_EQ(rs.release(), 0);

    Math::Resample<T> broken;
    broken.inputLength = 100;
    broken.upFactor = 0;
    EXPECT_EQ(broken.init(), 1);
    broken.process(low.data(), y.data(), 10);
}

} // namespace
