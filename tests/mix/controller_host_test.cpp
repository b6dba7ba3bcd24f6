// The converter's controller as a host sees it: created through the module's
// exports, driven with the host library's handler, messages and streams.
#include <gtest/gtest.h>

#include <memory>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "frame/class_ids.h"
#include "frame/iconnectionpoint.h"
#include "frame/ieditcontroller.h"
#include "frame/text.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "host/lib/module.h"
#include "tests/mix/controller_rig.h"
#include "tests/mix/mixctrl_test_util.h"
#include "tests/mix/mixer_rig.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;
using namespace Tannhofen::MixCtrlTest;

namespace {

constexpr double kInvE = 0.41503749927884376; // the level scale's exponent

class ControllerFromModule : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(controller); }

    ParameterInfo info(ParamID id) {
        ParameterInfo i{};
        EXPECT_EQ(controller->getParameterInfo(id, &i), kResultOk) << id;
        return i;
    }
    std::string text(ParamID id, double value) {
        char16 out[128] = {};
        EXPECT_EQ(controller->getParamStringByValue(id, value, out), kResultOk) << id;
        return utf16ToUtf8(out);
    }
    void sendBuses(SpeakerArrangement in, SpeakerArrangement out, bool changeParams) {
        ASSERT_EQ(point->notify(busMessage(in, out, changeParams).get()), kResultOk);
    }
    // The ids of the parameters that the controller told the host, in order.
    std::vector<ParamID> performedIds() const {
        std::vector<ParamID> ids;
        for (const auto& edit : handler->edits)
            if (edit.kind == Host::ComponentHandler::EditKind::Perform) ids.push_back(edit.id);
        return ids;
    }
    // A host that sets every edit it receives back on the controller, until
    // nothing new comes; answers the number of rounds.
    int echoUntilQuiet() {
        size_t seen = 0;
        int rounds = 0;
        while (seen < handler->edits.size() && rounds < 10) {
            const std::vector<Host::ComponentHandler::Edit> batch(handler->edits.begin() + seen,
                                                                  handler->edits.end());
            seen = handler->edits.size();
            for (const auto& edit : batch)
                if (edit.kind == Host::ComponentHandler::EditKind::Perform)
                    controller->setParamNormalized(edit.id, edit.value);
            ++rounds;
        }
        return rounds;
    }

    MixTest::ControllerRig<IPlxEditController> rig{
        MixTest::MixerRig::module().createInstance<IPlxEditController>(kMatrixMixerControllerUID)};
    IPtr<Host::HostApplication>& host = rig.host;
    IPtr<Host::ComponentHandler>& handler = rig.handler;
    std::unique_ptr<RecordingPeer>& peer = rig.peer;
    IPtr<IPlxEditController>& controller = rig.controller;
    IPtr<IConnectionPoint>& point = rig.point;
};

} // namespace

TEST_F(ControllerFromModule, PublishesTheTableWithLfeLevelAndOutputSolos) {
    // 52 table rows, the LFE level and 26 output solos; only the seven levels,
    // the low pass and the LFE level can be automated.
    ASSERT_EQ(controller->getParameterCount(), 79);
    int automatable = 0;
    for (int32 i = 0; i < controller->getParameterCount(); ++i) {
        ParameterInfo p{};
        ASSERT_EQ(controller->getParameterInfoByIndex(i, &p), kResultOk);
        automatable += (p.flags & ParameterInfo::kCanAutomate) ? 1 : 0;
    }
    EXPECT_EQ(automatable, 8);

    // Defaults on the level scale: (linear / 2) ^ (1 / e); the center at -3 dB.
    EXPECT_EQ(utf16ToUtf8(info(128).units), "dB");
    EXPECT_NEAR(info(128).defaultNormalizedValue, std::pow(0.70710677 / 2.0, kInvE), 1e-6);
    EXPECT_NEAR(info(129).defaultNormalizedValue, std::pow(0.25, kInvE), 1e-6);
    EXPECT_TRUE(info(130).flags & ParameterInfo::kIsList);
    EXPECT_EQ(info(130).stepCount, 3); // 5.1 gives LRC, LRC+LFE, 5.0, 5.1
    // The processor starts at mono to 5.1: center at 0 dB with a front center.
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(128), 0.75);

    ParameterInfo none{};
    EXPECT_EQ(controller->getParameterInfo(9999, &none), kResultFalse);
    EXPECT_EQ(controller->getParameterInfo(128, nullptr), kInvalidArgument);
    EXPECT_EQ(controller->getParameterInfoByIndex(79, &none), kResultFalse);
}

