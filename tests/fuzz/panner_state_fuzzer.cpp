// libFuzzer target: The panner's processor and controller read arbitrary bytes as
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
#include <utility>
#include <vector>

#include "frame/funknown.h"
#include "frame/ihostapplication.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "panner/radial_panner.h"
#include "panner/rpanner_controller.h"
#include "panner/rpanner_param_table.h"

using namespace Tannhofen;

namespace {

struct Plugin {
    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    Panner::RadialPanner* processor = new Panner::RadialPanner();
    Panner::RPannerController* controller = new Panner::RPannerController();
    std::vector<uint8_t> goodState;

    Plugin() {
        Plx::IPlxHostApplication* context = host.get();
        processor->initialize(context);
        controller->initialize(context);
        Plx::SpeakerArrangement in = Plx::Layout::kStereo, out = Plx::Layout::k7_1_4;
        processor->setBusArrangements(&in, 1, &out, 1);
        // A state away from the defaults, so that mutations reach real values.
        for (auto [id, value] :
             {std::pair{0, 0.2}, {1, 0.7}, {2, 0.4}, {104, 0.3}, {111, 3.0 / 7.0}, {200, 0.5}})
            processor->setPlainValue(id, Panner::RPannerParamTable::instance().toPlain(id, value));
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
    std::vector<uint8_t> bytes;
    if (size > 0 && (data[0] & 1) && !p.goodState.empty()) {
        bytes = p.goodState;
        for (size_t i = 1; i < size; ++i) bytes[(i - 1) % bytes.size()] ^= data[i];
        if (data[0] & 2) bytes.resize((size * 7) % (bytes.size() + 1));
    } else if (size > 0) {
        bytes.assign(data + 1, data + size);
    }

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
