#include "dsp/algo32/wide_delay.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::WideFrame {

namespace {

// The capacity in samples: the milliseconds are scaled to seconds in single
// precision before the rate is applied (100 ms at 44100 Hz gives 4410).
double wantedLength(float ms, double rate) {
    return static_cast<double>(ms * 0.001f) * rate;
}

// The power of two above `wanted`: a wanted length that is itself a power of
// two doubles, so that the ring always holds one sample more than asked.
int32_t powerOfTwoAbove(double wanted) {
    double length = 2.0;
    while (length <= wanted) length *= 2.0;
    return static_cast<int32_t>(length);
}

} // namespace

// ---- Delay --------------------------------------------------------------------

template <class Sample>
Delay<Sample>::Delay(double rate, int32_t frames, float maxMs)
    : Algo<double, Sample>(rate, frames), maxDelayMs(maxMs) {
    bufferLength = static_cast<int32_t>(wantedLength(maxDelayMs, rate));
    writeIndex = bufferLength - 1;
    allocateBuffer();
    Delay::setDelayMs(20.0f);
    Delay::reset();
}

template <class Sample>
Delay<Sample>::~Delay() {
    Vec::free(buffer);
}

template <class Sample>
void Delay<Sample>::allocateBuffer() {
    Vec::free(buffer);
    buffer = bufferLength > 0 ? Vec::malloc<Sample>(static_cast<std::size_t>(bufferLength)) : nullptr;
}

template <class Sample>
void Delay<Sample>::deriveDelayMs() {
    delayMs = static_cast<float>(delaySamples * 1000.0 / this->sampleRate);
}

template <class Sample>
void Delay<Sample>::setActive(bool state) {
    this->active = state;
    if (!state) reset();
}

template <class Sample>
int32_t Delay<Sample>::setSampleRate(double rate) {
    this->sampleRate = rate;
    const auto length = static_cast<int32_t>(wantedLength(maxDelayMs, rate));
    const bool grow = length > bufferLength || buffer == nullptr;
    bufferLength = length;
    if (grow) // a shorter ring keeps the larger allocation
        allocateBuffer();
    keepDelayMs();
    return 1;
}

template <class Sample>
void Delay<Sample>::keepDelayMs() {
    // Clearing delayMs first keeps setDelayMs's guard from stopping the
    // re-derivation: the delay is kept in milliseconds, not in samples.
    const float ms = delayMs;
    delayMs = 0.0f;
    setDelayMs(ms);
    reset();
}

template <class Sample>
void Delay<Sample>::reset() {
    writeIndex = bufferLength - 1;
    readIndex = writeIndex - delaySamples;
    if (readIndex < 0) readIndex += bufferLength;
    if (buffer != nullptr && bufferLength > 0) Vec::zero(buffer, static_cast<std::size_t>(bufferLength));
}

template <class Sample>
void Delay<Sample>::setDelayMs(float ms) {
    if (std::fabs(delayMs - ms) < 0.001f) return;
    ms = std::min(ms, maxDelayMs);
    // The addend catches products that fall just below a whole number.
    const double samples = static_cast<double>(ms) * 0.001 * this->sampleRate + 1e-05;
    applyDelaySamples(static_cast<int32_t>(samples));
    deriveDelayMs();
}

template <class Sample>
void Delay<Sample>::setDelaySamples(int32_t samples) {
    if (samples == delaySamples) return;
    applyDelaySamples(std::max(samples, 0));
    deriveDelayMs();
}

template <class Sample>
void Delay<Sample>::applyDelaySamples(int32_t samples) {
    delaySamples = std::max(std::min(samples, bufferLength - 1), 0);
    readIndex = writeIndex - delaySamples;
    if (readIndex < 0) readIndex += bufferLength;
}

template <class Sample>
void Delay<Sample>::setBufferLength(int32_t length) {
    if (length == bufferLength) return;
    resize(length);
}

