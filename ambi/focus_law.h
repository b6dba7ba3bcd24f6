// The focus stage's laws: the gain of a direction by its angle from the focus
// direction, and the mapping of the four normalised focus parameters.
#pragma once

namespace Tannhofen::AmbiBin {

// innerGain at the focus direction, falling as the fourth power of
// angle / halfSize to attenuation at the edge of the region, and attenuation
// from there on (also everywhere when halfSize is 0).
float focusGain(float angleDegrees, float halfSize, float attenuation, float innerGain);

// Normalised values v in 0..1 into degrees and gains.
float focusAzimuth(double v);     // -(v - 0.5) * 360: v = 0 is +180, v = 0.25 is +90 (left)
float focusElevation(double v);   // (v - 0.5) * 180
float focusHalfSize(double v);    // (135 v + 45) / 2: a half angle of 22.5 to 90
float focusAttenuation(double v); // 0.875 v + 0.125: never below 0.125

} // namespace Tannhofen::AmbiBin
