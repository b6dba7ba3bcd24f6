// The speaker decoder through AmbiSpeakerAlgo, as the processor drives it:
// plane waves from the speakers' own directions, the fixed stereo and mono
// decoders on real signals, the LFE rule with its low-pass, refused layouts,
// the interface, and a block path that allocates nothing.
#include "ambi/ambi_speaker_algo.h"
#include "ambi/speaker_decoders.h"
#include "ambi/speaker_directions.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "frame/speaker_arrangement.h"
#include "tests/ambi/planar_block.h"
#include "tests/support/rt_guard.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace {

using namespace Tannhofen;
using namespace Tannhofen::AmbiBin;
namespace Layout = Plx::Layout;
namespace Speaker = Plx::Speaker;
namespace Math = DSP::Tool::Math;

constexpr double kRate = 48000;

uint32_t channelsOf(int32_t order) {
    return uint32_t((order + 1) * (order + 1));
}

int32_t channelOf(Plx::SpeakerArrangement arrangement, Plx::SpeakerArrangement speaker) {
    return std::popcount(arrangement & (speaker - 1));
}

const char* nameOf(Plx::SpeakerArrangement arrangement) {
    return Plx::speakerArrangementName(arrangement, false);
}

// A decoder configured the way the processor does it.
template <class T>
struct Decoder {
    Decoder(int32_t order, Plx::SpeakerArrangement arrangement, uint32_t block = 256)
        : algo(Plx::channelCount(arrangement)), outputs(uint32_t(Plx::channelCount(arrangement))) {
        found = algo.setSpeakerConf(order, arrangement);
        algo.setOrder(uint32_t(order));
        algo.setChannels(channelsOf(order), outputs);
        algo.setBlockSize(block);
        algo.collectBlockSize = block;
        algo.setSampleRate(kRate);
        initResult = algo.init();
        algo.reset();
    }
    PlanarBlock<T> run(PlanarBlock<T>& in, uint32_t frames) {
        PlanarBlock<T> out(outputs, frames);
        for (auto& ch : out.data) std::fill(ch.begin(), ch.end(), T(7)); // what was there before
        algo.processBlock(in.p(), out.p(), frames);
        return out;
    }
    AmbiSpeakerAlgo<T> algo;
    uint32_t outputs;
    bool found = false;
    int32_t initResult = 0;
};

// A plane wave from (azimuth, elevation) carrying s, encoded with the module's harmonics.
template <class T>
PlanarBlock<T> planeWave(double azimuth, double elevation, int32_t order, const std::vector<T>& s) {
    double y[16];
    Math::sn3dHarmonics(azimuth, elevation, y, channelsOf(order));
    PlanarBlock<T> b(channelsOf(order), uint32_t(s.size()));
    for (uint32_t c = 0; c < channelsOf(order); ++c)
        for (size_t f = 0; f < s.size(); ++f) b.data[c][f] = T(y[c] * double(s[f]));
    return b;
}

template <class T>
double rms(const std::vector<T>& x) {
    double p = 0;
    for (T v : x) p += double(v) * double(v);
    return std::sqrt(p / double(x.size()));
}

double angleBetween(const SpeakerDirection& a, const SpeakerDirection& b) {
    double u[3], v[3];
    Math::directionVector(a.azimuth, a.elevation, u);
    Math::directionVector(b.azimuth, b.elevation, v);
    return std::acos(std::clamp(u[0] * v[0] + u[1] * v[1] + u[2] * v[2], -1.0, 1.0)) * 180 / std::numbers::pi;
}

TEST(AmbiSpeakerAlgo, PlaneWaveFromASpeakerIsLoudestOnThatSpeaker) {
    // Every designed layout at order 3; in "22.2", whose speakers lie 30 to 45
    // degrees apart, a neighbour within 45 degrees may win.
    const uint32_t frames = 512;
    const auto s = randomVector<float>(frames, 3);
    for (const auto& layout : speakerLayouts()) {
        if (layout.speakers.size() < 5) continue; // "Mono" and "Stereo" are not designed
        Decoder<float> d(3, layout.arrangement, frames);
        ASSERT_TRUE(d.found);
        for (const auto& source : layout.speakers) {
            auto in = planeWave(source.azimuth, source.elevation, 3, s);
            auto out = d.run(in, frames);
            const SpeakerDirection* loudest = nullptr;
            double level = -1;
            for (const auto& speaker : layout.speakers) {
                double l = rms(out.data[size_t(channelOf(layout.arrangement, speaker.speaker))]);
                if (l > level) level = l, loudest = &speaker;
            }
            const double allowed = layout.arrangement == Layout::k22_2 ? 45.0 : 0.0;
            EXPECT_LE(angleBetween(*loudest, source), allowed)
                << nameOf(layout.arrangement) << ": source at speaker bit "
                << std::countr_zero(source.speaker) << " loudest on bit "
                << std::countr_zero(loudest->speaker);
        }
    }
}

