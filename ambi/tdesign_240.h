// The point set of the focus stage: an antipodal 240-point spherical 21-design,
// each point listed as (elevation, azimuth) in degrees. Generated source in
// ambi/tdesign_240.cpp, made by tools/tdesign_table.cpp (see there).
#pragma once

#include <cstdint>

namespace Tannhofen::AmbiBin {

inline constexpr uint32_t kFocusDesignPoints = 240;
extern const float kFocusDesign[kFocusDesignPoints][2];

} // namespace Tannhofen::AmbiBin
