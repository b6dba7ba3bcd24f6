// The filter fade of both widths: the design of every filter type against
// its analytic response, the 120 Hz low-pass as heard, click-free switching
// while tones play, designs that wait for a running fade, and the edges of
// the parameter interface.
#include "dsp/algo32/fade.h"
#include "dsp/algo64/fade.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <vector>

namespace DSP = Tannhofen::DSP;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kRate = 48000.0;
// Q 1.0 after the low- and high-pass taper: 9.5 ((1 - 0.5) 0.10526315789)^4 + 0.5.
constexpr double kTaperedQ1 = 0.5000728968;

template <class T>
using Fade = DSP::WideFrame::FilterFade<T>;
template <class T>
using Biquad = DSP::WideFrame::FadeBiquad<T>;

// |H(e^jw)| of b0 b1 b2 / 1 a1 a2.
double magnitude(const double* c, double w) {
    const std::complex<double> z = std::polar(1.0, -w);
    return std::abs((c[0] + c[1] * z + c[2] * z * z) / (1.0 + c[3] * z + c[4] * z * z));
}

template <class T>
double magnitude(const Biquad<T>& f, double hz) {
    double c[5];
    f.getCoefficients(c);
    return magnitude(c, 2 * kPi * hz / kRate);
}

// The low-pass at 120 Hz and Q 1, worked from the law: the quality's taper
// gives Q' = 9.5 ((1 - 0.5) 0.10526315789)^4 + 0.5.
double lowPass120(double hz) {
    const double y = 0.5 * 0.10526315789;
    const double q = 9.5 * y * y * y * y + 0.5;
    const double w0 = 2 * kPi * 120.0 / kRate;
    const double alpha = std::sin(w0) / (2 * q), c = std::cos(w0);
    const double a0 = 1 + alpha;
    const double coeffs[5] = {(1 - c) / 2 / a0, (1 - c) / a0, (1 - c) / 2 / a0, -2 * c / a0,
                              (1 - alpha) / a0};
    return magnitude(coeffs, 2 * kPi * hz / kRate);
}

// Amplitude of the hz component of x (whole periods), by correlation.
template <class T>
double amplitudeAt(const std::vector<T>& x, size_t from, double hz) {
    double re = 0, im = 0;
    for (size_t n = from; n < x.size(); ++n) {
        re += x[n] * std::cos(2 * kPi * hz * n / kRate);
        im += x[n] * std::sin(2 * kPi * hz * n / kRate);
    }
    return 2 * std::hypot(re, im) / static_cast<double>(x.size() - from);
}

template <class T>
std::vector<T> tones(size_t n, std::initializer_list<double> hz) {
    std::vector<T> x(n, T(0));
    for (size_t i = 0; i < n; ++i)
        for (double f : hz) x[i] += T(0.5 * std::sin(2 * kPi * f * i / kRate));
    return x;
}

// Owners' order: construct, init, reset, switch, design.
template <class T>
std::unique_ptr<Fade<T>> makeFade(bool off, int32_t block = 480, int32_t mode = 0) {
    auto fade = std::make_unique<Fade<T>>(kRate, block, 250.0f, mode);
    EXPECT_EQ(fade->init(), 0);
    fade->reset();
    fade->setFilterOff(off);
    fade->setFilter(0, 120.0, 1.0);
    return fade;
}

// Runs x through the fade in blocks, in place, calling `between(block)` first.
template <class T, class F>
std::vector<T> run(Fade<T>& fade, std::vector<T> x, int32_t block, F between) {
    for (size_t pos = 0, k = 0; pos < x.size(); pos += static_cast<size_t>(block), ++k) {
        between(k);
        const auto n = static_cast<int32_t>(std::min<size_t>(static_cast<size_t>(block), x.size() - pos));
        fade.processMono(&fade, x.data() + pos, x.data() + pos, n);
    }
    return x;
}

