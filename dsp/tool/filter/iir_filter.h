// IIR filters over the vector library: a cascade of N biquad sections
// (IIRBiQuadFilter), or one direct-form filter of a given order (IIRFilter).
// The library keeps its own copy of the taps and of the delay line in `state`:
// new taps take effect through reset, init or setTaps, and setTaps keeps the
// filter's memory across the change.
#pragma once

#include <cstdint>

#include "dsp/data/small_matrix.h"
#include "dsp/tool/base_dynamic_tool.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::Tool::Filter {

// The filter frame shared by both forms: TapCount taps in the library's order,
// DelayCount values of delay line, and the library state in workBuffer.
template <class T, int TapCount, int DelayCount, bool BiQuad>
class IIRFilterCore : public BaseDynamicTool {
public:
    IIRFilterCore();
    // A copy has its own library state, built from the source's taps and its
    // present delay line: containers of filters may grow after init.
    IIRFilterCore(const IIRFilterCore& other);
    IIRFilterCore& operator=(const IIRFilterCore& other);
    ~IIRFilterCore() override;

    // Zeroes the delay line, allocates workBuffer and builds `state` from
    // `taps`. 0 on success, 1 when the allocation failed.
    virtual int32_t init();
    virtual int32_t release();
    // Clears the memory and builds `state` from the present `taps`.
    virtual void reset();

    // Filters `frames` samples (in place allowed). An uninitialised filter
    // copies its input.
    void process(const T* src, T* dst, int32_t frames);
    // Loads new taps and keeps the present delay line (audio thread safe).
    void setTaps(const T* newTaps);
    void getDelayLine(T* out) const;
    void setDelayLine(const T* in);

    static constexpr int tapCount = TapCount;
    static constexpr int delayCount = DelayCount;

    int32_t maxBlockLength = 0; // the owner's largest block
    T taps[TapCount];
    T delayLine[DelayCount];
    uint8_t* workBuffer = nullptr;
    Vec::IirState<T>* state = nullptr;

private:
    void buildState();
};

// N second-order sections run in order, first row first. Taps per section:
// b0, b1, b2, a0, a1, a2 (a0 stored as 1). A new filter passes its input.
template <int N, class T, class Impl = Data::ImplVecSignal>
class IIRBiQuadFilter : public IIRFilterCore<T, 6 * N, 2 * N, true> {
    static_assert(N >= 1);
};

// One direct-form filter: taps b0..bOrder then a0..aOrder.
template <int Order, class T, class Impl = Data::ImplVecSignal>
class IIRFilter : public IIRFilterCore<T, 2 * (Order + 1), Order, false> {
    static_assert(Order >= 1);
};

// ---- Definitions -----------------------------------------------------------

template <class T, int TapCount, int DelayCount, bool BiQuad>
IIRFilterCore<T, TapCount, DelayCount, BiQuad>::IIRFilterCore() {
    // Pass-through until the owner loads taps: b0 = 1 and a0 = 1 in each
    // section (biquad), or in the one direct form.
    Vec::zero(taps, TapCount);
    Vec::zero(delayLine, DelayCount);
    if constexpr (BiQuad) {
        for (int s = 0; s < TapCount / 6; ++s) {
            taps[6 * s] = T(1);
            taps[6 * s + 3] = T(1);
        }
    } else {
        taps[0] = T(1);
        taps[TapCount / 2] = T(1);
    }
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
IIRFilterCore<T, TapCount, DelayCount, BiQuad>::IIRFilterCore(const IIRFilterCore& other) : IIRFilterCore() {
    *this = other;
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
IIRFilterCore<T, TapCount, DelayCount, BiQuad>&
IIRFilterCore<T, TapCount, DelayCount, BiQuad>::operator=(const IIRFilterCore& other) {
    if (this == &other) return *this;
    release();
    maxBlockLength = other.maxBlockLength;
    Vec::copy(other.taps, taps, TapCount);
    Vec::copy(other.delayLine, delayLine, DelayCount);
    if (other.workBuffer != nullptr && init() == 0) {
        T memory[DelayCount];
        other.getDelayLine(memory);
        setDelayLine(memory);
    }
    initialised = other.initialised;
    return *this;
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
IIRFilterCore<T, TapCount, DelayCount, BiQuad>::~IIRFilterCore() {
    IIRFilterCore::release();
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
void IIRFilterCore<T, TapCount, DelayCount, BiQuad>::buildState() {
    Vec::IirState<T>* built = nullptr;
    if constexpr (BiQuad)
        Vec::iirInitBiQuad(&built, taps, TapCount / 6, delayLine, workBuffer);
    else
        Vec::iirInit(&built, taps, DelayCount, delayLine, workBuffer);
    // Taps the library refuses (a0 of 0) leave the filter as it was.
    if (built != nullptr) state = built;
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
int32_t IIRFilterCore<T, TapCount, DelayCount, BiQuad>::init() {
    release();
    initialised = true;
    Vec::zero(delayLine, DelayCount);
    int bytes = 0;
    if constexpr (BiQuad)
        Vec::iirGetStateSizeBiQuad(TapCount / 6, bytes);
    else
        Vec::iirGetStateSize(DelayCount, bytes);
    workBuffer = static_cast<uint8_t*>(Vec::mallocBytes(static_cast<std::size_t>(bytes)));
    if (workBuffer == nullptr) return 1;
    buildState();
    return 0;
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
int32_t IIRFilterCore<T, TapCount, DelayCount, BiQuad>::release() {
    state = nullptr;
    Vec::free(workBuffer);
    workBuffer = nullptr;
    return 0;
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
void IIRFilterCore<T, TapCount, DelayCount, BiQuad>::reset() {
    Vec::zero(delayLine, DelayCount);
    if (workBuffer != nullptr) {
        state = nullptr;
        buildState();
    }
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
void IIRFilterCore<T, TapCount, DelayCount, BiQuad>::process(const T* src, T* dst, int32_t frames) {
    if (frames <= 0) return;
    if (state != nullptr)
        Vec::iir(src, dst, frames, state);
    else
        Vec::copy(src, dst, static_cast<std::size_t>(frames));
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
void IIRFilterCore<T, TapCount, DelayCount, BiQuad>::setTaps(const T* newTaps) {
    if (newTaps == nullptr) return;
    getDelayLine(delayLine);
    Vec::copy(newTaps, taps, TapCount);
    if (workBuffer != nullptr) buildState();
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
void IIRFilterCore<T, TapCount, DelayCount, BiQuad>::getDelayLine(T* out) const {
    if (state != nullptr)
        Vec::iirGetDelayLine(state, out);
    else
        Vec::copy(delayLine, out, DelayCount);
}

template <class T, int TapCount, int DelayCount, bool BiQuad>
void IIRFilterCore<T, TapCount, DelayCount, BiQuad>::setDelayLine(const T* in) {
    if (in == nullptr) return;
    Vec::copy(in, delayLine, DelayCount);
    if (state != nullptr) Vec::iirSetDelayLine(state, in);
}

extern template class IIRFilterCore<float, 6, 2, true>;
extern template class IIRFilterCore<double, 6, 2, true>;
extern template class IIRFilterCore<float, 48, 16, true>;
extern template class IIRFilterCore<double, 48, 16, true>;
extern template class IIRFilterCore<float, 6, 2, false>;
extern template class IIRFilterCore<double, 6, 2, false>;

} // namespace Tannhofen::DSP::Tool::Filter
