// The two algorithm frames as their owners use them: defaults, init and
// release results (0 for success in DSP::Audio, 1 in the Algo32/Algo64
// frame defaults), latency forwarding, and member-wise copies.
#include "dsp/algo32/algo.h"
#include "dsp/algo64/algo.h"
#include "dsp/audio/algo.h"
#include "dsp/vec/vec.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace DSP = Tannhofen::DSP;

namespace {

// A gain with its own buffer, the shape of every concrete algorithm of DSP::Audio.
template <class T> class AudioGain : public DSP::Audio::Algo<T> {
public:
    int32_t setChannels(uint32_t in, uint32_t out) override
    {
        if (in != out || in > 8)
            return 1;
        inputs = in;
        outputs = out;
        return 0;
    }
    uint32_t getLatency() const override { return 7; }
    int32_t init() override
    {
        buffer = DSP::Vec::malloc<T>(this->blockSize);
        return buffer ? 0 : 1;
    }
    int32_t release() override
    {
        DSP::Vec::free(buffer);
        buffer = nullptr;
        return 0;
    }
    void process(T** in, T** out, uint32_t frames) override
    {
        for (uint32_t c = 0; c < outputs; ++c)
            DSP::Vec::mulC(in[c], T(2), out[c], frames);
    }
    uint32_t inputs = 0, outputs = 0;
    T* buffer = nullptr;
};

template <class Frame> class Pass : public Frame {
public:
    Pass() : Frame(48000.0, 256) {}
    int32_t setChannels(int32_t in, int32_t out) override { return in == out ? 0 : 1; }
};

template <class Frame> class Allocating : public Pass<Frame> {
public:
    int32_t getLatency() const override { return 11; }
    int32_t init() override { return 0; }
    int32_t release() override { return 0; }
};

template <class T> class AudioFrame : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AudioFrame, SampleTypes);

TYPED_TEST(AudioFrame, LifecycleResultsAndLatency)
{
    using T = TypeParam;
    AudioGain<T> algo;
    DSP::Audio::Algo<T>& frame = algo;
    // The constructor zeroes everything; a frame never given channels processes nothing.
    EXPECT_EQ(frame.sampleRate, T(0));
    EXPECT_EQ(frame.blockSize, 0u);
    EXPECT_FALSE(frame.active || frame.spareFlag);
    algo.process(nullptr, nullptr, 16);

    EXPECT_EQ(frame.setSampleRate(T(44100)), 0);
    frame.setBlockSize(64);
    EXPECT_EQ(frame.getProcessLatency(), 7u); // follows the overridden getLatency
    EXPECT_EQ(algo.setChannels(2, 3), 1);
    EXPECT_EQ(algo.inputs, 0u); // a refused pair leaves the state as it was
    EXPECT_EQ(algo.setChannels(2, 2), 0);
    ASSERT_EQ(frame.init(), 0); // success is 0 in this frame
    T left[4] = {1, 2, 3, 4}, right[4] = {-1, -2, -3, -4};
    T* channels[2] = {left, right};
    frame.reset();
    frame.process(channels, channels, 4);
    EXPECT_EQ(left[3], T(8));
    EXPECT_EQ(right[0], T(-2));

    AudioGain<T> copy(algo); // member-wise: shares the buffer
    EXPECT_EQ(copy.buffer, algo.buffer);
    EXPECT_EQ(copy.blockSize, 64u);
    EXPECT_EQ(frame.release(), 0);

    struct Plain : DSP::Audio::Algo<T> {
        int32_t setChannels(uint32_t, uint32_t) override { return 0; }
    } plain;
    EXPECT_EQ(plain.init(), 0);
    EXPECT_EQ(plain.release(), 0);
    EXPECT_EQ(plain.getProcessLatency(), 0u);
}

template <class Frame> void checkWideFrame()
{
    Pass<Frame> plain;
    EXPECT_EQ(plain.sampleRate, 48000.0); // the constructor stores rate and block size
    EXPECT_EQ(plain.blockSize, 256);
    EXPECT_EQ(plain.init(), 1); // the frame's success is 1
    EXPECT_EQ(plain.release(), 1);
    EXPECT_EQ(plain.reservedStatus6(), static_cast<int32_t>(0x80004001u));
    EXPECT_EQ(plain.getProcessLatency(), 0);

    Allocating<Frame> allocating; // subclasses that allocate answer 0
    EXPECT_EQ(allocating.init(), 0);
    EXPECT_EQ(allocating.release(), 0);
    EXPECT_EQ(allocating.getProcessLatency(), 11);
    EXPECT_EQ(allocating.reservedStatus6(), static_cast<int32_t>(0x80004001u));
}

TEST(WideFrame, Algo32AndAlgo64InitResultsAndLatency)
{
    checkWideFrame<DSP::Algo32::Algo<double>>();
    checkWideFrame<DSP::Algo64::Algo<double>>();
    static_assert(!std::is_same_v<DSP::Algo32::Algo<double>, DSP::Algo64::Algo<double>>);
    static_assert(std::is_same_v<DSP::Algo32::IAlgo<double>::SampleType, float>);
    static_assert(std::is_same_v<DSP::Algo64::IAlgo<double>::SampleType, double>);
}

} // namespace
