// Sample collectors and overlap-save framing, driven the way hosts drive them:
// blocks of any length, the strict block boundary, exactly one internal block
// of latency, and the init/release results that the owners of each class read.
#include "dsp/audio/ols.h"
#include "dsp/audio/sample_collector.h"
#include "tests/support/random_signal.h"

#include <gtest/gtest.h>

#include <vector>

namespace Audio = Tannhofen::DSP::Audio;

namespace {

// Host block lengths: single frames, primes, exact and multiple blocks, zero.
const std::vector<uint32_t> kHostBlocks = {1,  2,   3,   5,  7,  0,   13, 64, 64,  1,
                                           63, 128, 200, 31, 97, 256, 11, 0,  199, 64};
constexpr uint32_t kBlock = 64;

template <class T>
std::vector<std::vector<T>> randomSignal(uint32_t channels, size_t length, unsigned seed) {
    std::vector<std::vector<T>> x;
    for (uint32_t ch = 0; ch < channels; ++ch) x.push_back(randomVector<T>(length, seed + 100 * ch));
    return x;
}

// Feeds `x` through `process` in the host blocks above; returns what came out.
template <class T, class Fn>
std::vector<std::vector<T>> runHost(const std::vector<std::vector<T>>& x, uint32_t outChannels,
                                    Fn&& process) {
    const size_t length = x[0].size();
    std::vector<std::vector<T>> y(outChannels);
    for (auto& ch : y) ch.assign(length, T(99));
    std::vector<T*> in(x.size()), out(outChannels + 1);
    size_t pos = 0;
    for (size_t b = 0; pos < length; ++b) {
        const uint32_t n = uint32_t(std::min<size_t>(kHostBlocks[b % kHostBlocks.size()], length - pos));
        for (size_t ch = 0; ch < x.size(); ++ch) in[ch] = const_cast<T*>(x[ch].data()) + pos;
        for (size_t ch = 0; ch < outChannels; ++ch) out[ch] = y[ch].data() + pos;
        process(in.data(), out.data(), n);
        pos += n;
    }
    return y;
}

// Copies each block through, and counts blocks.
template <class T>
class Through : public Audio::SampleCollector<T> {
public:
    void processBlock(T** in, T** out, uint32_t n) override {
        ++blocks;
        for (uint32_t ch = 0; ch < this->channels; ++ch) std::copy(in[ch], in[ch] + n, out[ch]);
    }
    int blocks = 0;
};

// One input, two outputs: the input and its negative doubled.
template <class T>
class Splitter : public Audio::SampleCollector2<T> {
public:
    void processBlock(T** in, T** out, uint32_t n) override {
        EXPECT_EQ(n, this->collectBlockSize);
        for (uint32_t i = 0; i < n; ++i) {
            out[0][i] = in[0][i];
            out[1][i] = T(-2) * in[0][i];
        }
    }
};

// Records the frames it is given and leaves them as they are.
template <class T>
class FrameRecorder : public Audio::Ols<T> {
public:
    void processFrame(T** f, uint32_t n) override { recorded.emplace_back(f[0], f[0] + n); }
    std::vector<std::vector<T>> recorded;
};

template <class T>
class CollectorTest : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CollectorTest, SampleTypes);

TYPED_TEST(CollectorTest, AnyHostBlockSequenceDelaysByExactlyOneBlock) {
    using T = TypeParam;
    const auto x = randomSignal<T>(2, 3000, 1);

    Through<T> equal;
    ASSERT_EQ(equal.setChannels(2, 2), 0);
    equal.collectBlockSize = kBlock;
    EXPECT_EQ(equal.init(), 0);
    equal.reset();
    EXPECT_EQ(equal.getLatency(), kBlock);
    EXPECT_EQ(equal.getProcessLatency(), kBlock);
    auto y = runHost<T>(x, 2, [&](T** in, T** out, uint32_t n) { equal.process(in, out, n); });
    EXPECT_EQ(equal.blocks, int(3000 / kBlock));

    Splitter<T> split;
    EXPECT_EQ(split.setChannels(1, 2), 0);
    split.collectBlockSize = kBlock;
    EXPECT_EQ(split.init(), 1);
    split.reset();
    auto z = runHost<T>({x[0]}, 2, [&](T** in, T** out, uint32_t n) { split.process(in, out, n); });

    for (size_t i = 0; i < 3000; ++i) {
        const T a = i < kBlock ? T(0) : x[0][i - kBlock];
        const T b = i < kBlock ? T(0) : x[1][i - kBlock];
        ASSERT_EQ(y[0][i], a) << i;
        ASSERT_EQ(y[1][i], b) << i;
        ASSERT_EQ(z[0][i], a) << i;
        ASSERT_EQ(z[1][i], T(-2) * a) << i;
    }
    EXPECT_EQ(equal.release(), 0);
    EXPECT_EQ(split.release(), 1);
}

