// The focus stage: a channels-square transform that decodes the signal to the
// 240 points of the design, scales each point by its focus gain and encodes it
// again, so that the region around the focus direction keeps its level and the
// rest of the sphere is attenuated.
//
// The design table lists (elevation, azimuth); the stage reads its first
// column as azimuth and its second as elevation, in the encoder and in the
// point vectors alike. Both sides use the same mapping, so each gain belongs
// to the direction its harmonics describe, and a focus at azimuth +90 degrees
// lifts the signals from the left.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "dsp/data/small_matrix.h"

namespace Tannhofen::AmbiBin {

template <class T>
class AmbiFocus {
public:
    // Builds the encoder and its pseudo-inverse for 4, 9 or 16 channels (any
    // other count makes an empty stage: valid() is false). Allocates: call it
    // off the audio thread.
    explicit AmbiFocus(uint32_t channels);
    AmbiFocus(const AmbiFocus&) = delete;
    AmbiFocus& operator=(const AmbiFocus&) = delete;

    // True when every matrix was allocated and the pseudo-inverse exists.
    bool valid() const { return ok; }
    // Rebuilds `transform` if `dirty`, and clears it. Allocates nothing.
    void update();

    std::vector<std::array<float, 3>> points; // unit vectors of the design points
    DSP::Data::SmallMatrix<T> encoder;        // points x channels: the harmonics of each point
    DSP::Data::SmallMatrix<T> decoder;        // points x channels: Y (Y^T Y)^-1
    DSP::Data::SmallMatrix<T> weighted;       // encoder with each row scaled by its gain
    DSP::Data::SmallMatrix<T> transform;      // channels square: weighted^T decoder
    float attenuation = 1;                    // gain outside the region
    const float innerGain = 1;                // gain at the focus direction
    float azimuth = 0;                        // degrees
    float elevation = 0;                      // degrees
    float halfSize = 0;                       // degrees
    bool dirty = true;

private:
    uint32_t numChannels = 0;
    bool ok = false;
};

extern template class AmbiFocus<float>;
extern template class AmbiFocus<double>;

} // namespace Tannhofen::AmbiBin
