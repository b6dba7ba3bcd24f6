// Constants shared by the panner's geometry and model.
#pragma once

#include "mix/tolerance.h"

namespace Tannhofen::Panner {

// A panner value changes only when it moves by more than the gain tolerance
// of the mix law: angles, scales and positions alike.
using Mix::kFlagTolerance;
using Mix::kGainTolerance;

inline constexpr double kTwoPi = 6.283185307179586; // turns to radians
inline constexpr float kTwoPiF = 6.2831855f;        // the same in single precision
inline constexpr float kMaxScale = 1.4142135f;      // largest scale and radius: the room's diagonal
inline constexpr float kInvMaxScale = 0.70710677f;  // scale or radius to its parameter value

} // namespace Tannhofen::Panner
