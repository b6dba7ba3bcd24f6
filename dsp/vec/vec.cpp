// Memory, element-wise operations, conversion, multirate and small matrix
// inversion of the vector library. The loops are written so that the compiler
// vectorises them; the benchmark bench_vec holds them against plain loops.
#include "dsp/vec/vec.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Tannhofen::DSP::Vec {

namespace {

constexpr std::size_t kAlignment = 64;

// Set once by init(); read by the allocator so that the first allocation of
// the process initialises the library.
bool initialised = false;

} // namespace

void init() {
    if (initialised) return;
    // Nothing here depends on the processor beyond what the compiler chose for
    // the loops; the flag keeps the call cheap for every allocation after the first.
    initialised = true;
}

void* mallocBytes(std::size_t bytes) {
    if (!initialised) init();
    if (bytes == 0 || bytes > std::numeric_limits<std::size_t>::max() - kAlignment) return nullptr;
    const std::size_t rounded = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    return std::aligned_alloc(kAlignment, rounded);
}

void free(void* p) {
    std::free(p);
}

// ---- Element-wise -------------------------------------------------------------

template <class T>
void copy(const T* src, T* dst, std::size_t n) {
    if (!src || !dst || n == 0 || src == dst) return;
    std::memmove(dst, src, n * sizeof(T));
}

