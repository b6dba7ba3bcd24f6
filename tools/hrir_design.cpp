// Designs the six built-in HRIR sets of the binaural decoder from a measured
// SOFA set of a left-right symmetric head, and writes them as C++ source.
//
//   hrir_design SOFA_FILE OUTPUT_CPP [--only SET]
//
// (--only designs one set, prints its figures and writes nothing.)
//
// The sets live in the spherical-harmonic domain: one filter per ACN channel,
// designed for the left ear; the right ear is its mirror image. Each set has
// the order, length and sample rate of its place in the decoder, and is
// designed for what reaches the ear at 48 kHz: a table of another rate is
// resampled first, and the standard sets (mode 1) pass the dual-band weighting
// with the inverted low band ahead of the filters, so those tables are
// designed for the whole path, not alone.
//
// Method: magnitude least squares over all measured directions, each weighted
// by the area of its elevation ring, fitted at the final length by linear
// least squares over the taps of all channels at once, alternating with the
// choice of the target phase:
// - above 2 kHz the target is the measured magnitude, with the phase of the
//   present rendering (the phase is given up where the order can't follow it);
// - below 2 kHz the target is the measured response turned by one phase that
//   a direction shares with its mirror image (whose left ear is this
//   direction's right ear): the interaural phase, and with it the time
//   difference, stays the measured one, while the common phase, which the ear
//   hardly hears, is free. Where the head is transparent, below the lowest
//   scored band, the target keeps that band's level instead of following the
//   measuring loudspeaker's roll-off.
// The error counts per bin as 1/f and relative to the measured third-octave
// power: a dB error on a log-frequency axis, as the ear hears it. The starting
// phase comes from a per-bin solution: least squares below 2 kHz, above it the
// phase carried over from the bin below with the direction's measured delay.
// A time advance of the target, the same for all directions, is chosen for
// the best fit within the length.
//
// The tool then renders every measured direction through the modelled path
// (the decoder's own resampler, crossover and symmetric convolution), prints
// the fidelity figures and writes them into the generated file.
#include <complex>
#define lapack_complex_float std::complex<float>
#define lapack_complex_double std::complex<double>
#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numbers>
#include <string>
#include <vector>

#include "ambi/dual_band.h"
#include "ambi/hrir.h"
#include "ambi/hrir_fidelity.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "dsp/tool/transform/fft_complex.h"

