// Where an input layout puts its channels inside the panner's image, before
// the image is moved: one centred point (-0.5 to 0.5) per main channel, in
// grid order (rows bottom to top, zones front to rear, speakers left to
// right), and the facts about the layout that the image's geometry needs.
#pragma once

#include <cstdint>
#include <vector>

#include "mix/speaker_grid.h"
#include "panner/handle_solver.h"

namespace Tannhofen::Panner {

// Layer of `grid` that the panner treats as its middle row: the ear row of a
// three-row layout, else the lowest row.
uint32_t middleLayerOf(const Mix::SpeakerGrid& grid);

// Layout positions of the grid's main channels, written to `positions`
// (resized to the main channel count).
//
// Height: a layout of one row stands at 0; of two rows at 0 and 0.5; of three
// at -0.5, 0 and 0.5. Depth in the middle row: its zones spread from front
// (-0.5) to rear (0.5) over the row's zone span, and a row of one filled zone
// stands on the y axis (0), whichever zone it is, so that the centre alone
// decides its depth. Depth in the other rows: where the zone is in the room,
// front -0.5, side 0, rear 0.5 (22.2's bottom row stands at the front, the
// side tops of 7.1.2 at the middle). Across: the speakers of a zone spread
// from left (-0.5) to right (0.5); a zone of one speaker stands at 0.
void layoutPositions(const Mix::SpeakerGrid& grid, std::vector<Point3>& positions);

// Grid-order indices of the two handle channels: the first and the last
// channel of the first filled zone of the middle row. False when that row
// has no channel.
bool handleChannels(const Mix::SpeakerGrid& grid, int32_t& left, int32_t& right);

// The first filled zone of the middle row, or -1.
int32_t firstFilledZone(const Mix::SpeakerGrid& grid);

// What the image's geometry needs of the layout; `positions` are its layout
// positions.
ImageShape imageShapeOf(const Mix::SpeakerGrid& grid, const std::vector<Point3>& positions);

} // namespace Tannhofen::Panner
