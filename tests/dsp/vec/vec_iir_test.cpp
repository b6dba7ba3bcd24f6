// IIR filters of the vector library against their difference equations,
// written out here, and the continuity of the delay line across blocks and
// across a change of taps.
#include "dsp/vec/vec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace Vec = Tannhofen::DSP::Vec;

namespace {

template <class T>
std::vector<T> noise(std::size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> dist(-1, 1);
    std::vector<T> v(n);
    for (auto& x : v) x = T(dist(rng));
    return v;
}

// Direct form I, per section, in double: a0 y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2].
std::vector<double> cascadeReference(const std::vector<double>& taps, int sections, std::vector<double> x) {
    for (int s = 0; s < sections; ++s) {
        const double* t = taps.data() + 6 * s;
        std::vector<double> y(x.size());
        for (std::size_t n = 0; n < x.size(); ++n) {
            const double x1 = n >= 1 ? x[n - 1] : 0, x2 = n >= 2 ? x[n - 2] : 0;
            const double y1 = n >= 1 ? y[n - 1] : 0, y2 = n >= 2 ? y[n - 2] : 0;
            y[n] = (t[0] * x[n] + t[1] * x1 + t[2] * x2 - t[4] * y1 - t[5] * y2) / t[3];
        }
        x = y;
    }
    return x;
}

// Sections with poles at radius r and angle w, zeros anywhere, and a0 not 1.
std::vector<double> stableSections(int sections) {
    std::vector<double> taps;
    for (int s = 0; s < sections; ++s) {
        const double r = 0.5 + 0.05 * s, w = 0.3 + 0.7 * s, a0 = 1.0 + 0.5 * s;
        const double t[6] = {0.2 * a0, -0.3 * a0, 0.15 * a0, a0, -2 * r * std::cos(w) * a0, r * r * a0};
        taps.insert(taps.end(), t, t + 6);
    }
    return taps;
}

template <class T>
double tolerance() {
    return std::is_same_v<T, float> ? 2e-5 : 1e-12;
}

template <class T>
class Iir : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Iir, SampleTypes);

TYPED_TEST(Iir, BiquadCascadeFollowsTheDifferenceEquationInAnyBlocks) {
    using T = TypeParam;
    for (int sections : {1, 2, 3, 5, 6, 8}) { // every grouping of the cascade
        const auto tapsD = stableSections(sections);
        const std::vector<T> taps(tapsD.begin(), tapsD.end());
        const auto x = noise<T>(999, unsigned(sections));
        const auto expected = cascadeReference(tapsD, sections, std::vector<double>(x.begin(), x.end()));

        int bytes = 0;
        ASSERT_EQ(Vec::iirGetStateSizeBiQuad(sections, bytes), Vec::StsNoErr);
        std::vector<uint8_t> buffer(bytes + 3);
        Vec::IirState<T>* state = nullptr;
        // A buffer that starts off any alignment.
        ASSERT_EQ(Vec::iirInitBiQuad(&state, taps.data(), sections, nullptr, buffer.data() + 3),
                  Vec::StsNoErr);
        std::vector<T> y(x.size());
        for (std::size_t start = 0, block = 1; start < x.size(); start += block, block = block * 3 % 37 + 1) {
            const int len = int(std::min(block, x.size() - start));
            ASSERT_EQ(Vec::iir(x.data() + start, y.data() + start, len, state), Vec::StsNoErr);
        }
        for (std::size_t n = 0; n < x.size(); ++n)
            ASSERT_NEAR(y[n], expected[n], tolerance<T>() * std::max(1.0, std::fabs(expected[n])))
                << sections << " sections, sample " << n;

        // In place, from a fresh start, gives the same.
        ASSERT_EQ(Vec::iirInitBiQuad(&state, taps.data(), sections, nullptr, buffer.data() + 3),
                  Vec::StsNoErr);
        auto z = x;
        ASSERT_EQ(Vec::iir(z.data(), z.data(), int(z.size()), state), Vec::StsNoErr);
        for (std::size_t n = 0; n < x.size(); ++n) ASSERT_NEAR(z[n], y[n], tolerance<T>());
    }
}

