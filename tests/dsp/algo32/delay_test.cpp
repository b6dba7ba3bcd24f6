// Delay lines of both sample widths: whole-sample delays that hold across
// block boundaries and rate changes, clamping, ring lengths for capacities,
// the zero-delay shortcut of the power-of-two ring, and the silence check.
#include "dsp/algo32/delay.h"
#include "dsp/algo64/delay.h"

#include <gtest/gtest.h>

#include <vector>

namespace DSP = Tannhofen::DSP;

namespace {

template <class S>
struct Lines;
template <>
struct Lines<float> {
    using Delay = DSP::Algo32::Delay;
    using DelayPow2 = DSP::Algo32::DelayPow2;
    using MultiCh = DSP::Algo32::DelayMultiCh;
    static void process(MultiCh& d, float** in, float** out, int32_t n) { d.process32(in, out, n); }
};
template <>
struct Lines<double> {
    using Delay = DSP::Algo64::Delay;
    using DelayPow2 = DSP::Algo64::DelayPow2;
    using MultiCh = DSP::Algo64::DelayMultiCh;
    static void process(MultiCh& d, double** in, double** out, int32_t n) { d.process64(in, out, n); }
};

template <class S>
std::vector<S> ramp(size_t n) {
    std::vector<S> x(n);
    for (size_t i = 0; i < n; ++i) x[i] = S(i + 1);
    return x;
}

// Runs x through the line in blocks of uneven sizes, in place every other block.
template <class S, class Line>
std::vector<S> run(Line& line, const std::vector<S>& x) {
    static const size_t sizes[] = {37, 1, 128, 64, 5, 250};
    std::vector<S> y(x.size());
    for (size_t pos = 0, k = 0; pos < x.size(); ++k) {
        const size_t n = std::min(sizes[k % 6], x.size() - pos);
        if (k % 2) std::copy_n(x.data() + pos, n, y.data() + pos);
        line.processBlockMono(k % 2 ? y.data() + pos : x.data() + pos, y.data() + pos,
                              static_cast<int32_t>(n));
        pos += n;
    }
    return y;
}

template <class S>
void expectDelayed(const std::vector<S>& x, const std::vector<S>& y, size_t d) {
    for (size_t i = 0; i < y.size(); ++i)
        ASSERT_EQ(y[i], i < d ? S(0) : x[i - d]) << "sample " << i << ", delay " << d;
}

template <class S>
class DelayLines : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DelayLines, SampleTypes);

TYPED_TEST(DelayLines, WholeSampleDelaysAcrossBlocks) {
    using L = Lines<TypeParam>;
    const auto x = ramp<TypeParam>(3000);
    for (int32_t d : {0, 1, 7, 480, 2047}) {
        typename L::Delay plain(48000.0, 256, 50.0f);    // 2400 samples
        typename L::DelayPow2 pow2(48000.0, 256, 50.0f); // 4096 samples
        plain.setDelaySamples(d);
        pow2.setDelaySamples(d);
        EXPECT_FLOAT_EQ(plain.delayMs, static_cast<float>(d / 48.0));
        expectDelayed(x, run(plain, x), size_t(d));
        expectDelayed(x, run(pow2, x), size_t(d));
    }
    // Sample by sample gives the same as blocks; the longest delay fills the ring.
    typename L::Delay plain(48000.0, 256, 50.0f);
    plain.setDelaySamples(plain.bufferLength - 1);
    std::vector<TypeParam> y;
    for (auto v : x) y.push_back(plain.processSample(v));
    expectDelayed(x, y, 2399);
}

