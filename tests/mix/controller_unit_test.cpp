// The converter's controller as the editor sees it: the gain display, the
// meters, the editor's own parameters and the names of views and controls.
#include <gtest/gtest.h>

#include <memory>

#include <vector>

#include "frame/text.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "mix/mixer_controller.h"
#include "tests/mix/controller_rig.h"
#include "tests/mix/mixctrl_test_util.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;
using namespace Tannhofen::MixCtrlTest;
using Mix::MMixerController;

namespace {

struct GainRecorder : Mix::IGainView {
    void showGains(const float* coefficients, int32_t count) override {
        shown.assign(coefficients, coefficients + count);
    }
    std::vector<float> shown;
};

// The controller class, set up as a host does and connected to a recording peer.
struct Fixture : MixTest::ControllerRig<MMixerController> {
    Fixture() : ControllerRig(IPtr<MMixerController>::adopt(new MMixerController)) {}
    double editor(ParamID id) const {
        Parameter* p = controller->getEditorParameter(id);
        EXPECT_NE(p, nullptr) << id;
        return p ? p->getNormalized() : -1.0;
    }
};

} // namespace

TEST(MixerController, GainViewMetersAndRequestsToTheProcessor) {
    Fixture f;
    GainRecorder view;
    f.controller->setGainView(&view); // the processor is asked to publish
    const float gains[6] = {1.0f, 0.0f, 0.70710677f, 0.70710677f, 0.0f, 1.0f};
    auto m = message("gainMatrix");
    m->getAttributes()->setInt("matrixSize", 6);
    m->getAttributes()->setBinary("coefficients", gains, sizeof gains);
    ASSERT_EQ(f.controller->notify(m.get()), kResultOk);
    EXPECT_EQ(view.shown, std::vector<float>(gains, gains + 6));
    m->getAttributes()->setInt("matrixSize", 1000); // more than the data: what is there
    ASSERT_EQ(f.controller->notify(m.get()), kResultOk);
    EXPECT_EQ(view.shown.size(), 6u);
    f.controller->setGainView(nullptr);

    auto counts = message("nChannels");
    counts->getAttributes()->setInt("nChannelsIn", 6);
    counts->getAttributes()->setInt("nChannelsOut", 1000);
    ASSERT_EQ(f.controller->notify(counts.get()), kResultOk);
    EXPECT_EQ(f.controller->getMeterInputCount(), 6);
    EXPECT_EQ(f.controller->getMeterOutputCount(), 24); // 24 meter ids a side
    // Meter values arrive as the processor's output parameter values.
    EXPECT_EQ(f.controller->setParamNormalized(407 + 5, 0.5), kResultOk);
    EXPECT_EQ(f.controller->setParamNormalized(407 + 6, 0.5), kResultOk); // no such input: ignored
    EXPECT_EQ(f.controller->setParamNormalized(431 + 23, 0.25), kResultOk);
    EXPECT_FLOAT_EQ(f.controller->getInputLevels()[5], 0.5f);
    auto running = message("vuMetersProcessing");
    running->getAttributes()->setInt("vuMetersProcessing", 0);
    ASSERT_EQ(f.controller->notify(running.get()), kResultOk);
    EXPECT_FLOAT_EQ(f.controller->getInputLevels()[5], 0.0f);
    EXPECT_FLOAT_EQ(f.controller->getOutputLevels()[23], 0.0f);

    f.controller->setInputVuMeter(true);
    f.controller->resetMaxLevelOut();
    std::vector<std::string> sent;
    for (const auto& r : f.peer->messages) sent.push_back(r.id + "=" + std::to_string(r.value));
    EXPECT_EQ(sent, (std::vector<std::string>{"enableDirectMonitoring=1", "enableDirectMonitoring=0",
                                              "inputVuMeter=1", "resetMaxLevelOut=-1"}));
}

TEST(MixerController, EditorParametersFollowArrangementsAndSolos) {
    Fixture f;
    f.controller->arrangementsChanged(Plx::Layout::k7_1_4, Plx::Layout::kStereo, true); // 7.1.4 to stereo
    EXPECT_EQ(f.editor(335 + 8), 1.0);                                                  // Sl in
    EXPECT_EQ(f.editor(361 + 2), 0.0);                                                  // no C out
    EXPECT_EQ(f.editor(398), 1.0);                                                      // an LFE to set

    EXPECT_EQ(f.editor(387), 0.0);
    f.handler->clear();
    for (ParamID id : {70u, 71u, 72u, 73u})
        f.controller->setParamNormalized(id, 1.0); // three of four present tops, and an absent Tfc
    EXPECT_EQ(f.editor(387), 1.0);
    EXPECT_EQ(f.controller->getParamNormalized(270), 0.0);
    f.controller->setParamNormalized(75, 1.0); // the fourth: the group turns on, untold
    EXPECT_EQ(f.controller->getParamNormalized(270), 1.0);
    EXPECT_TRUE(f.handler->edits.empty());
    EXPECT_TRUE(f.controller->isSoloGroupEnabled(270));
    EXPECT_FALSE(f.controller->isSoloGroupEnabled(272)); // nothing besides L R out
    EXPECT_FALSE(f.controller->isSoloGroupEnabled(999));

    // activePartsMM: 1 of 3 opens the input part, 3 of 3 both.
    f.controller->setParamNormalized(137, 1.0 / 3.0);
    EXPECT_EQ(f.editor(810) + 2 * f.editor(811), 1.0);
    f.controller->setParamNormalized(137, 1.0);
    EXPECT_EQ(f.editor(810) + 2 * f.editor(811), 3.0);

    char16 name[128] = {};
    f.controller->getEditorParameter(808)->toString(0.0, name);
    EXPECT_EQ(utf16ToUtf8(name), "7.1.4");
    f.controller->setKeepOwnList(true); // the list from the input instead
    f.controller->arrangementsChanged(Plx::Layout::k5_1, Plx::Layout::kStereo, false);
    EXPECT_EQ(f.controller->getArrangements().all(),
              (std::vector<SpeakerArrangement>{Plx::Layout::kLRC, Plx::Layout::kLRCLfe, Plx::Layout::k5_0,
                                               Plx::Layout::k5_1}));
}
