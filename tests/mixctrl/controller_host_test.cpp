// The converter's controller as a host sees it: created through the module's
// exports, driven with the host library's handler, messages and streams.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "frame/class_ids.h"
#include "frame/iconnectionpoint.h"
#include "frame/ieditcontroller.h"
#include "frame/text.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "host/lib/module.h"
#include "mixctrl/mixctrl_test_util.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;
using namespace Tannhofen::MixCtrlTest;

namespace {

class ControllerFromModule : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        module = Host::Module::load(PLX_MODULE_PATH, &error);
        ASSERT_TRUE(module) << error;
        controller = module->createInstance<IPlxEditController>(kMatrixMixerControllerUID);
        ASSERT_TRUE(controller);
        ASSERT_EQ(controller->initialize(host->unknown()), kResultOk);
        ASSERT_EQ(controller->setComponentHandler(handler.get()), kResultOk);
        point = IPtr<IConnectionPoint>::adopt(queryInterfaceOf<IConnectionPoint>(controller.get()));
        ASSERT_TRUE(point);
        ASSERT_EQ(point->connect(peer.get()), kResultOk);
        handler->clear();
    }
    void TearDown() override
    {
        if (point)
            point->disconnect(peer.get());
        if (controller)
            controller->terminate();
        point.reset();
        controller.reset();
    }

    ParameterInfo info(ParamID id)
    {
        ParameterInfo i{};
        EXPECT_EQ(controller->getParameterInfo(id, &i), kResultOk) << id;
        return i;
    }
    std::string text(ParamID id, double value)
    {
        char16 out[128] = {};
        EXPECT_EQ(controller->getParamStringByValue(id, value, out), kResultOk) << id;
        return utf16ToUtf8(out);
    }
    void sendBuses(SpeakerArrangement in, SpeakerArrangement out, bool changeParams)
    {
        ASSERT_EQ(point->notify(busMessage(in, out, changeParams).get()), kResultOk);
    }
    // The ids of the parameters that the controller told the host, in order.
    std::vector<ParamID> performedIds() const
    {
        std::vector<ParamID> ids;
        for (const auto& edit : handler->edits)
            if (edit.kind == Host::ComponentHandler::EditKind::Perform)
                ids.push_back(edit.id);
        return ids;
    }
    // A host that sets every edit it receives back on the controller, until
    // nothing new comes; answers the number of rounds.
    int echoUntilQuiet()
    {
        size_t seen = 0;
        int rounds = 0;
        while (seen < handler->edits.size() && rounds < 10) {
            const std::vector<Host::ComponentHandler::Edit> batch(handler->edits.begin() + seen, handler->edits.end());
            seen = handler->edits.size();
            for (const auto& edit : batch)
                if (edit.kind == Host::ComponentHandler::EditKind::Perform)
                    controller->setParamNormalized(edit.id, edit.value);
            ++rounds;
        }
        return rounds;
    }

    IPtr<Host::HostApplication> host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    IPtr<Host::ComponentHandler> handler = IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    IPtr<RecordingPeer> peer = IPtr<RecordingPeer>::adopt(new RecordingPeer);
    std::unique_ptr<Host::Module> module;
    IPtr<IPlxEditController> controller;
    IPtr<IConnectionPoint> point;
};

} // namespace

