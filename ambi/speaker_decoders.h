// The speaker decoder tables: for each layout of speakerLayouts() and each
// ambisonic order from 1 to 3, a finished matrix in constant data. Nothing is
// designed at run time; the tables are made by tools/speaker_decoders.
//
// A table is row-major float: one row per output channel, in the order of the
// set bits of the arrangement from the lowest upward, and one column per ACN
// channel of the order, SN3D. LFE rows are zero, as are, in layouts on the
// horizon, the columns of the harmonics that vanish there. Both sample sizes
// read the same tables.
#pragma once

#include <cstdint>
#include <span>

#include "frame/speaker_layouts.h"

namespace Tannhofen::AmbiBin {

inline constexpr int32_t kMinDecoderOrder = 1;
inline constexpr int32_t kMaxDecoderOrder = 3;

struct SpeakerDecoderTable {
    Plx::SpeakerArrangement arrangement;
    int32_t order;
    std::span<const float> values; // rows x (order + 1)^2
};

// All tables: the layouts in the order of speakerLayouts(), each at orders 1, 2, 3.
std::span<const SpeakerDecoderTable> speakerDecoderTables();

// The table of exactly this order and arrangement, or null.
const float* findSpeakerDecoder(int32_t order, Plx::SpeakerArrangement arrangement);

} // namespace Tannhofen::AmbiBin
