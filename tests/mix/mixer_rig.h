// A MixMorph processor as a host drives it: created through the module's
// factory, initialized with the host application, connected to its controller
// through a host tap that records every message the processor sends (to a
// recording peer alone when the module has no controller), and fed planar
// blocks. Every process call runs under the real-time guard.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/class_ids.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "frame/iconnectionpoint.h"
#include "frame/ieditcontroller.h"
#include "frame/imessage.h"
#include "host/lib/component_handler.h"
#include "host/lib/connection_tap.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"
#include "tests/mix/recording_peer.h"
#include "tests/support/host_block.h"
#include "tests/support/rt_guard.h"

namespace MixTest {

using namespace Tannhofen;
using Plx::IPtr;

// A block of planar channels with guard samples after each channel.
template <class T>
struct Planar {
    static constexpr int kGuard = 16;
    static constexpr T kCanary = T(12345.0);
    std::vector<std::vector<T>> channels;
    std::vector<T*> pointers;
    int frames = 0;

    Planar(int numChannels, int numFrames) : channels(numChannels), pointers(numChannels), frames(numFrames) {
        for (int c = 0; c < numChannels; ++c) {
            channels[c].assign(numFrames + kGuard, kCanary);
            std::fill(channels[c].begin(), channels[c].begin() + numFrames, T(0));
            pointers[c] = channels[c].data();
        }
    }
    T& at(int c, int t) { return pointers[c][t]; }
    bool guardsIntact() const {
        for (const auto& ch : channels)
            for (int t = frames; t < frames + kGuard; ++t)
                if (ch[t] != kCanary) return false;
        return true;
    }
};

class MixerRig {
public:
    // Loads the module once per test binary.
    static Host::Module& module();

    MixerRig();
    ~MixerRig();

    // Host steps, each with the processor's answer.
    Plx::tresult arrange(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out);
    Plx::tresult setup(double rate, int maxBlock, int sampleSize = Plx::kSample32);
    void start(); // setActive(true), setProcessing(true)
    void stop();  // setProcessing(false), setActive(false)
    Plx::SpeakerArrangement busArrangement(int dir);
    int inputs() { return Plx::channelCount(busArrangement(Plx::kInput)); }
    int outputs() { return Plx::channelCount(busArrangement(Plx::kOutput)); }

    // Runs one block under the real-time guard; outputs may be the inputs'
    // memory. The changes hold normalized parameter points.
    template <class T>
    Plx::tresult process(Planar<T>& in, Planar<T>& out, int frames, Host::ParameterChanges* changes = nullptr,
                         uint64_t inSilence = 0, uint64_t* outSilence = nullptr);
    // The same with explicit buffer structures, for malformed blocks.
    Plx::tresult processData(Plx::PlxProcessData& data);

    // Messages from the controller's side.
    Plx::tresult send(const char* id, const char* attribute = nullptr, int64_t value = 0);
    Plx::tresult sendBinary(const char* id, const char* attribute, const void* data, uint32_t size);

    std::vector<uint8_t> saveState();
    Plx::tresult loadState(const std::vector<uint8_t>& bytes);

    IPtr<Host::HostApplication> host;
    IPtr<Plx::IComponent> component;
    IPtr<Plx::IAudioProcessor> processor;
    IPtr<Plx::IConnectionPoint> point;
    std::unique_ptr<RecordingPeer> peer;
    IPtr<Plx::IPlxEditController> controller; // null when the module has none
    IPtr<Host::ComponentHandler> handler;
    IPtr<Plx::IConnectionPoint> controllerPoint;
    IPtr<Plx::IConnectionPoint> processorPeer; // what the processor is connected to
    IPtr<Host::ParameterChanges> outChanges;
    long processCalls = 0;

private:
    bool active = false;
};

// The level scale of the converter: normalized n to linear n ^ e * 2, with the
// power in single precision; and its inverse.
inline double levelLinear(double n) {
    return static_cast<double>(std::pow(static_cast<float>(n), static_cast<float>(2.4094208396532095))) * 2.0;
}
inline double levelNormalized(double linear) {
    return static_cast<double>(
        std::pow(static_cast<float>(linear / 2.0), static_cast<float>(0.41503749927884376)));
}

// Parameter ids used by the tests.
inline constexpr Plx::ParamID kCenterLvl = 128;
inline constexpr Plx::ParamID kSurroundLvl = 129;
inline constexpr Plx::ParamID kGlobalLvl = 134;
inline constexpr Plx::ParamID kDirectMode = 199;

template <class T>
Plx::tresult MixerRig::process(Planar<T>& in, Planar<T>& out, int frames, Host::ParameterChanges* changes,
                               uint64_t inSilence, uint64_t* outSilence) {
    TestSupport::HostBlock<T> block(in.pointers, out.pointers, frames);
    block.inBus.silenceFlags = inSilence;
    block.data.inputParameterChanges = changes;
    const Plx::tresult r = processData(block.data);
    if (outSilence) *outSilence = block.outBus.silenceFlags;
    return r;
}

} // namespace MixTest
