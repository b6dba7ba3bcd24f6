#include "ambi/ambi_hrir_convolver_algo.h"

#include <algorithm>

#include "ambi/hrir.h"
#include "ambi/paired_spectra.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::AmbiBin {

namespace Vec = DSP::Vec;

template <class T>
AmbiHrirConvolverAlgo<T>::~AmbiHrirConvolverAlgo() {
    freeAll();
}

template <class T>
int32_t AmbiHrirConvolverAlgo<T>::setChannels(uint32_t inputs, uint32_t) {
    numChannels = inputs;
    return 0;
}

template <class T>
void AmbiHrirConvolverAlgo<T>::freeAll() {
    ready = false;
    for (T* p : frames) Vec::free(p);
    for (T* p : spectra) Vec::free(p);
    for (T* p : sums) Vec::free(p);
    frames.clear();
    spectra.clear();
    sums.clear();
    for (T** p : {&zeros, &work[0], &work[1], &work[2], &work[3], &pending[0], &pending[1], &delayLine[0],
                  &delayLine[1]}) {
        Vec::free(*p);
        *p = nullptr;
    }
    forward.release();
    inverse.release();
}

template <class T>
int32_t AmbiHrirConvolverAlgo<T>::release() {
    freeAll();
    return 0;
}

template <class T>
bool AmbiHrirConvolverAlgo<T>::allocateAll() {
    const uint32_t n = fftSize;
    bool ok = true;
    auto take = [&](T*& p, uint32_t count) {
        p = Vec::malloc<T>(count);
        if (p == nullptr && count != 0) ok = false;
        Vec::zero(p, count);
    };
    frames.assign(numChannels, nullptr);
    for (T*& p : frames) take(p, n);
    spectra.assign(pairs.size() * (symmetric ? 2 : 4), nullptr);
    for (T*& p : spectra) take(p, n);
    sums.assign(2 * groups, nullptr);
    for (T*& p : sums) take(p, n);
    take(zeros, n);
    for (T*& p : work) take(p, n);
    for (T*& p : pending) take(p, hop);
    for (T*& p : delayLine) take(p, outputDelay);
    forward.length = n;
    inverse.length = n;
    return ok && forward.init() == 0 && inverse.init() == 0;
}

template <class T>
void AmbiHrirConvolverAlgo<T>::computeSpectra() {
    // Per pair the complex filter h1 - j h2 of each ear in use, transformed.
    const uint32_t n = fftSize, taps = std::min(hrirLength, n);
    const uint32_t ears = symmetric ? 1 : 2;
    for (size_t p = 0; p < pairs.size(); ++p)
        for (uint32_t ear = 0; ear < ears; ++ear) {
            T** filters = ear == 0 ? left : right;
            Vec::zero(work[0], n);
            Vec::zero(work[1], n);
            Vec::copy(filters[pairs[p].first], work[0], taps);
            if (pairs[p].second >= 0) Vec::mulC(filters[pairs[p].second], T(-1), work[1], taps);
            T* re = spectra[(p * ears + ear) * 2];
            T* im = spectra[(p * ears + ear) * 2 + 1];
            forward.transform(work[0], work[1], re, im);
        }
}

template <class T>
int32_t AmbiHrirConvolverAlgo<T>::init() {
    freeAll();
    const uint32_t block = std::max(this->blockSize, 1u);
    const uint64_t wanted = uint64_t(block) + hrirLength;
    fftSize = DSP::Tool::Transform::roundTransformLength(uint32_t(std::min<uint64_t>(wanted, 1u << 31)));
    if (left == nullptr || hrirLength == 0 || numChannels == 0 || (!symmetric && right == nullptr)) return 0;

    // One host block per transform while the transform holds two of them;
    // else as many samples as the filter leaves valid. Either way the
    // convolver is late by fftSize - block.
    hop = fftSize >= 2 * uint64_t(block) ? block : fftSize - block;
    outputDelay = fftSize - block - hop;

    pairs.clear();
    if (symmetric) {
        // The harmonics that keep their sign between the ears, then those that turn it.
        for (uint32_t group = 0; group < 2; ++group) {
            int32_t waiting = -1;
            for (uint32_t c = 0; c < numChannels; ++c) {
                if ((mirrorSign(c) > 0) != (group == 0)) continue;
                if (waiting < 0) {
                    waiting = int32_t(c);
                } else {
                    pairs.push_back({waiting, int32_t(c), group});
                    waiting = -1;
                }
            }
            if (waiting >= 0) pairs.push_back({waiting, -1, group});
        }
    } else {
        for (uint32_t c = 0; c < numChannels; c += 2)
            pairs.push_back({int32_t(c), c + 1 < numChannels ? int32_t(c + 1) : -1, 0});
    }
    groups = 2;
    if (!allocateAll()) {
        freeAll();
        return 1;
    }
    computeSpectra();
    ready = true;
    return 0;
}

