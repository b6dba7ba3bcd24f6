// Processor and controller of MixMorph together, connected through the
// host's messages as a host connects them: arrangements, state and the gain
// matrix travel from the processor to the controller, and the controller's
// requests reach the processor.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "frame/class_ids.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"
#include "host/lib/plugin.h"
#include "mix/mixer_controller.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {

constexpr int32 kBlock = 256;

// Sets the processor up for 32-bit blocks at 48 kHz and starts it.
void start(IComponent* component, IAudioProcessor* processor) {
    PlxProcessSetup setup{kRealtime, kSample32, kBlock, 48000.0};
    ASSERT_EQ(processor->setupProcessing(&setup), kResultOk);
    ASSERT_EQ(component->setActive(true), kResultOk);
    processor->setProcessing(true);
}

// One block of a steady signal on every input, with the given parameter changes.
tresult runBlock(IAudioProcessor* processor, int32 ins, int32 outs, IPlxParameterChanges* changes) {
    std::vector<std::vector<float>> in(ins, std::vector<float>(kBlock, 0.25f));
    std::vector<std::vector<float>> out(outs, std::vector<float>(kBlock, 0.0f));
    std::vector<float*> inPtr, outPtr;
    for (auto& c : in) inPtr.push_back(c.data());
    for (auto& c : out) outPtr.push_back(c.data());
    PlxAudioBuffers inBus{}, outBus{};
    inBus.numChannels = ins;
    inBus.channelBuffers32 = inPtr.data();
    outBus.numChannels = outs;
    outBus.channelBuffers32 = outPtr.data();
    PlxProcessData data{};
    data.processMode = kRealtime;
    data.symbolicSampleSize = kSample32;
    data.numSamples = kBlock;
    data.numInputs = 1;
    data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    data.inputParameterChanges = changes;
    return processor->process(&data);
}

struct GainRecorder : Mix::IGainView {
    void showGains(const float* coefficients, int32_t count) override {
        shown.assign(coefficients, coefficients + count);
    }
    std::vector<float> shown;
};

} // namespace

TEST(MixMorphPair, ArrangementsStateAndRequestsTravelBetweenTheHalves) {
    std::string error;
    auto module = Host::Module::load(PLX_MODULE_PATH, &error);
    ASSERT_TRUE(module) << error;
    auto host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    auto plugin = Host::Plugin::create(module->factory(), kMatrixMixerProcessorUID, host.get(), &error);
    ASSERT_TRUE(plugin) << error;
    IPlxEditController* controller = plugin->controller();

    // New buses reach the controller: 5.1 to 5.1 offers LRC, LRC+LFE, 5.0, 5.1.
    SpeakerArrangement in = Plx::Layout::k5_1, out = Plx::Layout::k5_1;
    ASSERT_EQ(plugin->processor()->setBusArrangements(&in, 1, &out, 1), kResultOk);
    ParameterInfo list{};
    ASSERT_EQ(controller->getParameterInfo(130, &list), kResultOk);
    EXPECT_EQ(list.stepCount, 3);

    // Levels automated on the processor come to the controller with its state.
    start(plugin->component(), plugin->processor());
    auto changes = IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    changes->addChange(128, 0, 0.3);
    changes->addChange(134, 0, 0.6);
    changes->addChange(136, 0, 0.0);
    changes->addChange(133, 0, 1.0);
    ASSERT_EQ(runBlock(plugin->processor(), 6, 6, changes.get()), kResultOk);
    ASSERT_EQ(plugin->syncControllerState(), kResultOk);
    EXPECT_NEAR(controller->getParamNormalized(128), 0.3, 1e-5);
    EXPECT_NEAR(controller->getParamNormalized(134), 0.6, 1e-5);
    EXPECT_EQ(controller->getParamNormalized(136), 0.0);
    EXPECT_EQ(controller->getParamNormalized(133), 1.0);

    // Choosing 5.0 in the controller, while the processor runs, asks the host
    // for a restart; the processor takes the format when it stops.
    plugin->handler()->clear();
    ASSERT_EQ(controller->setParamNormalized(130, 2.0 / 3.0), kResultOk);
    EXPECT_EQ(plugin->handler()->restarts, std::vector<int32_t>{kIoChanged});
    plugin->processor()->setProcessing(false);
    ASSERT_EQ(plugin->component()->setActive(false), kResultOk);
    SpeakerArrangement now = 0;
    ASSERT_EQ(plugin->processor()->getBusArrangement(1, 0, &now), kResultOk);
    EXPECT_EQ(now, Plx::Layout::k5_0);
    // The controller heard of it: 5.0 is the last of LRC, 5.0.
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(130), 1.0);
}

TEST(MixMorphPair, GainMatrixReachesTheControllerOnIdle) {
    std::string error;
    auto module = Host::Module::load(PLX_MODULE_PATH, &error);
    ASSERT_TRUE(module) << error;
    auto host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    IPtr<IComponent> component = module->createInstance<IComponent>(kMatrixMixerProcessorUID);
    ASSERT_TRUE(component);
    auto processor = IPtr<IAudioProcessor>::adopt(queryInterfaceOf<IAudioProcessor>(component.get()));
    ASSERT_TRUE(processor);
    ASSERT_EQ(component->initialize(host->unknown()), kResultOk);
    auto* controller = new Mix::MMixerController;
    ASSERT_EQ(controller->initialize(host->unknown()), kResultOk);
    auto processorPoint = IPtr<IConnectionPoint>::adopt(queryInterfaceOf<IConnectionPoint>(component.get()));
    ASSERT_TRUE(processorPoint);
    ASSERT_EQ(processorPoint->connect(controller), kResultOk);
    ASSERT_EQ(controller->connect(processorPoint.get()), kResultOk);
    // The processor's first buses came with the connection.
    EXPECT_EQ(controller->getModel().getOutputArrangement(), Plx::Layout::k5_1);

    SpeakerArrangement in = Plx::Layout::k5_1, out = Plx::Layout::kStereo;
    ASSERT_EQ(processor->setBusArrangements(&in, 1, &out, 1), kResultOk);
    EXPECT_EQ(controller->getModel().getOutputArrangement(), Plx::Layout::kStereo);

    GainRecorder view;
    controller->setGainView(&view); // asks the processor to publish its matrix
    start(component.get(), processor.get());
    ASSERT_EQ(runBlock(processor.get(), 6, 2, nullptr), kResultOk);
    EXPECT_TRUE(view.shown.empty()); // nothing before the timer
    host->idle();

    // 5.1 to stereo at the default levels, input rows L R C LFE Ls Rs.
    const float h = 0.70710677f;
    const std::vector<float> expected{1, 0, 0, 1, h, h, h, h, 0.5f, 0, 0, 0.5f};
    ASSERT_EQ(view.shown.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_NEAR(view.shown[i], expected[i], 1e-6) << i;
    EXPECT_EQ(controller->getGains(), view.shown);

    processor->setProcessing(false);
    component->setActive(false);
    controller->setGainView(nullptr);
    processorPoint->disconnect(controller);
    controller->disconnect(processorPoint.get());
    controller->terminate();
    controller->release();
    component->terminate();
}
