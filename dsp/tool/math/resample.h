// Rational sample-rate conversion of a finished buffer, by upFactor / downFactor:
// zero-stuffing, a Butterworth low-pass of order Order at the up-sampled rate
// (cut-off at the lower of the two Nyquist frequencies), decimation, and a
// scale by upFactor times the design's gain. A batch tool for set-up time: it
// allocates, and a conversion filters at the full up-sampled rate. The
// filter's group delay is not compensated.
//
// The owner sets inputLength, upFactor and downFactor, calls init, then
// converts each channel with process, calling reset between channels.
#pragma once

#include <cstdint>

#include "dsp/data/small_matrix.h"
#include "dsp/tool/base_dynamic_tool.h"
#include "dsp/tool/filter/iir_filter.h"

namespace Tannhofen::DSP::Tool::Math {

template <class T, int Order = 16, class Impl = Data::ImplVecSignal, class ImplMat = Data::ImplBlas,
          class ImplCMat = Data::ImplBlas>
class Resample : public BaseDynamicTool {
    static_assert(Order >= 2 && Order % 2 == 0, "the filter runs as Order / 2 biquad sections");

public:
    static constexpr int sections = Order / 2;

    Resample() = default;
    Resample(const Resample&) = delete;
    Resample& operator=(const Resample&) = delete;
    ~Resample() override;

    // Designs the filter and allocates the work buffer. 0 on success, 1 if the
    // design or an allocation failed (or a factor is 0).
    virtual int32_t init();
    // 0 when everything was freed, 1 otherwise.
    virtual int32_t release();
    // Clears the filter's memory: call between channels.
    virtual void reset();

    // inputLength * upFactor / downFactor, rounded down.
    uint32_t outputLength() const;
    // Converts one channel: inputLength frames of src into outFrames frames of
    // dst (at most outputLength()).
    void process(const T* src, T* dst, uint32_t outFrames);

    uint32_t inputLength = 0;
    uint32_t downFactor = 1;
    uint32_t upFactor = 1;
    uint32_t upsampledLength = 0;
    T* workBuffer = nullptr;
    Filter::IIRBiQuadFilter<sections, T, Impl> filter;
    T* denominators = nullptr; // Order rows of three values, `sections` of them used
    T* numerators = nullptr;
    T filterGain = T(1);
};

extern template class Resample<float>;
extern template class Resample<double>;

} // namespace Tannhofen::DSP::Tool::Math