TYPED_TEST(Iir, DirectFormFollowsTheDifferenceEquation) {
    using T = TypeParam;
    // Order 3: (1 - 0.5 z^-1)(1 + 0.2 z^-1 + 0.6 z^-2) below, scaled by a0 = 2.
    const double b[4] = {0.3, 0.1, -0.2, 0.05};
    const double a[4] = {1, -0.3, 0.5, -0.3};
    for (int order : {2, 3}) {
        std::vector<T> taps;
        for (int k = 0; k <= order; ++k) taps.push_back(T(2 * b[k]));
        for (int k = 0; k <= order; ++k) taps.push_back(T(2 * a[k]));
        const auto x = noise<T>(501, 9);
        int bytes = 0;
        ASSERT_EQ(Vec::iirGetStateSize(order, bytes), Vec::StsNoErr);
        std::vector<uint8_t> buffer(bytes);
        Vec::IirState<T>* state = nullptr;
        ASSERT_EQ(Vec::iirInit(&state, taps.data(), order, nullptr, buffer.data()), Vec::StsNoErr);
        std::vector<T> y(x.size());
        ASSERT_EQ(Vec::iir(x.data(), y.data(), 200, state), Vec::StsNoErr);
        ASSERT_EQ(Vec::iir(x.data() + 200, y.data() + 200, 301, state), Vec::StsNoErr);
        std::vector<double> ref(x.size());
        for (std::size_t n = 0; n < x.size(); ++n) {
            double acc = 0;
            for (int k = 0; k <= order; ++k)
                if (n >= std::size_t(k)) acc += b[k] * x[n - k];
            for (int k = 1; k <= order; ++k)
                if (n >= std::size_t(k)) acc -= a[k] * ref[n - k];
            ref[n] = acc;
        }
        for (std::size_t n = 0; n < x.size(); ++n)
            ASSERT_NEAR(y[n], ref[n], tolerance<T>()) << "order " << order << " sample " << n;
    }
}

TYPED_TEST(Iir, DelayLineCarriesMemoryAcrossStatesAndTaps) {
    using T = TypeParam;
    const auto x = noise<T>(400, 4);
    const auto tapsA = stableSections(2);
    auto tapsB = stableSections(2);
    tapsB[0] = 0.9; // the first section's b0 and a1 change
    tapsB[4] = -0.4;
    const std::vector<T> a(tapsA.begin(), tapsA.end()), b(tapsB.begin(), tapsB.end());

    int bytes = 0;
    ASSERT_EQ(Vec::iirGetStateSizeBiQuad(2, bytes), Vec::StsNoErr);
    std::vector<uint8_t> one(bytes), two(bytes);
    Vec::IirState<T>*first = nullptr, *second = nullptr;
    ASSERT_EQ(Vec::iirInitBiQuad(&first, a.data(), 2, nullptr, one.data()), Vec::StsNoErr);
    std::vector<T> y(x.size());
    ASSERT_EQ(Vec::iir(x.data(), y.data(), 150, first), Vec::StsNoErr);

    // The delay line moves into a state with new taps, the way a filter keeps
    // its memory over a change of coefficients.
    T delay[4];
    ASSERT_EQ(Vec::iirGetDelayLine(first, delay), Vec::StsNoErr);
    ASSERT_EQ(Vec::iirInitBiQuad(&second, b.data(), 2, delay, two.data()), Vec::StsNoErr);
    ASSERT_EQ(Vec::iir(x.data() + 150, y.data() + 150, 250, second), Vec::StsNoErr);

    // Transposed direct form II written out, with the taps switched at sample 150.
    double z[2][2] = {};
    std::vector<double> in(x.begin(), x.end());
    for (std::size_t n = 0; n < in.size(); ++n) {
        double v = in[n];
        const auto& taps = n < 150 ? tapsA : tapsB;
        for (int s = 0; s < 2; ++s) {
            const double* t = taps.data() + 6 * s;
            const double out = (t[0] * v) / t[3] + z[s][0];
            z[s][0] = (t[1] * v - t[4] * out) / t[3] + z[s][1];
            z[s][1] = (t[2] * v - t[5] * out) / t[3];
            v = out;
        }
        ASSERT_NEAR(y[n], v, tolerance<T>()) << "sample " << n;
    }

    // A zero delay line makes the state forget its past.
    const T silence[4] = {};
    ASSERT_EQ(Vec::iirSetDelayLine(second, silence), Vec::StsNoErr);
    const T impulse[3] = {1, 0, 0};
    T response[3];
    ASSERT_EQ(Vec::iir(impulse, response, 3, second), Vec::StsNoErr);
    // First output: b0 of both sections, each divided by its a0.
    EXPECT_NEAR(response[0], (tapsB[0] / tapsB[3]) * (tapsB[6] / tapsB[9]), tolerance<T>());
}

TYPED_TEST(Iir, BadArgumentsAreRefused) {
    using T = TypeParam;
    int bytes = 0;
    EXPECT_EQ(Vec::iirGetStateSizeBiQuad(0, bytes), Vec::StsSizeErr);
    ASSERT_EQ(Vec::iirGetStateSizeBiQuad(1, bytes), Vec::StsNoErr);
    std::vector<uint8_t> buffer(bytes);
    Vec::IirState<T>* state = nullptr;
    const T zeroA0[6] = {1, 0, 0, 0, 0, 0};
    EXPECT_EQ(Vec::iirInitBiQuad(&state, zeroA0, 1, nullptr, buffer.data()), Vec::StsDivByZeroErr);
    EXPECT_EQ(state, nullptr);
    T x[2] = {3, 4};
    T* null = nullptr;
    EXPECT_EQ(Vec::iir<T>(null, x, 2, state), Vec::StsNullPtrErr);
    EXPECT_EQ(Vec::iir<T>(x, x, 2, nullptr), Vec::StsNullPtrErr);
    EXPECT_EQ(Vec::iirGetDelayLine<T>(state, null), Vec::StsNullPtrErr);
    EXPECT_EQ(x[0], T(3));
}

} // namespace
