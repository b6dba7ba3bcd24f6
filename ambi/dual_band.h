// The dual-band energy weighting of the binaural decoder (standard and SOFA
// sets): each channel is split by a second-order Linkwitz-Riley crossover at
// 380 Hz for 48 kHz, its high band weighted by the max-rE weight of its order,
// and the low band subtracted. The two branches sum flat only with opposite
// polarity, so below the crossover the signal comes out inverted.
//
// The filters are not redesigned for the host's rate: the same numbers run at
// every rate (at 44.1 kHz they cross near 349 Hz). The built-in standard sets
// are designed for this whole path at 48 kHz.
//
// Both branches share their denominator, so weight * high - low is one
// second-order section per channel, with the numerator
// weight * highB - lowB: half the work of two filters, the same response.
// Weighting runs it for all channels of a block in one pass over the samples,
// the channels side by side, so that their recurrences overlap.
#pragma once

#include <complex>
#include <cstdint>
#include <vector>

namespace Tannhofen::AmbiBin::DualBand {

// Denominator shared by both branches, and the two numerators.
inline constexpr double kA0 = 1;
inline constexpr double kA1 = -1.9029109477996826;
inline constexpr double kA2 = 0.9052674770355225;
inline constexpr double kHighB0 = 0.9520446062088013;
inline constexpr double kHighB1 = -1.9040892124176025;
inline constexpr double kHighB2 = 0.9520446062088013;
inline constexpr double kLowB0 = 0.0005891431937925518;
inline constexpr double kLowB1 = 0.0011782863875851035;
inline constexpr double kLowB2 = 0.0005891431937925518;

// The max-rE weights P_n(cos(137.9 deg / (N + 1.51))) of order N, one per ACN
// channel (the same value through each order's band): 4, 9 or 16 values for
// orders 1, 2 and 3. Any other order takes the first-order table.
const double* maxReWeights(uint32_t order);

// The frequency response of one channel's path, weight * high - low, at
// `frequency` Hz when the filters run at `sampleRate`.
std::complex<double> response(double weight, double frequency, double sampleRate);

// The weighting of the 4, 9 or 16 channels of an order, in place.
template <class T>
class Weighting {
public:
    // Sets up the channels of `order` (1 to 3) with its max-rE weights; false
    // (and nothing to run) for another order. Allocates.
    bool init(uint32_t order);
    void release();
    // Clears the sections' memory.
    void reset();
    // Weights `frames` samples of each channel in place.
    void process(T** channels, uint32_t frames);

    uint32_t channelCount() const { return channels; }

private:
    uint32_t channels = 0;
    std::vector<T> b0, b1, b2, z1, z2; // per channel
    T a1 = T(kA1), a2 = T(kA2);
};

extern template class Weighting<float>;
extern template class Weighting<double>;

} // namespace Tannhofen::AmbiBin::DualBand
