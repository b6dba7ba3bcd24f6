#include "dsp/algo32/wide_fade.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "dsp/vec/vec.h"

namespace Tannhofen::DSP::WideFrame {

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kPi = 3.141592653589793;
// ln 2: the bandwidth in octaves of the band filters' alternative alpha.
constexpr double kBandwidthLn2 = 0.6931471805599453;
constexpr double kGainEpsilon = 2.220446049250313e-16;
constexpr double kUnity[5] = {1.0, 0.0, 0.0, 0.0, 0.0};

// out = (1 - g) a + g b, sample by sample; out may be a or b.
template <class T>
void blend(const T* g, const T* a, const T* b, T* out, int32_t frames) {
    for (int32_t i = 0; i < frames; ++i) out[i] = (T(1) - g[i]) * a[i] + g[i] * b[i];
}

// A fade time in samples. The milliseconds are scaled to seconds by the
// single-precision 0.001 in both widths.
template <class T>
int32_t samplesFor(T ms, double rate) {
    return static_cast<int32_t>(static_cast<double>(ms * T(0.001f)) * rate);
}

// Within the fade (1 - g) a + g b with g = i^2 / L^2, from the fade's end on b alone.
template <class T>
void squareLaw(int32_t position, int32_t length, T lengthSquared, const T* a, const T* b, T* out,
               int32_t frames) {
    const int32_t inFade = std::clamp(length - position, 0, frames);
    for (int32_t i = 0; i < inFade; ++i) {
        const T at = T(position + i);
        const T g = at * at / lengthSquared;
        out[i] = (T(1) - g) * a[i] + g * b[i];
    }
    Vec::copy(b + inFade, out + inFade, static_cast<std::size_t>(frames - inFade));
}

} // namespace

// ---- CrossFader ---------------------------------------------------------------

template <class T>
CrossFader<T>::CrossFader(double rate, int32_t frames, T fadeTimeMs, int32_t mode)
    : Algo<double, T>(rate, frames), curveMode(mode), fadeMs(fadeTimeMs), maxFadeMs(fadeTimeMs) {
    deriveLength();
    selectMix();
}

template <class T>
CrossFader<T>::~CrossFader() {
    freeSources();
    Vec::free(curveTable);
}

template <class T>
void CrossFader<T>::deriveLength() {
    fadeLength = samplesFor(fadeMs, this->sampleRate);
    fadeLengthSquared = T(fadeLength) * T(fadeLength);
    tableLength = tableLengthFor(fadeMs);
}

// The table runs on past the fade by at least one block, so that a block that
// overruns the fade's end still reads valid gains.
template <class T>
int32_t CrossFader<T>::tableLengthFor(T ms) const {
    return std::max(2 * this->blockSize, samplesFor(ms, this->sampleRate) + this->blockSize);
}

template <class T>
void CrossFader<T>::buildTable() {
    Vec::free(curveTable);
    // Room for the longest fade, so that setFadeTime only refills.
    const int32_t capacity = std::max(tableLength, tableLengthFor(maxFadeMs));
    curveTable = Vec::malloc<T>(static_cast<std::size_t>(capacity));
    fillTable();
}

template <class T>
void CrossFader<T>::fillTable() {
    if (curveTable == nullptr) return;
    const float step = 10.0f / static_cast<float>(std::max(fadeLength, 1));
    for (int32_t i = 0; i < fadeLength; ++i) {
        const float x = -5.0f + static_cast<float>(i) * step;
        curveTable[i] = static_cast<T>(1.0 / (1.0 + static_cast<double>(std::exp(-x))));
    }
    for (int32_t i = std::max(fadeLength, 0); i < tableLength; ++i) curveTable[i] = T(1);
}

template <class T>
void CrossFader<T>::selectMix() {
    if (curveMode == 1) {
        mixMono = &mixComputedMono;
        mixMulti = &mixComputedMulti;
    } else {
        mixMono = &mixTableMono;
        mixMulti = &mixTableMulti;
    }
}

