// The algorithm frame of DSP::Audio, a template on the sample type: every
// block processor of this frame derives from Algo<T>, which gives each
// operation a default so that a subclass replaces only what it needs.
//
// Calling order kept by every owner: configure (rate, block size, channels,
// own fields), init, reset, process any number of times (never more frames
// than blockSize), release. init and release answer 0 for success here.
#pragma once

#include <cstdint>

namespace Tannhofen::DSP::Audio {

class IAlgoBase {
public:
    virtual void setBlockSize(uint32_t frames) = 0;
    virtual void setActive(bool state) = 0;
    // 0 when the pair is accepted, 1 when refused (the state then stays as it was).
    virtual int32_t setChannels(uint32_t inputs, uint32_t outputs) = 0;
    virtual bool reservedFlag3() const = 0;
    virtual bool reservedFlag4() const = 0;
    virtual void reserved5() = 0;
    virtual bool isActive() const = 0;
    virtual uint32_t getLatency() const = 0;
    virtual uint32_t reservedCount8() const = 0;

protected:
    ~IAlgoBase() = default; // objects are destroyed through Algo<T>
};

template <class T>
class IAlgo : public IAlgoBase {
public:
    virtual int32_t setSampleRate(T rate) = 0;
    virtual void reserved10() = 0;
    virtual void reserved11() = 0;
    virtual void process(T** in, T** out, uint32_t frames) = 0;
    virtual T reservedValue13() const = 0;

protected:
    ~IAlgo() = default;
};

template <class T>
class Algo : public IAlgo<T> {
public:
    Algo() = default;
    Algo(const Algo&) = default; // member-wise: a copy shares the source's buffers
    Algo& operator=(const Algo&) = default;

    void setBlockSize(uint32_t frames) override { blockSize = frames; }
    void setActive(bool state) override { active = state; }
    bool reservedFlag3() const override { return true; }
    bool reservedFlag4() const override { return true; }
    void reserved5() override {}
    bool isActive() const override { return active; }
    uint32_t getLatency() const override { return 0; }
    uint32_t reservedCount8() const override { return 0; }
    int32_t setSampleRate(T rate) override {
        sampleRate = rate;
        return 0;
    }
    void reserved10() override {}
    void reserved11() override {}
    void process(T** /*in*/, T** /*out*/, uint32_t /*frames*/) override {}
    T reservedValue13() const override { return T(0); }

    virtual ~Algo() = default;
    virtual int32_t init() { return 0; }
    virtual int32_t release() { return 0; }
    virtual void reserved17() {}
    virtual T getSampleRate() const { return sampleRate; }
    virtual void reserved19() {}
    virtual uint32_t getProcessLatency() const { return getLatency(); }
    virtual void reset() {}

    T sampleRate = T(0);
    uint32_t blockSize = 0; // the most frames one process call carries
    bool active = false;
    bool spareFlag = false; // kept and copied, never read by the frame
};

} // namespace Tannhofen::DSP::Audio