template <class T>
class FilterFades : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FilterFades, SampleTypes);

TYPED_TEST(FilterFades, EveryTypeMeetsItsResponse) {
    using T = TypeParam;
    Biquad<T> f(kRate);
    ASSERT_EQ(f.init(), 0);
    const double f0 = 1000.0, nyquist = kRate / 2, tol = 2e-4;
    const auto at = [&](double hz) { return magnitude(f, hz); };

    // The quality's taper: the low-pass peaks at Q' at its corner.
    for (auto [q, tapered] : {std::pair{0.5, 0.5}, {1.0, kTaperedQ1}, {10.0, 10.0}}) {
        f.design(0, f0, q, 0, false);
        EXPECT_NEAR(at(f0), tapered, 1e-4 * tapered) << q;
        EXPECT_NEAR(at(0), 1.0, tol);
        EXPECT_NEAR(at(nyquist), 0.0, tol);
    }
    // (type, Q, frequency, |H|): high-pass, band-pass of constant skirt (peak Q)
    // and of constant peak (0 dB), notch, all-pass.
    const std::tuple<int, double, double, double> rows[] = {
        {1, 10.0, 0, 0},  {1, 10.0, nyquist, 1}, {1, 10.0, f0, 10}, {2, 2.0, f0, 2}, {2, 2.0, 0, 0},
        {3, 2.0, f0, 1},  {3, 2.0, nyquist, 0},  {4, 2.0, f0, 0},   {4, 2.0, 0, 1},  {5, 2.0, 0, 1},
        {5, 2.0, 300, 1}, {5, 2.0, f0, 1},       {5, 2.0, 7000, 1}};
    for (auto [type, q, hz, expected] : rows) {
        f.design(type, f0, q, 0, false);
        EXPECT_NEAR(at(hz), expected, tol * std::max(1.0, expected)) << type << " at " << hz;
    }
    // With the bandwidth in octaves, the constant-peak band-pass is 3 dB down an octave apart.
    f.design(3, f0, 1.0, 0, true);
    EXPECT_NEAR(at(f0 / std::sqrt(2.0)), std::sqrt(0.5), 0.01);
    EXPECT_NEAR(at(f0 * std::sqrt(2.0)), std::sqrt(0.5), 0.01);

    for (double gain : {9.0, -9.0, 3.0}) {
        const double g = std::pow(10.0, gain / 20);
        f.design(13, f0, 1.5, gain, false);
        EXPECT_NEAR(at(f0), g, g * tol);
        EXPECT_NEAR(at(0), 1.0, tol);
        f.design(6, f0, 1.5, gain, false); // matched bell: exact peak, unity at DC
        EXPECT_FALSE(f.flat);
        EXPECT_NEAR(at(f0), g, g * tol);
        EXPECT_NEAR(at(0), 1.0, tol);
        for (int type : {7, 8, 9}) {
            for (double q : {0.3, 2.0}) {
                f.design(type, f0, q, gain, false);
                EXPECT_NEAR(at(0), g, g * tol) << type;
                EXPECT_NEAR(at(nyquist), 1.0, tol) << type;
                f.design(type + 3, f0, q, gain, false);
                EXPECT_NEAR(at(0), 1.0, tol) << type + 3;
                EXPECT_NEAR(at(nyquist), g, g * tol) << type + 3;
            }
        }
    }
    // No gain: the gain types are flat and skipped.
    for (int type = 6; type <= 13; ++type) {
        f.design(type, f0, 1.0, 0.0, false);
        EXPECT_TRUE(f.flat) << type;
    }
    // Unknown types give a silent filter.
    for (int type : {-1, 14}) {
        f.design(type, f0, 1.0, 3.0, false);
        EXPECT_FALSE(f.flat);
        EXPECT_EQ(at(0), 0.0);
        EXPECT_EQ(at(f0), 0.0);
    }
}