TEST_F(ControllerFromModule, PublishesTheTableWithLfeLevelAndOutputSolos)
{
    // 52 table rows, the LFE level and 26 output solos.
    ASSERT_EQ(controller->getParameterCount(), 79);
    std::vector<ParamID> ids;
    int automatable = 0;
    for (int32 i = 0; i < controller->getParameterCount(); ++i) {
        ParameterInfo p{};
        ASSERT_EQ(controller->getParameterInfoByIndex(i, &p), kResultOk);
        ids.push_back(p.id);
        automatable += (p.flags & ParameterInfo::kCanAutomate) ? 1 : 0;
    }
    // Exactly the seven levels with the low pass, and the LFE level, can be automated.
    EXPECT_EQ(automatable, 8);
    auto has = [&](ParamID id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); };
    for (ParamID id = 59; id <= 84; ++id)
        EXPECT_TRUE(has(id)) << id;
    for (ParamID id = 17; id <= 42; ++id)
        EXPECT_TRUE(has(id)) << id;
    for (ParamID id : {11u, 128u, 129u, 130u, 131u, 132u, 133u, 134u, 135u, 136u, 137u, 138u, 256u, 266u, 267u, 268u,
                       269u, 270u, 271u, 272u, 273u, 274u, 275u, 276u, 277u, 278u, 279u})
        EXPECT_TRUE(has(id)) << id;

    const ParameterInfo center = info(128);
    EXPECT_EQ(utf16ToUtf8(center.title), "Center Level");
    EXPECT_EQ(utf16ToUtf8(center.units), "dB");
    EXPECT_EQ(center.stepCount, 0);
    EXPECT_TRUE(center.flags & ParameterInfo::kCanAutomate);
    // The default is 0.70710677 on the level scale: (v / 2) ^ (1 / e).
    EXPECT_NEAR(center.defaultNormalizedValue, std::pow(0.70710677 / 2.0, 0.41503749927884376), 1e-6);
    EXPECT_NEAR(info(129).defaultNormalizedValue, std::pow(0.25, 0.41503749927884376), 1e-6);
    EXPECT_DOUBLE_EQ(info(134).defaultNormalizedValue, 0.75);

    const ParameterInfo stc = info(131);
    EXPECT_EQ(utf16ToUtf8(stc.title), "Solo To Center");
    EXPECT_EQ(stc.stepCount, 1);
    EXPECT_FALSE(stc.flags & ParameterInfo::kCanAutomate);
    EXPECT_EQ(utf16ToUtf8(info(137).title), "Show Different Parts of MixMorpher Extensions");
    EXPECT_EQ(info(137).stepCount, 3);
    EXPECT_EQ(utf16ToUtf8(info(59).title), "Left Input Channel Solo");
    EXPECT_EQ(utf16ToUtf8(info(84).title), "Lfe2 Input Channel Solo");
    EXPECT_EQ(utf16ToUtf8(info(17).title), "Left Output Channel Solo");
    EXPECT_EQ(utf16ToUtf8(info(279).title), "Solo All Output Side Channels");
    EXPECT_EQ(utf16ToUtf8(info(11).units), "dB");
    EXPECT_TRUE(info(11).flags & ParameterInfo::kCanAutomate);
    const ParameterInfo list = info(130);
    EXPECT_TRUE(list.flags & ParameterInfo::kIsList);
    EXPECT_EQ(list.stepCount, 3); // 5.1 gives LRC, LRC+LFE, 5.0, 5.1

    // The processor starts at mono to 5.1: the center level is 0 dB with a
    // front center, and the output format is the last entry.
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(128), 0.75);
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(130), 1.0);

    ParameterInfo none{};
    EXPECT_EQ(controller->getParameterInfo(9999, &none), kResultFalse);
    EXPECT_EQ(controller->getParameterInfo(128, nullptr), kInvalidArgument);
    EXPECT_EQ(controller->getParameterInfoByIndex(79, &none), kResultFalse);
    EXPECT_EQ(controller->getParameterInfoByIndex(-1, &none), kResultFalse);
}

