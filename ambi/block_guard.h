// Guards of the decoder's audio path against samples that aren't numbers:
// a NaN or an infinity that reached a filter would stay in its state and
// silence every later block. The processor measures each block's peaks with
// the finiteness check in the same pass, and hands the algorithm a finite
// copy of a block that needs one.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Tannhofen::AmbiBin {

// The largest |x| of n samples in `peak` (NaN ignored); true when every sample
// is finite. Lanes of running values let the compiler keep them in vector
// registers: x * 0 is 0 for a finite x and NaN otherwise, and a NaN stays.
template <class T>
bool finitePeak(const T* x, uint32_t n, float& peak) {
    constexpr uint32_t lanes = 8;
    T largest[lanes] = {};
    T check[lanes] = {};
    uint32_t i = 0;
    for (; i + lanes <= n; i += lanes)
        for (uint32_t j = 0; j < lanes; ++j) {
            const T a = std::fabs(x[i + j]);
            largest[j] = a > largest[j] ? a : largest[j];
            check[j] += x[i + j] * T(0);
        }
    for (; i < n; ++i) {
        const T a = std::fabs(x[i]);
        largest[0] = a > largest[0] ? a : largest[0];
        check[0] += x[i] * T(0);
    }
    T m = 0;
    bool finite = true;
    for (uint32_t j = 0; j < lanes; ++j) {
        m = largest[j] > m ? largest[j] : m;
        finite = finite && check[j] == T(0);
    }
    peak = static_cast<float>(m);
    return finite;
}

// dst = src with every NaN or infinite sample made 0; dst may be src.
template <class T>
void copyFinite(const T* src, T* dst, uint32_t n) {
    for (uint32_t i = 0; i < n; ++i) dst[i] = std::isfinite(src[i]) ? src[i] : T(0);
}

} // namespace Tannhofen::AmbiBin
