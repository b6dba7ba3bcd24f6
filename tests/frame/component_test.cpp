// Components, buses and messages of the frame, driven as a host drives them.
#include <gtest/gtest.h>

#include <string>

#include "frame/audioeffect.h"
#include "frame/text.h"
#include "host/lib/host_application.h"
#include "host/lib/message.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {

class TestEffect : public AudioEffect {
public:
    PLX_OBJ_METHODS(TestEffect, AudioEffect, "Test::TestEffect")
    static TestEffect* make() { return new TestEffect; }
    tresult receiveText(const char* text) override {
        received.push_back(text);
        return kResultOk;
    }
    std::vector<std::string> received;
    bool wants64 = false;
    tresult canProcessSampleSize(int32 size) override {
        return size == kSample32 || (wants64 && size == kSample64) ? kResultOk : kResultFalse;
    }
};

template <class T>
struct Ref {
    T* p = T::make();
    ~Ref() { p->release(); }
    T* operator->() { return p; }
};

IPtr<Host::HostApplication> makeHost() {
    return IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
}

IPtr<IMessage> textMessage(const char16* text) {
    auto message = IPtr<IMessage>::adopt(Host::HostMessage::create());
    message->setMessageID("TextMessage");
    if (text) message->getAttributes()->setString("Text", text);
    return message;
}

} // namespace

TEST(ComponentBuses, ListsInfoAndActivationCheckEveryIndex) {
    Ref<TestEffect> fx;
    for (const char* base : {"Plx::AudioEffect", "Plx::Component", "Plx::ComponentBase", "FObject"})
        EXPECT_TRUE(fx->isTypeOf(base, true)) << base;

    AudioBus* in = fx->addAudioInput(u"Input", Plx::Layout::kMono);
    fx->addAudioOutput(u"Output", Plx::Layout::k5_1, kMain, 0);
    fx->addEventInput(u"Events", 3);
    EXPECT_EQ(fx->getAudioInput(1), nullptr);
    EXPECT_EQ(fx->getAudioInput(-1), nullptr);
    // (media type, direction) -> count; unknown kinds have none.
    for (auto [type, dir, count] : {std::tuple<int32, int32, int32>{kAudio, kInput, 1},
                                    {kAudio, kOutput, 1},
                                    {kEvent, kInput, 1},
                                    {kEvent, kOutput, 0},
                                    {2, kInput, 0},
                                    {kAudio, 2, 0}})
        EXPECT_EQ(fx->getBusCount(type, dir), count) << type << " " << dir;

    BusInfo info{};
    ASSERT_EQ(fx->getBusInfo(kAudio, kOutput, 0, &info), kResultOk);
    EXPECT_EQ(info.direction, kOutput);
    EXPECT_EQ(info.channelCount, 6); // Plx::Layout::k5_1: six speakers
    EXPECT_EQ(std::u16string(info.name), u"Output");
    EXPECT_EQ(info.busType, kMain);
    EXPECT_EQ(info.flags, 0u);
    ASSERT_EQ(fx->getBusInfo(kAudio, kInput, 0, &info), kResultOk);
    EXPECT_EQ(info.channelCount, 1);
    EXPECT_EQ(info.flags, 1u);
    ASSERT_EQ(fx->getBusInfo(kEvent, kInput, 0, &info), kResultOk);
    EXPECT_EQ(info.channelCount, 3);
    for (auto [type, index] : {std::pair<int32, int32>{kAudio, 1}, {kAudio, -1}, {7, 0}})
        EXPECT_EQ(fx->getBusInfo(type, kInput, index, &info), kInvalidArgument);
    EXPECT_EQ(fx->getBusInfo(kAudio, kInput, 0, nullptr), kInvalidArgument);

    // A long name is cut to 127 characters and terminated.
    std::u16string longName(200, u'x');
    fx->addAudioInput(longName.c_str(), Plx::Layout::kStereo, kAux);
    ASSERT_EQ(fx->getBusInfo(kAudio, kInput, 1, &info), kResultOk);
    EXPECT_EQ(std::u16string(info.name).size(), 127u);
    EXPECT_EQ(info.busType, kAux);

    EXPECT_EQ(fx->activateBus(kAudio, kInput, 0, true), kResultOk);
    EXPECT_TRUE(in->isActive());
    EXPECT_EQ(fx->activateBus(kAudio, kInput, 2, true), kInvalidArgument);
    EXPECT_EQ(fx->activateBus(kEvent, kOutput, 0, true), kInvalidArgument);

    EXPECT_EQ(fx->removeAllBusses(), kResultOk);
    EXPECT_EQ(fx->getBusCount(kAudio, kInput), 0);
    EXPECT_EQ(fx->getBusCount(kEvent, kInput), 0);
}