template <class T>
void CrossFader<T>::allocateSources() {
    freeSources();
    sources.assign(static_cast<std::size_t>(std::max(channelCount, 0)), nullptr);
    for (auto& buffer : sources) {
        buffer = Vec::malloc<T>(static_cast<std::size_t>(std::max(this->blockSize, 1)));
        Vec::zero(buffer, static_cast<std::size_t>(std::max(this->blockSize, 0)));
    }
    sourceBuffers = sources.data();
}

template <class T>
void CrossFader<T>::freeSources() {
    for (T* buffer : sources) Vec::free(buffer);
    sources.clear();
    sourceBuffers = nullptr;
}

template <class T>
void CrossFader<T>::setActive(bool state) {
    this->active = state;
    if (!state) reset();
}

template <class T>
void CrossFader<T>::setBlockSize(int32_t frames) {
    if (frames == this->blockSize) return;
    this->blockSize = frames;
    tableLength = tableLengthFor(fadeMs);
    if (sourceBuffers != nullptr) allocateSources();
    if (curveMode != 1 && curveTable != nullptr) buildTable();
    selectMix();
}

template <class T>
int32_t CrossFader<T>::setSampleRate(double rate) {
    if (rate == this->sampleRate) return 0;
    this->sampleRate = rate;
    deriveLength();
    if (curveMode != 1 && curveTable != nullptr) buildTable();
    return 0;
}

template <class T>
int32_t CrossFader<T>::setChannels(int32_t inputs, int32_t outputs) {
    if (inputs != outputs || inputs < 0) return 1;
    setChannels(inputs);
    return 0;
}

template <class T>
void CrossFader<T>::setChannels(int32_t count) {
    if (count == channelCount || count < 0) return;
    channelCount = count;
    if (sourceBuffers != nullptr) allocateSources();
}

template <class T>
void CrossFader<T>::processMix32(float** a, float** b, float** out, int32_t frames) {
    if constexpr (std::is_same_v<T, float>) mixMulti(this, a, b, out, frames);
}

template <class T>
void CrossFader<T>::processMix64(double** a, double** b, double** out, int32_t frames) {
    if constexpr (std::is_same_v<T, double>) mixMulti(this, a, b, out, frames);
}

template <class T>
int32_t CrossFader<T>::init() {
    deriveLength();
    allocateSources();
    if (curveMode != 1) buildTable();
    selectMix();
    initialised = true;
    return 0;
}

template <class T>
int32_t CrossFader<T>::release() {
    freeSources();
    Vec::free(curveTable);
    curveTable = nullptr;
    released = true;
    return 0;
}

template <class T>
void CrossFader<T>::reset() {
    for (T* buffer : sources) Vec::zero(buffer, static_cast<std::size_t>(std::max(this->blockSize, 0)));
    fadePosition = 0;
}

template <class T>
void CrossFader<T>::setFadeTime(T ms) {
    if (ms > maxFadeMs || ms == fadeMs) return;
    fadeMs = ms;
    deriveLength();
    fadePosition = 0;
    fading = false;
    fillTable(); // the table was sized for maxFadeMs
}

template <class T>
void CrossFader<T>::advance(int32_t frames) {
    fadePosition += frames;
    if (fadePosition >= fadeLength) {
        fadePosition = 0;
        fading = false;
    }
}

// x = (5 - 10 i / L) / 64; exp(x) by its cubic Taylor polynomial, raised to
// the 64th power by six squarings, gives exp(5 - 10 i / L). Four lanes at a
// time; `gains` holds count rounded up to a multiple of four.
template <class T>
void CrossFader<T>::computedGains(T* gains, int32_t start, int32_t count, int32_t length) {
    const T step = T(0.15625) / T(std::max(length, 1));
    for (int32_t i = 0; i < count; i += 4) {
        T p[4];
        for (int32_t lane = 0; lane < 4; ++lane) {
            const T x = T(0.078125) - T(start + i + lane) * step;
            p[lane] = T(1) + x + x * x * T(0.5) + x * x * x * T(0.16666667);
        }
        for (int32_t square = 0; square < 6; ++square)
            for (int32_t lane = 0; lane < 4; ++lane) p[lane] *= p[lane];
        for (int32_t lane = 0; lane < 4; ++lane) gains[i + lane] = T(1) / (p[lane] + T(1));
    }
}