TEST_F(ControllerFromModule, DecibelTextAndBack)
{
    // 0.75 on the level scale is 1.0, 0 dB; 1.0 is 2.0, +6.02 dB; 0 is silence.
    EXPECT_EQ(text(128, 0.75), "0.00");
    EXPECT_EQ(text(134, 1.0), "6.02");
    EXPECT_EQ(text(138, 0.0), "-180.00");
    // The LFE scale has 0 dB at 0.5 and 4.0 (+12.04 dB) at 1.
    EXPECT_EQ(text(11, 0.5), "0.00");
    EXPECT_EQ(text(11, 1.0), "12.04");
    EXPECT_EQ(text(133, 1.0), "1");
    EXPECT_EQ(text(130, 1.0), "5.1");
    EXPECT_EQ(text(130, 0.0), "LRC");

    for (ParamID id : {128u, 129u, 134u, 135u, 136u, 138u, 11u})
        for (double v : {0.1, 0.33, 0.5, 0.75, 0.9}) {
            char16 out[128] = {};
            ASSERT_EQ(controller->getParamStringByValue(id, v, out), kResultOk);
            double back = -1.0;
            ASSERT_EQ(controller->getParamValueByString(id, out, &back), kResultOk) << utf16ToUtf8(out);
            EXPECT_NEAR(back, v, 2e-3) << id << " " << utf16ToUtf8(out);
        }
    // -6.02 dB is half the linear level: (0.5 / 2) ^ (1 / e) on the level scale.
    double value = 0.0;
    ASSERT_EQ(controller->getParamValueByString(128, u"-6.0206", &value), kResultOk);
    EXPECT_NEAR(value, std::pow(0.25, 0.41503749927884376), 1e-5);
    ASSERT_EQ(controller->getParamValueByString(128, u"-200", &value), kResultOk);
    EXPECT_EQ(value, 0.0);
    ASSERT_EQ(controller->getParamValueByString(128, u"+40", &value), kResultOk);
    EXPECT_EQ(value, 1.0);
    ASSERT_EQ(controller->getParamValueByString(130, u"5.0", &value), kResultOk);
    EXPECT_NEAR(value, 2.0 / 3.0, 1e-12);
    EXPECT_EQ(controller->getParamValueByString(130, u"22.2", &value), kResultFalse);
    EXPECT_EQ(controller->getParamValueByString(128, u"loud", &value), kResultFalse);
    EXPECT_EQ(controller->getParamValueByString(128, u"nan", &value), kResultFalse);
    EXPECT_EQ(controller->getParamValueByString(128, nullptr, &value), kInvalidArgument);
    EXPECT_EQ(controller->getParamValueByString(128, u"1", nullptr), kInvalidArgument);
    EXPECT_EQ(controller->getParamStringByValue(128, 0.5, nullptr), kInvalidArgument);
    char16 out[128];
    EXPECT_EQ(controller->getParamStringByValue(9999, 0.5, out), kResultFalse);
    EXPECT_EQ(controller->getParamValueByString(9999, u"1", &value), kResultFalse);
    // Plain values of the level rows are decibels.
    EXPECT_NEAR(controller->normalizedParamToPlain(134, 0.75), 0.0, 1e-5);
    EXPECT_NEAR(controller->plainParamToNormalized(134, 0.0), 0.75, 1e-6);
}

TEST_F(ControllerFromModule, SoloToCenterAndSurroundToFrontExcludeEachOtherWithoutEcho)
{
    sendBuses(0x3F, 0x3, true);
    handler->clear();
    // Setting one while the other is off tells the host nothing.
    ASSERT_EQ(controller->setParamNormalized(132, 1.0), kResultOk);
    EXPECT_TRUE(handler->edits.empty());
    // Turning 131 on turns 132 off, and only 132 goes to the host, framed by begin and end.
    ASSERT_EQ(controller->setParamNormalized(131, 1.0), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(132), 0.0);
    ASSERT_EQ(handler->edits.size(), 3u);
    EXPECT_EQ(handler->edits[0].kind, Host::ComponentHandler::EditKind::Begin);
    EXPECT_EQ(handler->edits[1].id, 132u);
    EXPECT_EQ(handler->edits[1].value, 0.0);
    EXPECT_EQ(handler->edits[2].kind, Host::ComponentHandler::EditKind::End);
    // A host that hands every edit back settles at once, and 131 stays on.
    EXPECT_LE(echoUntilQuiet(), 1);
    EXPECT_EQ(controller->getParamNormalized(131), 1.0);
    EXPECT_EQ(performedIds(), std::vector<ParamID>{132});

    // And the other way round.
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(132, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), std::vector<ParamID>{131});
    EXPECT_LE(echoUntilQuiet(), 1);
    EXPECT_EQ(controller->getParamNormalized(131), 0.0);
    EXPECT_EQ(controller->getParamNormalized(132), 1.0);
    // Only exactly 1.0 counts as on: 0.6 turns 131 on for the parameter but not for the model.
    handler->clear();
    controller->setParamNormalized(131, 0.6);
    EXPECT_TRUE(handler->edits.empty());
}