TEST(AmbiSpeakerAlgo, EnergyStaysEvenAndPointsAtTheSource) {
    // Over the horizon (layouts on it) or the upper hemisphere every 10
    // degrees, with the module's harmonics: the spread of the decoded energy,
    // the mean angle between the energy vector and the source, and the mean
    // energy, which is the same for the three orders of a layout.
    for (const auto& layout : speakerLayouts()) {
        if (layout.speakers.size() < 5) continue;
        const bool horizontal = isHorizontal(layout);
        double meanEnergy[4] = {};
        for (int32_t order = 1; order <= 3; ++order) {
            if (layout.arrangement == Layout::k5_0 && order == 1) continue;
            if (layout.arrangement == Layout::k5_1 && order == 1) continue;
            const float* table = findSpeakerDecoder(order, layout.arrangement);
            const uint32_t n = channelsOf(order);
            double lowest = 1e300, highest = 0, angleSum = 0, weightSum = 0;
            for (int el = 0; el <= (horizontal ? 0 : 90); el += 10)
                for (int az = -180; az < 180; az += 10) {
                    double y[16], u[3], re[3] = {}, energy = 0;
                    Math::sn3dHarmonics(az, el, y, n);
                    Math::directionVector(az, el, u);
                    for (const auto& speaker : layout.speakers) {
                        const float* row = table + channelOf(layout.arrangement, speaker.speaker) * n;
                        double g = 0, v[3];
                        for (uint32_t c = 0; c < n; ++c) g += double(row[c]) * y[c];
                        Math::directionVector(speaker.azimuth, speaker.elevation, v);
                        energy += g * g;
                        for (int i = 0; i < 3; ++i) re[i] += g * g * v[i];
                    }
                    const double length = std::sqrt(re[0] * re[0] + re[1] * re[1] + re[2] * re[2]);
                    const double cosine = (re[0] * u[0] + re[1] * u[1] + re[2] * u[2]) / length;
                    const double w = std::cos(el * std::numbers::pi / 180); // area weight
                    angleSum += w * std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / std::numbers::pi;
                    meanEnergy[order] += w * energy;
                    weightSum += w;
                    lowest = std::min(lowest, energy);
                    highest = std::max(highest, energy);
                }
            meanEnergy[order] /= weightSum;
            EXPECT_LE(10 * std::log10(highest / lowest), 3.0)
                << nameOf(layout.arrangement) << " order " << order;
            EXPECT_LE(angleSum / weightSum, 10.0) << nameOf(layout.arrangement) << " order " << order;
        }
        for (int32_t order = 2; order <= 3; ++order)
            if (meanEnergy[order - 1] > 0) {
                EXPECT_NEAR(10 * std::log10(meanEnergy[order] / meanEnergy[order - 1]), 0.0, 0.5)
                    << nameOf(layout.arrangement) << " order " << order;
            }
    }
}

TEST(AmbiSpeakerAlgo, StereoPlaysWAndYOnlyAndMonoPlaysW) {
    const uint32_t frames = 300;
    for (int32_t order = 1; order <= 3; ++order) {
        auto in = randomBlock<double>(channelsOf(order), frames, 11);
        Decoder<double> stereo(order, Layout::kStereo, frames);
        Decoder<double> mono(order, Layout::kMono, frames);
        auto lr = stereo.run(in, frames);
        auto m = mono.run(in, frames);
        for (uint32_t f = 0; f < frames; ++f) {
            const double w = in.data[0][f], y = in.data[1][f];
            EXPECT_NEAR(lr.data[0][f], 0.5 * (w + y), 1e-15);
            EXPECT_NEAR(lr.data[1][f], 0.5 * (w - y), 1e-15);
            EXPECT_EQ(m.data[0][f], w);
        }
    }
}