// The bodies of the mixing pairs, for `channels` channels; the mono function
// of each pair is its multichannel one with a single channel.
template <class T>
void CrossFader<T>::tableMix(CrossFader* f, const T* const* a, const T* const* b, T* const* out,
                             int32_t channels, int32_t frames) {
    if (!f->fading) return;
    for (int32_t ch = 0; ch < channels; ++ch)
        blend(f->curveTable + f->fadePosition, a[ch], b[ch], out[ch], frames);
    f->advance(frames);
}

template <class T>
void CrossFader<T>::computedMix(CrossFader* f, const T* const* a, const T* const* b, T* const* out,
                                int32_t channels, int32_t frames) {
    if (!f->fading) return;
    T gains[kComputedRun];
    for (int32_t done = 0; done < frames; done += kComputedRun) {
        const int32_t run = std::min(kComputedRun, frames - done);
        computedGains(gains, f->fadePosition + done, run, f->fadeLength);
        for (int32_t ch = 0; ch < channels; ++ch)
            blend(gains, a[ch] + done, b[ch] + done, out[ch] + done, run);
    }
    f->advance(frames);
}

template <class T>
void CrossFader<T>::squareMix(CrossFader* f, const T* const* a, const T* const* b, T* const* out,
                              int32_t channels, int32_t frames) {
    if (!f->fading) return;
    for (int32_t ch = 0; ch < channels; ++ch)
        squareLaw(f->fadePosition, f->fadeLength, f->fadeLengthSquared, a[ch], b[ch], out[ch], frames);
    f->advance(frames);
}

template <class T>
void CrossFader<T>::mixTableMono(CrossFader* f, const T* a, const T* b, T* out, int32_t frames) {
    tableMix(f, &a, &b, &out, 1, frames);
}

template <class T>
void CrossFader<T>::mixTableMulti(CrossFader* f, T** a, T** b, T** out, int32_t frames) {
    tableMix(f, a, b, out, f->channelCount, frames);
}

// One pass serves a block of up to kComputedRun frames; longer blocks go in runs.
template <class T>
void CrossFader<T>::mixComputedMono(CrossFader* f, const T* a, const T* b, T* out, int32_t frames) {
    computedMix(f, &a, &b, &out, 1, frames);
}

template <class T>
void CrossFader<T>::mixComputedMulti(CrossFader* f, T** a, T** b, T** out, int32_t frames) {
    computedMix(f, a, b, out, f->channelCount, frames);
}

template <class T>
void CrossFader<T>::mixSquareMono(CrossFader* f, const T* a, const T* b, T* out, int32_t frames) {
    squareMix(f, &a, &b, &out, 1, frames);
}

template <class T>
void CrossFader<T>::mixSquareMulti(CrossFader* f, T** a, T** b, T** out, int32_t frames) {
    squareMix(f, a, b, out, f->channelCount, frames);
}

// ---- CrossFaderBypassDelay ----------------------------------------------------

template <class T>
CrossFaderBypassDelay<T>::CrossFaderBypassDelay(double rate, int32_t frames, T fadeTimeMs, int32_t delay,
                                                int32_t mode)
    : CrossFader<T>(rate, frames, fadeTimeMs, mode), delaySamples(delay) {}

template <class T>
CrossFaderBypassDelay<T>::~CrossFaderBypassDelay() = default;

template <class T>
int32_t CrossFaderBypassDelay<T>::setChannels(int32_t inputs, int32_t outputs) {
    if (inputs != outputs || inputs < 0) return 1;
    setChannels(inputs);
    return 0;
}

template <class T>
void CrossFaderBypassDelay<T>::setChannels(int32_t count) {
    CrossFader<T>::setChannels(count);
    if (delay) delay->setChannels(count, count);
}

