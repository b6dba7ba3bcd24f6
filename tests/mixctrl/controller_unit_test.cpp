// The converter's controller as the editor sees it: the gain display, the
// meters, the editor's own parameters and the names of views and controls.
#include <gtest/gtest.h>

#include <vector>

#include "frame/text.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "mix/mixer_controller.h"
#include "mixctrl/mixctrl_test_util.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;
using namespace Tannhofen::MixCtrlTest;
using Mix::MMixerController;

namespace {

struct GainRecorder : Mix::IGainView {
    void showGains(const float* coefficients, int32_t count) override
    {
        shown.assign(coefficients, coefficients + count);
        ++calls;
    }
    std::vector<float> shown;
    int calls = 0;
};

// A controller created and initialized as a host does, connected to a recording peer.
struct Fixture {
    explicit Fixture(int32_t productCode = 0)
        : host(IPtr<Host::HostApplication>::adopt(Host::HostApplication::create(productCode)))
    {
        EXPECT_EQ(controller->initialize(host->unknown()), kResultOk);
        controller->setComponentHandler(handler.get());
        controller->connect(peer.get());
    }
    ~Fixture()
    {
        controller->terminate();
        controller->release();
    }
    IPtr<IMessage> message(const char* id)
    {
        auto m = IPtr<IMessage>::adopt(Host::HostMessage::create());
        m->setMessageID(id);
        return m;
    }
    double editor(ParamID id) const
    {
        Parameter* p = controller->getEditorParameter(id);
        EXPECT_NE(p, nullptr) << id;
        return p ? p->getNormalized() : -1.0;
    }

    IPtr<Host::HostApplication> host;
    IPtr<Host::ComponentHandler> handler = IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    IPtr<RecordingPeer> peer = IPtr<RecordingPeer>::adopt(new RecordingPeer);
    MMixerController* controller = new MMixerController;
};

} // namespace

TEST(MixerController, GainMatrixReachesTheViewAndMonitoringFollowsIt)
{
    Fixture f;
    GainRecorder view;
    f.controller->setGainView(&view);
    ASSERT_EQ(f.peer->messages.size(), 1u);
    EXPECT_EQ(f.peer->messages[0].id, "enableDirectMonitoring");
    EXPECT_EQ(f.peer->messages[0].value, 1);

    // Six coefficients: 3 inputs by 2 outputs, row by row.
    const float gains[6] = {1.0f, 0.0f, 0.70710677f, 0.70710677f, 0.0f, 1.0f};
    auto m = f.message("gainMatrix");
    m->getAttributes()->setInt("matrixSize", 6);
    m->getAttributes()->setBinary("coefficients", gains, sizeof gains);
    ASSERT_EQ(f.controller->notify(m.get()), kResultOk);
    EXPECT_EQ(view.shown, std::vector<float>(gains, gains + 6));
    EXPECT_EQ(f.controller->getGains(), view.shown);

    // A size beyond the data takes what is there; a missing size shows nothing.
    m->getAttributes()->setInt("matrixSize", 1000);
    ASSERT_EQ(f.controller->notify(m.get()), kResultOk);
    EXPECT_EQ(view.shown.size(), 6u);
    m->getAttributes()->setInt("matrixSize", -5);
    ASSERT_EQ(f.controller->notify(m.get()), kResultOk);
    EXPECT_TRUE(view.shown.empty());

    f.controller->setGainView(nullptr);
    ASSERT_EQ(f.peer->messages.size(), 2u);
    EXPECT_EQ(f.peer->messages[1].value, 0);
    const int calls = view.calls;
    ASSERT_EQ(f.controller->notify(m.get()), kResultOk);
    EXPECT_EQ(view.calls, calls);
}

