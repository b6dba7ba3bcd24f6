#include "ambi/hrir_factory.h"

#include <mysofa.h>

#include <cmath>
#include <functional>
#include <vector>

#include "ambi/decoder_pinv.h"
#include "ambi/hrir_tables.h"
#include "dsp/tool/math/spherical_harmonics.h"

namespace Tannhofen::AmbiBin {

namespace {

using DSP::Tool::Math::ambisonicChannels;

bool usableRate(double rate) {
    return std::isfinite(rate) && rate >= 1.0 && rate < 4294967296.0;
}

// Filters in the spherical-harmonic domain from impulse responses at a set of
// directions: sum[c][n] = sum_p ir_p[n] * D[c][p], formed in double. `fetch`
// fills the left and right response of direction p. False if a sum isn't finite.
bool sumDirections(const std::vector<double>& decoder, uint32_t channels, uint32_t points, uint32_t length,
                   const std::function<void(uint32_t, float*, float*)>& fetch, std::vector<double>& sumLeft,
                   std::vector<double>& sumRight) {
    sumLeft.assign(size_t(channels) * length, 0.0);
    sumRight.assign(size_t(channels) * length, 0.0);
    std::vector<float> irLeft(length), irRight(length);
    for (uint32_t p = 0; p < points; ++p) {
        fetch(p, irLeft.data(), irRight.data());
        for (uint32_t c = 0; c < channels; ++c) {
            const double g = decoder[size_t(c) * points + p];
            double* l = &sumLeft[size_t(c) * length];
            double* r = &sumRight[size_t(c) * length];
            for (uint32_t n = 0; n < length; ++n) {
                l[n] += double(irLeft[n]) * g;
                r[n] += double(irRight[n]) * g;
            }
        }
    }
    for (size_t i = 0; i < sumLeft.size(); ++i)
        if (!std::isfinite(sumLeft[i]) || !std::isfinite(sumRight[i])) return false;
    return true;
}

// A set of `mode` from the sums, converted to the sample type.
template <class T>
std::shared_ptr<IHrir<T>> makeSet(int32_t mode, uint32_t order, uint32_t length, double rate,
                                  const std::string& name, const std::vector<double>& sumLeft,
                                  const std::vector<double>& sumRight) {
    const uint32_t channels = ambisonicChannels(order);
    HrirData<T> data;
    if (!data.allocate(channels, length, false)) return nullptr;
    for (uint32_t c = 0; c < channels; ++c)
        for (uint32_t n = 0; n < length; ++n) {
            data.left[c][n] = T(sumLeft[size_t(c) * length + n]);
            data.right[c][n] = T(sumRight[size_t(c) * length + n]);
        }
    data.order = order;
    data.sampleRate = rate;
    data.name = name;
    auto set = std::make_shared<Hrir<T>>(std::move(data), mode);
    return set->valid() ? set : nullptr;
}

struct SofaCloser {
    void operator()(MYSOFA_EASY* easy) const { mysofa_close(easy); }
};

} // namespace

template <class T>
HrirFactory<T>::HrirFactory() = default;

template <class T>
HrirFactory<T>::~HrirFactory() = default;

template <class T>
void HrirFactory<T>::onStatus(const char* username, int32_t status) {
    std::lock_guard<std::mutex> guard(lock);
    if (listener != nullptr) listener->onFactoryStatus(username, status);
}

template <class T>
void HrirFactory<T>::setProfileSource(IProfileSource* source) {
    profiles = source != nullptr ? source : &unavailable;
}

template <class T>
std::shared_ptr<IHrir<T>> HrirFactory<T>::makeBuiltin(int32_t mode, uint32_t order) {
    for (const BuiltinHrirTable& table : kBuiltinHrirTables) {
        if (table.mode != mode || table.order != order) continue;
        HrirData<T> data;
        if (!data.allocate(table.numChannels, table.length, true)) return nullptr;
        for (uint32_t c = 0; c < table.numChannels; ++c)
            for (uint32_t n = 0; n < table.length; ++n) {
                const size_t i = size_t(c) * table.length + n;
                data.left[c][n] = table.left != nullptr ? T(table.left[i]) : T(table.leftFloat[i]);
            }
        data.order = order;
        data.sampleRate = table.sampleRate;
        auto set = std::make_shared<Hrir<T>>(std::move(data), mode);
        return set->valid() ? set : nullptr;
    }
    return nullptr;
}

template <class T>
std::shared_ptr<IHrir<T>> HrirFactory<T>::makeFromSofa(const std::string& fileName, uint32_t order) {
    if (order < 1 || order > 3) return nullptr;
    int filterLength = 0, error = 0;
    std::unique_ptr<MYSOFA_EASY, SofaCloser> easy(
        mysofa_open(fileName.c_str(), float(kSofaReadRate), &filterLength, &error));
    if (easy == nullptr || error != 0) return nullptr;

    double rate = kSofaReadRate;
    const MYSOFA_HRTF* hrtf = easy->hrtf;
    if (hrtf != nullptr) {
        if (hrtf->DataSamplingRate.values == nullptr || hrtf->DataSamplingRate.elements < 1) return nullptr;
        rate = hrtf->DataSamplingRate.values[0];
        // A file with fewer directions than the grid can't tell them apart.
        if (hrtf->M < kSofaGridPoints) return nullptr;
    }
    if (!usableRate(rate) || filterLength < 1 || uint32_t(filterLength) > kMaxFilterLength) return nullptr;

    const uint32_t channels = ambisonicChannels(order);
    double azimuth[kSofaGridPoints], elevation[kSofaGridPoints];
    for (uint32_t p = 0; p < kSofaGridPoints; ++p) {
        azimuth[p] = kSofaGrid[p][0];
        elevation[p] = kSofaGrid[p][1];
    }
    const std::vector<double> decoder = decoderPinv(channels, kSofaGridPoints, azimuth, elevation);
    if (decoder.empty()) return nullptr;

    // The delays libmysofa returns are ignored: nothing of them reaches the set.
    auto fetch = [&](uint32_t p, float* left, float* right) {
        float xyz[3] = {float(azimuth[p]), float(elevation[p]), 1.0f};
        mysofa_s2c(xyz);
        float delayLeft = 0, delayRight = 0;
        mysofa_getfilter_float(easy.get(), xyz[0], xyz[1], xyz[2], left, right, &delayLeft, &delayRight);
    };
    std::vector<double> sumLeft, sumRight;
    const auto length = uint32_t(filterLength);
    if (!sumDirections(decoder, channels, kSofaGridPoints, length, fetch, sumLeft, sumRight)) return nullptr;
    return makeSet<T>(kHrirSofa, order, length, rate, fileName, sumLeft, sumRight);
}

template <class T>
std::shared_ptr<IHrir<T>> HrirFactory<T>::makeFromProfile(const std::string& name, uint32_t order,
                                                          IFactoryListener* listenerData) {
    if (name.rfind(kProfilePrefix, 0) != 0 || order < 1 || order > 3) return nullptr;
    {
        std::lock_guard<std::mutex> guard(lock);
        listener = listenerData;
    }
    ProfileData profile;
    if (profiles->load(name, this, profile) != IProfileSource::kLoaded) return nullptr;

    const uint32_t channels = ambisonicChannels(order);
    const uint32_t points = profile.directions, length = profile.length;
    const size_t responses = size_t(points) * length;
    if (!usableRate(profile.sampleRate) || length < 1 || length > kMaxFilterLength ||
        profile.azimuth.size() != points || profile.elevation.size() != points ||
        profile.left.size() != responses || profile.right.size() != responses)
        return nullptr;
    const std::vector<double> decoder =
        decoderPinv(channels, points, profile.azimuth.data(), profile.elevation.data());
    if (decoder.empty()) return nullptr;

    auto fetch = [&](uint32_t p, float* left, float* right) {
        std::copy_n(profile.left.begin() + std::ptrdiff_t(size_t(p) * length), length, left);
        std::copy_n(profile.right.begin() + std::ptrdiff_t(size_t(p) * length), length, right);
    };
    std::vector<double> sumLeft, sumRight;
    if (!sumDirections(decoder, channels, points, length, fetch, sumLeft, sumRight)) return nullptr;
    return makeSet<T>(kHrirProfile, order, length, profile.sampleRate, name, sumLeft, sumRight);
}

template class HrirFactory<float>;
template class HrirFactory<double>;

} // namespace Tannhofen::AmbiBin
