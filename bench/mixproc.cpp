// Cost of MixMorph's process() at 48 kHz in blocks of 512, through the
// module's exports as a host calls it, as a multiple of real time; beside it
// the same matrix applied by one BLAS sgemm per block on contiguous buffers
// ("sgemmXRealTime"), and the ratio of the two times ("vsSgemm": 1.0 is as
// fast as the bare product). Times are the thread's CPU time.
#include <benchmark/benchmark.h>

#include <cblas.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

#include "frame/class_ids.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"

namespace {

using namespace Tannhofen;
constexpr int kBlock = 512;
constexpr double kRate = 48000.0;

Host::Module& module() {
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
double threadSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

// Seconds of one sgemm of (outs x ins) by (ins x kBlock), the best of a few runs.
double sgemmSeconds(int ins, int outs) {
    std::vector<float> g(ins * outs, 0.3f), x(ins * kBlock, 0.5f), y(outs * kBlock);
    double best = 1e9;
    for (int run = 0; run < 5; ++run) {
        const double t0 = threadSeconds();
        for (int k = 0; k < 400; ++k) {
            cblas_sgemm(CblasRowMajor, CblasTrans, CblasNoTrans, outs, kBlock, ins, 1.0f, g.data(), outs,
                        x.data(), kBlock, 0.0f, y.data(), kBlock);
            benchmark::DoNotOptimize(y.data());
        }
        best = std::min(best, (threadSeconds() - t0) / 400);
    }
    return best;
}

void runProcess(benchmark::State& state, Plx::SpeakerArrangement inArr, Plx::SpeakerArrangement outArr,
                bool automate) {
    auto host = Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    auto component = module().createInstance<Plx::IComponent>(Plx::kMatrixMixerProcessorUID);
    if (!component) {
        state.SkipWithError("no MatrixMixer");
        return;
    }
    component->initialize(host->unknown());
    auto processor =
        Plx::IPtr<Plx::IAudioProcessor>::adopt(Plx::queryInterfaceOf<Plx::IAudioProcessor>(component.get()));
    processor->setBusArrangements(&inArr, 1, &outArr, 1);
    Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, kBlock, kRate};
    processor->setupProcessing(&setup);
    component->setActive(1);
    processor->setProcessing(1);

    const int ins = Plx::channelCount(inArr);
    const int outs = Plx::channelCount(outArr);
    std::vector<std::vector<float>> inData(ins, std::vector<float>(kBlock)),
        outData(outs, std::vector<float>(kBlock));
    std::vector<float*> inPtr(ins), outPtr(outs);
    for (int c = 0; c < ins; ++c) {
        for (int t = 0; t < kBlock; ++t)
            inData[c][t] = 0.5f * static_cast<float>(((c * 131 + t * 17) % 200) - 100) / 100.0f;
        inPtr[c] = inData[c].data();
    }
    for (int c = 0; c < outs; ++c) outPtr[c] = outData[c].data();
    Plx::PlxAudioBuffers inBus{}, outBus{};
    inBus.numChannels = ins;
    inBus.channelBuffers32 = inPtr.data();
    outBus.numChannels = outs;
    outBus.channelBuffers32 = outPtr.data();
    auto changes = Plx::IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    Plx::PlxProcessData data{};
    data.symbolicSampleSize = Plx::kSample32;
    data.numSamples = kBlock;
    data.numInputs = data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    data.inputParameterChanges = changes.get();

    int64_t blocks = 0;
    const double started = threadSeconds();
    for (auto _ : state) {
        changes->clear();
        if (automate) {
            // The global level sweeps up and down, a new point every block.
            const double phase = static_cast<double>(blocks % 200) / 100.0;
            changes->addChange(134, kBlock - 1, 0.55 + 0.2 * (phase < 1.0 ? phase : 2.0 - phase));
        }
        processor->process(&data);
        benchmark::DoNotOptimize(outData[0].data());
        ++blocks;
    }
    const double processPerBlock =
        (threadSeconds() - started) / static_cast<double>(std::max<int64_t>(blocks, 1));
    const double sgemmPerBlock = sgemmSeconds(ins, outs);
    state.counters["xRealTime"] = kBlock / kRate / processPerBlock;
    state.counters["sgemmXRealTime"] = kBlock / kRate / sgemmPerBlock;
    state.counters["vsSgemm"] = processPerBlock / sgemmPerBlock;
    processor->setProcessing(0);
    component->setActive(0);
    component->terminate();
}

void BM_Process_714_to_Stereo(benchmark::State& s) {
    runProcess(s, Plx::Layout::k7_1_4, Plx::Layout::kStereo, false);
}
void BM_Process_222_to_714(benchmark::State& s) {
    runProcess(s, Plx::Layout::k22_2, Plx::Layout::k7_1_4, false);
}
void BM_Process_51_to_51_Routing(benchmark::State& s) {
    runProcess(s, Plx::Layout::k5_1, Plx::Layout::k5_1, false);
}
void BM_Process_222_to_714_Automated(benchmark::State& s) {
    runProcess(s, Plx::Layout::k22_2, Plx::Layout::k7_1_4, true);
}
void BM_Process_714_to_Stereo_Automated(benchmark::State& s) {
    runProcess(s, Plx::Layout::k7_1_4, Plx::Layout::kStereo, true);
}

BENCHMARK(BM_Process_714_to_Stereo);
BENCHMARK(BM_Process_222_to_714);
BENCHMARK(BM_Process_51_to_51_Routing);
BENCHMARK(BM_Process_222_to_714_Automated);
BENCHMARK(BM_Process_714_to_Stereo_Automated);

} // namespace
