// A processor of the module as a host sees it through the factory: creation,
// initialize and connect twice, bus lists and their checks, and null pointers.
#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "frame/iconnectionpoint.h"
#include "host/lib/connection_tap.h"
#include "host/lib/host_application.h"
#include "host/lib/message.h"
#include "host/lib/module.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {

struct Loaded {
    std::unique_ptr<Host::Module> module = Host::Module::load(PLX_MODULE_PATH);
    IPtr<Host::HostApplication> host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());

    // The first processor class that the module can build.
    IPtr<IComponent> anyProcessor(FUID* cid = nullptr) {
        for (const ClassInfo2& info : module->classes()) {
            if (std::string(info.category) != "Audio Module Class") continue;
            if (auto component = module->createInstance<IComponent>(FUID(info.cid))) {
                if (cid) *cid = FUID(info.cid);
                return component;
            }
        }
        return {};
    }
};

IPtr<IConnectionPoint> tap(std::vector<std::string>* seen) {
    return IPtr<IConnectionPoint>::adopt(Host::ConnectionTap::create(nullptr, [seen](IMessage* message) {
        seen->push_back(message->getMessageID() ? message->getMessageID() : "");
    }));
}

} // namespace

TEST(ModuleProcessor, AnswersItsInterfacesAndNamesItsController) {
    Loaded m;
    ASSERT_TRUE(m.module && m.module->factory());
    FUID cid;
    auto component = m.anyProcessor(&cid);
    if (!component) GTEST_SKIP() << "no processor of the module can be created yet";

    // A known class asked for an interface it lacks: no object, no leak.
    void* obj = &obj;
    EXPECT_EQ(m.module->factory()->createInstance(cid.toTUID(), makeTUID(9, 9, 9, 9), &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);

    for (const TUID& iid : {IAudioProcessor::iid, IConnectionPoint::iid, IPluginBase::iid,
                            IProcessContextRequirements::iid, FUnknown::iid}) {
        ASSERT_EQ(component->queryInterface(iid, &obj), kResultOk);
        static_cast<FUnknown*>(obj)->release();
    }

    // The controller it names is a controller class of the same module.
    TUID controller{};
    ASSERT_EQ(component->getControllerClassId(&controller), kResultOk);
    bool listed = false;
    for (const ClassInfo2& info : m.module->classes())
        listed |= info.cid == controller && std::string(info.category) == "Component Controller Class";
    EXPECT_TRUE(listed);
    EXPECT_EQ(component->getControllerClassId(nullptr), kInvalidArgument);
}

TEST(ModuleProcessor, InitializeConnectAndBusesAreChecked) {
    Loaded m;
    ASSERT_TRUE(m.module && m.module->factory());
    auto component = m.anyProcessor();
    if (!component) GTEST_SKIP() << "no processor of the module can be created yet";

    ASSERT_EQ(component->initialize(m.host->unknown()), kResultOk);
    auto other = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    EXPECT_EQ(component->initialize(other->unknown()), kResultFalse);
    EXPECT_EQ(other->refCount(), 1);

    // Buses: every index and media type checked; channels are the mask's bits.
    auto processor = IPtr<IAudioProcessor>::adopt(queryInterfaceOf<IAudioProcessor>(component.get()));
    ASSERT_TRUE(processor);
    for (int32 dir : {kInput, kOutput}) {
        const int32 count = component->getBusCount(kAudio, dir);
        ASSERT_GE(count, 1);
        BusInfo info{};
        for (int32 i = 0; i < count; ++i) {
            ASSERT_EQ(component->getBusInfo(kAudio, dir, i, &info), kResultOk);
            EXPECT_EQ(info.mediaType, kAudio);
            EXPECT_EQ(info.direction, dir);
            SpeakerArrangement arr = 0;
            ASSERT_EQ(processor->getBusArrangement(dir, i, &arr), kResultOk);
            EXPECT_EQ(info.channelCount, std::popcount(arr));
            EXPECT_EQ(component->activateBus(kAudio, dir, i, true), kResultOk);
        }
        EXPECT_EQ(component->getBusInfo(kAudio, dir, count, &info), kInvalidArgument);
        EXPECT_EQ(component->getBusInfo(kAudio, dir, -1, &info), kInvalidArgument);
        EXPECT_EQ(component->getBusInfo(kAudio, dir, 0, nullptr), kInvalidArgument);
        EXPECT_EQ(component->activateBus(kAudio, dir, count, true), kInvalidArgument);
        SpeakerArrangement arr = 0;
        EXPECT_EQ(processor->getBusArrangement(dir, count, &arr), kInvalidArgument);
        EXPECT_EQ(processor->getBusArrangement(dir, 0, nullptr), kInvalidArgument);
    }
    EXPECT_EQ(component->getBusCount(5, kInput), 0);
    BusInfo info{};
    EXPECT_EQ(component->getBusInfo(5, kInput, 0, &info), kInvalidArgument);
    EXPECT_EQ(component->activateBus(5, kInput, 0, true), kInvalidArgument);
    EXPECT_EQ(processor->getBusArrangement(2, 0, nullptr), kInvalidArgument);

    // Null pointers are answered, not followed.
    EXPECT_EQ(processor->setupProcessing(nullptr), kInvalidArgument);
    EXPECT_NE(processor->process(nullptr), kResultOk);
    EXPECT_NE(component->setState(nullptr), kResultOk);
    EXPECT_NE(component->getState(nullptr), kResultOk);
    EXPECT_EQ(processor->setBusArrangements(nullptr, -1, nullptr, 0), kInvalidArgument);

    // One peer at a time.
    auto point = IPtr<IConnectionPoint>::adopt(queryInterfaceOf<IConnectionPoint>(component.get()));
    ASSERT_TRUE(point);
    std::vector<std::string> seen, seenByOther;
    auto peer = tap(&seen);
    auto stranger = tap(&seenByOther);
    EXPECT_EQ(point->connect(nullptr), kInvalidArgument);
    EXPECT_EQ(point->connect(peer.get()), kResultOk);
    EXPECT_EQ(point->connect(stranger.get()), kResultFalse);
    EXPECT_EQ(point->disconnect(stranger.get()), kResultFalse);
    EXPECT_TRUE(seenByOther.empty());
    EXPECT_EQ(point->notify(nullptr), kInvalidArgument);
    auto text = IPtr<IMessage>::adopt(Host::HostMessage::create());
    text->setMessageID("TextMessage");
    EXPECT_EQ(point->notify(text.get()), kResultFalse); // no "Text"
    text->getAttributes()->setString("Text", u"hello");
    EXPECT_EQ(point->notify(text.get()), kResultOk);
    EXPECT_EQ(point->disconnect(peer.get()), kResultOk);
    EXPECT_EQ(point->disconnect(peer.get()), kResultFalse);

    EXPECT_EQ(component->terminate(), kResultOk);
    EXPECT_EQ(m.host->refCount(), 1);
}
