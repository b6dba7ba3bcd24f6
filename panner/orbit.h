// Angles in turns and the orbit and radius controls of the panner. An orbit
// turns the image centre around the middle of the room, starting from an
// anchor; the radius moves the anchor along the present orbit direction.
// Coordinates are normalized (0 to 1, x left to right, y front to rear);
// angles are turns, clockwise from the front seen from above.
#pragma once

#include "panner/panner_constants.h"

namespace Tannhofen::Panner {

// v moved once into 0 to 1: above 1 loses a turn, below 0 gains one, and a
// magnitude below the panner's tolerance becomes exactly 0.
float wrapTurns(float v);

// Direction of the point (u, w) seen from (0.5, 0.5), in turns: 0 straight
// ahead (w below 0.5), 0.25 right, 0.5 behind, 0.75 left. The middle itself is 0.
float directionToTurns(float u, float w);

struct PlanePoint {
    float x = 0.5f;
    float y = 0.5f;
};

// The anchor turned about the middle of the room by `turns`, clamped to the room.
PlanePoint orbitPosition(PlanePoint anchor, double turns, float stageSize);

// The point at `radius` (twice its distance from the middle) in the direction
// `orbitTurns`. Not clamped: the anchor of a radius of 1.41 at a diagonal-free
// angle lies outside the room.
PlanePoint radiusAnchor(float radius, float orbitTurns, float stageSize);

// Twice the distance of (x, y) from the middle: 1 on the walls' midpoints.
float centreRadius(float x, float y);

} // namespace Tannhofen::Panner
