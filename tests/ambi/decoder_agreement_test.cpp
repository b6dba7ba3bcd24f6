// SphereDecoder's two halves connected through the host stay in agreement
// under a long random mix of host automation, editor edits, mode toggles,
// output and order changes, focus switches, head-tracker reports and project
// reloads: at regular checks the processor's state matches the controller's
// values, and its audio matches that of a fresh processor given the
// controller's values directly.
#include <gtest/gtest.h>

#include <random>

#include "ambi/ambi_messages.h"
#include "ambi/ambi_params.h"
#include "ambi/ambi_state.h"
#include "ambi/decoder_arrangements.h"
#include "host/lib/memory_stream.h"
#include "tests/ambi/decoder_rig.h"

using namespace DecoderTest;
namespace Layout = Tannhofen::Plx::Layout;
namespace Msg = Tannhofen::AmbiBin::Msg;
namespace ParamId = Tannhofen::AmbiBin::ParamId;
namespace ControlId = Tannhofen::AmbiBin::ControlId;

namespace {

constexpr uint32_t kBlock = 128;

// The host parameters that reach the processor in the block.
constexpr Plx::ParamID kAudioParams[] = {110, 111, 112, 130, 131, 132, 134, 135, 136, 137, 138, 139};

bool isSwitch(Plx::ParamID id) {
    return id == 132 || id == 134 || id == 139;
}

bool readOnly(DecoderRig& rig, Plx::ParamID id) {
    Plx::ParameterInfo info{};
    rig.controller->getParameterInfo(id, &info);
    return info.flags & Plx::ParameterInfo::kIsReadOnly;
}

AmbiBin::ProcessorState processorState(DecoderRig& rig) {
    IPtr<Host::MemoryStream> s = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(rig.saveState()));
    AmbiBin::ProcessorState state;
    EXPECT_TRUE(AmbiBin::readProcessorState(s.get(), state));
    return state;
}

void checkAgreement(DecoderRig& rig, int step) {
    SCOPED_TRACE("after step " + std::to_string(step));
    PlanarBlock<float> in = randomBlock<float>(16, kBlock, unsigned(step)), out(16, kBlock);
    const int ins = Plx::channelCount(rig.bus(Plx::kInput));
    const int outs = Plx::channelCount(rig.bus(Plx::kOutput));
    in.data.resize(size_t(ins));
    out.data.resize(size_t(outs));
    rig.process(in, out, kBlock); // pending edits reach the processor
    rig.process(in, out, kBlock); // and any fade is over

    auto value = [&](Plx::ParamID id) { return rig.controller->getParamNormalized(id); };
    const AmbiBin::ProcessorState s = processorState(rig);
    EXPECT_EQ(s.auxGain, value(ParamId::kAuxGain));
    EXPECT_EQ(s.lfeGain, value(ParamId::kLfeGain));
    EXPECT_EQ(s.lfeLowPass, value(ParamId::kLfeLowPass));
    EXPECT_EQ(s.focusAzimuth, value(ParamId::kFocusAzimuth));
    EXPECT_EQ(s.focusElevation, value(ParamId::kFocusElevation));
    EXPECT_EQ(s.focusSize, value(ParamId::kFocusSize));
    EXPECT_EQ(s.focusAttenuation, value(ParamId::kFocusAttenuation));
    EXPECT_EQ(s.focusOn, value(ParamId::kFocusOn));
    EXPECT_EQ(s.focusFollow, value(ParamId::kFocusFollow));
    EXPECT_EQ(s.stereoModeBinaural, value(ControlId::kStereoModeBinaural) == 1.0);
    EXPECT_EQ(value(ControlId::kStereoModeBinaural) + value(ControlId::kStereoModeSpeaker), 1.0);
    const int index = int(std::lround(value(ParamId::kOutputArr) * (AmbiBin::kDecoderOutputCount - 1)));
    EXPECT_EQ(AmbiBin::decoderOutputs()[size_t(index)], rig.bus(Plx::kOutput));
    // The editor describes the decoder the processor runs.
    const Seen* type = rig.last(Msg::kChangedAlgoType);
    ASSERT_NE(type, nullptr);
    const int64_t expected = rig.bus(Plx::kOutput) == Layout::kStereo && s.stereoModeBinaural ? 1
                             : AmbiBin::isAmbisonicArrangement(rig.bus(Plx::kOutput))         ? 3
                                                                                              : 2;
    EXPECT_EQ(type->ints.at(Msg::kChangedAlgoType), expected);
    EXPECT_EQ(rig.controller->getParamNormalized(ControlId::kGuiShowBinauralModeSelection),
              expected == 1 ? 1 : 0);
    int modes = 0;
    for (Plx::ParamID id = 803; id <= 807; ++id) modes += value(id) == 1.0;
    EXPECT_EQ(modes, 1);

    // The controller's values heard through a fresh processor sound the same,
    // once both have heard the same input long enough for filters and
    // convolutions to forget what came before.
    DecoderRig fresh({.controller = false});
    fresh.setup(48000, int(kBlock));
    ASSERT_EQ(fresh.loadState(rig.saveState()), Plx::kResultOk);
    fresh.arrange(rig.bus(Plx::kInput), rig.bus(Plx::kOutput));
    fresh.start();
    for (Plx::ParamID id : kAudioParams) fresh.changes->addChange(id, 0, value(id));
    PlanarBlock<float> mine(uint32_t(outs), kBlock), theirs(uint32_t(outs), kBlock);
    for (int block = 0; block < 24; ++block) {
        PlanarBlock<float> next = randomBlock<float>(uint32_t(ins), kBlock, unsigned(step * 31 + block));
        rig.process(next, mine, kBlock);
        fresh.process(next, theirs, kBlock);
    }
    for (int c = 0; c < outs; ++c)
        for (uint32_t f = 0; f < kBlock; ++f)
            ASSERT_NEAR(mine.data[c][f], theirs.data[c][f], 1e-5) << c << " " << f;
}

} // namespace

