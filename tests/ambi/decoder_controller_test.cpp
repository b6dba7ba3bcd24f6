// SphereDecoder's controller through the module's exports, connected to its
// processor: the parameter table as the host reads it, text both ways by the
// level laws, the editor's views after each algorithm type, the radio groups
// and what they send, SOFA selection, focus enabling, head tracking, and the
// controller's side of state.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "ambi/ambi_bin_controller.h"
#include "ambi/ambi_messages.h"
#include "ambi/ambi_params.h"
#include "ambi/decoder_arrangements.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "tests/ambi/decoder_rig.h"

using namespace DecoderTest;
namespace Layout = Tannhofen::Plx::Layout;
namespace Msg = Tannhofen::AmbiBin::Msg;
namespace ParamId = Tannhofen::AmbiBin::ParamId;
namespace ControlId = Tannhofen::AmbiBin::ControlId;
using Tannhofen::Plx::ParameterInfo;

namespace {

int32_t flagsOf(DecoderRig& rig, Plx::ParamID id) {
    ParameterInfo info{};
    EXPECT_EQ(rig.controller->getParameterInfo(id, &info), Plx::kResultOk) << id;
    return info.flags;
}

bool readOnly(DecoderRig& rig, Plx::ParamID id) {
    return (flagsOf(rig, id) & ParameterInfo::kIsReadOnly) != 0;
}

std::u16string text(DecoderRig& rig, Plx::ParamID id, double v) {
    char16_t out[128] = {};
    EXPECT_EQ(rig.controller->getParamStringByValue(id, v, out), Plx::kResultOk) << id;
    return out;
}

std::u16string text(DecoderRig& rig, Plx::ParamID id) {
    return text(rig, id, rig.controller->getParamNormalized(id));
}

double valueOf(DecoderRig& rig, Plx::ParamID id, const std::u16string& s) {
    double v = -1;
    EXPECT_EQ(rig.controller->getParamValueByString(id, s.c_str(), &v), Plx::kResultOk) << id;
    return v;
}

double on(DecoderRig& rig, Plx::ParamID id) {
    return rig.controller->getParamNormalized(id);
}

double outputValue(SpeakerArrangement arrangement) {
    return AmbiBin::decoderOutputIndex(arrangement) / double(AmbiBin::kDecoderOutputCount - 1);
}

// A decoder whose controller has seen the processor's state and first buses.
void connect(DecoderRig& rig, SpeakerArrangement in, SpeakerArrangement out) {
    ASSERT_EQ(rig.setup(48000, 256), Plx::kResultOk);
    rig.arrange(in, out);
    ASSERT_EQ(rig.syncController(), Plx::kResultOk);
    rig.handler->clear();
}

} // namespace

TEST(DecoderControllerTable, FlagsReachTheHostAsTheRowsSay) {
    DecoderRig rig;
    ASSERT_EQ(rig.controller->getParameterCount(), 56);
    ParameterInfo info{};
    ASSERT_EQ(rig.controller->getParameterInfoByIndex(0, &info), Plx::kResultOk);
    EXPECT_EQ(info.id, 123u);
    EXPECT_EQ(std::u16string(info.title), u"Head Tracking");
    EXPECT_EQ(std::u16string(info.shortTitle), u"HT");
    // Meters are read-only and never automated.
    for (Plx::ParamID id : {200u, 223u, 300u, 600u, 615u, 700u}) {
        EXPECT_EQ(flagsOf(rig, id), ParameterInfo::kIsReadOnly) << id;
        ASSERT_EQ(rig.controller->getParameterInfo(id, &info), Plx::kResultOk);
        EXPECT_EQ(std::u16string(info.units), u"dB");
    }
    EXPECT_EQ(rig.controller->getParameterInfo(224, &info), Plx::kResultFalse);
    EXPECT_EQ(rig.controller->getParameterInfo(616, &info), Plx::kResultFalse);
    // Yaw and roll wrap around, pitch doesn't; with no tracker all three are automated.
    EXPECT_EQ(flagsOf(rig, ParamId::kYaw), ParameterInfo::kCanAutomate | ParameterInfo::kIsWrapAround);
    EXPECT_EQ(flagsOf(rig, ParamId::kRoll), ParameterInfo::kCanAutomate | ParameterInfo::kIsWrapAround);
    EXPECT_EQ(flagsOf(rig, ParamId::kPitch), ParameterInfo::kCanAutomate);
    EXPECT_EQ(flagsOf(rig, ParamId::kAuxGain), ParameterInfo::kCanAutomate);
    // The output list: fourteen entries, "Stereo" last and the default.
    ASSERT_EQ(rig.controller->getParameterInfo(ParamId::kOutputArr, &info), Plx::kResultOk);
    EXPECT_EQ(info.stepCount, 13);
    EXPECT_EQ(info.flags, ParameterInfo::kIsList);
    EXPECT_EQ(text(rig, ParamId::kOutputArr), u"Stereo");
    EXPECT_EQ(text(rig, ParamId::kOutputArr, 0.0), u"Mono");
    EXPECT_EQ(valueOf(rig, ParamId::kOutputArr, u"7.1.4"), outputValue(Layout::k7_1_4));
    // The editor's controls answer by id but are not the host's parameters.
    EXPECT_EQ(rig.controller->getParameterInfo(ControlId::kStereoModeBinaural, &info), Plx::kResultOk);
    EXPECT_EQ(on(rig, ControlId::kModeStandard), 1.0);
    EXPECT_EQ(text(rig, ControlId::kSofaFileNameString), u"Select SOFA File");
}

