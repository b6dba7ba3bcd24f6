// Binaural decoding: the convolver against the plain per-channel form and a
// direct convolution, the latency the algorithm reports and keeps, the ears of
// a symmetric set, the dual-band weighting and the modes that skip it, the
// HRIR interface, and a block path that allocates nothing.
#include "ambi/ambi_bin_algo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "ambi/dual_band.h"
#include "dsp/tool/filter/fir_fft_filter.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "frame/text.h"
#include "tests/ambi/planar_block.h"
#include "tests/support/rt_guard.h"

using namespace Tannhofen::AmbiBin;
namespace Plx = Tannhofen::Plx;
using std::numbers::pi;
using Tannhofen::DSP::Tool::Math::ambisonicChannels;

namespace {

template <class T>
class AmbiBinTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AmbiBinTest, SampleTypes);

template <class T>
constexpr double kRounding = std::is_same_v<T, float> ? 2e-6 : 1e-13;

// Filters of `length` samples for `channels` channels, filled by fill(c, n).
template <class T, class Fill>
HrirData<T> filterData(uint32_t order, uint32_t length, double rate, bool symmetric, Fill fill) {
    HrirData<T> data;
    data.allocate(ambisonicChannels(order), length, symmetric);
    for (uint32_t c = 0; c < data.numChannels; ++c)
        for (uint32_t n = 0; n < length; ++n) {
            data.left[c][n] = T(fill(c, n, 0));
            if (!symmetric) data.right[c][n] = T(fill(c, n, 1));
        }
    data.order = order;
    data.sampleRate = rate;
    return data;
}

// Puts a set into the bank and makes it current.
template <class T>
IHrir<T>* install(HrirBank<T>& bank, HrirData<T>&& data, int32_t mode) {
    bank.hrirs.push_back(std::make_shared<Hrir<T>>(std::move(data), mode));
    bank.current = bank.hrirs.back().get();
    return bank.current;
}

template <class T>
void configure(AmbiBinAlgo<T>& algo, uint32_t order, uint32_t block) {
    ASSERT_TRUE(algo.setOrder(order));
    ASSERT_EQ(algo.setChannels(ambisonicChannels(order), 2), 0);
    algo.setBlockSize(block);
    algo.collectBlockSize = block;
    ASSERT_EQ(algo.setSampleRate(T(48000)), 0);
    ASSERT_EQ(algo.init(), AmbiAlgo<T>::kInitDone);
    algo.reset();
}

// Runs `in` through the algorithm's collector in host calls of random sizes up
// to `block`, and answers both ears.
template <class T>
PlanarBlock<T> render(AmbiBinAlgo<T>& algo, PlanarBlock<T>& in, uint32_t block, unsigned seed) {
    const auto frames = uint32_t(in.data[0].size());
    PlanarBlock<T> out(2, frames);
    std::mt19937 random(seed);
    std::uniform_int_distribution<uint32_t> size(1, block);
    for (uint32_t at = 0; at < frames;) {
        const uint32_t n = std::min(size(random), frames - at);
        std::vector<T*> i(in.data.size()), o = {out.data[0].data() + at, out.data[1].data() + at};
        for (size_t c = 0; c < i.size(); ++c) i[c] = in.data[c].data() + at;
        algo.process(i.data(), o.data(), n);
        at += n;
    }
    return out;
}

double maxAbs(const std::vector<double>& v) {
    double m = 0;
    for (double x : v) m = std::max(m, std::abs(x));
    return m;
}