TEST(AmbiSpeakerAlgo, FloatAndDoubleDecodeAlikeAndSplitBlocksMatchWholeOnes) {
    const uint32_t frames = 480;
    auto in64 = randomBlock<double>(16, frames, 5);
    PlanarBlock<float> in32(16, frames);
    for (uint32_t c = 0; c < 16; ++c)
        for (uint32_t f = 0; f < frames; ++f) in32.data[c][f] = float(in64.data[c][f]);
    Decoder<double> d64(3, Layout::k7_1_4, frames);
    Decoder<float> whole(3, Layout::k7_1_4, frames), split(3, Layout::k7_1_4, frames);
    for (auto* a : {&whole.algo, &split.algo}) {
        a->setLfeGain(0.5);
        a->setLfeLowPass(true);
    }
    d64.algo.setLfeGain(0.5);
    d64.algo.setLfeLowPass(true);
    auto out64 = d64.run(in64, frames);
    auto out32 = whole.run(in32, frames);
    // The same block in pieces of 100, 1 and 379 frames.
    PlanarBlock<float> pieces(12, frames);
    for (uint32_t at : {0u, 100u, 101u}) {
        const uint32_t n = at == 0 ? 100 : at == 100 ? 1 : frames - 101;
        std::vector<float*> ip(16), op(12);
        for (uint32_t c = 0; c < 16; ++c) ip[c] = in32.data[c].data() + at;
        for (uint32_t c = 0; c < 12; ++c) op[c] = pieces.data[c].data() + at;
        split.algo.processBlock(ip.data(), op.data(), n);
    }
    for (uint32_t c = 0; c < 12; ++c)
        for (uint32_t f = 0; f < frames; ++f) {
            EXPECT_NEAR(out32.data[c][f], out64.data[c][f], 2e-6) << "channel " << c << " frame " << f;
            EXPECT_NEAR(pieces.data[c][f], out32.data[c][f], 2e-6) << "channel " << c << " frame " << f;
        }
}

TEST(AmbiSpeakerAlgo, LfeCarriesTheSumOfTheSpeakersOnlyWithAGainAboveZero) {
    const uint32_t frames = 256;
    for (Plx::SpeakerArrangement arrangement : {Layout::k5_1, Layout::k7_1_4, Layout::k22_2}) {
        for (int32_t order = 1; order <= 3; ++order) {
            auto in = randomBlock<float>(channelsOf(order), frames, 21);
            Decoder<float> d(order, arrangement, frames);
            const int32_t lfe = channelOf(arrangement, Speaker::LFE);
            const int32_t lfe2 = (arrangement & Speaker::LFE2) ? channelOf(arrangement, Speaker::LFE2) : -1;
            // Gain 0, or a gain that clamps to 0: silence, whatever the low-pass says.
            for (double gain : {0.0, -0.5, std::numeric_limits<double>::quiet_NaN()}) {
                d.algo.setLfeGain(gain);
                d.algo.setLfeLowPass(true);
                auto out = d.run(in, frames);
                for (uint32_t f = 0; f < frames; ++f) {
                    EXPECT_EQ(out.data[size_t(lfe)][f], 0.0f);
                    if (lfe2 >= 0) {
                        EXPECT_EQ(out.data[size_t(lfe2)][f], 0.0f);
                    }
                }
            }
            // A gain: the LFE is the gain times the sum of the other channels,
            // and LFE2 the same; a gain above 1 counts as 1.
            d.algo.setLfeLowPass(false);
            for (double gain : {0.25, 3.0}) {
                d.algo.setLfeGain(gain);
                auto out = d.run(in, frames);
                const double g = std::min(gain, 1.0);
                for (uint32_t f = 0; f < frames; ++f) {
                    double sum = 0;
                    for (uint32_t c = 0; c < d.outputs; ++c)
                        if (int32_t(c) != lfe && int32_t(c) != lfe2) sum += out.data[c][f];
                    EXPECT_NEAR(out.data[size_t(lfe)][f], g * sum, 1e-5)
                        << nameOf(arrangement) << " frame " << f;
                    if (lfe2 >= 0) {
                        EXPECT_EQ(out.data[size_t(lfe2)][f], out.data[size_t(lfe)][f]);
                    }
                }
            }
        }
    }
}

