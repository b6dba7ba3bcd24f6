// What the state fuzzers share: one effect's processor and controller set up
// as a host does, with a good state of the processor to mutate, and the run
// of one input.
//
// Each input stands for a stream as fuzz_stream.h tells. Every stream must be
// answered with a result code, never a crash, a leak or undefined behaviour;
// whatever the processor took up must save again and load into the controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/funknown.h"
#include "frame/ihostapplication.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "tests/fuzz/fuzz_stream.h"

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
        const std::vector<uint8_t> bytes = fuzzedStream(data, size, goodState);

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
