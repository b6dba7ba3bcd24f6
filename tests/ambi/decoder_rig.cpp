#include "tests/ambi/decoder_rig.h"

#include <bit>
#include <cstring>

#include "frame/class_ids.h"
#include "host/lib/connection_tap.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "tests/support/rt_guard.h"

namespace DecoderTest {

Plx::tresult TestHost::queryInterface(const Plx::TUID& iid, void** obj) {
    if (!obj) return Plx::kInvalidArgument;
    *obj = nullptr;
    if (Plx::equalTUID(iid, Plx::FUnknown::iid) || Plx::equalTUID(iid, Plx::IPlxHostApplication::iid))
        *obj = static_cast<Plx::IPlxHostApplication*>(this);
    else if (offersTracker && Plx::equalTUID(iid, Plx::IPlxHeadTracking::iid))
        *obj = static_cast<Plx::IPlxHeadTracking*>(this);
    else if (offersSelector && Plx::equalTUID(iid, Plx::IPlxFileSelector::iid))
        *obj = static_cast<Plx::IPlxFileSelector*>(this);
    return *obj ? Plx::kResultOk : Plx::kNoInterface;
}

Plx::tresult TestHost::registerReceiver(Plx::IHeadTrackingReceiver* r) {
    if (!r || receiver) return Plx::kResultFalse;
    receiver = r;
    return Plx::kResultOk;
}

Plx::tresult TestHost::unregisterReceiver(Plx::IHeadTrackingReceiver* r) {
    if (r != receiver) return Plx::kResultFalse;
    receiver = nullptr;
    return Plx::kResultOk;
}

Plx::tresult TestHost::selectFile(const char16_t* title, const char16_t*, const char16_t* extension,
                                  char16_t* path, uint32_t characters) {
    selectorTitle = title ? title : u"";
    if (chosenFile.empty() || std::u16string(extension) != u"sofa" || characters <= chosenFile.size())
        return Plx::kResultFalse;
    std::copy(chosenFile.begin(), chosenFile.end(), path);
    path[chosenFile.size()] = 0;
    return Plx::kResultOk;
}

Host::Module& DecoderRig::module() {
    static std::unique_ptr<Host::Module> loaded = [] {
        std::string error;
        auto m = Host::Module::load(PLX_MODULE_PATH, &error);
        if (!m) ADD_FAILURE() << error;
        return m;
    }();
    return *loaded;
}

namespace {

Seen record(Plx::IMessage* message, bool toController) {
    Seen seen;
    seen.id = message->getMessageID() ? message->getMessageID() : "";
    seen.toController = toController;
    Plx::IPlxAttributes* a = message->getAttributes();
    if (!a) return seen;
    for (const char* name : {"changedAlgoType", "hrirMode", "usedAsPanner", "usedInControlRoom", "status",
                             "Order", "hrirModeChanged", "stereoModeBinaural"}) {
        int64_t value = 0;
        if (a->getInt(name, &value) == Plx::kResultOk) seen.ints[name] = value;
    }
    for (const char* name : {"sofaName", "filename", "username"}) {
        char16_t text[1100] = {};
        if (a->getString(name, text, sizeof text) == Plx::kResultOk) seen.strings[name] = text;
    }
    for (const char* name : {"input", "output", "binary"}) {
        const void* data = nullptr;
        uint32_t size = 0;
        if (a->getBinary(name, &data, &size) == Plx::kResultOk)
            seen.blobs[name].assign(static_cast<const uint8_t*>(data),
                                    static_cast<const uint8_t*>(data) + size);
    }
    return seen;
}

} // namespace

DecoderRig::DecoderRig(Options options)
    : host(options.tracker, options.selector),
      changes(IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create())),
      outChanges(IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create())) {
    component = module().createInstance<Plx::IComponent>(Plx::kAmbiBinProcessorUID);
    if (!component) {
        ADD_FAILURE() << "the factory made no AmbiBinProcessor";
        return;
    }
    processor =
        IPtr<Plx::IAudioProcessor>::adopt(Plx::queryInterfaceOf<Plx::IAudioProcessor>(component.get()));
    processorPoint =
        IPtr<Plx::IConnectionPoint>::adopt(Plx::queryInterfaceOf<Plx::IConnectionPoint>(component.get()));
    EXPECT_EQ(component->initialize(host.unknown()), Plx::kResultOk);
    // As a host does: the buses that are active by default are switched on.
    for (int dir : {Plx::kInput, Plx::kOutput})
        for (int32_t i = 0; i < component->getBusCount(Plx::kAudio, dir); ++i) {
            Plx::BusInfo info{};
            if (component->getBusInfo(Plx::kAudio, dir, i, &info) == Plx::kResultOk &&
                (info.flags & Plx::kDefaultActive))
                component->activateBus(Plx::kAudio, dir, i, 1);
        }
    handler = IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    if (options.controller) {
        Plx::TUID controllerClass{};
        EXPECT_EQ(component->getControllerClassId(&controllerClass), Plx::kResultOk);
        controller = module().createInstance<Plx::IPlxEditController>(Plx::FUID(controllerClass));
        if (!controller) {
            ADD_FAILURE() << "the factory made no AmbiBinController";
            return;
        }
        EXPECT_EQ(controller->initialize(host.unknown()), Plx::kResultOk);
        controller->setComponentHandler(handler.get());
        controllerPoint = IPtr<Plx::IConnectionPoint>::adopt(
            Plx::queryInterfaceOf<Plx::IConnectionPoint>(controller.get()));
    }
    auto tap = [this](Plx::IConnectionPoint* target, bool toController) {
        return IPtr<Plx::IConnectionPoint>::adopt(Host::ConnectionTap::create(
            target, [this, toController](Plx::IMessage* m) { messages.push_back(record(m, toController)); }));
    };
    processorPeer = tap(controllerPoint.get(), true);
    EXPECT_EQ(processorPoint->connect(processorPeer.get()), Plx::kResultOk);
    if (controllerPoint) {
        controllerPeer = tap(processorPoint.get(), false);
        EXPECT_EQ(controllerPoint->connect(controllerPeer.get()), Plx::kResultOk);
    }
    // Let the output changes grow once, as a host's do after its first blocks.
    for (Plx::ParamID id = 200; id <= 700; ++id) outChanges->addChange(id, 0, 0.0);
    outChanges->clear();
    for (Plx::ParamID id = 100; id < 140; ++id) changes->addChange(id, 0, 0.0);
    changes->clear();
}