template <class T>
void fill(T value, T* dst, std::size_t n) {
    if (!dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = value;
}

template <class T>
void zero(T* dst, std::size_t n) {
    if (!dst || n == 0) return;
    std::memset(static_cast<void*>(dst), 0, n * sizeof(T));
}

template <class T>
void add(const T* a, const T* b, T* dst, std::size_t n) {
    if (!a || !b || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] + b[i];
}

template <class T>
void sub(const T* a, const T* b, T* dst, std::size_t n) {
    if (!a || !b || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] - b[i];
}

template <class T>
void mul(const T* a, const T* b, T* dst, std::size_t n) {
    if (!a || !b || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] * b[i];
}

template <class T>
void mulC(const T* src, T c, T* dst, std::size_t n) {
    if (!src || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = src[i] * c;
}

template <class T>
void addProductC(const T* src, T c, T* dst, std::size_t n) {
    if (!src || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] += src[i] * c;
}

template <class T>
void clampMag(const T* src, T limit, T* dst, std::size_t n) {
    if (!src || !dst) return;
    const T hi = std::fabs(limit);
    const T lo = -hi;
    for (std::size_t i = 0; i < n; ++i) dst[i] = std::min(std::max(src[i], lo), hi);
}

template <class T>
T maxAbs(const T* src, std::size_t n) {
    if (!src) return T(0);
    // Independent running maxima, one per lane, so that the compiler can keep
    // them in vector registers; a single running maximum would not vectorise.
    constexpr std::size_t lanes = 16;
    T lane[lanes] = {};
    std::size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        for (std::size_t j = 0; j < lanes; ++j) {
            const T a = std::fabs(src[i + j]);
            lane[j] = a > lane[j] ? a : lane[j];
        }
    }
    T m = 0;
    for (std::size_t j = 0; j < lanes; ++j) m = lane[j] > m ? lane[j] : m;
    for (; i < n; ++i) {
        const T a = std::fabs(src[i]);
        m = a > m ? a : m;
    }
    return m;
}

void convert(const float* src, double* dst, std::size_t n) {
    if (!src || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = src[i];
}

void convert(const double* src, float* dst, std::size_t n) {
    if (!src || !dst) return;
    for (std::size_t i = 0; i < n; ++i) dst[i] = static_cast<float>(src[i]);
}

// ---- Multirate ------------------------------------------------------------------

namespace {

template <class T>
Status checkMultirate(const T* src, int srcLen, const T* dst, int factor, int phase) {
    if (!src || !dst) return StsNullPtrErr;
    if (srcLen < 0) return StsSizeErr;
    if (factor < 1) return StsSampleFactorErr;
    if (phase < 0 || phase >= factor) return StsSamplePhaseErr;
    return StsNoErr;
}

} // namespace

template <class T>
Status sampleUp(const T* src, int srcLen, T* dst, int& dstLen, int factor, int& phase) {
    if (const Status status = checkMultirate(src, srcLen, dst, factor, phase); status != StsNoErr)
        return status;
    if (srcLen > std::numeric_limits<int>::max() / factor) return StsSizeErr;
    const std::size_t len = static_cast<std::size_t>(srcLen) * static_cast<std::size_t>(factor);
    zero(dst, len);
    for (int k = 0; k < srcLen; ++k) dst[static_cast<std::size_t>(k) * factor + phase] = src[k];
    dstLen = static_cast<int>(len);
    return StsNoErr; // every input sample yields factor outputs: the phase stays
}

template <class T>
Status sampleDown(const T* src, int srcLen, T* dst, int& dstLen, int factor, int& phase) {
    if (const Status status = checkMultirate(src, srcLen, dst, factor, phase); status != StsNoErr)
        return status;
    const int count = static_cast<int>((static_cast<int64_t>(srcLen) + factor - 1 - phase) / factor);
    for (int k = 0; k < count; ++k) dst[k] = src[static_cast<std::size_t>(k) * factor + phase];
    dstLen = count;
    // The next sample to take lies count * factor + phase samples after this
    // block's start, that is this far into the next block.
    phase = static_cast<int>(static_cast<int64_t>(count) * factor + phase - srcLen);
    return StsNoErr;
}

// ---- Small matrix inversion ---------------------------------------------------------

int matInvertWorkSize(int n) {
    return n > 0 ? n * n : 0;
}

// Gauss-Jordan elimination with partial pivoting: the source is copied into
// work, reduced to the identity, and the same row operations turn dst (the
// identity at the start) into the inverse.
template <class T>
Status matInvert(const T* src, T* dst, int n, T* work) {
    if (!src || !dst || !work) return StsNullPtrErr;
    if (n < 0) return StsSizeErr;
    if (n == 0) return StsNoErr;
    const std::size_t size = static_cast<std::size_t>(n);
    T* a = work;
    copy(src, a, size * size);

    T largest = maxAbs(a, size * size);
    if (!(largest > T(0)) || !std::isfinite(largest)) return StsSingularErr;
    const T threshold = largest * std::numeric_limits<T>::epsilon() * static_cast<T>(n);

    // dst may be src: it is written only after src was copied.
    zero(dst, size * size);
    for (std::size_t i = 0; i < size; ++i) dst[i * size + i] = T(1);

    for (std::size_t col = 0; col < size; ++col) {
        std::size_t pivot = col;
        for (std::size_t r = col + 1; r < size; ++r)
            if (std::fabs(a[r * size + col]) > std::fabs(a[pivot * size + col])) pivot = r;
        if (!(std::fabs(a[pivot * size + col]) > threshold)) return StsSingularErr;
        if (pivot != col) {
            std::swap_ranges(a + pivot * size, a + pivot * size + size, a + col * size);
            std::swap_ranges(dst + pivot * size, dst + pivot * size + size, dst + col * size);
        }
        const T inv = T(1) / a[col * size + col];
        mulC(a + col * size, inv, a + col * size, size);
        mulC(dst + col * size, inv, dst + col * size, size);
        for (std::size_t r = 0; r < size; ++r) {
            if (r == col) continue;
            const T f = a[r * size + col];
            if (f == T(0)) continue;
            addProductC(a + col * size, -f, a + r * size, size);
            addProductC(dst + col * size, -f, dst + r * size, size);
        }
    }
    return StsNoErr;
}

// ---- Instantiations -------------------------------------------------------------------

#define PLX_VEC_INSTANTIATE(T)                                         \
    template void copy<T>(const T*, T*, std::size_t);                  \
    template void fill<T>(T, T*, std::size_t);                         \
    template void zero<T>(T*, std::size_t);                            \
    template void add<T>(const T*, const T*, T*, std::size_t);         \
    template void sub<T>(const T*, const T*, T*, std::size_t);         \
    template void mul<T>(const T*, const T*, T*, std::size_t);         \
    template void mulC<T>(const T*, T, T*, std::size_t);               \
    template void addProductC<T>(const T*, T, T*, std::size_t);        \
    template void clampMag<T>(const T*, T, T*, std::size_t);           \
    template T maxAbs<T>(const T*, std::size_t);                       \
    template Status sampleUp<T>(const T*, int, T*, int&, int, int&);   \
    template Status sampleDown<T>(const T*, int, T*, int&, int, int&); \
    template Status matInvert<T>(const T*, T*, int, T*);

PLX_VEC_INSTANTIATE(float)
PLX_VEC_INSTANTIATE(double)
#undef PLX_VEC_INSTANTIATE

// Plain data of other kinds moves through the same copy, fill and zero.
template void copy<int32_t>(const int32_t*, int32_t*, std::size_t);
template void fill<int32_t>(int32_t, int32_t*, std::size_t);
template void zero<int32_t>(int32_t*, std::size_t);
template void copy<uint8_t>(const uint8_t*, uint8_t*, std::size_t);
template void fill<uint8_t>(uint8_t, uint8_t*, std::size_t);
template void zero<uint8_t>(uint8_t*, std::size_t);
template void copy<std::complex<float>>(const std::complex<float>*, std::complex<float>*, std::size_t);
template void zero<std::complex<float>>(std::complex<float>*, std::size_t);
template void copy<std::complex<double>>(const std::complex<double>*, std::complex<double>*, std::size_t);
template void zero<std::complex<double>>(std::complex<double>*, std::size_t);

} // namespace Tannhofen::DSP::Vec
