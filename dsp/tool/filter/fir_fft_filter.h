// A running FIR filter by overlap-save: every frame of fftLength samples is
// transformed, multiplied by the spectrum of the impulse response and
// transformed back; the half behind the overlap is the output. Spectra are held
// split (real and imaginary arrays) in natural bin order over all fftLength
// bins; a real signal goes through the complex transform with zeroIm as its
// imaginary part.
//
// Set-up by the owner, with the stream stopped: configure (or set fftLength,
// frameLength, the transforms' length, overlap, filterLength and channels
// directly), init, reset, then loadImpulse. The latency is collectBlockSize,
// half the transform length. An impulse longer than overlap + 1 wraps around.
#pragma once

#include <cstdint>

#include "dsp/audio/ols.h"
#include "dsp/tool/transform/fft_complex.h"

namespace Tannhofen::DSP::Tool::Filter {

template <class T, class Impl = Data::ImplVecSignal>
class FIRFFTFilter : public Audio::Ols<T> {
public:
    FIRFFTFilter() = default;
    FIRFFTFilter(const FIRFFTFilter&) = default;
    FIRFFTFilter& operator=(const FIRFFTFilter&) = default;
    ~FIRFFTFilter() override;

    // Sets up the frame for one channel: the transform length is the next power
    // of two of blockSize + impulseLength, the overlap half of it.
    void configure(uint32_t blockSize, uint32_t impulseLength);

    // 0 on success, nonzero when an allocation failed (the rest is then left undone).
    int32_t init() override;
    int32_t release() override;
    void reset() override;
    void processFrame(T** frameBuffers, uint32_t length) override;
    // out = in * filter, bin by bin, over n bins.
    virtual void multiplySpectrum(const T* inRe, const T* inIm, T* outRe, T* outIm, uint32_t n);

    // Writes `count` taps (at most fftLength) to impulseResponse, zeros up to
    // fftLength, and transforms them into the filter's spectrum.
    void loadImpulse(const T* taps, uint32_t count);
    // Transforms impulseResponse into filterRe, filterIm.
    void updateSpectrum();

    uint32_t fftLength = 0;
    T* impulseResponse = nullptr;
    T* filterRe = nullptr;
    T* filterIm = nullptr;
    uint32_t filterLength = 0; // taps in use
    T* history = nullptr;      // filterLength samples, kept zeroed
    T* zeroIm = nullptr;       // imaginary input of every forward transform
    T* discardIm = nullptr;    // imaginary output of the inverse transform
    T* frameRe = nullptr;
    T* frameIm = nullptr;
    T* productRe = nullptr;
    T* productIm = nullptr;
    T* scratchA = nullptr;
    T* scratchB = nullptr;
    Transform::FFTComplex<T, Impl> fft;
    Transform::InverseFFTComplex<T, Impl> inverseFft;

private:
    void freeArrays();
};

extern template class FIRFFTFilter<float>;
extern template class FIRFFTFilter<double>;

} // namespace Tannhofen::DSP::Tool::Filter
