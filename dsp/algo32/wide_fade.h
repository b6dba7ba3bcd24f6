// Cross-faders and the filter fade of the DSP::Algo32 and DSP::Algo64 frames,
// one design for both sample widths T.
//
// CrossFader moves a signal from source A to source B along the logistic
// curve g(i) = 1 / (1 + exp(5 - 10 i / L)), out = (1 - g) A + g B, either from
// a table (curve mode 0) or computed four lanes at a time from a cubic Taylor
// step raised to the 64th power (curve mode 1). CrossFaderBypassDelay adds a
// bank of delay lines that keeps a dry path in time with a path of latency.
// FilterFade is one biquad whose design can change while audio runs: it
// filters with the old and the new design and cross-fades between them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "dsp/algo32/wide_delay.h"
#include "dsp/algo32/wide_frame.h"
#include "dsp/tool/filter/iir_filter.h"

namespace Tannhofen::DSP::WideFrame {

template <class T>
class CrossFader : public Algo<double, T> {
public:
    using MonoMix = void (*)(CrossFader* fader, const T* a, const T* b, T* out, int32_t frames);
    using MultiMix = void (*)(CrossFader* fader, T** a, T** b, T** out, int32_t frames);

    // curveMode 0 reads the curve from a table, 1 computes it.
    CrossFader(double rate, int32_t frames, T fadeTimeMs, int32_t mode);
    CrossFader(const CrossFader&) = delete; // owns its buffers
    CrossFader& operator=(const CrossFader&) = delete;
    ~CrossFader() override;

    void setActive(bool state) override;
    void setBlockSize(int32_t frames) override;
    int32_t setSampleRate(double rate) override;
    // The fader takes one channel count: inputs and outputs must agree.
    int32_t setChannels(int32_t inputs, int32_t outputs) override;
    void setChannels(int32_t count);
    void processMix32(float** a, float** b, float** out, int32_t frames) override;
    void processMix64(double** a, double** b, double** out, int32_t frames) override;
    int32_t init() override;
    int32_t release() override;
    // Zeroes the source buffers and rewinds the curve; a fade that runs keeps running.
    void reset() override;

    // A new fade time, at most maxFadeMs; cancels a fade that runs.
    void setFadeTime(T ms);

    // The mixing pairs. The owner calls mixMono and mixMulti directly; each
    // returns at once while `fading` is false, and otherwise advances
    // fadePosition by the frames mixed, clearing `fading` at the fade's end.
    // b and out may be the same buffer.
    static void mixTableMono(CrossFader* f, const T* a, const T* b, T* out, int32_t frames);
    static void mixTableMulti(CrossFader* f, T** a, T** b, T** out, int32_t frames);
    // The computed curve takes blocks above kComputedRun frames in runs of at most that.
    static void mixComputedMono(CrossFader* f, const T* a, const T* b, T* out, int32_t frames);
    static void mixComputedMulti(CrossFader* f, T** a, T** b, T** out, int32_t frames);
    // A square-law curve, g = i^2 / L^2, B alone from the fade's end on. No
    // curve mode selects it; an owner points mixMono and mixMulti at it.
    static void mixSquareMono(CrossFader* f, const T* a, const T* b, T* out, int32_t frames);
    static void mixSquareMulti(CrossFader* f, T** a, T** b, T** out, int32_t frames);

    // The gains of the computed curve at fade samples start .. start + count - 1.
    static void computedGains(T* gains, int32_t start, int32_t count, int32_t length);

    static constexpr int32_t kComputedRun = 2048; // gains held on the stack at once

    MonoMix mixMono = nullptr;
    MultiMix mixMulti = nullptr;
    int32_t fadeLength = 0;
    int32_t fadePosition = 0;
    int32_t channelCount = 1;
    int32_t tableLength = 0;
    int32_t curveMode;
    T fadeMs;
    T maxFadeMs;
    T fadeLengthSquared = T(0);
    T* curveTable = nullptr;
    T** sourceBuffers = nullptr; // channelCount buffers of blockSize samples, for the owner's source A
    bool initialised = false;
    bool released = false;
    bool fading = false; // the owner sets it to start a fade

protected:
    void allocateSources();
    void freeSources();

private:
    // Fade length, its square and the table length for the present time, rate and block.
    void deriveLength();
    int32_t tableLengthFor(T ms) const;
    // Allocates the table for the longest fade allowed, then fills it.
    void buildTable();
    void fillTable();
    void selectMix();
    // Advances the curve after a mix of `frames`; ends the fade at its length.
    void advance(int32_t frames);
    static void tableMix(CrossFader* f, const T* const* a, const T* const* b, T* const* out, int32_t channels,
                         int32_t frames);
    static void computedMix(CrossFader* f, const T* const* a, const T* const* b, T* const* out,
                            int32_t channels, int32_t frames);
    static void squareMix(CrossFader* f, const T* const* a, const T* const* b, T* const* out,
                          int32_t channels, int32_t frames);

    std::vector<T*> sources;
};

template <class T>
class CrossFaderBypassDelay : public CrossFader<T> {
public:
    CrossFaderBypassDelay(double rate, int32_t frames, T fadeTimeMs, int32_t delay, int32_t mode);
    ~CrossFaderBypassDelay() override;

    int32_t setChannels(int32_t inputs, int32_t outputs) override;
    void setChannels(int32_t count);
    // While a fade runs: out = fade from sourceBuffers (A) to out (B), in place.
    void process32(float** in, float** out, int32_t frames) override;
    void process64(double** in, double** out, int32_t frames) override;
    int32_t init() override;
    int32_t release() override;
    void reset() override;