namespace {

using namespace Tannhofen;
using AmbiBin::mirrorSign;
using DSP::Tool::Math::ambisonicChannels;
using cplx = std::complex<double>;
using std::numbers::pi;

constexpr double kRate = 48000;       // the rate the sets are designed for
constexpr uint32_t kDesignFft = 2048; // frequency grid of the design, at kRate
constexpr double kPhaseCutoff = 2000; // Hz: interaural phase kept below, magnitude only above
constexpr double kLowestScored = 89;  // Hz: the lower edge of the 100 Hz third octave
constexpr int kIterations = 40;
constexpr double kRidge = 1e-8;             // Tikhonov term, relative to the mean diagonal
constexpr double kPowerFloor = 1e-3;        // of the relative weighting, against the bin's mean power
constexpr double kAdvances[] = {8, 16, 24}; // samples at 48 kHz

struct SetShape {
    int32_t mode;
    uint32_t order;
    uint32_t length;
    double rate;
    bool dualBand;   // the standard sets run behind the dual-band weighting
    bool floatTable; // element type of the table
    bool rightTable; // the table carries the mirrored right ear too
    const char* name;
};

constexpr SetShape kShapes[] = {
    {1, 1, 236, 44100, true, false, true, "Standard1"},  {1, 2, 236, 44100, true, false, true, "Standard2"},
    {1, 3, 236, 44100, true, false, true, "Standard3"},  {2, 1, 256, 48000, false, false, false, "Youtube1"},
    {4, 2, 189, 48000, false, true, false, "Facebook2"}, {4, 3, 185, 48000, false, true, false, "Facebook3"},
};

// ---- Measured data ----------------------------------------------------------

struct Measured : AmbiBin::Fidelity::MeasuredHead {
    std::vector<double> weight; // weights sum to 1
    std::vector<size_t> mirror; // the left-right mirror direction: its left ear is this one's right
    std::vector<double> onset;  // samples to the first sample of the left ear above a tenth of its peak
};

// Quadrature weights of a grid of elevation rings: each ring gets the area of
// the band halfway to its neighbours, shared among its points.
void ringWeights(Measured& m) {
    std::map<long, std::vector<size_t>> rings;
    for (size_t d = 0; d < m.count(); ++d) rings[std::lround(m.elevation[d] * 100)].push_back(d);
    std::vector<double> levels;
    for (auto& [key, members] : rings) levels.push_back(key / 100.0);
    m.weight.assign(m.count(), 0);
    double total = 0;
    size_t r = 0;
    for (auto& [key, members] : rings) {
        const double e = levels[r];
        const double below = r > 0 ? 0.5 * (e + levels[r - 1]) : std::max(-90.0, e - 0.5 * (levels[1] - e));
        const double above =
            r + 1 < levels.size() ? 0.5 * (e + levels[r + 1]) : std::min(90.0, e + 0.5 * (e - levels[r - 1]));
        const double area = std::sin(above * pi / 180) - std::sin(below * pi / 180);
        for (size_t d : members) m.weight[d] = area / double(members.size());
        total += area;
        ++r;
    }
    for (double& w : m.weight) w /= total;
}

bool loadSofa(const char* path, Measured& m) {
    if (!AmbiBin::Fidelity::readMeasuredHead(path, kRate, m)) return false;
    ringWeights(m);

    for (size_t d = 0; d < m.count(); ++d) {
        const size_t mirror = m.find(-m.azimuth[d], m.elevation[d]);
        m.mirror.push_back(mirror < m.count() ? mirror : d);
        double peak = 0;
        for (double v : m.left[d]) peak = std::max(peak, std::abs(v));
        size_t n = 0;
        while (n < m.left[d].size() && std::abs(m.left[d][n]) < 0.1 * peak) ++n;
        m.onset.push_back(double(n));
    }
    return !m.left.empty();
}

// ---- Design -----------------------------------------------------------------

struct Spectra {
    uint32_t bins = 0;                         // design bins, 0 .. bins - 1
    std::vector<double> frequency;             // Hz
    std::vector<std::vector<cplx>> measured;   // [direction][bin], left ear
    std::vector<std::vector<double>> smoothed; // third-octave power
};

Spectra measuredSpectra(const Measured& m, double highest) {
    Spectra s;
    const double binWidth = kRate / kDesignFft;
    s.bins = uint32_t(std::floor(highest / binWidth)) + 1;
    for (uint32_t k = 0; k < s.bins; ++k) s.frequency.push_back(k * binWidth);
    DSP::Tool::Transform::FFTComplex<double> fft;
    fft.length = kDesignFft;
    fft.init();
    std::vector<double> re(kDesignFft), im(kDesignFft), zeros(kDesignFft, 0.0), buffer(kDesignFft);
    for (size_t d = 0; d < m.count(); ++d) {
        std::fill(buffer.begin(), buffer.end(), 0.0);
        std::copy_n(m.left[d].begin(), std::min<size_t>(m.length, kDesignFft), buffer.begin());
        fft.transform(buffer.data(), zeros.data(), re.data(), im.data());
        std::vector<cplx> h(s.bins);
        std::vector<double> prefix(kDesignFft / 2 + 2, 0.0);
        for (uint32_t k = 0; k <= kDesignFft / 2; ++k)
            prefix[k + 1] = prefix[k] + re[k] * re[k] + im[k] * im[k];
        std::vector<double> smooth(s.bins);
        for (uint32_t k = 0; k < s.bins; ++k) {
            h[k] = cplx(re[k], im[k]);
            const auto lo = uint32_t(std::floor(k * std::exp2(-1.0 / 6)));
            const auto hi =
                std::min(kDesignFft / 2, std::max(k, uint32_t(std::ceil(k * std::exp2(1.0 / 6)))));
            smooth[k] = (prefix[hi + 1] - prefix[lo]) / double(hi + 1 - lo);
        }
        s.measured.push_back(std::move(h));
        s.smoothed.push_back(std::move(smooth));
    }
    return s;
}

// Weight of a bin on the log-frequency axis: 1/f inside the band that is
// scored, less below it and above it, where the measurement says little.
double binWeight(double f) {
    if (f < 100) return 0.3 / 100;
    if (f > 16000) return 0.3 / f;
    return 1 / f;
}

// The target of direction d at bin k for the present rendering of d and of its
// mirror image. Below the cut-off: the measured response turned by the one
// rotation, shared with the mirror image, that brings both closest to the
// rendering. Above: the measured magnitude with the rendering's own phase.
cplx fitTarget(const Spectra& s, const std::vector<std::vector<cplx>>& target, size_t d, size_t mirror,
               uint32_t k, cplx rendered, cplx renderedMirror) {
    const cplx h = target[d][k];
    if (s.frequency[k] >= kPhaseCutoff) return std::polar(std::abs(h), std::arg(rendered));
    const cplx turn = rendered * std::conj(h) + renderedMirror * std::conj(target[mirror][k]);
    return std::abs(turn) > 0 ? h * (turn / std::abs(turn)) : h;
}

struct Problem {
    const SetShape& shape;
    uint32_t channels = 0, taps = 0, unknowns = 0, bins = 0;
    std::vector<double> harmonics;           // [direction * channels + c]
    std::vector<std::vector<double>> weight; // [direction][bin]
    std::vector<std::vector<cplx>> path;     // [c][bin]: what follows the table
    std::vector<std::vector<cplx>> basis;    // [tap][bin]: e^{-j w_k i} at the table's rate
    std::vector<double> normal;              // Cholesky factor of the normal matrix
    explicit Problem(const SetShape& s) : shape(s) {}
};

Problem setUp(const SetShape& shape, const Measured& m, const Spectra& s) {
    Problem p(shape);
    p.channels = ambisonicChannels(shape.order);
    p.taps = shape.length;
    p.unknowns = p.channels * p.taps;
    p.bins = s.bins;
    p.harmonics.resize(m.count() * p.channels);
    for (size_t d = 0; d < m.count(); ++d)
        DSP::Tool::Math::sn3dHarmonics(m.azimuth[d], m.elevation[d], &p.harmonics[d * p.channels],
                                       p.channels);
    // The inverse of the measured power makes the error relative (a dB error);
    // it is floored 30 dB below the mean power of the bin over all
    // directions, so that no shadowed ear at a notch takes the fit over.
    // Below the scored range the error counts against the level of its lowest
    // band, not against the measurement's own roll-off towards DC.
    p.weight.assign(m.count(), std::vector<double>(p.bins));
    const auto lowest = uint32_t(std::ceil(kLowestScored / (kRate / kDesignFft)));
    for (uint32_t k = 0; k < p.bins; ++k) {
        const uint32_t level = std::max(k, lowest);
        double mean = 0;
        for (size_t d = 0; d < m.count(); ++d) mean += m.weight[d] * s.smoothed[d][level];
        for (size_t d = 0; d < m.count(); ++d)
            p.weight[d][k] =
                m.weight[d] * binWeight(s.frequency[k]) / std::max(s.smoothed[d][level], kPowerFloor * mean);
    }

    // A table at another rate reaches 48 kHz through the resampler, which keeps
    // the level of each sample: the filter's gain grows by the rate ratio.
    const double resampleGain = kRate / shape.rate;
    const double* weights = AmbiBin::DualBand::maxReWeights(shape.order);
    p.path.assign(p.channels, std::vector<cplx>(p.bins));
    for (uint32_t c = 0; c < p.channels; ++c)
        for (uint32_t k = 0; k < p.bins; ++k)
            p.path[c][k] =
                resampleGain *
                (shape.dualBand ? AmbiBin::DualBand::response(weights[c], s.frequency[k], kRate) : cplx(1));
    p.basis.assign(p.taps, std::vector<cplx>(p.bins));
    for (uint32_t i = 0; i < p.taps; ++i)
        for (uint32_t k = 0; k < p.bins; ++k)
            p.basis[i][k] = std::polar(1.0, -2 * pi * s.frequency[k] * i / shape.rate);

    // Normal matrix: A[(c, i), (c', j)] = Re sum_k g_cc'(k) e^{j w_k (i - j)},
    // g_cc'(k) = conj(P_c) P_c' sum_d W(d, k) Y_c(d) Y_c'(d). Toeplitz in each
    // block, so only the 2 taps - 1 lags are summed.
    const uint32_t n = p.unknowns, lags = 2 * p.taps - 1;
    std::vector<cplx> lagBasis(size_t(lags) * p.bins);
    for (uint32_t l = 0; l < lags; ++l)
        for (uint32_t k = 0; k < p.bins; ++k)
            lagBasis[size_t(l) * p.bins + k] =
                std::polar(1.0, 2 * pi * s.frequency[k] * (double(l) - (p.taps - 1)) / shape.rate);
    std::vector<double> gram(size_t(p.bins) * p.channels * p.channels, 0.0);
    for (size_t d = 0; d < m.count(); ++d) {
        const double* y = &p.harmonics[d * p.channels];
        for (uint32_t k = 0; k < p.bins; ++k) {
            double* g = &gram[size_t(k) * p.channels * p.channels];
            const double w = p.weight[d][k];
            for (uint32_t a = 0; a < p.channels; ++a)
                for (uint32_t b = 0; b < p.channels; ++b) g[a * p.channels + b] += w * y[a] * y[b];
        }
    }
    p.normal.assign(size_t(n) * n, 0.0);
    std::vector<cplx> g(p.bins);
    for (uint32_t a = 0; a < p.channels; ++a)
        for (uint32_t b = 0; b < p.channels; ++b) {
            for (uint32_t k = 0; k < p.bins; ++k)
                g[k] = gram[(size_t(k) * p.channels + a) * p.channels + b] * std::conj(p.path[a][k]) *
                       p.path[b][k];
            std::vector<double> tau(lags);
            for (uint32_t l = 0; l < lags; ++l) {
                cplx sum = 0;
                const cplx* e = &lagBasis[size_t(l) * p.bins];
                for (uint32_t k = 0; k < p.bins; ++k) sum += g[k] * e[k];
                tau[l] = sum.real();
            }
            for (uint32_t i = 0; i < p.taps; ++i)
                for (uint32_t j = 0; j < p.taps; ++j)
                    p.normal[size_t(a * p.taps + i) * n + b * p.taps + j] = tau[i + p.taps - 1 - j];
        }
    double trace = 0;
    for (uint32_t i = 0; i < n; ++i) trace += p.normal[size_t(i) * n + i];
    for (uint32_t i = 0; i < n; ++i) p.normal[size_t(i) * n + i] += kRidge * trace / n;
    if (LAPACKE_dpotrf(LAPACK_ROW_MAJOR, 'L', int(n), p.normal.data(), int(n)) != 0)
        std::fprintf(stderr, "normal matrix of %s is not positive definite\n", shape.name);
    return p;
}

// Per bin, the unconstrained solution that gives the fit at the final length
// its starting phase: least squares below the cut-off; above it, magnitude
// least squares with the phase carried over from the bin below, advanced by
// the direction's measured delay (so that the rendering keeps a delay, and the
// interaural one, where the order can't follow the phase).
std::vector<std::vector<cplx>> perBinStart(const Problem& p, const Measured& m, const Spectra& s,
                                           const std::vector<std::vector<cplx>>& target, double advance) {
    const uint32_t nc = p.channels;
    std::vector<std::vector<cplx>> rendered(m.count(), std::vector<cplx>(p.bins));
    std::vector<double> gram(nc * nc), rhs(2 * nc);
    for (uint32_t k = 0; k < p.bins; ++k) {
        std::fill(gram.begin(), gram.end(), 0.0);
        std::fill(rhs.begin(), rhs.end(), 0.0);
        for (size_t d = 0; d < m.count(); ++d) {
            const double* y = &p.harmonics[d * nc];
            const double w = p.weight[d][k];
            cplx t = target[d][k];
            if (s.frequency[k] >= kPhaseCutoff && k > 0) {
                const double step = 2 * pi * (s.frequency[k] - s.frequency[k - 1]) / kRate;
                t = std::polar(std::abs(t), std::arg(rendered[d][k - 1]) - step * (m.onset[d] - advance));
            }
            for (uint32_t a = 0; a < nc; ++a) {
                rhs[a] += w * y[a] * t.real();
                rhs[nc + a] += w * y[a] * t.imag();
                for (uint32_t b = 0; b < nc; ++b) gram[a * nc + b] += w * y[a] * y[b];
            }
        }
        double trace = 0;
        for (uint32_t a = 0; a < nc; ++a) trace += gram[a * nc + a];
        for (uint32_t a = 0; a < nc; ++a) gram[a * nc + a] += kRidge * trace / nc;
        // Two right-hand sides, real and imaginary, stored column by column.
        LAPACKE_dposv(LAPACK_COL_MAJOR, 'L', int(nc), 2, gram.data(), int(nc), rhs.data(), int(nc));
        for (size_t d = 0; d < m.count(); ++d) {
            cplx sum = 0;
            for (uint32_t a = 0; a < nc; ++a) sum += p.harmonics[d * nc + a] * cplx(rhs[a], rhs[nc + a]);
            rendered[d][k] = sum;
        }
    }
    return rendered;
}

struct Design {
    std::vector<std::vector<double>> filters; // [channel][tap], left ear
    double advance = 0;                       // samples at 48 kHz
};

Design designFilters(const Problem& p, const Measured& m, const Spectra& s, double advance) {
    const uint32_t nc = p.channels, taps = p.taps, n = p.unknowns;
    std::vector<std::vector<cplx>> target(m.count(), std::vector<cplx>(p.bins));
    for (size_t d = 0; d < m.count(); ++d)
        for (uint32_t k = 0; k < p.bins; ++k)
            target[d][k] = s.measured[d][k] * std::polar(1.0, 2 * pi * s.frequency[k] * advance / kRate);
    // Below the scored range the measurement rolls off with its loudspeaker; a
    // head is transparent there, so the target keeps the level of the lowest
    // scored band down to DC.
    const auto lowest = uint32_t(std::ceil(kLowestScored / (kRate / kDesignFft)));
    for (size_t d = 0; d < m.count(); ++d)
        for (uint32_t k = 0; k < lowest; ++k)
            target[d][k] *= std::abs(s.measured[d][lowest]) / std::max(std::abs(s.measured[d][k]), 1e-30);
    std::vector<std::vector<cplx>> rendered = perBinStart(p, m, s, target, advance);

    std::vector<double> x(n);
    std::vector<cplx> u(size_t(nc) * p.bins);
    for (int iteration = 0; iteration < kIterations; ++iteration) {
        // Right-hand side: b_(c, i) = Re sum_k e^{j w_k i} conj(P_c) sum_d W Y_c G.
        std::fill(u.begin(), u.end(), cplx(0));
        for (size_t d = 0; d < m.count(); ++d) {
            const double* y = &p.harmonics[d * nc];
            for (uint32_t k = 0; k < p.bins; ++k) {
                const cplx t =
                    fitTarget(s, target, d, m.mirror[d], k, rendered[d][k], rendered[m.mirror[d]][k]);
                const cplx wt = p.weight[d][k] * t;
                for (uint32_t c = 0; c < nc; ++c) u[size_t(c) * p.bins + k] += y[c] * wt;
            }
        }
        for (uint32_t c = 0; c < nc; ++c)
            for (uint32_t i = 0; i < taps; ++i) {
                double sum = 0;
                for (uint32_t k = 0; k < p.bins; ++k)
                    sum += (std::conj(p.basis[i][k]) * std::conj(p.path[c][k]) * u[size_t(c) * p.bins + k])
                               .real();
                x[c * taps + i] = sum;
            }
        LAPACKE_dpotrs(LAPACK_ROW_MAJOR, 'L', int(n), 1, p.normal.data(), int(n), x.data(), 1);

        // What reaches the ear from each direction with these filters.
        std::vector<cplx> spectrum(size_t(nc) * p.bins);
        for (uint32_t c = 0; c < nc; ++c)
            for (uint32_t k = 0; k < p.bins; ++k) {
                cplx sum = 0;
                for (uint32_t i = 0; i < taps; ++i) sum += x[c * taps + i] * p.basis[i][k];
                spectrum[size_t(c) * p.bins + k] = sum * p.path[c][k];
            }
        for (size_t d = 0; d < m.count(); ++d) {
            const double* y = &p.harmonics[d * nc];
            for (uint32_t k = 0; k < p.bins; ++k) {
                cplx sum = 0;
                for (uint32_t c = 0; c < nc; ++c) sum += y[c] * spectrum[size_t(c) * p.bins + k];
                rendered[d][k] = sum;
            }
        }
    }
    Design design;
    design.advance = advance;
    design.filters.assign(nc, std::vector<double>(taps));
    for (uint32_t c = 0; c < nc; ++c)
        for (uint32_t i = 0; i < taps; ++i) design.filters[c][i] = x[c * taps + i];
    return design;
}

// ---- Evaluation through the modelled path ------------------------------------

struct Evaluation {
    AmbiBin::Fidelity::Score score;
    double mirrorLeftRight = 0; // mean LSD against the left-right mirror direction
    double mirrorUpDown = 0;    // mean LSD against the up-down mirror, where measured
    double belowLevel = 0;      // dB: energy from straight below over the mean of all measured directions
};

// Each channel's filter at 48 kHz as the decoder applies it: the table built
// into a set (trailing zeros included), resampled by the set itself, behind
// the dual-band weighting for the standard sets.
std::vector<std::vector<double>> effectiveFilters(const SetShape& shape, const Design& design) {
    const uint32_t nc = ambisonicChannels(shape.order);
    AmbiBin::HrirData<double> data;
    data.allocate(nc, shape.length, true);
    data.order = shape.order;
    data.sampleRate = shape.rate;
    for (uint32_t c = 0; c < nc; ++c)
        std::copy(design.filters[c].begin(), design.filters[c].end(), data.left[c]);
    AmbiBin::Hrir<double> set(std::move(data), shape.mode);
    set.setSampleRate(kRate);
    const uint32_t length = set.getLength() + (shape.dualBand ? 2048 : 0);
    std::vector<std::vector<double>> out(nc, std::vector<double>(length, 0.0));
    std::vector<double*> channels;
    for (uint32_t c = 0; c < nc; ++c) {
        std::copy_n(set.getLeft()[c], set.getLength(), out[c].begin());
        channels.push_back(out[c].data());
    }
    if (shape.dualBand) {
        AmbiBin::DualBand::Weighting<double> weighting;
        weighting.init(shape.order);
        weighting.process(channels.data(), length);
    }
    return out;
}

void render(const std::vector<std::vector<double>>& filters, double azimuth, double elevation,
            std::vector<double>& left, std::vector<double>& right) {
    const auto nc = uint32_t(filters.size());
    double y[16];
    DSP::Tool::Math::sn3dHarmonics(azimuth, elevation, y, nc);
    left.assign(filters[0].size(), 0.0);
    right.assign(filters[0].size(), 0.0);
    for (uint32_t c = 0; c < nc; ++c)
        for (size_t i = 0; i < left.size(); ++i) {
            left[i] += y[c] * filters[c][i];
            right[i] += mirrorSign(c) * y[c] * filters[c][i];
        }
}

Evaluation evaluate(const SetShape& shape, const Design& design, const Measured& m,
                    const std::vector<AmbiBin::Fidelity::EarFeatures>& measured) {
    const auto filters = effectiveFilters(shape, design);
    AmbiBin::Fidelity::Analyser analyser(kRate);
    std::vector<AmbiBin::Fidelity::EarFeatures> rendered;
    std::vector<double> left, right;
    double energy = 0;
    for (size_t d = 0; d < m.count(); ++d) {
        render(filters, m.azimuth[d], m.elevation[d], left, right);
        for (double v : left) energy += v * v;
        rendered.push_back(analyser.analyse(left, right));
    }
    Evaluation e;
    e.score = AmbiBin::Fidelity::compare(rendered, measured);
    size_t upDown = 0;
    for (size_t d = 0; d < m.count(); ++d) {
        const size_t lr = m.find(-m.azimuth[d], m.elevation[d]);
        e.mirrorLeftRight += AmbiBin::Fidelity::spectralDistance(rendered[d], measured[lr], e.score.gain);
        const size_t ud = m.find(m.azimuth[d], -m.elevation[d]);
        if (ud < m.count() && m.elevation[d] != 0) {
            e.mirrorUpDown += AmbiBin::Fidelity::spectralDistance(rendered[d], measured[ud], e.score.gain);
            ++upDown;
        }
    }
    e.mirrorLeftRight /= double(m.count());
    e.mirrorUpDown /= double(std::max<size_t>(upDown, 1));
    render(filters, 0, -90, left, right);
    double below = 0;
    for (double v : left) below += v * v;
    e.belowLevel = 10 * std::log10(below / (energy / double(m.count())));
    return e;
}

// ---- Output -------------------------------------------------------------------

void writeTable(FILE* out, const char* name, const std::vector<std::vector<double>>& rows, bool isFloat) {
    size_t count = 0;
    for (const auto& r : rows) count += r.size();
    std::fprintf(out, "const %s %s[%zu] = {\n", isFloat ? "float" : "double", name, count);
    size_t column = 0;
    for (const auto& r : rows)
        for (double v : r) {
            if (column == 0) std::fprintf(out, "   ");
            if (isFloat)
                std::fprintf(out, " %.9gf,", double(float(v)));
            else
                std::fprintf(out, " %.17g,", v);
            if (++column == 6) {
                std::fprintf(out, "\n");
                column = 0;
            }
        }
    if (column != 0) std::fprintf(out, "\n");
    std::fprintf(out, "};\n\n");
}

} // namespace

