// Staging of planar channels for products over channels. A staging buffer
// holds `stride` rows (frames) by `channels` columns, each channel one
// contiguous column, so that moving a block in or out is one copy per channel
// and one BLAS product applies a channel matrix to every frame of a range.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/data/linear_algebra.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::AmbiBin {

// Frames [offset, offset + frames) of each channel into rows 0.. of the staging.
template <class T>
void stageIn(T* const* in, uint32_t offset, uint32_t channels, uint32_t frames, T* stage, uint32_t stride) {
    for (uint32_t c = 0; c < channels; ++c)
        DSP::Vec::copy(in[c] + offset, stage + std::size_t(c) * stride, frames);
}

// Rows 0.. of the staging back to frames [offset, offset + frames) of each channel.
template <class T>
void stageOut(const T* stage, uint32_t stride, uint32_t channels, uint32_t frames, T* const* out,
              uint32_t offset) {
    for (uint32_t c = 0; c < channels; ++c)
        DSP::Vec::copy(stage + std::size_t(c) * stride, out[c] + offset, frames);
}

// Rows [first, first + count) of `out` take those of `in` with each frame's
// channel vector multiplied by m (channels square, column-major): out = in m^T.
template <class T>
void mixFrames(const T* m, uint32_t channels, const T* in, T* out, uint32_t stride, uint32_t first,
               uint32_t count) {
    DSP::Data::multiplyColumnMajor<T>(count, channels, channels, in + first, stride, false, m, channels, true,
                                      out + first, stride);
}

} // namespace Tannhofen::AmbiBin
