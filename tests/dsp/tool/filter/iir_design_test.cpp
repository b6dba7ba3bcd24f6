// Butterworth design by the state-space route, checked against the analogue
// prototype's bilinear transform worked out here in closed form, and the IIR
// filters that run the sections.
#include "dsp/tool/filter/butterworth_filter_design.h"
#include "dsp/tool/filter/iir_filter.h"
#include "tests/support/random_signal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace Filter = Tannhofen::DSP::Tool::Filter;
using std::numbers::pi;
using Complex = std::complex<double>;

namespace {

template <class T>
struct Sections {
    T den[16][3];
    T num[16][3];
    T gain = 0;
    uint32_t count = 0;
};

template <class T>
Sections<T> designFilter(uint32_t order, double wn, uint32_t type = Filter::LowPass, double wn2 = 0.1) {
    Filter::ButterworthFilterDesign<T> design;
    design.setOrder(order);
    design.filterType = type;
    design.outputForm = Filter::SectionsForm;
    EXPECT_EQ(design.init(), 0);
    design.design(T(wn), T(wn2));
    Sections<T> s;
    s.count = design.getSections(s.den, s.num, s.gain);
    design.release();
    return s;
}

// The response of the cascade with its gain at angular frequency w.
template <class T>
Complex response(const Sections<T>& s, double w) {
    const Complex z1 = std::polar(1.0, -w), z2 = z1 * z1;
    Complex h = double(s.gain);
    for (uint32_t i = 0; i < s.count; ++i)
        h *= (double(s.num[i][0]) + double(s.num[i][1]) * z1 + double(s.num[i][2]) * z2) /
             (double(s.den[i][0]) + double(s.den[i][1]) * z1 + double(s.den[i][2]) * z2);
    return h;
}

// Roots of one denominator row, z^2 + a1 z + a2 (or z + a1 for a first-order row).
std::vector<Complex> rowRoots(double a1, double a2, bool firstOrder) {
    if (firstOrder) return {Complex(-a1)};
    const Complex disc = std::sqrt(Complex(a1 * a1 - 4 * a2));
    return {(-a1 + disc) / 2.0, (-a1 - disc) / 2.0};
}

// The digital poles of the order-n low-pass: the prototype poles on the unit
// circle, scaled to the pre-warped cut-off u = 4 tan(pi wn / 2), through
// z = (4 + s) / (4 - s) (bilinear at a sampling frequency of 2).
std::vector<Complex> referencePoles(uint32_t n, double wn) {
    const double u = 4 * std::tan(pi * wn / 2);
    std::vector<Complex> z;
    for (uint32_t k = 0; k < n; ++k) {
        const Complex s = u * std::polar(1.0, pi * (2 * k + 1) / (2.0 * n) + pi / 2);
        z.push_back((4.0 + s) / (4.0 - s));
    }
    return z;
}

// |H|^2 of the bilinear Butterworth low-pass: 1 / (1 + (tan(w/2) / tan(pi wn/2))^2n).
double referenceMagnitude(uint32_t n, double wn, double w) {
    return 1 / std::sqrt(1 + std::pow(std::tan(w / 2) / std::tan(pi * wn / 2), 2.0 * n));
}

template <class T>
class IirDesignTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(IirDesignTest, SampleTypes);

TYPED_TEST(IirDesignTest, ButterworthLowPassMatchesTheBilinearPrototype) {
    using T = TypeParam;
    const double poleTolerance = std::is_same_v<T, float> ? 2e-3 : 1e-5;
    for (uint32_t n = 1; n <= 16; ++n) {
        for (double wn : {0.05, 0.1, 0.25, 0.5, 0.8}) {
            SCOPED_TRACE(testing::Message() << "order " << n << " wn " << wn);
            const auto s = designFilter<T>(n, wn);
            ASSERT_EQ(s.count, (n + 1) / 2);
            if (n % 2 == 1) {
                EXPECT_EQ(s.den[s.count - 1][2], T(0));
                EXPECT_EQ(s.num[s.count - 1][2], T(0));
            }
            // Poles: inside the unit circle, and where the closed form puts them.
            const auto expected = referencePoles(n, wn);
            for (uint32_t i = 0; i < s.count; ++i) {
                EXPECT_EQ(s.den[i][0], T(1));
                EXPECT_EQ(s.num[i][0], T(1));
                const bool firstOrder = n % 2 == 1 && i + 1 == s.count;
                for (Complex p : rowRoots(s.den[i][1], s.den[i][2], firstOrder)) {
                    EXPECT_LT(std::abs(p), 1.0);
                    double nearest = 1e9;
                    for (Complex q : expected) nearest = std::min(nearest, std::abs(p - q));
                    EXPECT_LT(nearest, poleTolerance) << p;
                }
            }
            // Magnitude: unity at DC, -3.01 dB at the cut-off, and the closed form between.
            EXPECT_NEAR(std::abs(response(s, 0.0)), 1.0, 1e-4);
            EXPECT_NEAR(std::abs(response(s, pi * wn)), std::sqrt(0.5), 1e-4);
            for (double f : {0.3, 0.7, 0.9, 1.2, 1.5}) {
                if (f * wn < 0.95) {
                    EXPECT_NEAR(std::abs(response(s, pi * wn * f)), referenceMagnitude(n, wn, pi * wn * f),
                                1e-4)
                        << "at " << f << " of the cut-off";
                }
            }
        }
    }
}

TYPED_TEST(IirDesignTest, OtherBandsFollowTheirClosedForms) {
    using T = TypeParam;
    const double t1 = std::tan(pi * 0.2 / 2), t2 = std::tan(pi * 0.4 / 2);
    for (uint32_t n : {1u, 2u, 3u, 4u}) {
        SCOPED_TRACE(testing::Message() << "order " << n);
        const auto hp = designFilter<T>(n, 0.3, Filter::HighPass);
        const auto bp = designFilter<T>(n, 0.2, Filter::BandPass, 0.4);
        const auto bs = designFilter<T>(n, 0.2, Filter::BandStop, 0.4);
        EXPECT_EQ(bp.count, n);
        for (double w : {0.1, 0.5, 0.7, 1.0, 1.3, 2.0, 3.0}) {
            const double t = std::tan(w / 2);
            const double hpRef = 1 / std::sqrt(1 + std::pow(std::tan(pi * 0.3 / 2) / t, 2.0 * n));
            const double x = (t * t - t1 * t2) / (t * (t2 - t1));
            const double bpRef = 1 / std::sqrt(1 + std::pow(x, 2.0 * n));
            const double bsRef = 1 / std::sqrt(1 + std::pow(1 / x, 2.0 * n));
            EXPECT_NEAR(std::abs(response(hp, w)), hpRef, 1e-4) << w;
            EXPECT_NEAR(std::abs(response(bp, w)), bpRef, 1e-4) << w;
            EXPECT_NEAR(std::abs(response(bs, w)), bsRef, 1e-4) << w;
        }
    }
}

// The polynomial form: the same filter as one ratio of polynomials in z^-1.
TYPED_TEST(IirDesignTest, PolynomialFormGivesTheSameResponse) {
    using T = TypeParam;
    Filter::ButterworthFilterDesign<T> design;
    design.setOrder(5);
    design.outputForm = Filter::PolynomialForm;
    ASSERT_EQ(design.init(), 0);
    design.design(T(0.3));
    for (double w : {0.0, 0.3 * pi, 0.5, 1.5}) {
        Complex num = 0, den = 0;
        for (int k = 0; k <= 5; ++k) {
            num += double(design.numeratorPolynomial[k]) * std::polar(1.0, -w * k);
            den += double(design.denominatorPolynomial[k]) * std::polar(1.0, -w * k);
        }
        EXPECT_NEAR(std::abs(double(design.gain) * num / den), referenceMagnitude(5, 0.3, w), 1e-4) << w;
    }
}

// Loads the sections of `s` into a cascade of N biquads.
template <int N, class T>
void loadSections(Filter::IIRBiQuadFilter<N, T>& f, const Sections<T>& s) {
    for (int i = 0; i < N; ++i)
        for (int k = 0; k < 3; ++k) {
            f.taps[6 * i + k] = s.num[i][k];
            f.taps[6 * i + 3 + k] = s.den[i][k];
        }
}

TYPED_TEST(IirDesignTest, OrderZeroIsAPassThroughSection) {
    using T = TypeParam;
    const auto s = designFilter<T>(0, 0.5);
    ASSERT_EQ(s.count, 1u);
    EXPECT_EQ(s.gain, T(1));
    Filter::IIRBiQuadFilter<1, T> f;
    loadSections(f, s);
    ASSERT_EQ(f.init(), 0);
    std::vector<T> x = {1, -2, 3, 0.5, 7}, y(5);
    f.process(x.data(), y.data(), 5);
    EXPECT_EQ(x, y);
}

// Runs an order-16 design through the 8-section cascade: a sine well inside
// the pass band comes out at unity gain once the design's gain is applied.
TYPED_TEST(IirDesignTest, CascadeRunsTheDesignAtUnityGain) {
    using T = TypeParam;
    const auto s = designFilter<T>(16, 0.5);
    Filter::IIRBiQuadFilter<8, T> f;
    f.maxBlockLength = 4096;
    loadSections(f, s);
    ASSERT_EQ(f.init(), 0);
    f.reset();
    const double w = 2 * pi * 51 / 2048; // whole periods in the measured half
    std::vector<T> x(4096), y(4096);
    for (size_t i = 0; i < x.size(); ++i) x[i] = T(std::sin(w * double(i)));
    f.process(x.data(), y.data(), 4096);
    // Amplitude over the second half by projection on sine and cosine.
    double c = 0, sn = 0;
    for (size_t i = 2048; i < 4096; ++i) {
        c += double(y[i]) * std::cos(w * double(i));
        sn += double(y[i]) * std::sin(w * double(i));
    }
    EXPECT_NEAR(double(s.gain) * std::hypot(c, sn) / 1024.0, 1.0, 1e-4);
}

TYPED_TEST(IirDesignTest, FilterMemoryResetAndCoefficientChanges) {
    using T = TypeParam;
    const auto s = designFilter<T>(2, 0.2);
    T taps[6] = {s.num[0][0], s.num[0][1], s.num[0][2], s.den[0][0], s.den[0][1], s.den[0][2]};
    const auto x = randomVector<T>(256, 3);

    Filter::IIRBiQuadFilter<1, T> whole, split, fresh;
    Filter::IIRFilter<2, T> direct;
    for (auto* f : {&whole.taps[0], &split.taps[0], &fresh.taps[0], &direct.taps[0]})
        std::copy(taps, taps + 6, f);
    for (auto* f : {&whole, &split, &fresh}) ASSERT_EQ(f->init(), 0);
    ASSERT_EQ(direct.init(), 0);

    // One call, or two calls with the same taps set in between: the memory carries over.
    std::vector<T> a(256), b(256), d(256);
    whole.process(x.data(), a.data(), 256);
    split.process(x.data(), b.data(), 100);
    split.setTaps(taps);
    split.process(x.data() + 100, b.data() + 100, 156);
    direct.process(x.data(), d.data(), 256);
    for (size_t i = 0; i < 256; ++i) {
        ASSERT_EQ(a[i], b[i]) << i;
        ASSERT_NEAR(a[i], d[i], 1e-5) << i; // the direct form of the same second-order filter
    }

    // After reset the output depends on the new input alone, as from a fresh filter.
    std::vector<T> impulse(32, T(0)), r1(32), r2(32);
    impulse[0] = T(1);
    whole.reset();
    whole.process(impulse.data(), r1.data(), 32);
    fresh.process(impulse.data(), r2.data(), 32);
    EXPECT_EQ(r1, r2);
    EXPECT_NE(r1[5], T(0));

    // Nothing happens on bad input; an unloaded filter passes its input.
    whole.process(nullptr, r1.data(), 32);
    whole.process(impulse.data(), r1.data(), 0);
    whole.process(impulse.data(), r1.data(), -4);
    Filter::IIRBiQuadFilter<2, T> unloaded;
    unloaded.process(x.data(), r1.data(), 32);
    EXPECT_TRUE(std::equal(r1.begin(), r1.end(), x.begin()));
    EXPECT_EQ(whole.release(), 0);
    EXPECT_EQ(whole.release(), 0);
}

} // namespace
