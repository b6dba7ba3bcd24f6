// The speaker decoder's arithmetic on planar blocks: a matrix applied frame by
// frame, and the LFE rule. Plain functions, shared by AmbiSpeakerAlgo and its
// benchmark.
#pragma once

#include <cstdint>

namespace Tannhofen::AmbiBin {

// out[k][f] = sum over c of matrix[k * columns + c] * in[c][f], for rows k
// and frames f below `frames`. Frame by frame: each frame's channel vector is
// gathered once, and each row's dot product runs over it in pairs with two
// accumulators, added at the end. Accumulates in the sample type; the matrix
// is float for both sample types.
template <class T>
void decodeFrames(const float* matrix, uint32_t rows, uint32_t columns, const T* const* in, T* const* out,
                  uint32_t frames) {
    constexpr uint32_t kMaxColumns = 16;
    T x[kMaxColumns];
    const uint32_t pairs = columns / 2;
    for (uint32_t f = 0; f < frames; ++f) {
        for (uint32_t c = 0; c < columns; ++c) x[c] = in[c][f];
        const float* row = matrix;
        for (uint32_t k = 0; k < rows; ++k, row += columns) {
            T even = 0, odd = 0;
            for (uint32_t p = 0; p < pairs; ++p) {
                even += T(row[2 * p]) * x[2 * p];
                odd += T(row[2 * p + 1]) * x[2 * p + 1];
            }
            if (columns & 1) even += T(row[columns - 1]) * x[columns - 1];
            out[k][f] = even + odd;
        }
    }
}

// The LFE rule: the sum of all `rows` decoded channels of each frame (LFE rows
// included, which decode to silence), times `gain`, replaces the lfeIndex
// channel and, when lfe2Index is not negative, the lfe2Index channel. The LFE
// thus carries the sum of the decoded speaker signals, not the W channel.
template <class T>
void writeLfeSum(T* const* out, uint32_t rows, uint32_t frames, T gain, int32_t lfeIndex, int32_t lfe2Index) {
    T* lfe = out[lfeIndex];
    T* lfe2 = lfe2Index >= 0 ? out[lfe2Index] : nullptr;
    for (uint32_t f = 0; f < frames; ++f) {
        T sum = 0;
        for (uint32_t k = 0; k < rows; ++k) sum += out[k][f];
        lfe[f] = sum * gain;
        if (lfe2) lfe2[f] = lfe[f];
    }
}

// An LFE gain as the decoder uses it: linear, in 0 to 1. NaN and negative
// values give 0, values above 1 give 1.
inline double clampLfeGain(double gain) {
    return gain > 1 ? 1.0 : gain > 0 ? gain : 0.0;
}

} // namespace Tannhofen::AmbiBin
