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

#include "bench/effect_process.h"
#include "frame/class_ids.h"

namespace {

using namespace BenchProcess;

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
    RunningEffect effect(Plx::kMatrixMixerProcessorUID, inArr, outArr);
    if (!effect) {
        state.SkipWithError("no MatrixMixer");
        return;
    }
    const double processPerBlock =
        effect.run(state, [automate](int64_t block, Host::ParameterChanges& changes) {
            if (!automate) return;
            // The global level sweeps up and down, a new point every block.
            const double phase = static_cast<double>(block % 200) / 100.0;
            changes.addChange(134, kBlock - 1, 0.55 + 0.2 * (phase < 1.0 ? phase : 2.0 - phase));
        });
    const double sgemmPerBlock = sgemmSeconds(effect.ins, effect.outs);
    state.counters["xRealTime"] = kBlock / kRate / processPerBlock;
    state.counters["sgemmXRealTime"] = kBlock / kRate / sgemmPerBlock;
    state.counters["vsSgemm"] = processPerBlock / sgemmPerBlock;
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