TYPED_TEST(FilterFades, LowPassAt120HzAsHeard) {
    using T = TypeParam;
    auto fade = makeFade<T>(false);
    EXPECT_FALSE(fade->crossFader->fading) << "inactive: the design applies at once";
    for (double hz : {20.0, 60.0, 120.0, 400.0, 1000.0, 4000.0}) {
        fade->reset();
        const auto y = run(*fade, tones<T>(48000, {hz}), 480, [](size_t) {});
        // Skip the first 100 ms of settling; 0.5 is the tone's amplitude.
        EXPECT_NEAR(amplitudeAt(y, 4800, hz) / 0.5, lowPass120(hz), 2e-4 + 1e-3 * lowPass120(hz)) << hz;
    }
    EXPECT_NEAR(lowPass120(120.0), kTaperedQ1, 1e-6); // nearly critically damped
}

TYPED_TEST(FilterFades, SwitchingWhileTonesPlayIsClickFree) {
    using T = TypeParam;
    for (int32_t mode : {0, 1}) {
        const int32_t block = 256;
        const auto x = tones<T>(96000, {1000.0, 60.0});
        auto reference = makeFade<T>(false, block, mode);
        reference->setActive(true);
        const auto filtered = run(*reference, x, block, [](size_t) {});

        auto fade = makeFade<T>(false, block, mode);
        fade->setActive(true);
        // Off at block 20 (0.1 s), on again at block 220 (1.17 s); each fade lasts 250 ms.
        std::vector<bool> fadingAt;
        const auto y = run(*fade, x, block, [&](size_t k) {
            if (k == 20) fade->setFilterOff(true);
            if (k == 220) fade->setFilterOff(false);
            fadingAt.push_back(fade->crossFader->fading);
        });
        EXPECT_FALSE(fadingAt[19]);
        EXPECT_TRUE(fadingAt[21]);
        EXPECT_FALSE(fadingAt[70]) << "the fade to unity has ended";
        EXPECT_TRUE(fadingAt[221]);

        // The steepest either unswitched signal gets, plus what the fade adds:
        // the logistic's slope is at most 2.5 / L per sample, times |A - B| <= 2.
        double steepest = 0, step = 0;
        for (size_t n = 1; n < x.size(); ++n) {
            steepest = std::max({steepest, std::fabs(double(x[n] - x[n - 1])),
                                 std::fabs(double(filtered[n] - filtered[n - 1]))});
            step = std::max(step, std::fabs(double(y[n] - y[n - 1])));
        }
        // (Without a fade the switch would jump by the 1 kHz tone, up to 0.5.)
        EXPECT_LE(step, steepest + 2.0 * 2.5 / 12000.0 + 1e-6) << "mode " << mode;

        // Settled off: the input passes untouched. Settled on: the filtered signal again.
        for (size_t n = 70 * block; n < 220 * block; ++n) ASSERT_EQ(y[n], x[n]) << n;
        for (size_t n = 300 * block; n < x.size(); ++n) ASSERT_NEAR(y[n], filtered[n], 1e-4) << n;
    }
}

template <class T>
std::vector<double> coefficients(const Biquad<T>& f) {
    std::vector<double> c(5);
    f.getCoefficients(c.data());
    return c;
}

// The low-pass at hz and Q 1, rounded to the single precision the fade keeps.
template <class T>
std::vector<double> lowPassDesign(double hz) {
    Biquad<T> f(kRate);
    f.design(0, hz, 1.0, 0.0, false);
    auto c = coefficients(f);
    for (double& v : c) v = static_cast<float>(v);
    return c;
}

