// The vector library beside its references, in one run: the split-array FFT
// against FFTW's own interleaved in-place plan of the same length, every
// element-wise operation against the plain loop it replaces, the IIR cascade
// against the difference equation written out, and a 16 x 16 by 16 x 512
// product through BLAS against a naive loop. Compare each pair's times.
#include "dsp/vec/vec.h"
#include "dsp/data/linear_algebra.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

namespace Vec = Tannhofen::DSP::Vec;
namespace Data = Tannhofen::DSP::Data;

namespace {

constexpr std::size_t kBlock = 1024;

template <class T>
struct Buffer {
    explicit Buffer(std::size_t n, unsigned seed = 1) : n(n), p(Vec::malloc<T>(n)) {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<double> dist(-1, 1);
        for (std::size_t i = 0; i < n; ++i) p[i] = T(dist(rng));
    }
    ~Buffer() { Vec::free(p); }
    std::size_t n;
    T* p;
};

// ---- FFT ----------------------------------------------------------------------

template <class T>
void fftSplit(benchmark::State& state) {
    const int order = int(state.range(0));
    const std::size_t n = std::size_t(1) << order;
    int specSize = 0, initSize = 0, workSize = 0;
    Vec::fftGetSize(order, Vec::FftNoDiv, specSize, initSize, workSize);
    Buffer<uint8_t> spec(specSize), work(workSize);
    Vec::FftSpec<T>* fft = nullptr;
    Vec::fftInit(&fft, order, Vec::FftNoDiv, spec.p, nullptr);
    Buffer<T> re(n, 1), im(n, 2), outRe(n), outIm(n);
    for (auto _ : state) {
        Vec::fftFwd(re.p, im.p, outRe.p, outIm.p, fft, work.p);
        benchmark::DoNotOptimize(outRe.p);
        benchmark::ClobberMemory();
    }
    Vec::fftFree(fft);
    state.SetLabel("ours, split arrays");
}

template <class T>
struct FftwInterleaved;
template <>
struct FftwInterleaved<float> {
    static void run(benchmark::State& state, unsigned flags) {
        const int n = 1 << state.range(0);
        auto* data = fftwf_alloc_complex(n);
        fftwf_plan plan = fftwf_plan_dft_1d(n, data, data, FFTW_FORWARD, flags);
        for (int i = 0; i < n; ++i) data[i][0] = data[i][1] = float(i % 7) / 7;
        for (auto _ : state) {
            fftwf_execute(plan);
            benchmark::ClobberMemory();
        }
        fftwf_destroy_plan(plan);
        fftwf_free(data);
    }
};
template <>
struct FftwInterleaved<double> {
    static void run(benchmark::State& state, unsigned flags) {
        const int n = 1 << state.range(0);
        auto* data = fftw_alloc_complex(n);
        fftw_plan plan = fftw_plan_dft_1d(n, data, data, FFTW_FORWARD, flags);
        for (int i = 0; i < n; ++i) data[i][0] = data[i][1] = double(i % 7) / 7;
        for (auto _ : state) {
            fftw_execute(plan);
            benchmark::ClobberMemory();
        }
        fftw_destroy_plan(plan);
        fftw_free(data);
    }
};

// The same planner effort as ours, and FFTW's measured best for comparison.
template <class T>
void fftwInterleavedEstimate(benchmark::State& state) {
    FftwInterleaved<T>::run(state, FFTW_ESTIMATE);
    state.SetLabel("FFTW interleaved in-place, estimated plan");
}
template <class T>
void fftwInterleavedMeasure(benchmark::State& state) {
    FftwInterleaved<T>::run(state, FFTW_MEASURE);
    state.SetLabel("FFTW interleaved in-place, measured plan");
}

#define PLX_FFT_PAIR(T)                                               \
    BENCHMARK_TEMPLATE(fftSplit, T)->Arg(10)->Arg(11);                \
    BENCHMARK_TEMPLATE(fftwInterleavedEstimate, T)->Arg(10)->Arg(11); \
    BENCHMARK_TEMPLATE(fftwInterleavedMeasure, T)->Arg(10)->Arg(11);
PLX_FFT_PAIR(float)
PLX_FFT_PAIR(double)

// ---- Element-wise: each operation, then its plain loop --------------------------------

template <class T, class Op>
void run(benchmark::State& state, Op op) {
    // The same three operands for every benchmark of one type, 1 KiB apart
    // modulo 4 KiB: the speed of these loops swings by up to 2x with where the
    // allocator puts the arrays, so both sides of a pair must see the same ones.
    constexpr std::size_t pad = 1024 / sizeof(T);
    static Buffer<T> operands(3 * (kBlock + pad));
    T* a = operands.p;
    T* b = a + kBlock + pad;
    T* d = b + kBlock + pad;
    for (auto _ : state) {
        op(a, b, d, kBlock);
        benchmark::DoNotOptimize(d);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kBlock * sizeof(T)));
}

