// Guards of the decoder's audio path against samples that aren't numbers:
// a NaN or an infinity that reached a filter would stay in its state and
// silence every later block. The processor measures each block's peaks with
// the finiteness check in the same pass, and hands the algorithm a finite
// copy of a block that needs one.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace Tannhofen::AmbiBin {

// The largest |x| of n samples in `peak` (NaN ignored); true when every sample
// is finite. The magnitude bits of a float, read as a signed integer, order
// like its absolute value, with infinity and NaN above every finite value:
// one integer maximum finds both the peak and anything not finite, and the
// compiler keeps it in vector registers. A block with something not finite
// is rare, and only then is it walked again for the finite peak.
template <class T>
bool finitePeak(const T* x, uint32_t n, float& peak) {
    using Bits = std::conditional_t<sizeof(T) == sizeof(int32_t), int32_t, int64_t>;
    constexpr Bits kMagnitude = std::numeric_limits<Bits>::max();
    constexpr Bits kInfinity = std::bit_cast<Bits>(std::numeric_limits<T>::infinity());
    // Independent running maxima, so that no step waits for the one before.
    constexpr uint32_t kLanes = 64 / sizeof(Bits);
    Bits lanes[kLanes] = {};
    uint32_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (uint32_t j = 0; j < kLanes; ++j) {
            Bits bits;
            std::memcpy(&bits, x + i + j, sizeof bits);
            bits &= kMagnitude;
            lanes[j] = bits > lanes[j] ? bits : lanes[j];
        }
    for (; i < n; ++i) {
        Bits bits;
        std::memcpy(&bits, x + i, sizeof bits);
        bits &= kMagnitude;
        lanes[0] = bits > lanes[0] ? bits : lanes[0];
    }
    Bits largest = 0;
    for (Bits lane : lanes) largest = lane > largest ? lane : largest;
    if (largest < kInfinity) {
        peak = static_cast<float>(std::bit_cast<T>(largest));
        return true;
    }
    T finiteLargest = 0;
    for (uint32_t i = 0; i < n; ++i) {
        const T a = std::fabs(x[i]);
        if (std::isfinite(a) && a > finiteLargest) finiteLargest = a;
    }
    peak = static_cast<float>(finiteLargest);
    return false;
}

// dst = src with every NaN or infinite sample made 0; dst may be src.
template <class T>
void copyFinite(const T* src, T* dst, uint32_t n) {
    for (uint32_t i = 0; i < n; ++i) dst[i] = std::isfinite(src[i]) ? src[i] : T(0);
}

} // namespace Tannhofen::AmbiBin
