// The fixed tolerances of the mix code.
#pragma once

namespace Tannhofen::Mix {

// Gains, levels and parameter values closer than this are the same.
inline constexpr float kGainTolerance = 1.6e-06f;
// On/off values, exact positions and unit gains are compared within this.
inline constexpr float kFlagTolerance = 1.1920929e-07f;

} // namespace Tannhofen::Mix