// The channels' sum in the frequency domain equals the plain per-channel
// form, one overlap-save filter per channel and ear and the sums formed in
// time, within rounding: for a symmetric set (the standard one) and for a set
// with both ears.
TYPED_TEST(AmbiBinTest, ConvolverEqualsThePerChannelForm) {
    using T = TypeParam;
    HrirBank<T> bank;
    bank.current = bank.find(kHrirStandard, 3, ""); // 268 samples at 44.1 kHz
    std::mt19937 random(3);
    std::normal_distribution<double> noise;
    std::vector<std::vector<double>> leftTaps(16), rightTaps(16);
    for (uint32_t c = 0; c < 16; ++c)
        for (uint32_t n = 0; n < 236; ++n) {
            leftTaps[c].push_back(noise(random) / (1 + 0.1 * n));
            rightTaps[c].push_back(noise(random) / (1 + 0.1 * n));
        }
    auto both = filterData<T>(3, 236, 48000, false, [&](uint32_t c, uint32_t n, int ear) {
        return (ear ? rightTaps : leftTaps)[c][n];
    });
    Hrir<T> twoEars(std::move(both), kHrirSofa);

    const uint32_t block = 512, blocks = 6;
    for (IHrir<T>* set : {bank.current, static_cast<IHrir<T>*>(&twoEars)}) {
        SCOPED_TRACE(set->isSymmetric() ? "symmetric" : "two ears");
        ASSERT_EQ(set->getLength(), 268u);
        AmbiHrirConvolverAlgo<T> convolver;
        convolver.setChannels(16, 2);
        convolver.setBlockSize(block);
        convolver.left = set->getLeft();
        convolver.right = set->getRight();
        convolver.hrirLength = set->getLength();
        convolver.symmetric = set->isSymmetric();
        ASSERT_EQ(convolver.init(), 0);
        convolver.reset();
        EXPECT_EQ(convolver.getLatency(), 1024u);

        std::vector<Tannhofen::DSP::Tool::Filter::FIRFFTFilter<T>> perChannel(32);
        for (uint32_t f = 0; f < 32; ++f) {
            auto& filter = perChannel[f];
            filter.configure(block, 268);
            ASSERT_EQ(filter.init(), 0);
            filter.reset();
            T** source = f < 16 ? set->getLeft() : set->getRight();
            filter.loadImpulse(source != nullptr ? source[f % 16] : nullptr, 268);
        }
        PlanarBlock<T> in = randomBlock<T>(16, block * blocks, 11);
        std::vector<T> scratch(block);
        double worst = 0, peak = 0;
        for (uint32_t b = 0; b < blocks; ++b) {
            std::vector<T*> i(16);
            for (uint32_t c = 0; c < 16; ++c) i[c] = in.data[c].data() + b * block;
            PlanarBlock<T> out(2, block);
            convolver.process(i.data(), out.p(), block);
            std::vector<double> expected[2] = {std::vector<double>(block), std::vector<double>(block)};
            for (uint32_t c = 0; c < 16; ++c) {
                T* o = scratch.data();
                perChannel[c].process(&i[c], &o, block);
                for (uint32_t n = 0; n < block; ++n) {
                    expected[0][n] += double(scratch[n]);
                    // A symmetric set: the right ear from the left filter, m < 0 subtracted.
                    if (set->isSymmetric()) expected[1][n] += mirrorSign(c) * double(scratch[n]);
                }
                if (set->isSymmetric()) continue;
                perChannel[16 + c].process(&i[c], &o, block);
                for (uint32_t n = 0; n < block; ++n) expected[1][n] += double(scratch[n]);
            }
            for (uint32_t ear = 0; ear < 2; ++ear)
                for (uint32_t n = 0; n < block; ++n) {
                    worst = std::max(worst, std::abs(double(out.data[ear][n]) - expected[ear][n]));
                    peak = std::max(peak, std::abs(expected[ear][n]));
                }
        }
        EXPECT_GT(peak, 0.1);
        EXPECT_LT(worst, 4 * kRounding<T> * peak);
    }
}

