// MixMorph's audio path through the module's exports: conversions at the
// default levels sample by sample, the per-sample ramp and its clamp,
// sample-accurate automation, in-place and silent buffers, 64-bit audio,
// meters, the matrix that reaches the editor, and malformed blocks. Every
// process call runs under the real-time guard of the rig.
#include "tests/mix/mixer_rig.h"

#include "mix/mix_messages.h"

#include <mutex>

namespace MixTest {
namespace {

constexpr float kSqrtHalf = 0.70710677f;
constexpr double kRate = 48000.0;

// Deterministic noise in [-1, 1).
struct Noise {
    uint32_t state = 12345;
    float next() {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 8388608.0f - 1.0f;
    }
};

template <class T>
void fillNoise(Planar<T>& p, uint32_t seed) {
    Noise noise{seed};
    for (auto* ch : p.pointers)
        for (int t = 0; t < p.frames; ++t) ch[t] = static_cast<T>(noise.next());
}

// A processor for `in` to `out` at 48 kHz, started, whose gains have reached
// the matrix: a silent block sets them at once.
std::unique_ptr<MixerRig> startedRig(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out, int block,
                                     int sampleSize = Plx::kSample32) {
    auto rig = std::make_unique<MixerRig>();
    EXPECT_EQ(rig->arrange(in, out), Plx::kResultOk);
    EXPECT_EQ(rig->setup(kRate, block, sampleSize), Plx::kResultOk);
    rig->start();
    const int ins = rig->inputs();
    const int outs = rig->outputs();
    if (sampleSize == Plx::kSample32) {
        Planar<float> a(ins, block), b(outs, block);
        EXPECT_EQ(rig->process(a, b, block, nullptr, ~0ull), Plx::kResultOk);
    } else {
        Planar<double> a(ins, block), b(outs, block);
        EXPECT_EQ(rig->process(a, b, block, nullptr, ~0ull), Plx::kResultOk);
    }
    return rig;
}

IPtr<Host::ParameterChanges> changesOf(std::initializer_list<std::tuple<Plx::ParamID, int, double>> points) {
    auto changes = IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    for (auto [id, offset, value] : points) changes->addChange(id, offset, value);
    return changes;
}

TEST(MixProcess, ConversionsAtDefaultLevels) {
    constexpr int n = 256;
    {
        // 5.1 (L R C LFE Ls Rs) to stereo: centre and LFE at -3 dB to both
        // sides, each surround at half to its side.
        auto rig = startedRig(Plx::Layout::k5_1, Plx::Layout::kStereo, n);
        Planar<float> in(6, n), out(2, n);
        fillNoise(in, 1);
        ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
        for (int t = 0; t < n; ++t) {
            const float c = kSqrtHalf * in.at(2, t) + kSqrtHalf * in.at(3, t);
            EXPECT_NEAR(out.at(0, t), in.at(0, t) + c + 0.5f * in.at(4, t), 1e-5) << t;
            EXPECT_NEAR(out.at(1, t), in.at(1, t) + c + 0.5f * in.at(5, t), 1e-5) << t;
        }
        EXPECT_TRUE(out.guardsIntact());
    }
    {
        // 5.1 to 5.1 is the identity and is copied: an infinity on one channel
        // would turn the others into NaN if they were multiplied.
        auto rig = startedRig(Plx::Layout::k5_1, Plx::Layout::k5_1, n);
        Planar<float> in(6, n), out(6, n);
        fillNoise(in, 2);
        in.at(1, 7) = INFINITY;
        ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
        for (int c = 0; c < 6; ++c)
            EXPECT_EQ(std::memcmp(in.pointers[c], out.pointers[c], n * sizeof(float)), 0) << c;
    }
    {
        // Mono to 5.1: the mono channel is the centre, the rest stays silent.
        auto rig = startedRig(Plx::Layout::kMono, Plx::Layout::k5_1, n);
        Planar<float> in(1, n), out(6, n);
        fillNoise(in, 3);
        uint64_t silence = 0;
        ASSERT_EQ(rig->process(in, out, n, nullptr, 0, &silence), Plx::kResultOk);
        for (int t = 0; t < n; ++t)
            for (int c = 0; c < 6; ++c) EXPECT_EQ(out.at(c, t), c == 2 ? in.at(0, t) : 0.0f) << c << " " << t;
        // Without meters the silence flags come from the matrix: all but C.
        EXPECT_EQ(silence & 0x3F, 0x3Bu);
    }
}

TEST(MixProcess, RampLandsAtSliceEndAndIsClamped) {
    // 48 kHz, 256 samples: one slice of 256. Stereo to stereo is the identity.
    constexpr int n = 256;
    auto rig = startedRig(Plx::Layout::kStereo, Plx::Layout::kStereo, n);
    Planar<float> in(2, n), out(2, n);
    for (int t = 0; t < n; ++t) in.at(0, t) = in.at(1, t) = 1.0f;

    // A step of 0.5: 0.5 / 256 per sample, the target reached at the slice's end.
    auto half = changesOf({{kGlobalLvl, 0, levelNormalized(0.5)}});
    ASSERT_EQ(rig->process(in, out, n, half.get()), Plx::kResultOk);
    const double g0 = levelLinear(levelNormalized(0.5));
    for (int t = 0; t < n; t += 51) EXPECT_NEAR(out.at(0, t), 1.0 - (1.0 - g0) * (t + 1) / n, 1e-5) << t;
    EXPECT_NEAR(out.at(0, n - 1), g0, 1e-6);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    EXPECT_NEAR(out.at(1, 0), g0, 1e-6);
    EXPECT_NEAR(out.at(1, n - 1), g0, 1e-6);

    // A step of 0.5 to 0 would be 0.5 / 256 too; from 1.0 (a step of 1.0) it
    // is clamped to 1000 / (48000 * 5.34) per sample, just below 1 / 256, so
    // the block ends short of the target and the next block finishes it.
    auto back = changesOf({{kGlobalLvl, 0, 0.75}});
    ASSERT_EQ(rig->process(in, out, n, back.get()), Plx::kResultOk);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    EXPECT_NEAR(out.at(0, n - 1), 1.0, 1e-6);
    auto off = changesOf({{kGlobalLvl, 0, 0.0}});
    ASSERT_EQ(rig->process(in, out, n, off.get()), Plx::kResultOk);
    const double clamp = 1000.0 / (kRate * 5.34);
    EXPECT_NEAR(clamp, 0.0039013, 1e-7);
    EXPECT_LT(clamp, 1.0 / 256);
    for (int t = 0; t < n; t += 37) EXPECT_NEAR(out.at(0, t), 1.0 - clamp * (t + 1), 1e-5) << t;
    const double left = 1.0 - clamp * n;
    EXPECT_NEAR(out.at(0, n - 1), left, 1e-5);
    EXPECT_GT(out.at(0, n - 1), 1e-3);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    EXPECT_NEAR(out.at(0, 0), left - left / n, 1e-5);
    EXPECT_NEAR(out.at(0, n - 1), 0.0, 1e-6);
}

TEST(MixProcess, PointInsideBlockActsInItsSlice) {
    // 512 samples at 48 kHz: two slices of 256. A single point at 300 moves
    // the level along the line from its old value at 0: slice 0 ends at the
    // value that the line has at 255, slice 1 at the point's value.
    constexpr int n = 512;
    auto rig = startedRig(Plx::Layout::kStereo, Plx::Layout::kStereo, n);
    Planar<float> in(2, n), out(2, n);
    for (int t = 0; t < n; ++t) in.at(0, t) = in.at(1, t) = 1.0f;
    const double v = levelNormalized(0.8);
    auto mid = changesOf({{kGlobalLvl, 300, v}});
    ASSERT_EQ(rig->process(in, out, n, mid.get()), Plx::kResultOk);
    const double at255 = levelLinear(0.75 + (v - 0.75) * 255.0 / 300.0);
    EXPECT_NEAR(out.at(0, 255), at255, 1e-5);
    EXPECT_NEAR(out.at(0, 511), levelLinear(v), 1e-5);
    // Within slice 0 the gain ramps linearly from 1 towards at255.
    EXPECT_NEAR(out.at(0, 127), 1.0 + (at255 - 1.0) * 128 / 256, 1e-5);

    // A point in the second slice leaves the first one alone.
    auto late = changesOf({{kGlobalLvl, 256, v}, {kGlobalLvl, 400, 0.75}});
    ASSERT_EQ(rig->process(in, out, n, late.get()), Plx::kResultOk);
    EXPECT_NEAR(out.at(0, 100), levelLinear(v), 1e-5);
    const double at511 = 1.0;
    EXPECT_NEAR(out.at(0, 511), at511, 1e-5);
    EXPECT_LT(out.at(0, 300), at511 - 1e-3);
}

// Runs `blocks` blocks of noise through two processors of the same
// conversion, one with outputs in separate memory and one in place, with a
// level automation in the second block, and compares them.
void expectInPlaceSame(Plx::SpeakerArrangement inArr, Plx::SpeakerArrangement outArr, bool direct) {
    constexpr int n = 256;
    auto apart = startedRig(inArr, outArr, n);
    auto inPlace = startedRig(inArr, outArr, n);
    const int ins = apart->inputs();
    const int outs = apart->outputs();
    for (int b = 0; b < 4; ++b) {
        Planar<float> in(ins, n), out(outs, n);
        fillNoise(in, 10 + b);
        // In place: the first min(ins, outs) outputs are the input channels.
        Planar<float> shared(std::max(ins, outs), n);
        for (int c = 0; c < ins; ++c) std::copy(in.pointers[c], in.pointers[c] + n, shared.pointers[c]);
        Planar<float> sharedIn(ins, n), sharedOut(outs, n);
        for (int c = 0; c < ins; ++c) sharedIn.pointers[c] = shared.pointers[c];
        for (int c = 0; c < outs; ++c) sharedOut.pointers[c] = shared.pointers[c];
        IPtr<Host::ParameterChanges> changes;
        if (b == 1)
            changes = direct ? changesOf({{kDirectMode, 0, 1.0}}) : changesOf({{kGlobalLvl, 100, 0.6}});
        ASSERT_EQ(apart->process(in, out, n, changes.get()), Plx::kResultOk);
        ASSERT_EQ(inPlace->process(sharedIn, sharedOut, n, changes.get()), Plx::kResultOk);
        for (int c = 0; c < outs; ++c)
            for (int t = 0; t < n; ++t)
                ASSERT_EQ(sharedOut.at(c, t), out.at(c, t)) << std::hex << inArr << ">" << outArr << std::dec
                                                            << " block " << b << " ch " << c << " t " << t;
    }
}

TEST(MixProcess, InPlaceBuffersGiveTheSameResult) {
    expectInPlaceSame(Plx::Layout::k5_1, Plx::Layout::kStereo, false); // general product, fewer outputs
    expectInPlaceSame(Plx::Layout::kMono, Plx::Layout::k5_1, false);   // one input
    expectInPlaceSame(Plx::Layout::kStereo, Plx::Layout::k5_1, false); // two inputs
    expectInPlaceSame(Plx::Layout::k5_1, Plx::Layout::k5_1, true);     // routing, then direct pass-through
    expectInPlaceSame(Plx::Layout::k5_0, Plx::Layout::k5_1, true); // direct routing that shifts channels up
    expectInPlaceSame(Plx::Layout::k5_1, Plx::Layout::k5_0, true); // and down
    expectInPlaceSame(Plx::Layout::k13_1Auro3D, Plx::Layout::k7_1Music, false); // 7.1.6 to 7.1
}

TEST(MixProcess, SilentInputKeepsInPlaceOutputsAndFlagsAll) {
    constexpr int n = 128;
    auto rig = startedRig(Plx::Layout::kStereo, Plx::Layout::k5_1, n);
    Planar<float> in(2, n);
    fillNoise(in, 5);
    Planar<float> out(6, n);
    for (int c = 0; c < 6; ++c) std::fill(out.pointers[c], out.pointers[c] + n, 0.25f);
    out.pointers[0] = in.pointers[0]; // in place on L
    const std::vector<float> before(in.pointers[0], in.pointers[0] + n);
    uint64_t silence = 0;
    ASSERT_EQ(rig->process(in, out, n, nullptr, 0x3, &silence), Plx::kResultOk);
    EXPECT_EQ(silence, ~0ull);
    EXPECT_EQ(std::vector<float>(out.pointers[0], out.pointers[0] + n), before);
    for (int c = 1; c < 6; ++c)
        for (int t = 0; t < n; ++t) ASSERT_EQ(out.at(c, t), 0.0f);
    EXPECT_TRUE(out.guardsIntact());
}

TEST(MixProcess, SixtyFourBitMatchesThirtyTwoBit) {
    constexpr int n = 384;
    for (auto [inArr, outArr] : {std::pair<uint64_t, uint64_t>{Plx::Layout::k5_1, Plx::Layout::kStereo},
                                 {Plx::Layout::kMono, Plx::Layout::k5_1},
                                 {Plx::Layout::kStereo, Plx::Layout::k5_1},
                                 {Plx::Layout::k13_1Auro3D, Plx::Layout::k7_1Music},
                                 {Plx::Layout::k5_1, Plx::Layout::k5_1}}) {
        auto rig32 = startedRig(inArr, outArr, n, Plx::kSample32);
        auto rig64 = startedRig(inArr, outArr, n, Plx::kSample64);
        const int ins = rig32->inputs();
        const int outs = rig32->outputs();
        for (int b = 0; b < 3; ++b) {
            Planar<float> in(ins, n), out(outs, n);
            fillNoise(in, 20 + b);
            Planar<double> in64(ins, n), out64(outs, n);
            for (int c = 0; c < ins; ++c)
                for (int t = 0; t < n; ++t) in64.at(c, t) = in.at(c, t);
            auto changes =
                b == 1 ? changesOf({{kGlobalLvl, 50, 0.5}, {kCenterLvl, 200, 0.9}}) : changesOf({});
            ASSERT_EQ(rig32->process(in, out, n, changes.get()), Plx::kResultOk);
            ASSERT_EQ(rig64->process(in64, out64, n, changes.get()), Plx::kResultOk);
            for (int c = 0; c < outs; ++c)
                for (int t = 0; t < n; ++t)
                    ASSERT_NEAR(out64.at(c, t), out.at(c, t), 4e-6 * (1 + std::fabs(out64.at(c, t))))
                        << std::hex << inArr << std::dec << " b " << b << " c " << c << " t " << t;
            EXPECT_TRUE(out64.guardsIntact());
        }
    }
}

TEST(MixProcess, BlockProductEqualsPerSampleMix) {
    // A settled 22.2 to 7.1.4 matrix is applied to the rest of each slice as a
    // block, and so is a ramp; the sums over inputs worked out here sample by
    // sample must agree within float rounding.
    constexpr int n = 512;
    constexpr uint64_t k222 = Plx::Layout::k22_2, k714 = Plx::Layout::k7_1_4; // 22.2, 7.1.4
    auto rig = startedRig(k222, k714, n);
    ASSERT_EQ(rig->busArrangement(Plx::kInput), k222);
    const int ins = rig->inputs();
    const int outs = rig->outputs();
    ASSERT_EQ(ins, 24);
    ASSERT_EQ(outs, 12);
    // The matrix as the editor gets it.
    rig->send(Mix::Msg::kEnableDirectMonitoring, Mix::Msg::kEnableDirectMonitoring, 1);
    Planar<float> in(ins, n), out(outs, n);
    fillNoise(in, 7);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    rig->host->idle();
    auto sent = rig->peer->withId(Mix::Msg::kGainMatrix);
    ASSERT_EQ(sent.size(), 1u);
    const auto& blob = sent[0].blobs["coefficients"];
    ASSERT_EQ(blob.size(), sizeof(float) * ins * outs);
    std::vector<float> g(ins * outs);
    std::memcpy(g.data(), blob.data(), blob.size());
    for (int o = 0; o < outs; ++o)
        for (int t = 0; t < n; ++t) {
            double sum = 0.0, mag = 0.0;
            for (int i = 0; i < ins; ++i) {
                sum += double(in.at(i, t)) * g[i * outs + o];
                mag += std::fabs(double(in.at(i, t)) * g[i * outs + o]);
            }
            ASSERT_NEAR(out.at(o, t), sum, 1e-6 * (1 + mag)) << o << " " << t;
        }

    // A global level change scales every gain by r: the first slice (256
    // samples) ramps each gain g as g * (1 + (j + 1) * (r - 1) / 256), the
    // second one holds g * r.
    const double r = levelLinear(0.7) / levelLinear(0.75);
    auto changes = changesOf({{kGlobalLvl, 0, 0.7}});
    fillNoise(in, 8);
    ASSERT_EQ(rig->process(in, out, n, changes.get()), Plx::kResultOk);
    for (int o = 0; o < outs; ++o)
        for (int t = 0; t < n; ++t) {
            const double factor = t < 256 ? 1.0 + (t + 1) * (r - 1.0) / 256 : r;
            double sum = 0.0, mag = 0.0;
            for (int i = 0; i < ins; ++i) {
                sum += double(in.at(i, t)) * g[i * outs + o] * factor;
                mag += std::fabs(double(in.at(i, t)) * g[i * outs + o]);
            }
            ASSERT_NEAR(out.at(o, t), sum, 2e-6 * (1 + mag)) << o << " " << t;
        }
}

TEST(MixProcess, MetersReachTheirIds) {
    constexpr int n = 480; // 48000 / 25 = 1920 samples per meter value: every fourth block,
                           // counting the silent block that starts the rig
    auto rig = startedRig(Plx::Layout::k5_1, Plx::Layout::kStereo, n);
    rig->send(Mix::Msg::kInputVuMeter, Mix::Msg::kInputVuMeter, 1);
    rig->send(Mix::Msg::kOutputVuMeter, Mix::Msg::kOutputVuMeter, 1);
    Planar<float> in(6, n), out(2, n);
    const float amp[6] = {0.5f, 0.25f, 0.125f, 0.0f, 0.75f, 0.0625f};
    for (int c = 0; c < 6; ++c)
        for (int t = 0; t < n; ++t) in.at(c, t) = (t % 2 ? -amp[c] : amp[c]) * (t == 100 ? 1.0f : 0.5f);
    auto valueOf = [&](Plx::ParamID id, double* value) { return rig->outChanges->lastValue(id, value); };
    double v = 0.0;
    for (int b = 0; b < 2; ++b) {
        ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
        EXPECT_FALSE(valueOf(Mix::MeterId::kMaxInLevel, &v)) << b;
    }
    uint64_t silence = 1;
    ASSERT_EQ(rig->process(in, out, n, nullptr, 0, &silence), Plx::kResultOk);
    for (int c = 0; c < 6; ++c) {
        ASSERT_TRUE(valueOf(Mix::MeterId::kInputPeakFirst + c, &v)) << c;
        EXPECT_FLOAT_EQ(v, amp[c]);
    }
    ASSERT_TRUE(valueOf(Mix::MeterId::kMaxInLevel, &v));
    EXPECT_FLOAT_EQ(v, 0.75f);
    // Sample 100 (even): L + 0.707 C + 0.707 LFE + 0.5 Ls, and R likewise.
    const float left = amp[0] + kSqrtHalf * amp[2] + kSqrtHalf * amp[3] + 0.5f * amp[4];
    const float right = amp[1] + kSqrtHalf * amp[2] + kSqrtHalf * amp[3] + 0.5f * amp[5];
    ASSERT_TRUE(valueOf(Mix::MeterId::kOutputPeakFirst, &v));
    EXPECT_NEAR(v, left, 1e-6);
    ASSERT_TRUE(valueOf(Mix::MeterId::kOutputPeakFirst + 1, &v));
    EXPECT_NEAR(v, right, 1e-6);
    ASSERT_TRUE(valueOf(Mix::MeterId::kMaxOutLevel, &v));
    EXPECT_NEAR(v, std::max(left, right), 1e-6);
    EXPECT_EQ(silence, 0u); // with output meters the flags follow the samples
    // The peaks restart after each send; the maxima hold until reset.
    rig->send(Mix::Msg::kResetMaxLevelOut);
    for (int c = 0; c < 6; ++c)
        for (int t = 0; t < n; ++t) in.at(c, t) *= 0.5f;
    for (int b = 0; b < 4; ++b) ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    ASSERT_TRUE(valueOf(Mix::MeterId::kInputPeakFirst + 4, &v));
    EXPECT_FLOAT_EQ(v, 0.375f);
    ASSERT_TRUE(valueOf(Mix::MeterId::kMaxInLevel, &v));
    EXPECT_FLOAT_EQ(v, 0.75f);
    ASSERT_TRUE(valueOf(Mix::MeterId::kMaxOutLevel, &v));
    EXPECT_NEAR(v, std::max(left, right) / 2, 1e-6);

    // Switching the meters off sends once more at once, then no more. An
    // attribute of the wrong type counts as 0.
    rig->sendBinary(Mix::Msg::kInputVuMeter, Mix::Msg::kInputVuMeter, "1", 1);
    rig->send(Mix::Msg::kOutputVuMeter, Mix::Msg::kOutputVuMeter, 0);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    EXPECT_TRUE(valueOf(Mix::MeterId::kMaxInLevel, &v));
    for (int b = 0; b < 5; ++b) {
        ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
        EXPECT_FALSE(valueOf(Mix::MeterId::kMaxInLevel, &v));
    }
    EXPECT_EQ(rig->send("noSuchMessage", "x", 1), Plx::kResultFalse);
}

TEST(MixProcess, GainMatrixReachesTheControllerOnIdle) {
    constexpr int n = 256;
    auto rig = startedRig(Plx::Layout::k5_1, Plx::Layout::kStereo, n);
    Planar<float> in(6, n), out(2, n);
    // Without direct monitoring nothing is published.
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    rig->host->idle();
    EXPECT_TRUE(rig->peer->withId(Mix::Msg::kGainMatrix).empty());
    // setProcessing(true) was reported on the first idle.
    auto vu = rig->peer->withId(Mix::Msg::kVuMetersProcessing);
    ASSERT_FALSE(vu.empty());
    EXPECT_EQ(vu.back().ints["vuMetersProcessing"], 1);

    rig->send(Mix::Msg::kEnableDirectMonitoring, Mix::Msg::kEnableDirectMonitoring, 1);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    rig->host->idle();
    auto sent = rig->peer->withId(Mix::Msg::kGainMatrix);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].ints["matrixSize"], 12);
    float g[12];
    ASSERT_EQ(sent[0].blobs["coefficients"].size(), sizeof g);
    std::memcpy(g, sent[0].blobs["coefficients"].data(), sizeof g);
    const float expected[12] = {1, 0, 0, 1, kSqrtHalf, kSqrtHalf, kSqrtHalf, kSqrtHalf, 0.5f, 0, 0, 0.5f};
    for (int k = 0; k < 12; ++k) EXPECT_NEAR(g[k], expected[k], 1e-6) << k;
    // Idle again without a change sends nothing; a level change sends again.
    rig->host->idle();
    rig->host->idle();
    EXPECT_EQ(rig->peer->withId(Mix::Msg::kGainMatrix).size(), 1u);
    auto louder = changesOf({{kGlobalLvl, 0, 1.0}});
    ASSERT_EQ(rig->process(in, out, n, louder.get()), Plx::kResultOk);
    rig->host->idle();
    sent = rig->peer->withId(Mix::Msg::kGainMatrix);
    ASSERT_EQ(sent.size(), 2u);
    std::memcpy(g, sent[1].blobs["coefficients"].data(), sizeof g);
    EXPECT_NEAR(g[0], 2.0f, 1e-6);
}

