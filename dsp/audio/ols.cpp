#include "dsp/audio/ols.h"

#include <algorithm>

#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::Audio {

using namespace CollectorDetail;

template <class T>
Ols<T>::~Ols() {
    freeChannelArray(overlapStore, channels);
    freeChannelArray(frames, channels);
}

template <class T>
void Ols<T>::setActive(bool state) {
    Algo<T>::setActive(state);
    if (!state) reset();
}

template <class T>
int32_t Ols<T>::init() {
    overlapCopy = overlap;
    overlap = std::min(overlap, frameLength);
    hop = frameLength - overlap;
    if (collectBlockSize == 0) collectBlockSize = hop;
    allocateBuffers();
    passThrough = 0;
    olsInitialised = true;
    return 0;
}

template <class T>
int32_t Ols<T>::release() {
    freeBuffers();
    this->released = true;
    olsReleased = true;
    return 0;
}

template <class T>
void Ols<T>::reset() {
    SampleCollector<T>::reset();
    zeroChannelArray(overlapStore, channels, overlap);
    zeroChannelArray(frames, channels, overlap + hop);
}

template <class T>
void Ols<T>::freeBuffers() {
    SampleCollector<T>::freeBuffers();
    freeChannelArray(overlapStore, channels);
    freeChannelArray(frames, channels);
}

template <class T>
void Ols<T>::allocateBuffers() {
    SampleCollector<T>::allocateBuffers();
    allocateChannelArray(overlapStore, channels, overlap);
    allocateChannelArray(frames, channels, overlap + hop);
}

template <class T>
bool Ols<T>::frameStep(T** in, uint32_t count) {
    if (in == nullptr || frames == nullptr || overlapStore == nullptr) return false;
    for (uint32_t ch = 0; ch < channels; ++ch) {
        Vec::copy(overlapStore[ch], frames[ch], overlap);
        Vec::copy(in[ch], frames[ch] + overlap, count);
        // The last `overlap` samples of this frame start the next one.
        Vec::copy(frames[ch] + count, overlapStore[ch], overlap);
    }
    processFrame(frames, overlap + hop);
    return true;
}

template <class T>
void Ols<T>::processInputBlock(T** in, uint32_t n) {
    if (passThrough == 0) frameStep(in, std::min(hop, n));
}

template <class T>
void Ols<T>::processBlock(T** in, T** out, uint32_t n) {
    if (passThrough != 0) {
        for (uint32_t ch = 0; ch < channels; ++ch) Vec::copy(in[ch], out[ch], n);
        return;
    }
    const uint32_t count = std::min(hop, n);
    if (!frameStep(in, count)) return;
    for (uint32_t ch = 0; ch < channels; ++ch) Vec::copy(frames[ch] + overlap, out[ch], count);
}

template class Ols<float>;
template class Ols<double>;

} // namespace Tannhofen::DSP::Audio
