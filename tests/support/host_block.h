// What the module's tests share as a host: the module under test, loaded once
// per test program through its three exports, and one block of planar
// buffers described to process() as a host describes it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "host/lib/module.h"

namespace TestSupport {

inline Tannhofen::Host::Module& moduleUnderTest() {
    static std::unique_ptr<Tannhofen::Host::Module> loaded = [] {
        std::string error;
        auto m = Tannhofen::Host::Module::load(PLX_MODULE_PATH, &error);
        if (!m) ADD_FAILURE() << error;
        return m;
    }();
    return *loaded;
}

// One input bus and one output bus of `frames` samples in the channels that
// `in` and `out` point to; the caller adds parameter changes and flags.
template <class T>
struct HostBlock {
    HostBlock(std::vector<T*>& in, std::vector<T*>& out, int32_t frames) {
        inBus.numChannels = static_cast<int32_t>(in.size());
        outBus.numChannels = static_cast<int32_t>(out.size());
        if constexpr (sizeof(T) == sizeof(float)) {
            inBus.channelBuffers32 = in.data();
            outBus.channelBuffers32 = out.data();
        } else {
            inBus.channelBuffers64 = in.data();
            outBus.channelBuffers64 = out.data();
        }
        data.symbolicSampleSize =
            sizeof(T) == sizeof(float) ? Tannhofen::Plx::kSample32 : Tannhofen::Plx::kSample64;
        data.numSamples = frames;
        data.numInputs = 1;
        data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
    }
    HostBlock(const HostBlock&) = delete;
    HostBlock& operator=(const HostBlock&) = delete;

    Tannhofen::Plx::PlxAudioBuffers inBus{};
    Tannhofen::Plx::PlxAudioBuffers outBus{};
    Tannhofen::Plx::PlxProcessData data{};
};

} // namespace TestSupport
