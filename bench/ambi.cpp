// The decoder's per-block stages at order 3 (16 channels), a block of 512
// frames, float: the sound-field rotation at rest, with the angles held, and
// with the angles changing every block (a 128-frame fade each time), beside
// one plain BLAS product of a 16 x 16 matrix by 16 x 512 frames; and the
// focus pass with its transform rebuilt every block, as the processor drives
// it. "blockShare" is the time of one call as a share of the 10.7 ms that 512
// frames last at 48 kHz.
#include "ambi/ambi2ambi_algo.h"
#include "ambi/ambi_rotation.h"

#include <benchmark/benchmark.h>
#include <cblas.h>

#include <random>
#include <vector>

namespace AmbiBin = Tannhofen::AmbiBin;

namespace {

constexpr uint32_t kChannels = 16;
constexpr uint32_t kBlock = 512;
constexpr double kRate = 48000.0;

struct Signal {
    Signal() : data(kChannels, std::vector<float>(kBlock)), in(kChannels), out(kChannels) {
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> dist(-1, 1);
        for (auto& ch : data)
            for (auto& x : ch) x = dist(rng);
        for (uint32_t c = 0; c < kChannels; ++c) {
            in[c] = data[c].data();
            out[c] = result[c].data();
        }
    }
    std::vector<std::vector<float>> data;
    std::vector<std::vector<float>> result =
        std::vector<std::vector<float>>(kChannels, std::vector<float>(kBlock));
    std::vector<float*> in, out;
};

void reportShare(benchmark::State& state) {
    state.counters["blockShare"] =
        benchmark::Counter(double(state.iterations()) * kBlock / kRate,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

enum class Motion { Rest, Held, Moving };

void Rotation(benchmark::State& state, Motion motion) {
    AmbiBin::AmbiRotationAlgo<float> algo;
    algo.setBlockSize(kBlock);
    algo.setChannels(kChannels, kChannels);
    algo.order = 3;
    if (motion == Motion::Held) {
        algo.setYaw(0.3);
        algo.setPitch(0.6);
        algo.setRoll(0.45);
    }
    algo.init();
    algo.reset();
    Signal s;
    int k = 0;
    for (auto _ : state) {
        if (motion == Motion::Moving) algo.setYaw(++k % 2 ? 0.3 : 0.31);
        algo.process(s.in.data(), s.out.data(), kBlock);
        benchmark::DoNotOptimize(s.result[0][0]);
    }
    reportShare(state);
}

// The product alone on contiguous frame-major data, no copies.
void BlasProduct(benchmark::State& state) {
    std::vector<float> m(kChannels * kChannels, 0.01f), x(kChannels * kBlock, 0.5f), y(kChannels * kBlock);
    for (auto _ : state) {
        cblas_sgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, kChannels, kBlock, kChannels, 1.0f, m.data(),
                    kChannels, x.data(), kChannels, 0.0f, y.data(), kChannels);
        benchmark::DoNotOptimize(y[0]);
    }
    reportShare(state);
}

void FocusRebuiltEveryBlock(benchmark::State& state) {
    AmbiBin::Ambi2AmbiAlgo<float> algo(kChannels);
    algo.setOrder(3);
    algo.setChannels(kChannels, kChannels);
    algo.setBlockSize(kBlock);
    algo.collectBlockSize = kBlock;
    algo.setSampleRate(float(kRate));
    algo.init();
    algo.reset();
    algo.focusOn = 1;
    Signal s;
    for (auto _ : state) {
        algo.setFocusAzimuth(0.3);
        algo.setFocusElevation(0.6);
        algo.setFocusSize(0.333);
        algo.setFocusAttenuation(0.2);
        algo.processBlock(s.in.data(), s.out.data(), kBlock);
        benchmark::DoNotOptimize(s.result[0][0]);
    }
    reportShare(state);
}

BENCHMARK_CAPTURE(Rotation, Rest, Motion::Rest);
BENCHMARK_CAPTURE(Rotation, Held, Motion::Held);
BENCHMARK_CAPTURE(Rotation, Moving, Motion::Moving);
BENCHMARK(BlasProduct);
BENCHMARK(FocusRebuiltEveryBlock);

} // namespace