TYPED_TEST(DelayLines, RingLengthsClampingAndTheMillisecondGuard) {
    using L = Lines<TypeParam>;
    // The capacity is scaled in single precision: 100 ms at 44100 Hz hold 4410 samples;
    // every line starts at 20 ms, or at its capacity when that is less.
    typename L::Delay line(44100.0, 64, 100.0f);
    typename L::Delay shortLine(48000.0, 64, 10.0f);
    EXPECT_EQ(line.bufferLength, 4410);
    EXPECT_EQ(line.delaySamples, 882);
    EXPECT_EQ(shortLine.bufferLength, 480);
    EXPECT_EQ(shortLine.delaySamples, 479);
    // Power-of-two rings hold more than asked; exactly 2048 samples double to 4096.
    typename L::DelayPow2 exact(32768.0, 64, 62.5f);
    EXPECT_EQ(exact.bufferLength, 4096);
    EXPECT_EQ(exact.indexMask, 4095);
    typename L::MultiCh multi(48000.0, 64, 50.0f, 1);
    EXPECT_EQ(multi.delays[0]->bufferLength, 4096);
    EXPECT_EQ(multi.delays[0]->delaySamples, 96); // 2 ms until a caller sets one

    // Explicit lengths: a power-of-two ring rounds 1024 up to 2048; a plain one
    // takes 441 and pulls the delay inside.
    exact.setBufferLength(1024);
    EXPECT_EQ(exact.indexMask, 2047);
    EXPECT_EQ(exact.delaySamples, 655); // 20 ms at 32768 Hz, still inside the ring
    shortLine.setBufferLength(441);
    EXPECT_EQ(shortLine.delaySamples, 440);
    const auto x = ramp<TypeParam>(1000);
    expectDelayed(x, run(shortLine, x), 440);
    expectDelayed(x, run(exact, x), 655);
    multi.setBufferLength(100);
    EXPECT_EQ(multi.delays[0]->bufferLength, 128);

    // Clamping to [0, length - 1], in samples and in milliseconds.
    for (auto [samples, expected] : {std::pair{-5, 0}, {4410, 4409}}) {
        line.setDelaySamples(samples);
        EXPECT_EQ(line.delaySamples, expected);
    }
    for (auto [ms, expected] : {std::pair{1.0e6f, 4409}, {-3.0f, 0}, {10.0f, 441}}) {
        line.setDelayMs(ms);
        EXPECT_EQ(line.delaySamples, expected);
    }
    // A change below 0.001 ms moves nothing.
    const int32_t read = line.readIndex, write = line.writeIndex;
    line.setDelayMs(10.0009f);
    line.setDelaySamples(441);
    EXPECT_EQ(line.readIndex, read);
    EXPECT_EQ(line.writeIndex, write);
    EXPECT_EQ(line.delayMs, 10.0f);
    // A product just below a whole number still lands on it.
    line.setDelayMs(static_cast<float>(1000.0 / 44100.0 * 3));
    EXPECT_EQ(line.delaySamples, 3);
    multi.delays[0]->setDelaySamples(99999);
    EXPECT_EQ(multi.delays[0]->delaySamples, 127);
}

TYPED_TEST(DelayLines, RateChangesKeepMilliseconds) {
    using L = Lines<TypeParam>;
    typename L::Delay plain(48000.0, 64, 100.0f);
    typename L::DelayPow2 pow2(48000.0, 64, 100.0f);
    plain.setDelayMs(12.5f);
    pow2.setDelayMs(12.5f);
    EXPECT_EQ(plain.delaySamples, 600);
    EXPECT_EQ(plain.setSampleRate(96000.0), 1);
    EXPECT_EQ(pow2.setSampleRate(96000.0), 1);
    EXPECT_EQ(plain.bufferLength, 9600);
    // The raised capacity (8192 samples at 48 kHz) is scaled to the new rate.
    EXPECT_GE(pow2.bufferLength, 16384);
    EXPECT_EQ(pow2.indexMask + 1, pow2.bufferLength);
    for (auto* line : {static_cast<typename L::Delay*>(&plain), static_cast<typename L::Delay*>(&pow2)}) {
        EXPECT_EQ(line->delaySamples, 1200);
        EXPECT_EQ(line->delayMs, 12.5f);
        const auto x = ramp<TypeParam>(3000);
        expectDelayed(x, run(*line, x), 1200);
    }
    // Down again: the plain ring keeps its larger allocation, and the delay follows.
    EXPECT_EQ(plain.setSampleRate(44100.0), 1);
    EXPECT_EQ(plain.bufferLength, 4410);
    EXPECT_EQ(plain.delaySamples, 551); // 12.5 ms at 44.1 kHz = 551.25
    const auto x = ramp<TypeParam>(2000);
    expectDelayed(x, run(plain, x), 551);
}

