// The messages that the panner's processor and controller exchange beyond
// those of the mix plug-ins, and what both sides read of a layout.
#pragma once

#include <cstdint>

#include "mix/speaker_grid.h"

namespace Tannhofen::Panner {

namespace PannerMsg {
// Controller to processor: whether the instance has joined a host object
// bus, in the integer attribute of the same name (1 when it has).
inline constexpr const char* kObjectMode = "ObjectModeMessageId";
// Controller to processor: send every object setting and position again.
inline constexpr const char* kUpdateObjectStatus = "UpdateObjectStatus";
} // namespace PannerMsg

// The kind of input image, on which the position defaults depend: 1 when two
// depth zones of the ear row hold channels; else, with more than one main
// channel, the first filled zone of the ear row plus 2; else 0.
inline int32_t inputClassOf(const Mix::SpeakerGrid& grid, int32_t mainChannels) {
    constexpr uint32_t ear = Mix::SpeakerGrid::kEar;
    if (grid.usedZones(ear) >= 2) return 1;
    if (mainChannels <= 1) return 0;
    for (uint32_t z = 0; z < Mix::SpeakerGrid::kZones; ++z)
        if (grid.count(ear, z) > 0) return static_cast<int32_t>(z) + 2;
    return 1; // channels above or below the ear row only
}

} // namespace Tannhofen::Panner
