#include "dsp/tool/math/resample.h"

#include <algorithm>
#include <limits>

#include "dsp/tool/filter/butterworth_filter_design.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::Tool::Math {

template <class T, int Order, class Impl, class ImplMat, class ImplCMat>
Resample<T, Order, Impl, ImplMat, ImplCMat>::~Resample() {
    Resample::release();
}

template <class T, int Order, class Impl, class ImplMat, class ImplCMat>
int32_t Resample<T, Order, Impl, ImplMat, ImplCMat>::init() {
    release();
    initialised = true;
    const uint64_t upsampled = uint64_t(inputLength) * upFactor;
    if (upFactor == 0 || downFactor == 0 || upsampled > uint64_t(std::numeric_limits<int32_t>::max()))
        return 1;
    upsampledLength = static_cast<uint32_t>(upsampled);

    numerators = Vec::malloc<T>(3 * Order);
    denominators = Vec::malloc<T>(3 * Order);
    if (numerators == nullptr || denominators == nullptr) return 1;
    Vec::zero(numerators, 3 * Order);
    Vec::zero(denominators, 3 * Order);

    {
        Filter::ButterworthFilterDesign<T, Impl, ImplMat, ImplCMat> design;
        design.setOrder(Order);
        design.filterType = Filter::LowPass;
        design.outputForm = Filter::SectionsForm;
        if (design.init() != 0) return 1;
        design.design(T(1) / T(std::max(upFactor, downFactor)), T(0.1), T(1));
        design.getSections(reinterpret_cast<T(*)[3]>(denominators), reinterpret_cast<T(*)[3]>(numerators),
                           filterGain);
        design.release();
    }

    filter.maxBlockLength = static_cast<int32_t>(upsampledLength);
    for (int s = 0; s < sections; ++s) {
        Vec::copy(numerators + 3 * s, filter.taps + 6 * s, 3);
        Vec::copy(denominators + 3 * s, filter.taps + 6 * s + 3, 3);
    }
    const int32_t filterResult = filter.init();
    workBuffer = Vec::malloc<T>(upsampledLength);
    return (filterResult != 0 || (upsampledLength != 0 && workBuffer == nullptr)) ? 1 : 0;
}

template <class T, int Order, class Impl, class ImplMat, class ImplCMat>
int32_t Resample<T, Order, Impl, ImplMat, ImplCMat>::release() {
    Vec::free(numerators);
    Vec::free(denominators);
    numerators = denominators = nullptr;
    const int32_t filterResult = filter.release();
    Vec::free(workBuffer);
    workBuffer = nullptr;
    if (filterResult != 0) return 1;
    initialised = false;
    return 0;
}

template <class T, int Order, class Impl, class ImplMat, class ImplCMat>
void Resample<T, Order, Impl, ImplMat, ImplCMat>::reset() {
    filter.reset();
}

template <class T, int Order, class Impl, class ImplMat, class ImplCMat>
uint32_t Resample<T, Order, Impl, ImplMat, ImplCMat>::outputLength() const {
    if (downFactor == 0) return 0;
    return static_cast<uint32_t>(uint64_t(inputLength) * upFactor / downFactor);
}

template <class T, int Order, class Impl, class ImplMat, class ImplCMat>
void Resample<T, Order, Impl, ImplMat, ImplCMat>::process(const T* src, T* dst, uint32_t outFrames) {
    if (workBuffer == nullptr || src == nullptr || dst == nullptr) return;
    outFrames = std::min(outFrames, outputLength());
    int length = 0;
    int phase = 0;
    Vec::sampleUp(src, int(inputLength), workBuffer, length, int(upFactor), phase);
    filter.process(workBuffer, workBuffer, int32_t(upsampledLength));
    phase = 0;
    Vec::sampleDown(workBuffer, int(outFrames * downFactor), dst, length, int(downFactor), phase);
    Vec::mulC(dst, T(upFactor) * filterGain, dst, outFrames);
}

template class Resample<float>;
template class Resample<double>;

} // namespace Tannhofen::DSP::Tool::Math
