#include "ambi/hrir_fidelity.h"

#include <mysofa.h>

#include <algorithm>
#include <cmath>

namespace Tannhofen::AmbiBin::Fidelity {

namespace {

constexpr double kItdLowPass = 1500;  // Hz
constexpr double kItdMaxLag = 0.001;  // s: the head is far smaller than this
constexpr double kPowerFloor = 1e-30; // keeps silent bands finite in dB

double levelDb(double power) {
    return 10 * std::log10(power + kPowerFloor);
}

} // namespace

size_t MeasuredHead::find(double az, double el) const {
    for (size_t d = 0; d < count(); ++d)
        if (std::abs(std::remainder(azimuth[d] - az, 360.0)) < 0.01 && std::abs(elevation[d] - el) < 0.01)
            return d;
    return count();
}

bool readMeasuredHead(const char* path, double sampleRate, MeasuredHead& head) {
    int filterLength = 0, error = 0;
    MYSOFA_EASY* easy = mysofa_open(path, float(sampleRate), &filterLength, &error);
    if (easy == nullptr) return false;
    if (error == 0) {
        const MYSOFA_HRTF* hrtf = easy->hrtf;
        head.length = hrtf->N;
        for (unsigned i = 0; i < hrtf->M; ++i) {
            float v[3] = {hrtf->SourcePosition.values[3 * i], hrtf->SourcePosition.values[3 * i + 1],
                          hrtf->SourcePosition.values[3 * i + 2]};
            mysofa_c2s(v);
            head.azimuth.push_back(v[0]);
            head.elevation.push_back(v[1]);
            const float* ir = hrtf->DataIR.values + size_t(i) * hrtf->R * hrtf->N;
            head.left.emplace_back(ir, ir + hrtf->N);
            head.right.emplace_back(ir + hrtf->N, ir + 2 * hrtf->N);
        }
    }
    mysofa_close(easy);
    return error == 0 && head.count() > 0;
}

Analyser::Analyser(double sampleRate) : rate(sampleRate) {
    forward.length = kLength;
    inverse.length = kLength;
    forward.init();
    inverse.init();
    for (auto* v : {&zeros, &buffer, &leftRe, &leftIm, &rightRe, &rightIm, &crossRe, &crossIm, &lowPass})
        v->assign(kLength, 0.0);
    const double binWidth = rate / kLength;
    for (int b = 0; b < kBandCount; ++b) {
        const double centre = 1000 * std::exp2((kFirstBand + b) / 3.0);
        const double lo = centre * std::exp2(-1.0 / 6), hi = centre * std::exp2(1.0 / 6);
        auto first = uint32_t(std::ceil(lo / binWidth));
        auto last = std::max(first + 1, uint32_t(std::ceil(hi / binWidth)));
        bandBins[b] = {std::min(first, kLength / 2), std::min(last, kLength / 2)};
    }
    // A zero-phase eighth-order Butterworth magnitude on each ear (its square
    // on the cross-spectrum, mirrored for the negative frequencies): steep
    // enough that the measure reads the fine-structure delay below 1.5 kHz,
    // not the interaural phase of the 2 to 3 kHz octave that a gentler slope
    // lets through.
    for (uint32_t k = 0; k < kLength; ++k) {
        const double f = std::min(k, kLength - k) * binWidth;
        lowPass[k] = 1 / (1 + std::pow(f / kItdLowPass, 16));
    }
}

void Analyser::transform(const double* signal, uint32_t length, std::vector<double>& re,
                         std::vector<double>& im) {
    const uint32_t n = std::min(length, kLength);
    std::fill(buffer.begin(), buffer.end(), 0.0);
    std::copy(signal, signal + n, buffer.begin());
    forward.transform(buffer.data(), zeros.data(), re.data(), im.data());
}

EarFeatures Analyser::analyse(const double* left, const double* right, uint32_t length) {
    EarFeatures out;
    transform(left, length, leftRe, leftIm);
    transform(right, length, rightRe, rightIm);

    double leftEnergy = 0, rightEnergy = 0;
    for (uint32_t k = 0; k < kLength; ++k) {
        leftEnergy += leftRe[k] * leftRe[k] + leftIm[k] * leftIm[k];
        rightEnergy += rightRe[k] * rightRe[k] + rightIm[k] * rightIm[k];
    }
    out.ild = levelDb(leftEnergy) - levelDb(rightEnergy);

    for (int b = 0; b < kBandCount; ++b) {
        const auto [first, last] = bandBins[b];
        double pl = 0, pr = 0;
        for (uint32_t k = first; k < last; ++k) {
            pl += leftRe[k] * leftRe[k] + leftIm[k] * leftIm[k];
            pr += rightRe[k] * rightRe[k] + rightIm[k] * rightIm[k];
        }
        const double bins = std::max(1u, last - first);
        out.leftLevels[b] = levelDb(pl / bins);
        out.rightLevels[b] = levelDb(pr / bins);
    }

    // c(lag) = sum_n left[n] right[n + lag]: conj(L) R, low-passed, back to time.
    for (uint32_t k = 0; k < kLength; ++k) {
        crossRe[k] = (leftRe[k] * rightRe[k] + leftIm[k] * rightIm[k]) * lowPass[k];
        crossIm[k] = (leftRe[k] * rightIm[k] - leftIm[k] * rightRe[k]) * lowPass[k];
    }
    inverse.transform(crossRe.data(), crossIm.data(), buffer.data(), leftIm.data());
    const int maxLag = std::max(1, int(std::lround(kItdMaxLag * rate)));
    auto at = [&](int lag) { return buffer[uint32_t((lag + int(kLength)) % int(kLength))]; };
    int best = 0;
    for (int lag = -maxLag; lag <= maxLag; ++lag)
        if (at(lag) > at(best)) best = lag;
    // Parabola through the peak and its neighbours.
    const double ym = at(best - 1), y0 = at(best), yp = at(best + 1);
    const double curvature = ym - 2 * y0 + yp;
    const double offset = curvature < 0 ? std::clamp(0.5 * (ym - yp) / curvature, -0.5, 0.5) : 0.0;
    out.itd = (best + offset) / rate;
    return out;
}

double spectralDistance(const EarFeatures& rendered, const EarFeatures& measured, double gain) {
    double sum = 0;
    for (int b = 0; b < kBandCount; ++b) {
        const double dl = rendered.leftLevels[b] - measured.leftLevels[b] - gain;
        const double dr = rendered.rightLevels[b] - measured.rightLevels[b] - gain;
        sum += dl * dl + dr * dr;
    }
    return std::sqrt(sum / (2 * kBandCount));
}

Score compare(const std::vector<EarFeatures>& rendered, const std::vector<EarFeatures>& measured) {
    Score score;
    const size_t n = std::min(rendered.size(), measured.size());
    if (n == 0) return score;
    double total = 0;
    for (size_t i = 0; i < n; ++i)
        for (int b = 0; b < kBandCount; ++b)
            total += rendered[i].leftLevels[b] - measured[i].leftLevels[b] + rendered[i].rightLevels[b] -
                     measured[i].rightLevels[b];
    score.gain = total / double(2 * kBandCount * n);
    for (size_t i = 0; i < n; ++i) {
        score.lsd += spectralDistance(rendered[i], measured[i], score.gain);
        score.ildError += std::abs(rendered[i].ild - measured[i].ild);
        score.itdError += std::abs(rendered[i].itd - measured[i].itd);
    }
    score.lsd /= double(n);
    score.ildError /= double(n);
    score.itdError /= double(n);
    return score;
}

} // namespace Tannhofen::AmbiBin::Fidelity
