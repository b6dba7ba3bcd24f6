#include "dsp/audio/sample_collector.h"

#include <new>

#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::Audio {

namespace CollectorDetail {

template <class T>
void freeChannelArray(T**& buffers, uint32_t channels) {
    if (buffers == nullptr) return;
    for (uint32_t ch = 0; ch < channels; ++ch) Vec::free(buffers[ch]);
    delete[] buffers;
    buffers = nullptr;
}

template <class T>
void allocateChannelArray(T**& buffers, uint32_t channels, uint32_t length) {
    freeChannelArray(buffers, channels);
    if (channels == 0) return;
    buffers = new (std::nothrow) T*[channels];
    if (buffers == nullptr) return;
    for (uint32_t ch = 0; ch < channels; ++ch) {
        buffers[ch] = Vec::malloc<T>(length);
        Vec::zero(buffers[ch], length);
    }
}

template <class T>
void freePointerArray(T**& cursors) {
    delete[] cursors;
    cursors = nullptr;
}

template <class T>
void allocatePointerArray(T**& cursors, uint32_t channels) {
    freePointerArray(cursors);
    if (channels > 0) cursors = new (std::nothrow) T*[channels]();
}

template <class T>
void zeroChannelArray(T** buffers, uint32_t channels, uint32_t length) {
    if (buffers == nullptr) return;
    for (uint32_t ch = 0; ch < channels; ++ch) Vec::zero(buffers[ch], length);
}

namespace {

template <class T>
void startCursors(T** cursors, T** caller, uint32_t channels) {
    for (uint32_t ch = 0; ch < channels; ++ch) cursors[ch] = caller[ch];
}

template <class T>
void advanceCursors(T** cursors, uint32_t channels, uint32_t frames) {
    for (uint32_t ch = 0; ch < channels; ++ch)
        if (cursors[ch] != nullptr) cursors[ch] += frames;
}

// Gathers `frames` input frames into inBuffers, and when `out` is given serves
// the same number of frames from outBuffers, calling onBlock() for every
// completed block. A block that is completed exactly by the last frame of a
// call is processed within that call; its output is read from the next call on,
// so that exactly one block lies between input and output. A null input
// channel is taken as silence.
template <class T, class OnBlock>
void walk(T** in, T** out, uint32_t frames, uint32_t inChannels, uint32_t outChannels, uint32_t& position,
          uint32_t blockSize, T** inBuffers, T** outBuffers, T** inCursors, T** outCursors,
          OnBlock&& onBlock) {
    const bool serve = out != nullptr;
    if (frames == 0 || blockSize == 0 || in == nullptr || inBuffers == nullptr || inCursors == nullptr)
        return;
    if (serve && (outBuffers == nullptr || outCursors == nullptr)) return;
    if (position >= blockSize) position = 0;
    startCursors(inCursors, in, inChannels);
    if (serve) startCursors(outCursors, out, outChannels);
    while (frames != 0) {
        const bool completes = frames >= blockSize - position;
        const uint32_t m = completes ? blockSize - position : frames;
        for (uint32_t ch = 0; ch < inChannels; ++ch) {
            if (inCursors[ch] != nullptr)
                Vec::copy(inCursors[ch], inBuffers[ch] + position, m);
            else
                Vec::zero(inBuffers[ch] + position, m);
        }
        if (serve)
            for (uint32_t ch = 0; ch < outChannels; ++ch)
                Vec::copy(outBuffers[ch] + position, outCursors[ch], m);
        if (!completes) {
            position += m;
            return;
        }
        onBlock();
        advanceCursors(inCursors, inChannels, m);
        if (serve) advanceCursors(outCursors, outChannels, m);
        position = 0;
        frames -= m;
    }
}

} // namespace

} // namespace CollectorDetail

using namespace CollectorDetail;

// ---- SampleCollector2 -------------------------------------------------------

template <class T>
SampleCollector2<T>::~SampleCollector2() {
    SampleCollector2<T>::freeBuffers();
}

template <class T>
void SampleCollector2<T>::setActive(bool state) {
    if (!state) reset();
    Algo<T>::setActive(state);
}

template <class T>
int32_t SampleCollector2<T>::setChannels(uint32_t inputs, uint32_t outputs) {
    if (inputs != inputChannels) {
        freeBuffers();
        inputChannels = inputs;
        allocateBuffers();
    }
    if (outputs != outputChannels) {
        freeBuffers();
        outputChannels = outputs;
        allocateBuffers();
    }
    return 0;
}

template <class T>
int32_t SampleCollector2<T>::init() {
    allocateBuffers();
    initialised = true;
    return 1;
}

template <class T>
int32_t SampleCollector2<T>::release() {
    freeBuffers();
    initialised = false;
    return 1;
}

template <class T>
void SampleCollector2<T>::reset() {
    if (inputBuffers != nullptr && outputBuffers != nullptr) {
        zeroChannelArray(inputBuffers, inputChannels, collectBlockSize);
        zeroChannelArray(outputBuffers, outputChannels, collectBlockSize);
    }
    position = 0;
}