DecoderRig::~DecoderRig() {
    if (!component) return;
    if (active) stop();
    processorPoint->disconnect(processorPeer.get());
    if (controller) {
        controllerPoint->disconnect(controllerPeer.get());
        controller->setComponentHandler(nullptr);
        controller->terminate();
    }
    component->terminate();
}

Plx::tresult DecoderRig::arrange(SpeakerArrangement in, SpeakerArrangement out) {
    SpeakerArrangement ins[2] = {in, Plx::Layout::kStereo};
    return processor->setBusArrangements(ins, 2, &out, 1);
}

Plx::tresult DecoderRig::setup(double rate, int maxBlock, int size, int mode) {
    sampleSize = size;
    Plx::PlxProcessSetup s{mode, size, maxBlock, rate};
    return processor->setupProcessing(&s);
}

Plx::tresult DecoderRig::start() {
    const Plx::tresult r = component->setActive(1);
    processor->setProcessing(1);
    active = true;
    return r;
}

void DecoderRig::stop() {
    processor->setProcessing(0);
    component->setActive(0);
    active = false;
}

SpeakerArrangement DecoderRig::bus(int dir, int index) {
    SpeakerArrangement arr = 0;
    processor->getBusArrangement(dir, index, &arr);
    return arr;
}

template <class T>
Plx::tresult DecoderRig::process(PlanarBlock<T>& in, PlanarBlock<T>& out, uint32_t frames,
                                 PlanarBlock<T>* aux) {
    Plx::PlxAudioBuffers buses[3]{};
    PlanarBlock<T>* blocks[3] = {&in, aux, &out};
    for (int b = 0; b < 3; ++b) {
        if (!blocks[b]) continue;
        buses[b].numChannels = static_cast<int32_t>(blocks[b]->data.size());
        if constexpr (sizeof(T) == sizeof(float))
            buses[b].channelBuffers32 = blocks[b]->p();
        else
            buses[b].channelBuffers64 = blocks[b]->p();
    }
    Plx::PlxProcessData data{};
    data.symbolicSampleSize = sizeof(T) == sizeof(float) ? Plx::kSample32 : Plx::kSample64;
    data.numSamples = static_cast<int32_t>(frames);
    data.numInputs = aux ? 2 : 1;
    data.numOutputs = 1;
    data.inputs = buses;
    data.outputs = &buses[2];
    return processData(data);
}