TEST(ComponentBuses, ArrangementsAreCheckedAgainstTheLists) {
    Ref<TestEffect> fx;
    fx->addAudioInput(u"In", Plx::Layout::kStereo);
    fx->addAudioOutput(u"Out", Plx::Layout::kStereo);

    SpeakerArrangement ins[2] = {Plx::Layout::kLRC, Plx::Layout::kStereo};
    SpeakerArrangement outs[1] = {Plx::Layout::k5_1};
    EXPECT_EQ(fx->setBusArrangements(ins, 2, outs, 1), kResultFalse); // one input bus only
    EXPECT_EQ(fx->setBusArrangements(ins, -1, outs, 1), kInvalidArgument);
    EXPECT_EQ(fx->setBusArrangements(nullptr, 1, outs, 1), kInvalidArgument);
    EXPECT_EQ(fx->setBusArrangements(ins, 1, outs, 1), kResultOk);
    EXPECT_EQ(fx->setBusArrangements(nullptr, 0, nullptr, 0), kResultOk);

    SpeakerArrangement arr = 0;
    ASSERT_EQ(fx->getBusArrangement(kInput, 0, &arr), kResultOk);
    EXPECT_EQ(arr, Plx::Layout::kLRC);
    ASSERT_EQ(fx->getBusArrangement(kOutput, 0, &arr), kResultOk);
    EXPECT_EQ(arr, Plx::Layout::k5_1);
    EXPECT_EQ(fx->getBusArrangement(kOutput, 1, &arr), kInvalidArgument);
    EXPECT_EQ(fx->getBusArrangement(2, 0, &arr), kInvalidArgument);
    EXPECT_EQ(fx->getBusArrangement(kInput, 0, nullptr), kInvalidArgument);
}

TEST(ComponentProcessing, SetupKeepsTheOldSampleSizeOnRefusal) {
    Ref<TestEffect> fx;
    PlxProcessSetup setup{kOffline, kSample64, 512, 48000.0};
    EXPECT_EQ(fx->setupProcessing(&setup), kResultFalse); // the rest of the setup is taken
    EXPECT_EQ(fx->getProcessSetup().symbolicSampleSize, kSample32);
    EXPECT_EQ(fx->getProcessSetup().sampleRate, 48000.0);
    fx->wants64 = true;
    EXPECT_EQ(fx->setupProcessing(&setup), kResultOk);
    EXPECT_EQ(fx->getProcessSetup().symbolicSampleSize, kSample64);
    EXPECT_EQ(fx->setupProcessing(nullptr), kInvalidArgument);

    EXPECT_EQ(fx->process(nullptr), kNotImplemented);

    TUID cid{};
    EXPECT_EQ(fx->getControllerClassId(&cid), kResultFalse);
    fx->setControllerClass(FUID(1, 2, 3, 4));
    ASSERT_EQ(fx->getControllerClassId(&cid), kResultOk);
    EXPECT_EQ(cid, makeTUID(1, 2, 3, 4));
    EXPECT_EQ(fx->getControllerClassId(nullptr), kInvalidArgument);
}

