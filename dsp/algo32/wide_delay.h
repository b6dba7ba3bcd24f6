// Delay lines of the DSP::Algo32 and DSP::Algo64 frames, one design for both
// sample widths: Delay, a mono ring buffer of any length; DelayPow2, a ring
// whose length is a power of two so that both indices wrap with a mask; and
// DelayMultiCh, one DelayPow2 per channel with one delay for all.
//
// A delay change is a jump of the read position: whole samples, no
// interpolation, no ramp, and the ring keeps its contents. An owner that needs
// the change to be inaudible fades around it. setDelayMs and setDelaySamples
// never allocate; setBufferLength, setSampleRate and the channel and block
// setters of DelayMultiCh do, and run with the stream stopped.
#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "dsp/algo32/wide_frame.h"

namespace Tannhofen::DSP::WideFrame {

template <class Sample>
class Delay : public Algo<double, Sample> {
public:
    Delay(double rate, int32_t frames, float maxMs);
    Delay(const Delay&) = delete; // owns its ring
    Delay& operator=(const Delay&) = delete;
    ~Delay() override;

    // Mono: any channel pair is accepted and ignored.
    int32_t setChannels(int32_t /*inputs*/, int32_t /*outputs*/) override { return 0; }
    void setActive(bool state) override;
    // Keeps the delay in milliseconds; the delay in samples follows the rate. Result 1.
    int32_t setSampleRate(double rate) override;
    void reset() override;

    virtual void setDelayMs(float ms);
    virtual void setDelaySamples(int32_t samples);
    virtual void setBufferLength(int32_t length);
    virtual Sample processSample(Sample x);
    virtual void reserved26() {}
    // in and out may be the same buffer.
    virtual void processBlockMono(const Sample* in, Sample* out, int32_t frames);
    // True when the part of the ring still to be read holds no sample above
    // silenceThreshold, looking at every stride-th sample. The comparison is
    // one-sided: negative samples of any size count as silent.
    virtual bool isSilent(int32_t stride) const;
    // Re-points the read index n samples behind the write index (clamped to the ring).
    virtual void applyDelaySamples(int32_t samples);

    float maxDelayMs;
    float delayMs = 0.0f;                     // always the exact equivalent of delaySamples
    Sample silenceThreshold = Sample(1e-06f); // the float nearest to 1e-06 in both widths
    Sample* buffer = nullptr;
    int32_t readIndex = 0;
    int32_t writeIndex = 0;
    int32_t bufferLength = 0;
    int32_t delaySamples = 0;

protected:
    // bufferLength samples, zeroed by reset; frees any earlier ring.
    void allocateBuffer();
    // delayMs from delaySamples at the present rate.
    void deriveDelayMs();
    // Takes a new ring length: reallocates, keeps the delay in samples (clamped),
    // derives delayMs and maxDelayMs from it, and resets.
    void resize(int32_t length);
    // Re-derives the delay in samples from delayMs at the present rate, and resets.
    void keepDelayMs();
};

template <class Sample>
class DelayPow2 : public Delay<Sample> {
public:
    DelayPow2(double rate, int32_t frames, float maxMs);

    int32_t setSampleRate(double rate) override;
    void setBufferLength(int32_t length) override;
    Sample processSample(Sample x) override;
    // With a delay of 0 this copies in to out and leaves the ring alone.
    void processBlockMono(const Sample* in, Sample* out, int32_t frames) override;

    int32_t indexMask = 0; // bufferLength - 1

private:
    void takeLength(int32_t length);
};

template <class Sample>
class DelayMultiCh : public Algo<double, Sample> {
public:
    // mode is accepted for the callers' sake and not read.
    DelayMultiCh(double rate, int32_t frames, float maxMs, int32_t mode);
    DelayMultiCh(const DelayMultiCh&) = delete;
    DelayMultiCh& operator=(const DelayMultiCh&) = delete;
    ~DelayMultiCh() override = default;

    // Identifier 0: the delay in milliseconds. Others are ignored.
    void setParameter(int32_t id, double value) override;
    void setActive(bool state) override;
    void setBlockSize(int32_t frames) override;
    int32_t setSampleRate(double rate) override;
    int32_t setChannels(int32_t inputs, int32_t outputs) override;
    void process32(float** in, float** out, int32_t frames) override;
    void process64(double** in, double** out, int32_t frames) override;
    void reset() override;

    virtual void setDelayMs(float ms);
    virtual void setDelaySamples(int32_t samples);
    virtual void setBufferLength(int32_t length);

    int32_t channelCount = 0;
    int32_t delaySamples = -1; // -1: none set yet
    float delayMs = 2.0f;
    float maxDelayMs;
    std::vector<std::unique_ptr<DelayPow2<Sample>>> delays;

private:
    void buildChannels(int32_t count);
};

extern template class Delay<float>;
extern template class Delay<double>;
extern template class DelayPow2<float>;
extern template class DelayPow2<double>;
extern template class DelayMultiCh<float>;
extern template class DelayMultiCh<double>;

} // namespace Tannhofen::DSP::WideFrame
