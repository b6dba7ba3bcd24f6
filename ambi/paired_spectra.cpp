#include "ambi/paired_spectra.h"

namespace Tannhofen::AmbiBin::PairedSpectra {

template <class T>
void multiplyAccumulate(const T* zRe, const T* zIm, const T* gRe, const T* gIm, T* accRe, T* accIm,
                        uint32_t n) {
    for (uint32_t k = 0; k < n; ++k) {
        accRe[k] += zRe[k] * gRe[k] - zIm[k] * gIm[k];
        accIm[k] += zRe[k] * gIm[k] + zIm[k] * gRe[k];
    }
}

template void multiplyAccumulate<float>(const float*, const float*, const float*, const float*, float*,
                                        float*, uint32_t);
template void multiplyAccumulate<double>(const double*, const double*, const double*, const double*, double*,
                                         double*, uint32_t);

} // namespace Tannhofen::AmbiBin::PairedSpectra
