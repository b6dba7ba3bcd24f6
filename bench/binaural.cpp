// Binaural decoding at order 3, block 512, 48 kHz, as x real time (the
// counter "x_realtime"): AmbiBinAlgo with the standard set (symmetric) and
// with a set of two ears, beside a reference written directly on FFTW's real
// transforms (16 forward transforms, the products summed into two spectra, 2
// inverse transforms) and beside the per-channel form (one overlap-save filter
// per channel, the sums formed in time).
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <vector>

#include "ambi/ambi_bin_algo.h"
#include "dsp/tool/filter/fir_fft_filter.h"

namespace {

using namespace Tannhofen::AmbiBin;

constexpr uint32_t kBlock = 512, kChannels = 16, kFft = 1024, kTaps = 291; // the standard set at 48 kHz
constexpr double kRate = 48000;

std::vector<std::vector<float>> noise(uint32_t channels, uint32_t frames) {
    std::mt19937 random(1);
    std::normal_distribution<float> n;
    std::vector<std::vector<float>> out(channels, std::vector<float>(frames));
    for (auto& c : out)
        for (float& v : c) v = n(random);
    return out;
}

void setRate(benchmark::State& state) {
    state.counters["x_realtime"] =
        benchmark::Counter(kBlock / kRate, benchmark::Counter::kIsIterationInvariantRate);
}

void runAlgo(benchmark::State& state, bool twoEars) {
    HrirBank<float> bank;
    if (twoEars) {
        HrirData<float> data;
        data.allocate(kChannels, kTaps - 32, false);
        auto taps = noise(2 * kChannels, kTaps - 32);
        for (uint32_t c = 0; c < kChannels; ++c) {
            std::copy(taps[c].begin(), taps[c].end(), data.left[c]);
            std::copy(taps[kChannels + c].begin(), taps[kChannels + c].end(), data.right[c]);
        }
        data.order = 3;
        data.sampleRate = kRate;
        bank.hrirs.push_back(std::make_shared<Hrir<float>>(std::move(data), kHrirSofa));
        bank.current = bank.hrirs.back().get();
    } else {
        bank.select(kHrirStandard, float(kRate), 3, "", nullptr, false);
    }
    AmbiBinAlgo<float> algo(&bank);
    algo.setOrder(3);
    algo.setChannels(kChannels, 2);
    algo.setBlockSize(kBlock);
    algo.collectBlockSize = kBlock;
    algo.setSampleRate(float(kRate));
    algo.init();
    algo.reset();
    auto in = noise(kChannels, kBlock);
    std::vector<std::vector<float>> out(2, std::vector<float>(kBlock));
    std::vector<float*> i, o = {out[0].data(), out[1].data()};
    for (auto& c : in) i.push_back(c.data());
    for (auto _ : state) {
        algo.process(i.data(), o.data(), kBlock);
        benchmark::DoNotOptimize(out[0].data());
    }
    setRate(state);
}

void BM_AmbiBinAlgo_Standard(benchmark::State& state) {
    runAlgo(state, false);
}
BENCHMARK(BM_AmbiBinAlgo_Standard);

void BM_AmbiBinAlgo_TwoEars(benchmark::State& state) {
    runAlgo(state, true);
}
BENCHMARK(BM_AmbiBinAlgo_TwoEars);

// The convolver alone, for the standard set.
void BM_Convolver(benchmark::State& state) {
    HrirBank<float> bank;
    bank.select(kHrirStandard, float(kRate), 3, "", nullptr, false);
    AmbiHrirConvolverAlgo<float> convolver;
    convolver.setChannels(kChannels, 2);
    convolver.setBlockSize(kBlock);
    convolver.left = bank.current->getLeft();
    convolver.hrirLength = bank.current->getLength();
    convolver.init();
    convolver.reset();
    auto in = noise(kChannels, kBlock);
    std::vector<std::vector<float>> out(2, std::vector<float>(kBlock));
    std::vector<float*> i, o = {out[0].data(), out[1].data()};
    for (auto& c : in) i.push_back(c.data());
    for (auto _ : state) {
        convolver.process(i.data(), o.data(), kBlock);
        benchmark::DoNotOptimize(out[0].data());
    }
    setRate(state);
}
BENCHMARK(BM_Convolver);

// The limit a real-transform convolver reaches on FFTW: per block, each
// channel's last fftSize samples through a forward real transform, the
// products with both ears' filter spectra summed, one inverse per ear.
void BM_FftwReference(benchmark::State& state) {
    const uint32_t bins = kFft / 2 + 1;
    auto* frame = fftwf_alloc_real(kFft);
    auto* spectrum = fftwf_alloc_complex(bins);
    auto* sum = fftwf_alloc_complex(bins);
    auto* ear = fftwf_alloc_real(kFft);
    fftwf_plan forward = fftwf_plan_dft_r2c_1d(int(kFft), frame, spectrum, FFTW_MEASURE);
    fftwf_plan inverse = fftwf_plan_dft_c2r_1d(int(kFft), sum, ear, FFTW_MEASURE);
    auto filters = noise(2 * kChannels, 2 * bins);
    auto history = noise(kChannels, kFft);
    auto in = noise(kChannels, kBlock);
    std::vector<std::vector<std::complex<float>>> sums(2, std::vector<std::complex<float>>(bins));
    std::vector<std::vector<float>> out(2, std::vector<float>(kBlock));
    for (auto _ : state) {
        for (auto& s : sums) std::fill(s.begin(), s.end(), std::complex<float>());
        for (uint32_t c = 0; c < kChannels; ++c) {
            std::copy(history[c].begin() + kBlock, history[c].end(), history[c].begin());
            std::copy(in[c].begin(), in[c].end(), history[c].begin() + (kFft - kBlock));
            std::copy(history[c].begin(), history[c].end(), frame);
            fftwf_execute(forward);
            const auto* x = reinterpret_cast<const std::complex<float>*>(spectrum);
            for (uint32_t e = 0; e < 2; ++e) {
                const auto* h =
                    reinterpret_cast<const std::complex<float>*>(filters[e * kChannels + c].data());
                std::complex<float>* s = sums[e].data();
                for (uint32_t k = 0; k < bins; ++k) s[k] += x[k] * h[k];
            }
        }
        for (uint32_t e = 0; e < 2; ++e) {
            std::copy(sums[e].begin(), sums[e].end(), reinterpret_cast<std::complex<float>*>(sum));
            fftwf_execute(inverse);
            const float scale = 1.0f / kFft;
            for (uint32_t n = 0; n < kBlock; ++n) out[e][n] = ear[kFft - kBlock + n] * scale;
        }
        benchmark::DoNotOptimize(out[0].data());
    }
    setRate(state);
    fftwf_destroy_plan(forward);
    fftwf_destroy_plan(inverse);
    fftwf_free(frame);
    fftwf_free(spectrum);
    fftwf_free(sum);
    fftwf_free(ear);
}
BENCHMARK(BM_FftwReference);

// One overlap-save filter per channel (a forward and an inverse complex
// transform each) and the ears summed in time, for a symmetric set.
void BM_PerChannelForm(benchmark::State& state) {
    std::vector<Tannhofen::DSP::Tool::Filter::FIRFFTFilter<float>> filters(kChannels);
    auto taps = noise(kChannels, kTaps);
    for (uint32_t c = 0; c < kChannels; ++c) {
        filters[c].configure(kBlock, kTaps);
        filters[c].init();
        filters[c].reset();
        filters[c].loadImpulse(taps[c].data(), kTaps);
    }
    auto in = noise(kChannels, kBlock);
    std::vector<float> scratch(kBlock);
    std::vector<std::vector<float>> out(2, std::vector<float>(kBlock));
    for (auto _ : state) {
        for (auto& o : out) std::fill(o.begin(), o.end(), 0.0f);
        for (uint32_t c = 0; c < kChannels; ++c) {
            float* i = in[c].data();
            float* o = scratch.data();
            filters[c].process(&i, &o, kBlock);
            const float sign = float(mirrorSign(c));
            for (uint32_t n = 0; n < kBlock; ++n) {
                out[0][n] += scratch[n];
                out[1][n] += sign * scratch[n];
            }
        }
        benchmark::DoNotOptimize(out[0].data());
    }
    setRate(state);
}
BENCHMARK(BM_PerChannelForm);

} // namespace
