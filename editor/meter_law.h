// The laws of the level meters: the scale from level to display fraction,
// which is logarithmic from -24 dB up and compressed by a power law below,
// and the fall of a displayed level.
//
// A level is linear (1.0 is full scale). Multiplied by kScaleFullIndex it
// becomes an index into the 1000-entry scale table, so that index 999 stands
// for the meter's top, +3 dB, and reads 1.0, and -24 dB reads 0.32.
#pragma once

#include <array>

namespace Tannhofen::Editor::MeterLaw {

inline constexpr float kMinimumLevel = 1.5848925613681786e-05f; // -96 dB
inline constexpr float kMaximumLevel = 1.4125375747680664f;     // +3 dB
inline constexpr float kDefaultDecayRate = 2.0f;                // per second
// Levels below this are silence.
inline constexpr double kSilence = 1e-09;

inline constexpr int kScaleSize = 1000;
inline constexpr int kScaleTop = kScaleSize - 1;
// The index that stands for 0 dB: 999 / kMaximumLevel.
inline constexpr double kScaleFullIndex = 707.2378235064169;
// The scale's corners: the index of -24 dB (kScaleFullIndex * 10^(-24/20)),
// that of -60 dB (kScaleFullIndex * 0.001), and log10(999).
inline constexpr double kIndex24 = 44.62368990355603;
inline constexpr double kIndex60 = 0.707237823506417;
inline constexpr double kLog10Top = 2.9995654882259823;
// From -24 dB up: 1 + (log10(i) - log10(999)) * kLogSlope, where kLogSlope is
// -0.68 / (log10(kIndex24) - log10(999)), so -24 dB reads 0.32.
inline constexpr double kLogSlope = 0.5037037002455406;
// Below -24 dB: kPowerFactor * (i - kIndex60)^kPowerExponent, where the
// factor is 0.32 / (kIndex24 - kIndex60)^kPowerExponent.
inline constexpr double kPowerFactor = 0.022662661152471713;
inline constexpr double kPowerExponent = 0.7;
inline constexpr double kFractionAt24 = 0.32;

using ScaleTable = std::array<double, kScaleSize>;

// The display fraction of a table index, 0 at index 0 (and below kIndex60),
// 1.0 at index 999.
double scaleFraction(double index);
// scaleFraction at every index of the table.
ScaleTable makeScaleTable();
// The display fraction of a level through `table`: the level's index, kept
// within the table, read between the two neighbouring entries.
double levelFraction(const ScaleTable& table, double level);

// A level after `seconds` of fall at `decayRate` per second:
// level * (1 - decayRate * seconds), 0 once that drops below kSilence.
float decayedLevel(float level, float decayRate, double seconds);
// The decay rate that a skin's meter attribute f gives: (1 - f) * 100, with f
// kept between 0.01 and 1.0.
float decayRateFromSkin(double f);

// The decibels that stand for silence.
inline constexpr double kFloorDecibels = -180.0;
// 20 log10 of a level, with 0 and below (and NaN) as kFloorDecibels.
double levelToDecibels(double level);

} // namespace Tannhofen::Editor::MeterLaw