TEST_F(ControllerFromModule, SoloGroupsWriteTheirSpeakersAndSwitchOtherGroupsOff)
{
    sendBuses(0x3F, 0x3F, true);
    handler->clear();
    // Stereo group: L and R solos go to the host; the group itself doesn't.
    ASSERT_EQ(controller->setParamNormalized(267, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), (std::vector<ParamID>{59, 60}));
    EXPECT_EQ(controller->getParamNormalized(59), 1.0);

    // Front group: the rest of its speakers, then the stereo group goes off.
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(266, 1.0), kResultOk);
    const std::vector<ParamID> front{61, 64, 65, 70, 71, 72, 80, 81, 82, 267};
    EXPECT_EQ(performedIds(), front);
    EXPECT_EQ(controller->getParamNormalized(267), 0.0);
    EXPECT_EQ(controller->getParamNormalized(266), 1.0);
    EXPECT_LE(echoUntilQuiet(), 2);
    EXPECT_EQ(controller->getParamNormalized(266), 1.0);

    // Reset: every solo that was on goes off, with the groups.
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(276, 1.0), kResultOk);
    for (ParamID id = 59; id <= 84; ++id)
        EXPECT_EQ(controller->getParamNormalized(id), 0.0) << id;
    EXPECT_EQ(controller->getParamNormalized(266), 0.0);
    EXPECT_EQ(controller->getParamNormalized(276), 0.0); // the button springs back
    const auto reset = performedIds();
    EXPECT_EQ(std::count(reset.begin(), reset.end(), 276u), 0);
    EXPECT_EQ(std::count(reset.begin(), reset.end(), 61u), 1);

    // Soloing every present surround speaker (Ls, Rs) by hand turns the
    // surround group on, quietly; a front speaker alone doesn't turn on front.
    handler->clear();
    controller->setParamNormalized(62, 1.0);
    EXPECT_EQ(controller->getParamNormalized(268), 0.0);
    controller->setParamNormalized(63, 1.0);
    EXPECT_EQ(controller->getParamNormalized(268), 1.0);
    controller->setParamNormalized(59, 1.0);
    EXPECT_EQ(controller->getParamNormalized(266), 0.0);
    EXPECT_TRUE(performedIds().empty());

    // Output side: the LFE group solos LFE and LFE2 of the output (ids 41, 42).
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(274, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), (std::vector<ParamID>{41, 42}));
    ASSERT_EQ(controller->setParamNormalized(277, 1.0), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(41), 0.0);
    EXPECT_EQ(controller->getParamNormalized(274), 0.0);

    // New arrangements clear every solo, without telling the host.
    handler->clear();
    sendBuses(0x3F, 0x3, false);
    EXPECT_EQ(controller->getParamNormalized(62), 0.0);
    EXPECT_EQ(controller->getParamNormalized(268), 0.0);
    EXPECT_TRUE(performedIds().empty());
}

TEST_F(ControllerFromModule, BusArrangementsRebuildTheFormatListAndDefaults)
{
    sendBuses(0x3F, 0x3F, true);
    EXPECT_EQ(info(130).stepCount, 3);
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(130), 1.0);
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(128), 0.75);
    // 5.1 to 5.1: the LFE passes at 0 dB, and the host hears of it.
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(11), 0.5);
    EXPECT_EQ(performedIds(), std::vector<ParamID>{11});
    EXPECT_EQ(handler->restarts, std::vector<int32_t>{kParamTitlesChanged});

    // 5.1 to stereo: one entry, value 0; center at -3 dB without a front
    // center; the LFE at sqrt(1 / 2) linear on the LFE scale.
    handler->clear();
    sendBuses(0x3F, 0x3, true);
    EXPECT_EQ(info(130).stepCount, 0);
    EXPECT_EQ(controller->getParamNormalized(130), 0.0);
    EXPECT_NEAR(controller->getParamNormalized(128), std::pow(0.70710677 / 2.0, 0.41503749927884376), 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(11), std::sqrt(std::sqrt(0.5) / 4.0), 1e-6);
    EXPECT_EQ(text(130, 0.0), "Stereo");

    // Without changeParams the levels that were set stay.
    controller->setParamNormalized(128, 0.3);
    handler->clear();
    sendBuses(0x3F, 0x37, false);
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(128), 0.3);
    EXPECT_TRUE(performedIds().empty());
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(130), 1.0); // 5.0 is last of LRC, 5.0

    // Choosing another format asks the processor and the host; the same one doesn't.
    peer->messages.clear();
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(130, 0.0), kResultOk);
    ASSERT_EQ(peer->messages.size(), 1u);
    EXPECT_EQ(peer->messages[0].id, "requestedOutputArrangement");
    EXPECT_EQ(peer->messages[0].arrangement, 0x7u);
    EXPECT_EQ(handler->restarts, std::vector<int32_t>{kIoChanged});
    peer->messages.clear();
    controller->setParamNormalized(130, 1.0);
    EXPECT_TRUE(peer->messages.empty());

    // A message without attributes counts as empty arrangements, and nothing breaks.
    auto empty = IPtr<IMessage>::adopt(Host::HostMessage::create());
    empty->setMessageID("busArrangements");
    EXPECT_EQ(point->notify(empty.get()), kResultOk);
    EXPECT_EQ(info(130).stepCount, 0);
}