Plx::tresult DecoderRig::processData(Plx::PlxProcessData& data) {
    takeEdits();
    outChanges->clear();
    data.inputParameterChanges = changes.get();
    data.outputParameterChanges = outChanges.get();
    RtGuard::arm();
    const Plx::tresult r = processor->process(&data);
    const RtGuard::Counts counts = RtGuard::disarm();
    EXPECT_EQ(counts.allocations, 0) << "process allocated";
    EXPECT_EQ(counts.locks, 0) << "process took a lock";
    changes->clear();
    return r;
}

template Plx::tresult DecoderRig::process<float>(PlanarBlock<float>&, PlanarBlock<float>&, uint32_t,
                                                 PlanarBlock<float>*);
template Plx::tresult DecoderRig::process<double>(PlanarBlock<double>&, PlanarBlock<double>&, uint32_t,
                                                  PlanarBlock<double>*);

void DecoderRig::takeEdits() {
    for (const auto& edit : handler->edits)
        if (edit.kind == Host::ComponentHandler::EditKind::Perform)
            changes->addChange(edit.id, 0, edit.value);
    handler->edits.clear();
}

void DecoderRig::serviceRestarts() {
    while (!handler->restarts.empty()) {
        int32_t flags = 0;
        for (int32_t f : handler->restarts) flags |= f;
        handler->restarts.clear();
        if (!(flags & (Plx::kIoChanged | Plx::kLatencyChanged | Plx::kReloadComponent))) continue;
        const bool wasActive = active;
        if (wasActive) stop();
        if (flags & Plx::kIoChanged) arrange(bus(Plx::kInput), bus(Plx::kOutput));
        if (wasActive) start();
    }
}

Plx::tresult DecoderRig::sendInt(const char* id, const char* attribute, int64_t value) {
    IPtr<Host::HostMessage> m = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    m->setMessageID(id);
    m->getAttributes()->setInt(attribute, value);
    return processorPoint->notify(m.get());
}

Plx::tresult DecoderRig::sendString(const char* id, const char* attribute, const std::u16string& text) {
    IPtr<Host::HostMessage> m = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    m->setMessageID(id);
    m->getAttributes()->setString(attribute, text.c_str());
    return processorPoint->notify(m.get());
}

Plx::tresult DecoderRig::sendBinary(const char* id, const char* attribute, const void* data, uint32_t size) {
    IPtr<Host::HostMessage> m = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    m->setMessageID(id);
    m->getAttributes()->setBinary(attribute, data, size);
    return processorPoint->notify(m.get());
}

Plx::tresult DecoderRig::sendId(const char* id) {
    IPtr<Host::HostMessage> m = IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    m->setMessageID(id);
    return processorPoint->notify(m.get());
}

std::vector<uint8_t> DecoderRig::saveState() {
    IPtr<Host::MemoryStream> stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    EXPECT_EQ(component->getState(stream.get()), Plx::kResultOk);
    return stream->bytes();
}

Plx::tresult DecoderRig::loadState(const std::vector<uint8_t>& bytes) {
    IPtr<Host::MemoryStream> stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
    return component->setState(stream.get());
}

Plx::tresult DecoderRig::syncController() {
    IPtr<Host::MemoryStream> stream =
        IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(saveState()));
    return controller->setComponentState(stream.get());
}

std::vector<Seen> DecoderRig::seen(const std::string& id, bool toController) const {
    std::vector<Seen> found;
    for (const Seen& m : messages)
        if (m.id == id && m.toController == toController) found.push_back(m);
    return found;
}

const Seen* DecoderRig::last(const std::string& id, bool toController) const {
    for (auto it = messages.rbegin(); it != messages.rend(); ++it)
        if (it->id == id && it->toController == toController) return &*it;
    return nullptr;
}

StateBytes& StateBytes::i32(int32_t v) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i)));
    return *this;
}

StateBytes& StateBytes::i64(int64_t v) {
    for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(v) >> (8 * i)));
    return *this;
}

StateBytes& StateBytes::f64(double v) {
    return i64(std::bit_cast<int64_t>(v));
}

StateBytes& StateBytes::raw(const std::string& s) {
    bytes.insert(bytes.end(), s.begin(), s.end());
    return *this;
}

} // namespace DecoderTest