template <class T>
void SampleCollector2<T>::processInputBlock(T**, uint32_t) {}

template <class T>
void SampleCollector2<T>::freeBuffers() {
    freeChannelBuffers();
    freePointerArray(inputCursors);
    freePointerArray(outputCursors);
}

template <class T>
void SampleCollector2<T>::allocateBuffers() {
    allocateChannelBuffers();
    allocatePointerArray(inputCursors, inputChannels);
    allocatePointerArray(outputCursors, outputChannels);
}

template <class T>
void SampleCollector2<T>::freeChannelBuffers() {
    freeChannelArray(inputBuffers, inputChannels);
    freeChannelArray(outputBuffers, outputChannels);
}

template <class T>
void SampleCollector2<T>::allocateChannelBuffers() {
    allocateChannelArray(inputBuffers, inputChannels, collectBlockSize);
    allocateChannelArray(outputBuffers, outputChannels, collectBlockSize);
}

template <class T>
void SampleCollector2<T>::collectInputBlock(T** in, uint32_t frames) {
    walk<T>(in, nullptr, frames, inputChannels, 0, position, collectBlockSize, inputBuffers, nullptr,
            inputCursors, nullptr, [this] { processInputBlock(inputBuffers, collectBlockSize); });
}

template <class T>
void SampleCollector2<T>::collectBlock(T** in, T** out, uint32_t frames) {
    if (out == nullptr) return;
    walk<T>(in, out, frames, inputChannels, outputChannels, position, collectBlockSize, inputBuffers,
            outputBuffers, inputCursors, outputCursors,
            [this] { processBlock(inputBuffers, outputBuffers, collectBlockSize); });
}

// ---- SampleCollector --------------------------------------------------------

template <class T>
SampleCollector<T>::~SampleCollector() {
    SampleCollector<T>::freeBuffers();
}

template <class T>
void SampleCollector<T>::setActive(bool state) {
    if (!state) reset();
    Algo<T>::setActive(state);
}

template <class T>
int32_t SampleCollector<T>::setChannels(uint32_t inputs, uint32_t outputs) {
    if (inputs != outputs) return 1;
    if (inputs != channels) {
        freeBuffers();
        channels = inputs;
        allocateBuffers();
    }
    return 0;
}

template <class T>
int32_t SampleCollector<T>::init() {
    allocateBuffers();
    initialised = true;
    return 0;
}

template <class T>
int32_t SampleCollector<T>::release() {
    freeBuffers();
    released = true;
    return 0;
}

template <class T>
void SampleCollector<T>::reset() {
    if (inputBuffers != nullptr && outputBuffers != nullptr) {
        zeroChannelArray(inputBuffers, channels, collectBlockSize);
        zeroChannelArray(outputBuffers, channels, collectBlockSize);
    }
    position = 0;
}

template <class T>
void SampleCollector<T>::freeBuffers() {
    freeChannelBuffers();
    freePointerArray(inputCursors);
    freePointerArray(outputCursors);
}

template <class T>
void SampleCollector<T>::allocateBuffers() {
    allocateChannelBuffers();
    allocatePointerArray(inputCursors, channels);
    allocatePointerArray(outputCursors, channels);
}

template <class T>
void SampleCollector<T>::freeChannelBuffers() {
    freeChannelArray(inputBuffers, channels);
    freeChannelArray(outputBuffers, channels);
}

template <class T>
void SampleCollector<T>::allocateChannelBuffers() {
    allocateChannelArray(inputBuffers, channels, collectBlockSize);
    allocateChannelArray(outputBuffers, channels, collectBlockSize);
}

template <class T>
void SampleCollector<T>::collectInputBlock(T** in, uint32_t frames) {
    walk<T>(in, nullptr, frames, channels, 0, position, collectBlockSize, inputBuffers, nullptr, inputCursors,
            nullptr, [this] { processInputBlock(inputBuffers, collectBlockSize); });
}

template <class T>
void SampleCollector<T>::collectBlock(T** in, T** out, uint32_t frames) {
    if (out == nullptr) return;
    walk<T>(in, out, frames, channels, channels, position, collectBlockSize, inputBuffers, outputBuffers,
            inputCursors, outputCursors,
            [this] { processBlock(inputBuffers, outputBuffers, collectBlockSize); });
}

template <class T>
void SampleCollector<T>::processInputBlock(T**, uint32_t) {}

#define PLX_COLLECTOR_INSTANCES(T)                                                    \
    template void CollectorDetail::freeChannelArray<T>(T**&, uint32_t);               \
    template void CollectorDetail::allocateChannelArray<T>(T**&, uint32_t, uint32_t); \
    template void CollectorDetail::freePointerArray<T>(T**&);                         \
    template void CollectorDetail::allocatePointerArray<T>(T**&, uint32_t);           \
    template void CollectorDetail::zeroChannelArray<T>(T**, uint32_t, uint32_t);      \
    template class SampleCollector2<T>;                                               \
    template class SampleCollector<T>;

PLX_COLLECTOR_INSTANCES(float)
PLX_COLLECTOR_INSTANCES(double)

} // namespace Tannhofen::DSP::Audio