TEST_F(ControllerFromModule, ComponentStateGivesTheSavedLevels)
{
    // A processor state written field by field from the layout: levels in dB.
    StateBuilder state;
    state.header(2, 2, 8);
    state.doubleRecord("centerLvl", 128, -6.020599913279624); // linear 0.5
    state.doubleRecord("surroundLvl", 129, -180.0);            // silence
    state.doubleRecord("globalLvl", 134, 0.0);
    state.boolRecord("lPFilter", 133, true);
    state.doubleRecord("sideLvl", 135, 6.020599913279624); // linear 2.0
    state.doubleRecord("topLvl", 136, -12.041199826559248); // linear 0.25
    state.doubleRecord("bottomLvl", 138, 0.0);
    state.int64Record("activePartsMM", 137, 2);
    state.arrangements(0x3F, 0x3);
    handler->clear();
    ASSERT_EQ(controller->setComponentState(state.stream().get()), kResultOk);

    const double e = 0.41503749927884376;
    EXPECT_NEAR(controller->getParamNormalized(128), std::pow(0.25, e), 1e-6);
    EXPECT_EQ(controller->getParamNormalized(129), 0.0);
    EXPECT_NEAR(controller->getParamNormalized(134), 0.75, 1e-6);
    EXPECT_EQ(controller->getParamNormalized(133), 1.0);
    EXPECT_NEAR(controller->getParamNormalized(135), 1.0, 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(136), std::pow(0.125, e), 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(137), 2.0 / 3.0, 1e-9);
    // Loading a state tells the host nothing.
    EXPECT_TRUE(performedIds().empty());

    // Truncated in the third record: the first two count, the answer is OK.
    StateBuilder cut;
    cut.header(2, 2, 8);
    cut.doubleRecord("centerLvl", 128, 0.0);
    cut.doubleRecord("surroundLvl", 129, 0.0);
    cut.doubleRecord("globalLvl", 134, -6.0);
    cut.truncate(5);
    ASSERT_EQ(controller->setComponentState(cut.stream().get()), kResultOk);
    EXPECT_NEAR(controller->getParamNormalized(128), 0.75, 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(129), 0.75, 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(134), 0.75, 1e-6);

    // Format version 1 has no plug-in version; its records still count.
    StateBuilder v1;
    v1.header(1, -1, 1);
    v1.doubleRecord("globalLvl", 134, -180.0);
    ASSERT_EQ(controller->setComponentState(v1.stream().get()), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(134), 0.0);

    // Refused: wrong magic, an old plug-in version, an empty stream, no stream.
    StateBuilder magic;
    magic.raw32(0x12345679);
    magic.raw32(2);
    magic.raw32(2);
    magic.raw32(1);
    magic.doubleRecord("globalLvl", 134, 0.0);
    EXPECT_EQ(controller->setComponentState(magic.stream().get()), kResultFalse);
    StateBuilder old;
    old.header(2, 1, 1);
    old.doubleRecord("globalLvl", 134, 0.0);
    EXPECT_EQ(controller->setComponentState(old.stream().get()), kResultFalse);
    EXPECT_EQ(controller->getParamNormalized(134), 0.0);
    StateBuilder nothing;
    EXPECT_EQ(controller->setComponentState(nothing.stream().get()), kResultFalse);
    EXPECT_EQ(controller->setComponentState(nullptr), kResultFalse);

    // An absurd name length ends the read with what came before.
    StateBuilder absurd;
    absurd.header(2, 2, 2);
    absurd.doubleRecord("globalLvl", 134, 0.0);
    absurd.raw16(1);
    absurd.raw32(0x7FFFFFFF);
    EXPECT_EQ(controller->setComponentState(absurd.stream().get()), kResultOk);
    EXPECT_NEAR(controller->getParamNormalized(134), 0.75, 1e-6);
}

