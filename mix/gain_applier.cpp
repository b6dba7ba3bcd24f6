#include "mix/gain_applier.h"

#include <algorithm>
#include <cblas.h>
#include <cmath>

#include "dsp/vec/vec.h"
#include "mix/tolerance.h"

namespace Tannhofen::Mix {

namespace {

// Up to this many outputs a settled matrix is applied by sums over the inputs
// rather than by a product over gathered inputs. Measured: at 2 outputs the
// sums take three quarters of the product's time, at 12 they are even.
constexpr int32_t kSummedOutputs = 6;

// out (outs x len, row stride ld) = gains^T (outs x ins) * in (ins x len).
void blockProduct(int32_t ins, int32_t outs, const float* gains, const float* in, float* out, int32_t len,
                  int32_t ld) {
    cblas_sgemm(CblasRowMajor, CblasTrans, CblasNoTrans, outs, len, ins, 1.0f, gains, outs, in, ld, 0.0f, out,
                ld);
}
void blockProduct(int32_t ins, int32_t outs, const double* gains, const double* in, double* out, int32_t len,
                  int32_t ld) {
    cblas_dgemm(CblasRowMajor, CblasTrans, CblasNoTrans, outs, len, ins, 1.0, gains, outs, in, ld, 0.0, out,
                ld);
}

// The elements of `m` as T: the float data itself, or converted into `converted`.
template <class T>
const T* elementsAs(const MixMatrix& m, std::vector<T>& converted) {
    if constexpr (std::is_same_v<T, float>) {
        (void)converted;
        return m.data.data();
    } else {
        DSP::Vec::convert(m.data.data(), converted.data(), m.data.size());
        return converted.data();
    }
}

} // namespace

GainApplier::~GainApplier() {
    release();
}

template <class T>
void BlockScratch<T>::release() {
    DSP::Vec::free(in);
    DSP::Vec::free(out);
    DSP::Vec::free(ramp);
    in = out = ramp = nullptr;
    inSize = outSize = 0;
    gains = {};
    steps = {};
}

void GainApplier::allocate(int32_t ins, int32_t outs) {
    current.allocate(ins, outs);
    diff.allocate(ins, outs);
    step.allocate(ins, outs);
}

template <class T>
bool GainApplier::sizeScratch(int32_t maxBlock) {
    BlockScratch<T>& s = scratchOf<T>();
    const auto ins = static_cast<size_t>(current.rows);
    const auto outs = static_cast<size_t>(current.cols);
    if constexpr (!std::is_same_v<T, float>) {
        s.gains.assign(ins * outs, T(0));
        s.steps.assign(ins * outs, T(0));
    }
    const size_t block = static_cast<size_t>(std::max(maxBlock, 1));
    const size_t wantIn = ins * block;
    const size_t wantOut = outs * block;
    if (s.in && wantIn <= s.inSize && wantOut <= s.outSize) return true;
    DSP::Vec::free(s.in);
    DSP::Vec::free(s.out);
    DSP::Vec::free(s.ramp);
    s.in = DSP::Vec::malloc<T>(std::max<size_t>(wantIn, 1));
    s.out = DSP::Vec::malloc<T>(std::max<size_t>(wantOut, 1));
    s.ramp = DSP::Vec::malloc<T>(std::max<size_t>(wantOut, 1));
    const bool ok = s.in && s.out && s.ramp;
    if (!ok) {
        s.release();
        return false;
    }
    s.inSize = wantIn;
    s.outSize = wantOut;
    return true;
}

void GainApplier::release() {
    current.release();
    diff.release();
    step.release();
    std::get<BlockScratch<float>>(scratch).release();
    std::get<BlockScratch<double>>(scratch).release();
}

bool GainApplier::jumpTo(const MixMatrix& target) {
    if (!target.allocated || !current.allocated || target.data.size() != current.data.size()) return false;
    std::copy(target.data.begin(), target.data.end(), current.data.begin());
    return true;
}

int32_t GainApplier::startRamp(const MixMatrix& target, float invSliceLength, float maxStep, int32_t limit) {
    const size_t count = current.data.size();
    DSP::Vec::sub(target.data.data(), current.data.data(), diff.data.data(), count);
    DSP::Vec::mulC(diff.data.data(), invSliceLength, step.data.data(), count);
    DSP::Vec::clampMag(step.data.data(), maxStep, step.data.data(), count);

    // After k steps element e is off its target by diff[e] - k * step[e],
    // which lies within the gain tolerance on one interval of k. The ramp ends
    // at the first k inside the intervals of all elements.
    double lo = 0.0;
    double hi = limit;
    for (size_t e = 0; e < count; ++e) {
        const double d = diff.data[e];
        const double s = step.data[e];
        if (s == 0.0) {
            if (std::fabs(d) > kGainTolerance) return limit;
            continue;
        }
        double a = (d - kGainTolerance) / s;
        double b = (d + kGainTolerance) / s;
        if (a > b) std::swap(a, b);
        lo = std::max(lo, a);
        hi = std::min(hi, b);
        if (lo > hi) return limit;
    }
    const double first = std::ceil(lo);
    return first > hi ? limit : static_cast<int32_t>(first);
}

template <class T>
void GainApplier::mixRamp(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len) {
    product(ins, outs, in, out, t, len, true);
    DSP::Vec::addProductC(step.data.data(), static_cast<float>(len), current.data.data(),
                          current.data.size());
}

template <class T>
void GainApplier::mix(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len) {
    product(ins, outs, in, out, t, len, false);
}

template <class T>
void GainApplier::product(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len, bool ramp) {
    if (outs == 0 || len <= 0) return;
    const auto n = static_cast<size_t>(len);
    if (ins == 0) {
        for (int32_t o = 0; o < outs; ++o) DSP::Vec::zero(out[o] + t, n);
        return;
    }
    BlockScratch<T>& s = scratchOf<T>();
    const T* gains = elementsAs(current, s.gains);
    const T* steps = ramp ? elementsAs(step, s.steps) : nullptr;
    // All inputs are read before any output is written, so outputs may share
    // memory with inputs.
    if (!ramp && ins > 2 && outs <= kSummedOutputs) {
        // Few outputs: each is summed from the inputs where they lie, which
        // costs less than gathering them for a product of few rows.
        for (int32_t o = 0; o < outs; ++o) {
            T* y = s.out + static_cast<size_t>(o) * n;
            DSP::Vec::mulC(in[0] + t, gains[o], y, n);
            for (int32_t i = 1; i < ins; ++i)
                DSP::Vec::addProductC(in[i] + t, gains[static_cast<size_t>(i) * outs + o], y, n);
        }
        for (int32_t o = 0; o < outs; ++o) DSP::Vec::copy(s.out + static_cast<size_t>(o) * n, out[o] + t, n);
        return;
    }
    for (int32_t i = 0; i < ins; ++i) DSP::Vec::copy(in[i] + t, s.in + static_cast<size_t>(i) * n, n);

    // Sample j of a ramp has the gains g + (j + 1) * step.
    if (ins <= 2) {
        const T* x0 = s.in;
        const T* x1 = s.in + n;
        for (int32_t o = 0; o < outs; ++o) {
            T* y = out[o] + t;
            const T g0 = gains[o];
            const T g1 = ins == 2 ? gains[outs + o] : T(0);
            if (!ramp) {
                if (ins == 1)
                    DSP::Vec::mulC(x0, g0, y, n);
                else
                    for (size_t j = 0; j < n; ++j) y[j] = x0[j] * g0 + x1[j] * g1;
                continue;
            }
            const T s0 = steps[o];
            const T s1 = ins == 2 ? steps[outs + o] : T(0);
            if (ins == 1)
                for (size_t j = 0; j < n; ++j) y[j] = x0[j] * (g0 + T(j + 1) * s0);
            else
                for (size_t j = 0; j < n; ++j)
                    y[j] = x0[j] * (g0 + T(j + 1) * s0) + x1[j] * (g1 + T(j + 1) * s1);
        }
        return;
    }
    blockProduct(ins, outs, gains, s.in, s.out, len, len);
    if (ramp) {
        blockProduct(ins, outs, steps, s.in, s.ramp, len, len);
        for (int32_t o = 0; o < outs; ++o) {
            T* y = s.out + static_cast<size_t>(o) * n;
            const T* r = s.ramp + static_cast<size_t>(o) * n;
            for (size_t j = 0; j < n; ++j) y[j] += T(j + 1) * r[j];
        }
    }
    for (int32_t o = 0; o < outs; ++o) DSP::Vec::copy(s.out + static_cast<size_t>(o) * n, out[o] + t, n);
}

template <class T>
bool GainApplier::routingCopy(const std::vector<int32_t>& routing, int32_t ins, int32_t outs, T** in, T** out,
                              int32_t t, int32_t len) {
    if (outs == 0) return true;
    const int32_t routed = std::min<int32_t>(outs, static_cast<int32_t>(routing.size()));
    // An output that shares memory with an input that a later output copies
    // would destroy it; such a routing goes through the block product instead.
    for (int32_t o = 0; o < routed; ++o) {
        const int32_t src = routing[static_cast<size_t>(o)];
        for (int32_t p = o + 1; p < routed; ++p) {
            const int32_t later = routing[static_cast<size_t>(p)];
            if (later >= 0 && later < ins && later != src && in[later] == out[o]) return false;
        }
    }
    const auto n = static_cast<size_t>(len);
    for (int32_t o = 0; o < routed; ++o) {
        const int32_t src = routing[static_cast<size_t>(o)];
        if (src >= 0 && src < ins && in[src] != out[o]) DSP::Vec::copy(in[src] + t, out[o] + t, n);
    }
    for (int32_t o = 0; o < outs; ++o) {
        const int32_t src = o < routed ? routing[static_cast<size_t>(o)] : -1;
        if (src < 0 || src >= ins) DSP::Vec::zero(out[o] + t, n);
    }
    return true;
}

template <class T>
void GainApplier::passThroughCopy(int32_t ins, int32_t outs, T** in, T** out, int32_t t, int32_t len) {
    const auto n = static_cast<size_t>(len);
    for (int32_t o = 0; o < outs; ++o) {
        if (o < ins) {
            if (in[o] != out[o]) DSP::Vec::copy(in[o] + t, out[o] + t, n);
        } else {
            DSP::Vec::zero(out[o] + t, n);
        }
    }
}

// The two sample sizes that the processor takes.
#define PLX_GAIN_APPLIER_FOR(T)                                                                        \
    template bool GainApplier::sizeScratch<T>(int32_t);                                                \
    template void GainApplier::mixRamp<T>(int32_t, int32_t, T**, T**, int32_t, int32_t);               \
    template void GainApplier::mix<T>(int32_t, int32_t, T**, T**, int32_t, int32_t);                   \
    template bool GainApplier::routingCopy<T>(const std::vector<int32_t>&, int32_t, int32_t, T**, T**, \
                                              int32_t, int32_t);                                       \
    template void GainApplier::passThroughCopy<T>(int32_t, int32_t, T**, T**, int32_t, int32_t);
template struct BlockScratch<float>;
template struct BlockScratch<double>;
PLX_GAIN_APPLIER_FOR(float)
PLX_GAIN_APPLIER_FOR(double)
#undef PLX_GAIN_APPLIER_FOR

} // namespace Tannhofen::Mix