template <class Sample>
void Delay<Sample>::resize(int32_t length) {
    bufferLength = length;
    writeIndex = bufferLength - 1;
    allocateBuffer();
    applyDelaySamples(delaySamples);
    deriveDelayMs();
    maxDelayMs = static_cast<float>(bufferLength * 1000.0 / this->sampleRate);
    reset();
}

template <class Sample>
Sample Delay<Sample>::processSample(Sample x) {
    // Write before read: a delay of 0 passes x straight through.
    buffer[writeIndex] = x;
    const Sample y = buffer[readIndex];
    if (++writeIndex == bufferLength) writeIndex = 0;
    if (++readIndex == bufferLength) readIndex = 0;
    return y;
}

template <class Sample>
void Delay<Sample>::processBlockMono(const Sample* in, Sample* out, int32_t frames) {
    int32_t w = writeIndex, r = readIndex;
    for (int32_t i = 0; i < frames; ++i) {
        buffer[w] = in[i];
        out[i] = buffer[r];
        if (++w == bufferLength) w = 0;
        if (++r == bufferLength) r = 0;
    }
    writeIndex = w;
    readIndex = r;
}

template <class Sample>
bool Delay<Sample>::isSilent(int32_t stride) const {
    if (readIndex == writeIndex || buffer == nullptr) return true;
    stride = std::max(stride, 1);
    const auto quiet = [&](int32_t from, int32_t to) {
        for (int32_t i = from; i < to; i += stride)
            if (silenceThreshold < buffer[i]) return false;
        return true;
    };
    if (readIndex < writeIndex) return quiet(readIndex, writeIndex);
    return quiet(readIndex, bufferLength) && quiet(0, writeIndex);
}

// ---- DelayPow2 ----------------------------------------------------------------

template <class Sample>
DelayPow2<Sample>::DelayPow2(double rate, int32_t frames, float maxMs) : Delay<Sample>(rate, frames, maxMs) {
    takeLength(powerOfTwoAbove(wantedLength(this->maxDelayMs, rate)));
    // The capacity this length really holds.
    this->maxDelayMs = static_cast<float>(this->bufferLength * 1000.0 / rate);
    this->allocateBuffer();
    Delay<Sample>::setDelayMs(20.0f);
    Delay<Sample>::reset();
}

template <class Sample>
void DelayPow2<Sample>::takeLength(int32_t length) {
    this->bufferLength = length;
    indexMask = length - 1;
}

template <class Sample>
int32_t DelayPow2<Sample>::setSampleRate(double rate) {
    this->sampleRate = rate;
    const int32_t length = powerOfTwoAbove(wantedLength(this->maxDelayMs, rate));
    if (length != this->bufferLength) {
        takeLength(length);
        this->allocateBuffer();
    }
    this->keepDelayMs();
    return 1;
}

template <class Sample>
void DelayPow2<Sample>::setBufferLength(int32_t length) {
    if (length == this->bufferLength) return;
    int32_t rounded = 2;
    if (length > 1) rounded = powerOfTwoAbove(static_cast<double>(length));
    indexMask = rounded - 1;
    this->resize(rounded);
}

template <class Sample>
Sample DelayPow2<Sample>::processSample(Sample x) {
    this->buffer[this->writeIndex] = x;
    const Sample y = this->buffer[this->readIndex];
    this->writeIndex = (this->writeIndex + 1) & indexMask;
    this->readIndex = (this->readIndex + 1) & indexMask;
    return y;
}

template <class Sample>
void DelayPow2<Sample>::processBlockMono(const Sample* in, Sample* out, int32_t frames) {
    if (this->delaySamples == 0) {
        // The ring is not written: raising the delay later reads older samples.
        if (in != out) Vec::copy(in, out, static_cast<std::size_t>(frames));
        return;
    }
    Sample* ring = this->buffer;
    int32_t w = this->writeIndex, r = this->readIndex;
    for (int32_t i = 0; i < frames; ++i) {
        ring[w] = in[i];
        out[i] = ring[r];
        w = (w + 1) & indexMask;
        r = (r + 1) & indexMask;
    }
    this->writeIndex = w;
    this->readIndex = r;
}

