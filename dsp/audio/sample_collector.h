// Sample collectors: re-block the host's buffers of any length into one fixed
// internal block. Each time the internal block is full a virtual processBlock
// runs on it, and the host's output is served from the block processed before.
// The latency is exactly one internal block (collectBlockSize frames).
//
// SampleCollector2 serves algorithms with different input and output counts,
// SampleCollector those with equal counts. The two differ in the order of
// their operations and in their init/release results (1 and 0 for success),
// which their owners read as such.
//
// Every block hook of the toolkit has one form, processBlock(in, out, frames):
// planar channels in and out, and the number of frames to work on.
#pragma once

#include <cstdint>

#include "dsp/audio/algo.h"

namespace Tannhofen::DSP::Audio {

namespace CollectorDetail {

// Per-channel buffer arrays. The arrays of channel pointers come from the
// general allocator, the sample buffers from the vector library.
template <class T>
void freeChannelArray(T**& buffers, uint32_t channels);
template <class T>
void allocateChannelArray(T**& buffers, uint32_t channels, uint32_t length);
template <class T>
void freePointerArray(T**& cursors);
template <class T>
void allocatePointerArray(T**& cursors, uint32_t channels);
template <class T>
void zeroChannelArray(T** buffers, uint32_t channels, uint32_t length);

} // namespace CollectorDetail

// Collector with separate input and output channel counts.
template <class T>
class SampleCollector2 : public Algo<T> {
public:
    SampleCollector2() = default;
    ~SampleCollector2() override;

    void setActive(bool state) override;
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override;
    uint32_t getLatency() const override { return collectBlockSize; }
    void process(T** in, T** out, uint32_t frames) override { collectBlock(in, out, frames); }
    int32_t init() override;    // 1 on success
    int32_t release() override; // 1 on success
    void reset() override;

    virtual void collectInput(T** in, uint32_t frames) { collectInputBlock(in, frames); }
    // Analysis-only subclasses work here on each full input block.
    virtual void processInputBlock(T** in, uint32_t frames);
    // The subclass's work on one block of `frames` frames. The collector calls
    // it on its own buffers with a full block; owners that need no re-blocking
    // may call it directly on their buffers with up to blockSize frames.
    virtual void processBlock(T** in, T** out, uint32_t frames) = 0;
    virtual void freeBuffers();
    virtual void allocateBuffers();
    virtual void freeChannelBuffers();
    virtual void allocateChannelBuffers();
    // Gathers input only; calls processInputBlock for each full block.
    virtual void collectInputBlock(T** in, uint32_t frames);
    // Gathers input and serves output; calls processBlock for each full block.
    virtual void collectBlock(T** in, T** out, uint32_t frames);

    uint32_t inputChannels = 0;
    uint32_t outputChannels = 0;
    uint32_t position = 0;         // frames gathered in the current block
    uint32_t collectBlockSize = 0; // the internal block; set before init
    T** inputBuffers = nullptr;
    T** outputBuffers = nullptr;
    T** inputCursors = nullptr;
    T** outputCursors = nullptr;
    bool initialised = false;
};

// Collector with one channel count for input and output.
template <class T>
class SampleCollector : public Algo<T> {
public:
    SampleCollector() = default;
    ~SampleCollector() override;

    void setActive(bool state) override;
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override; // 1 for an unequal pair
    uint32_t getLatency() const override { return collectBlockSize; }
    void process(T** in, T** out, uint32_t frames) override { collectBlock(in, out, frames); }
    int32_t init() override;    // 0 on success
    int32_t release() override; // 0 on success
    void reset() override;

    virtual void collectInput(T** in, uint32_t frames) { collectInputBlock(in, frames); }
    virtual void freeBuffers();
    virtual void allocateBuffers();
    virtual void freeChannelBuffers();
    virtual void allocateChannelBuffers();
    virtual void collectInputBlock(T** in, uint32_t frames);
    virtual void collectBlock(T** in, T** out, uint32_t frames);
    virtual void processInputBlock(T** in, uint32_t frames);
    virtual void processBlock(T** in, T** out, uint32_t frames) = 0;

    bool initialised = false;
    bool released = false;
    uint32_t channels = 0;
    uint32_t position = 0;
    uint32_t collectBlockSize = 0;
    T** inputBuffers = nullptr;
    T** outputBuffers = nullptr;
    T** inputCursors = nullptr;
    T** outputCursors = nullptr;
};

extern template class SampleCollector2<float>;
extern template class SampleCollector2<double>;
extern template class SampleCollector<float>;
extern template class SampleCollector<double>;

} // namespace Tannhofen::DSP::Audio
