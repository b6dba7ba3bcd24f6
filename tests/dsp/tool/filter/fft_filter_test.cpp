// Split-array transforms and the overlap-save FIR filter: the transform
// length rule, the scaling of the two directions, the natural bin order, and
// the filter against direct convolution through collectors fed in host blocks.
#include "dsp/tool/filter/fir_fft_filter.h"
#include "dsp/tool/transform/fft_complex.h"
#include "tests/support/random_signal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace Transform = Tannhofen::DSP::Tool::Transform;
namespace Filter = Tannhofen::DSP::Tool::Filter;

namespace {

template <class T>
double tolerance();
template <>
double tolerance<float>() {
    return 1e-5;
}
template <>
double tolerance<double>() {
    return 1e-12;
}

template <class T>
class FftFilterTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FftFilterTest, SampleTypes);

TYPED_TEST(FftFilterTest, TransformLengthsScalingAndBinOrder) {
    using T = TypeParam;
    for (auto [in, out] :
         {std::pair{0u, 1u}, {1u, 1u}, {3u, 4u}, {1000u, 1024u}, {1024u, 1024u}, {1025u, 2048u}})
        EXPECT_EQ(Transform::roundTransformLength(in), out) << in;

    Transform::FFTComplex<T> fwd;
    Transform::InverseFFTComplex<T> inv;
    fwd.length = 1000;
    inv.length = 1024;
    ASSERT_EQ(fwd.init(), 0);
    ASSERT_EQ(inv.init(), 0);
    EXPECT_EQ(fwd.length, 1024u);
    const size_t n = 1024;

    // A complex exponential of bin 5 gives N in bin 5 alone: unscaled, natural order.
    std::vector<T> re(n), im(n), outRe(n), outIm(n), backRe(n), backIm(n);
    for (size_t i = 0; i < n; ++i) {
        const double w = 2 * std::numbers::pi * 5.0 * double(i) / double(n);
        re[i] = T(std::cos(w));
        im[i] = T(std::sin(w));
    }
    fwd.transform(re.data(), im.data(), outRe.data(), outIm.data());
    for (size_t k = 0; k < n; ++k) {
        EXPECT_NEAR(outRe[k], k == 5 ? double(n) : 0.0, 1e-3) << k;
        EXPECT_NEAR(outIm[k], 0.0, 1e-3) << k;
    }

    // Forward then inverse returns the input.
    re = randomVector<T>(n, 4);
    im = randomVector<T>(n, 5);
    fwd.transform(re.data(), im.data(), outRe.data(), outIm.data());
    inv.transform(outRe.data(), outIm.data(), backRe.data(), backIm.data());
    for (size_t i = 0; i < n; ++i) {
        EXPECT_NEAR(backRe[i], re[i], 1e3 * tolerance<T>());
        EXPECT_NEAR(backIm[i], im[i], 1e3 * tolerance<T>());
    }
}

// Runs the channels of `x` through a filter set up the owner's way, in irregular host blocks.
template <class T>
std::vector<std::vector<T>> filterSignal(Filter::FIRFFTFilter<T>& f, const std::vector<std::vector<T>>& x,
                                         uint32_t maxBlock) {
    std::vector<std::vector<T>> y(x.size(), std::vector<T>(x[0].size(), T(99)));
    std::vector<T*> in(x.size()), out(x.size());
    std::mt19937 rng(7);
    std::uniform_int_distribution<uint32_t> len(0, maxBlock);
    for (size_t pos = 0; pos < x[0].size();) {
        const uint32_t n = uint32_t(std::min<size_t>(len(rng), x[0].size() - pos));
        for (size_t ch = 0; ch < x.size(); ++ch) {
            in[ch] = const_cast<T*>(x[ch].data()) + pos;
            out[ch] = y[ch].data() + pos;
        }
        f.process(in.data(), out.data(), n);
        pos += n;
    }
    return y;
}

template <class T>
std::vector<double> convolve(const std::vector<T>& x, const std::vector<T>& h) {
    std::vector<double> y(x.size(), 0.0);
    for (size_t i = 0; i < x.size(); ++i)
        for (size_t k = 0; k < h.size() && k <= i; ++k) y[i] += double(h[k]) * double(x[i - k]);
    return y;
}

TYPED_TEST(FftFilterTest, EqualsDirectConvolutionDelayedByOneBlock) {
    using T = TypeParam;
    // Two channels share one spectrum of the impulse.
    const std::vector<std::vector<T>> x = {randomVector<T>(6000, 11), randomVector<T>(6000, 12)};
    // (host block, taps): the decoder's case, short and single filters, and
    // impulses right at the overlap limit of overlap + 1 taps.
    const std::pair<uint32_t, uint32_t> cases[] = {{512, 268}, {64, 1}, {100, 29}, {256, 257}, {511, 513}};
    for (auto [block, length] : cases) {
        Filter::FIRFFTFilter<T> f;
        f.configure(block, length);
        f.channels = 2;
        ASSERT_EQ(f.init(), 0);
        f.reset();
        const uint32_t hop = f.collectBlockSize;
        EXPECT_EQ(f.fftLength, Transform::roundTransformLength(block + length));
        EXPECT_EQ(hop, f.fftLength / 2);
        EXPECT_EQ(f.getLatency(), hop);
        ASSERT_LE(length, f.overlap + 1);

        const auto h = randomVector<T>(length, length);
        f.loadImpulse(h.data(), length);
        const auto y = filterSignal(f, x, 3 * block);
        double peak = 0, worst = 0;
        for (size_t ch = 0; ch < 2; ++ch) {
            const auto ref = convolve(x[ch], h);
            for (size_t i = 0; i < ref.size(); ++i) {
                peak = std::max(peak, std::abs(ref[i]));
                worst = std::max(worst, std::abs(double(y[ch][i]) - (i < hop ? 0.0 : ref[i - hop])));
            }
        }
        EXPECT_LE(worst / peak, tolerance<T>()) << "block " << block << " taps " << length;
        EXPECT_EQ(f.release(), 0);
    }
}

TYPED_TEST(FftFilterTest, UnitImpulsePassThroughAndSilence) {
    using T = TypeParam;
    const auto x = randomVector<T>(3000, 21);
    const auto run = [&](Filter::FIRFFTFilter<T>& f) { return filterSignal(f, {x}, 300)[0]; };
    Filter::FIRFFTFilter<T> f;
    f.configure(128, 100);
    ASSERT_EQ(f.init(), 0);
    f.reset();
    const uint32_t hop = f.collectBlockSize;
    EXPECT_EQ(hop, 128u);

    // A zeroed impulse (never loaded) is silent.
    auto y = run(f);
    for (T v : y) ASSERT_EQ(v, T(0));

    // One tap of 1.0 passes the signal, one block late.
    const T one = 1;
    f.reset();
    f.loadImpulse(&one, 1);
    y = run(f);
    for (size_t i = 0; i < x.size(); ++i)
        ASSERT_NEAR(y[i], i < hop ? T(0) : x[i - hop], 10 * tolerance<T>()) << i;

    // Pass-through skips the transform: exact, and still one block late.
    const auto h = randomVector<T>(100, 22);
    f.loadImpulse(h.data(), 100);
    f.setPassThrough(1);
    f.reset();
    y = run(f);
    for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(y[i], i < hop ? T(0) : x[i - hop]) << i;

    // Bad input never reaches past the caller's buffers.
    T* nothing = nullptr;
    f.process(&nothing, &nothing, 64);
    f.process(nullptr, nullptr, 64);
    f.loadImpulse(nullptr, 5);
    EXPECT_EQ(f.release(), 0);
}

} // namespace