TYPED_TEST(DelayLines, ZeroDelayShortcutLeavesTheRing) {
    using L = Lines<TypeParam>;
    typename L::DelayPow2 pow2(48000.0, 64, 10.0f);
    typename L::Delay plain(48000.0, 64, 10.0f);
    const auto x = ramp<TypeParam>(50);
    for (auto* line : {static_cast<typename L::Delay*>(&pow2), static_cast<typename L::Delay*>(&plain)}) {
        line->setDelaySamples(5);
        std::vector<TypeParam> y(50);
        line->processBlockMono(x.data(), y.data(), 20); // the ring now ends in 16..20
        line->setDelayMs(0.0f);
        line->processBlockMono(x.data() + 20, y.data() + 20, 20);
        for (size_t i = 20; i < 40; ++i) EXPECT_EQ(y[i], x[i]);
        line->setDelaySamples(5);
        line->processBlockMono(x.data() + 40, y.data() + 40, 5);
        // The shortcut never wrote 21..40, so the power-of-two ring replays 16..20;
        // the plain ring wrote them and gives the recent past 36..40.
        const TypeParam first = line == &pow2 ? TypeParam(16) : TypeParam(36);
        for (size_t i = 0; i < 5; ++i) EXPECT_EQ(y[40 + i], first + TypeParam(i));
    }
}

TYPED_TEST(DelayLines, SilenceIsOneSided) {
    using L = Lines<TypeParam>;
    typename L::Delay line(1000.0, 16, 100.0f); // 100 samples
    line.setDelaySamples(10);
    EXPECT_TRUE(line.isSilent(1));
    std::vector<TypeParam> loud(105, TypeParam(-1000)), out(105);
    line.processBlockMono(loud.data(), out.data(), 105); // the unread part now wraps
    EXPECT_TRUE(line.isSilent(1));
    const TypeParam above = TypeParam(1.0e-06f) * TypeParam(1.5);
    line.processSample(above); // now the newest unread sample
    EXPECT_FALSE(line.isSilent(1));
    EXPECT_TRUE(line.isSilent(20));                                       // a stride that steps over it
    for (int i = 0; i < 10; ++i) line.processSample(TypeParam(1.0e-06f)); // at the threshold: silent
    EXPECT_TRUE(line.isSilent(1));
    line.setDelaySamples(0);
    line.processSample(TypeParam(5));
    EXPECT_TRUE(line.isSilent(1)); // nothing left to read
}

TYPED_TEST(DelayLines, MultiChannelBank) {
    using L = Lines<TypeParam>;
    typename L::MultiCh bank(48000.0, 128, 20.0f, 1);
    EXPECT_EQ(bank.setChannels(2, 3), 1);
    EXPECT_EQ(bank.channelCount, 1);
    EXPECT_EQ(bank.setChannels(3, 3), 0);
    ASSERT_EQ(bank.delays.size(), 3u);
    bank.setParameter(0, 1.0); // 1 ms: 48 samples
    EXPECT_EQ(bank.delays[2]->delaySamples, 48);
    bank.setDelaySamples(17);
    EXPECT_FLOAT_EQ(bank.delayMs, static_cast<float>(17 / 48.0));
    bank.setBlockSize(64); // rebuilt with the present delay
    EXPECT_EQ(bank.delays[1]->delaySamples, 17);
    EXPECT_EQ(bank.setSampleRate(96000.0), 1);
    EXPECT_EQ(bank.delays[0]->delaySamples, 34);

    std::vector<std::vector<TypeParam>> x(3, ramp<TypeParam>(192)), y(3, std::vector<TypeParam>(192));
    TypeParam* in[3];
    TypeParam* out[3];
    for (size_t c = 0; c < 3; ++c)
        for (auto& v : x[c]) v *= TypeParam(c + 1);
    for (size_t block = 0; block < 3; ++block) {
        for (size_t c = 0; c < 3; ++c) {
            in[c] = x[c].data() + 64 * block;
            out[c] = y[c].data() + 64 * block;
        }
        L::process(bank, in, out, 64);
    }
    for (size_t c = 0; c < 3; ++c) expectDelayed(x[c], y[c], 34);

    // Deactivating clears the rings.
    EXPECT_FALSE(bank.delays[0]->isSilent(1));
    bank.setActive(false);
    EXPECT_TRUE(bank.delays[0]->isSilent(1));
}

} // namespace
