// Throughput of the overlap-save FIR filter in the binaural decoder's case:
// 16 channels of 268 taps at a host block of 512 frames, reported as times
// real time at 48 kHz ("xRealTime"). Beside it, the same filters as a
// direct-form convolution, and zita-convolver doing the same work (16 inputs
// to 16 outputs, one partition of 512, on the calling thread).
#include "dsp/tool/filter/fir_fft_filter.h"
#include "dsp/vec/vec.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#ifdef PLX_HAVE_ZITA_CONVOLVER
#include <sched.h>
#include <zita-convolver.h>
#endif

namespace Filter = Tannhofen::DSP::Tool::Filter;
namespace Vec = Tannhofen::DSP::Vec;

namespace {

constexpr uint32_t kChannels = 16;
constexpr uint32_t kTaps = 268;
constexpr uint32_t kBlock = 512;
constexpr double kRate = 48000.0;

template <class T>
std::vector<std::vector<T>> randomChannels(uint32_t channels, uint32_t length, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> dist(-0.5, 0.5);
    std::vector<std::vector<T>> v(channels, std::vector<T>(length));
    for (auto& ch : v)
        for (auto& x : ch) x = T(dist(rng));
    return v;
}

void reportRealTime(benchmark::State& state) {
    state.counters["xRealTime"] =
        benchmark::Counter(double(state.iterations()) * kBlock / kRate, benchmark::Counter::kIsRate);
}

template <class T>
void FirFftFilter(benchmark::State& state) {
    const auto taps = randomChannels<T>(kChannels, kTaps, 1);
    auto input = randomChannels<T>(kChannels, kBlock, 2);
    auto output = randomChannels<T>(kChannels, kBlock, 3);
    std::vector<std::unique_ptr<Filter::FIRFFTFilter<T>>> filters;
    for (uint32_t ch = 0; ch < kChannels; ++ch) {
        auto f = std::make_unique<Filter::FIRFFTFilter<T>>();
        f->configure(kBlock, kTaps);
        f->init();
        f->reset();
        f->loadImpulse(taps[ch].data(), kTaps);
        filters.push_back(std::move(f));
    }
    for (auto _ : state) {
        for (uint32_t ch = 0; ch < kChannels; ++ch) {
            T* in = input[ch].data();
            T* out = output[ch].data();
            filters[ch]->process(&in, &out, kBlock);
        }
        benchmark::DoNotOptimize(output[0][0]);
    }
    reportRealTime(state);
}

// Time-domain convolution: per channel a history of taps - 1 samples in front
// of the block, and one scaled add of the block per tap.
template <class T>
void DirectConvolution(benchmark::State& state) {
    const auto taps = randomChannels<T>(kChannels, kTaps, 1);
    const auto input = randomChannels<T>(kChannels, kBlock, 2);
    auto output = randomChannels<T>(kChannels, kBlock, 3);
    std::vector<std::vector<T>> line(kChannels, std::vector<T>(kTaps - 1 + kBlock, T(0)));
    for (auto _ : state) {
        for (uint32_t ch = 0; ch < kChannels; ++ch) {
            T* x = line[ch].data();
            Vec::copy(input[ch].data(), x + kTaps - 1, kBlock);
            T* y = output[ch].data();
            Vec::zero(y, kBlock);
            for (uint32_t k = 0; k < kTaps; ++k) Vec::addProductC(x + kTaps - 1 - k, taps[ch][k], y, kBlock);
            Vec::copy(x + kBlock, x, kTaps - 1);
        }
        benchmark::DoNotOptimize(output[0][0]);
    }
    reportRealTime(state);
}

#ifdef PLX_HAVE_ZITA_CONVOLVER
// One partition level of the block size: zita-convolver then does all of its
// work inside process(), on the calling thread, and starts no thread.
void ZitaConvolver(benchmark::State& state) {
    auto taps = randomChannels<float>(kChannels, kTaps, 1);
    const auto input = randomChannels<float>(kChannels, kBlock, 2);
    Convproc conv;
    if (conv.configure(kChannels, kChannels, kTaps, kBlock, kBlock, kBlock, 1.0f / kChannels) != 0) {
        state.SkipWithError("configure failed");
        return;
    }
    for (uint32_t ch = 0; ch < kChannels; ++ch)
        conv.impdata_create(ch, ch, 1, taps[ch].data(), 0, int32_t(kTaps));
    if (conv.start_process(0, SCHED_OTHER) != 0) {
        state.SkipWithError("start_process failed");
        return;
    }
    for (auto _ : state) {
        for (uint32_t ch = 0; ch < kChannels; ++ch) Vec::copy(input[ch].data(), conv.inpdata(ch), kBlock);
        conv.process(true);
        benchmark::DoNotOptimize(conv.outdata(0)[0]);
    }
    conv.stop_process();
    conv.cleanup();
    reportRealTime(state);
}
BENCHMARK(ZitaConvolver);
#endif

BENCHMARK_TEMPLATE(FirFftFilter, float);
BENCHMARK_TEMPLATE(FirFftFilter, double);
BENCHMARK_TEMPLATE(DirectConvolution, float);
BENCHMARK_TEMPLATE(DirectConvolution, double);

} // namespace
