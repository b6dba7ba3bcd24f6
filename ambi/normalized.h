// The normalised parameter values (0 to 1) that the decoder's setters take.
#pragma once

namespace Tannhofen::AmbiBin {

// Values outside 0..1 are clamped (infinities to the ends); false means "no
// value" (NaN), which a setter ignores, keeping its last value.
inline bool normalizedValue(double v, double& clamped) {
    if (v != v) return false;
    clamped = v < 0 ? 0.0 : v > 1 ? 1.0 : v;
    return true;
}

} // namespace Tannhofen::AmbiBin