TEST(MixerController, MetersFollowChannelCountsValuesAndProcessing)
{
    Fixture f;
    auto counts = f.message("nChannels");
    counts->getAttributes()->setInt("nChannelsIn", 6);
    counts->getAttributes()->setInt("nChannelsOut", 1000);
    ASSERT_EQ(f.controller->notify(counts.get()), kResultOk);
    EXPECT_EQ(f.controller->getMeterInputCount(), 6);
    EXPECT_EQ(f.controller->getMeterOutputCount(), 24); // there are 24 meter ids a side

    // Meter values come as output parameter values of the processor.
    EXPECT_EQ(f.controller->setParamNormalized(407 + 5, 0.5), kResultOk);
    EXPECT_EQ(f.controller->setParamNormalized(407 + 6, 0.5), kResultOk); // beyond the inputs: ignored
    EXPECT_EQ(f.controller->setParamNormalized(431 + 23, 0.25), kResultOk);
    EXPECT_EQ(f.controller->setParamNormalized(455, 0.9), kResultOk);
    EXPECT_FLOAT_EQ(f.controller->getInputLevels()[5], 0.5f);
    EXPECT_FLOAT_EQ(f.controller->getOutputLevels()[23], 0.25f);
    EXPECT_FLOAT_EQ(f.controller->getMaxInputLevel(), 0.9f);

    auto running = f.message("vuMetersProcessing");
    running->getAttributes()->setInt("vuMetersProcessing", 1);
    ASSERT_EQ(f.controller->notify(running.get()), kResultOk);
    EXPECT_TRUE(f.controller->isProcessing());
    EXPECT_FLOAT_EQ(f.controller->getInputLevels()[5], 0.5f);
    running->getAttributes()->setInt("vuMetersProcessing", 0);
    ASSERT_EQ(f.controller->notify(running.get()), kResultOk);
    EXPECT_FALSE(f.controller->isProcessing());
    EXPECT_FLOAT_EQ(f.controller->getInputLevels()[5], 0.0f);
    EXPECT_FLOAT_EQ(f.controller->getOutputLevels()[23], 0.0f);

    // Requests to the processor.
    f.peer->messages.clear();
    EXPECT_EQ(f.controller->setInputVuMeter(true), kResultOk);
    EXPECT_EQ(f.controller->setOutputVuMeter(false), kResultOk);
    EXPECT_EQ(f.controller->resetMaxLevelIn(), kResultOk);
    EXPECT_EQ(f.controller->resetMaxLevelOut(), kResultOk);
    ASSERT_EQ(f.peer->messages.size(), 4u);
    EXPECT_EQ(f.peer->messages[0].id, "inputVuMeter");
    EXPECT_EQ(f.peer->messages[0].value, 1);
    EXPECT_EQ(f.peer->messages[1].id, "outputVuMeter");
    EXPECT_EQ(f.peer->messages[1].value, 0);
    EXPECT_EQ(f.peer->messages[2].id, "resetMaxLevelIn");
    EXPECT_EQ(f.peer->messages[3].id, "resetMaxLevelOut");
}

