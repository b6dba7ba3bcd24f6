// How close the binaural decoder comes to a real head: a plane-wave impulse
// from every measured direction of the KEMAR set (710 directions), encoded at
// the set's order, rendered through the real AmbiBinAlgo at 48 kHz and scored
// against the measured pair (ambi/hrir_fidelity.h). Prints a table for the six
// built-in sets and a set read from the KEMAR file itself.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "ambi/ambi_bin_algo.h"
#include "ambi/hrir_fidelity.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "tests/ambi/planar_block.h"

using namespace Tannhofen::AmbiBin;
using Tannhofen::DSP::Tool::Math::ambisonicChannels;
using Tannhofen::DSP::Tool::Math::sn3dHarmonics;

namespace {

constexpr double kRate = 48000;
constexpr uint32_t kBlock = 512;
constexpr uint32_t kSpacing = 2048; // samples from one direction's impulse to the next

// The KEMAR directions, with the features of their measured ears.
struct Measurements : Fidelity::MeasuredHead {
    std::vector<Fidelity::EarFeatures> features;
};

const Measurements& kemar() {
    static const Measurements m = [] {
        Measurements out;
        if (!Fidelity::readMeasuredHead(PLX_KEMAR_SOFA, kRate, out)) return out;
        Fidelity::Analyser analyser(kRate);
        for (size_t d = 0; d < out.count(); ++d)
            out.features.push_back(analyser.analyse(out.left[d], out.right[d]));
        return out;
    }();
    return m;
}

struct Heard {
    Fidelity::Score score;
    double mirroredLeftRight = 0;     // mean distance from the left-right mirror direction's measurement
    double mirroredUpDown = 0;        // mean distance from the up-down mirror's, where measured
    double ownUpDown = 0;             // mean distance from its own measurement, over the same directions
    double ildLeft = 0, ildRight = 0; // at azimuth +90 and -90 on the horizon
};

// Renders every measured direction through the algorithm with the set
// (mode, order, name) in force, one impulse every kSpacing samples, and
// scores what reaches the ears.
Heard render(int32_t mode, uint32_t order, const std::string& name) {
    const Measurements& m = kemar();
    HrirBank<float> bank;
    EXPECT_EQ(bank.select(mode, float(kRate), order, name, nullptr, false), 1);
    AmbiBinAlgo<float> algo(&bank);
    algo.setOrder(order);
    const uint32_t channels = ambisonicChannels(order);
    algo.setChannels(channels, 2);
    algo.setBlockSize(kBlock);
    algo.collectBlockSize = kBlock;
    algo.setSampleRate(float(kRate));
    EXPECT_EQ(algo.init(), AmbiAlgo<float>::kInitDone);
    algo.reset();
    const uint32_t latency = algo.getLatency();

    Fidelity::Analyser analyser(kRate);
    std::vector<Fidelity::EarFeatures> rendered;
    std::vector<double> left(kSpacing), right(kSpacing);
    PlanarBlock<float> in(channels, kBlock), out(2, kBlock);
    const uint64_t end = uint64_t(m.count()) * kSpacing + latency;
    for (uint64_t t0 = 0; t0 < end; t0 += kBlock) {
        for (auto& channel : in.data) std::fill(channel.begin(), channel.end(), 0.f);
        const uint64_t d = (t0 + kBlock - 1) / kSpacing;
        if (d < m.count() && d * kSpacing >= t0) {
            double y[16];
            sn3dHarmonics(m.azimuth[d], m.elevation[d], y, channels);
            for (uint32_t c = 0; c < channels; ++c) in.data[c][d * kSpacing - t0] = float(y[c]);
        }
        algo.process(in.p(), out.p(), kBlock);
        for (uint32_t i = 0; i < kBlock; ++i) {
            const uint64_t t = t0 + i;
            if (t < latency) continue;
            const uint64_t offset = (t - latency) % kSpacing;
            left[offset] = out.data[0][i];
            right[offset] = out.data[1][i];
            if (offset == kSpacing - 1) rendered.push_back(analyser.analyse(left, right));
        }
    }
    Heard f;
    EXPECT_EQ(rendered.size(), m.count());
    if (rendered.size() != m.count()) return f;
    f.score = Fidelity::compare(rendered, m.features);
    size_t upDown = 0;
    for (size_t d = 0; d < m.count(); ++d) {
        const size_t lr = m.find(-m.azimuth[d], m.elevation[d]);
        f.mirroredLeftRight +=
            Fidelity::spectralDistance(rendered[d], m.features[lr], f.score.gain) / double(m.count());
        const size_t ud = m.find(m.azimuth[d], -m.elevation[d]);
        if (ud == m.count() || m.elevation[d] == 0) continue;
        f.mirroredUpDown += Fidelity::spectralDistance(rendered[d], m.features[ud], f.score.gain);
        f.ownUpDown += Fidelity::spectralDistance(rendered[d], m.features[d], f.score.gain);
        ++upDown;
    }
    f.mirroredUpDown /= double(upDown);
    f.ownUpDown /= double(upDown);
    f.ildLeft = rendered[m.find(90, 0)].ild;
    f.ildRight = rendered[m.find(-90, 0)].ild;
    return f;
}

TEST(BinauralFidelity, BuiltInSetsComeCloseToTheMeasuredHead) {
    ASSERT_EQ(kemar().count(), 710u);
    struct Row {
        const char* name;
        int32_t mode;
        uint32_t order;
        std::string file;
    };
    const Row rows[] = {{"standard", kHrirStandard, 1, ""},          {"standard", kHrirStandard, 2, ""},
                        {"standard", kHrirStandard, 3, ""},          {"youtube", kHrirYoutube, 1, ""},
                        {"facebook", kHrirFacebook, 2, ""},          {"facebook", kHrirFacebook, 3, ""},
                        {"sofa kemar", kHrirSofa, 3, PLX_KEMAR_SOFA}};
    // LSD mirrored: against the left-right and the up-down mirror direction's
    // measurement; in brackets the LSD of the directions that have an up-down mirror.
    std::printf(
        "\n  set          mode order   LSD dB  ILD err dB  ITD err us   LSD mirrored l-r / u-d (own)\n");
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.name << " order " << row.order);
        const Heard f = render(row.mode, row.order, row.file);
        std::printf("  %-12s %4d %5u   %6.2f  %10.2f  %10.1f   %10.2f / %5.2f (%4.2f)\n", row.name, row.mode,
                    row.order, f.score.lsd, f.score.ildError, f.score.itdError * 1e6, f.mirroredLeftRight,
                    f.mirroredUpDown, f.ownUpDown);
        // Left is left and up is up: a source on +Y is louder in the left ear,
        // and each direction sounds less like its mirror image than like itself.
        EXPECT_GT(f.ildLeft, 6.0);
        EXPECT_LT(f.ildRight, -6.0);
        EXPECT_GT(f.mirroredLeftRight, f.score.lsd + 2.0);
        // (The file's set, decoded from only 20 directions, tells up from down least.)
        EXPECT_GT(f.mirroredUpDown, f.ownUpDown + (row.mode == kHrirSofa ? 0.1 : 0.3));
        if (row.mode != kHrirStandard) continue;
        if (row.order == 3) {
            EXPECT_LE(f.score.lsd, 2.0);
            EXPECT_LE(f.score.ildError, 1.0);
            EXPECT_LE(f.score.itdError, 20e-6);
        } else if (row.order == 1) {
            EXPECT_LE(f.score.lsd, 3.3);
        }
    }
}

} // namespace
