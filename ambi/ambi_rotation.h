// Sound-field rotation for head tracking: AmbiRotationMatrix builds the
// block-diagonal rotation of an ambisonic signal (ACN, SN3D, orders 1 to 3)
// from yaw, pitch and roll, and AmbiRotationAlgo applies it to blocks.
//
// At rest (all angles 0) a block costs one copy per channel. With the angles
// held elsewhere a block is one BLAS product. When an angle changes, the
// matrix moves linearly from the old to the new one in steps of 4 frames over
// the first 128 frames of the block (or over the whole block when it is
// shorter); the rest of the block uses the new matrix.
#pragma once

#include <cstdint>

#include "dsp/audio/algo.h"
#include "dsp/data/small_matrix.h"

namespace Tannhofen::AmbiBin {

template <class T>
using ColumnMatrix = DSP::Data::SmallColumnMatrix<T>;

// The full rotation ((order + 1)^2 square, column-major) in the matrix's own
// data, and the scratch of its construction. Computed in double, stored in T.
template <class T>
class AmbiRotationMatrix : public ColumnMatrix<T> {
public:
    AmbiRotationMatrix() : ColumnMatrix<T>(0, 0) {}

    // Sizes the full matrix for `order` and the scratch, allocates and zeroes
    // everything. False on success, as for every matrix; true for an order
    // outside 1..3 or a failed allocation.
    bool init() override;
    bool release() override;
    // Rebuilds the matrix from the angles as they enter it, in radians.
    // Allocates nothing.
    void build(double yaw, double pitch, double roll);

    double yawAngle = 0;
    double pitchAngle = 0;
    double rollAngle = 0;
    int32_t order = 1;
    int32_t numChannels = 4;
    bool ready = false;
    // The turns and the bands of the last build, in (Y, Z, X) order for 3 by 3.
    ColumnMatrix<T> yawMatrix{3, 3};
    ColumnMatrix<T> pitchMatrix{3, 3};
    ColumnMatrix<T> rollMatrix{3, 3};
    ColumnMatrix<T> rollPitchMatrix{3, 3};
    ColumnMatrix<T> firstOrderMatrix{3, 3};
    ColumnMatrix<T> previousBandMatrix{3, 3};
    ColumnMatrix<T> bandMatrix{1, 1};
};

template <class T>
class AmbiRotationAlgo : public DSP::Audio::Algo<T> {
public:
    AmbiRotationAlgo() = default;
    AmbiRotationAlgo(const AmbiRotationAlgo&) = delete; // owns its matrices
    AmbiRotationAlgo& operator=(const AmbiRotationAlgo&) = delete;
    ~AmbiRotationAlgo() override { freeMatrices(); }

    // Takes the input count (the output count is the same signal); refuses
    // any count other than 4, 9 or 16 with 1 and keeps the one it had.
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override;
    // 0 on success. Refuses (1, nothing allocated) an order outside 1..3, a
    // channel count other than (order + 1)^2, a block size of 0, or a failed
    // allocation; a refused object's process does nothing.
    int32_t init() override;
    int32_t release() override;
    void reset() override;
    // Rotates `frames` frames; in and out may be the same channels. A call of
    // more than blockSize frames is worked in pieces of blockSize.
    void process(T** in, T** out, uint32_t frames) override;

    // Normalised values v in 0..1, 0.5 for no turn; outside values are clamped
    // and NaN is ignored. True when the angle changed.
    bool setYaw(double v);   // yaw = pi - 2 pi v
    bool setPitch(double v); // pitch = pi v - pi / 2, the opposite sign of yaw's and roll's
    bool setRoll(double v);  // roll = pi - 2 pi v

    AmbiRotationMatrix<T> rotation;
    // Planar staging of one block: blockSize rows (frames) by numChannels
    // columns. The fade steps and the part after the fade are row ranges of
    // these two, so every product reads and writes them in place.
    ColumnMatrix<T> outputFrames{0, 0, true};
    ColumnMatrix<T> inputFrames{0, 0, true};
    ColumnMatrix<T> previousMatrix{0, 0};            // the matrix last reached
    ColumnMatrix<T> fadeMatrix{0, 0};                // the matrix of one fade step
    double yaw = 0, pitch = 0, roll = 0;             // radians, written through the setters
    double lastYaw = 0, lastPitch = 0, lastRoll = 0; // what the current matrix was made from
    uint32_t numChannels = 0;
    uint16_t order = 1; // written by the owner before init
    const uint32_t fadeStep = 4;
    const uint32_t fadeLength = 128;
    bool constructed = true; // kept, never read
    bool hasTail = false;    // blockSize > fadeLength
    const double yawScale = 6.283185307179586;
    const double yawOffset = 3.141592653589793;
    const double pitchScale = 3.141592653589793;
    const double pitchOffset = 1.5707963267948966;
    const double rollScale = 6.283185307179586;
    const double rollOffset = 3.141592653589793;

private:
    void freeMatrices();
    void rebuild();
    void processPiece(T** in, T** out, uint32_t offset, uint32_t frames);
    bool ready = false;
};

extern template class AmbiRotationMatrix<float>;
extern template class AmbiRotationMatrix<double>;
extern template class AmbiRotationAlgo<float>;
extern template class AmbiRotationAlgo<double>;

} // namespace Tannhofen::AmbiBin