TEST_F(ControllerFromModule, DecibelTextAndBack) {
    // Level scale: 0.75 is 0 dB, 1.0 is +6.02 dB; LFE scale: 0.5 is 0 dB, 1.0 is +12.04 dB.
    for (auto [id, value, want] : {std::tuple{128u, 0.75, "0.00"},
                                   {134u, 1.0, "6.02"},
                                   {138u, 0.0, "-180.00"},
                                   {11u, 0.5, "0.00"},
                                   {11u, 1.0, "12.04"},
                                   {130u, 0.0, "LRC"}})
        EXPECT_EQ(text(id, value), want) << id;

    double value = 0.0;
    for (ParamID id : {128u, 136u, 11u})
        for (double v : {0.1, 0.5, 0.9}) {
            ASSERT_EQ(controller->getParamValueByString(id, utf8ToUtf16(text(id, v)).c_str(), &value),
                      kResultOk);
            EXPECT_NEAR(value, v, 2e-3) << id << " " << text(id, v);
        }
    ASSERT_EQ(controller->getParamValueByString(128, u"-6.0206", &value), kResultOk); // half the level
    EXPECT_NEAR(value, std::pow(0.25, kInvE), 1e-5);
    ASSERT_EQ(controller->getParamValueByString(128, u"+40", &value), kResultOk);
    EXPECT_EQ(value, 1.0);
    ASSERT_EQ(controller->getParamValueByString(130, u"5.0", &value), kResultOk);
    EXPECT_NEAR(value, 2.0 / 3.0, 1e-12);
    EXPECT_EQ(controller->getParamValueByString(130, u"22.2", &value), kResultFalse);
    for (const char16* bad : {u"loud", u"nan"})
        EXPECT_EQ(controller->getParamValueByString(128, bad, &value), kResultFalse);
    EXPECT_EQ(controller->getParamValueByString(128, nullptr, &value), kInvalidArgument);
    EXPECT_EQ(controller->getParamStringByValue(128, 0.5, nullptr), kInvalidArgument);
    EXPECT_EQ(controller->getParamValueByString(9999, u"1", &value), kResultFalse);
}

TEST_F(ControllerFromModule, SoloToCenterAndSurroundToFrontExcludeEachOtherWithoutEcho) {
    sendBuses(Plx::Layout::k5_1, Plx::Layout::kStereo, true);
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(132, 1.0), kResultOk); // the other is off: nothing to tell
    EXPECT_TRUE(handler->edits.empty());
    // 131 on turns 132 off; only 132 goes to the host, framed by begin and end.
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

    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(132, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), std::vector<ParamID>{131});
    EXPECT_LE(echoUntilQuiet(), 1);
    EXPECT_EQ(controller->getParamNormalized(131), 0.0);
    EXPECT_EQ(controller->getParamNormalized(132), 1.0);
}

TEST_F(ControllerFromModule, SoloGroupsWriteTheirSpeakersAndSwitchOtherGroupsOff) {
    sendBuses(Plx::Layout::k5_1, Plx::Layout::k5_1, true);
    handler->clear();
    // Stereo group: L and R solos go to the host; the group itself doesn't.
    ASSERT_EQ(controller->setParamNormalized(267, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), (std::vector<ParamID>{59, 60}));
    // Front group: the rest of its speakers, then the stereo group goes off.
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(266, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), (std::vector<ParamID>{61, 64, 65, 70, 71, 72, 80, 81, 82, 267}));
    EXPECT_EQ(controller->getParamNormalized(267), 0.0);
    EXPECT_LE(echoUntilQuiet(), 2);
    EXPECT_EQ(controller->getParamNormalized(266), 1.0);

    // Reset: every solo goes off, with the groups; the button springs back untold.
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(276, 1.0), kResultOk);
    for (ParamID id : {59u, 61u, 82u, 266u, 276u}) EXPECT_EQ(controller->getParamNormalized(id), 0.0) << id;
    const auto reset = performedIds();
    EXPECT_EQ(std::count(reset.begin(), reset.end(), 276u), 0);
    EXPECT_EQ(std::count(reset.begin(), reset.end(), 61u), 1);

    // Output side: the LFE group solos output LFE and LFE2 (ids 41, 42).
    handler->clear();
    ASSERT_EQ(controller->setParamNormalized(274, 1.0), kResultOk);
    EXPECT_EQ(performedIds(), (std::vector<ParamID>{41, 42}));

    // New arrangements clear every solo without telling the host.
    handler->clear();
    sendBuses(Plx::Layout::k5_1, Plx::Layout::kStereo, false);
    for (ParamID id : {41u, 42u, 274u}) EXPECT_EQ(controller->getParamNormalized(id), 0.0) << id;
    EXPECT_TRUE(performedIds().empty());
}