template <class T>
void CrossFaderBypassDelay<T>::process32(float** /*in*/, float** out, int32_t frames) {
    if constexpr (std::is_same_v<T, float>)
        if (this->fading) this->mixMulti(this, this->sourceBuffers, out, out, frames);
}

template <class T>
void CrossFaderBypassDelay<T>::process64(double** /*in*/, double** out, int32_t frames) {
    if constexpr (std::is_same_v<T, double>)
        if (this->fading) this->mixMulti(this, this->sourceBuffers, out, out, frames);
}

template <class T>
int32_t CrossFaderBypassDelay<T>::init() {
    CrossFader<T>::init();
    const auto capacityMs = static_cast<float>(delaySamples / this->sampleRate * 1000.0);
    delay = std::make_unique<DelayMultiCh<T>>(this->sampleRate, this->blockSize, capacityMs, 1);
    delay->init();
    delay->reset();
    delay->setChannels(this->channelCount, this->channelCount);
    delay->setDelaySamples(delaySamples);
    delayInitialised = true;
    return 0;
}

template <class T>
int32_t CrossFaderBypassDelay<T>::release() {
    CrossFader<T>::release();
    if (delay) {
        delay->release();
        delay.reset();
    }
    delayReleased = true;
    return 0;
}

template <class T>
void CrossFaderBypassDelay<T>::reset() {
    CrossFader<T>::reset();
    if (delay) delay->reset();
    dryPending = true;
}

template <class T>
void CrossFaderBypassDelay<T>::delayDry(T** dry, int32_t frames) {
    if (!delay || this->sourceBuffers == nullptr) return;
    for (int32_t ch = 0; ch < this->channelCount; ++ch)
        delay->delays[static_cast<std::size_t>(ch)]->processBlockMono(dry[ch], this->sourceBuffers[ch],
                                                                      frames);
    dryPending = false;
}

// ---- FadeBiquad ---------------------------------------------------------------

template <class T>
FadeBiquad<T>::FadeBiquad(double rate) : sampleRate(rate), sampleRateInv(1.0 / rate) {}

template <class T>
int32_t FadeBiquad<T>::init() {
    filter.maxBlockLength = 8192;
    const int32_t result = filter.init();
    double c[5];
    getCoefficients(c);
    setCoefficients(c);
    return result;
}

template <class T>
void FadeBiquad<T>::setSampleRate(double rate) {
    sampleRate = rate;
    sampleRateInv = 1.0 / rate;
}

template <class T>
void FadeBiquad<T>::getCoefficients(double* c) const {
    c[0] = b0;
    c[1] = b1;
    c[2] = b2;
    c[3] = a1;
    c[4] = a2;
}

template <class T>
void FadeBiquad<T>::setCoefficients(const double* c) {
    b0 = static_cast<float>(c[0]);
    b1 = static_cast<float>(c[1]);
    b2 = static_cast<float>(c[2]);
    a1 = static_cast<float>(c[3]);
    a2 = static_cast<float>(c[4]);
    flat = b0 == 1.0f && b1 == 0.0f && b2 == 0.0f && a1 == 0.0f && a2 == 0.0f;
    const T taps[6] = {T(b0), T(b1), T(b2), T(1), T(a1), T(a2)};
    filter.setTaps(taps);
    if (flat) filter.reset(); // a unity filter keeps no memory
}

template <class T>
void FadeBiquad<T>::process(const T* in, T* out, int32_t frames) {
    if (frames <= 0) return;
    if (flat) {
        Vec::copy(in, out, static_cast<std::size_t>(frames));
        return;
    }
    filter.process(in, out, frames);
    // A denormal at the end of a block means the filter is decaying into the
    // range where arithmetic slows down: clear its memory.
    if (std::fpclassify(out[frames - 1]) == FP_SUBNORMAL) filter.reset();
}

template <class T>
void FadeBiquad<T>::takeStateOf(const FadeBiquad& from, T* scratch) {
    if (from.flat)
        Vec::zero(scratch, 2);
    else
        from.filter.getDelayLine(scratch);
    filter.setDelayLine(scratch);
}

template <class T>
void FadeBiquad<T>::reset() {
    filter.reset();
}