TEST_F(ControllerFromModule, RandomAndMutatedStatesNeverBreakIt)
{
    StateBuilder good;
    good.header(2, 2, 8);
    for (int i = 0; i < 7; ++i)
        good.doubleRecord("centerLvl", 128 + i, -3.0);
    good.int64Record("activePartsMM", 137, 1);
    good.arrangements(0x3F, 0x3F);
    const std::vector<uint8_t> base = good.bytes();

    std::mt19937 rng(1234);
    for (int round = 0; round < 3000; ++round) {
        std::vector<uint8_t> bytes;
        if (round % 2 == 0) {
            bytes.resize(rng() % 200);
            for (auto& b : bytes)
                b = static_cast<uint8_t>(rng());
            if (bytes.size() >= 4 && round % 4 == 0) // past the magic now and then
                std::memcpy(bytes.data(), base.data(), 4);
        } else {
            bytes = base;
            for (unsigned flips = 1 + rng() % 6; flips > 0; --flips)
                bytes[rng() % bytes.size()] = static_cast<uint8_t>(rng());
            bytes.resize(rng() % (bytes.size() + 1));
        }
        auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
        const tresult r = controller->setComponentState(stream.get());
        ASSERT_TRUE(r == kResultOk || r == kResultFalse);
        for (ParamID id : {128u, 129u, 133u, 134u, 137u}) {
            const double v = controller->getParamNormalized(id);
            ASSERT_TRUE(v >= 0.0 && v <= 1.0) << id << " " << v;
        }
    }
}

TEST_F(ControllerFromModule, MessagesAndBadInputAnswerCodes)
{
    EXPECT_EQ(point->notify(nullptr), kInvalidArgument);
    auto unknown = IPtr<IMessage>::adopt(Host::HostMessage::create());
    unknown->setMessageID("noSuchMessage");
    EXPECT_EQ(point->notify(unknown.get()), kResultFalse);
    auto noId = IPtr<IMessage>::adopt(Host::HostMessage::create());
    EXPECT_EQ(point->notify(noId.get()), kResultFalse);

    // "restartComponent" goes to the host with its flags.
    auto restart = IPtr<IMessage>::adopt(Host::HostMessage::create());
    restart->setMessageID("restartComponent");
    restart->getAttributes()->setInt("flags", kIoChanged);
    EXPECT_EQ(point->notify(restart.get()), kResultOk);
    EXPECT_EQ(handler->restarts, std::vector<int32_t>{kIoChanged});

    // Attributes of the wrong type count as 0.
    auto wrong = IPtr<IMessage>::adopt(Host::HostMessage::create());
    wrong->setMessageID("gainMatrix");
    wrong->getAttributes()->setString("matrixSize", u"6");
    wrong->getAttributes()->setInt("coefficients", 3);
    EXPECT_EQ(point->notify(wrong.get()), kResultOk);

    EXPECT_EQ(controller->setParamNormalized(9999, 0.5), kResultFalse);
    EXPECT_EQ(controller->setParamNormalized(128, std::nan("")), kInvalidArgument);
    EXPECT_EQ(controller->setParamNormalized(128, 7.0), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(128), 1.0);
    EXPECT_EQ(controller->getParamNormalized(9999), 0.0);
    EXPECT_EQ(controller->setComponentHandler(nullptr), kResultOk);
    EXPECT_EQ(controller->setParamNormalized(131, 1.0), kResultOk); // no host to tell: no harm
    // A second initialize is refused.
    EXPECT_EQ(controller->initialize(host->unknown()), kResultFalse);
}