TEST_F(ControllerFromModule, BusArrangementsRebuildTheFormatListAndDefaults) {
    sendBuses(Plx::Layout::k5_1, Plx::Layout::k5_1, true);
    // 5.1 to 5.1: the LFE passes at 0 dB, and the host hears of it.
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(11), 0.5);
    EXPECT_EQ(performedIds(), std::vector<ParamID>{11});
    EXPECT_EQ(handler->restarts, std::vector<int32_t>{kParamTitlesChanged});

    // 5.1 to stereo: one entry, value 0; center at -3 dB without a front
    // center; the LFE at sqrt(1 / 2) linear on the LFE scale.
    sendBuses(Plx::Layout::k5_1, Plx::Layout::kStereo, true);
    EXPECT_EQ(info(130).stepCount, 0);
    EXPECT_EQ(controller->getParamNormalized(130), 0.0);
    EXPECT_NEAR(controller->getParamNormalized(128), std::pow(0.70710677 / 2.0, kInvE), 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(11), std::sqrt(std::sqrt(0.5) / 4.0), 1e-6);

    // Without changeParams the levels that were set stay.
    controller->setParamNormalized(128, 0.3);
    handler->clear();
    sendBuses(Plx::Layout::k5_1, Plx::Layout::k5_0, false);
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(128), 0.3);
    EXPECT_TRUE(performedIds().empty());
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(130), 1.0); // 5.0 is last of LRC, 5.0

    // Choosing another format asks the processor and the host; the same one doesn't.
    ASSERT_EQ(controller->setParamNormalized(130, 0.0), kResultOk);
    ASSERT_EQ(peer->messages.size(), 1u);
    EXPECT_EQ(peer->messages[0].id, "requestedOutputArrangement");
    EXPECT_EQ(peer->messages[0].arrangement, Plx::Layout::kLRC);
    EXPECT_EQ(handler->restarts.back(), kIoChanged);
    controller->setParamNormalized(130, 1.0);
    EXPECT_EQ(peer->messages.size(), 1u);
}

TEST_F(ControllerFromModule, ComponentStateGivesTheSavedLevels) {
    // A processor state written field by field from the layout: levels in dB.
    StateBuilder state;
    state.header(2, 2, 8);
    state.doubleRecord("centerLvl", 128, -6.020599913279624); // linear 0.5
    state.doubleRecord("surroundLvl", 129, -180.0);           // silence
    state.doubleRecord("globalLvl", 134, 0.0);
    state.boolRecord("lPFilter", 133, true);
    state.doubleRecord("sideLvl", 135, 6.020599913279624);  // linear 2.0
    state.doubleRecord("topLvl", 136, -12.041199826559248); // linear 0.25
    state.doubleRecord("bottomLvl", 138, 0.0);
    state.int64Record("activePartsMM", 137, 2);
    state.arrangements(Plx::Layout::k5_1, Plx::Layout::kStereo);
    handler->clear();
    ASSERT_EQ(controller->setComponentState(state.stream().get()), kResultOk);
    for (auto [id, want] : {std::pair{128u, std::pow(0.25, kInvE)},
                            {129u, 0.0},
                            {134u, 0.75},
                            {133u, 1.0},
                            {135u, 1.0},
                            {136u, std::pow(0.125, kInvE)},
                            {137u, 2.0 / 3.0}})
        EXPECT_NEAR(controller->getParamNormalized(id), want, 1e-6) << id;
    EXPECT_TRUE(performedIds().empty()); // loading a state tells the host nothing

    // Truncated in the second record: the first counts, the answer is OK.
    StateBuilder cut;
    cut.header(2, 2, 8);
    cut.doubleRecord("centerLvl", 128, 0.0);
    cut.doubleRecord("globalLvl", 134, -180.0);
    cut.truncate(3);
    ASSERT_EQ(controller->setComponentState(cut.stream().get()), kResultOk);
    EXPECT_NEAR(controller->getParamNormalized(128), 0.75, 1e-6);
    EXPECT_NEAR(controller->getParamNormalized(134), 0.75, 1e-6);

    // Format version 1 has no plug-in version; its records still count.
    StateBuilder v1;
    v1.header(1, -1, 1);
    v1.doubleRecord("globalLvl", 134, -180.0);
    ASSERT_EQ(controller->setComponentState(v1.stream().get()), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(134), 0.0);

    // Refused and unchanged: wrong magic, an old plug-in version, nothing at all.
    StateBuilder magic, old, empty;
    magic.raw32(0x12345679);
    old.header(2, 1, 1);
    for (StateBuilder* s : {&magic, &old}) {
        s->doubleRecord("globalLvl", 134, 0.0);
        EXPECT_EQ(controller->setComponentState(s->stream().get()), kResultFalse);
    }
    EXPECT_EQ(controller->setComponentState(empty.stream().get()), kResultFalse);
    EXPECT_EQ(controller->setComponentState(nullptr), kResultFalse);
    EXPECT_EQ(controller->getParamNormalized(134), 0.0);
}

