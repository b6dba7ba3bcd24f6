// Elevation patterns: surfaces that give a height to each point of the floor
// plan, so that an image moved around the room rises and falls with it.
// Coordinates are normalized: x 0 left to 1 right, y 0 front to 1 rear, z 0
// bottom to 1 top.
#pragma once

#include <cstdint>

namespace Tannhofen::Panner {

enum ElevationMode : int32_t {
    kElevationNone = 0, // z stays as it is
    kElevationWedge,    // a roof ridge from left to right at mid depth
    kElevationCeiling,  // flat ceiling that slopes down to the floor at the front wall
    kElevationSphere,   // a dome over the middle of the room
    kElevationCup,      // the dome turned inside out: high at the walls
    kElevationTunnel,   // a vault from front to rear
    kElevationHalfPipe, // the vault turned inside out
    kElevationRidge,    // the wedge raised to the fourth power: a sharp crest
};
inline constexpr int32_t kElevationModeMax = kElevationRidge;

// Names of the controller's radio parameters, by mode; mode 0 has none.
inline constexpr const char* kElevationPatternNames[kElevationModeMax + 1] = {
    "",
    "ElevationPatternWedge",
    "ElevationPatternCeiling",
    "ElevationPatternSphere",
    "ElevationPatternCup",
    "ElevationPatternTunnel",
    "ElevationPatternHalfPipe",
    "ElevationPatternRidge",
};

// Where the ceiling pattern leaves its flat top (w = 1 - 2y at or below it is
// the top), and the width of its slope. The slope is the float the panner has
// always used, one ulp below 0.4; it stays so that positions keep their values.
inline constexpr float kCeilingFlatEdge = 0.6f;
inline constexpr float kCeilingSlope = 0.39999998f;

// Height of pattern `mode` at (x, y); mode 0 and unknown modes answer z.
// Outside the room the values are what the formulas give; a NaN coordinate
// counts as the farthest distance, so the answer stays finite.
float elevationPatternValue(int32_t mode, float x, float y, float z);

} // namespace Tannhofen::Panner