TEST(DecoderControllerText, LevelsAnglesAndMetersBothWays) {
    DecoderRig rig;
    // Levels: 20 log10(v^1.9433582098747315), "-oo dB" at 0.0001 and below.
    EXPECT_EQ(text(rig, ParamId::kAuxGain, 0.0), u"-oo dB");
    EXPECT_EQ(text(rig, ParamId::kLfeGain, 0.0001), u"-oo dB");
    EXPECT_EQ(text(rig, ParamId::kAuxGain, 1.0), u"0.00 dB");
    EXPECT_EQ(text(rig, ParamId::kAuxGain, 0.5), u"-11.70 dB"); // 1.94336 * -6.0206
    // The attenuation reads the same law on 0.6557 v + 0.3443: about -18 dB at 0.
    EXPECT_EQ(text(rig, ParamId::kFocusAttenuation, 0.0), u"-18.00 dB");
    EXPECT_EQ(text(rig, ParamId::kFocusAttenuation, 1.0), u"0.00 dB");
    // Back from text: a positive number counts as negative.
    EXPECT_NEAR(valueOf(rig, ParamId::kAuxGain, u"-6 dB"), 0.7008548, 1e-7); // 0.501187^0.514573
    EXPECT_NEAR(valueOf(rig, ParamId::kAuxGain, u"6"), 0.7008548, 1e-7);
    EXPECT_EQ(valueOf(rig, ParamId::kLfeGain, u"-oo dB"), 0.0);
    EXPECT_NEAR(valueOf(rig, ParamId::kFocusAttenuation, u"0 dB"), 1.0, 1e-12);
    EXPECT_EQ(valueOf(rig, ParamId::kFocusAttenuation, u"-40 dB"), 0.0);
    for (double v : {0.05, 0.3, 0.77, 1.0}) {
        EXPECT_NEAR(valueOf(rig, ParamId::kLfeGain, text(rig, ParamId::kLfeGain, v)), v, 2e-3 * v) << v;
        EXPECT_NEAR(valueOf(rig, ParamId::kFocusAttenuation, text(rig, ParamId::kFocusAttenuation, v)), v,
                    2e-3);
    }
    // Angles over their own range, with the degree sign.
    EXPECT_EQ(text(rig, ParamId::kYaw, 0.25), u"-90.0 \u00B0");
    EXPECT_EQ(text(rig, ParamId::kPitch, 1.0), u"90.0 \u00B0");
    EXPECT_EQ(text(rig, ParamId::kFocusSize, 0.0), u"45.0 \u00B0");
    EXPECT_NEAR(valueOf(rig, ParamId::kFocusElevation, u"45 \u00B0"), 0.75, 1e-12);
    // Meters carry the linear peak and read in decibels within -60 to +3.
    EXPECT_EQ(text(rig, ParamId::kOutputMeterFirst, 1.0), u"0.0");
    EXPECT_EQ(text(rig, ParamId::kInputMeterMax, 0.5), u"-6.0");
    EXPECT_EQ(text(rig, ParamId::kOutputMeterMax, 0.0), u"-60.0");
    EXPECT_NEAR(rig.controller->plainParamToNormalized(ParamId::kOutputMeterFirst, -20), 0.1, 1e-12);
}