TEST(AmbiSpeakerAlgo, LfeLowPassSwitchesAtTheNextBlockAndSharesOneFilterBetweenLfeAndLfe2) {
    // A source in front whose signal is a 20 Hz and a 2 kHz sine: the low-pass
    // keeps the first and removes the second.
    const uint32_t frames = 4800;
    std::vector<double> mix(frames);
    for (uint32_t f = 0; f < frames; ++f)
        mix[f] = std::sin(2 * std::numbers::pi * 20 * f / kRate) +
                 std::sin(2 * std::numbers::pi * 2000 * f / kRate);
    Decoder<double> d(3, Layout::k22_2, frames);
    const size_t lfe = size_t(channelOf(Layout::k22_2, Speaker::LFE));
    const size_t lfe2 = size_t(channelOf(Layout::k22_2, Speaker::LFE2));
    d.algo.setLfeGain(1.0);
    auto in = planeWave(0.0, 0.0, 3, mix);
    auto open = d.run(in, frames); // low-pass off: the raw sum on both
    EXPECT_EQ(open.data[lfe], open.data[lfe2]);

    d.algo.setLfeLowPass(true);
    auto filtered = d.run(in, frames);
    // A reference filter set up as the decoder's, run on the raw sum for the
    // LFE and then again for LFE2, continuing from where the LFE left it.
    DSP::WideFrame::FilterFade<double> reference(kRate, int32_t(frames), 250.0f, 1);
    reference.init();
    reference.reset();
    reference.setFilterOff(false);
    reference.setFilter(0, 120.0, 1.0);
    std::vector<double> expectLfe(frames), expectLfe2(frames);
    reference.processMono(&reference, open.data[lfe].data(), expectLfe.data(), int32_t(frames));
    reference.processMono(&reference, open.data[lfe].data(), expectLfe2.data(), int32_t(frames));
    for (uint32_t f = 0; f < frames; ++f) {
        EXPECT_NEAR(filtered.data[lfe][f], expectLfe[f], 1e-12);
        EXPECT_NEAR(filtered.data[lfe2][f], expectLfe2[f], 1e-12);
    }
    // What a low-pass at 120 Hz does to the two tones, over the last 50 ms:
    // the 20 Hz part passes within 1 dB, the 2 kHz part falls by 40 dB or more.
    auto amplitude = [&](const std::vector<double>& x, double hz) {
        double a = 0, b = 0;
        for (uint32_t f = frames / 2; f < frames; ++f) {
            a += x[f] * std::sin(2 * std::numbers::pi * hz * f / kRate);
            b += x[f] * std::cos(2 * std::numbers::pi * hz * f / kRate);
        }
        return std::hypot(a, b) * 2 / (frames / 2);
    };
    ASSERT_GT(amplitude(open.data[lfe], 20), 0.1);
    EXPECT_NEAR(20 * std::log10(amplitude(filtered.data[lfe], 20) / amplitude(open.data[lfe], 20)), 0.0, 1.0);
    EXPECT_LT(amplitude(filtered.data[lfe], 2000), 0.01 * amplitude(open.data[lfe], 2000));

    d.algo.setLfeLowPass(false); // off again at the next block: the raw sum
    auto reopened = d.run(in, frames);
    EXPECT_EQ(reopened.data[lfe], open.data[lfe]);
    EXPECT_EQ(reopened.data[lfe2], open.data[lfe2]);
}

TEST(AmbiSpeakerAlgo, LayoutsWithoutLfeIgnoreTheLfeSettings) {
    const uint32_t frames = 200;
    auto in = randomBlock<float>(16, frames, 8);
    Decoder<float> plain(3, Layout::k7_0_2, frames), set(3, Layout::k7_0_2, frames);
    set.algo.setLfeGain(1.0);
    set.algo.setLfeLowPass(true);
    auto a = plain.run(in, frames);
    auto b = set.run(in, frames);
    EXPECT_EQ(a.data, b.data);
}

