// The two algorithm frames as their owners use them: defaults, init and
// release results (0 for success in DSP::Audio, 1 in the Algo32/Algo64
// frame defaults) and latency forwarding.
#include "dsp/algo32/algo.h"
#include "dsp/algo64/algo.h"
#include "dsp/audio/algo.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace DSP = Tannhofen::DSP;

namespace {

// The smallest concrete algorithm of DSP::Audio, with a latency of its own.
template <class T>
class Latent : public DSP::Audio::Algo<T> {
public:
    int32_t setChannels(uint32_t, uint32_t) override { return 0; }
    uint32_t getLatency() const override { return 7; }
};

template <class Frame>
class Pass : public Frame {
public:
    Pass() : Frame(48000.0, 256) {}
    int32_t setChannels(int32_t in, int32_t out) override { return in == out ? 0 : 1; }
};

template <class Frame>
class Allocating : public Pass<Frame> {
public:
    int32_t getLatency() const override { return 11; }
    int32_t init() override { return 0; }
    int32_t release() override { return 0; }
};

template <class T>
class AudioFrame : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AudioFrame, SampleTypes);

TYPED_TEST(AudioFrame, LifecycleResultsAndLatency) {
    using T = TypeParam;
    Latent<T> latent;
    DSP::Audio::Algo<T>& frame = latent;
    EXPECT_EQ(frame.setSampleRate(T(44100)), 0);
    EXPECT_EQ(frame.getProcessLatency(), 7u); // follows the overridden getLatency
    EXPECT_EQ(frame.init(), 0);               // success is 0 in this frame
    EXPECT_EQ(frame.release(), 0);

    struct Plain : DSP::Audio::Algo<T> {
        int32_t setChannels(uint32_t, uint32_t) override { return 0; }
    } plain;
    EXPECT_EQ(plain.getProcessLatency(), 0u);
}

template <class Frame>
void checkWideFrame() {
    Pass<Frame> plain;
    EXPECT_EQ(plain.init(), 1); // the frame's success is 1
    EXPECT_EQ(plain.release(), 1);
    EXPECT_EQ(plain.reservedStatus6(), static_cast<int32_t>(0x80004001u));
    EXPECT_EQ(plain.getProcessLatency(), 0);

    Allocating<Frame> allocating; // subclasses that allocate answer 0
    EXPECT_EQ(allocating.init(), 0);
    EXPECT_EQ(allocating.release(), 0);
    EXPECT_EQ(allocating.getProcessLatency(), 11);
}

TEST(WideFrame, Algo32AndAlgo64InitResultsAndLatency) {
    checkWideFrame<DSP::Algo32::Algo<double>>();
    checkWideFrame<DSP::Algo64::Algo<double>>();
    static_assert(!std::is_same_v<DSP::Algo32::Algo<double>, DSP::Algo64::Algo<double>>);
    static_assert(std::is_same_v<DSP::Algo32::IAlgo<double>::SampleType, float>);
    static_assert(std::is_same_v<DSP::Algo64::IAlgo<double>::SampleType, double>);
}

} // namespace
