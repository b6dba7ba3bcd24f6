#include "ambi/dual_band.h"

#include <algorithm>
#include <numbers>

namespace Tannhofen::AmbiBin::DualBand {

namespace {

constexpr double kOrder1[4] = {1, 0.574430520627777, 0.574430520627777, 0.574430520627777};
constexpr double kOrder2[9] = {1,
                               0.773975618535464,
                               0.773975618535464,
                               0.773975618535464,
                               0.398557387131031,
                               0.398557387131031,
                               0.398557387131031,
                               0.398557387131031,
                               0.398557387131031};
constexpr double kOrder3[16] = {1,
                                0.860950768672853,
                                0.860950768672853,
                                0.860950768672853,
                                0.611854339117564,
                                0.611854339117564,
                                0.611854339117564,
                                0.611854339117564,
                                0.611854339117564,
                                0.303993593516577,
                                0.303993593516577,
                                0.303993593516577,
                                0.303993593516577,
                                0.303993593516577,
                                0.303993593516577,
                                0.303993593516577};

} // namespace

const double* maxReWeights(uint32_t order) {
    return order == 2 ? kOrder2 : order == 3 ? kOrder3 : kOrder1;
}

std::complex<double> response(double weight, double frequency, double sampleRate) {
    const std::complex<double> z1 = std::polar(1.0, -2 * std::numbers::pi * frequency / sampleRate);
    const std::complex<double> z2 = z1 * z1;
    const std::complex<double> den = kA0 + kA1 * z1 + kA2 * z2;
    const std::complex<double> high = (kHighB0 + kHighB1 * z1 + kHighB2 * z2) / den;
    const std::complex<double> low = (kLowB0 + kLowB1 * z1 + kLowB2 * z2) / den;
    return weight * high - low;
}

template <class T>
bool Weighting<T>::init(uint32_t order) {
    release();
    if (order < 1 || order > 3) return false;
    channels = (order + 1) * (order + 1);
    const double* weights = maxReWeights(order);
    for (uint32_t c = 0; c < channels; ++c) {
        b0.push_back(T(weights[c] * kHighB0 - kLowB0));
        b1.push_back(T(weights[c] * kHighB1 - kLowB1));
        b2.push_back(T(weights[c] * kHighB2 - kLowB2));
    }
    z1.assign(channels, T(0));
    z2.assign(channels, T(0));
    return true;
}

template <class T>
void Weighting<T>::release() {
    channels = 0;
    for (auto* v : {&b0, &b1, &b2, &z1, &z2}) v->clear();
}

template <class T>
void Weighting<T>::reset() {
    std::fill(z1.begin(), z1.end(), T(0));
    std::fill(z2.begin(), z2.end(), T(0));
}

namespace {

// Direct form II transposed, the N channels side by side in each sample.
template <class T, uint32_t N>
void runSections(T** x, uint32_t frames, const T* b0, const T* b1, const T* b2, T a1, T a2, T* z1, T* z2) {
    T s1[N], s2[N], c0[N], c1[N], c2[N], v[N];
    for (uint32_t c = 0; c < N; ++c) {
        s1[c] = z1[c];
        s2[c] = z2[c];
        c0[c] = b0[c];
        c1[c] = b1[c];
        c2[c] = b2[c];
    }
    for (uint32_t i = 0; i < frames; ++i) {
        for (uint32_t c = 0; c < N; ++c) v[c] = x[c][i];
        for (uint32_t c = 0; c < N; ++c) {
            const T y = c0[c] * v[c] + s1[c];
            s1[c] = c1[c] * v[c] - a1 * y + s2[c];
            s2[c] = c2[c] * v[c] - a2 * y;
            v[c] = y;
        }
        for (uint32_t c = 0; c < N; ++c) x[c][i] = v[c];
    }
    for (uint32_t c = 0; c < N; ++c) {
        z1[c] = s1[c];
        z2[c] = s2[c];
    }
}

} // namespace

template <class T>
void Weighting<T>::process(T** x, uint32_t frames) {
    if (x == nullptr) return;
    const T *p0 = b0.data(), *p1 = b1.data(), *p2 = b2.data();
    switch (channels) {
    case 4: runSections<T, 4>(x, frames, p0, p1, p2, a1, a2, z1.data(), z2.data()); break;
    case 9: runSections<T, 9>(x, frames, p0, p1, p2, a1, a2, z1.data(), z2.data()); break;
    case 16: runSections<T, 16>(x, frames, p0, p1, p2, a1, a2, z1.data(), z2.data()); break;
    default: break;
    }
}

template class Weighting<float>;
template class Weighting<double>;

} // namespace Tannhofen::AmbiBin::DualBand