#define PLX_OP_PAIR(name, ours, loop)                                                                   \
    template <class T>                                                                                  \
    void name##_vec(benchmark::State& state) {                                                          \
        run<T>(state, []([[maybe_unused]] T* a, [[maybe_unused]] T* b, T* d, std::size_t n) { ours; }); \
    }                                                                                                   \
    template <class T>                                                                                  \
    void name##_loop(benchmark::State& state) {                                                         \
        run<T>(state, [](T* a, T* b, T* d, std::size_t n) {                                             \
            (void)a, (void)b;                                                                           \
            for (std::size_t i = 0; i < n; ++i) {                                                       \
                loop;                                                                                   \
            }                                                                                           \
        });                                                                                             \
    }                                                                                                   \
    BENCHMARK_TEMPLATE(name##_vec, float);                                                              \
    BENCHMARK_TEMPLATE(name##_loop, float);                                                             \
    BENCHMARK_TEMPLATE(name##_vec, double);                                                             \
    BENCHMARK_TEMPLATE(name##_loop, double);

PLX_OP_PAIR(copy, Vec::copy(a, d, n), d[i] = a[i])
PLX_OP_PAIR(fill, Vec::fill(T(0.5), d, n), d[i] = T(0.5))
PLX_OP_PAIR(zero, Vec::zero(d, n), d[i] = T(0))
PLX_OP_PAIR(add, Vec::add(a, b, d, n), d[i] = a[i] + b[i])
PLX_OP_PAIR(sub, Vec::sub(a, b, d, n), d[i] = a[i] - b[i])
PLX_OP_PAIR(mul, Vec::mul(a, b, d, n), d[i] = a[i] * b[i])
PLX_OP_PAIR(mulC, Vec::mulC(a, T(0.7), d, n), d[i] = a[i] * T(0.7))
PLX_OP_PAIR(addProductC, Vec::addProductC(a, T(1e-3), d, n), d[i] += a[i] * T(1e-3))
PLX_OP_PAIR(clampMag, Vec::clampMag(a, T(0.5), d, n),
            d[i] = a[i] > T(0.5)    ? T(0.5)
                   : a[i] < T(-0.5) ? T(-0.5)
                                    : a[i])
PLX_OP_PAIR(maxAbs, d[0] = Vec::maxAbs(a, n), d[0] = std::max(d[0], std::fabs(a[i])))

void convert_vec(benchmark::State& state) {
    run<float>(state, [](float* a, float*, float*, std::size_t n) {
        static std::vector<double> out(kBlock);
        Vec::convert(a, out.data(), n);
        benchmark::DoNotOptimize(out.data());
    });
}
void convert_loop(benchmark::State& state) {
    run<float>(state, [](float* a, float*, float*, std::size_t n) {
        static std::vector<double> out(kBlock);
        for (std::size_t i = 0; i < n; ++i) out[i] = a[i];
        benchmark::DoNotOptimize(out.data());
    });
}
BENCHMARK(convert_vec);
BENCHMARK(convert_loop);

// ---- IIR: an 8-section cascade, and the same equations written out -----------------------------

template <class T>
std::vector<T> sections() {
    std::vector<T> taps;
    for (int s = 0; s < 8; ++s) {
        const double r = 0.6 + 0.04 * s, w = 0.2 + 0.3 * s;
        const T t[6] = {T(0.2), T(0.1), T(0.2), T(1), T(-2 * r * std::cos(w)), T(r * r)};
        taps.insert(taps.end(), t, t + 6);
    }
    return taps;
}

template <class T>
void iir_vec(benchmark::State& state) {
    const auto taps = sections<T>();
    int bytes = 0;
    Vec::iirGetStateSizeBiQuad(8, bytes);
    Buffer<uint8_t> buffer(bytes);
    Vec::IirState<T>* iir = nullptr;
    Vec::iirInitBiQuad(&iir, taps.data(), 8, nullptr, buffer.p);
    run<T>(state, [&](T* a, T*, T* d, std::size_t n) { Vec::iir(a, d, int(n), iir); });
}
template <class T>
void iir_loop(benchmark::State& state) {
    const auto taps = sections<T>();
    T z[16] = {};
    run<T>(state, [&](T* a, T*, T* d, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) {
            T v = a[i];
            for (int s = 0; s < 8; ++s) {
                const T* t = taps.data() + 6 * s;
                const T y = t[0] * v + z[2 * s];
                z[2 * s] = t[1] * v - t[4] * y + z[2 * s + 1];
                z[2 * s + 1] = t[2] * v - t[5] * y;
                v = y;
            }
            d[i] = v;
        }
    });
}
BENCHMARK_TEMPLATE(iir_vec, float);
BENCHMARK_TEMPLATE(iir_loop, float);
BENCHMARK_TEMPLATE(iir_vec, double);
BENCHMARK_TEMPLATE(iir_loop, double);

// ---- Multirate --------------------------------------------------------------------------

template <class T>
void sampleUp_vec(benchmark::State& state) {
    Buffer<T> src(kBlock / 4), dst(kBlock);
    for (auto _ : state) {
        int len = 0, phase = 0;
        Vec::sampleUp(src.p, int(kBlock / 4), dst.p, len, 4, phase);
        benchmark::ClobberMemory();
    }
}
template <class T>
void sampleUp_loop(benchmark::State& state) {
    Buffer<T> src(kBlock / 4), dst(kBlock);
    std::size_t factor = 4; // a run-time factor, as the library gets it
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        for (std::size_t i = 0; i < kBlock; ++i) dst.p[i] = i % factor == 0 ? src.p[i / factor] : T(0);
        benchmark::ClobberMemory();
    }
}
template <class T>
void sampleDown_vec(benchmark::State& state) {
    Buffer<T> src(kBlock), dst(kBlock / 4);
    for (auto _ : state) {
        int len = 0, phase = 0;
        Vec::sampleDown(src.p, int(kBlock), dst.p, len, 4, phase);
        benchmark::ClobberMemory();
    }
}
template <class T>
void sampleDown_loop(benchmark::State& state) {
    Buffer<T> src(kBlock), dst(kBlock / 4);
    std::size_t factor = 4;
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        for (std::size_t i = 0; i < kBlock / factor; ++i) dst.p[i] = src.p[factor * i];
        benchmark::ClobberMemory();
    }
}
BENCHMARK_TEMPLATE(sampleUp_vec, float);
BENCHMARK_TEMPLATE(sampleUp_loop, float);
BENCHMARK_TEMPLATE(sampleDown_vec, float);
BENCHMARK_TEMPLATE(sampleDown_loop, float);

// ---- 16 x 16 by 16 x 512 product --------------------------------------------------------

template <class T>
void gemm_blas(benchmark::State& state) {
    Data::SmallMatrix<T> a(16, 16), b(16, 512), c(16, 512);
    a.init(), b.init(), c.init();
    Vec::fill(T(0.25), a.data, 16 * 16);
    Vec::fill(T(0.5), b.data, 16 * 512);
    for (auto _ : state) {
        Data::multiply(a, b, c);
        benchmark::ClobberMemory();
    }
}
template <class T>
void gemm_naive(benchmark::State& state) {
    Data::SmallMatrix<T> a(16, 16), b(16, 512), c(16, 512);
    a.init(), b.init(), c.init();
    Vec::fill(T(0.25), a.data, 16 * 16);
    Vec::fill(T(0.5), b.data, 16 * 512);
    for (auto _ : state) {
        for (uint32_t col = 0; col < 512; ++col)
            for (uint32_t r = 0; r < 16; ++r) {
                T s = 0;
                for (uint32_t k = 0; k < 16; ++k) s += a.data[r + 16 * k] * b.data[k + 16 * col];
                c.data[r + 16 * col] = s;
            }
        benchmark::ClobberMemory();
    }
}
BENCHMARK_TEMPLATE(gemm_blas, float);
BENCHMARK_TEMPLATE(gemm_naive, float);
BENCHMARK_TEMPLATE(gemm_blas, double);
BENCHMARK_TEMPLATE(gemm_naive, double);

} // namespace
