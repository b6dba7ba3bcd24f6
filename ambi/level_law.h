// The decoder's level laws: the gain of the head-locked signal and of the
// LFE from their normalised parameter values, and the decibel text of those
// values and of the focus attenuation, both ways.
#pragma once

namespace Tannhofen::AmbiBin {

// The exponent of the level law, and its inverse.
inline constexpr double kLevelExponent = 1.9433582098747315;
inline constexpr double kInverseLevelExponent = 0.5145731728297583;

// The linear gain of a normalised level v in 0..1: v^1.9433582098747315 as a
// float power, so that 1 gives exactly 1 and 0 gives 0. Outside values are
// clamped, NaN gives 0.
float gainLaw(double v);

// The decibels that a level's text shows: 20 log10(v^1.9433582098747315);
// -infinity for v of 0.0001 or less (the text "-oo dB").
double levelDecibels(double v);
// The level that a text of `decibels` means: a positive number is read as
// negative, and v = (10^(x / 20))^0.5145731728297583; -infinity gives 0.
double levelFromDecibels(double decibels);

// The focus attenuation's text uses the level law on 0.6557 v + 0.3443, so 0
// reads about -18 dB and 1 reads 0 dB. The sound maps the value linearly to
// a gain of 0.125 to 1 (focus law): text and sound agree at the ends only.
double attenuationDecibels(double v);
// The inverse, clamped to 0..1.
double attenuationFromDecibels(double decibels);

// A meter's level (linear peak, 1 full scale) in decibels, within the meter
// range of -60 to +3 dB.
inline constexpr double kMeterFloorDecibels = -60.0;
inline constexpr double kMeterTopDecibels = 3.0;
double meterDecibels(double level);

} // namespace Tannhofen::AmbiBin