TEST(MixerController, EditorParametersFollowTheArrangements)
{
    Fixture f;
    f.controller->arrangementsChanged(0x2D63F, 0x3, true); // 7.1.4 to stereo
    // Input speaker sets: L R, L R C, LFE, top front pair, top rear pair; no Cs, no bottom.
    for (ParamID id : {301u, 302u, 303u, 304u, 308u, 310u, 313u})
        EXPECT_EQ(f.editor(id), 1.0) << id;
    for (ParamID id : {305u, 306u, 307u, 309u, 311u, 312u, 314u, 315u, 316u, 317u})
        EXPECT_EQ(f.editor(id), 0.0) << id;
    // Output: stereo only.
    EXPECT_EQ(f.editor(318), 1.0);
    EXPECT_EQ(f.editor(319), 0.0);
    EXPECT_EQ(f.editor(325), 0.0);
    // Solo buttons by speaker index: Sl (8) and Tfl (11) in, nothing past R out.
    EXPECT_EQ(f.editor(335 + 8), 1.0);
    EXPECT_EQ(f.editor(335 + 11), 1.0);
    EXPECT_EQ(f.editor(335 + 7), 0.0);
    EXPECT_EQ(f.editor(361 + 1), 1.0);
    EXPECT_EQ(f.editor(361 + 2), 0.0);
    EXPECT_EQ(f.editor(398), 1.0); // the input has an LFE

    // Solo modes follow the model.
    EXPECT_EQ(f.editor(387), 0.0);
    f.controller->setParamNormalized(59 + 11, 1.0); // Tfl of the input
    EXPECT_EQ(f.editor(387), 1.0);
    EXPECT_EQ(f.controller->getParamNormalized(270), 0.0); // one of four top speakers
    for (ParamID id : {59u + 12, 59u + 13, 59u + 14, 59u + 16})
        f.controller->setParamNormalized(id, 1.0); // absent Tfc and Trc count as well
    EXPECT_EQ(f.controller->getParamNormalized(270), 1.0);
    f.controller->setParamNormalized(17 + 0, 1.0);
    EXPECT_EQ(f.editor(388), 1.0);

    // Group buttons offered for these arrangements.
    EXPECT_TRUE(f.controller->isSoloGroupEnabled(270));
    EXPECT_TRUE(f.controller->isSoloGroupEnabled(278));
    EXPECT_TRUE(f.controller->isSoloGroupEnabled(269));
    EXPECT_FALSE(f.controller->isSoloGroupEnabled(272)); // stereo out has nothing besides L R
    EXPECT_FALSE(f.controller->isSoloGroupEnabled(275));
    EXPECT_FALSE(f.controller->isSoloGroupEnabled(999));

    // activePartsMM shows the parts: 1 of 3 opens the input, 3 of 3 both.
    f.controller->setParamNormalized(137, 1.0 / 3.0);
    EXPECT_EQ(f.editor(810), 1.0);
    EXPECT_EQ(f.editor(811), 0.0);
    f.controller->setParamNormalized(137, 1.0);
    EXPECT_EQ(f.editor(810), 1.0);
    EXPECT_EQ(f.editor(811), 1.0);

    // The arrangement texts.
    char16 name[128] = {};
    f.controller->getEditorParameter(808)->toString(0.0, name);
    EXPECT_EQ(utf16ToUtf8(name), "7.1.4");
    f.controller->getEditorParameter(809)->toString(0.0, name);
    EXPECT_EQ(utf16ToUtf8(name), "Stereo");

    // The format list may follow the input instead.
    f.controller->setKeepOwnList(true);
    f.controller->arrangementsChanged(0x3F, 0x3, false);
    EXPECT_EQ(f.controller->getArrangements().at(f.controller->getArrangements().count() - 1), 0x3Fu);
}

TEST(MixerController, NamesOfViewsAndRemoteControls)
{
    Fixture kestra;
    EXPECT_FALSE(kestra.controller->isNivoraHost());
    EXPECT_STREQ(kestra.controller->getEditorName("editor"), "MixMorphKestra");
    for (int32_t code : {28000, 30000}) {
        Fixture nivora(code);
        EXPECT_TRUE(nivora.controller->isNivoraHost());
        EXPECT_STREQ(nivora.controller->getEditorName("embeddedEditor"), "AudioPlugEmbeddedMixMorphNivora");
    }
    int32_t id = 0;
    EXPECT_TRUE(kestra.controller->getParamIdByRemoteName("out:solo:front", id));
    EXPECT_EQ(id, 271);
    EXPECT_TRUE(kestra.controller->getParamIdByRemoteName("PanLfeGain", id));
    EXPECT_EQ(id, 11);
    EXPECT_FALSE(kestra.controller->getParamIdByRemoteName("nothing", id));
    EXPECT_EQ(id, 1024);

    // "graphLocation" tells whether the host uses the effect as its panner.
    auto m = kestra.message("graphLocation");
    m->getAttributes()->setInt("usedAsPanner", 1);
    EXPECT_EQ(kestra.controller->notify(m.get()), kResultOk);
    EXPECT_TRUE(kestra.controller->isUsedAsPanner());
}