// Against a direct convolution, for blocks below, at and above the filter
// length and blocks that are no power of two: the convolver is late by
// exactly fftSize - block, and no filter wraps round the transform, whatever
// the sizes of the calls.
TYPED_TEST(AmbiBinTest, ConvolverIsLateByTransformMinusBlockAndNeverWraps) {
    using T = TypeParam;
    std::mt19937 random(7);
    std::normal_distribution<double> noise;
    struct Case {
        uint32_t block, length, fftSize;
    };
    for (Case k :
         {Case{64, 600, 1024}, {480, 600, 2048}, {1500, 268, 2048}, {600, 300, 1024}, {512, 268, 1024}}) {
        SCOPED_TRACE(testing::Message() << "block " << k.block << ", filter " << k.length);
        std::vector<std::vector<T>> taps[2];
        std::vector<T*> filters[2];
        for (uint32_t ear = 0; ear < 2; ++ear) {
            taps[ear].assign(4, std::vector<T>(k.length));
            for (auto& filter : taps[ear])
                for (T& v : filter) v = T(noise(random));
            for (auto& filter : taps[ear]) filters[ear].push_back(filter.data());
        }
        AmbiHrirConvolverAlgo<T> convolver;
        convolver.setChannels(4, 2);
        convolver.setBlockSize(k.block);
        convolver.left = filters[0].data();
        convolver.right = filters[1].data();
        convolver.hrirLength = k.length;
        convolver.symmetric = false;
        ASSERT_EQ(convolver.init(), 0);
        convolver.reset();
        ASSERT_EQ(convolver.getLatency(), k.fftSize);

        const uint32_t frames = 3 * k.fftSize + 333, delay = k.fftSize - k.block;
        PlanarBlock<T> in = randomBlock<T>(4, frames, 5), out(2, frames);
        std::uniform_int_distribution<uint32_t> size(1, k.block);
        for (uint32_t at = 0; at < frames;) {
            const uint32_t n = std::min(size(random), frames - at);
            std::vector<T*> i(4), o = {out.data[0].data() + at, out.data[1].data() + at};
            for (uint32_t c = 0; c < 4; ++c) i[c] = in.data[c].data() + at;
            convolver.process(i.data(), o.data(), n);
            at += n;
        }
        double worst = 0, peak = 0;
        for (uint32_t ear = 0; ear < 2; ++ear)
            for (uint32_t t = 0; t < frames; ++t) {
                double expected = 0;
                for (uint32_t c = 0; c < 4; ++c)
                    for (uint32_t j = 0; j < k.length && j + delay <= t; ++j)
                        expected += double(taps[ear][c][j]) * double(in.data[c][t - delay - j]);
                worst = std::max(worst, std::abs(expected - double(out.data[ear][t])));
                peak = std::max(peak, std::abs(expected));
            }
        EXPECT_LT(worst, 20 * kRounding<T> * peak);
    }
}

// Through the collector and the convolver, for host calls of any size: an
// impulse comes out exactly fftSize samples later, the latency reported, with
// fftSize the power of two at or above block + set length (1024 at 512).
TYPED_TEST(AmbiBinTest, ReportsAndKeepsTheTransformSizeAsItsLatency) {
    using T = TypeParam;
    for (auto [block, fftSize] : {std::pair{512u, 1024u}, {64u, 512u}, {480u, 1024u}, {1500u, 2048u}}) {
        SCOPED_TRACE(block);
        HrirBank<T> bank;
        // A set without weighting whose W filter is an impulse and Y filter one 3 samples late.
        install(bank,
                filterData<T>(2, 236, 48000, true,
                              [](uint32_t c, uint32_t n, int) {
                                  return (c == 0 && n == 0) || (c == 1 && n == 3) ? 1.0 : 0.0;
                              }),
                kHrirFacebook);
        AmbiBinAlgo<T> algo(&bank);
        configure(algo, 2, block);
        EXPECT_EQ(algo.getLatency(), fftSize);
        const uint32_t at = 777, frames = at + fftSize + 1000;
        PlanarBlock<T> in(9, frames);
        in.data[0][at] = T(1);
        in.data[1][at] = T(0.5);
        PlanarBlock<T> out = render(algo, in, block, block);
        for (uint32_t t = 0; t < frames; ++t) {
            const double w = t == at + fftSize ? 1 : 0, y = t == at + fftSize + 3 ? 0.5 : 0;
            ASSERT_NEAR(out.data[0][t], w + y, 1e-6) << t;
            ASSERT_NEAR(out.data[1][t], w - y, 1e-6) << t;
        }
    }
}

