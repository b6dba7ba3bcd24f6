// Speaker arrangements: a 64-bit mask with one bit per speaker position.
// Channels on a bus follow ascending bit order.
#pragma once

#include <bit>
#include <cstdint>

namespace Tannhofen::Plx {

using SpeakerArrangement = uint64_t;

// Number of channels of an arrangement: its set bits.
inline int32_t getChannelCount(SpeakerArrangement arr) { return std::popcount(arr); }

} // namespace Tannhofen::Plx
