// Complex FFT on split real and imaginary arrays, over FFTW's guru split-array
// plans. An FftSpec holds two out-of-place plans of one length: one made for
// arrays aligned to FFTW's SIMD alignment and one made with FFTW_UNALIGNED,
// chosen per call by the alignment of the arrays. The inverse runs the forward
// plan with real and imaginary parts swapped on both sides. FFTW's planner is
// not reentrant, so planning and destroying plans happen under one lock; the
// execution of a plan is reentrant and takes no lock.
#include "dsp/vec/vec.h"

#include <fftw3.h>

#include <cmath>
#include <cstdint>
#include <mutex>
#include <new>

namespace Tannhofen::DSP::Vec {

namespace {

constexpr int kMaxFftOrder = 26; // keeps every buffer size within int

std::mutex& plannerLock() {
    static std::mutex lock;
    return lock;
}

// Plans alive, of both widths; guarded by plannerLock.
int livePlans = 0;

template <class T>
struct Fftw;

template <>
struct Fftw<float> {
    using Plan = fftwf_plan;
    using IoDim = fftwf_iodim;
    static Plan plan(int n, float* ri, float* ii, float* ro, float* io, unsigned flags) {
        IoDim dim{n, 1, 1};
        return fftwf_plan_guru_split_dft(1, &dim, 0, nullptr, ri, ii, ro, io, flags);
    }
    static void execute(Plan p, float* ri, float* ii, float* ro, float* io) {
        fftwf_execute_split_dft(p, ri, ii, ro, io);
    }
    static int alignmentOf(const float* p) { return fftwf_alignment_of(const_cast<float*>(p)); }
    static void destroy(Plan p) { fftwf_destroy_plan(p); }
};

template <>
struct Fftw<double> {
    using Plan = fftw_plan;
    using IoDim = fftw_iodim;
    static Plan plan(int n, double* ri, double* ii, double* ro, double* io, unsigned flags) {
        IoDim dim{n, 1, 1};
        return fftw_plan_guru_split_dft(1, &dim, 0, nullptr, ri, ii, ro, io, flags);
    }
    static void execute(Plan p, double* ri, double* ii, double* ro, double* io) {
        fftw_execute_split_dft(p, ri, ii, ro, io);
    }
    static int alignmentOf(const double* p) { return fftw_alignment_of(const_cast<double*>(p)); }
    static void destroy(Plan p) { fftw_destroy_plan(p); }
};

bool validFlag(int flag) {
    return flag == FftDivFwdByN || flag == FftDivInvByN || flag == FftDivBySqrtN || flag == FftNoDiv;
}

template <class T>
bool overlaps(const T* a, const T* b, std::size_t n) {
    const auto x = reinterpret_cast<std::uintptr_t>(a);
    const auto y = reinterpret_cast<std::uintptr_t>(b);
    const std::uintptr_t bytes = n * sizeof(T);
    return x < y + bytes && y < x + bytes;
}

// The largest spec of both widths, with room to align it inside the caller's buffer.
constexpr int kSpecSlack = 64;

} // namespace

template <class T>
struct FftSpec {
    int order = 0;
    int length = 0;
    int flag = 0;
    T forwardScale = 1;
    T inverseScale = 1;
    typename Fftw<T>::Plan aligned = nullptr;
    typename Fftw<T>::Plan unaligned = nullptr;
};

namespace {

template <class T>
FftSpec<T>* placeSpec(uint8_t* buffer) {
    auto address = reinterpret_cast<std::uintptr_t>(buffer);
    address = (address + alignof(FftSpec<T>) - 1) / alignof(FftSpec<T>) * alignof(FftSpec<T>);
    return new (reinterpret_cast<void*>(address)) FftSpec<T>();
}

// Runs the forward transform of src into dst. Sources that overlap the
// destination are copied into work first, so that the out-of-place plans serve
// in-place calls too.
template <class T>
Status execute(const FftSpec<T>* spec, const T* srcRe, const T* srcIm, T* dstRe, T* dstIm, uint8_t* work,
               T scale) {
    const std::size_t n = static_cast<std::size_t>(spec->length);
    if (n == 1) { // FFTW's plans of one point drop the imaginary part; the transform is the identity
        const T re = srcRe[0], im = srcIm[0];
        dstRe[0] = re * scale;
        dstIm[0] = im * scale;
        return StsNoErr;
    }
    if (overlaps(srcRe, dstRe, n) || overlaps(srcRe, dstIm, n) || overlaps(srcIm, dstRe, n) ||
        overlaps(srcIm, dstIm, n)) {
        if (!work) return StsNullPtrErr;
        T* re = reinterpret_cast<T*>(work);
        T* im = re + n;
        copy(srcRe, re, n);
        copy(srcIm, im, n);
        srcRe = re;
        srcIm = im;
    }
    T* ri = const_cast<T*>(srcRe); // the plans preserve their input
    T* ii = const_cast<T*>(srcIm);
    const bool aligned = Fftw<T>::alignmentOf(ri) == 0 && Fftw<T>::alignmentOf(ii) == 0 &&
                         Fftw<T>::alignmentOf(dstRe) == 0 && Fftw<T>::alignmentOf(dstIm) == 0;
    Fftw<T>::execute(aligned ? spec->aligned : spec->unaligned, ri, ii, dstRe, dstIm);
    if (scale != T(1)) {
        mulC(dstRe, scale, dstRe, n);
        mulC(dstIm, scale, dstIm, n);
    }
    return StsNoErr;
}

} // namespace

Status fftGetSize(int order, int flag, int& specSize, int& initSize, int& workSize) {
    if (order < 0 || order > kMaxFftOrder) return StsFftOrderErr;
    if (!validFlag(flag)) return StsFftFlagErr;
    const int n = 1 << order;
    specSize = static_cast<int>(sizeof(FftSpec<double>)) + kSpecSlack;
    initSize = 0;
    // Room for a copy of both source arrays, for calls whose source overlaps
    // the destination.
    workSize = 2 * n * static_cast<int>(sizeof(double));
    return StsNoErr;
}

template <class T>
Status fftInit(FftSpec<T>** spec, int order, int flag, uint8_t* specBuffer, uint8_t* /*initBuffer*/) {
    if (!spec || !specBuffer) return StsNullPtrErr;
    if (order < 0 || order > kMaxFftOrder) return StsFftOrderErr;
    if (!validFlag(flag)) return StsFftFlagErr;
    const int n = 1 << order;

    // FFTW plans for the alignment of the arrays it is shown; aligned ones here.
    T* arrays = malloc<T>(4 * static_cast<std::size_t>(n));
    if (!arrays) return StsMemAllocErr;
    FftSpec<T>* s = placeSpec<T>(specBuffer);
    s->order = order;
    s->length = n;
    s->flag = flag;
    const T byN = T(1) / static_cast<T>(n);
    const T bySqrtN = T(1) / std::sqrt(static_cast<T>(n));
    s->forwardScale = flag == FftDivFwdByN ? byN : flag == FftDivBySqrtN ? bySqrtN : T(1);
    s->inverseScale = flag == FftDivInvByN ? byN : flag == FftDivBySqrtN ? bySqrtN : T(1);
    {
        std::lock_guard<std::mutex> guard(plannerLock());
        const unsigned flags = FFTW_ESTIMATE | FFTW_PRESERVE_INPUT;
        T* a = arrays;
        s->aligned = Fftw<T>::plan(n, a, a + n, a + 2 * n, a + 3 * n, flags);
        s->unaligned = Fftw<T>::plan(n, a, a + n, a + 2 * n, a + 3 * n, flags | FFTW_UNALIGNED);
        livePlans += (s->aligned != nullptr) + (s->unaligned != nullptr);
    }
    free(arrays);
    if (!s->aligned || !s->unaligned) {
        fftFree(s);
        return StsMemAllocErr;
    }
    *spec = s;
    return StsNoErr;
}

template <class T>
void fftFree(FftSpec<T>* spec) {
    if (!spec) return;
    std::lock_guard<std::mutex> guard(plannerLock());
    for (auto* plan : {&spec->aligned, &spec->unaligned})
        if (*plan) {
            Fftw<T>::destroy(*plan);
            --livePlans;
        }
    spec->aligned = nullptr;
    spec->unaligned = nullptr;
}

template <class T>
Status fftFwd(const T* srcRe, const T* srcIm, T* dstRe, T* dstIm, const FftSpec<T>* spec, uint8_t* work) {
    if (!srcRe || !srcIm || !dstRe || !dstIm || !spec) return StsNullPtrErr;
    if (!spec->aligned || !spec->unaligned) return StsNullPtrErr;
    return execute(spec, srcRe, srcIm, dstRe, dstIm, work, spec->forwardScale);
}

// The inverse transform is the forward one with real and imaginary parts
// exchanged on input and output: conj(F(conj(x))) = F^-1(x) * N.
template <class T>
Status fftInv(const T* srcRe, const T* srcIm, T* dstRe, T* dstIm, const FftSpec<T>* spec, uint8_t* work) {
    if (!srcRe || !srcIm || !dstRe || !dstIm || !spec) return StsNullPtrErr;
    if (!spec->aligned || !spec->unaligned) return StsNullPtrErr;
    return execute(spec, srcIm, srcRe, dstIm, dstRe, work, spec->inverseScale);
}

bool fftReleasePlanner() {
    std::lock_guard<std::mutex> guard(plannerLock());
    if (livePlans != 0) return false;
    fftwf_cleanup();
    fftw_cleanup();
    return true;
}

template Status fftInit<float>(FftSpec<float>**, int, int, uint8_t*, uint8_t*);
template Status fftInit<double>(FftSpec<double>**, int, int, uint8_t*, uint8_t*);
template void fftFree<float>(FftSpec<float>*);
template void fftFree<double>(FftSpec<double>*);
template Status fftFwd<float>(const float*, const float*, float*, float*, const FftSpec<float>*, uint8_t*);
template Status fftFwd<double>(const double*, const double*, double*, double*, const FftSpec<double>*,
                               uint8_t*);
template Status fftInv<float>(const float*, const float*, float*, float*, const FftSpec<float>*, uint8_t*);
template Status fftInv<double>(const double*, const double*, double*, double*, const FftSpec<double>*,
                               uint8_t*);

} // namespace Tannhofen::DSP::Vec
