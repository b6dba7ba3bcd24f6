// The panner's audio path through the module's exports, as a host sees it:
// where a source lands at the defaults, automation that moves it without
// steps larger than the ramp allows, elevation patterns, object mode with the
// host's object bus, the ambisonic output. Nothing of it allocates or locks.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "frame/speaker_layouts.h"
#include "panner/object_ambi_encoder.h"
#include "tests/panner/panner_rig.h"

namespace PannerTest {
namespace {

using Host::ObjectCall;
using Plx::ParamID;
namespace Layout = Plx::Layout;

constexpr float kSqrtHalf = 0.70710678f;
constexpr ParamID kPosX = 0, kPosY = 1, kPosZ = 2, kElevationMode = 111, kObjectSwitch = 113,
                  kDistanceScale = 117, kSelectionClick = 523, kBusSelection = 520;

float sumSquares(const std::vector<float>& v) {
    return std::inner_product(v.begin(), v.end(), v.begin(), 0.0f);
}

TEST(PannerProcess, SourcesLandWhereTheLawPutsThemAtTheDefaults) {
    {
        // Mono in the front centre: all of it on C; none on the LFE.
        PannerRig rig;
        ASSERT_EQ(rig.arrange(Layout::kMono, Layout::k5_1), Plx::kResultOk);
        rig.start(512);
        const std::vector<float> out = rig.settle(1.0f, 512); // L R C LFE Ls Rs
        EXPECT_NEAR(out[2], 1.0f, 1e-6f);
        for (int o : {0, 1, 3, 4, 5}) EXPECT_NEAR(out[o], 0.0f, 1e-6f) << o;
        EXPECT_EQ(rig.allocations, 0);
        EXPECT_EQ(rig.locks, 0);
    }
    for (auto layout : {Layout::kStereo, Layout::kQuadro}) {
        // No C: the pair shares it at -3 dB each.
        PannerRig rig;
        ASSERT_EQ(rig.arrange(Layout::kMono, layout), Plx::kResultOk);
        rig.start(512);
        const std::vector<float> out = rig.settle(1.0f, 512);
        EXPECT_NEAR(out[0], kSqrtHalf, 1e-6f);
        EXPECT_NEAR(out[1], kSqrtHalf, 1e-6f);
        for (size_t o = 2; o < out.size(); ++o) EXPECT_NEAR(out[o], 0.0f, 1e-6f);
    }
    {
        // A stereo image at its defaults spans the front wall: L on L, R on R.
        PannerRig rig;
        ASSERT_EQ(rig.arrange(Layout::kStereo, Layout::k5_1), Plx::kResultOk);
        rig.start(256);
        Block<float> in(2, 256), out(6, 256);
        for (int channel = 0; channel < 2; ++channel) {
            std::fill(in.data[channel].begin(), in.data[channel].end(), 1.0f);
            std::fill(in.data[1 - channel].begin(), in.data[1 - channel].end(), 0.0f);
            for (int b = 0; b < 3; ++b) ASSERT_EQ(rig.process(in, out, 256), Plx::kResultOk);
            for (int o = 0; o < 6; ++o) EXPECT_NEAR(out.data[o][255], o == channel ? 1.0f : 0.0f, 1e-6f) << o;
        }
        EXPECT_EQ(rig.allocations, 0);
    }
}

TEST(PannerProcess, AnOrbitMovesThePowerWithoutStepsBeyondTheRamp) {
    PannerRig rig;
    ASSERT_EQ(rig.arrange(Layout::kMono, Layout::k5_0), Plx::kResultOk); // L R C Ls Rs
    rig.start(512);
    Block<float> in(1, 512), out(5, 512);
    in.fill(1.0f);
    std::vector<float> previous = rig.settle(1.0f, 512);
    float largestStep = 0.0f;
    auto run = [&] {
        ASSERT_EQ(rig.process(in, out, 512), Plx::kResultOk);
        for (int o = 0; o < 5; ++o) {
            float last = previous[o];
            for (float v : out.data[o]) {
                largestStep = std::max(largestStep, std::fabs(v - last));
                last = v;
            }
            previous[o] = last;
        }
    };
    // Half a turn around the middle of the room, from the front to the rear
    // through the right, over 4 blocks with a point every 64 samples.
    const int blocks = 4;
    for (int b = 0; b < blocks; ++b) {
        for (int t = 0; t < 512; t += 64) {
            const double turn = 0.5 * (b * 512 + t + 64) / (blocks * 512.0);
            rig.automate(kPosX, 0.5 + 0.5 * std::sin(2 * M_PI * turn), t + 63);
            rig.automate(kPosY, 0.5 - 0.5 * std::cos(2 * M_PI * turn), t + 63);
        }
        run();
        if (b == 1) {
            // A quarter turn: at the right wall, between R and Rs.
            EXPECT_LT(previous[2], 0.05f);
            EXPECT_GT(previous[1] + previous[4], 1.0f);
        }
    }
    // At the rear wall, in the middle: Ls and Rs at -3 dB, the power kept.
    for (int b = 0; b < 2; ++b) run();
    EXPECT_NEAR(previous[3], kSqrtHalf, 1e-5f);
    EXPECT_NEAR(previous[4], kSqrtHalf, 1e-5f);
    EXPECT_NEAR(sumSquares(previous), 1.0f, 1e-5f);
    EXPECT_LE(largestStep, kMaxRampStep * 1.0001f);
    // A jump back to the front: the gains ramp at the largest step allowed.
    rig.automate(kPosY, 0.0);
    for (int b = 0; b < 2; ++b) run();
    EXPECT_LE(largestStep, kMaxRampStep * 1.0001f);
    EXPECT_GT(largestStep, kMaxRampStep * 0.9f);
    EXPECT_NEAR(previous[2], 1.0f, 1e-5f);
    EXPECT_EQ(rig.allocations, 0);
    EXPECT_EQ(rig.locks, 0);
}

TEST(PannerProcess, ElevationPatternsOverridePosZ) {
    PannerRig rig;
    ASSERT_EQ(rig.arrange(Layout::kMono, Layout::k7_1_4), Plx::kResultOk);
    rig.start(512);
    const std::vector<float> floor = rig.settle(1.0f, 512);
    rig.automate(kPosZ, 1.0);
    const std::vector<float> raised = rig.settle(1.0f, 512);
    // Without a pattern the height moves the source up to the top layer.
    float topBefore = 0.0f, topAfter = 0.0f;
    for (int o = 8; o < 12; ++o) {
        topBefore += floor[o] * floor[o];
        topAfter += raised[o] * raised[o];
    }
    EXPECT_NEAR(topBefore, 0.0f, 1e-6f);
    EXPECT_GT(topAfter, 0.5f);
    EXPECT_NEAR(sumSquares(raised), 1.0f, 1e-5f);

    // With a pattern the height follows the pattern; posZ changes nothing.
    for (int mode = 1; mode <= 7; ++mode) {
        rig.automate(kElevationMode, mode / 7.0);
        const std::vector<float> held = rig.settle(1.0f, 512);
        for (double z : {0.0, 0.3, 1.0}) {
            rig.automate(kPosZ, z);
            const std::vector<float> after = rig.settle(1.0f, 512);
            for (size_t o = 0; o < held.size(); ++o)
                ASSERT_EQ(after[o], held[o]) << mode << " " << z << " " << o;
        }
    }
    EXPECT_EQ(rig.allocations, 0);
}

TEST(PannerProcess, AmbisonicOutputIsTheEncodersHarmonicsTimesTheSignal) {
    for (auto layout : {Layout::kAmbi1, Layout::kAmbi3}) {
        PannerRig rig;
        ASSERT_EQ(rig.arrange(Layout::kMono, layout), Plx::kResultOk);
        rig.start(256);
        const int channels = Plx::channelCount(layout);
        rig.automate(kDistanceScale, 9.0 / 49.0); // 10 m
        rig.automate(kPosX, 0.2);
        rig.automate(kPosY, 0.3);
        const std::vector<float> out = rig.settle(0.5f, 256);
        // The source's centred place: posZ starts at the ear for an
        // ambisonic output, and a mono image sits at its centre.
        Panner::ObjectAmbiEncoder encoder;
        encoder.setDistance(10.0f);
        Mix::MixMatrix row;
        row.allocate(1, channels);
        encoder.encode(0.2f - 0.5f, 0.3f - 0.5f, 0.0f, row, 0, false);
        for (int k = 0; k < channels; ++k) EXPECT_NEAR(out[k], 0.5f * row.at(0, k), 1e-6f) << k;
        EXPECT_GT(std::fabs(out[1]), 1e-3f); // the source is off the centre: Y carries it
        EXPECT_EQ(rig.allocations, 0);
    }
}

// Joins the rig's instance to bus 0 through the controller, as a user does in
// the editor: object mode on, the list opened, the bus chosen.
void joinFirstBus(PannerRig& rig) {
    rig.automate(kObjectSwitch, 1.0);
    rig.controller->setParamNormalized(kSelectionClick, 1.0);
    rig.controller->setParamNormalized(kBusSelection, 1.0);
}

TEST(PannerProcess, ObjectModeSteersTheBusAndSilencesTheBed) {
    PannerRig rig;
    Host::RecordingObjectsBus& bus = rig.buses->addBus(u"Objects 1-2", 2);
    ASSERT_EQ(rig.arrange(Layout::kStereo, Layout::k5_1), Plx::kResultOk);
    rig.start(512);
    joinFirstBus(rig);
    ASSERT_EQ(rig.buses->getConnectedBus(rig.controller), 0);
    rig.tellProcessor("inputVuMeter", "inputVuMeter", 1);

    // The objects carry the sound: every output sample is 0, the input meters run.
    Block<float> in(2, 512), out(6, 512);
    in.fill(0.25f);
    out.fill(1.0f);
    bus.clearCalls();
    // posX sweeps across the block: two slices, each with its own change.
    rig.automate(kPosX, 0.0, 0);
    rig.automate(kPosX, 1.0, 511);
    ASSERT_EQ(rig.process(in, out, 512), Plx::kResultOk);
    for (const auto& ch : out.data)
        for (float v : ch) ASSERT_EQ(v, 0.0f);
    // The switch reached the processor with the block: the objects are driven.
    EXPECT_TRUE(bus.state(0).enabled);
    EXPECT_TRUE(bus.state(1).enabled);
    EXPECT_EQ(bus.count(ObjectCall::kPosition, 0), 2u);
    EXPECT_EQ(bus.count(ObjectCall::kPosition, 1), 2u);
    // At the right wall: on a stage of 2 the image's left channel stands at
    // the wall, and the right one beyond it, held at the wall.
    EXPECT_NEAR(bus.state(0).x, 1.0f, 1e-5f);
    EXPECT_NEAR(bus.state(1).x, 1.0f, 1e-5f);
    // The input meters run on: a peak of 0.25 within the meters' interval.
    bool inputMeter = false;
    for (int b = 0; b < 4 && !inputMeter; ++b) {
        ASSERT_EQ(rig.process(in, out, 512), Plx::kResultOk);
        for (int32_t q = 0; q < rig.outChanges->getParameterCount(); ++q) {
            Plx::IParamValueQueue* queue = rig.outChanges->getParameterData(q);
            int32_t offset = 0;
            double value = 0.0;
            if (queue->getParameterId() == 407 && queue->getPoint(0, &offset, &value) == Plx::kResultOk)
                inputMeter = std::fabs(value - 0.25) < 1e-6;
        }
    }
    EXPECT_TRUE(inputMeter);
    EXPECT_NEAR(bus.state(0).y, 1.0f, 1e-5f); // front
    // Two position controls in one slice make one update.
    bus.clearCalls();
    rig.automate(kPosX, 0.5);
    rig.automate(kPosY, 0.4);
    ASSERT_EQ(rig.process(in, out, 256), Plx::kResultOk);
    EXPECT_EQ(bus.count(ObjectCall::kPosition), 2u);
    // A block without changes moves nothing.
    bus.clearCalls();
    ASSERT_EQ(rig.process(in, out, 512), Plx::kResultOk);
    EXPECT_EQ(bus.count(ObjectCall::kPosition), 0u);
    // Position touch from the editor reaches the objects.
    rig.controller->setParamNormalized(kPosX, 0.5);
    EXPECT_EQ(rig.allocations, 0);
    EXPECT_EQ(rig.locks, 0);

    // The bus vanishes: nothing more is sent, and the speakers carry the
    // sound again.
    rig.buses->loseBus(0);
    bus.clearCalls();
    rig.automate(kPosX, 0.1);
    for (int b = 0; b < 3; ++b) ASSERT_EQ(rig.process(in, out, 512), Plx::kResultOk);
    EXPECT_TRUE(bus.calls().empty());
    EXPECT_GT(std::fabs(out.data[0][511]), 0.1f);
}

TEST(PannerProcess, ABusWithFewerObjectsThanChannelsTakesTheFirstChannels) {
    PannerRig rig;
    Host::RecordingObjectsBus& bus = rig.buses->addBus(u"One object", 1);
    ASSERT_EQ(rig.arrange(Layout::kStereo, Layout::k5_1), Plx::kResultOk);
    rig.start(256);
    joinFirstBus(rig);
    Block<float> in(2, 256), out(6, 256);
    in.fill(0.5f);
    rig.automate(kPosX, 0.3);
    ASSERT_EQ(rig.process(in, out, 256), Plx::kResultOk);
    EXPECT_EQ(bus.count(ObjectCall::kPosition, 0), 1u);
    EXPECT_EQ(bus.dropped(), 0u);
    for (const auto& ch : out.data) EXPECT_EQ(ch[255], 0.0f);
}

} // namespace
} // namespace PannerTest

