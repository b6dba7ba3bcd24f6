// The split-array FFT of the vector library: known spectra and round trips
// for every power-of-two length from 1 to 65536, against a plain DFT for the
// short ones, on aligned, misaligned and in-place arrays.
#include "dsp/vec/vec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace Vec = Tannhofen::DSP::Vec;

namespace {

constexpr double kTwoPi = 6.283185307179586;

// One transform with its buffers, the way the toolkit's transform classes own them.
template <class T>
struct Transform {
    Transform(int order, int flag) {
        int specSize = 0, initSize = 0, workSize = 0;
        status = Vec::fftGetSize(order, flag, specSize, initSize, workSize);
        specBuffer = Vec::malloc<uint8_t>(specSize);
        initBuffer = Vec::malloc<uint8_t>(initSize);
        workBuffer = Vec::malloc<uint8_t>(workSize);
        if (status == Vec::StsNoErr) status = Vec::fftInit(&spec, order, flag, specBuffer, initBuffer);
    }
    ~Transform() {
        Vec::fftFree(spec);
        Vec::free(specBuffer);
        Vec::free(initBuffer);
        Vec::free(workBuffer);
    }
    Vec::FftSpec<T>* spec = nullptr;
    uint8_t* specBuffer = nullptr;
    uint8_t* initBuffer = nullptr;
    uint8_t* workBuffer = nullptr;
    Vec::Status status = Vec::StsNoErr;
};

// Split complex signal in one aligned allocation, starting offset elements in.
template <class T>
struct Split {
    Split(std::size_t n, std::size_t offset) : n(n) {
        base = Vec::malloc<T>(2 * (n + offset) + 32);
        re = base + offset;
        im = base + n + 2 * offset + 16;
        Vec::zero(re, n);
        Vec::zero(im, n);
    }
    ~Split() { Vec::free(base); }
    std::size_t n;
    T* base;
    T* re;
    T* im;
};

template <class T>
double tolerance(std::size_t n) {
    const double eps = std::is_same_v<T, float> ? 1.2e-7 : 2.3e-16;
    return 8 * eps * (std::log2(double(n)) + 1);
}

template <class T>
class Fft : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Fft, SampleTypes);

TYPED_TEST(Fft, KnownSpectraAndRoundTripForEveryLength) {
    using T = TypeParam;
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> dist(-1, 1);
    for (int order = 0; order <= 16; ++order) {
        const std::size_t n = std::size_t(1) << order;
        const double tol = tolerance<T>(n);
        Transform<T> fwd(order, Vec::FftNoDiv), inv(order, Vec::FftDivInvByN);
        ASSERT_EQ(fwd.status, Vec::StsNoErr);
        ASSERT_EQ(inv.status, Vec::StsNoErr);
        const std::size_t offset = order % 3; // also arrays off the SIMD alignment
        Split<T> x(n, offset), y(n, 0), z(n, offset + 1);

        // A delayed impulse at d has the spectrum exp(-2 pi i k d / N); the forward transform is unscaled.
        const std::size_t d = n / 3;
        x.re[d] = 1;
        ASSERT_EQ(Vec::fftFwd(x.re, x.im, y.re, y.im, fwd.spec, fwd.workBuffer), Vec::StsNoErr);
        for (std::size_t k = 0; k < n; ++k) {
            const double angle = -kTwoPi * double((k * d) % n) / double(n);
            ASSERT_NEAR(y.re[k], std::cos(angle), tol) << "order " << order << " bin " << k;
            ASSERT_NEAR(y.im[k], std::sin(angle), tol) << "order " << order << " bin " << k;
        }

        // Round trip of noise: forward in place, inverse out of place and divided by N.
        for (std::size_t t = 0; t < n; ++t) {
            x.re[t] = T(dist(rng));
            x.im[t] = T(dist(rng));
        }
        Vec::copy(x.re, z.re, n);
        Vec::copy(x.im, z.im, n);
        ASSERT_EQ(Vec::fftFwd(z.re, z.im, z.re, z.im, fwd.spec, fwd.workBuffer), Vec::StsNoErr);
        ASSERT_EQ(Vec::fftInv(z.re, z.im, y.re, y.im, inv.spec, inv.workBuffer), Vec::StsNoErr);
        for (std::size_t t = 0; t < n; ++t) {
            ASSERT_NEAR(y.re[t], x.re[t], 2 * tol) << "order " << order;
            ASSERT_NEAR(y.im[t], x.im[t], 2 * tol) << "order " << order;
        }
    }
}

