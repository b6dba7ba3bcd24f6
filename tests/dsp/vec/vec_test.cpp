// The element-wise operations, conversion, multirate and matrix inversion of
// the vector library, each against a plain loop written here, on odd lengths
// and on arrays that start off the 64-byte alignment.
#include "dsp/vec/vec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace Vec = Tannhofen::DSP::Vec;

namespace {

const std::size_t kLengths[] = {1, 3, 7, 15, 17, 33, 63, 101, 1001};
const std::size_t kOffsets[] = {0, 1, 3}; // elements past an aligned start

template <class T>
std::vector<T> randomValues(std::size_t n, unsigned seed, T scale = 2) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<T> v(n);
    for (auto& x : v) x = static_cast<T>(dist(rng) * scale);
    return v;
}

// An aligned buffer with guard values around the used range, so that a write
// past either end shows up.
template <class T>
struct Guarded {
    static constexpr std::size_t kGuard = 16;
    static constexpr T kMark = T(12345.5);
    Guarded(std::size_t n, std::size_t offset) : n(n), offset(offset) {
        base = Vec::malloc<T>(n + offset + 2 * kGuard);
        for (std::size_t i = 0; i < n + offset + 2 * kGuard; ++i) base[i] = kMark;
    }
    ~Guarded() { Vec::free(base); }
    T* data() { return base + kGuard + offset; }
    bool guardsIntact() const {
        for (std::size_t i = 0; i < kGuard + offset; ++i)
            if (base[i] != kMark) return false;
        for (std::size_t i = kGuard + offset + n; i < n + offset + 2 * kGuard; ++i)
            if (base[i] != kMark) return false;
        return true;
    }
    std::size_t n, offset;
    T* base;
};

template <class T>
class VecOps : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(VecOps, SampleTypes);

