// Planar test signals for the ambisonic tests: channels of frames, with the
// array of channel pointers that the algorithms take.
#pragma once

#include "tests/support/random_signal.h"

#include <cstdint>
#include <vector>

template <class T>
struct PlanarBlock {
    PlanarBlock(uint32_t channels, uint32_t frames)
        : data(channels, std::vector<T>(frames)), ptrs(channels) {}
    // The channel pointers, taken afresh so that copies of a block point at their own data.
    T** p() {
        for (size_t c = 0; c < data.size(); ++c) ptrs[c] = data[c].data();
        return ptrs.data();
    }
    std::vector<std::vector<T>> data;
    std::vector<T*> ptrs;
};

template <class T>
PlanarBlock<T> randomBlock(uint32_t channels, uint32_t frames, unsigned seed) {
    PlanarBlock<T> b(channels, frames);
    for (uint32_t c = 0; c < channels; ++c) b.data[c] = randomVector<T>(frames, seed + 31 * c);
    return b;
}