TEST(DecoderControllerViews, EachAlgorithmTypeShowsItsControls) {
    DecoderRig rig;
    connect(rig, Layout::kAmbi1, Layout::kStereo);
    rig.start(); // binaural
    EXPECT_EQ(text(rig, ControlId::kDecoderModeString), u"1st Order Ambisonics > Stereo (Binaural)");
    EXPECT_EQ(on(rig, ControlId::kGuiShowAuxGain), 1.0);
    EXPECT_EQ(on(rig, ControlId::kGuiShowBinauralModeSelection), 1.0);
    EXPECT_EQ(on(rig, ControlId::kGuiShowNotCompatible), 0.0);
    EXPECT_FALSE(readOnly(rig, ControlId::kStereoModeSpeaker));
    EXPECT_FALSE(readOnly(rig, ParamId::kAuxGain));
    EXPECT_TRUE(readOnly(rig, ParamId::kLfeGain));
    EXPECT_TRUE(readOnly(rig, ParamId::kLfeLowPass));
    EXPECT_FALSE(readOnly(rig, ControlId::kModeYoutube)); // first order only
    EXPECT_TRUE(readOnly(rig, ControlId::kModeFacebook));
    rig.stop();
    rig.handler->clear();

    // Speakers: the LFE controls, no stereo choice beyond "Stereo".
    rig.arrange(Layout::kAmbi3, Layout::k5_1);
    rig.start();
    EXPECT_EQ(text(rig, ControlId::kDecoderModeString), u"3rd Order Ambisonics > 5.1");
    EXPECT_EQ(on(rig, ControlId::kGuiShowAuxGain), 1.0);
    EXPECT_EQ(on(rig, ControlId::kGuiShowBinauralModeSelection), 0.0);
    EXPECT_FALSE(readOnly(rig, ParamId::kLfeGain));
    EXPECT_TRUE(readOnly(rig, ControlId::kStereoModeBinaural));
    EXPECT_EQ(flagsOf(rig, ParamId::kLfeGain), ParameterInfo::kCanAutomate); // enabled again as its row says
    EXPECT_NE(std::find(rig.handler->restarts.begin(), rig.handler->restarts.end(), Plx::kParamTitlesChanged),
              rig.handler->restarts.end());
    rig.stop();

    // Ambisonics: no aux, no LFE, no stereo choice; not compatible: only 814.
    rig.arrange(Layout::kAmbi2, Layout::kAmbi3);
    rig.start();
    EXPECT_EQ(on(rig, ControlId::kGuiShowAuxGain), 0.0);
    EXPECT_TRUE(readOnly(rig, ParamId::kAuxGain));
    rig.stop();
    rig.arrange(Layout::kAmbi2, Layout::k7_1Cine);
    rig.start();
    EXPECT_EQ(on(rig, ControlId::kGuiShowNotCompatible), 1.0);
    EXPECT_EQ(on(rig, ControlId::kGuiShowAuxGain), 0.0);
    EXPECT_EQ(on(rig, ControlId::kGuiShowBinauralModeSelection), 0.0);
}