    // Runs the dry signal through the delay into sourceBuffers, so that it
    // stands in time with a path of delaySamples latency as the fade's source A.
    void delayDry(T** dry, int32_t frames);

    std::unique_ptr<DelayMultiCh<T>> delay;
    int32_t delaySamples;
    bool delayInitialised = false;
    bool delayReleased = false;
    bool dryPending = true; // no dry block has been delayed since the last reset
};

// One biquad of a filter fade: its design in single precision, and the
// vector library's filter that runs it.
template <class T>
class FadeBiquad {
public:
    explicit FadeBiquad(double rate);

    // Allocates the library's state. 0 on success.
    int32_t init();
    void setSampleRate(double rate);
    // Computes the design of `type` (see FilterFade::setFilter) into the
    // coefficients; frequency in Hz.
    void design(int32_t type, double frequency, double quality, double gainDb, bool bandwidthMode);
    // Takes b0, b1, b2, a1, a2 (a0 = 1) and rebuilds the taps, keeping the memory.
    void setCoefficients(const double* c);
    void getCoefficients(double* c) const;
    // Filters, or copies while the design is flat. in and out may be the same.
    // A denormal in the last output sample clears the memory.
    void process(const T* in, T* out, int32_t frames);
    // Copies the memory of `from`; a flat filter has none.
    void takeStateOf(const FadeBiquad& from, T* scratch);
    void reset();

    float b0 = 1.0f, b1 = 0.0f, b2 = 0.0f, a1 = 0.0f, a2 = 0.0f;
    float spare[4] = {};
    double sampleRate;
    double sampleRateInv;
    Tool::Filter::IIRBiQuadFilter<1, T> filter;
    bool flat = true; // a unity design: skipped
    bool processingFlag = false;
    bool active = false;
};

template <class T>
class FilterFade : public Algo<double, T> {
public:
    using ProcessMono = void (*)(FilterFade* fade, const T* in, T* out, int32_t frames);

    FilterFade(double rate, int32_t frames, float fadeTimeMs, int32_t mode);
    FilterFade(const FilterFade&) = delete;
    FilterFade& operator=(const FilterFade&) = delete;
    ~FilterFade() override;

    // 0 gain in dB, 1 frequency, 2 quality, 3 type: each followed by a
    // redesign; 4 filter off at 0.5 or more; 5 at 0.5 or more completes a fade
    // at once, below it redesigns; 6 the fade time in ms. Others redesign.
    void setParameter(int32_t id, double value) override;
    void setActive(bool state) override;
    int32_t setSampleRate(double rate) override;
    // One channel in, one out.
    int32_t setChannels(int32_t inputs, int32_t outputs) override;
    void process32(float** in, float** out, int32_t frames) override;
    void process64(double** in, double** out, int32_t frames) override;
    int32_t init() override;
    int32_t release() override;
    void reset() override;

    // Switching off and on fades, like any change of design.
    virtual void setFilterOff(bool off);
    // Types: 0 low-pass, 1 high-pass, 2 band-pass (constant skirt), 3 band-pass
    // (constant peak), 4 notch, 5 all-pass, 6 matched bell, 7 to 9 low shelves,
    // 10 to 12 high shelves, 13 peaking. Other types give silence.
    virtual void setFilter(int32_t type, double frequencyHz, double q, double gain = 0.0,
                           bool bandwidthMode = false);
    virtual void processFading(const T* in, T* out, int32_t frames);

    ProcessMono processMono = nullptr;
    int32_t crossFadeMode;
    float filterType = 0.0f;
    float gainDb = 0.0f;
    float frequency = 500.0f;
    float quality = 1.0f;
    float fadeMs;
    T* stateScratch = nullptr; // two samples, for moving a delay line
    double pendingCoefficients[5] = {1.0, 0.0, 0.0, 0.0, 0.0};
    double savedCoefficients[5] = {1.0, 0.0, 0.0, 0.0, 0.0}; // the last design, kept while switched off
    std::unique_ptr<FadeBiquad<T>> filterA, filterB;
    FadeBiquad<T>* currentFilter = nullptr;
    FadeBiquad<T>* nextFilter = nullptr;
    std::unique_ptr<FadeBiquad<T>> designFilter;
    std::unique_ptr<CrossFader<T>> crossFader;
    bool initialised = false;
    bool released = false;
    bool filterOff = false;
    bool aIsCurrent = true;
    bool updatePending = false;

private:
    static void callProcessFading(FilterFade* f, const T* in, T* out, int32_t frames);
    static void plainCopy(FilterFade* f, const T* in, T* out, int32_t frames);
    // A new set of coefficients: at once while inactive, else as a fade, or
    // pending while a fade runs.
    void applyCoefficients(const double* c);
    // Redesign from the present fields after a parameter change.
    void redesign();
    void clampFrequency();
    void swapFilters();
    void setOff(bool off);
    // Writes a pending design to nextFilter, swaps the filters and ends the fade.
    void completeFade();
};

extern template class CrossFader<float>;
extern template class CrossFader<double>;
extern template class CrossFaderBypassDelay<float>;
extern template class CrossFaderBypassDelay<double>;
extern template class FadeBiquad<float>;
extern template class FadeBiquad<double>;
extern template class FilterFade<float>;
extern template class FilterFade<double>;

} // namespace Tannhofen::DSP::WideFrame
