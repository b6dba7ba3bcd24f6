// How close a binaural rendering comes to measured head-related impulse
// responses, by three measures over a set of directions:
// - log-spectral distance: the RMS over both ears and the third-octave bands
//   from 100 Hz to 16 kHz of the dB difference of band powers, after one
//   global gain for all directions (the mean difference);
// - interaural level difference error: broadband energy, left over right, dB;
// - interaural time difference error: the lag of the cross-correlation peak of
//   the two ears after a 1.5 kHz low-pass (eighth-order Butterworth magnitude,
//   zero phase), with the peak interpolated between samples.
// Used by the HRIR design tool and by the fidelity test of the decoder.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "dsp/tool/transform/fft_complex.h"

namespace Tannhofen::AmbiBin::Fidelity {

// Third-octave bands with centres 1000 * 2^(k / 3) Hz, k = -10 .. 12: 99 Hz to 16 kHz.
inline constexpr int kFirstBand = -10;
inline constexpr int kBandCount = 23;

// The measured directions of a SOFA file (degrees) with their left and right
// impulse responses, read at one sample rate (libmysofa resamples them).
struct MeasuredHead {
    std::vector<double> azimuth, elevation;
    std::vector<std::vector<double>> left, right;
    uint32_t length = 0;
    size_t count() const { return azimuth.size(); }
    // The measured direction at (azimuth, elevation), or count() if there is none.
    size_t find(double az, double el) const;
};
// False when the file can't be read or holds no direction.
bool readMeasuredHead(const char* path, double sampleRate, MeasuredHead& head);

// What the measures need of one pair of ear signals.
struct EarFeatures {
    std::array<double, kBandCount> leftLevels{};  // band power, dB
    std::array<double, kBandCount> rightLevels{}; // band power, dB
    double ild = 0;                               // dB, left energy over right
    double itd = 0; // seconds the right ear lags the left (positive: source on the left)
};

// Computes the features of ear signals at one sample rate. Signals longer than
// the analysis transform (8192 samples) are cut to it. Allocates: not for the
// audio thread.
class Analyser {
public:
    explicit Analyser(double sampleRate);
    EarFeatures analyse(const double* left, const double* right, uint32_t length);
    EarFeatures analyse(const std::vector<double>& left, const std::vector<double>& right) {
        return analyse(left.data(), right.data(), uint32_t(std::min(left.size(), right.size())));
    }

    static constexpr uint32_t kLength = 8192;

private:
    void transform(const double* signal, uint32_t length, std::vector<double>& re, std::vector<double>& im);

    double rate;
    DSP::Tool::Transform::FFTComplex<double> forward;
    DSP::Tool::Transform::InverseFFTComplex<double> inverse;
    std::vector<double> zeros, buffer, leftRe, leftIm, rightRe, rightIm, crossRe, crossIm, lowPass;
    std::array<std::pair<uint32_t, uint32_t>, kBandCount> bandBins{}; // [first, last) bin of each band
};

// Means over the directions, rendered[i] scored against measured[i].
struct Score {
    double lsd = 0;      // dB
    double ildError = 0; // dB
    double itdError = 0; // seconds
    double gain = 0;     // dB, the global gain taken out before the spectral distance
};
Score compare(const std::vector<EarFeatures>& rendered, const std::vector<EarFeatures>& measured);

// The spectral distance of one rendered pair from one measured pair, with the
// global gain (dB) taken out.
double spectralDistance(const EarFeatures& rendered, const EarFeatures& measured, double gain);

} // namespace Tannhofen::AmbiBin::Fidelity
