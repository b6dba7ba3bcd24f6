// Two real channels ride one complex forward transform as z = a + j b. With
// the complex filter g = h1 - j h2, the real part of z * g is
// a * h1 + b * h2: one complex product per pair of channels sums both
// channels' convolutions, and the real part of the inverse transform of the
// sum is the ear signal (the imaginary part is a by-product, dropped).
#pragma once

#include <cstdint>

namespace Tannhofen::AmbiBin::PairedSpectra {

// acc += z * g over n bins.
template <class T>
void multiplyAccumulate(const T* zRe, const T* zIm, const T* gRe, const T* gIm, T* accRe, T* accIm,
                        uint32_t n);

} // namespace Tannhofen::AmbiBin::PairedSpectra