template <class T>
void AmbiHrirConvolverAlgo<T>::reset() {
    position = 0;
    delayIndex = 0;
    if (!ready) return;
    for (T* p : frames) Vec::zero(p, fftSize);
    for (T* p : pending) Vec::zero(p, hop);
    for (T* p : delayLine) Vec::zero(p, outputDelay);
}

template <class T>
void AmbiHrirConvolverAlgo<T>::runHop() {
    const uint32_t n = fftSize;
    for (T* p : sums) Vec::zero(p, n);
    const uint32_t ears = symmetric ? 1 : 2;
    for (size_t p = 0; p < pairs.size(); ++p) {
        const Pair& pair = pairs[p];
        forward.transform(frames[pair.first], pair.second >= 0 ? frames[pair.second] : zeros, work[0],
                          work[1]);
        for (uint32_t ear = 0; ear < ears; ++ear) {
            const uint32_t group = symmetric ? pair.group : ear;
            PairedSpectra::multiplyAccumulate(work[0], work[1], spectra[(p * ears + ear) * 2],
                                              spectra[(p * ears + ear) * 2 + 1], sums[2 * group],
                                              sums[2 * group + 1], n);
        }
    }
    // Each ear is the real part of its sum's inverse transform (the pairs'
    // by-products land in the imaginary part).
    T* leftEar = work[0];
    T* rightEar = work[2];
    if (symmetric) {
        // Left: plus + minus; right: plus - minus. Exact sums, so that a field
        // of one group alone reaches the ears as equal or as opposite signals.
        Vec::add(sums[0], sums[2], work[0], n);
        Vec::add(sums[1], sums[3], work[1], n);
        Vec::sub(sums[0], sums[2], sums[2], n);
        Vec::sub(sums[1], sums[3], sums[3], n);
        inverse.transform(work[0], work[1], work[2], work[3]);
        inverse.transform(sums[2], sums[3], sums[0], sums[1]);
        leftEar = work[2];
        rightEar = sums[0];
    } else {
        inverse.transform(sums[0], sums[1], work[0], work[1]);
        inverse.transform(sums[2], sums[3], work[2], work[3]);
    }
    Vec::copy(leftEar + (n - hop), pending[0], hop);
    Vec::copy(rightEar + (n - hop), pending[1], hop);
    for (T* frame : frames) Vec::copy(frame + hop, frame, n - hop);
}

template <class T>
void AmbiHrirConvolverAlgo<T>::process(T** in, T** out, uint32_t count) {
    if (out == nullptr || out[0] == nullptr || out[1] == nullptr) return;
    if (!ready || in == nullptr) {
        Vec::zero(out[0], count);
        Vec::zero(out[1], count);
        return;
    }
    uint32_t done = 0;
    while (done < count) {
        const uint32_t n = std::min(count - done, hop - position);
        for (uint32_t c = 0; c < numChannels; ++c)
            Vec::copy(in[c] + done, frames[c] + (fftSize - hop + position), n);
        for (uint32_t ear = 0; ear < 2; ++ear) {
            T* o = out[ear] + done;
            Vec::copy(pending[ear] + position, o, n);
            if (outputDelay == 0) continue;
            uint32_t index = delayIndex;
            for (uint32_t i = 0; i < n; ++i) {
                std::swap(o[i], delayLine[ear][index]);
                if (++index == outputDelay) index = 0;
            }
        }
        if (outputDelay != 0) delayIndex = (delayIndex + n) % outputDelay;
        position += n;
        done += n;
        if (position == hop) {
            runHop();
            position = 0;
        }
    }
}

template class AmbiHrirConvolverAlgo<float>;
template class AmbiHrirConvolverAlgo<double>;

} // namespace Tannhofen::AmbiBin