TYPED_TEST(CollectorTest, BlockBoundaryIsProcessedInTheCallThatCompletesIt) {
    using T = TypeParam;
    Through<T> c;
    c.setChannels(1, 1);
    c.collectBlockSize = 8;
    c.init();
    c.reset();
    std::vector<T> in(40), out(40, T(-1));
    for (size_t i = 0; i < in.size(); ++i) in[i] = T(i + 1);
    // Runs frames [from, from + n); the caller's pointer arrays are never written.
    const auto run = [&](size_t from, uint32_t n) {
        T* pin = in.data() + from;
        T* pout = out.data() + from;
        c.process(&pin, &pout, n);
        EXPECT_EQ(pin, in.data() + from);
    };

    run(0, 0); // nothing happens
    EXPECT_EQ(out[0], T(-1));
    run(0, 8); // one exact block: copied, served (silence), processed
    EXPECT_EQ(c.blocks, 1);
    EXPECT_EQ(c.position, 0u);
    EXPECT_EQ(out[7], T(0));
    EXPECT_EQ(c.outputBuffers[0][0], T(1)); // the fresh block waits for the next call
    run(8, 24);                             // three blocks in one call
    EXPECT_EQ(c.blocks, 4);
    // Stopping the stream clears the memory: the next block out is silence.
    c.setActive(false);
    run(32, 8);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(out[i], i < 8 || i >= 32 ? T(0) : T(i - 7)) << i;
}

TYPED_TEST(CollectorTest, ChannelCountsAndBadInput) {
    using T = TypeParam;
    Through<T> c;
    EXPECT_EQ(c.setChannels(2, 2), 0);
    EXPECT_EQ(c.setChannels(2, 3), 1);
    EXPECT_EQ(c.channels, 2u);

    // Never configured block: nothing is touched.
    std::vector<T> a(16, T(5)), b(16, T(7));
    T* in[2] = {a.data(), a.data()};
    T* out[2] = {b.data(), b.data()};
    c.process(in, out, 16);
    EXPECT_EQ(b[0], T(7));

    c.collectBlockSize = 4;
    c.init();
    c.reset();
    c.process(nullptr, out, 16);
    c.process(in, nullptr, 16);
    c.collectInput(nullptr, 16);
    EXPECT_EQ(c.position, 0u);
    // A null input channel is taken as silence (served last into the shared buffer).
    T* partial[2] = {a.data(), nullptr};
    c.process(partial, out, 16);
    c.process(partial, out, 4);
    EXPECT_EQ(b[0], T(0));

    // Repeated allocation frees first (the sanitizer build sees any leak).
    c.allocateBuffers();
    c.allocateChannelBuffers();
    EXPECT_EQ(c.release(), 0);
}

// An analysis-only collector sees each complete input block, in order, and
// never an output side.
TYPED_TEST(CollectorTest, InputOnlyCollectionSeesEveryBlock) {
    using T = TypeParam;
    struct Analyser : Audio::SampleCollector2<T> {
        void processBlock(T**, T**, uint32_t) override { FAIL(); }
        void processInputBlock(T** in, uint32_t n) override { seen.insert(seen.end(), in[0], in[0] + n); }
        std::vector<T> seen;
    } analyser;
    analyser.setChannels(1, 0);
    analyser.collectBlockSize = 10;
    analyser.init();
    const auto x = randomSignal<T>(1, 1000, 2);
    runHost<T>(x, 0, [&](T** in, T**, uint32_t n) { analyser.collectInput(in, n); });
    ASSERT_EQ(analyser.seen.size(), 1000u);
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(analyser.seen[i], x[0][i]);
}

TYPED_TEST(CollectorTest, OverlapSaveFramesAndPassThrough) {
    using T = TypeParam;
    FrameRecorder<T> ols;
    ols.setChannels(1, 1);
    ols.frameLength = 1024;
    ols.overlap = 512;
    EXPECT_EQ(ols.init(), 0);
    EXPECT_EQ(ols.hop, 512u);
    EXPECT_EQ(ols.collectBlockSize, 512u);
    EXPECT_EQ(ols.getLatency(), 512u);
    ols.reset();

    // With frames left as they are, the output is the input one hop later.
    const auto x = randomSignal<T>(1, 5000, 3);
    auto y = runHost<T>(x, 1, [&](T** in, T** out, uint32_t n) { ols.process(in, out, n); });
    for (size_t i = 0; i < 5000; ++i) ASSERT_EQ(y[0][i], i < 512 ? T(0) : x[0][i - 512]) << i;

    // Each frame is the previous overlap followed by the new hop.
    ASSERT_EQ(ols.recorded.size(), 5000u / 512);
    for (size_t k = 0; k < ols.recorded.size(); ++k) {
        const auto& f = ols.recorded[k];
        ASSERT_EQ(f.size(), 1024u);
        for (size_t j = 0; j < 1024; ++j) {
            const long src = long(k * 512 + j) - 512;
            ASSERT_EQ(f[j], src < 0 ? T(0) : x[0][size_t(src)]) << k << " " << j;
        }
    }

    // Pass-through skips the frame work and keeps the latency.
    ols.setActive(false);
    ols.setPassThrough(1);
    ols.recorded.clear();
    y = runHost<T>(x, 1, [&](T** in, T** out, uint32_t n) { ols.process(in, out, n); });
    EXPECT_TRUE(ols.recorded.empty());
    for (size_t i = 0; i < 5000; ++i) ASSERT_EQ(y[0][i], i < 512 ? T(0) : x[0][i - 512]) << i;

    EXPECT_EQ(ols.release(), 0);
    EXPECT_TRUE(ols.olsReleased);
}

} // namespace
