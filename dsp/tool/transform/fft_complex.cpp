#include "dsp/tool/transform/fft_complex.h"

#include <bit>
#include <cmath>

namespace Tannhofen::DSP::Tool::Transform {

uint32_t roundTransformLength(uint32_t n) {
    constexpr uint32_t largest = 1u << 31;
    if (n == 0) return 1;
    if (n > largest) return largest;
    return std::bit_ceil(n);
}

template <class T, int Flag>
ComplexTransform<T, Flag>::~ComplexTransform() {
    ComplexTransform::release();
}

template <class T, int Flag>
int32_t ComplexTransform<T, Flag>::init() {
    release();
    initialised = true;
    length = roundTransformLength(length);
    order = static_cast<int32_t>(std::log2(static_cast<double>(length)));
    int specSize = 0, initSize = 0, workSize = 0;
    Vec::fftGetSize(order, Flag, specSize, initSize, workSize);
    specBuffer = static_cast<uint8_t*>(Vec::mallocBytes(static_cast<std::size_t>(specSize)));
    initBuffer = static_cast<uint8_t*>(Vec::mallocBytes(static_cast<std::size_t>(initSize)));
    workBuffer = static_cast<uint8_t*>(Vec::mallocBytes(static_cast<std::size_t>(workSize)));
    if ((specSize != 0 && specBuffer == nullptr) || (initSize != 0 && initBuffer == nullptr) ||
        (workSize != 0 && workBuffer == nullptr))
        return 1;
    status = Vec::fftInit<T>(&spec, order, Flag, specBuffer, initBuffer);
    return 0;
}

template <class T, int Flag>
int32_t ComplexTransform<T, Flag>::release() {
    if (spec != nullptr) Vec::fftFree(spec);
    spec = nullptr;
    Vec::free(specBuffer);
    Vec::free(initBuffer);
    Vec::free(workBuffer);
    specBuffer = initBuffer = workBuffer = nullptr;
    return 0;
}

template class ComplexTransform<float, Vec::FftNoDiv>;
template class ComplexTransform<double, Vec::FftNoDiv>;
template class ComplexTransform<float, Vec::FftDivInvByN>;
template class ComplexTransform<double, Vec::FftDivInvByN>;

} // namespace Tannhofen::DSP::Tool::Transform
