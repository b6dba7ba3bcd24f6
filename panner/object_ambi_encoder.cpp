#include "panner/object_ambi_encoder.h"

#include <cmath>

#include "dsp/tool/math/spherical_harmonics.h"

namespace Tannhofen::Panner {

namespace Math = DSP::Tool::Math;

namespace {

constexpr double kPi = 3.14159265358979323846;
// Below this length a position is the listener's own place.
constexpr double kNoDirection = 1e-7;

} // namespace

AmbiDirection ambiDirectionOf(float x, float y, float z) {
    // The panner's y grows to the rear; the ambisonic frame's x points ahead.
    const double vx = x, vy = -static_cast<double>(y), vz = z;
    AmbiDirection d;
    d.distance = std::sqrt(vx * vx + vy * vy + vz * vz);
    d.elevation = kPi / 2 - std::acos(vz / d.distance);
    if (std::isnan(d.elevation)) d.elevation = 0.0;
    d.azimuth = -std::atan2(vx, vy);
    if (d.azimuth < 0.0) d.azimuth += 2 * kPi;
    return d;
}

float distanceGain(double distance) {
    if (!(distance > 0.0)) return 1.0f;
    const double attenuationDb = -10.0 * std::log10(4.0 * kPi * distance * distance);
    const double gain = std::pow(10.0, attenuationDb / 20.0);
    return gain > 1.0 ? 1.0f : static_cast<float>(gain);
}

void ObjectAmbiEncoder::encode(float x, float y, float z, Mix::MixMatrix& matrix, int32_t row,
                               bool direct) const {
    if (!matrix.allocated || row < 0 || row >= matrix.rows) return;
    const auto columns = static_cast<uint32_t>(matrix.cols);
    const uint32_t used = columns >= 16 ? 16 : columns >= 9 ? 9 : columns >= 4 ? 4 : 0;
    if (used == 0) return;
    float* out = matrix.row(row);
    for (uint32_t c = 0; c < columns; ++c) out[c] = 0.0f;
    if (direct) {
        out[0] = 1.0f;
        return;
    }
    const AmbiDirection d = ambiDirectionOf(x, y, z);
    const float gain = distanceGain(static_cast<double>(distance) * d.distance);
    out[0] = gain;
    if (d.distance < kNoDirection) return;
    double sh[16];
    Math::sn3dHarmonics(d.azimuth / Math::kDegreesToRadians, d.elevation / Math::kDegreesToRadians, sh, used);
    out[0] = static_cast<float>(sh[0] * gain);
    const double directional = gain * (1.0 - size);
    for (uint32_t c = 1; c < used; ++c) out[c] = static_cast<float>(sh[c] * directional);
}

} // namespace Tannhofen::Panner