TEST(DecoderAgreement, TwoThousandEditsFromHostEditorAndTracker) {
    DecoderRig rig({.tracker = true});
    ASSERT_EQ(rig.setup(48000, int(kBlock)), Plx::kResultOk);
    rig.arrange(Layout::kAmbi3, Layout::kStereo);
    ASSERT_EQ(rig.syncController(), Plx::kResultOk);
    rig.serviceRestarts();
    rig.start();

    std::mt19937 rng(19);
    auto pick = [&rng](int n) { return int(std::uniform_int_distribution<int>(0, n - 1)(rng)); };
    auto unit = [&rng] { return std::uniform_real_distribution<double>(0, 1)(rng); };
    PlanarBlock<float> in = randomBlock<float>(16, kBlock, 5), out(24, kBlock);
    const SpeakerArrangement orders[] = {Layout::kAmbi1, Layout::kAmbi2, Layout::kAmbi3};

    constexpr int kSteps = 2000;
    for (int step = 1; step <= kSteps; ++step) {
        switch (pick(10)) {
        case 0: { // host automation of a parameter the host may write
            const Plx::ParamID id = kAudioParams[pick(12)];
            if (readOnly(rig, id)) break;
            const double v = isSwitch(id) ? pick(2) : unit();
            rig.changes->addChange(id, 0, v);
            rig.controller->setParamNormalized(id, v);
            break;
        }
        case 1: { // an editor edit: the controller takes it and tells the host
            const Plx::ParamID id = kAudioParams[pick(12)];
            if (readOnly(rig, id)) break;
            const double v = isSwitch(id) ? pick(2) : unit();
            rig.controller->setParamNormalized(id, v);
            rig.handler->performEdit(id, rig.controller->getParamNormalized(id));
            break;
        }
        case 2: // the stereo choice and the HRIR modes
            rig.controller->setParamNormalized(Plx::ParamID(pick(2) ? 800 : 801), 1.0);
            break;
        case 3: rig.controller->setParamNormalized(Plx::ParamID(803 + pick(5)), double(pick(2))); break;
        case 4: // an output chosen in the editor
            rig.controller->setParamNormalized(ParamId::kOutputArr,
                                               pick(AmbiBin::kDecoderOutputCount) /
                                                   double(AmbiBin::kDecoderOutputCount - 1));
            break;
        case 5: { // the host changes the input's order
            rig.stop();
            rig.arrange(orders[pick(3)], rig.bus(Plx::kOutput));
            rig.start();
            break;
        }
        case 6: // head tracking on or off, and reports
            if (pick(4) == 0) rig.controller->setParamNormalized(ParamId::kHeadTracking, double(pick(2)));
            rig.host.receiver->onHeadOrientation(float((unit() - 0.5) * 6.2), float((unit() - 0.5) * 3.1),
                                                 float((unit() - 0.5) * 6.2));
            break;
        case 7: { // the focus switches, in the editor
            const Plx::ParamID id = pick(2) ? 134 : 139;
            if (readOnly(rig, id)) break;
            rig.controller->setParamNormalized(id, double(pick(2)));
            rig.handler->performEdit(id, rig.controller->getParamNormalized(id));
            break;
        }
        case 8: { // a project reload: the processor's state into both halves
            const auto bytes = rig.saveState();
            rig.stop();
            ASSERT_EQ(rig.loadState(bytes), Plx::kResultOk);
            ASSERT_EQ(rig.syncController(), Plx::kResultOk);
            rig.start();
            break;
        }
        default: break;
        }
        rig.serviceRestarts();
        const uint32_t frames = uint32_t(1 + pick(int(kBlock)));
        in.data.resize(size_t(Plx::channelCount(rig.bus(Plx::kInput))), std::vector<float>(kBlock, 0.1f));
        out.data.resize(size_t(Plx::channelCount(rig.bus(Plx::kOutput))), std::vector<float>(kBlock));
        rig.process(in, out, frames);
        if (step % 100 == 0) checkAgreement(rig, step);
        if (HasFatalFailure()) return;
    }
}