TEST(AmbiSpeakerAlgo, LayoutsAndOrdersWithoutATableGiveSilence) {
    const uint32_t frames = 64;
    auto in = randomBlock<float>(16, frames, 2);
    // No table for the arrangement, or for the order.
    for (auto [order, arrangement] : {std::pair{3, Layout::k7_0_4}, std::pair{3, Layout::kAmbi3}}) {
        Decoder<float> d(order, arrangement, frames);
        EXPECT_FALSE(d.found);
        EXPECT_EQ(d.algo.decoderMatrix, nullptr);
        d.algo.setLfeGain(1.0);
        auto out = d.run(in, frames);
        for (const auto& ch : out.data)
            for (float v : ch) EXPECT_EQ(v, 0.0f);
    }
    AmbiSpeakerAlgo<float> algo(6);
    EXPECT_FALSE(algo.setSpeakerConf(4, Layout::k5_1));
    EXPECT_FALSE(algo.setSpeakerConf(0, Layout::k5_1));
    // A layout without a table after one with: the old table is not kept.
    EXPECT_TRUE(algo.setSpeakerConf(1, Layout::k5_1));
    EXPECT_FALSE(algo.setSpeakerConf(1, Layout::k9_1_6));
    EXPECT_EQ(algo.decoderMatrix, nullptr);
    EXPECT_EQ(algo.numOutputs, 16);

    // A table of another order than the input's: silence, not a read past the input.
    Decoder<float> d(1, Layout::k5_1, frames);
    ASSERT_TRUE(d.algo.setSpeakerConf(3, Layout::k5_1));
    auto in1 = randomBlock<float>(4, frames, 2);
    auto out = d.run(in1, frames);
    for (const auto& ch : out.data)
        for (float v : ch) EXPECT_EQ(v, 0.0f);
}

TEST(AmbiSpeakerAlgo, LfeSettingsReachTheAlgorithmThroughItsInterface) {
    AmbiSpeakerAlgo<double> algo(12);
    ASSERT_TRUE(algo.setSpeakerConf(2, Layout::k7_1_4));
    EXPECT_EQ(algo.algoType, AmbiAlgo<double>::kSpeaker);
    EXPECT_EQ(algo.lfeIndex, 3);
    EXPECT_EQ(algo.lfe2Index, -1);
    IAmbiSpeakerAlgo* speaker = nullptr;
    ASSERT_EQ(static_cast<Plx::FObject&>(algo).queryInterface(IAmbiSpeakerAlgo::iid, (void**)&speaker),
              Plx::kResultOk);
    ASSERT_NE(speaker, nullptr);
    speaker->setLfeGain(0.75);
    speaker->setLfeLowPass(true);
    EXPECT_EQ(algo.lfeGain, 0.75);
    EXPECT_TRUE(algo.lfeLowPass);
    speaker->release();
    void* none = nullptr;
    EXPECT_NE(static_cast<Plx::FObject&>(algo).queryInterface(IAmbiBin::iid, &none), Plx::kResultOk);
    EXPECT_EQ(none, nullptr);
}

TEST(AmbiSpeakerAlgo, ProcessBlockAllocatesNothing) {
    if (!RtGuard::available()) GTEST_SKIP() << "allocation guard not available in this build";
    const uint32_t frames = 512;
    auto in32 = randomBlock<float>(16, frames, 1);
    auto in64 = randomBlock<double>(16, frames, 1);
    Decoder<float> d32(3, Layout::k22_2, frames);
    Decoder<double> d64(3, Layout::k22_2, frames);
    PlanarBlock<float> out32(24, frames);
    PlanarBlock<double> out64(24, frames);
    float** i32 = in32.p();
    double** i64 = in64.p();
    float** o32 = out32.p();
    double** o64 = out64.p();
    RtGuard::arm();
    for (int block = 0; block < 4; ++block) {
        d32.algo.setLfeGain(0.5);
        d32.algo.setLfeLowPass(block % 2 == 0);
        d32.algo.processBlock(i32, o32, frames);
        d64.algo.setLfeGain(0.5);
        d64.algo.setLfeLowPass(block % 2 == 0);
        d64.algo.processBlock(i64, o64, frames);
    }
    const auto counts = RtGuard::disarm();
    EXPECT_EQ(counts.allocations, 0);
    EXPECT_EQ(counts.locks, 0);
}

} // namespace
