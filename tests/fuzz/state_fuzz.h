// What the state fuzzers share: one effect's processor and controller set up
// as a host does, with a good state of the processor to mutate, and the run
// of one input.
//
// An input whose first byte is odd is applied as a mutation of the good state
// (XOR over its bytes, optionally cut short), so that the fuzzer reaches the
// records behind the header without a seed corpus; an even first byte passes
// the rest through as raw bytes. Every stream must be answered with a result
// code, never a crash, a leak or undefined behaviour; whatever the processor
// took up must save again and load into the controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/funknown.h"
#include "frame/ihostapplication.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"

namespace StateFuzz {

using namespace Tannhofen;

template <class Processor, class Controller>
struct Plugin {
    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    Processor* processor = new Processor();
    Controller* controller = new Controller();
    std::vector<uint8_t> goodState;

    // `prepare(processor)` may move it away from its defaults before the good
    // state is taken, so that mutations reach real values.
    template <class Prepare>
    Plugin(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out, Prepare&& prepare) {
        Plx::IPlxHostApplication* context = host.get();
        processor->initialize(context);
        controller->initialize(context);
        processor->setBusArrangements(&in, 1, &out, 1);
        prepare(*processor);
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

    int run(const uint8_t* data, size_t size) {
        std::vector<uint8_t> bytes;
        if (size > 0 && (data[0] & 1) && !goodState.empty()) {
            bytes = goodState;
            for (size_t i = 1; i < size; ++i) bytes[(i - 1) % bytes.size()] ^= data[i];
            if (data[0] & 2) bytes.resize((size * 7) % (bytes.size() + 1));
        } else if (size > 0) {
            bytes.assign(data + 1, data + size);
        }

        auto stream = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(bytes));
        const Plx::tresult loaded = processor->setState(stream.get());
        if (loaded != Plx::kResultOk && loaded != Plx::kResultFalse) __builtin_trap();

        auto saved = Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
        if (processor->getState(saved.get()) == Plx::kResultOk) {
            saved->rewind();
            controller->setComponentState(saved.get());
        }
        stream->rewind();
        controller->setComponentState(stream.get());
        return 0;
    }
};

} // namespace StateFuzz
