// Cost of one gain-matrix recomputation, the most the converter's model does
// per processing slice. "slice" reports the time as a fraction of one slice of
// about 5.34 ms at 48 kHz.
#include <benchmark/benchmark.h>

#include "mix/mixer_model.h"

using namespace Tannhofen;

namespace {

constexpr double kSliceSeconds = 5.34e-3;

void updateMain(benchmark::State& state, Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    Mix::MMixerModel model;
    model.createGainSet();
    model.setArrangements(in, out);
    for (int32_t id : {Mix::ParamId::kLfeLevel, Mix::ParamId::kCenterLvl, Mix::ParamId::kSurroundLvl,
                       Mix::ParamId::kTopLvl, Mix::ParamId::kBottomLvl, Mix::ParamId::kSideLvl})
        model.setParamValue(id, model.getDefault(id));
    for (auto _ : state) {
        model.updateMain(false);
        benchmark::DoNotOptimize(model.getGainSet()->matrix[0].data.data());
        benchmark::ClobberMemory();
    }
    state.counters["slice"] = benchmark::Counter(
        kSliceSeconds, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_UpdateMain_22_2_to_7_1_4(benchmark::State& state) {
    updateMain(state, Plx::Layout::k22_2, Plx::Layout::k7_1_4);
}
void BM_UpdateMain_7_1_4_to_5_1(benchmark::State& state) {
    updateMain(state, Plx::Layout::k7_1_4, Plx::Layout::k5_1);
}

} // namespace

BENCHMARK(BM_UpdateMain_22_2_to_7_1_4);
BENCHMARK(BM_UpdateMain_7_1_4_to_5_1);
