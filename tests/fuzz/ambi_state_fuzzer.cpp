// libFuzzer target: SphereDecoder's processor and controller read arbitrary
// bytes as saved states. Every stream must be answered with a result code,
// never a crash, a leak or undefined behaviour; a stream the processor refuses
// leaves its state as it was, and one it takes saves and loads again to the
// same bytes and loads into the controller.
//
// An input whose first byte is odd is applied as a mutation of a good state
// (XOR over its bytes, optionally cut short), so that the fuzzer reaches the
// items behind the header without a seed corpus; an even first byte passes
// the rest through as raw bytes. The same bytes also go to the controller's
// own state.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ambi/ambi_bin_controller.h"
#include "ambi/ambi_bin_processor.h"
#include "ambi/ambi_messages.h"
#include "frame/speaker_layouts.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "tests/fuzz/fuzz_stream.h"

using namespace Tannhofen;

namespace {

std::vector<uint8_t> saved(AmbiBin::AmbiBinProcessor* processor) {
    auto stream = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    if (processor->getState(stream.get()) != Plx::kResultOk) __builtin_trap();
    return stream->bytes();
}

struct Plugin {
    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    AmbiBin::AmbiBinProcessor* processor = new AmbiBin::AmbiBinProcessor();
    AmbiBin::AmbiBinController* controller = new AmbiBin::AmbiBinController();
    std::vector<uint8_t> goodState;

    Plugin() {
        Plx::IPlxHostApplication* context = host.get();
        processor->initialize(context);
        controller->initialize(context);
        processor->connect(controller);
        controller->connect(processor);
        Plx::SpeakerArrangement ins[2] = {Plx::Layout::kAmbi3, Plx::Layout::kStereo};
        Plx::SpeakerArrangement out = Plx::Layout::k7_1_4;
        processor->setBusArrangements(ins, 2, &out, 1);
        auto name = Plx::IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
        name->setMessageID(AmbiBin::Msg::kSofaFileChanged);
        name->getAttributes()->setString(AmbiBin::Msg::kFilename, u"/data/\u00E9t\u00E9.sofa");
        processor->notify(name.get());
        goodState = saved(processor);
    }
    ~Plugin() {
        processor->disconnect(controller);
        controller->disconnect(processor);
        controller->terminate();
        processor->terminate();
        controller->release();
        processor->release();
    }
};

Plugin& plugin() {
    static Plugin instance;
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Plugin& p = plugin();
    const std::vector<uint8_t> bytes = fuzzedStream(data, size, p.goodState);

    const std::vector<uint8_t> before = saved(p.processor);
    auto stream = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
    const Plx::tresult loaded = p.processor->setState(stream.get());
    if (loaded != Plx::kResultOk && loaded != Plx::kResultFalse) __builtin_trap();
    const std::vector<uint8_t> after = saved(p.processor);
    if (loaded != Plx::kResultOk && after != before) __builtin_trap();
    if (loaded == Plx::kResultOk) {
        auto again = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(after));
        if (p.processor->setState(again.get()) != Plx::kResultOk || saved(p.processor) != after)
            __builtin_trap();
        again->rewind();
        if (p.controller->setComponentState(again.get()) != Plx::kResultOk) __builtin_trap();
    }
    stream->rewind();
    p.controller->setComponentState(stream.get());
    stream->rewind();
    p.controller->setState(stream.get());
    return 0;
}