TYPED_TEST(VecOps, AllocationIsAlignedAndZeroSizeIsNull) {
    using T = TypeParam;
    Vec::init(); // twice is harmless
    Vec::init();
    for (std::size_t n : {1, 3, 64, 1000, 4097}) {
        T* p = Vec::malloc<T>(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
        p[n - 1] = T(1); // the whole range is usable
        Vec::free(p);
    }
    EXPECT_EQ(Vec::malloc<T>(0), nullptr);
    EXPECT_EQ(Vec::mallocBytes(0), nullptr);
    EXPECT_EQ(Vec::malloc<T>(static_cast<std::size_t>(-1) / 2), nullptr); // size overflow
    Vec::free(nullptr);
}

TYPED_TEST(VecOps, ElementWiseMatchPlainLoops) {
    using T = TypeParam;
    using Binary = std::function<void(const T*, const T*, T*, std::size_t)>;
    using Reference = std::function<T(T, T)>;
    const std::vector<std::pair<Binary, Reference>> binaries = {
        {Vec::add<T>, [](T a, T b) { return a + b; }},
        {Vec::sub<T>, [](T a, T b) { return a - b; }},
        {Vec::mul<T>, [](T a, T b) { return a * b; }},
        {[](const T* a, const T*, T* d, std::size_t n) { Vec::mulC<T>(a, T(-0.75), d, n); },
         [](T a, T) { return a * T(-0.75); }},
        {[](const T* a, const T* b, T* d, std::size_t n) {
             Vec::copy(b, d, n);
             Vec::addProductC<T>(a, T(0.3), d, n);
         },
         [](T a, T b) { return b + a * T(0.3); }},
        {[](const T* a, const T*, T* d, std::size_t n) { Vec::clampMag<T>(a, T(-0.5), d, n); },
         [](T a, T) { return a > T(0.5)    ? T(0.5)
                             : a < T(-0.5) ? T(-0.5)
                                           : a; }},
        {[](const T* a, const T*, T* d, std::size_t n) { Vec::copy(a, d, n); }, [](T a, T) { return a; }},
        {[](const T*, const T* b, T* d, std::size_t n) { Vec::fill(b[0], d, n); },
         [](T, T) { return T(0); }}, // checked below: fill takes b[0]
        {[](const T*, const T*, T* d, std::size_t n) { Vec::zero(d, n); }, [](T, T) { return T(0); }},
    };
    for (std::size_t n : kLengths) {
        for (std::size_t offset : kOffsets) {
            const auto a = randomValues<T>(n, static_cast<unsigned>(n * 7 + offset));
            const auto b = randomValues<T>(n, static_cast<unsigned>(n * 11 + offset));
            for (std::size_t op = 0; op < binaries.size(); ++op) {
                Guarded<T> ga(n, offset), gb(n, offset), gd(n, (offset + 1) % 4);
                Vec::copy(a.data(), ga.data(), n);
                Vec::copy(b.data(), gb.data(), n);
                binaries[op].first(ga.data(), gb.data(), gd.data(), n);
                for (std::size_t i = 0; i < n; ++i) {
                    const T expected = op == 7 ? b[0] : binaries[op].second(a[i], b[i]);
                    ASSERT_EQ(gd.data()[i], expected)
                        << "op " << op << " n " << n << " offset " << offset << " i " << i;
                }
                EXPECT_TRUE(ga.guardsIntact() && gb.guardsIntact() && gd.guardsIntact()) << "op " << op;
                // In place: the destination is the first source.
                if (op <= 3 || op == 5) {
                    binaries[op].first(ga.data(), gb.data(), ga.data(), n);
                    for (std::size_t i = 0; i < n; ++i)
                        ASSERT_EQ(ga.data()[i], binaries[op].second(a[i], b[i])) << "in place, op " << op;
                }
            }
        }
    }
}

TYPED_TEST(VecOps, MaxAbsAndConversion) {
    using T = TypeParam;
    for (std::size_t n : kLengths) {
        for (std::size_t offset : kOffsets) {
            auto a = randomValues<T>(n, static_cast<unsigned>(n + offset));
            // The peak sits once at the start, once in the middle, once at the tail.
            for (std::size_t where : {std::size_t(0), n / 2, n - 1}) {
                auto v = a;
                v[where] = T(-3.5);
                Guarded<T> g(n, offset);
                Vec::copy(v.data(), g.data(), n);
                EXPECT_EQ(Vec::maxAbs(g.data(), n), T(3.5)); // the others stay below 2
            }
        }
    }
    const auto f = randomValues<float>(1001, 5);
    std::vector<double> d(1001);
    std::vector<float> back(1001);
    Vec::convert(f.data() + 1, d.data() + 1, 999);
    Vec::convert(d.data() + 1, back.data() + 1, 999);
    for (std::size_t i = 1; i < 1000; ++i) {
        EXPECT_EQ(d[i], static_cast<double>(f[i]));
        EXPECT_EQ(back[i], f[i]);
    }
    EXPECT_EQ(d[0], 0.0);
    EXPECT_EQ(d[1000], 0.0);
}

TYPED_TEST(VecOps, CopyOverlapsLikeMemmove) {
    using T = TypeParam;
    std::vector<T> v = {1, 2, 3, 4, 5, 6, 7};
    Vec::copy(v.data(), v.data() + 2, 5);
    EXPECT_EQ(v, (std::vector<T>{1, 2, 1, 2, 3, 4, 5}));
    Vec::copy(v.data() + 2, v.data(), 5);
    EXPECT_EQ(v, (std::vector<T>{1, 2, 3, 4, 5, 4, 5}));
}

TYPED_TEST(VecOps, NullAndEmptyArgumentsDoNothing) {
    using T = TypeParam;
    T x[3] = {1, 2, 3};
    T* null = nullptr;
    Vec::copy<T>(null, x, 3);
    Vec::copy<T>(x, null, 3);
    Vec::fill<T>(T(9), null, 3);
    Vec::fill<T>(T(9), x, 0);
    Vec::zero<T>(null, 3);
    Vec::zero<T>(x, 0);
    Vec::add<T>(x, null, x, 3);
    Vec::sub<T>(null, x, x, 3);
    Vec::mul<T>(x, x, null, 3);
    Vec::mul<T>(x, x, x, 0);
    Vec::mulC<T>(null, T(2), x, 3);
    Vec::addProductC<T>(x, T(2), null, 3);
    Vec::clampMag<T>(null, T(1), x, 3);
    EXPECT_EQ(Vec::maxAbs<T>(null, 3), T(0));
    EXPECT_EQ(Vec::maxAbs<T>(x, 0), T(0));
    EXPECT_TRUE(x[0] == T(1) && x[1] == T(2) && x[2] == T(3));

    int len = -1, phase = 0;
    EXPECT_EQ(Vec::sampleUp<T>(null, 3, x, len, 2, phase), Vec::StsNullPtrErr);
    EXPECT_EQ(Vec::sampleDown<T>(x, 3, null, len, 2, phase), Vec::StsNullPtrErr);
    EXPECT_EQ(len, -1);
    EXPECT_EQ(Vec::sampleUp<T>(x, 0, x, len, 2, phase), Vec::StsNoErr);
    EXPECT_EQ(len, 0);
    EXPECT_EQ(Vec::matInvert<T>(null, x, 1, x), Vec::StsNullPtrErr);
    EXPECT_EQ(Vec::matInvert<T>(x, x, 0, x), Vec::StsNoErr);
    EXPECT_EQ(x[0], T(1));
}

TYPED_TEST(VecOps, SampleUpStuffsZerosAtThePhase) {
    using T = TypeParam;
    const T src[3] = {1, 2, 3};
    T dst[9];
    int len = 0, phase = 1;
    ASSERT_EQ(Vec::sampleUp(src, 3, dst, len, 3, phase), Vec::StsNoErr);
    EXPECT_EQ(len, 9);
    EXPECT_EQ(phase, 1);
    const T expected[9] = {0, 1, 0, 0, 2, 0, 0, 3, 0};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(dst[i], expected[i]) << i;

    EXPECT_EQ(Vec::sampleUp(src, 3, dst, len, 0, phase), Vec::StsSampleFactorErr);
    phase = 3;
    EXPECT_EQ(Vec::sampleUp(src, 3, dst, len, 3, phase), Vec::StsSamplePhaseErr);
}

// Decimation keeps its phase across blocks.
TYPED_TEST(VecOps, SampleDownContinuesAcrossBlocks) {
    using T = TypeParam;
    int len = 0, phase = 0;
    // A long signal decimated in odd blocks equals every factor-th sample of it.
    const int total = 997, factor = 4;
    std::vector<T> signal(total), out;
    for (int i = 0; i < total; ++i) signal[i] = T(i);
    phase = 3;
    for (int start = 0, block = 1; start < total; start += block, block = block % 13 + 2) {
        const int n = std::min(block, total - start);
        T piece[16];
        ASSERT_EQ(Vec::sampleDown(signal.data() + start, n, piece, len, factor, phase), Vec::StsNoErr);
        out.insert(out.end(), piece, piece + len);
    }
    ASSERT_EQ(out.size(), static_cast<std::size_t>((total - 3 + factor - 1) / factor));
    EXPECT_EQ(phase, (3 - total % factor + factor) % factor);
    for (std::size_t k = 0; k < out.size(); ++k) ASSERT_EQ(out[k], T(3 + factor * static_cast<int>(k)));
}

TYPED_TEST(VecOps, MatInvert) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-5) : T(1e-12);
    T inv[4], work[4];
    ASSERT_EQ(Vec::matInvertWorkSize(2), 4);
    // A row exchange is needed (zero on the diagonal), and dst may be src.
    for (int n = 1; n <= 9; ++n) {
        auto m = randomValues<T>(static_cast<std::size_t>(n * n), static_cast<unsigned>(n));
        for (int i = 0; i < n; ++i) m[i * n + i] += T(n); // well conditioned
        if (n > 1) m[0] = 0;
        auto x = m;
        std::vector<T> w(static_cast<std::size_t>(Vec::matInvertWorkSize(n)));
        ASSERT_EQ(Vec::matInvert(x.data(), x.data(), n, w.data()), Vec::StsNoErr) << n;
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c) {
                double s = 0;
                for (int k = 0; k < n; ++k) s += double(m[r * n + k]) * double(x[k * n + c]);
                EXPECT_NEAR(s, r == c ? 1.0 : 0.0, 20 * tol) << n << " " << r << " " << c;
            }
    }
    const T singular[4] = {1, 2, 2, 4};
    EXPECT_EQ(Vec::matInvert(singular, inv, 2, work), Vec::StsSingularErr);
    const T zeros[4] = {0, 0, 0, 0};
    EXPECT_EQ(Vec::matInvert(zeros, inv, 2, work), Vec::StsSingularErr);
}

} // namespace