TEST(DecoderControllerRadios, ModesAndStereoChoiceSendOnceAndRestart) {
    DecoderRig rig;
    connect(rig, Layout::kAmbi1, Layout::kStereo);
    rig.messages.clear();
    // Stereo on speakers: one message, one restart; the mode in force can't be switched off.
    EXPECT_EQ(rig.controller->setParamNormalized(ControlId::kStereoModeSpeaker, 1.0), Plx::kResultOk);
    ASSERT_EQ(rig.seen(Msg::kStereoModeBinaural, false).size(), 1u);
    EXPECT_EQ(rig.last(Msg::kStereoModeBinaural, false)->ints.at(Msg::kStereoModeBinaural), 0);
    EXPECT_EQ(on(rig, ControlId::kStereoModeBinaural), 0.0);
    EXPECT_EQ(rig.handler->restarts, (std::vector<int32_t>{Plx::kLatencyChanged}));
    rig.controller->setParamNormalized(ControlId::kStereoModeSpeaker, 0.0);
    EXPECT_EQ(on(rig, ControlId::kStereoModeSpeaker), 1.0);
    EXPECT_EQ(rig.seen(Msg::kStereoModeBinaural, false).size(), 1u);

    // HRIR modes: one on clears the others and sends its mode.
    rig.handler->clear();
    rig.controller->setParamNormalized(ControlId::kModeYoutube, 1.0);
    EXPECT_EQ(rig.last(Msg::kHrirModeChanged, false)->ints.at(Msg::kHrirModeChanged), 2);
    EXPECT_EQ(on(rig, ControlId::kModeStandard), 0.0);
    EXPECT_EQ(rig.handler->restarts, (std::vector<int32_t>{Plx::kLatencyChanged}));
    rig.controller->setParamNormalized(ControlId::kModeYoutube, 0.0);
    EXPECT_EQ(on(rig, ControlId::kModeYoutube), 1.0);
    // The processor's report of the mode in force moves the radio and sends nothing.
    const size_t sent = rig.messages.size();
    IPtr<Host::HostMessage> report = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    report->setMessageID(Msg::kHrirMode);
    report->getAttributes()->setInt(Msg::kHrirMode, 1);
    EXPECT_EQ(rig.controllerPoint->notify(report.get()), Plx::kResultOk);
    EXPECT_EQ(on(rig, ControlId::kModeStandard), 1.0);
    EXPECT_EQ(on(rig, ControlId::kModeYoutube), 0.0);
    EXPECT_EQ(rig.messages.size(), sent);
    // SOFA mode is disabled until a file is known.
    EXPECT_EQ(rig.controller->setParamNormalized(ControlId::kModeSofa, 1.0), Plx::kResultFalse);
    EXPECT_EQ(on(rig, ControlId::kModeSofa), 0.0);
}

TEST(DecoderControllerSofa, SelectorMessagesAndTheFileThatIsGone) {
    DecoderRig rig({.selector = true});
    connect(rig, Layout::kAmbi3, Layout::kStereo);
    rig.messages.clear();
    // The user cancels: nothing happens, the button springs back.
    rig.controller->setParamNormalized(ControlId::kLoadSofa, 1.0);
    EXPECT_EQ(rig.host.selectorTitle, u"Select a SOFA file");
    EXPECT_TRUE(rig.messages.empty());
    EXPECT_EQ(on(rig, ControlId::kLoadSofa), 0.0);
    // A file chosen: its name, then the mode, then the restart.
    rig.host.chosenFile = u"/data/Head \u00E9.sofa";
    rig.controller->setParamNormalized(ControlId::kLoadSofa, 1.0);
    ASSERT_EQ(rig.messages.size(), 2u);
    EXPECT_EQ(rig.messages[0].id, Msg::kSofaFileChanged);
    EXPECT_EQ(rig.messages[0].strings.at(Msg::kFilename), u"/data/Head \u00E9.sofa");
    EXPECT_EQ(rig.messages[1].ints.at(Msg::kHrirModeChanged), 3);
    EXPECT_EQ(on(rig, ControlId::kModeSofa), 1.0);
    EXPECT_EQ(on(rig, ControlId::kLoadSofa), 0.0);
    // The processor names a file that exists, and one that is gone.
    auto name = [&](const std::u16string& file) {
        IPtr<Host::HostMessage> m = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
        m->setMessageID(Msg::kSofaName);
        m->getAttributes()->setString(Msg::kSofaName, file.c_str());
        return rig.controllerPoint->notify(m.get());
    };
    const std::string kemar = PLX_KEMAR_SOFA;
    if (!kemar.empty()) {
        EXPECT_EQ(name(std::u16string(kemar.begin(), kemar.end())), Plx::kResultOk);
        EXPECT_EQ(text(rig, ControlId::kSofaFileNameString), std::u16string(kemar.begin(), kemar.end()));
        EXPECT_FALSE(readOnly(rig, ControlId::kModeSofa));
    }
    name(u"/no/such/file.SOFA");
    EXPECT_EQ(text(rig, ControlId::kSofaFileNameString), u"Select SOFA File");
    EXPECT_TRUE(readOnly(rig, ControlId::kModeSofa));

    // The menu: entry 1 opens the selector like the button.
    rig.messages.clear();
    rig.host.chosenFile = u"/data/other.sofa";
    ParameterInfo info{};
    ASSERT_EQ(rig.controller->getParameterInfo(ControlId::kSofaSelectorMenu, &info), Plx::kResultOk);
    ASSERT_GE(info.stepCount, 1);
    EXPECT_EQ(text(rig, ControlId::kSofaSelectorMenu, 1.0 / info.stepCount), u"Load SOFA File...");
    rig.controller->setParamNormalized(ControlId::kSofaSelectorMenu, 1.0 / info.stepCount);
    ASSERT_FALSE(rig.seen(Msg::kSofaFileChanged, false).empty());
    EXPECT_EQ(rig.last(Msg::kSofaFileChanged, false)->strings.at(Msg::kFilename), u"/data/other.sofa");
    EXPECT_EQ(on(rig, ControlId::kSofaSelectorMenu), 0.0);

    // Without a selector the button does nothing.
    DecoderRig plain;
    connect(plain, Layout::kAmbi3, Layout::kStereo);
    plain.messages.clear();
    plain.controller->setParamNormalized(ControlId::kLoadSofa, 1.0);
    EXPECT_TRUE(plain.messages.empty());
    EXPECT_EQ(on(plain, ControlId::kLoadSofa), 0.0);
}

