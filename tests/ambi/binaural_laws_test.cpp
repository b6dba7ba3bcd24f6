// The laws under the binaural decoder, checked against values worked out from
// their definitions: the dual-band weighting, the sampling decoder of a set of
// directions, and the fidelity measures.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "ambi/decoder_pinv.h"
#include "ambi/dual_band.h"
#include "ambi/hrir_factory.h"
#include "ambi/hrir_fidelity.h"
#include "dsp/tool/filter/iir_filter.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "tests/support/random_signal.h"

using namespace Tannhofen::AmbiBin;
using std::numbers::pi;
using Tannhofen::DSP::Tool::Math::ambisonicChannels;
using Tannhofen::DSP::Tool::Math::sn3dHarmonics;

namespace {

double legendre(uint32_t n, double x) {
    switch (n) {
    case 0: return 1;
    case 1: return x;
    case 2: return (3 * x * x - 1) / 2;
    default: return (5 * x * x * x - 3 * x) / 2;
    }
}

TEST(DualBand, MaxReWeightsFollowTheLegendreLaw) {
    for (uint32_t order = 1; order <= 3; ++order) {
        const double x = std::cos(137.9 / (order + 1.51) * pi / 180);
        const double* weights = DualBand::maxReWeights(order);
        for (uint32_t c = 0; c < ambisonicChannels(order); ++c) {
            const auto degree = uint32_t(std::sqrt(double(c)));
            EXPECT_NEAR(weights[c], legendre(degree, x), 1e-12) << order << " " << c;
        }
    }
    EXPECT_EQ(DualBand::maxReWeights(0), DualBand::maxReWeights(1));
    EXPECT_EQ(DualBand::maxReWeights(7), DualBand::maxReWeights(1));
}

// A second-order Linkwitz-Riley pair sums to an all-pass only with one branch
// inverted: with weight 1 the path has unit gain at every frequency, -1 at DC
// (the inverted low band) and +1 at Nyquist; each branch is at -6 dB at the
// crossover, 380 Hz at 48 kHz and near 349 Hz at 44.1 kHz.
TEST(DualBand, CrossoverIsAnInvertedLinkwitzRileyPair) {
    for (double f = 0; f <= 24000; f += 50)
        EXPECT_NEAR(std::abs(DualBand::response(1.0, f, 48000)), 1.0, 2e-4) << f;
    EXPECT_NEAR(DualBand::response(0.3, 0, 48000).real(), -1.0, 1e-4);
    EXPECT_NEAR(DualBand::response(0.3, 24000, 48000).real(), 0.3, 1e-4);
    const auto high = [](double f, double rate) {
        return DualBand::response(1.0, f, rate) - DualBand::response(0.0, f, rate);
    };
    const auto low = [](double f, double rate) { return -DualBand::response(0.0, f, rate); };
    EXPECT_NEAR(std::abs(high(380, 48000)), 0.5, 5e-3);
    EXPECT_NEAR(std::abs(low(380, 48000)), 0.5, 5e-3);
    EXPECT_NEAR(std::abs(low(349, 44100)), 0.5, 5e-3);
}

// One section per channel over the shared denominator equals the crossover's
// two filters, the high band weighted and the low band subtracted, within
// rounding, also across a block boundary.
template <class T>
void weightingEqualsTwoFilters() {
    namespace DB = DualBand;
    for (uint32_t order = 1; order <= 3; ++order) {
        DB::Weighting<T> weighting;
        ASSERT_TRUE(weighting.init(order));
        const uint32_t channels = ambisonicChannels(order), frames = 1000;
        std::vector<std::vector<T>> x(channels);
        std::vector<T*> p;
        for (uint32_t c = 0; c < channels; ++c) {
            x[c] = randomVector<T>(frames, 7 + c);
            p.push_back(x[c].data());
        }
        const std::vector<std::vector<T>> input = x;
        weighting.process(p.data(), 300);
        for (T*& q : p) q += 300;
        weighting.process(p.data(), frames - 300);
        for (uint32_t c = 0; c < channels; ++c) {
            Tannhofen::DSP::Tool::Filter::IIRBiQuadFilter<1, T> high, low;
            const T highTaps[6] = {T(DB::kHighB0), T(DB::kHighB1), T(DB::kHighB2),
                                   T(DB::kA0),     T(DB::kA1),     T(DB::kA2)};
            const T lowTaps[6] = {T(DB::kLowB0), T(DB::kLowB1), T(DB::kLowB2),
                                  T(DB::kA0),    T(DB::kA1),    T(DB::kA2)};
            std::copy_n(highTaps, 6, high.taps);
            std::copy_n(lowTaps, 6, low.taps);
            high.init();
            low.init();
            std::vector<T> h(frames), l(frames);
            high.process(input[c].data(), h.data(), int32_t(frames));
            low.process(input[c].data(), l.data(), int32_t(frames));
            const double w = DB::maxReWeights(order)[c];
            const double tolerance = std::is_same_v<T, float> ? 1e-5 : 1e-12;
            for (uint32_t i = 0; i < frames; ++i)
                ASSERT_NEAR(double(x[c][i]), w * double(h[i]) - double(l[i]), tolerance)
                    << order << " " << c << " " << i;
        }
    }
    DualBand::Weighting<T> none;
    EXPECT_FALSE(none.init(0));
    EXPECT_FALSE(none.init(4));
}

TEST(DualBand, OneSectionPerChannelEqualsTheTwoFilters) {
    weightingEqualsTwoFilters<float>();
    weightingEqualsTwoFilters<double>();
}

TEST(DecoderPinv, DecodesWhatTheGridEncodes) {
    double azimuth[kSofaGridPoints], elevation[kSofaGridPoints];
    for (uint32_t p = 0; p < kSofaGridPoints; ++p) {
        azimuth[p] = kSofaGrid[p][0];
        elevation[p] = kSofaGrid[p][1];
    }
    for (uint32_t order = 1; order <= 3; ++order) {
        const uint32_t channels = ambisonicChannels(order);
        const std::vector<double> d = decoderPinv(channels, kSofaGridPoints, azimuth, elevation);
        ASSERT_EQ(d.size(), size_t(channels) * kSofaGridPoints);
        // D Y = I: a field of one harmonic sampled at the grid decodes to that harmonic alone.
        for (uint32_t a = 0; a < channels; ++a)
            for (uint32_t b = 0; b < channels; ++b) {
                double sum = 0;
                for (uint32_t p = 0; p < kSofaGridPoints; ++p) {
                    double y[16];
                    sn3dHarmonics(azimuth[p], elevation[p], y, channels);
                    sum += d[size_t(a) * kSofaGridPoints + p] * y[b];
                }
                EXPECT_NEAR(sum, a == b ? 1.0 : 0.0, 1e-10) << order << " " << a << " " << b;
            }
    }
    // Points on the horizon alone can't tell up from down; too few can't tell anything.
    const double ring[8] = {0, 45, 90, 135, 180, 225, 270, 315}, flat[8] = {};
    EXPECT_TRUE(decoderPinv(4, 8, ring, flat).empty());
    EXPECT_TRUE(decoderPinv(9, 5, azimuth, elevation).empty());
    EXPECT_TRUE(decoderPinv(25, kSofaGridPoints, azimuth, elevation).empty());
}

// A broadband burst and its copies: delayed by a fraction of a sample
// (windowed-sinc interpolation), scaled.
std::vector<double> burst(double delay, double gain) {
    std::mt19937 random(5);
    std::normal_distribution<double> noise;
    std::vector<double> source(200);
    for (double& v : source) v = noise(random);
    std::vector<double> out(1024, 0.0);
    for (size_t n = 0; n < out.size(); ++n)
        for (size_t k = 0; k < source.size(); ++k) {
            const double t = double(n) - double(k) - 100 - delay;
            if (std::abs(t) > 64) continue;
            const double sinc = t == 0 ? 1 : std::sin(pi * t) / (pi * t);
            out[n] += gain * source[k] * sinc * (0.5 + 0.5 * std::cos(pi * t / 64));
        }
    return out;
}

TEST(FidelityMeasures, ReadDelaysLevelsAndSpectraFromTheirDefinitions) {
    Fidelity::Analyser analyser(48000);
    const std::vector<double> left = burst(0, 1);
    for (double delay : {0.0, 12.0, -7.0, 5.3, 30.5}) {
        const Fidelity::EarFeatures f = analyser.analyse(left, burst(delay, 1));
        EXPECT_NEAR(f.itd * 1e6, delay / 48000 * 1e6, 1.5) << delay;
        EXPECT_NEAR(f.ild, 0.0, 0.05) << delay;
    }
    const Fidelity::EarFeatures quieter = analyser.analyse(left, burst(0, 0.5));
    EXPECT_NEAR(quieter.ild, 20 * std::log10(2.0), 1e-9);
    for (int b = 0; b < Fidelity::kBandCount; ++b)
        EXPECT_NEAR(quieter.leftLevels[b] - quieter.rightLevels[b], 20 * std::log10(2.0), 1e-9);

    // One gain for every direction is taken out of the spectral distance; the
    // level differences between the ears are not.
    const std::vector<Fidelity::EarFeatures> measured = {analyser.analyse(left, burst(3, 0.7)),
                                                         analyser.analyse(burst(2, 1.2), left)};
    std::vector<Fidelity::EarFeatures> rendered = {analyser.analyse(burst(0, 2), burst(3, 1.4)),
                                                   analyser.analyse(burst(2, 2.4), burst(0, 2))};
    Fidelity::Score score = Fidelity::compare(rendered, measured);
    EXPECT_NEAR(score.gain, 20 * std::log10(2.0), 1e-9);
    EXPECT_NEAR(score.lsd, 0.0, 1e-9);
    EXPECT_NEAR(score.ildError, 0.0, 1e-9);
    EXPECT_NEAR(score.itdError, 0.0, 1e-7);
    // Both right ears 3 dB too loud: after the global gain of 1.5 dB every band
    // of every ear is 1.5 dB off; the ILD is 3 dB off; the time is right.
    rendered = {analyser.analyse(left, burst(3, 0.7 * std::sqrt(2.0))),
                analyser.analyse(burst(2, 1.2), burst(0, std::sqrt(2.0)))};
    score = Fidelity::compare(rendered, measured);
    EXPECT_NEAR(score.gain, 10 * std::log10(2.0) / 2, 1e-9);
    EXPECT_NEAR(score.lsd, 10 * std::log10(2.0) / 2, 1e-9);
    EXPECT_NEAR(score.ildError, 10 * std::log10(2.0), 1e-9);
    EXPECT_NEAR(score.itdError, 0.0, 1e-7);
}

} // namespace
