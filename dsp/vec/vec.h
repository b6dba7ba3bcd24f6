// The system's vector library: the few vector operations the DSP toolkit and the
// processors need, for float and double. Plain loops the compiler vectorises,
// FFTW behind the split-array transforms. Nothing else in the system calls FFTW.
//
// Conventions shared by every operation:
// - a null pointer or a length of 0 makes an operation do nothing (and a query
//   answer 0); nothing here ever crashes on such input;
// - source and destination may be the same array (in-place) unless said otherwise;
// - operations that may run on the audio thread never allocate, lock or throw.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Tannhofen::DSP::Vec {

// Result codes of the operations that can fail.
enum Status : int32_t {
    StsNoErr = 0,
    StsNullPtrErr = -8,
    StsSizeErr = -6,
    StsMemAllocErr = -9,
    StsFftOrderErr = -15,
    StsFftFlagErr = -16,
    StsSingularErr = -195,
    StsDivByZeroErr = -10,    // an IIR filter with a0 of 0
    StsSampleFactorErr = -59, // a multirate factor below 1
    StsSamplePhaseErr = -60,  // a multirate phase outside [0, factor)
};

// One-time initialisation: selects the implementation for this processor.
// Cheap and idempotent; allocation calls it behind a plain static flag.
void init();

// ---- Memory ---------------------------------------------------------------
// 64-byte aligned allocation; null on failure or for 0 bytes. Free with free().
void* mallocBytes(std::size_t bytes);
template <class T>
T* malloc(std::size_t count);
void free(void* p);

template <class T>
T* malloc(std::size_t count) {
    if (count > static_cast<std::size_t>(-1) / sizeof(T)) return nullptr;
    return static_cast<T*>(mallocBytes(count * sizeof(T)));
}

// ---- Element-wise ---------------------------------------------------------
template <class T>
void copy(const T* src, T* dst, std::size_t n); // dst = src (overlap: memmove semantics)
template <class T>
void fill(T value, T* dst, std::size_t n); // dst = value
template <class T>
void zero(T* dst, std::size_t n); // dst = 0
template <class T>
void add(const T* a, const T* b, T* dst, std::size_t n); // dst = a + b
template <class T>
void sub(const T* a, const T* b, T* dst, std::size_t n); // dst = a - b
template <class T>
void mul(const T* a, const T* b, T* dst, std::size_t n); // dst = a * b
template <class T>
void mulC(const T* src, T c, T* dst, std::size_t n); // dst = src * c
template <class T>
void addProductC(const T* src, T c, T* dst, std::size_t n); // dst += src * c
// dst = src clamped to [-limit, limit] (limit taken as its magnitude).
template <class T>
void clampMag(const T* src, T limit, T* dst, std::size_t n);
// Largest |src[i]|; 0 for an empty or null array.
template <class T>
T maxAbs(const T* src, std::size_t n);
void convert(const float* src, double* dst, std::size_t n);
void convert(const double* src, float* dst, std::size_t n);

// ---- Complex FFT on split arrays, power-of-two lengths ----------------------
// Scaling flags, as the toolkit numbers them.
enum FftFlag : int32_t {
    FftDivFwdByN = 1,
    FftDivInvByN = 2,
    FftDivBySqrtN = 4,
    FftNoDiv = 8,
};

template <class T>
struct FftSpec; // opaque; lives in the caller's spec buffer

// Sizes in bytes of the transform object (FftSpec), init and work buffers for a transform of 2^order points.
Status fftGetSize(int order, int flag, int& specSize, int& initSize, int& workSize);
// Plans the transform into specBuffer (planning happens here, off the audio
// thread, under a lock). initBuffer may be null when initSize is 0.
template <class T>
Status fftInit(FftSpec<T>** spec, int order, int flag, uint8_t* specBuffer, uint8_t* initBuffer);
// Destroys the plans held in a spec made by fftInit (the buffer itself stays the caller's).
template <class T>
void fftFree(FftSpec<T>* spec);
// Frees what FFTW's planner keeps between plans, when no plan is alive (true);
// later plans start it afresh. The module calls it when the host unloads it:
// FFTW may be unloaded with the module, and its planner with it.
bool fftReleasePlanner();
// Forward transform, unscaled for FftNoDiv and FftDivInvByN. Any alignment is accepted.
template <class T>
Status fftFwd(const T* srcRe, const T* srcIm, T* dstRe, T* dstIm, const FftSpec<T>* spec, uint8_t* work);
// Inverse transform; divides by N for FftDivInvByN.
template <class T>
Status fftInv(const T* srcRe, const T* srcIm, T* dstRe, T* dstIm, const FftSpec<T>* spec, uint8_t* work);

// ---- IIR filters ------------------------------------------------------------
// Direct form II transposed. A biquad cascade takes 6 taps per section,
// b0 b1 b2 a0 a1 a2 (a0 is normalised away), and a delay line of 2 values per
// section. A direct-form filter of order N takes 2 (N + 1) taps, b0..bN then
// a0..aN, and a delay line of N values.
template <class T>
struct IirState; // opaque; lives in the caller's buffer

Status iirGetStateSizeBiQuad(int numSections, int& bytes);
template <class T>
Status iirInitBiQuad(IirState<T>** state, const T* taps, int numSections, const T* delayLine,
                     uint8_t* buffer);
Status iirGetStateSize(int order, int& bytes);
template <class T>
Status iirInit(IirState<T>** state, const T* taps, int order, const T* delayLine, uint8_t* buffer);
// A null delay line starts the filter from silence; these take a plain nullptr.
template <class T>
Status iirInitBiQuad(IirState<T>** state, const T* taps, int numSections, std::nullptr_t, uint8_t* buffer) {
    return iirInitBiQuad(state, taps, numSections, static_cast<const T*>(nullptr), buffer);
}
template <class T>
Status iirInit(IirState<T>** state, const T* taps, int order, std::nullptr_t, uint8_t* buffer) {
    return iirInit(state, taps, order, static_cast<const T*>(nullptr), buffer);
}
// Filters len samples (in place allowed).
template <class T>
Status iir(const T* src, T* dst, int len, IirState<T>* state);
template <class T>
Status iirGetDelayLine(const IirState<T>* state, T* delayLine);
template <class T>
Status iirSetDelayLine(IirState<T>* state, const T* delayLine);

// ---- Multirate --------------------------------------------------------------
// Zero-stuffing: dst[k * factor + phase] = src[k], zeros elsewhere; dstLen = srcLen * factor.
template <class T>
Status sampleUp(const T* src, int srcLen, T* dst, int& dstLen, int factor, int& phase);
// Decimation: dst[k] = src[k * factor + phase]; dstLen = (srcLen + factor - 1 - phase) / factor.
// phase returns where the next block continues.
template <class T>
Status sampleDown(const T* src, int srcLen, T* dst, int& dstLen, int factor, int& phase);

// ---- Small matrix inversion -------------------------------------------------
// Work buffer size (elements of T) to invert an n x n matrix.
int matInvertWorkSize(int n);
// dst = inverse(src), both n x n row-major. StsSingularErr when singular.
template <class T>
Status matInvert(const T* src, T* dst, int n, T* work);

} // namespace Tannhofen::DSP::Vec
