// MixMatrix: a row-major gain matrix, inputs by outputs. MixGainSet: the two
// matrices of a model (normal gains and direct routing) with their channel
// maps and routing analysis.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Tannhofen::Mix {

struct MixMatrix {
    bool allocated = false;
    int32_t rows = 0;
    int32_t cols = 0;
    std::vector<float> data;

    // Sizes the matrix and clears it. Not for the audio thread.
    void allocate(int32_t numRows, int32_t numCols) {
        rows = std::max(numRows, 0);
        cols = std::max(numCols, 0);
        data.assign(static_cast<size_t>(rows) * static_cast<size_t>(cols), 0.0f);
        allocated = true;
    }
    void release() {
        allocated = false;
        rows = cols = 0;
        data.clear();
        data.shrink_to_fit();
    }
    void clear() { std::fill(data.begin(), data.end(), 0.0f); }

    float* row(int32_t r) { return data.data() + static_cast<size_t>(r) * static_cast<size_t>(cols); }
    const float* row(int32_t r) const {
        return data.data() + static_cast<size_t>(r) * static_cast<size_t>(cols);
    }
    float& at(int32_t r, int32_t c) { return row(r)[c]; }
    float at(int32_t r, int32_t c) const { return row(r)[c]; }
};

struct MixGainSet {
    static constexpr int32_t kNormal = 0; // the gain matrix
    static constexpr int32_t kDirect = 1; // the routing of direct mode

    // Bus channel of each grid position (main channels, then LFE), per side.
    std::vector<int32_t> inMap;
    std::vector<int32_t> outMap;
    // Per matrix: whether it is a pure routing, and then the input channel
    // that each output channel copies (-1: silence).
    bool simple[2] = {false, false};
    std::vector<int32_t> routing[2];
    MixMatrix matrix[2];
};

} // namespace Tannhofen::Mix
