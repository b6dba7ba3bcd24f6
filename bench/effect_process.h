// What the process() benchmarks share: the module loaded through its exports,
// the thread's CPU time, and one effect set up for a pair of layouts at
// 48 kHz with planar test signals, whose process() a benchmark loop calls.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"

namespace BenchProcess {

using namespace Tannhofen;
inline constexpr int kBlock = 512;
inline constexpr double kRate = 48000.0;

inline Host::Module& module() {
    static std::unique_ptr<Host::Module> m = [] {
        std::string error;
        auto loaded = Host::Module::load(PLX_MODULE_PATH, &error);
        if (!loaded) std::fprintf(stderr, "%s\n", error.c_str());
        return loaded;
    }();
    return *m;
}

// CPU time of this thread: the machine may be shared, and descheduled time
// isn't the effect's cost.
inline double threadSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

// One effect of the module, set up and started for `in` to `out`.
class RunningEffect {
public:
    RunningEffect(const Plx::FUID& cid, Plx::SpeakerArrangement in, Plx::SpeakerArrangement out)
        : ins(Plx::channelCount(in)), outs(Plx::channelCount(out)) {
        component = module().createInstance<Plx::IComponent>(cid);
        if (!component) return;
        component->initialize(host->unknown());
        processor = Plx::IPtr<Plx::IAudioProcessor>::adopt(
            Plx::queryInterfaceOf<Plx::IAudioProcessor>(component.get()));
        processor->setBusArrangements(&in, 1, &out, 1);
        Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, kBlock, kRate};
        processor->setupProcessing(&setup);
        component->setActive(1);
        processor->setProcessing(1);
        inData.assign(ins, std::vector<float>(kBlock));
        outData.assign(outs, std::vector<float>(kBlock));
        for (int c = 0; c < ins; ++c) {
            for (int t = 0; t < kBlock; ++t)
                inData[c][t] = 0.5f * static_cast<float>(((c * 131 + t * 17) % 200) - 100) / 100.0f;
            inPtr.push_back(inData[c].data());
        }
        for (int c = 0; c < outs; ++c) outPtr.push_back(outData[c].data());
        inBus.numChannels = ins;
        inBus.channelBuffers32 = inPtr.data();
        outBus.numChannels = outs;
        outBus.channelBuffers32 = outPtr.data();
        data.symbolicSampleSize = Plx::kSample32;
        data.numSamples = kBlock;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        data.inputParameterChanges = changes.get();
    }
    ~RunningEffect() {
        if (!component) return;
        processor->setProcessing(0);
        component->setActive(0);
        component->terminate();
    }
    RunningEffect(const RunningEffect&) = delete;
    RunningEffect& operator=(const RunningEffect&) = delete;

    explicit operator bool() const { return component && processor; }
    // The changes of the next block; cleared before each block.
    Host::ParameterChanges& nextChanges() { return *changes.get(); }
    // Runs the benchmark loop, `automate(block)` filling each block's
    // changes; answers the CPU seconds per block.
    template <class Automate>
    double run(benchmark::State& state, Automate automate) {
        int64_t blocks = 0;
        const double started = threadSeconds();
        for (auto _ : state) processOnce(blocks++, automate);
        return (threadSeconds() - started) / static_cast<double>(std::max<int64_t>(blocks, 1));
    }
    // One block, number `block`, with the changes that `automate` gives it.
    template <class Automate>
    void processOnce(int64_t block, Automate automate) {
        changes->clear();
        automate(block, *changes.get());
        processor->process(&data);
        benchmark::DoNotOptimize(outData[0].data());
    }

    const int ins;
    const int outs;

private:
    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    Plx::IPtr<Plx::IComponent> component;
    Plx::IPtr<Plx::IAudioProcessor> processor;
    Plx::IPtr<Host::ParameterChanges> changes =
        Plx::IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    std::vector<std::vector<float>> inData, outData;
    std::vector<float*> inPtr, outPtr;
    Plx::PlxAudioBuffers inBus{}, outBus{};
    Plx::PlxProcessData data{};
};

} // namespace BenchProcess
