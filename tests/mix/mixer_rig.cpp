#include "tests/mix/mixer_rig.h"

namespace MixTest {

Host::Module& MixerRig::module() {
    return TestSupport::moduleUnderTest();
}

MixerRig::MixerRig()
    : host(IPtr<Host::HostApplication>::adopt(Host::HostApplication::create())),
      peer(std::make_unique<RecordingPeer>()),
      outChanges(IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create())) {
    component = module().createInstance<Plx::IComponent>(Plx::kMatrixMixerProcessorUID);
    if (!component) {
        ADD_FAILURE() << "the factory made no MatrixMixer";
        return;
    }
    processor =
        IPtr<Plx::IAudioProcessor>::adopt(Plx::queryInterfaceOf<Plx::IAudioProcessor>(component.get()));
    point = IPtr<Plx::IConnectionPoint>::adopt(Plx::queryInterfaceOf<Plx::IConnectionPoint>(component.get()));
    EXPECT_EQ(component->initialize(host->unknown()), Plx::kResultOk);
    Plx::TUID controllerClass{};
    if (component->getControllerClassId(&controllerClass) == Plx::kResultOk)
        controller = module().createInstance<Plx::IPlxEditController>(Plx::FUID(controllerClass));
    if (controller) {
        EXPECT_EQ(controller->initialize(host->unknown()), Plx::kResultOk);
        handler = IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
        controller->setComponentHandler(handler.get());
        controllerPoint = IPtr<Plx::IConnectionPoint>::adopt(
            Plx::queryInterfaceOf<Plx::IConnectionPoint>(controller.get()));
        RecordingPeer* recorder = peer.get();
        processorPeer = IPtr<Plx::IConnectionPoint>::adopt(Host::ConnectionTap::create(
            controllerPoint.get(), [recorder](Plx::IMessage* m) { recorder->record(m); }));
        EXPECT_EQ(point->connect(processorPeer.get()), Plx::kResultOk);
        EXPECT_EQ(controllerPoint->connect(point.get()), Plx::kResultOk);
    } else {
        processorPeer = IPtr<Plx::IConnectionPoint>(peer->point());
        EXPECT_EQ(point->connect(processorPeer.get()), Plx::kResultOk);
    }
    // Let the output changes grow once, as a host's do after its first blocks.
    for (Plx::ParamID id = 400; id < 460; ++id) outChanges->addChange(id, 0, 0.0);
    outChanges->clear();
}

MixerRig::~MixerRig() {
    if (!component) return;
    if (active) stop();
    point->disconnect(processorPeer.get());
    if (controller) {
        controllerPoint->disconnect(point.get());
        controller->setComponentHandler(nullptr);
        controller->terminate();
    }
    component->terminate();
}

Plx::tresult MixerRig::arrange(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    return processor->setBusArrangements(&in, 1, &out, 1);
}

Plx::tresult MixerRig::setup(double rate, int maxBlock, int sampleSize) {
    Plx::PlxProcessSetup s{Plx::kRealtime, sampleSize, maxBlock, rate};
    return processor->setupProcessing(&s);
}

void MixerRig::start() {
    EXPECT_EQ(component->setActive(1), Plx::kResultOk);
    processor->setProcessing(1);
    active = true;
}

void MixerRig::stop() {
    processor->setProcessing(0);
    component->setActive(0);
    active = false;
}

Plx::SpeakerArrangement MixerRig::busArrangement(int dir) {
    Plx::SpeakerArrangement arr = 0;
    processor->getBusArrangement(dir, 0, &arr);
    return arr;
}

Plx::tresult MixerRig::processData(Plx::PlxProcessData& data) {
    outChanges->clear();
    data.outputParameterChanges = outChanges.get();
    ++processCalls;
    RtGuard::arm();
    const Plx::tresult r = processor->process(&data);
    const RtGuard::Counts counts = RtGuard::disarm();
    EXPECT_EQ(counts.allocations, 0) << "process allocated";
    EXPECT_EQ(counts.locks, 0) << "process took a lock";
    return r;
}

Plx::tresult MixerRig::send(const char* id, const char* attribute, int64_t value) {
    IPtr<Host::HostMessage> message = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    message->setMessageID(id);
    if (attribute) message->getAttributes()->setInt(attribute, value);
    return point->notify(message.get());
}

Plx::tresult MixerRig::sendBinary(const char* id, const char* attribute, const void* data, uint32_t size) {
    IPtr<Host::HostMessage> message = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    message->setMessageID(id);
    message->getAttributes()->setBinary(attribute, data, size);
    return point->notify(message.get());
}

std::vector<uint8_t> MixerRig::saveState() {
    IPtr<Host::MemoryStream> stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    EXPECT_EQ(component->getState(stream.get()), Plx::kResultOk);
    return stream->bytes();
}

Plx::tresult MixerRig::loadState(const std::vector<uint8_t>& bytes) {
    IPtr<Host::MemoryStream> stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
    return component->setState(stream.get());
}

} // namespace MixTest
