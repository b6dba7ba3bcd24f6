// Complex power-of-two transforms on split real and imaginary arrays, over the
// vector library. The forward transform is unscaled and the inverse divides by
// N, so that forward then inverse gives the input back and spectra are plain
// sums.
#pragma once

#include <cstdint>

#include "dsp/data/small_matrix.h"
#include "dsp/tool/base_dynamic_tool.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::Tool::Transform {

// The transform length for a requested length n: 0 gives 1, a power of two
// stays, anything else gives the next power of two above (at most 2^31).
uint32_t roundTransformLength(uint32_t n);

// The set-up and buffers shared by both directions; `Flag` is the library's
// scaling flag.
template <class T, int Flag>
class ComplexTransform : public BaseDynamicTool {
public:
    ComplexTransform() = default;
    ComplexTransform(const ComplexTransform&) = default;
    ComplexTransform& operator=(const ComplexTransform&) = default;
    ~ComplexTransform() override;

    // Rounds `length` to the transform length, derives `order`, allocates the
    // library's buffers and sets up `spec`. 1 if an allocation failed, else 0.
    virtual int32_t init();
    // Frees the buffers; 0.
    virtual int32_t release();
    virtual void reserved3() {}

    int32_t order = 0;   // log2 of the length
    uint32_t length = 0; // set by the owner before init
    Vec::FftSpec<T>* spec = nullptr;
    uint8_t* specBuffer = nullptr;
    uint8_t* initBuffer = nullptr;
    uint8_t* workBuffer = nullptr;
    int32_t status = 0; // the library's result of setting up
};

// Forward transform, unscaled.
template <class T, class Impl = Data::ImplVecSignal>
class FFTComplex : public ComplexTransform<T, Vec::FftNoDiv> {
public:
    Vec::Status transform(const T* srcRe, const T* srcIm, T* dstRe, T* dstIm) {
        return Vec::fftFwd(srcRe, srcIm, dstRe, dstIm, this->spec, this->workBuffer);
    }
};

// Inverse transform, divided by N.
template <class T, class Impl = Data::ImplVecSignal>
class InverseFFTComplex : public ComplexTransform<T, Vec::FftDivInvByN> {
public:
    Vec::Status transform(const T* srcRe, const T* srcIm, T* dstRe, T* dstIm) {
        return Vec::fftInv(srcRe, srcIm, dstRe, dstIm, this->spec, this->workBuffer);
    }
};

extern template class ComplexTransform<float, Vec::FftNoDiv>;
extern template class ComplexTransform<double, Vec::FftNoDiv>;
extern template class ComplexTransform<float, Vec::FftDivInvByN>;
extern template class ComplexTransform<double, Vec::FftDivInvByN>;

} // namespace Tannhofen::DSP::Tool::Transform
