// GainApplier: applies a gain matrix to planar audio, as the mix processor
// does for each slice of a block. It keeps the gains in force, ramps them per
// sample towards a new target, and mixes by sums over the inputs, by a BLAS
// block product, or by plain copies when the matrix is a routing.
//
// Threads: allocate() and sizeScratch() run with the stream stopped; the rest
// runs on the audio thread and allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

#include "mix/mix_matrix.h"

namespace Tannhofen::Mix {

// The block scratch of one sample type: the inputs gathered, the outputs
// before they are scattered and the ramp's part, channels * block; and the
// gains and steps in that type.
template <class T>
struct BlockScratch {
    T* in = nullptr;
    T* out = nullptr;
    T* ramp = nullptr;
    size_t inSize = 0;
    size_t outSize = 0;
    std::vector<T> gains;
    std::vector<T> steps;
    void release();
};

class GainApplier {
public:
    GainApplier() = default;
    GainApplier(const GainApplier&) = delete;
    GainApplier& operator=(const GainApplier&) = delete;
    ~GainApplier();

    // Sizes the gains for `ins` by `outs` and clears them.
    void allocate(int32_t ins, int32_t outs);
    // Sizes the block scratch of sample type T for blocks of up to `maxBlock`.
    template <class T>
    bool sizeScratch(int32_t maxBlock);
    template <class T>
    void releaseScratch() {
        scratchOf<T>().release();
    }
    void release();
    bool ready() const { return current.allocated; }
    template <class T>
    bool hasScratch() const {
        return std::get<BlockScratch<T>>(scratch).in != nullptr;
    }

    const MixMatrix& gains() const { return current; }
    // Takes `target` at once, without a ramp; false when its size differs.
    bool jumpTo(const MixMatrix& target);

    // Prepares a ramp towards `target` spread over `sliceLength` samples, at
    // most `maxStep` per sample and element; answers the samples the ramp
    // takes before every element lies within the gain tolerance of the
    // target, up to `limit`.
    int32_t startRamp(const MixMatrix& target, float invSliceLength, float maxStep, int32_t limit);
    // Mixes `len` samples from sample `t` while the gains ramp: sample j of
    // the block gets the gains plus (j + 1) steps. The gains move on by `len`
    // steps.
    template <class T>
    void mixRamp(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len);
    // Mixes `len` samples from `t` with the gains in force.
    template <class T>
    void mix(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len);

    // Copies the routed inputs for `len` samples from `t`: output o takes
    // input routing[o], or silence for -1. False, with nothing written, when an
    // output overwrites an input in place that a later output still reads.
    template <class T>
    static bool routingCopy(const std::vector<int32_t>& routing, int32_t ins, int32_t outs, T** in, T** out,
                            int32_t t, int32_t len);
    // Output o takes input o; outputs beyond the inputs are silent.
    template <class T>
    static void passThroughCopy(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len);

private:
    template <class T>
    BlockScratch<T>& scratchOf() {
        return std::get<BlockScratch<T>>(scratch);
    }
    template <class T>
    void product(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len, bool ramp);

    MixMatrix current;
    MixMatrix diff;
    MixMatrix step;
    std::tuple<BlockScratch<float>, BlockScratch<double>> scratch;
};

} // namespace Tannhofen::Mix