TEST(DecoderControllerOutput, ChosenOutputGoesThroughTheRestart) {
    DecoderRig rig;
    connect(rig, Layout::kAmbi3, Layout::kStereo);
    rig.start();
    rig.messages.clear();
    rig.controller->setParamNormalized(ParamId::kOutputArr, outputValue(Layout::k7_1_4) + 0.01);
    EXPECT_DOUBLE_EQ(on(rig, ParamId::kOutputArr), outputValue(Layout::k7_1_4));
    ASSERT_EQ(rig.seen(Msg::kRequestedOutputArrangement, false).size(), 1u);
    EXPECT_EQ(rig.handler->restarts, (std::vector<int32_t>{Plx::kIoChanged}));
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::kStereo); // running: the bus waits
    rig.serviceRestarts();
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::k7_1_4);
    EXPECT_EQ(text(rig, ControlId::kDecoderModeString), u"3rd Order Ambisonics > 7.1.4");
    // The same choice again sends nothing; the host's own change shows in the list.
    rig.controller->setParamNormalized(ParamId::kOutputArr, outputValue(Layout::k7_1_4));
    EXPECT_EQ(rig.seen(Msg::kRequestedOutputArrangement, false).size(), 1u);
    rig.stop();
    rig.arrange(Layout::kAmbi3, Layout::k5_1);
    EXPECT_DOUBLE_EQ(on(rig, ParamId::kOutputArr), outputValue(Layout::k5_1));
    rig.controller->setParamNormalized(ParamId::kOutputArr, outputValue(Layout::k7_1_4));
    EXPECT_EQ(rig.seen(Msg::kRequestedOutputArrangement, false).size(), 2u);
}

TEST(DecoderControllerFocus, SwitchesEnableTheirParameters) {
    DecoderRig rig;
    connect(rig, Layout::kAmbi3, Layout::kAmbi3);
    const Plx::ParamID focusIds[] = {135, 136, 137, 138, 139};
    for (Plx::ParamID id : focusIds) EXPECT_TRUE(readOnly(rig, id)) << id; // the processor's focus is off
    rig.controller->setParamNormalized(ParamId::kFocusOn, 1.0);
    EXPECT_FALSE(readOnly(rig, ParamId::kFocusSize));
    EXPECT_FALSE(readOnly(rig, ParamId::kFocusFollow));
    EXPECT_TRUE(readOnly(rig, ParamId::kFocusAzimuth)); // following the head
    EXPECT_EQ(rig.handler->restarts, (std::vector<int32_t>{Plx::kParamTitlesChanged}));
    rig.controller->setParamNormalized(ParamId::kFocusFollow, 0.0);
    EXPECT_EQ(flagsOf(rig, ParamId::kFocusAzimuth), ParameterInfo::kIsWrapAround);
    rig.controller->setParamNormalized(ParamId::kFocusAzimuth, 0.1);
    rig.controller->setParamNormalized(ParamId::kFocusElevation, 0.9);
    // Following the head again: the direction is set to straight ahead, as edits.
    rig.handler->clear();
    rig.controller->setParamNormalized(ParamId::kFocusFollow, 1.0);
    EXPECT_EQ(on(rig, ParamId::kFocusAzimuth), 0.5);
    EXPECT_EQ(on(rig, ParamId::kFocusElevation), 0.5);
    std::vector<Plx::ParamID> performed;
    for (const auto& e : rig.handler->edits)
        if (e.kind == Host::ComponentHandler::EditKind::Perform) performed.push_back(e.id);
    EXPECT_EQ(performed, (std::vector<Plx::ParamID>{135, 136}));
    EXPECT_TRUE(readOnly(rig, ParamId::kFocusElevation));
    rig.controller->setParamNormalized(ParamId::kFocusOn, 0.0);
    for (Plx::ParamID id : focusIds) EXPECT_TRUE(readOnly(rig, id)) << id;
}