TYPED_TEST(FilterFades, DesignsWaitForARunningFade) {
    using T = TypeParam;
    auto fade = makeFade<T>(false); // blocks of 480: a fade lasts exactly 25 blocks
    fade->setActive(true);
    std::vector<T> x(480, T(0.25));
    const auto block = [&] { fade->processMono(fade.get(), x.data(), x.data(), 480); };

    fade->setFilter(0, 500.0, 1.0); // active: designed onto the next filter, which fades in
    EXPECT_TRUE(fade->crossFader->fading);
    block();
    fade->setFilter(0, 1000.0, 1.0);
    fade->setFilter(0, 2000.0, 1.0); // replaces the 1 kHz design, which never sounds
    for (int k = 1; k < 25; ++k) block();
    EXPECT_FALSE(fade->crossFader->fading);
    EXPECT_EQ(coefficients(*fade->currentFilter), lowPassDesign<T>(500));
    block(); // the first block after the fade starts the waiting design
    EXPECT_TRUE(fade->crossFader->fading);
    EXPECT_EQ(coefficients(*fade->nextFilter), lowPassDesign<T>(2000));

    // Identifier 5 completes the running fade at once; below 0.5 it only redesigns.
    fade->setParameter(5, 0.4);
    EXPECT_TRUE(fade->crossFader->fading);
    fade->setParameter(5, 1.0);
    EXPECT_FALSE(fade->crossFader->fading);
    EXPECT_EQ(coefficients(*fade->currentFilter), lowPassDesign<T>(2000));
}

TYPED_TEST(FilterFades, InactiveDesignsApplyAtOnce) {
    using T = TypeParam;
    auto fade = makeFade<T>(false);
    // An impulse: the first output sample is b0 of the design in place.
    std::vector<T> x(4, T(0));
    x[0] = T(1);
    fade->setFilter(1, 2000.0, 1.0);
    EXPECT_FALSE(fade->crossFader->fading);
    fade->processMono(fade.get(), x.data(), x.data(), 4);
    EXPECT_EQ(x[0], T(fade->currentFilter->b0));
    EXPECT_GT(x[0], T(0.5)); // a high-pass passes the click

    // Parameter identifiers while inactive: each redesigns the current filter.
    fade->setParameter(1, 40000.0); // clamped to 0.45 of the rate
    EXPECT_EQ(fade->frequency, 21600.0f);
    fade->setParameter(3, 20.0); // an unknown type: silence, once the memory has run out
    std::vector<T> tone = tones<T>(480, {440.0});
    fade->processMono(fade.get(), tone.data(), tone.data(), 480);
    EXPECT_EQ(DSP::Vec::maxAbs(tone.data() + 2, tone.size() - 2), T(0));
    fade->setParameter(6, 100.0);
    EXPECT_EQ(fade->crossFader->fadeLength, 4800);

    // Active: identifiers 0 to 3 redesign straight onto the next filter and fade.
    fade->setParameter(3, 0.0);
    fade->setActive(true);
    fade->setParameter(1, 500.0);
    EXPECT_TRUE(fade->crossFader->fading);
    EXPECT_EQ(coefficients(*fade->nextFilter), lowPassDesign<T>(500));

    EXPECT_EQ(fade->setChannels(2, 2), 1);
    EXPECT_EQ(fade->setChannels(1, 1), 0);
}

TYPED_TEST(FilterFades, DenormalOutputClearsTheFilter) {
    using T = TypeParam;
    auto fade = makeFade<T>(false);
    fade->setActive(true);
    const T tiny = std::numeric_limits<T>::denorm_min() * T(1000);
    for (T start : {tiny, T(1e-3)}) {
        // Silence in: the output is the decaying memory alone.
        const T line[2] = {start, T(0)};
        fade->currentFilter->filter.setDelayLine(line);
        T x[1] = {T(0)};
        fade->processMono(fade.get(), x, x, 1);
        EXPECT_EQ(x[0], start);
        T left[2];
        fade->currentFilter->filter.getDelayLine(left);
        if (start == tiny)
            EXPECT_TRUE(left[0] == T(0) && left[1] == T(0)) << "a denormal clears the memory";
        else
            EXPECT_NE(left[0], T(0));
    }
}

} // namespace