TYPED_TEST(Fft, MatchesThePlainDftAndTheScalingFlags) {
    using T = TypeParam;
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> dist(-1, 1);
    for (int order = 0; order <= 6; ++order) {
        const std::size_t n = std::size_t(1) << order;
        Split<T> x(n, 1), y(n, 0);
        for (std::size_t t = 0; t < n; ++t) {
            x.re[t] = T(dist(rng));
            x.im[t] = T(dist(rng));
        }
        std::vector<double> re(n), im(n);
        for (std::size_t k = 0; k < n; ++k)
            for (std::size_t t = 0; t < n; ++t) {
                const double a = -kTwoPi * double((k * t) % n) / double(n);
                re[k] += x.re[t] * std::cos(a) - x.im[t] * std::sin(a);
                im[k] += x.re[t] * std::sin(a) + x.im[t] * std::cos(a);
            }
        const double tol = tolerance<T>(n) * n;
        const std::pair<int, double> flags[] = {{Vec::FftNoDiv, 1.0},
                                                {Vec::FftDivInvByN, 1.0},
                                                {Vec::FftDivFwdByN, 1.0 / n},
                                                {Vec::FftDivBySqrtN, 1.0 / std::sqrt(double(n))}};
        for (const auto& [flag, forwardScale] : flags) {
            Transform<T> t(order, flag);
            ASSERT_EQ(Vec::fftFwd(x.re, x.im, y.re, y.im, t.spec, t.workBuffer), Vec::StsNoErr);
            for (std::size_t k = 0; k < n; ++k) {
                EXPECT_NEAR(y.re[k], re[k] * forwardScale, tol) << "flag " << flag << " bin " << k;
                EXPECT_NEAR(y.im[k], im[k] * forwardScale, tol) << "flag " << flag << " bin " << k;
            }
            // Forward then inverse scales by N in total, whatever the split.
            ASSERT_EQ(Vec::fftInv(y.re, y.im, y.re, y.im, t.spec, t.workBuffer), Vec::StsNoErr);
            const double total = flag == Vec::FftNoDiv ? double(n) : 1.0;
            for (std::size_t k = 0; k < n; ++k) EXPECT_NEAR(y.re[k], x.re[k] * total, tol) << "flag " << flag;
        }
    }
}

TYPED_TEST(Fft, BadArgumentsAreRefused) {
    using T = TypeParam;
    int a = 0, b = 0, c = 0;
    EXPECT_EQ(Vec::fftGetSize(-1, Vec::FftNoDiv, a, b, c), Vec::StsFftOrderErr);
    EXPECT_EQ(Vec::fftGetSize(40, Vec::FftNoDiv, a, b, c), Vec::StsFftOrderErr);
    EXPECT_EQ(Vec::fftGetSize(4, 3, a, b, c), Vec::StsFftFlagErr);
    Vec::FftSpec<T>* spec = nullptr;
    EXPECT_EQ(Vec::fftInit<T>(&spec, 4, Vec::FftNoDiv, nullptr, nullptr), Vec::StsNullPtrErr);
    EXPECT_EQ(spec, nullptr);
    Transform<T> t(2, Vec::FftNoDiv);
    T x[4] = {1, 2, 3, 4};
    T* null = nullptr;
    EXPECT_EQ(Vec::fftFwd<T>(x, null, x, x, t.spec, t.workBuffer), Vec::StsNullPtrErr);
    EXPECT_EQ(Vec::fftInv<T>(x, x, x, x, nullptr, t.workBuffer), Vec::StsNullPtrErr);
    Vec::fftFree<T>(nullptr);
    Vec::fftFree(t.spec); // freeing twice is harmless
}

} // namespace

TEST(VecFft, ThePlannerIsReleasedOnlyWhenNoPlanLivesAndPlansAgainAfter) {
    {
        Transform<float> a(6, Vec::FftNoDiv);
        Transform<double> b(3, Vec::FftNoDiv);
        ASSERT_EQ(a.status, Vec::StsNoErr);
        EXPECT_FALSE(Vec::fftReleasePlanner()); // both still hold plans
    }
    EXPECT_TRUE(Vec::fftReleasePlanner());
    // A new plan after the release: a unit impulse transforms to all ones.
    Transform<double> c(4, Vec::FftNoDiv);
    ASSERT_EQ(c.status, Vec::StsNoErr);
    Split<double> x(16, 0), y(16, 0);
    x.re[0] = 1;
    ASSERT_EQ(Vec::fftFwd(x.re, x.im, y.re, y.im, c.spec, c.workBuffer), Vec::StsNoErr);
    for (int k = 0; k < 16; ++k) {
        EXPECT_DOUBLE_EQ(y.re[k], 1.0);
        EXPECT_DOUBLE_EQ(y.im[k], 0.0);
    }
    EXPECT_FALSE(Vec::fftReleasePlanner());
}
