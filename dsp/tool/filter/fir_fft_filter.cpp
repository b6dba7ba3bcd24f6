#include "dsp/tool/filter/fir_fft_filter.h"

#include <algorithm>

#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::Tool::Filter {

template <class T, class Impl>
FIRFFTFilter<T, Impl>::~FIRFFTFilter() {
    freeArrays();
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::configure(uint32_t blockSize, uint32_t impulseLength) {
    const uint64_t wanted = uint64_t(blockSize) + impulseLength;
    const uint32_t length =
        Transform::roundTransformLength(static_cast<uint32_t>(std::min<uint64_t>(wanted, 1u << 31)));
    fftLength = length;
    this->frameLength = length;
    fft.length = length;
    inverseFft.length = length;
    this->overlap = static_cast<uint32_t>(length * 0.5);
    filterLength = impulseLength;
    this->channels = 1;
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::freeArrays() {
    for (T** p : {&impulseResponse, &filterRe, &filterIm, &history, &zeroIm, &discardIm, &frameRe, &frameIm,
                  &productRe, &productIm, &scratchA, &scratchB}) {
        Vec::free(*p);
        *p = nullptr;
    }
}

template <class T, class Impl>
int32_t FIRFFTFilter<T, Impl>::init() {
    // The frame is exactly one transform long, whatever the owner set.
    fftLength = Transform::roundTransformLength(fftLength);
    this->frameLength = fftLength;
    fft.length = fftLength;
    inverseFft.length = fftLength;
    if (Audio::Ols<T>::init() != 0) return 1;

    freeArrays();
    impulseResponse = Vec::malloc<T>(fftLength);
    if (impulseResponse == nullptr) return 1;
    Vec::zero(impulseResponse, fftLength);
    history = Vec::malloc<T>(filterLength);
    if (filterLength != 0 && history == nullptr) return 1;
    Vec::zero(history, filterLength);
    for (T** p : {&filterRe, &filterIm, &zeroIm, &discardIm, &frameRe, &frameIm, &productRe, &productIm,
                  &scratchA, &scratchB}) {
        *p = Vec::malloc<T>(fftLength);
        if (*p == nullptr) return 1;
    }
    Vec::zero(zeroIm, fftLength);
    if (fft.init() != 0 || inverseFft.init() != 0) return 1;
    updateSpectrum();
    return 0;
}

template <class T, class Impl>
int32_t FIRFFTFilter<T, Impl>::release() {
    Audio::Ols<T>::release();
    freeArrays();
    const int32_t forward = fft.release();
    const int32_t inverse = inverseFft.release();
    return (forward != 0 || inverse != 0) ? 1 : 0;
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::reset() {
    Vec::zero(history, filterLength);
    Audio::Ols<T>::reset();
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::updateSpectrum() {
    fft.transform(impulseResponse, zeroIm, filterRe, filterIm);
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::loadImpulse(const T* taps, uint32_t count) {
    if (impulseResponse == nullptr) return;
    const uint32_t n = taps == nullptr ? 0 : std::min(count, fftLength);
    Vec::copy(taps, impulseResponse, n);
    Vec::zero(impulseResponse + n, fftLength - n);
    updateSpectrum();
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::processFrame(T** frameBuffers, uint32_t) {
    for (uint32_t ch = 0; ch < this->channels; ++ch) {
        fft.transform(frameBuffers[ch], zeroIm, frameRe, frameIm);
        multiplySpectrum(frameRe, frameIm, productRe, productIm, fftLength);
        inverseFft.transform(productRe, productIm, frameBuffers[ch], discardIm);
    }
}

template <class T, class Impl>
void FIRFFTFilter<T, Impl>::multiplySpectrum(const T* inRe, const T* inIm, T* outRe, T* outIm, uint32_t n) {
    n = std::min(n, fftLength);
    Vec::mul(inRe, filterRe, scratchA, n);
    Vec::mul(inIm, filterIm, scratchB, n);
    Vec::sub(scratchA, scratchB, outRe, n);
    Vec::mul(inRe, filterIm, scratchA, n);
    Vec::mul(inIm, filterRe, scratchB, n);
    Vec::add(scratchA, scratchB, outIm, n);
}

template class FIRFFTFilter<float>;
template class FIRFFTFilter<double>;

} // namespace Tannhofen::DSP::Tool::Filter