TEST_F(ControllerFromModule, RandomAndMutatedStatesNeverBreakIt) {
    StateBuilder good;
    good.header(2, 2, 8);
    for (int i = 0; i < 7; ++i) good.doubleRecord("centerLvl", 128 + i, -3.0);
    good.int64Record("activePartsMM", 137, 1);
    good.arrangements(Plx::Layout::k5_1, Plx::Layout::k5_1);
    const std::vector<uint8_t> base = good.bytes();

    std::mt19937 rng(1234);
    for (int round = 0; round < 3000; ++round) {
        std::vector<uint8_t> bytes = base;
        if (round % 2 == 0) {
            bytes.resize(4 + rng() % 200); // the magic, then noise
            for (size_t i = 4; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(rng());
        } else {
            for (unsigned flips = 1 + rng() % 6; flips > 0; --flips)
                bytes[rng() % bytes.size()] = static_cast<uint8_t>(rng());
            bytes.resize(rng() % (bytes.size() + 1));
        }
        auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
        const tresult r = controller->setComponentState(stream.get());
        ASSERT_TRUE(r == kResultOk || r == kResultFalse);
        for (ParamID id : {128u, 133u, 137u})
            ASSERT_TRUE(controller->getParamNormalized(id) >= 0.0 &&
                        controller->getParamNormalized(id) <= 1.0);
    }
}

TEST_F(ControllerFromModule, MessagesAndBadInputAnswerCodes) {
    EXPECT_EQ(point->notify(nullptr), kInvalidArgument);
    auto unknown = message("");
    EXPECT_EQ(point->notify(unknown.get()), kResultFalse); // no ID
    unknown->setMessageID("noSuchMessage");
    EXPECT_EQ(point->notify(unknown.get()), kResultFalse);

    auto restart = message("restartComponent");
    restart->getAttributes()->setInt("flags", kIoChanged);
    EXPECT_EQ(point->notify(restart.get()), kResultOk);
    EXPECT_EQ(handler->restarts, std::vector<int32_t>{kIoChanged});

    // Attributes of the wrong type, or none, count as 0.
    auto wrong = message("gainMatrix");
    wrong->getAttributes()->setString("matrixSize", u"6");
    EXPECT_EQ(point->notify(wrong.get()), kResultOk);
    wrong->setMessageID("busArrangements");
    EXPECT_EQ(point->notify(wrong.get()), kResultOk);
    EXPECT_EQ(info(130).stepCount, 0);

    EXPECT_EQ(controller->setParamNormalized(9999, 0.5), kResultFalse);
    EXPECT_EQ(controller->setParamNormalized(128, std::nan("")), kInvalidArgument);
    EXPECT_EQ(controller->setParamNormalized(128, 7.0), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(128), 1.0);
    EXPECT_EQ(controller->setComponentHandler(nullptr), kResultOk);
    EXPECT_EQ(controller->setParamNormalized(131, 1.0), kResultOk); // no host to tell: no harm
    EXPECT_EQ(controller->initialize(host->unknown()), kResultFalse);
}
