// One HRIR set in the spherical-harmonic domain: a left and a right impulse
// response per ACN channel of one ambisonic order, and no directions any more.
// The binaural decoder convolves each ambisonic channel with its pair and sums.
//
// HrirData carries the buffers from a source (a built-in table, a SOFA file, a
// profile) to Hrir, which takes them over: each filter gets 32 trailing zeros,
// and the length it reports includes them. A set is resampled in place to the
// host's rate; choosing it again at another rate starts from the resampled
// data. Building and resampling allocate and run on the configuration thread,
// never on the audio thread.
#pragma once

#include <cstdint>
#include <string>

#include "dsp/tool/math/resample.h"

namespace Tannhofen::AmbiBin {

// hrirMode: where a set comes from.
enum HrirMode : int32_t {
    kHrirStandard = 1, // built-in standard set, orders 1 to 3
    kHrirYoutube = 2,  // built-in set of the YouTube decoder, first order only
    kHrirSofa = 3,     // a SOFA file
    kHrirFacebook = 4, // built-in set of the Facebook decoder, second and third order
    kHrirProfile = 5,  // a personal profile of the outside HRTF service
};

// Samples appended to every filter when a set is built.
inline constexpr uint32_t kHrirTrailingZeros = 32;

// The sign that turns a left-ear filter into the right ear's for a head that is
// left-right symmetric: -1 for the harmonics with m < 0 (ACN 1, 4, 5, 9, 10,
// 11, ...), which change sign in the mirror image, +1 for all others.
constexpr double mirrorSign(uint32_t acn) {
    uint32_t degree = 0;
    while ((degree + 1) * (degree + 1) <= acn) ++degree;
    return acn < degree * (degree + 1) ? -1.0 : 1.0;
}

// Transfer record from a source to Hrir. It owns its buffers (sample buffers
// from the vector library, channel arrays from the general allocator) until
// Hrir takes them over, and frees them if nobody does.
template <class T>
struct HrirData {
    HrirData() = default;
    HrirData(const HrirData&) = delete;
    HrirData& operator=(const HrirData&) = delete;
    HrirData(HrirData&& other) noexcept;
    HrirData& operator=(HrirData&& other) noexcept;
    ~HrirData() { free(); }

    // Allocates numChannels zeroed buffers of length samples on the left, and
    // on the right unless symmetric. False (and nothing held) on failure.
    bool allocate(uint32_t channelCount, uint32_t samples, bool isSymmetric);
    void free();

    T** left = nullptr;
    T** right = nullptr; // not used when symmetric
    uint32_t length = 0; // samples per filter
    uint32_t numChannels = 0;
    uint32_t order = 0;
    double sampleRate = 0;
    bool symmetric = false; // the head is taken as left-right symmetric: right is unused
    std::string name;       // UTF-8: a file path, a profile name, or empty
};

template <class T>
class IHrir {
public:
    virtual ~IHrir() = default;
    // Resamples the set in place to `rate`. 0 on success (or when the rate is
    // already the set's), 1 when the conversion can't be set up; the set then
    // stays as it was.
    virtual int32_t setSampleRate(double rate) = 0;
    virtual T** getLeft() = 0;
    virtual T** getRight() = 0; // null for a symmetric set
    virtual uint32_t getLength() const = 0;
    virtual bool isSymmetric() const = 0;
    virtual uint32_t getNumChannels() const = 0;
    virtual void getName(std::string& out) const = 0;
    virtual uint32_t getOrder() const = 0;
    virtual int32_t getMode() const = 0;
};

template <class T>
class Hrir : public IHrir<T> {
public:
    // Takes the buffers of `data` over: allocates numChannels buffers of
    // length + 32 samples per side, copies the filters to their start and frees
    // what `data` held. If an allocation fails the set is empty (no channels,
    // null buffers) and `valid()` answers false.
    Hrir(HrirData<T>&& data, int32_t mode);
    Hrir(const Hrir&) = delete;
    Hrir& operator=(const Hrir&) = delete;
    ~Hrir() override;

    int32_t setSampleRate(double rate) override;
    T** getLeft() override { return left; }
    T** getRight() override { return right; }
    uint32_t getLength() const override { return length; }
    bool isSymmetric() const override { return symmetric; }
    uint32_t getNumChannels() const override { return numChannels; }
    void getName(std::string& out) const override { out = name; }
    uint32_t getOrder() const override { return order; }
    int32_t getMode() const override { return mode; }

    bool valid() const { return left != nullptr; }
    double getSampleRate() const { return sampleRate; }

private:
    void freeBuffers();

    // Used only inside setSampleRate, in double for both sample types: in
    // float, the 16th-order low-pass at the cut-offs of ratios such as
    // 48 kHz to 11.025 kHz (1/640 of the up-sampled Nyquist) is not stable.
    DSP::Tool::Math::Resample<double> resampler;
    int32_t mode = 0;
    double sampleRate = 0;
    uint32_t length = 0;
    uint32_t numChannels = 0;
    uint32_t order = 0;
    T** left = nullptr;
    T** right = nullptr; // null when symmetric
    bool symmetric = false;
    std::string name;
};

extern template struct HrirData<float>;
extern template struct HrirData<double>;
extern template class Hrir<float>;
extern template class Hrir<double>;

} // namespace Tannhofen::AmbiBin