namespace {

// A bell matched to its analogue prototype at DC, at the centre and at the
// Nyquist frequency (Orfanidis' design with a prescribed Nyquist gain). The
// bandwidth gain is the square root of the peak gain within 6 dB, and 3 dB
// from the peak beyond. Writes b0 b1 b2 a0 a1 a2; unity when degenerate.
void matchedBell(double w0, double quality, double gainDb, double* out) {
    const double g = std::pow(10.0, gainDb / 20.0);
    const double gb =
        std::fabs(gainDb) <= 6.0 ? std::sqrt(g) : (gainDb > 0.0 ? g / std::sqrt(2.0) : g * std::sqrt(2.0));
    const double f = std::fabs(g * g - gb * gb);
    if (std::fabs(gb - 1.0) < 1e-08 || f <= 1e-06 || !(quality > 0.0)) {
        const double unity[6] = {1.0, 0.0, 0.0, 1.0, 0.0, 0.0};
        std::copy(unity, unity + 6, out);
        return;
    }
    const double dw = std::min(w0 / quality, 0.95 * kPi);
    const double g00 = std::fabs(g * g - 1.0);
    const double f00 = std::fabs(gb * gb - 1.0);
    const double edge = (w0 * w0 - kPi * kPi) * (w0 * w0 - kPi * kPi);
    const double spread = f00 * kPi * kPi * dw * dw / f;
    const double g1 = std::sqrt((edge + g * g * spread) / (edge + spread)); // gain at Nyquist
    const double g01 = std::fabs(g * g - g1);
    const double g11 = std::fabs(g * g - g1 * g1);
    const double f01 = std::fabs(gb * gb - g1);
    const double f11 = std::fabs(gb * gb - g1 * g1);
    const double t0 = std::tan(w0 / 2.0);
    const double w2 = std::sqrt(g11 / g00) * t0 * t0;
    const double dww = (1.0 + std::sqrt(f00 / f11) * w2) * std::tan(dw / 2.0);
    const double c = f11 * dww * dww - 2.0 * w2 * (f01 - std::sqrt(f00 * f11));
    const double d = 2.0 * w2 * (g01 - std::sqrt(g00 * g11));
    const double a = std::sqrt((c + d) / f);
    const double b = std::sqrt((g * g * c + gb * gb * d) / f);
    out[0] = g1 + w2 + b;
    out[1] = -2.0 * (g1 - w2);
    out[2] = g1 - b + w2;
    out[3] = 1.0 + w2 + a;
    out[4] = -2.0 * (1.0 - w2);
    out[5] = 1.0 + w2 - a;
}

// The shelves' factors on the numerator (fn) and denominator (fd) of T: a
// quality above 0.5 narrows the transition, more for larger gains.
void shelfFactors(int32_t type, double quality, double gainDb, double& fn, double& fd) {
    const auto narrowing = [&](double k) {
        return std::max(0.1, 1.0 - (quality - 0.5) * k * std::sqrt(std::fabs(gainDb) / 24.0));
    };
    fn = 1.0;
    fd = 1.0;
    const int32_t shape = (type - 7) % 3;
    if (shape != 1 && quality > 0.5) fn = narrowing(0.12);
    if (shape == 1 && quality >= 0.5) fd = narrowing(0.12);
    if (shape == 2 && quality >= 0.5) fd = narrowing(0.1);
    if (gainDb <= 0.0) std::swap(fn, fd);
    if (std::fabs(gainDb) < 0.01) fn = fd = 1.0;
}

} // namespace