int main(int argc, char** argv) {
    // --only NAME designs one set and writes nothing (for trying the method).
    const char* only = argc == 5 && std::string(argv[3]) == "--only" ? argv[4] : nullptr;
    if (argc != 3 && only == nullptr) {
        std::fprintf(stderr, "usage: hrir_design SOFA_FILE OUTPUT_CPP [--only SET]\n");
        return 1;
    }
    Measured m;
    if (!loadSofa(argv[1], m)) {
        std::fprintf(stderr, "hrir_design: can't read %s\n", argv[1]);
        return 1;
    }
    std::printf("%zu directions, %u samples at %g Hz\n", m.count(), m.length, kRate);
    AmbiBin::Fidelity::Analyser analyser(kRate);
    std::vector<AmbiBin::Fidelity::EarFeatures> measured;
    for (size_t d = 0; d < m.count(); ++d) measured.push_back(analyser.analyse(m.left[d], m.right[d]));

    std::vector<Design> designs;
    std::vector<Evaluation> evaluations;
    for (const SetShape& shape : kShapes) {
        if (only != nullptr && std::string(only) != shape.name) continue;
        const Spectra s = measuredSpectra(m, std::min(shape.rate, kRate) / 2);
        const Problem p = setUp(shape, m, s);
        Design best;
        Evaluation bestEvaluation;
        for (double advance : kAdvances) {
            Design d = designFilters(p, m, s, advance);
            Evaluation e = evaluate(shape, d, m, measured);
            std::printf("%-10s advance %4.0f: LSD %.2f dB, ILD %.2f dB, ITD %.1f us\n", shape.name, advance,
                        e.score.lsd, e.score.ildError, e.score.itdError * 1e6);
            std::fflush(stdout);
            if (best.filters.empty() || e.score.lsd < bestEvaluation.score.lsd) {
                best = std::move(d);
                bestEvaluation = e;
            }
        }
        designs.push_back(std::move(best));
        evaluations.push_back(bestEvaluation);
    }
    if (only != nullptr) return 0;

    FILE* out = std::fopen(argv[2], "w");
    if (out == nullptr) {
        std::fprintf(stderr, "hrir_design: can't write %s\n", argv[2]);
        return 1;
    }
    std::fprintf(
        out,
        "// Generated by tools/hrir_design.cpp: do not edit. Regenerate with\n"
        "//   cmake --build build/release --target regenerate_hrir_tables\n"
        "// which runs, from the source directory,\n"
        "//   build/release/tools/hrir_design /usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa "
        "ambi/hrir_tables.cpp\n"
        "//\n"
        "// Designed from the MIT KEMAR measurements (normal pinna, %zu directions) that\n"
        "// Debian's libmysofa-utils ships, read at 48 kHz. Fidelity of each set at 48 kHz\n"
        "// through the modelled path, means over the measured directions (LSD: log-spectral\n"
        "// distance; LSD mirrored: against the left-right and up-down mirror directions,\n"
        "// which must score worse; below: level from straight below, unmeasured, against\n"
        "// the mean of the measured directions):\n"
        "//\n"
        "//   set        advance  LSD dB  ILD err dB  ITD err us  LSD mirrored l-r / u-d  below dB\n",
        m.count());
    for (size_t i = 0; i < designs.size(); ++i) {
        const Evaluation& e = evaluations[i];
        std::fprintf(out, "//   %-10s %7.0f  %6.2f  %10.2f  %10.1f  %11.2f / %5.2f  %8.1f\n", kShapes[i].name,
                     designs[i].advance, e.score.lsd, e.score.ildError, e.score.itdError * 1e6,
                     e.mirrorLeftRight, e.mirrorUpDown, e.belowLevel);
    }
    std::fprintf(out, "#include \"ambi/hrir_tables.h\"\n\nnamespace Tannhofen::AmbiBin {\n\n// clang-format "
                      "off\nnamespace {\n\n");
    for (size_t i = 0; i < designs.size(); ++i) {
        const SetShape& shape = kShapes[i];
        const std::string name = std::string("k") + shape.name;
        writeTable(out, (name + "Left").c_str(), designs[i].filters, shape.floatTable);
        if (shape.rightTable) {
            std::vector<std::vector<double>> mirrored = designs[i].filters;
            for (uint32_t c = 0; c < mirrored.size(); ++c)
                for (double& v : mirrored[c]) v *= mirrorSign(c);
            writeTable(out, (name + "Right").c_str(), mirrored, shape.floatTable);
        }
    }
    std::fprintf(out,
                 "} // namespace\n\nconst BuiltinHrirTable kBuiltinHrirTables[kBuiltinHrirTableCount] = {\n");
    for (const SetShape& shape : kShapes) {
        const std::string name = std::string("k") + shape.name;
        const std::string left = name + "Left";
        const std::string right = shape.rightTable ? name + "Right" : "nullptr";
        std::fprintf(out, "    {%d, %u, %u, %u, %g, %s, %s, %s},\n", shape.mode, shape.order, shape.length,
                     ambisonicChannels(shape.order), shape.rate, shape.floatTable ? "nullptr" : left.c_str(),
                     right.c_str(), shape.floatTable ? left.c_str() : "nullptr");
    }
    std::fprintf(out, "};\n// clang-format on\n\n} // namespace Tannhofen::AmbiBin\n");
    std::fclose(out);
    for (size_t i = 0; i < designs.size(); ++i)
        std::printf("%-10s LSD %.2f dB, ILD %.2f dB, ITD %.1f us, mirrored %.2f / %.2f, below %.1f dB\n",
                    kShapes[i].name, evaluations[i].score.lsd, evaluations[i].score.ildError,
                    evaluations[i].score.itdError * 1e6, evaluations[i].mirrorLeftRight,
                    evaluations[i].mirrorUpDown, evaluations[i].belowLevel);
    return 0;
}
