// Cost of the panner's process() at 48 kHz in blocks of 512, through the
// module's exports, for 7.1.4 into 22.2 while posX and posY follow a circle
// (a point every 64 samples, one turn in two seconds): as a multiple of real
// time, beside the converter's process() for the same pair ("vsConverter":
// panner time over converter time, measured in the same run).
#include <cmath>

#include "bench/effect_process.h"
#include "frame/class_ids.h"

namespace {

using namespace BenchProcess;
namespace Layout = Plx::Layout;

// A circle around the middle of the room, a point every 64 samples.
void orbit(int64_t block, Host::ParameterChanges& changes) {
    for (int t = 63; t < kBlock; t += 64) {
        const double turn = static_cast<double>(block * kBlock + t) / (2.0 * kRate);
        changes.addChange(0, t, 0.5 + 0.4 * std::sin(2.0 * M_PI * turn));
        changes.addChange(1, t, 0.5 - 0.4 * std::cos(2.0 * M_PI * turn));
    }
}

void still(int64_t, Host::ParameterChanges&) {}

// Seconds per block of the converter for the same pair, the best of a few runs.
double converterSeconds(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    RunningEffect converter(Plx::kMatrixMixerProcessorUID, in, out);
    if (!converter) return 0.0;
    double best = 1e9;
    for (int run = 0; run < 3; ++run) {
        const double t0 = threadSeconds();
        for (int64_t b = 0; b < 300; ++b) converter.processOnce(b, still);
        best = std::min(best, (threadSeconds() - t0) / 300.0);
    }
    return best;
}

void runPanner(benchmark::State& state, Plx::SpeakerArrangement in, Plx::SpeakerArrangement out,
               bool moving) {
    RunningEffect panner(Plx::kRadialPannerProcessorUID, in, out);
    if (!panner) {
        state.SkipWithError("no RadialPanner");
        return;
    }
    const double perBlock = moving ? panner.run(state, orbit) : panner.run(state, still);
    const double converter = converterSeconds(in, out);
    state.counters["xRealTime"] = kBlock / kRate / perBlock;
    state.counters["converterXRealTime"] = converter > 0.0 ? kBlock / kRate / converter : 0.0;
    state.counters["vsConverter"] = converter > 0.0 ? perBlock / converter : 0.0;
}

void BM_Panner_714_to_222_Orbiting(benchmark::State& s) {
    runPanner(s, Layout::k7_1_4, Layout::k22_2, true);
}
void BM_Panner_714_to_222_Still(benchmark::State& s) {
    runPanner(s, Layout::k7_1_4, Layout::k22_2, false);
}
void BM_Panner_Mono_to_714_Orbiting(benchmark::State& s) {
    runPanner(s, Layout::kMono, Layout::k7_1_4, true);
}

BENCHMARK(BM_Panner_714_to_222_Orbiting);
BENCHMARK(BM_Panner_714_to_222_Still);
BENCHMARK(BM_Panner_Mono_to_714_Orbiting);

} // namespace
