// IIR filters in direct form II transposed: a cascade of biquads, or one
// direct-form filter of order N. The state keeps its own copy of the taps,
// divided by a0, and the delay line; both live in the caller's buffer.
#include "dsp/vec/vec.h"

#include <cstdint>
#include <limits>
#include <new>

namespace Tannhofen::DSP::Vec {

template <class T>
struct IirState {
    bool biquad = false;
    int order = 0;      // sections of a biquad cascade, or the order of a direct form
    T* taps = nullptr;  // biquad: b0 b1 b2 a1 a2 per section; direct: b0..bN a1..aN
    T* delay = nullptr; // biquad: 2 per section; direct: N
    int delayLength() const { return biquad ? 2 * order : order; }
};

namespace {

constexpr int kMaxIirOrder = 1 << 20;

// Bytes for the state header, its taps and delay line, with room to align
// the header inside a buffer of any alignment. Sized for double, the wider type.
int stateBytes(int tapCount, int delayCount) {
    return static_cast<int>(sizeof(IirState<double>) + alignof(IirState<double>) +
                            sizeof(double) * static_cast<std::size_t>(tapCount + delayCount));
}

template <class T>
IirState<T>* placeState(uint8_t* buffer, bool biquad, int order, int tapCount) {
    auto address = reinterpret_cast<std::uintptr_t>(buffer);
    address = (address + alignof(IirState<T>) - 1) / alignof(IirState<T>) * alignof(IirState<T>);
    auto* state = new (reinterpret_cast<void*>(address)) IirState<T>();
    state->biquad = biquad;
    state->order = order;
    state->taps = reinterpret_cast<T*>(address + sizeof(IirState<double>));
    state->delay = state->taps + tapCount;
    return state;
}

// One biquad section over a block: y = b0 x + z1; z1 = b1 x - a1 y + z2; z2 = b2 x - a2 y.
template <class T>
void biquad(const T* src, T* dst, int len, const T* c, T* z) {
    const T b0 = c[0], b1 = c[1], b2 = c[2], a1 = c[3], a2 = c[4];
    T z1 = z[0], z2 = z[1];
    for (int i = 0; i < len; ++i) {
        const T x = src[i];
        const T y = b0 * x + z1;
        z1 = b1 * x - a1 * y + z2;
        z2 = b2 * x - a2 * y;
        dst[i] = y;
    }
    z[0] = z1;
    z[1] = z2;
}

// A cascade of S sections, sample by sample through all sections: the
// recurrences of the sections overlap in the pipeline, which runs a cascade
// well over twice as fast as section after section over the block.
template <class T, int S>
void cascade(const T* src, T* dst, int len, const T* taps, T* delay) {
    T c[S][5], z[S][2];
    for (int s = 0; s < S; ++s) {
        for (int k = 0; k < 5; ++k) c[s][k] = taps[5 * s + k];
        z[s][0] = delay[2 * s];
        z[s][1] = delay[2 * s + 1];
    }
    for (int i = 0; i < len; ++i) {
        T v = src[i];
        for (int s = 0; s < S; ++s) {
            const T y = c[s][0] * v + z[s][0];
            z[s][0] = c[s][1] * v - c[s][3] * y + z[s][1];
            z[s][1] = c[s][2] * v - c[s][4] * y;
            v = y;
        }
        dst[i] = v;
    }
    for (int s = 0; s < S; ++s) {
        delay[2 * s] = z[s][0];
        delay[2 * s + 1] = z[s][1];
    }
}

// Runs sections [0, count) in groups of at most 4.
template <class T>
void cascadeAll(const T* src, T* dst, int len, const T* taps, T* delay, int count) {
    for (int s = 0; s < count;) {
        const T* in = s == 0 ? src : dst;
        const int group = count - s >= 4 ? 4 : count - s;
        switch (group) {
        case 4: cascade<T, 4>(in, dst, len, taps + 5 * s, delay + 2 * s); break;
        case 3: cascade<T, 3>(in, dst, len, taps + 5 * s, delay + 2 * s); break;
        case 2: cascade<T, 2>(in, dst, len, taps + 5 * s, delay + 2 * s); break;
        default: biquad(in, dst, len, taps + 5 * s, delay + 2 * s); break;
        }
        s += group;
    }
}

// Direct form of order N: y = b0 x + d0; d[k] = d[k + 1] + b[k + 1] x - a[k + 1] y; d[N - 1] = bN x - aN y.
template <class T>
void directForm(const T* src, T* dst, int len, const T* b, const T* a, T* d, int order) {
    for (int i = 0; i < len; ++i) {
        const T x = src[i];
        const T y = b[0] * x + (order > 0 ? d[0] : T(0));
        for (int k = 0; k + 1 < order; ++k) d[k] = d[k + 1] + b[k + 1] * x - a[k] * y;
        if (order > 0) d[order - 1] = b[order] * x - a[order - 1] * y;
        dst[i] = y;
    }
}

template <class T>
void setDelay(IirState<T>* state, const T* delayLine) {
    const int n = state->delayLength();
    if (delayLine)
        copy(delayLine, state->delay, static_cast<std::size_t>(n));
    else
        zero(state->delay, static_cast<std::size_t>(n));
}

} // namespace

Status iirGetStateSizeBiQuad(int numSections, int& bytes) {
    if (numSections < 1 || numSections > kMaxIirOrder) return StsSizeErr;
    bytes = stateBytes(5 * numSections, 2 * numSections);
    return StsNoErr;
}

Status iirGetStateSize(int order, int& bytes) {
    if (order < 1 || order > kMaxIirOrder) return StsSizeErr;
    bytes = stateBytes(2 * order + 1, order);
    return StsNoErr;
}

// A null delayLine starts the filter from silence.
template <class T>
Status iirInitBiQuad(IirState<T>** state, const T* taps, int numSections, const T* delayLine,
                     uint8_t* buffer) {
    if (!state || !taps || !buffer) return StsNullPtrErr;
    if (numSections < 1 || numSections > kMaxIirOrder) return StsSizeErr;
    for (int s = 0; s < numSections; ++s)
        if (taps[6 * s + 3] == T(0)) return StsDivByZeroErr;
    IirState<T>* st = placeState<T>(buffer, true, numSections, 5 * numSections);
    for (int s = 0; s < numSections; ++s) {
        const T* t = taps + 6 * s;
        T* c = st->taps + 5 * s;
        const T a0 = t[3];
        c[0] = t[0] / a0;
        c[1] = t[1] / a0;
        c[2] = t[2] / a0;
        c[3] = t[4] / a0;
        c[4] = t[5] / a0;
    }
    setDelay(st, delayLine);
    *state = st;
    return StsNoErr;
}

template <class T>
Status iirInit(IirState<T>** state, const T* taps, int order, const T* delayLine, uint8_t* buffer) {
    if (!state || !taps || !buffer) return StsNullPtrErr;
    if (order < 1 || order > kMaxIirOrder) return StsSizeErr;
    const T a0 = taps[order + 1];
    if (a0 == T(0)) return StsDivByZeroErr;
    IirState<T>* st = placeState<T>(buffer, false, order, 2 * order + 1);
    for (int k = 0; k <= order; ++k) st->taps[k] = taps[k] / a0;
    for (int k = 1; k <= order; ++k) st->taps[order + k] = taps[order + 1 + k] / a0;
    setDelay(st, delayLine);
    *state = st;
    return StsNoErr;
}

template <class T>
Status iir(const T* src, T* dst, int len, IirState<T>* state) {
    if (!src || !dst || !state) return StsNullPtrErr;
    if (len < 0) return StsSizeErr;
    if (len == 0) return StsNoErr;
    if (state->biquad) {
        cascadeAll(src, dst, len, state->taps, state->delay, state->order);
    } else if (state->order == 2) {
        biquad(src, dst, len, state->taps, state->delay); // b0 b1 b2 a1 a2, as one section
    } else {
        const int n = state->order;
        directForm(src, dst, len, state->taps, state->taps + n + 1, state->delay, n);
    }
    return StsNoErr;
}

template <class T>
Status iirGetDelayLine(const IirState<T>* state, T* delayLine) {
    if (!state || !delayLine) return StsNullPtrErr;
    copy(state->delay, delayLine, static_cast<std::size_t>(state->delayLength()));
    return StsNoErr;
}

template <class T>
Status iirSetDelayLine(IirState<T>* state, const T* delayLine) {
    if (!state || !delayLine) return StsNullPtrErr;
    setDelay(state, delayLine);
    return StsNoErr;
}

#define PLX_VEC_IIR_INSTANTIATE(T)                                                      \
    template Status iirInitBiQuad<T>(IirState<T>**, const T*, int, const T*, uint8_t*); \
    template Status iirInit<T>(IirState<T>**, const T*, int, const T*, uint8_t*);       \
    template Status iir<T>(const T*, T*, int, IirState<T>*);                            \
    template Status iirGetDelayLine<T>(const IirState<T>*, T*);                         \
    template Status iirSetDelayLine<T>(IirState<T>*, const T*);

PLX_VEC_IIR_INSTANTIATE(float)
PLX_VEC_IIR_INSTANTIATE(double)
#undef PLX_VEC_IIR_INSTANTIATE

} // namespace Tannhofen::DSP::Vec