template <class T>
void FadeBiquad<T>::design(int32_t type, double frequency, double quality, double gainDb,
                           bool bandwidthMode) {
    const double w = kTwoPi * frequency * sampleRateInv;
    const double s = std::sin(w);
    const double c = std::cos(w);
    double q = quality;
    if (type == 0 || type == 1) {
        // A fourth-power taper: Q from 0.5 to 10 maps onto itself, 1.0 to about 0.50007.
        const double y = (quality - 0.5) * 0.10526315789;
        q = 9.5 * y * y * y * y + 0.5;
    }
    double alpha = s / (2.0 * q);
    if (bandwidthMode) alpha = s == 0.0 ? 0.0 : s * std::sinh(kBandwidthLn2 / 2.0 * q * w / s);
    const double amp = std::pow(10.0, gainDb / 40.0);

    double k[6] = {0.0, 0.0, 0.0, 1.0, 0.0, 0.0}; // b0 b1 b2 a0 a1 a2
    const auto set = [&](double nb0, double nb1, double nb2, double na0, double na1, double na2) {
        k[0] = nb0, k[1] = nb1, k[2] = nb2, k[3] = na0, k[4] = na1, k[5] = na2;
    };
    if (type >= 6 && type <= 13 && std::fabs(gainDb) < kGainEpsilon) {
        set(1.0, 0.0, 0.0, 1.0, 0.0, 0.0);
    } else if (type >= 7 && type <= 12) {
        double fn = 1.0, fd = 1.0;
        shelfFactors(type, quality, gainDb, fn, fd);
        const double t = 2.0 * std::sqrt(amp) * s;
        const double p = amp + 1.0, m = amp - 1.0;
        if (type <= 9)
            set(amp * (p - c * m + t * fn), 2.0 * amp * (m - c * p), amp * (p - c * m - t * fn),
                p + c * m + t * fd, -2.0 * (m + c * p), p + c * m - t * fd);
        else
            set(amp * (p + c * m + t * fn), -2.0 * amp * (m + c * p), amp * (p + c * m - t * fn),
                p - c * m + t * fd, 2.0 * (m - c * p), p - c * m - t * fd);
    } else {
        switch (type) {
        case 0: set((1.0 - c) / 2.0, 1.0 - c, (1.0 - c) / 2.0, 1.0 + alpha, -2.0 * c, 1.0 - alpha); break;
        case 1: set((1.0 + c) / 2.0, -1.0 - c, (1.0 + c) / 2.0, 1.0 + alpha, -2.0 * c, 1.0 - alpha); break;
        case 2: set(s / 2.0, 0.0, -s / 2.0, 1.0 + alpha, -2.0 * c, 1.0 - alpha); break;
        case 3: set(alpha, 0.0, -alpha, 1.0 + alpha, -2.0 * c, 1.0 - alpha); break;
        case 4: set(1.0, -2.0 * c, 1.0, 1.0 + alpha, -2.0 * c, 1.0 - alpha); break;
        case 5: set(1.0 - alpha, -2.0 * c, 1.0 + alpha, 1.0 + alpha, -2.0 * c, 1.0 - alpha); break;
        case 6: matchedBell(w, quality, gainDb, k); break;
        case 13:
            set(1.0 + alpha * amp, -2.0 * c, 1.0 - alpha * amp, 1.0 + alpha / amp, -2.0 * c,
                1.0 - alpha / amp);
            break;
        default: break; // an unknown type: all coefficients 0, a silent filter
        }
    }
    const double coefficients[5] = {k[0] / k[3], k[1] / k[3], k[2] / k[3], k[4] / k[3], k[5] / k[3]};
    setCoefficients(coefficients);
}

// ---- FilterFade ---------------------------------------------------------------

template <class T>
FilterFade<T>::FilterFade(double rate, int32_t frames, float fadeTimeMs, int32_t mode)
    : Algo<double, T>(rate, frames), crossFadeMode(mode), fadeMs(fadeTimeMs) {}

template <class T>
FilterFade<T>::~FilterFade() {
    FilterFade::release();
}

