// The algorithm frame shared by DSP::Algo32 and DSP::Algo64. T is the type of
// the sample rate and of parameters; Sample, the width of the audio samples,
// only tells the two namespaces' classes apart: every class offers both
// process signatures, and the width its namespace does not handle stays at
// the empty default. init and release answer 1 for success in the frame.
#pragma once

#include <cstdint>

namespace Tannhofen::DSP::WideFrame {

// The not-implemented code of the component model.
inline constexpr int32_t kNotImplemented = static_cast<int32_t>(0x80004001u);

template <class T, class Sample>
class IAlgo {
public:
    using SampleType = Sample;

    virtual void setParameter(int32_t id, T value) = 0;
    virtual void setActive(bool state) = 0;
    virtual void setBlockSize(int32_t frames) = 0;
    virtual int32_t setSampleRate(T rate) = 0;
    // 0 when the pair is accepted, 1 when refused (the state then stays as it was).
    virtual int32_t setChannels(int32_t inputs, int32_t outputs) = 0;
    virtual bool reservedFlag5() const = 0;
    virtual int32_t reservedStatus6() const = 0;
    virtual bool isActive() const = 0;
    virtual void processMix32(float** a, float** b, float** out, int32_t frames) = 0;
    virtual void process32(float** in, float** out, int32_t frames) = 0;
    virtual void reserved10() = 0;
    virtual int32_t getLatency() const = 0;
    virtual T reservedValue12() const = 0;
    virtual int32_t reservedCount13() const = 0;

protected:
    ~IAlgo() = default; // objects are destroyed through Algo
};

template <class T, class Sample>
class Algo : public IAlgo<T, Sample> {
public:
    Algo(T rate, int32_t frames) : sampleRate(rate), blockSize(frames) {}
    Algo(const Algo&) = default; // member-wise: a copy shares the source's buffers
    Algo& operator=(const Algo&) = default;

    void setParameter(int32_t /*id*/, T /*value*/) override {}
    void setActive(bool state) override { active = state; }
    void setBlockSize(int32_t frames) override { blockSize = frames; }
    int32_t setSampleRate(T rate) override {
        sampleRate = rate;
        return 0;
    }
    bool reservedFlag5() const override { return true; }
    int32_t reservedStatus6() const override { return kNotImplemented; }
    bool isActive() const override { return active; }
    void processMix32(float** /*a*/, float** /*b*/, float** /*out*/, int32_t /*frames*/) override {}
    void process32(float** /*in*/, float** /*out*/, int32_t /*frames*/) override {}
    void reserved10() override {}
    int32_t getLatency() const override { return 0; }
    T reservedValue12() const override { return T(0); }
    int32_t reservedCount13() const override { return 0; }

    virtual ~Algo() = default;
    // 1 in the frame; subclasses that allocate (or free) answer 0.
    virtual int32_t init() { return 1; }
    virtual int32_t release() { return 1; }
    virtual void processMix64(double** /*a*/, double** /*b*/, double** /*out*/, int32_t /*frames*/) {}
    virtual void process64(double** /*in*/, double** /*out*/, int32_t /*frames*/) {}
    virtual int32_t getProcessLatency() const { return getLatency(); }
    virtual T getSampleRate() const { return sampleRate; }
    virtual void reset() {}

    T sampleRate;
    int32_t blockSize;
    bool active = false;
    bool spareFlag = false; // kept and copied, never read by the frame
};

} // namespace Tannhofen::DSP::WideFrame