TEST(DecoderControllerTracking, TrackerDrivesTheRotationAsOneGroupEdit) {
    {
        DecoderRig rig({.tracker = true});
        connect(rig, Layout::kAmbi1, Layout::kAmbi1);
        ASSERT_NE(rig.host.receiver, nullptr);
        // Reports while the tracking switch is off are kept, not applied.
        rig.host.receiver->onHeadOrientation(1.0f, 0.0f, 0.0f);
        EXPECT_TRUE(rig.handler->edits.empty());
        rig.controller->setParamNormalized(ParamId::kHeadTracking, 1.0);
        for (Plx::ParamID id : {110u, 111u, 112u}) EXPECT_TRUE(readOnly(rig, id));
        EXPECT_EQ(flagsOf(rig, ParamId::kYaw), ParameterInfo::kIsReadOnly | ParameterInfo::kIsWrapAround);
        rig.host.receiver->onHeadOrientation(float(M_PI / 2), float(-M_PI / 4), float(-M_PI));
        std::vector<std::pair<Plx::ParamID, double>> performed;
        for (const auto& e : rig.handler->edits)
            if (e.kind == Host::ComponentHandler::EditKind::Perform) performed.push_back({e.id, e.value});
        ASSERT_EQ(performed.size(), 3u);
        EXPECT_EQ(performed[0].first, 111u);
        EXPECT_NEAR(performed[0].second, 0.25, 1e-7);
        EXPECT_EQ(performed[1].first, 112u);
        EXPECT_LT(std::min(performed[1].second, 1 - performed[1].second), 1e-7); // -180 degrees wraps
        EXPECT_EQ(performed[2].first, 110u);
        EXPECT_NEAR(performed[2].second, 0.75, 1e-7);
        EXPECT_EQ(rig.handler->openGroupEdits, 0);
        // The edits reach the processor as the same angles sent by a host would.
        rig.start();
        DecoderRig reference;
        connect(reference, Layout::kAmbi1, Layout::kAmbi1);
        reference.start();
        for (const auto& [id, value] : performed) reference.changes->addChange(id, 0, value);
        PlanarBlock<float> in = randomBlock<float>(4, 256, 21), out(4, 256), expected(4, 256);
        for (int block = 0; block < 2; ++block) {
            rig.process(in, out, 256);
            reference.process(in, expected, 256);
        }
        EXPECT_EQ(out.data, expected.data);
        EXPECT_GT(std::fabs(out.data[1][200] - in.data[1][200]), 1e-3); // and they turn the field
        // The controller's state keeps the link.
        IPtr<Host::MemoryStream> saved = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
        ASSERT_EQ(rig.controller->getState(saved.get()), Plx::kResultOk);
        EXPECT_EQ(saved->bytes().size(), 4u + 24u + 4u);
        rig.controller->setParamNormalized(ParamId::kHeadTracking, 0.0);
        EXPECT_EQ(flagsOf(rig, ParamId::kPitch), ParameterInfo::kCanAutomate);
        saved->rewind();
        ASSERT_EQ(rig.controller->setState(saved.get()), Plx::kResultOk);
        EXPECT_EQ(on(rig, ParamId::kHeadTracking), 1.0);
        EXPECT_TRUE(readOnly(rig, ParamId::kPitch));
        std::vector<uint8_t> cut(saved->bytes().begin(), saved->bytes().end() - 1);
        IPtr<Host::MemoryStream> truncated = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(cut));
        EXPECT_EQ(rig.controller->setState(truncated.get()), Plx::kResultFalse);
        rig.stop();
        rig.controller->terminate();
        EXPECT_EQ(rig.host.receiver, nullptr);
    }
    // No tracker offered: the switch still works and nothing breaks.
    DecoderRig rig;
    connect(rig, Layout::kAmbi1, Layout::kAmbi1);
    EXPECT_EQ(rig.controller->setParamNormalized(ParamId::kHeadTracking, 1.0), Plx::kResultOk);
    EXPECT_TRUE(readOnly(rig, ParamId::kYaw));
}