TEST(MixProcess, MalformedBlocksAnswerACodeAndWriteNothing) {
    constexpr int n = 64;
    auto rig = std::make_unique<MixerRig>();
    ASSERT_EQ(rig->arrange(Plx::Layout::k5_1, Plx::Layout::kStereo), Plx::kResultOk);
    ASSERT_EQ(rig->setup(kRate, n), Plx::kResultOk);
    Planar<float> in(6, n), out(2, n);
    fillNoise(in, 9);
    // Before setActive and setProcessing: false, outputs untouched.
    std::fill(out.pointers[0], out.pointers[0] + n, 3.0f);
    EXPECT_EQ(rig->process(in, out, n), Plx::kResultFalse);
    EXPECT_EQ(out.at(0, 5), 3.0f);
    rig->start();

    // More samples than set up for, and the same with the buffers really that long.
    Planar<float> bigIn(6, 2 * n), bigOut(2, 2 * n);
    EXPECT_EQ(rig->process(bigIn, bigOut, 2 * n), Plx::kInvalidArgument);
    EXPECT_EQ(rig->process(in, out, -1), Plx::kInvalidArgument);
    // Channel counts that aren't the buses', and zero channels.
    Planar<float> fewer(1, n), none(0, n);
    EXPECT_EQ(rig->process(fewer, out, n), Plx::kInvalidArgument);
    EXPECT_EQ(rig->process(in, none, n), Plx::kInvalidArgument);
    // Null channel pointers and null pointer arrays.
    Planar<float> holey(2, n);
    holey.pointers[1] = nullptr;
    EXPECT_EQ(rig->process(in, holey, n), Plx::kInvalidArgument);
    Plx::PlxAudioBuffers inBus{6, 0, {nullptr}}, outBus{2, 0, {out.pointers.data()}};
    Plx::PlxProcessData data{};
    data.numSamples = n;
    data.numInputs = data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    EXPECT_EQ(rig->processData(data), Plx::kInvalidArgument);
    data.inputs = nullptr;
    EXPECT_EQ(rig->processData(data), Plx::kInvalidArgument);
    EXPECT_EQ(rig->processor->process(nullptr), Plx::kInvalidArgument);
    // 64-bit blocks to a processor set up for 32 bit.
    Planar<double> in64(6, n), out64(2, n);
    EXPECT_EQ(rig->process(in64, out64, n), Plx::kResultFalse);
    EXPECT_EQ(out.at(0, 5), 3.0f);
    EXPECT_TRUE(out.guardsIntact() && bigOut.guardsIntact() && out64.guardsIntact());

    // No buses in the block: the parameters are still taken, and at once.
    data = {};
    auto louder = changesOf({{kGlobalLvl, 0, 1.0}});
    data.inputParameterChanges = louder.get();
    EXPECT_EQ(rig->processData(data), Plx::kResultOk);
    ASSERT_EQ(rig->process(in, out, n), Plx::kResultOk);
    EXPECT_NEAR(out.at(0, 0),
                2.0 * (in.at(0, 0) + kSqrtHalf * (in.at(2, 0) + in.at(3, 0)) + 0.5 * in.at(4, 0)), 1e-5);
    // A block of 0 samples and of 1 sample.
    EXPECT_EQ(rig->process(in, out, 0), Plx::kResultOk);
    EXPECT_EQ(rig->process(in, out, 1), Plx::kResultOk);
    EXPECT_TRUE(out.guardsIntact());
}

TEST(MixProcess, GuardSeesAllocationsAndLocks) {
    if (!RtGuard::available())
        GTEST_SKIP() << "the sanitizer owns the allocator under ASan; the guard runs in the release build";
    // The guard must see what the module does: creating an instance allocates.
    RtGuard::arm();
    auto obj = MixerRig::module().createInstance<Plx::IComponent>(Plx::kMatrixMixerProcessorUID);
    std::mutex m;
    m.lock();
    m.unlock();
    const RtGuard::Counts counts = RtGuard::disarm();
    EXPECT_GT(counts.allocations, 0);
    EXPECT_GT(counts.locks, 0);
}

} // namespace
} // namespace MixTest