template <class T>
int32_t FilterFade<T>::init() {
    const double rate = this->sampleRate;
    filterA = std::make_unique<FadeBiquad<T>>(rate);
    filterB = std::make_unique<FadeBiquad<T>>(rate);
    designFilter = std::make_unique<FadeBiquad<T>>(rate);
    int32_t failed = filterA->init() | filterB->init() | designFilter->init();
    currentFilter = filterA.get();
    nextFilter = filterB.get();
    aIsCurrent = true;
    crossFader = std::make_unique<CrossFader<T>>(rate, this->blockSize, T(fadeMs), crossFadeMode);
    crossFader->setChannels(1);
    crossFader->init();
    crossFader->fading = false;
    std::copy(kUnity, kUnity + 5, pendingCoefficients);
    std::copy(kUnity, kUnity + 5, savedCoefficients);
    Vec::free(stateScratch);
    stateScratch = Vec::malloc<T>(2);
    if (stateScratch == nullptr || crossFader->sourceBuffers == nullptr ||
        crossFader->sourceBuffers[0] == nullptr)
        failed = 1;
    processMono = &callProcessFading;
    initialised = true;
    return failed;
}

template <class T>
int32_t FilterFade<T>::release() {
    if (crossFader) crossFader->release();
    crossFader.reset();
    currentFilter = nextFilter = nullptr;
    filterA.reset();
    filterB.reset();
    designFilter.reset();
    Vec::free(stateScratch);
    stateScratch = nullptr;
    processMono = nullptr;
    released = true;
    return 0;
}

template <class T>
void FilterFade<T>::reset() {
    if (!crossFader) return;
    filterA->reset();
    filterB->reset();
    crossFader->reset();
}

template <class T>
void FilterFade<T>::setActive(bool state) {
    this->active = state;
    if (!crossFader) return;
    for (FadeBiquad<T>* f : {filterA.get(), filterB.get()}) {
        f->active = state;
        if (!state) f->reset();
    }
    crossFader->setActive(state);
}

template <class T>
int32_t FilterFade<T>::setSampleRate(double rate) {
    if (rate == this->sampleRate) return 0;
    this->sampleRate = rate;
    if (!crossFader) return 0;
    // Runs with the stream stopped: the present design is made anew at the
    // new rate and takes effect at once.
    for (FadeBiquad<T>* f : {filterA.get(), filterB.get(), designFilter.get()}) f->setSampleRate(rate);
    crossFader->setSampleRate(rate);
    crossFader->fading = false;
    updatePending = false;
    clampFrequency();
    designFilter->design(static_cast<int32_t>(filterType), frequency, quality, gainDb, false);
    designFilter->getCoefficients(savedCoefficients);
    currentFilter->setCoefficients(filterOff ? kUnity : savedCoefficients);
    return 0;
}

template <class T>
int32_t FilterFade<T>::setChannels(int32_t inputs, int32_t outputs) {
    return inputs == 1 && outputs == 1 ? 0 : 1;
}

template <class T>
void FilterFade<T>::process32(float** in, float** out, int32_t frames) {
    if constexpr (std::is_same_v<T, float>) processMono(this, in[0], out[0], frames);
}

template <class T>
void FilterFade<T>::process64(double** in, double** out, int32_t frames) {
    if constexpr (std::is_same_v<T, double>) processMono(this, in[0], out[0], frames);
}

template <class T>
void FilterFade<T>::callProcessFading(FilterFade* f, const T* in, T* out, int32_t frames) {
    f->processFading(in, out, frames);
}

template <class T>
void FilterFade<T>::plainCopy(FilterFade* /*f*/, const T* in, T* out, int32_t frames) {
    Vec::copy(in, out, static_cast<std::size_t>(std::max(frames, 0)));
}

template <class T>
void FilterFade<T>::setParameter(int32_t id, double value) {
    if (!crossFader) return;
    switch (id) {
    case 0: gainDb = static_cast<float>(value); break;
    case 1: frequency = static_cast<float>(value); break;
    case 2: quality = static_cast<float>(value); break;
    case 3: filterType = static_cast<float>(value); break;
    case 4: setOff(value >= 0.5); return;
    case 5:
        if (value >= 0.5) {
            completeFade();
            return;
        }
        break;
    case 6:
        fadeMs = static_cast<float>(value);
        crossFader->setFadeTime(T(value));
        return;
    default: break; // a redesign with the present values
    }
    redesign();
}

template <class T>
void FilterFade<T>::clampFrequency() {
    frequency = std::clamp(frequency, 0.0f, static_cast<float>(0.45 * this->sampleRate));
}

