// The bus arrangements the decoder takes: an ambisonic input of order 1 to 3,
// and one of fourteen outputs (eleven speaker layouts with a decoder table,
// or ambisonics again). The same fourteen, in the order of the controller's
// "Output Arrangement" list, make that list.
#pragma once

#include <cstdint>
#include <span>

#include "frame/speaker_layouts.h"

namespace Tannhofen::AmbiBin {

using Plx::SpeakerArrangement;

inline constexpr int32_t kDecoderOutputCount = 14;

// 1, 2 or 3 for the ambisonic arrangements of that order, 0 for any other.
int32_t ambisonicOrderOf(SpeakerArrangement arrangement);
inline bool isAmbisonicArrangement(SpeakerArrangement arrangement) {
    return ambisonicOrderOf(arrangement) != 0;
}
// The ambisonic arrangement of an order of 1 to 3; 0 for any other.
SpeakerArrangement ambisonicArrangement(int32_t order);

// The outputs, in the order of the controller's list: the speaker layouts
// from small to large, the ambisonic orders, and "Stereo" last, so that the
// list's default (its last entry) is the processor's default output.
std::span<const SpeakerArrangement> decoderOutputs();
// The index of an output in that list; -1 for an arrangement that isn't one.
int32_t decoderOutputIndex(SpeakerArrangement arrangement);
inline bool isDecoderOutput(SpeakerArrangement arrangement) {
    return decoderOutputIndex(arrangement) >= 0;
}

} // namespace Tannhofen::AmbiBin
