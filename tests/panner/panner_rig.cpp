#include "tests/panner/panner_rig.h"

#include "frame/class_ids.h"
#include "frame/iconnectionpoint.h"
#include "frame/imessage.h"
#include "tests/support/host_block.h"
#include "tests/support/rt_guard.h"

namespace PannerTest {

Host::Module& PannerRig::module() {
    return TestSupport::moduleUnderTest();
}

PannerRig::PannerRig()
    : host(IPtr<Host::HostApplication>::adopt(Host::HostApplication::create())),
      buses(IPtr<Host::ObjectsBusManager>::adopt(Host::ObjectsBusManager::create())),
      changes(IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create())),
      outChanges(IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create())) {
    host->setObjectsBusManager(buses.get());
    std::string error;
    plugin = Host::Plugin::create(module().factory(), Plx::kRadialPannerProcessorUID, host.get(), &error);
    if (!plugin) {
        ADD_FAILURE() << error;
        return;
    }
    processor = plugin->processor();
    controller = plugin->controller();
    // Let the change lists grow once, as a host's do after its first blocks.
    for (Plx::ParamID id = 0; id < 460; ++id) {
        changes->addChange(id, 0, 0.0);
        changes->addChange(id, 1, 0.0);
        outChanges->addChange(id, 0, 0.0);
    }
    changes->clear();
    outChanges->clear();
    plugin->handler()->clear();
}

PannerRig::~PannerRig() {
    if (running) stop();
}

Plx::tresult PannerRig::arrange(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    return processor->setBusArrangements(&in, 1, &out, 1);
}

void PannerRig::start(int maxBlock, int size) {
    sampleSize = size;
    Plx::PlxProcessSetup setup{Plx::kRealtime, size, maxBlock, kRate};
    EXPECT_EQ(processor->setupProcessing(&setup), Plx::kResultOk);
    EXPECT_EQ(plugin->component()->setActive(1), Plx::kResultOk);
    processor->setProcessing(1);
    running = true;
}

void PannerRig::stop() {
    processor->setProcessing(0);
    plugin->component()->setActive(0);
    running = false;
}

int PannerRig::inputs() const {
    Plx::SpeakerArrangement arr = 0;
    processor->getBusArrangement(Plx::kInput, 0, &arr);
    return Plx::channelCount(arr);
}

int PannerRig::outputs() const {
    Plx::SpeakerArrangement arr = 0;
    processor->getBusArrangement(Plx::kOutput, 0, &arr);
    return Plx::channelCount(arr);
}

void PannerRig::automate(Plx::ParamID id, double value, int offset) {
    controller->setParamNormalized(id, value);
    changes->addChange(id, offset, value);
}

void PannerRig::forwardEdits() {
    for (const auto& e : plugin->handler()->edits)
        if (e.kind == Host::ComponentHandler::EditKind::Perform) changes->addChange(e.id, 0, e.value);
    plugin->handler()->clear();
}

template <class T>
Plx::tresult PannerRig::process(Block<T>& in, Block<T>& out, int frames) {
    TestSupport::HostBlock<T> block(in.pointers, out.pointers, frames);
    block.data.inputParameterChanges = changes.get();
    outChanges->clear();
    block.data.outputParameterChanges = outChanges.get();
    RtGuard::arm();
    const Plx::tresult r = processor->process(&block.data);
    const RtGuard::Counts counts = RtGuard::disarm();
    allocations += counts.allocations;
    locks += counts.locks;
    changes->clear();
    return r;
}

template Plx::tresult PannerRig::process(Block<float>&, Block<float>&, int);
template Plx::tresult PannerRig::process(Block<double>&, Block<double>&, int);

std::vector<float> PannerRig::settle(float level, int frames, int blocks) {
    Block<float> in(inputs(), frames), out(outputs(), frames);
    in.fill(level);
    for (int b = 0; b < blocks; ++b) EXPECT_EQ(process(in, out, frames), Plx::kResultOk);
    std::vector<float> last;
    for (auto& ch : out.data) last.push_back(ch[static_cast<size_t>(frames - 1)]);
    return last;
}

Plx::tresult PannerRig::tellProcessor(const char* id, const char* attribute, int64_t value) {
    IPtr<Plx::IMessage> message;
    void* obj = nullptr;
    if (host->createInstance(Plx::IMessage::iid, Plx::IMessage::iid, &obj) != Plx::kResultOk)
        return Plx::kResultFalse;
    message = IPtr<Plx::IMessage>::adopt(static_cast<Plx::IMessage*>(obj));
    message->setMessageID(id);
    if (attribute) message->getAttributes()->setInt(attribute, value);
    IPtr<Plx::IConnectionPoint> point =
        IPtr<Plx::IConnectionPoint>::adopt(Plx::queryInterfaceOf<Plx::IConnectionPoint>(plugin->component()));
    return point ? point->notify(message.get()) : Plx::kResultFalse;
}

} // namespace PannerTest