template <class T>
void FilterFade<T>::redesign() {
    clampFrequency();
    const auto type = static_cast<int32_t>(filterType);
    if (filterOff) {
        // Kept for switching on; the filter stays off.
        designFilter->design(type, frequency, quality, gainDb, false);
        designFilter->getCoefficients(savedCoefficients);
        return;
    }
    if (this->active) {
        // Straight onto the next filter, warm from the current one.
        nextFilter->design(type, frequency, quality, gainDb, false);
        nextFilter->takeStateOf(*currentFilter, stateScratch);
        crossFader->fading = true;
        nextFilter->getCoefficients(savedCoefficients);
    } else {
        currentFilter->design(type, frequency, quality, gainDb, false);
        currentFilter->getCoefficients(savedCoefficients);
    }
    processMono = &callProcessFading;
}

template <class T>
void FilterFade<T>::setFilter(int32_t type, double frequencyHz, double q, double gain, bool bandwidthMode) {
    if (!crossFader) return;
    filterType = static_cast<float>(type);
    frequency = static_cast<float>(frequencyHz);
    quality = static_cast<float>(q);
    gainDb = static_cast<float>(gain);
    clampFrequency();
    designFilter->design(type, frequency, quality, gainDb, bandwidthMode);
    designFilter->getCoefficients(savedCoefficients);
    if (!filterOff) applyCoefficients(savedCoefficients);
}

template <class T>
void FilterFade<T>::setFilterOff(bool off) {
    setParameter(4, off ? 1.0 : 0.0);
}

template <class T>
void FilterFade<T>::setOff(bool off) {
    if (off == filterOff) return;
    if (off) {
        applyCoefficients(kUnity);
        filterOff = true;
    } else {
        filterOff = false;
        applyCoefficients(savedCoefficients);
    }
}

template <class T>
void FilterFade<T>::applyCoefficients(const double* c) {
    if (!this->active) {
        // No audio runs: the design takes effect on the next sample.
        currentFilter->setCoefficients(c);
        updatePending = false;
    } else if (!crossFader->fading && !updatePending) {
        nextFilter->setCoefficients(c);
        nextFilter->takeStateOf(*currentFilter, stateScratch);
        crossFader->fading = true;
    } else {
        // The newest design replaces any earlier one that waits.
        std::copy(c, c + 5, pendingCoefficients);
        updatePending = true;
    }
    processMono = &callProcessFading;
}

template <class T>
void FilterFade<T>::swapFilters() {
    std::swap(currentFilter, nextFilter);
    aIsCurrent = !aIsCurrent;
}

template <class T>
void FilterFade<T>::completeFade() {
    if (!crossFader->fading && !updatePending) return;
    if (updatePending) {
        nextFilter->setCoefficients(pendingCoefficients);
        updatePending = false;
    }
    swapFilters();
    reset();
    crossFader->fading = false;
}

template <class T>
void FilterFade<T>::processFading(const T* in, T* out, int32_t frames) {
    if (frames <= 0) return;
    if (!crossFader->fading) {
        if (filterOff && !updatePending) {
            // Off and settled: later blocks cost one copy, or nothing in place.
            plainCopy(this, in, out, frames);
            processMono = &plainCopy;
            return;
        }
        currentFilter->process(in, out, frames);
        if (updatePending) {
            updatePending = false;
            applyCoefficients(pendingCoefficients);
        }
        return;
    }
    T* old = crossFader->sourceBuffers[0];
    currentFilter->process(in, old, frames);
    nextFilter->process(in, out, frames);
    crossFader->mixMono(crossFader.get(), old, out, out, frames);
    if (!crossFader->fading) swapFilters();
}

template class CrossFader<float>;
template class CrossFader<double>;
template class CrossFaderBypassDelay<float>;
template class CrossFaderBypassDelay<double>;
template class FadeBiquad<float>;
template class FadeBiquad<double>;
template class FilterFade<float>;
template class FilterFade<double>;

} // namespace Tannhofen::DSP::WideFrame
