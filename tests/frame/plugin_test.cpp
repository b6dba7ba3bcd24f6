// A processor and its controller built, connected and taken down by the host
// library's Plugin, from a factory with two test classes.
#include <gtest/gtest.h>

#include "frame/audioeffect.h"
#include "frame/editcontroller2.h"
#include "frame/factory.h"
#include "frame/streamer.h"
#include "host/lib/plugin.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {

const FUID kProcessorUID{0xA0000001, 0, 0, 1};
const FUID kControllerUID{0xA0000002, 0, 0, 2};
int alive = 0;

class Processor : public AudioEffect {
public:
    Processor() {
        setControllerClass(kControllerUID);
        ++alive;
    }
    ~Processor() override { --alive; }
    tresult initialize(FUnknown* context) override {
        const tresult result = AudioEffect::initialize(context);
        if (result == kResultOk) addAudioOutput(u"Output", Plx::Layout::kStereo);
        return result;
    }
    tresult getState(IPlxStream* stream) override {
        PlxStreamer s(stream);
        return s.writeInt32(0x12345678) && s.writeDouble(0.25) ? kResultOk : kResultFalse;
    }
};

class Controller : public EditController2 {
public:
    Controller() { ++alive; }
    ~Controller() override { --alive; }
    tresult setComponentState(IPlxStream* stream) override {
        PlxStreamer s(stream);
        int32 magic = 0;
        if (!s.readInt32(magic) || magic != 0x12345678 || !s.readDouble(level)) return kResultFalse;
        return kResultOk;
    }
    tresult receiveText(const char* text) override {
        lastText = text;
        return kResultOk;
    }
    double level = 0;
    std::string lastText;
};

const ClassTableRow kRows[] = {
    {kProcessorUID, ClassInfo2::kDistributable, "Audio Module Class", "Test Processor", "Fx",
     createInstanceAs<Processor, IAudioProcessor>},
    {kControllerUID, 0, "Component Controller Class", "Test Controller", "",
     createInstanceAs<Controller, IPlxEditController>},
};

} // namespace

TEST(HostPlugin, BuildsConnectsAndTakesDownAPair) {
    IPlxFactory* factory = getPluginFactory(kRows);
    ASSERT_NE(factory, nullptr);
    auto host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    {
        std::string error;
        auto plugin = Host::Plugin::create(factory, kProcessorUID, host.get(), &error);
        ASSERT_TRUE(plugin) << error;
        EXPECT_EQ(alive, 2);
        EXPECT_EQ(plugin->component()->getBusCount(kAudio, kOutput), 1);
        auto* controller = static_cast<Controller*>(plugin->controller());
        EXPECT_EQ(controller->level, 0.25); // the processor's state reached the controller
        EXPECT_EQ(controller->getComponentHandler(), static_cast<IComponentHandler*>(plugin->handler()));

        // The two are connected: a text from the processor arrives.
        auto* processor = static_cast<Processor*>(plugin->component());
        EXPECT_EQ(processor->sendTextMessage("hi"), kResultOk);
        EXPECT_EQ(controller->lastText, "hi");
        EXPECT_EQ(controller->getPeer(), static_cast<IConnectionPoint*>(processor));
    }
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(host->refCount(), 1);

    std::string error;
    EXPECT_FALSE(Host::Plugin::create(factory, kControllerUID, host.get(), &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(Host::Plugin::create(factory, FUID(1, 1, 1, 1), host.get(), &error));
    EXPECT_FALSE(Host::Plugin::create(nullptr, kProcessorUID, host.get(), &error));
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(factory->release(), 0u);
}
