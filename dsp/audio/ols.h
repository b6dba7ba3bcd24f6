// Overlap-save framing on top of a collector: each collected block (one hop)
// becomes one analysis frame of `overlap + hop` samples, the last `overlap`
// input samples followed by the new hop. A subclass works on the frame in
// place (processFrame); the part of the frame behind the overlap is handed on
// as the block's output, the first `overlap` samples are dropped.
#pragma once

#include <cstdint>

#include "dsp/audio/sample_collector.h"

namespace Tannhofen::DSP::Audio {

template <class T>
class Ols : public SampleCollector<T> {
public:
    using SampleCollector<T>::channels;
    using SampleCollector<T>::collectBlockSize;

    Ols() = default;
    ~Ols() override;

    void setActive(bool state) override;
    // Derives hop (frameLength - overlap) and, when the owner left it at 0, the
    // collector block (one hop); allocates everything. 0 on success.
    int32_t init() override;
    int32_t release() override;
    void reset() override;
    void freeBuffers() override;
    void allocateBuffers() override;
    void processInputBlock(T** in, uint32_t frames) override;
    void processBlock(T** in, T** out, uint32_t frames) override;

    // Nonzero skips the frame processing: the output is the input, still
    // delayed by the collector block.
    virtual void setPassThrough(uint32_t value) { passThrough = value; }
    // The subclass's work on one frame per channel, in place.
    virtual void processFrame(T** frameBuffers, uint32_t length) = 0;

    uint32_t overlap = 0;     // samples carried from one frame to the next
    uint32_t overlapCopy = 0; // the overlap init was made with
    uint32_t hop = 0;         // frameLength - overlap
    uint32_t frameLength = 0;
    uint32_t passThrough = 0;
    float overlapRatio = 0.5f;  // owners set overlap to half the frame themselves
    T** overlapStore = nullptr; // channels x overlap
    T** frames = nullptr;       // channels x (overlap + hop)
    bool olsInitialised = false;
    bool olsReleased = false;

private:
    // Builds each channel's frame from the stored overlap and `count` new
    // samples, keeps the frame's last `overlap` samples for the next frame, and
    // runs processFrame. Returns false when there is nothing to work on.
    bool frameStep(T** in, uint32_t count);
};

extern template class Ols<float>;
extern template class Ols<double>;

} // namespace Tannhofen::DSP::Audio