// A symmetric set: a field of one harmonic with m >= 0 reaches both ears
// alike, one with m < 0 as exact opposites (standard set, weighting on).
TYPED_TEST(AmbiBinTest, SymmetricSetGivesEqualOrOppositeEars) {
    using T = TypeParam;
    HrirBank<T> bank;
    ASSERT_EQ(bank.select(kHrirStandard, 48000.f, 3, "", nullptr, false), 1);
    for (uint32_t channel : {0u, 1u, 2u, 4u, 6u, 9u, 15u}) {
        AmbiBinAlgo<T> algo(&bank);
        configure(algo, 3, 512);
        PlanarBlock<T> in(16, 4096);
        in.data[channel] = randomVector<T>(4096, channel + 1);
        PlanarBlock<T> out = render(algo, in, 512, 1);
        EXPECT_GT(maxAbs(std::vector<double>(out.data[0].begin(), out.data[0].end())), 1e-3) << channel;
        for (uint32_t t = 0; t < 4096; ++t)
            ASSERT_EQ(out.data[1][t], T(mirrorSign(channel)) * out.data[0][t]) << channel << " " << t;
    }
}

// The complex gain of `out` against the sine of frequency f in `in`, both
// read from `from` on (least squares on a sine and a cosine).
template <class T>
std::complex<double> gainAt(const std::vector<T>& in, const std::vector<T>& out, double f, uint32_t from) {
    std::complex<double> num = 0, den = 0;
    for (size_t t = from; t < out.size(); ++t) {
        const std::complex<double> e = std::polar(1.0, -2 * pi * f * double(t) / 48000);
        num += double(out[t]) * e;
        den += double(in[t]) * e;
    }
    return num / den;
}

// Impulse filters on every channel make the path itself audible: the
// standard and SOFA sets weight the high band by the max-rE weight of the
// channel's order and invert the low band, exactly as the crossover's law
// says; YouTube and Facebook sets pass every channel unchanged.
TYPED_TEST(AmbiBinTest, DualBandWeightingRunsForStandardAndSofaSetsOnly) {
    using T = TypeParam;
    const uint32_t frames = 16384, latency = 1024;
    for (int32_t mode : {kHrirStandard, kHrirSofa, kHrirYoutube, kHrirFacebook})
        for (uint32_t order : {1u, 2u}) {
            SCOPED_TRACE(testing::Message() << "mode " << mode << " order " << order);
            HrirBank<T> bank;
            install(bank,
                    filterData<T>(order, 236, 48000, mode != kHrirSofa,
                                  [](uint32_t, uint32_t n, int) { return n == 0 ? 1.0 : 0.0; }),
                    mode);
            AmbiBinAlgo<T> algo(&bank);
            configure(algo, order, 512);
            ASSERT_EQ(algo.getLatency(), latency);
            const bool weighted = mode == kHrirStandard || mode == kHrirSofa;
            for (uint32_t channel : {0u, 1u, 3u, 4u}) {
                if (channel >= ambisonicChannels(order)) continue;
                for (double f : {46.875, 8000.0}) { // whole cycles in the 12288 samples read
                    PlanarBlock<T> in(ambisonicChannels(order), frames);
                    for (uint32_t t = 0; t + latency < frames; ++t)
                        in.data[channel][t] = T(0.5 * std::sin(2 * pi * f * t / 48000));
                    algo.reset();
                    PlanarBlock<T> out = render(algo, in, 512, channel);
                    std::vector<T> delayed(frames, T(0));
                    std::copy_n(in.data[channel].begin(), frames - latency, delayed.begin() + latency);
                    const double weight = DualBand::maxReWeights(order)[channel];
                    const std::complex<double> expected =
                        weighted ? DualBand::response(weight, f, 48000) : std::complex<double>(1);
                    EXPECT_LT(std::abs(gainAt(delayed, out.data[0], f, 4096) - expected), 2e-3)
                        << channel << " at " << f << " Hz";
                }
            }
        }
}

