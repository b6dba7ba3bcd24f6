// Convolves each ambisonic channel with its left and right filter of the
// current HRIR set and sums to two ears, by overlap-save on transforms of
// fftSize = the power of two at or above block + filter length.
//
// The channels are summed in the frequency domain: two channels ride each
// forward transform (ambi/paired_spectra.h), their products with the filters'
// spectra add up into one spectrum per ear, and each ear comes back from one
// inverse transform. A set for a left-right symmetric head has only left
// filters: the right ear takes the same products with the sign of the
// harmonics with m < 0 turned, so those channels are summed apart, added for
// the left ear and subtracted for the right.
//
// The convolver steps by one host block (or by fftSize - block, when that is
// shorter) and delays its output so that, behind the binaural algorithm's own
// collector block, the whole path is late by exactly fftSize samples, the
// latency it reports. A filter never wraps round the transform, whatever the
// block.
//
// Set-up with the stream stopped: setChannels, setBlockSize, the filter
// fields (left, right, hrirLength, symmetric), init, reset. process carries
// any number of frames and allocates nothing.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp/audio/algo.h"
#include "dsp/tool/transform/fft_complex.h"

namespace Tannhofen::AmbiBin {

template <class T>
class AmbiHrirConvolverAlgo : public DSP::Audio::Algo<T> {
public:
    AmbiHrirConvolverAlgo() = default;
    AmbiHrirConvolverAlgo(const AmbiHrirConvolverAlgo&) = delete;
    AmbiHrirConvolverAlgo& operator=(const AmbiHrirConvolverAlgo&) = delete;
    ~AmbiHrirConvolverAlgo() override;

    // Stores the input count; the output is always the two ears. 0.
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override;
    uint32_t getLatency() const override { return fftSize; }
    // Sizes the transforms and computes the filters' spectra. 0 on success, 1
    // when an allocation failed (the convolver then gives silence).
    int32_t init() override;
    int32_t release() override;
    void reset() override;
    // in: numChannels channels; out: left and right.
    void process(T** in, T** out, uint32_t frames) override;

    uint32_t numChannels = 0;
    uint32_t fftSize = 0;
    bool symmetric = true;
    T** left = nullptr; // the current set's filters, not owned
    T** right = nullptr;
    uint32_t hrirLength = 0;

private:
    // Two channels of one forward transform (second < 0: none), and the
    // group its products are summed into.
    struct Pair {
        int32_t first, second;
        uint32_t group;
    };

    void freeAll();
    bool allocateAll();
    void computeSpectra();
    void runHop();

    bool ready = false;
    uint32_t hop = 0;         // new samples per transform
    uint32_t outputDelay = 0; // added behind the hop so the path is late by fftSize
    uint32_t position = 0;    // samples gathered in the present hop
    uint32_t delayIndex = 0;
    std::vector<Pair> pairs;
    uint32_t groups = 0;     // 2: plus and minus harmonics, or left and right ears
    std::vector<T*> frames;  // per channel: the last fftSize input samples
    std::vector<T*> spectra; // per pair and group member: re, im of the filters
    std::vector<T*> sums;    // per group: re, im
    T* zeros = nullptr;      // imaginary input of a pair without a second channel
    T* work[4] = {};         // transform in and out, re and im
    T* pending[2] = {};      // the last hop's output, left and right
    T* delayLine[2] = {};    // outputDelay samples per ear
    DSP::Tool::Transform::FFTComplex<T> forward;
    DSP::Tool::Transform::InverseFFTComplex<T> inverse;
};

extern template class AmbiHrirConvolverAlgo<float>;
extern template class AmbiHrirConvolverAlgo<double>;

} // namespace Tannhofen::AmbiBin
