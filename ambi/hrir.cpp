#include "ambi/hrir.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include "dsp/vec/vec.h"

namespace Tannhofen::AmbiBin {

namespace {

template <class T>
void freeChannels(T**& buffers, uint32_t channels) {
    if (buffers == nullptr) return;
    for (uint32_t c = 0; c < channels; ++c) DSP::Vec::free(buffers[c]);
    delete[] buffers;
    buffers = nullptr;
}

// numChannels zeroed buffers of `samples` each; null (and nothing held) on failure.
template <class T>
T** allocateChannels(uint32_t channels, uint32_t samples) {
    T** buffers = new T*[channels]();
    for (uint32_t c = 0; c < channels; ++c) {
        buffers[c] = DSP::Vec::malloc<T>(samples);
        if (buffers[c] == nullptr && samples != 0) {
            freeChannels(buffers, channels);
            return nullptr;
        }
        DSP::Vec::zero(buffers[c], samples);
    }
    return buffers;
}

// The most samples a conversion may run through its filter at the up-sampled
// rate: beyond it (rates with almost no common divisor, such as 48 kHz and
// 44099 Hz) the set is left at its own rate rather than spending seconds on
// one conversion. Every pair of common rates stays far below it.
constexpr uint64_t kMaxUpsampledLength = uint64_t(1) << 22;

} // namespace

template <class T>
HrirData<T>::HrirData(HrirData&& other) noexcept {
    *this = std::move(other);
}

template <class T>
HrirData<T>& HrirData<T>::operator=(HrirData&& other) noexcept {
    if (this == &other) return *this;
    free();
    left = std::exchange(other.left, nullptr);
    right = std::exchange(other.right, nullptr);
    length = other.length;
    numChannels = other.numChannels;
    order = other.order;
    sampleRate = other.sampleRate;
    symmetric = other.symmetric;
    name = std::move(other.name);
    return *this;
}

template <class T>
bool HrirData<T>::allocate(uint32_t channelCount, uint32_t samples, bool isSymmetric) {
    free();
    numChannels = channelCount;
    length = samples;
    symmetric = isSymmetric;
    left = allocateChannels<T>(channelCount, samples);
    if (!isSymmetric) right = allocateChannels<T>(channelCount, samples);
    if (left == nullptr || (!isSymmetric && right == nullptr)) {
        free();
        return false;
    }
    return true;
}

template <class T>
void HrirData<T>::free() {
    freeChannels(left, numChannels);
    freeChannels(right, numChannels);
}

template <class T>
Hrir<T>::Hrir(HrirData<T>&& data, int32_t mode_)
    : mode(mode_),
      sampleRate(data.sampleRate),
      order(data.order),
      symmetric(data.symmetric),
      name(data.name) {
    const uint32_t padded = data.length + kHrirTrailingZeros;
    left = allocateChannels<T>(data.numChannels, padded);
    if (!symmetric) right = allocateChannels<T>(data.numChannels, padded);
    const bool complete = left != nullptr && (symmetric || right != nullptr) && data.left != nullptr &&
                          (symmetric || data.right != nullptr);
    if (complete) {
        numChannels = data.numChannels;
        length = padded;
        for (uint32_t c = 0; c < numChannels; ++c) {
            DSP::Vec::copy(data.left[c], left[c], data.length);
            if (!symmetric) DSP::Vec::copy(data.right[c], right[c], data.length);
        }
    } else {
        freeChannels(left, data.numChannels);
        freeChannels(right, data.numChannels);
    }
    data.free();
}

template <class T>
Hrir<T>::~Hrir() {
    freeBuffers();
}

template <class T>
void Hrir<T>::freeBuffers() {
    freeChannels(left, numChannels);
    freeChannels(right, numChannels);
}

template <class T>
int32_t Hrir<T>::setSampleRate(double rate) {
    if (rate == sampleRate) return 0;
    // Rates are whole numbers of Hz here; anything that isn't a usable rate
    // (NaN, below 1 Hz, beyond 32 bits) is refused and the set stays.
    if (!(rate >= 1.0 && rate < 4294967296.0) || !(sampleRate >= 1.0 && sampleRate < 4294967296.0)) return 1;
    const auto to = static_cast<uint32_t>(rate);
    const auto from = static_cast<uint32_t>(sampleRate);
    if (to == from) {
        sampleRate = rate;
        return 0;
    }
    const uint32_t divisor = std::gcd(to, from);
    const uint32_t up = to / divisor;
    const uint32_t down = from / divisor;
    if (uint64_t(length) * up > kMaxUpsampledLength) return 1;

    resampler.inputLength = length;
    resampler.upFactor = up;
    resampler.downFactor = down;
    if (resampler.init() != 0) {
        resampler.release();
        return 1;
    }
    resampler.reset();

    const auto newLength = static_cast<uint32_t>(uint64_t(length) * up / down);
    T** newLeft = allocateChannels<T>(numChannels, newLength);
    T** newRight = symmetric ? nullptr : allocateChannels<T>(numChannels, newLength);
    if (newLeft == nullptr || (!symmetric && newRight == nullptr)) {
        freeChannels(newLeft, numChannels);
        freeChannels(newRight, numChannels);
        resampler.release();
        return 1;
    }
    // One filter runs through every channel, left then right, without a reset
    // in between: the 32 trailing zeros of each filter let its tail die out
    // before the next channel starts.
    std::vector<double> source(length), result(newLength);
    auto convert = [&](T* src, T* dst) {
        std::copy_n(src, length, source.begin());
        resampler.process(source.data(), result.data(), newLength);
        std::copy_n(result.begin(), newLength, dst);
    };
    for (uint32_t c = 0; c < numChannels; ++c) convert(left[c], newLeft[c]);
    if (!symmetric)
        for (uint32_t c = 0; c < numChannels; ++c) convert(right[c], newRight[c]);

    freeBuffers();
    left = newLeft;
    right = newRight;
    length = newLength;
    sampleRate = rate;
    resampler.release();
    return 0;
}

template struct HrirData<float>;
template struct HrirData<double>;
template class Hrir<float>;
template class Hrir<double>;

} // namespace Tannhofen::AmbiBin
