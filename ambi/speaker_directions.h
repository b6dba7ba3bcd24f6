// The directions of the speakers of the layouts that the speaker decoder
// serves. The arrangement table names speakers but gives no directions, so
// the decoder adopts the standard ones; this table is the one place they are
// kept, read by the decoder design tool and by the tests alike.
//
// Directions are azimuth and elevation in degrees: azimuth positive to the
// left (counter-clockwise seen from above), 0 straight ahead; elevation
// positive upwards. Where a layout has both pairs, Sl/Sr are the side pair
// near +-90 degrees and Ls/Rs the rear pair near +-135 degrees, as the
// converter's speaker grid places them. LFE channels have no direction.
#pragma once

#include <cstdint>
#include <span>

#include "frame/speaker_layouts.h"

namespace Tannhofen::AmbiBin {

struct SpeakerDirection {
    Plx::SpeakerArrangement speaker; // one speaker bit
    double azimuth;                  // degrees, positive to the left
    double elevation;                // degrees, positive upwards
};

struct LayoutDirections {
    Plx::SpeakerArrangement arrangement;        // the whole layout, LFE bits included
    const char* source;                         // where the directions come from
    std::span<const SpeakerDirection> speakers; // the speakers with a direction, in bit order
};

// The layouts the speaker decoder has tables for, in the order of the
// decoder tables: "Mono", "Stereo", "5.0", "5.1", "7.1 Music (Dolby)",
// "7.0.2", "7.1.2", "5.1.4", "10.1 Auro-3D", "7.1.4", "22.2".
std::span<const LayoutDirections> speakerLayouts();

// The directions of one of those layouts, or null for any other arrangement.
const LayoutDirections* findSpeakerLayout(Plx::SpeakerArrangement arrangement);

// True when every speaker of the layout lies on the horizon.
bool isHorizontal(const LayoutDirections& layout);

} // namespace Tannhofen::AmbiBin
