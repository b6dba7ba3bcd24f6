// libFuzzer target: MixMorph's processor and controller read arbitrary bytes as
// a saved state. Every stream must be answered with a result code, never a
// crash, a leak or undefined behaviour; whatever the processor took up must
// save again and load into the controller.
//
// An input whose first byte is odd is applied as a mutation of a good state
// (XOR over its bytes, optionally cut short), so that the fuzzer reaches the
// records behind the header without a seed corpus; an even first byte passes
// the rest through as raw bytes.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/funknown.h"
#include "frame/ihostapplication.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "mix/matrix_mixer.h"
#include "mix/mixer_controller.h"
#include "tests/fuzz/fuzz_stream.h"

using namespace Tannhofen;

namespace {

struct Plugin {
    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    Mix::MatrixMixer* processor = new Mix::MatrixMixer();
    Mix::MMixerController* controller = new Mix::MMixerController();
    std::vector<uint8_t> goodState;

    Plugin() {
        Plx::IPlxHostApplication* context = host.get();
        processor->initialize(context);
        controller->initialize(context);
        Plx::SpeakerArrangement in = Plx::Layout::k5_1, out = Plx::Layout::kStereo;
        processor->setBusArrangements(&in, 1, &out, 1);
        auto saved = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
        processor->getState(saved.get());
        goodState = saved->bytes();
    }
    ~Plugin() {
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

    auto stream = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
    const Plx::tresult loaded = p.processor->setState(stream.get());
    if (loaded != Plx::kResultOk && loaded != Plx::kResultFalse) __builtin_trap();

    auto saved = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    if (p.processor->getState(saved.get()) == Plx::kResultOk) {
        saved->rewind();
        p.controller->setComponentState(saved.get());
    }
    stream->rewind();
    p.controller->setComponentState(stream.get());
    return 0;
}
