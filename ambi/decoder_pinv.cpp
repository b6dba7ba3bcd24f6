#include "ambi/decoder_pinv.h"

#include <cmath>

#include "dsp/data/linear_algebra.h"
#include "dsp/data/small_matrix.h"
#include "dsp/tool/math/spherical_harmonics.h"

namespace Tannhofen::AmbiBin {

std::vector<double> decoderPinv(uint32_t channels, uint32_t points, const double* azimuth,
                                const double* elevation) {
    constexpr uint32_t kMaxChannels = 16;
    if (channels < 4 || channels > kMaxChannels || points < channels || azimuth == nullptr ||
        elevation == nullptr)
        return {};
    std::vector<double> y(size_t(points) * kMaxChannels);
    for (uint32_t p = 0; p < points; ++p)
        DSP::Tool::Math::sn3dHarmonics(azimuth[p], elevation[p], &y[size_t(p) * kMaxChannels], channels);
    auto at = [&](uint32_t p, uint32_t c) { return y[size_t(p) * kMaxChannels + c]; };

    DSP::Data::SmallMatrix<double> gram(channels, channels);
    if (gram.init()) return {};
    for (uint32_t a = 0; a < channels; ++a)
        for (uint32_t b = 0; b < channels; ++b) {
            double sum = 0;
            for (uint32_t p = 0; p < points; ++p) sum += at(p, a) * at(p, b);
            gram.at(a, b) = sum;
        }
    if (DSP::Data::invert(gram) != 0) return {};

    std::vector<double> d(size_t(channels) * points, 0.0);
    for (uint32_t c = 0; c < channels; ++c)
        for (uint32_t p = 0; p < points; ++p) {
            double sum = 0;
            for (uint32_t k = 0; k < channels; ++k) sum += gram.at(c, k) * at(p, k);
            d[size_t(c) * points + p] = sum;
        }
    // A nearly degenerate set of directions passes the factorisation with a
    // useless inverse: D Y must be the identity.
    for (uint32_t a = 0; a < channels; ++a)
        for (uint32_t b = 0; b < channels; ++b) {
            double sum = 0;
            for (uint32_t p = 0; p < points; ++p) sum += d[size_t(a) * points + p] * at(p, b);
            if (std::abs(sum - (a == b ? 1.0 : 0.0)) > 1e-6) return {};
        }
    return d;
}

} // namespace Tannhofen::AmbiBin
