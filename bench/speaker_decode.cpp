// The speaker decoder at order 3, block 512, 48 kHz: processBlock of
// AmbiSpeakerAlgo (rotation at rest, so the stages cost one copy), the
// frame-by-frame product alone, and one BLAS sgemm of the same shapes
// (speakers x 16 times 16 x 512) beside them. "block" reports the time as a
// fraction of one 512-frame block at 48 kHz.
#include <benchmark/benchmark.h>

#include <cblas.h>

#include <vector>

#include "ambi/ambi_speaker_algo.h"
#include "ambi/speaker_decode.h"
#include "ambi/speaker_decoders.h"
#include "frame/speaker_layouts.h"

using namespace Tannhofen;
using namespace Tannhofen::AmbiBin;

namespace {

constexpr uint32_t kFrames = 512;
constexpr uint32_t kChannels = 16;
constexpr double kBlockSeconds = kFrames / 48000.0;

// Channels of one block, contiguous one after another (the layout sgemm reads).
struct Block {
    explicit Block(uint32_t channels) : data(size_t(channels) * kFrames), ptrs(channels) {
        for (uint32_t c = 0; c < channels; ++c) ptrs[c] = data.data() + size_t(c) * kFrames;
    }
    std::vector<float> data;
    std::vector<float*> ptrs;
};

Block input() {
    Block in(kChannels);
    for (size_t i = 0; i < in.data.size(); ++i) in.data[i] = float((i * 7919) % 2001) / 1000.0f - 1.0f;
    return in;
}

// Times `decode(in, out)` on one block of order-3 input into the layout's channels.
template <class Decode>
void timeBlocks(benchmark::State& state, uint32_t outputs, Decode decode) {
    Block in = input(), out(outputs);
    for (auto _ : state) {
        decode(in, out);
        benchmark::DoNotOptimize(out.data.data());
        benchmark::ClobberMemory();
    }
    state.counters["block"] = benchmark::Counter(
        kBlockSeconds, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void processBlock(benchmark::State& state, Plx::SpeakerArrangement arrangement, bool lfe) {
    const uint32_t outputs = uint32_t(Plx::channelCount(arrangement));
    AmbiSpeakerAlgo<float> algo{int32_t(outputs)};
    algo.setSpeakerConf(3, arrangement);
    algo.setOrder(3);
    algo.setChannels(kChannels, outputs);
    algo.setBlockSize(kFrames);
    algo.collectBlockSize = kFrames;
    algo.setSampleRate(48000.0);
    algo.init();
    algo.reset();
    algo.setLfeGain(lfe ? 0.5 : 0.0);
    algo.setLfeLowPass(lfe);
    timeBlocks(state, outputs,
               [&](Block& in, Block& out) { algo.processBlock(in.ptrs.data(), out.ptrs.data(), kFrames); });
}

void product(benchmark::State& state, Plx::SpeakerArrangement arrangement) {
    const uint32_t outputs = uint32_t(Plx::channelCount(arrangement));
    const float* matrix = findSpeakerDecoder(3, arrangement);
    timeBlocks(state, outputs, [matrix, outputs](Block& in, Block& out) {
        decodeFrames(matrix, outputs, kChannels, in.ptrs.data(), out.ptrs.data(), kFrames);
    });
}

void sgemm(benchmark::State& state, Plx::SpeakerArrangement arrangement) {
    const uint32_t outputs = uint32_t(Plx::channelCount(arrangement));
    const float* matrix = findSpeakerDecoder(3, arrangement);
    timeBlocks(state, outputs, [matrix, outputs](Block& in, Block& out) {
        cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, int(outputs), int(kFrames), int(kChannels),
                    1.0f, matrix, int(kChannels), in.data.data(), int(kFrames), 0.0f, out.data.data(),
                    int(kFrames));
    });
}

} // namespace

BENCHMARK_CAPTURE(processBlock, 7_1_4, Plx::Layout::k7_1_4, false);
BENCHMARK_CAPTURE(processBlock, 7_1_4_lfe, Plx::Layout::k7_1_4, true);
BENCHMARK_CAPTURE(product, 7_1_4, Plx::Layout::k7_1_4);
BENCHMARK_CAPTURE(sgemm, 7_1_4, Plx::Layout::k7_1_4);
BENCHMARK_CAPTURE(processBlock, 22_2, Plx::Layout::k22_2, false);
BENCHMARK_CAPTURE(processBlock, 22_2_lfe, Plx::Layout::k22_2, true);
BENCHMARK_CAPTURE(product, 22_2, Plx::Layout::k22_2);
BENCHMARK_CAPTURE(sgemm, 22_2, Plx::Layout::k22_2);