namespace PannerTest {
namespace {

TEST(PannerProcess, BadValuesAndRequestsGetTheirAnswersAndNeverANaN) {
    PannerRig rig;
    // An ambisonic input isn't a source the panner places: refused, and the
    // input it keeps is a speaker layout.
    EXPECT_EQ(rig.arrange(Layout::kAmbi1, Layout::k5_1), Plx::kResultFalse);
    Plx::SpeakerArrangement in = 0;
    ASSERT_EQ(rig.processor->getBusArrangement(Plx::kInput, 0, &in), Plx::kResultOk);
    EXPECT_FALSE(Plx::isAmbisonicLayout(in));
    ASSERT_EQ(rig.arrange(Layout::kMono, Layout::k7_1_4), Plx::kResultOk);
    rig.start(256);
    Block<float> source(1, 256), out(12, 256);
    source.fill(0.5f);
    // Every value a broken automation lane can carry, on every control of the
    // image: each is held or clamped, and the mono source keeps its power
    // wherever it ends up (0.5 squared over the speakers).
    const double bad[] = {std::nan(""), -3.0, 7.0, INFINITY, -INFINITY, 1e300};
    const ParamID image[] = {kPosX, kPosY, kPosZ, 102, 103, 104, 105, 111, 117, 200, 201, 202, 9999};
    for (double value : bad) {
        for (ParamID id : image) rig.automate(id, value, 17);
        for (int b = 0; b < 3; ++b) ASSERT_EQ(rig.process(source, out, 256), Plx::kResultOk);
        float power = 0.0f;
        for (const auto& channel : out.data) {
            for (float v : channel) ASSERT_TRUE(std::isfinite(v)) << value;
            power += channel[255] * channel[255];
        }
        EXPECT_NEAR(power, 0.25f, 1e-5f) << value;
    }
    EXPECT_EQ(rig.allocations, 0);
    EXPECT_EQ(rig.locks, 0);
}

} // namespace
} // namespace PannerTest