TEST(DecoderControllerState, ComponentStatesOfEveryVersion) {
    DecoderRig rig;
    connect(rig, Layout::kAmbi2, Layout::kStereo);
    rig.controller->setParamNormalized(ParamId::kFocusOn, 1.0);
    rig.controller->setParamNormalized(ParamId::kFocusSize, 0.8);
    auto load = [&](const std::vector<uint8_t>& bytes) {
        IPtr<Host::MemoryStream> s = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
        return rig.controller->setComponentState(s.get());
    };
    // Version 2: levels and LFE, no focus, and the stereo choice on speakers.
    StateBytes v2;
    v2.i32(2).i32(2).i32(2).i32(0).i32(0).i32(0).i32(1).f64(0.25).i32(0).f64(0.5).i32(1).i64(0);
    rig.messages.clear();
    ASSERT_EQ(load(v2.bytes), Plx::kResultOk);
    EXPECT_EQ(on(rig, ParamId::kAuxGain), 0.25);
    EXPECT_EQ(on(rig, ParamId::kLfeGain), 0.5);
    EXPECT_EQ(on(rig, ParamId::kLfeLowPass), 1.0);
    EXPECT_EQ(on(rig, ParamId::kFocusSize), 0.8);
    EXPECT_EQ(on(rig, ControlId::kStereoModeSpeaker), 1.0);
    EXPECT_TRUE(rig.messages.empty()); // a load sends nothing back
    EXPECT_EQ(rig.handler->restarts.back(), Plx::kLatencyChanged);
    // Version 3: the tracker's mode and angles, and an output to move to.
    StateBytes v3;
    v3.i32(3).i32(2).i32(2).i32(0).i32(0).i32(1).i32(1).f64(1).i32(0).f64(0).i32(0).i64(Layout::k5_1);
    v3.f64(0.75).f64(0.5).f64(0.5);
    ASSERT_EQ(load(v3.bytes), Plx::kResultOk);
    EXPECT_EQ(on(rig, ParamId::kHeadTracking), 1.0);
    EXPECT_TRUE(readOnly(rig, ParamId::kYaw));
    ASSERT_EQ(rig.seen(Msg::kRequestedOutputArrangement, false).size(), 1u);
    EXPECT_NE(std::find(rig.handler->restarts.begin(), rig.handler->restarts.end(),
                        Plx::kIoChanged | Plx::kLatencyChanged),
              rig.handler->restarts.end());
    EXPECT_DOUBLE_EQ(on(rig, ParamId::kOutputArr), outputValue(Layout::k5_1));
    // A stream cut anywhere sets nothing.
    rig.controller->setParamNormalized(ParamId::kAuxGain, 0.9);
    for (size_t n = 0; n < v3.bytes.size(); ++n) {
        EXPECT_EQ(load(std::vector<uint8_t>(v3.bytes.begin(), v3.bytes.begin() + long(n))),
                  Plx::kResultFalse);
        ASSERT_EQ(on(rig, ParamId::kAuxGain), 0.9) << n;
    }
}

TEST(DecoderControllerNames, RemoteNamesViewsAndFeatures) {
    using AmbiBin::AmbiBinController;
    EXPECT_EQ(AmbiBinController::remoteParamId("lfeLevel"), 131);
    EXPECT_EQ(AmbiBinController::remoteParamId("headTrackingEnabled"), 123);
    EXPECT_EQ(AmbiBinController::remoteParamId("focusOn"), 134);
    EXPECT_EQ(AmbiBinController::remoteParamId("focusSize"), 1024);
    EXPECT_EQ(AmbiBinController::remoteParamId(nullptr), 1024);
    EXPECT_STREQ(AmbiBinController::viewTemplate("editor"), "AmbibinView");
    EXPECT_STREQ(AmbiBinController::viewTemplate("MixerMixMorphCR"), "AmbibinControlRoomView");
    EXPECT_STREQ(AmbiBinController::viewTemplate("MixerRadialPannerDynamic"), "AmbibinDynamic");
    EXPECT_EQ(AmbiBinController::viewTemplate("other"), nullptr);
    EXPECT_EQ(AmbiBinController::queryFeature("ImmerseSupported"), Plx::kResultOk);
    EXPECT_EQ(AmbiBinController::queryFeature("Other"), Plx::kNotImplemented);
}