TEST(AmbiBinInterface, SelectsSetsThroughIAmbiBin) {
    HrirBank<float> bank;
    auto* algo = new AmbiBinAlgo<float>(&bank);
    Plx::FObject* object = algo;
    EXPECT_TRUE(object->isTypeOf("AmbiAlgo"));
    EXPECT_EQ(algo->algoType, AmbiAlgo<float>::kBinaural);
    auto* bin = Plx::queryInterfaceOf<IAmbiBin>(object);
    ASSERT_NE(bin, nullptr);
    EXPECT_EQ(bin->getHrirMode(), kHrirStandard);

    // A file name in UTF-16 with a character beyond ASCII.
    const std::string path = testing::TempDir() + "Kunstkopf-\xc3\xa4.sofa";
    std::filesystem::copy_file(PLX_KEMAR_SOFA, path, std::filesystem::copy_options::overwrite_existing);
    const std::u16string name = Plx::utf8ToUtf16(path);
    EXPECT_EQ(bin->setHrir(kHrirSofa, 48000.f, 3, name.c_str(), nullptr, false), 1);
    std::filesystem::remove(path);
    EXPECT_EQ(bin->getHrirMode(), kHrirSofa);
    EXPECT_EQ(algo->setOrder(3), true);
    EXPECT_EQ(algo->setChannels(16, 3), 1);
    ASSERT_EQ(algo->setChannels(16, 2), 0);
    algo->setBlockSize(512);
    algo->collectBlockSize = 512;
    ASSERT_EQ(algo->init(), AmbiAlgo<float>::kInitDone);
    EXPECT_EQ(algo->getLatency(), 2048u); // 512 + 590 samples of the KEMAR file at 48 kHz

    EXPECT_EQ(bin->setHrir(kHrirSofa, 48000.f, 3, u"missing.sofa", nullptr, false), 0);
    EXPECT_EQ(bin->getHrirMode(), kHrirStandard);
    EXPECT_EQ(bin->setHrir(kHrirYoutube, 48000.f, 2, u"", nullptr, false), 0);
    EXPECT_EQ(bin->setHrir(kHrirFacebook, 48000.f, 3, nullptr, nullptr, false), 1);
    EXPECT_EQ(bin->getHrirMode(), kHrirFacebook);
    EXPECT_EQ(bin->setHrir(kHrirStandard, 48000.f, 9, u"", nullptr, false), 0);
    EXPECT_EQ(bin->getHrirMode(), 0);

    // No set in force: silence, and the latency of the collector block alone.
    ASSERT_EQ(algo->init(), AmbiAlgo<float>::kInitDone);
    EXPECT_EQ(algo->getLatency(), 512u);
    PlanarBlock<float> in = randomBlock<float>(16, 2048, 9), out(2, 2048);
    algo->process(in.p(), out.p(), 2048);
    EXPECT_EQ(maxAbs(std::vector<double>(out.data[0].begin(), out.data[0].end())), 0.0);
    EXPECT_EQ(bin->release(), 1u);
    EXPECT_EQ(object->release(), 0u);
}

TYPED_TEST(AmbiBinTest, BlockPathAllocatesNothing) {
    using T = TypeParam;
    if (!RtGuard::available()) GTEST_SKIP() << "the guard is compiled out under the sanitizers";
    HrirBank<T> bank;
    install(bank,
            filterData<T>(3, 300, 48000, false,
                          [](uint32_t c, uint32_t n, int ear) { return std::sin(double(c + 1) * n + ear); }),
            kHrirSofa);
    for (bool twoEars : {true, false}) {
        if (!twoEars) bank.select(kHrirStandard, 48000.f, 3, "", nullptr, false);
        AmbiBinAlgo<T> algo(&bank);
        configure(algo, 3, 256);
        algo.focusOn = 1;
        PlanarBlock<T> in = randomBlock<T>(16, 1000, 4), out(2, 1000);
        RtGuard::arm();
        for (uint32_t n : {100u, 256u, 3u, 641u}) {
            algo.rotation.setYaw(0.1 * (n % 7));
            algo.setFocusAzimuth(0.3);
            algo.process(in.p(), out.p(), n);
        }
        const RtGuard::Counts counts = RtGuard::disarm();
        EXPECT_EQ(counts.allocations, 0);
        EXPECT_EQ(counts.locks, 0);
    }
}

} // namespace