// ---- DelayMultiCh -------------------------------------------------------------

template <class Sample>
DelayMultiCh<Sample>::DelayMultiCh(double rate, int32_t frames, float maxMs, int32_t /*mode*/)
    : Algo<double, Sample>(rate, frames), maxDelayMs(maxMs) {
    buildChannels(1);
}

template <class Sample>
void DelayMultiCh<Sample>::buildChannels(int32_t count) {
    delays.clear();
    delays.reserve(static_cast<std::size_t>(count));
    for (int32_t ch = 0; ch < count; ++ch) {
        auto line = std::make_unique<DelayPow2<Sample>>(this->sampleRate, this->blockSize, maxDelayMs);
        line->setDelayMs(delayMs);
        line->setActive(this->active);
        delays.push_back(std::move(line));
    }
    channelCount = count;
}

template <class Sample>
void DelayMultiCh<Sample>::setParameter(int32_t id, double value) {
    if (id == 0) setDelayMs(static_cast<float>(value));
}

template <class Sample>
void DelayMultiCh<Sample>::setActive(bool state) {
    this->active = state;
    for (auto& line : delays) line->setActive(state);
}

template <class Sample>
void DelayMultiCh<Sample>::setBlockSize(int32_t frames) {
    if (frames == this->blockSize) return;
    delays.clear();
    this->blockSize = frames;
    buildChannels(channelCount);
}

template <class Sample>
int32_t DelayMultiCh<Sample>::setSampleRate(double rate) {
    this->sampleRate = rate;
    for (auto& line : delays) line->setSampleRate(rate);
    return 1;
}

template <class Sample>
int32_t DelayMultiCh<Sample>::setChannels(int32_t inputs, int32_t outputs) {
    if (inputs != outputs || inputs < 0) return 1;
    if (inputs != channelCount) {
        buildChannels(inputs);
        reset();
    }
    return 0;
}

template <class Sample>
void DelayMultiCh<Sample>::process32(float** in, float** out, int32_t frames) {
    if constexpr (std::is_same_v<Sample, float>)
        for (int32_t ch = 0; ch < channelCount; ++ch)
            delays[static_cast<std::size_t>(ch)]->processBlockMono(in[ch], out[ch], frames);
}

template <class Sample>
void DelayMultiCh<Sample>::process64(double** in, double** out, int32_t frames) {
    if constexpr (std::is_same_v<Sample, double>)
        for (int32_t ch = 0; ch < channelCount; ++ch)
            delays[static_cast<std::size_t>(ch)]->processBlockMono(in[ch], out[ch], frames);
}

template <class Sample>
void DelayMultiCh<Sample>::reset() {
    for (auto& line : delays) line->reset();
}

template <class Sample>
void DelayMultiCh<Sample>::setDelayMs(float ms) {
    delayMs = ms;
    for (auto& line : delays) line->setDelayMs(ms);
}

template <class Sample>
void DelayMultiCh<Sample>::setDelaySamples(int32_t samples) {
    if (samples == delaySamples) return;
    delaySamples = samples;
    delayMs = samples == 0 ? 0.0f : static_cast<float>(samples * 1000.0 / this->sampleRate);
    for (auto& line : delays) line->setDelaySamples(samples);
}

template <class Sample>
void DelayMultiCh<Sample>::setBufferLength(int32_t length) {
    for (auto& line : delays) line->setBufferLength(length);
    if (delays.empty()) return;
    maxDelayMs = delays.front()->maxDelayMs;
    delayMs = delays.front()->delayMs;
    delaySamples = delays.front()->delaySamples;
}

template class Delay<float>;
template class Delay<double>;
template class DelayPow2<float>;
template class DelayPow2<double>;
template class DelayMultiCh<float>;
template class DelayMultiCh<double>;

} // namespace Tannhofen::DSP::WideFrame
