#include "ambi/ambi_focus.h"

#include <algorithm>
#include <cmath>

#include "ambi/focus_law.h"
#include "ambi/tdesign_240.h"
#include "dsp/data/linear_algebra.h"
#include "dsp/tool/math/spherical_harmonics.h"

namespace Tannhofen::AmbiBin {

using DSP::Data::SmallMatrix;
namespace Math = DSP::Tool::Math;

namespace {

constexpr float kRadiansToDegrees = 57.29578f;

} // namespace

template <class T>
AmbiFocus<T>::AmbiFocus(uint32_t channels)
    : encoder(kFocusDesignPoints, channels),
      decoder(kFocusDesignPoints, channels),
      weighted(kFocusDesignPoints, channels),
      transform(channels, channels) {
    if (Math::ambisonicOrder(channels) == 0) return;
    numChannels = channels;
    const uint32_t count = kFocusDesignPoints;
    // The harmonics and the pseudo-inverse are worked out in double, through
    // LAPACK's LU inverse of the Gram matrix Y^T Y, and stored in T.
    SmallMatrix<double> y(count, channels, true), gram(channels, channels);
    if (encoder.init() || decoder.init() || weighted.init() || transform.init() || y.init() || gram.init())
        return;
    points.resize(count);
    for (uint32_t i = 0; i < count; ++i) {
        const double a = kFocusDesign[i][0], b = kFocusDesign[i][1];
        double h[16], xyz[3];
        Math::sn3dHarmonics(a, b, h, channels);
        Math::directionVector(a, b, xyz);
        for (uint32_t c = 0; c < channels; ++c) y.at(i, c) = h[c];
        points[i] = {float(xyz[0]), float(xyz[1]), float(xyz[2])};
    }
    for (uint32_t r = 0; r < channels; ++r)
        for (uint32_t c = 0; c < channels; ++c) {
            double sum = 0;
            for (uint32_t i = 0; i < count; ++i) sum += y.at(i, r) * y.at(i, c);
            gram.at(r, c) = sum;
        }
    if (DSP::Data::invert(gram) != 0) return; // symmetric: row- or column-major alike
    for (uint32_t i = 0; i < count; ++i)
        for (uint32_t c = 0; c < channels; ++c) {
            double sum = 0;
            for (uint32_t k = 0; k < channels; ++k) sum += y.at(i, k) * gram.at(k, c);
            decoder.at(i, c) = T(sum);
            encoder.at(i, c) = T(y.at(i, c));
        }
    ok = true;
}

template <class T>
void AmbiFocus<T>::update() {
    if (!dirty || !ok) return;
    const uint32_t count = kFocusDesignPoints, channels = numChannels;
    std::copy(encoder.data, encoder.data + std::size_t(count) * channels, weighted.data);
    double direction[3];
    Math::directionVector(azimuth, elevation, direction);
    const float tx = float(direction[0]), ty = float(direction[1]), tz = float(direction[2]);
    for (uint32_t i = 0; i < count; ++i) {
        const auto& p = points[i];
        const float dot = std::clamp(p[0] * tx + p[1] * ty + p[2] * tz, -1.0f, 1.0f);
        const T g = T(focusGain(std::acos(dot) * kRadiansToDegrees, halfSize, attenuation, innerGain));
        for (uint32_t c = 0; c < channels; ++c) weighted.at(i, c) *= g;
    }
    DSP::Data::multiplyColumnMajor<T>(channels, channels, count, weighted.data, count, true, decoder.data,
                                      count, false, transform.data, channels);
    dirty = false;
}

template class AmbiFocus<float>;
template class AmbiFocus<double>;

} // namespace Tannhofen::AmbiBin