TEST(ComponentInterfaces, QueriesReachEveryFaceOfOneObject) {
    Ref<TestEffect> fx;
    for (const TUID& iid : {FUnknown::iid, IPluginBase::iid, IConnectionPoint::iid, IComponent::iid,
                            IAudioProcessor::iid, IProcessContextRequirements::iid, FObject::iid}) {
        void* obj = nullptr;
        ASSERT_EQ(fx->queryInterface(iid, &obj), kResultOk);
        EXPECT_EQ(fx->getRefCount(), 2);
        static_cast<FUnknown*>(obj)->release();
    }
    void* obj = fx.p;
    EXPECT_EQ(fx->queryInterface(makeTUID(9, 9, 9, 9), &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);
}

TEST(ComponentLife, InitializeAndConnectHoldOneOfEach) {
    auto host = makeHost();
    auto other = makeHost();
    Ref<TestEffect> fx;
    Ref<TestEffect> peer;
    Ref<TestEffect> stranger;

    EXPECT_EQ(fx->initialize(host->unknown()), kResultOk);
    EXPECT_EQ(host->refCount(), 2);
    EXPECT_EQ(fx->initialize(other->unknown()), kResultFalse); // the first context stays
    EXPECT_EQ(other->refCount(), 1);

    EXPECT_EQ(fx->connect(nullptr), kInvalidArgument);
    EXPECT_EQ(fx->connect(peer.p), kResultOk);
    EXPECT_EQ(peer->connect(fx.p), kResultOk);
    EXPECT_EQ(fx->connect(stranger.p), kResultFalse);
    EXPECT_EQ(fx->disconnect(stranger.p), kResultFalse);

    // terminate lets go of the context and tells the peer.
    EXPECT_EQ(fx->terminate(), kResultOk);
    EXPECT_EQ(host->refCount(), 1);
    EXPECT_EQ(fx->getPeer(), nullptr);
    EXPECT_EQ(peer->getPeer(), nullptr);
    EXPECT_EQ(peer->getRefCount(), 1);

    // A null context is accepted and remembered as none.
    EXPECT_EQ(fx->initialize(nullptr), kResultOk);
    EXPECT_EQ(fx->initialize(host->unknown()), kResultOk);
    fx->terminate();
}

TEST(ComponentMessages, TextMessagesArriveAsUtf8AndAreCutTo255) {
    auto host = makeHost();
    Ref<TestEffect> fx;
    Ref<TestEffect> peer;

    // Without a host there is no message to send.
    EXPECT_EQ(fx->allocateMessage(), nullptr);
    EXPECT_EQ(fx->sendTextMessage("hello"), kResultFalse);

    fx->initialize(host->unknown());
    EXPECT_EQ(fx->sendTextMessage("hello"), kResultFalse); // no peer yet
    EXPECT_EQ(fx->sendMessage(nullptr), kResultFalse);
    fx->connect(peer.p);

    EXPECT_EQ(fx->sendTextMessage("hello"), kResultOk);
    EXPECT_EQ(fx->sendTextMessage(std::string(300, 'a').c_str()), kResultOk);
    // Two-byte characters: 200 of them are 400 bytes; the cut keeps 127 whole ones.
    std::string umlauts;
    for (int i = 0; i < 200; ++i) umlauts += "\xC3\xA4";
    EXPECT_EQ(fx->sendTextMessage(umlauts.c_str()), kResultOk);
    ASSERT_EQ(peer->received.size(), 3u);
    EXPECT_EQ(peer->received[0], "hello");
    EXPECT_EQ(peer->received[1], std::string(255, 'a'));
    EXPECT_EQ(peer->received[2], umlauts.substr(0, 254));

    EXPECT_EQ(peer->notify(textMessage(u"gr\u00FC\u00DF").get()), kResultOk);
    EXPECT_EQ(peer->received.back(), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(peer->notify(textMessage(nullptr).get()), kResultFalse);
    EXPECT_EQ(peer->notify(nullptr), kInvalidArgument);
    auto noId = IPtr<IMessage>::adopt(Host::HostMessage::create());
    EXPECT_EQ(peer->notify(noId.get()), kResultFalse);

    // A message with only an ID reaches the peer, which answers false for it.
    EXPECT_EQ(fx->sendMessageID("resetMaxLevelIn"), kResultFalse);
    EXPECT_EQ(peer->received.size(), 4u);
    fx->terminate();
}
