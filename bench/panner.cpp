// Cost of the panner's work per processing slice while its image moves: the
// position recompute plus the gain update, as the processor runs them when
// automation moves the centre (two parameters in one slice, one recompute).
// Beside it, the converter's gain update for the same pair of layouts.
// "slice%" reports the CPU time as a percentage of one slice of about 5.34 ms
// at 48 kHz (the benchmark library prints an "s" after inverted rates: read
// the number alone).
#include <benchmark/benchmark.h>

#include "frame/speaker_layouts.h"
#include "mix/mixer_model.h"
#include "panner/panner_model.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx::Layout;

namespace {

constexpr double kSliceSeconds = 5.34e-3;

// Runs `slice` once per iteration and reports its share of a slice.
template <class Slice>
void timeSlices(benchmark::State& state, const Mix::MMixerBaseModel& model, Slice slice) {
    const float* gains = model.getGainSet()->matrix[Mix::MixGainSet::kNormal].data.data();
    for (auto _ : state) {
        slice();
        benchmark::DoNotOptimize(gains);
        benchmark::ClobberMemory();
    }
    // An inverted rate of (slice / 100) per iteration is the time per
    // iteration in hundredths of a slice.
    state.counters["slice%"] = benchmark::Counter(
        kSliceSeconds / 100.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void pannerMove(benchmark::State& state, Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    Panner::RPannerModel model;
    model.createGainSet();
    model.setArrangements(in, out);
    for (int32_t id : {Panner::ParamId::kPosY, Panner::ParamId::kPosZ, Panner::ParamId::kLfeVol})
        model.setParamValue(id, model.getDefault(id));
    model.setRotateZ(0.1);
    model.setTiltY(0.05);
    double x = 0.4;
    timeSlices(state, model, [&] {
        x = x == 0.4 ? 0.6 : 0.4;
        model.setDeferred(true);
        model.setPosX(x);
        model.setPosY(1.0 - x);
        model.setDeferred(false);
    });
}

void converterUpdate(benchmark::State& state, Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    Mix::MMixerModel model;
    model.createGainSet();
    model.setArrangements(in, out);
    using namespace Mix::ParamId;
    for (int32_t id : {kLfeLevel, kCenterLvl, kSurroundLvl, kTopLvl, kBottomLvl, kSideLvl})
        model.setParamValue(id, model.getDefault(id));
    timeSlices(state, model, [&] { model.updateMain(false); });
}

void BM_PannerMove_7_1_4_to_7_1_4(benchmark::State& state) {
    pannerMove(state, k7_1_4, k7_1_4);
}
void BM_ConverterUpdate_7_1_4_to_7_1_4(benchmark::State& state) {
    converterUpdate(state, k7_1_4, k7_1_4);
}
void BM_PannerMove_7_1_4_to_22_2(benchmark::State& state) {
    pannerMove(state, k7_1_4, k22_2);
}
void BM_ConverterUpdate_7_1_4_to_22_2(benchmark::State& state) {
    converterUpdate(state, k7_1_4, k22_2);
}
void BM_PannerMove_7_1_4_to_Ambi3(benchmark::State& state) {
    pannerMove(state, k7_1_4, kAmbi3);
}

} // namespace

BENCHMARK(BM_PannerMove_7_1_4_to_7_1_4);
BENCHMARK(BM_ConverterUpdate_7_1_4_to_7_1_4);
BENCHMARK(BM_PannerMove_7_1_4_to_22_2);
BENCHMARK(BM_ConverterUpdate_7_1_4_to_22_2);
BENCHMARK(BM_PannerMove_7_1_4_to_Ambi3);
