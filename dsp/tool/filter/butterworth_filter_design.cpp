#include "dsp/tool/filter/butterworth_filter_design.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dsp/data/linear_algebra.h"

namespace Tannhofen::DSP::Tool::Filter {

namespace {

using Data::Layout;

// Sets the row-major shape a matrix is read in.
template <class M>
void shape(M& m, uint32_t rows, uint32_t columns) {
    m.rows = rows;
    m.columns = columns;
}

// Orders roots so that conjugate pairs come first, each pair adjacent, and the
// real roots last: taken two by two, no section then splits a pair. The
// eigenvalue routines give each pair adjacently with exact zero imaginary
// parts for real roots.
template <class T>
void orderRoots(std::complex<T>* roots, uint32_t count) {
    std::complex<T> paired[BaseFilterDesign<T>::maxState + 1];
    std::complex<T> single[BaseFilterDesign<T>::maxState + 1];
    uint32_t pairs = 0, singles = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (roots[i].imag() != T(0) && i + 1 < count && roots[i + 1].imag() != T(0)) {
            paired[pairs++] = roots[i];
            paired[pairs++] = roots[i + 1];
            ++i;
        } else {
            single[singles++] = roots[i];
        }
    }
    std::copy(paired, paired + pairs, roots);
    std::copy(single, single + singles, roots + pairs);
}

// One row of a section from up to two roots: 1, -(r1 + r2), r1 r2 (real parts).
template <class T>
void sectionRow(const std::complex<T>* roots, uint32_t available, T* row) {
    row[0] = T(1);
    row[1] = T(0);
    row[2] = T(0);
    if (available >= 2) {
        row[1] = -(roots[0] + roots[1]).real();
        row[2] = (roots[0] * roots[1]).real();
    } else if (available == 1) {
        row[1] = -roots[0].real();
    }
}

} // namespace

template <class T, class Impl, class ImplMat, class ImplCMat>
BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::BaseFilterDesign() {
    // Every matrix keeps its workspace: inversion, eigenvalues and the pencil
    // run through it.
    const uint32_t dim = maxState + 1;
    for (Matrix* m : {&a, &b, &c, &d, &inverse, &plus, &minus, &product, &pencilA, &pencilB}) {
        m->maxRows = dim;
        m->maxColumns = dim;
    }
    for (Column* m : {&rootsRe, &rootsIm, &rootsBeta}) m->maxRows = dim;
    polynomial.maxRows = 1;
    polynomial.maxColumns = dim;
    polynomial.noWorkspace = true;
    for (uint32_t s = 0; s < maxSections; ++s)
        for (int k = 0; k < 3; ++k) sectionDenominators[s][k] = sectionNumerators[s][k] = T(k == 0 ? 1 : 0);
    std::fill(std::begin(numeratorPolynomial), std::end(numeratorPolynomial), T(0));
    std::fill(std::begin(denominatorPolynomial), std::end(denominatorPolynomial), T(0));
}

template <class T, class Impl, class ImplMat, class ImplCMat>
BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::~BaseFilterDesign() {
    BaseFilterDesign::release();
}

template <class T, class Impl, class ImplMat, class ImplCMat>
int32_t BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::init() {
    bool failed = false;
    for (Matrix* m : {&a, &b, &c, &d, &inverse, &plus, &minus, &product, &pencilA, &pencilB})
        failed |= m->init();
    for (Column* m : {&rootsRe, &rootsIm, &rootsBeta}) failed |= m->init();
    failed |= polynomial.init();
    initialised = !failed;
    return failed ? 1 : 0;
}

template <class T, class Impl, class ImplMat, class ImplCMat>
int32_t BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::release() {
    for (Matrix* m : {&a, &b, &c, &d, &inverse, &plus, &minus, &product, &pencilA, &pencilB}) m->release();
    for (Column* m : {&rootsRe, &rootsIm, &rootsBeta}) m->release();
    polynomial.release();
    initialised = false;
    return 0;
}

template <class T, class Impl, class ImplMat, class ImplCMat>
uint32_t BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::effectiveMaxOrder() const {
    return (filterType == BandPass || filterType == BandStop) ? maxOrder : maxState;
}

template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::setOrder(uint32_t n) {
    order = std::min(n, maxState);
    orderCopy = order;
}

template <class T, class Impl, class ImplMat, class ImplCMat>
uint32_t BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::getSections(T (*denominators)[3], T (*numerators)[3],
                                                                   T& gainOut) const {
    for (uint32_t s = 0; s < sectionCount; ++s)
        for (int k = 0; k < 3; ++k) {
            if (denominators != nullptr) denominators[s][k] = sectionDenominators[s][k];
            if (numerators != nullptr) numerators[s][k] = sectionNumerators[s][k];
        }
    gainOut = sectionGain;
    return sectionCount;
}

template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::design(T wn, T wn2, T) {
    order = std::min(order, effectiveMaxOrder());
    if (a.data == nullptr || pencilA.data == nullptr || rootsRe.data == nullptr) return; // not initialised
    prepareAnalog();
    if (poleCount == 0) {
        // No state: a pass-through of the prototype's gain.
        stateSize = 0;
        zeroCount = 0;
        gain *= directGain;
        sectionCount = 1;
        sectionRow<T>(nullptr, 0, sectionDenominators[0]);
        sectionRow<T>(nullptr, 0, sectionNumerators[0]);
        sectionGain = gain;
        std::fill(std::begin(numeratorPolynomial), std::end(numeratorPolynomial), T(0));
        std::fill(std::begin(denominatorPolynomial), std::end(denominatorPolynomial), T(0));
        numeratorPolynomial[0] = denominatorPolynomial[0] = T(1);
        return;
    }
    zpkToStateSpace();
    transformFrequency(wn, wn2);
    bilinear();
    if (outputForm == PolynomialForm)
        rootsToPolynomial();
    else
        rootsToSections();
}

// Cascaded blocks, one per conjugate pair (controllable form of
// 1 / (s^2 - 2 Re(p) s + |p|^2)) or real pole (1 / (s - p)), each block driven
// by the output of the one before; the gain scales the output.
template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::zpkToStateSpace() {
    const uint32_t n = poleCount;
    stateSize = n;
    shape(a, n, n);
    shape(b, n, 1);
    shape(c, 1, n);
    shape(d, 1, 1);
    std::fill(a.data, a.data + n * n, T(0));
    std::fill(b.data, b.data + n, T(0));
    std::fill(c.data, c.data + n, T(0));
    d.data[0] = T(0);
    int previousOutput = -1;
    uint32_t i = 0;
    while (i < n) {
        const std::complex<T> p = poles[i];
        const bool isReal = std::abs(p.imag()) < T(1e-10) || i + 1 == n;
        // Each block is driven by the input or by the block before.
        if (previousOutput < 0)
            b.data[i] = T(1);
        else
            a.data[i * n + static_cast<uint32_t>(previousOutput)] = T(1);
        if (isReal) {
            a.data[i * n + i] = p.real();
            previousOutput = static_cast<int>(i);
            i += 1;
        } else {
            a.data[i * n + i] = T(2) * p.real();
            a.data[i * n + i + 1] = -std::norm(p);
            a.data[(i + 1) * n + i] = T(1);
            previousOutput = static_cast<int>(i + 1);
            i += 2;
        }
    }
    c.data[previousOutput] = gain;
}

// Pre-warps the edges for a sampling frequency of 2 and maps the unit
// prototype onto them: low-pass scales A and B; high-pass replaces s by u / s;
// band-pass and band-stop double the state.
template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::transformFrequency(T wn, T wn2) {
    constexpr double halfPi = 1.5707963267948966;
    const uint32_t n = stateSize;
    const T u = T(4.0 * std::tan(halfPi * double(wn)));
    if (filterType == LowPass) {
        std::transform(a.data, a.data + n * n, a.data, [u](T v) { return v * u; });
        std::transform(b.data, b.data + n, b.data, [u](T v) { return v * u; });
        return;
    }
    // inverse = A^-1; plus = A^-1 B (n x 1); minus = C A^-1 (1 x n); cInvB = C A^-1 B.
    std::copy(a.data, a.data + n * n, inverse.data);
    shape(inverse, n, n);
    Data::invert(inverse);
    shape(b, n, 1);
    shape(c, 1, n);
    Data::multiply(inverse, b, plus, Layout::RowMajor);
    Data::multiply(c, inverse, minus, Layout::RowMajor);
    T cInvB = T(0);
    for (uint32_t k = 0; k < n; ++k) cInvB += c.data[k] * plus.data[k];

    if (filterType == HighPass) {
        for (uint32_t k = 0; k < n * n; ++k) a.data[k] = u * inverse.data[k];
        for (uint32_t k = 0; k < n; ++k) {
            b.data[k] = -u * plus.data[k];
            c.data[k] = minus.data[k];
        }
        d.data[0] -= cInvB;
        return;
    }

    const double t1 = std::tan(halfPi * double(wn));
    const double t2 = std::tan(halfPi * double(wn2));
    const T centre = T(4.0 * std::sqrt(t1 * t2));
    const T width = T(4.0 * (t2 - t1));
    const uint32_t n2 = 2 * n;
    const bool stop = filterType == BandStop;
    // product = [[width * (A or A^-1), centre I], [-centre I, 0]]
    std::fill(product.data, product.data + n2 * n2, T(0));
    for (uint32_t r = 0; r < n; ++r) {
        for (uint32_t k = 0; k < n; ++k)
            product.data[r * n2 + k] = width * (stop ? inverse.data[r * n + k] : a.data[r * n + k]);
        product.data[r * n2 + n + r] = centre;
        product.data[(n + r) * n2 + r] = -centre;
    }
    std::copy(product.data, product.data + n2 * n2, a.data);
    for (uint32_t k = 0; k < n; ++k) {
        b.data[k] = stop ? -width * plus.data[k] : width * b.data[k];
        if (stop) c.data[k] = minus.data[k];
    }
    std::fill(b.data + n, b.data + n2, T(0));
    std::fill(c.data + n, c.data + n2, T(0));
    if (stop) d.data[0] -= cInvB;
    stateSize = n2;
    shape(a, n2, n2);
    shape(b, n2, 1);
    shape(c, 1, n2);
}

// Bilinear transform at a sampling frequency of 2 (s = 4 (z - 1) / (z + 1)):
// Q = I - A / 4, Ad = Q^-1 (I + A / 4), Bd = Q^-1 B / 2, Cd = C Q^-1,
// Dd = D + C Bd / 2.
template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::bilinear() {
    const uint32_t n = stateSize;
    for (uint32_t k = 0; k < n * n; ++k) {
        plus.data[k] = T(0.25) * a.data[k];
        inverse.data[k] = T(-0.25) * a.data[k];
    }
    for (uint32_t k = 0; k < n; ++k) {
        plus.data[k * n + k] += T(1);
        inverse.data[k * n + k] += T(1);
    }
    for (Matrix* m : {&a, &plus, &inverse}) shape(*m, n, n);
    shape(b, n, 1);
    shape(c, 1, n);
    Data::invert(inverse);
    Data::multiply(inverse, plus, a, Layout::RowMajor);
    Data::multiply(inverse, b, product, Layout::RowMajor);
    for (uint32_t k = 0; k < n; ++k) b.data[k] = T(0.5) * product.data[k];
    T cb = T(0);
    for (uint32_t k = 0; k < n; ++k) cb += c.data[k] * b.data[k];
    d.data[0] += T(0.5) * cb;
    Data::multiply(c, inverse, product, Layout::RowMajor);
    std::copy(product.data, product.data + n, c.data);
}

// Poles: eigenvalues of the digital A. Zeros: the finite generalised
// eigenvalues of the pencil ([A B; C D], [I 0; 0 0]). Gain: the leading
// coefficient, D when there are as many zeros as poles, otherwise the first
// nonzero Markov parameter C A^(r-1) B.
template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::digitalRoots() {
    const uint32_t n = stateSize;
    shape(a, n, n);
    Data::eigenvalues(a, rootsRe.data, rootsIm.data);
    for (uint32_t k = 0; k < n; ++k) poles[k] = {rootsRe.data[k], rootsIm.data[k]};
    poleCount = n;

    const uint32_t m = n + 1;
    std::fill(pencilA.data, pencilA.data + m * m, T(0));
    std::fill(pencilB.data, pencilB.data + m * m, T(0));
    for (uint32_t r = 0; r < n; ++r) {
        std::copy(a.data + r * n, a.data + r * n + n, pencilA.data + r * m);
        pencilA.data[r * m + n] = b.data[r];
        pencilA.data[n * m + r] = c.data[r];
        pencilB.data[r * m + r] = T(1);
    }
    pencilA.data[n * m + n] = d.data[0];
    shape(pencilA, m, m);
    shape(pencilB, m, m);
    Data::generalisedEigenvalues(pencilA, pencilB, rootsRe.data, rootsIm.data, rootsBeta.data);
    const T finiteRatio = std::sqrt(std::numeric_limits<T>::epsilon());
    zeroCount = 0;
    for (uint32_t k = 0; k < m; ++k) {
        const T alpha = std::hypot(rootsRe.data[k], rootsIm.data[k]);
        const T beta = rootsBeta.data[k];
        if (std::abs(beta) > finiteRatio * alpha && beta != T(0))
            zeros[zeroCount++] = {rootsRe.data[k] / beta, rootsIm.data[k] / beta};
    }
    // At most n finite zeros: drop the largest if rounding let more through.
    while (zeroCount > n) {
        uint32_t largest = 0;
        for (uint32_t k = 1; k < zeroCount; ++k)
            if (std::abs(zeros[k]) > std::abs(zeros[largest])) largest = k;
        std::copy(zeros + largest + 1, zeros + zeroCount, zeros + largest);
        --zeroCount;
    }

    if (zeroCount == n) {
        gain = d.data[0];
    } else {
        // v = A^(r-1) B in product, gain = C v.
        std::copy(b.data, b.data + n, product.data);
        shape(product, n, 1);
        for (uint32_t step = 1; step < n - zeroCount; ++step) {
            Data::multiply(a, product, plus, Layout::RowMajor);
            std::copy(plus.data, plus.data + n, product.data);
        }
        gain = T(0);
        for (uint32_t k = 0; k < n; ++k) gain += c.data[k] * product.data[k];
    }
    orderRoots(poles, poleCount);
    orderRoots(zeros, zeroCount);
}

template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::buildSections() {
    sectionCount = std::max(1u, (poleCount + 1) / 2);
    for (uint32_t s = 0; s < sectionCount; ++s) {
        const uint32_t first = 2 * s;
        sectionRow(zeros + first, zeroCount > first ? zeroCount - first : 0, sectionNumerators[s]);
        sectionRow(poles + first, poleCount > first ? poleCount - first : 0, sectionDenominators[s]);
    }
    sectionGain = gain;
}

template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::rootsToSections() {
    digitalRoots();
    if (outputForm == SectionsForm) buildSections();
}

// Expands the roots into polynomials in z^-1: prod (1 - r z^-1), real parts kept.
template <class T, class Impl, class ImplMat, class ImplCMat>
void BaseFilterDesign<T, Impl, ImplMat, ImplCMat>::rootsToPolynomial() {
    digitalRoots();
    auto expand = [this](const std::complex<T>* roots, uint32_t count, T* out) {
        auto* poly = reinterpret_cast<std::complex<T>*>(polynomial.data);
        std::fill(poly, poly + maxState + 1, std::complex<T>(0));
        poly[0] = T(1);
        for (uint32_t k = 0; k < count; ++k)
            for (uint32_t j = k + 1; j > 0; --j) poly[j] -= roots[k] * poly[j - 1];
        for (uint32_t j = 0; j <= maxState; ++j) out[j] = poly[j].real();
    };
    expand(zeros, zeroCount, numeratorPolynomial);
    expand(poles, poleCount, denominatorPolynomial);
}

// Butterworth prototype: poles evenly on the left half of the unit circle,
// conjugate pairs first and -1 last for an odd order; no zeros; unity gain at DC.
template <class T, class Impl, class ImplMat, class ImplCMat>
void ButterworthFilterDesign<T, Impl, ImplMat, ImplCMat>::prepareAnalog() {
    constexpr double pi = 3.141592653589793;
    constexpr double halfPi = 1.5707963267948966;
    this->analog = false;
    const uint32_t n = this->order;
    for (uint32_t k = 0; k < n / 2; ++k) {
        const double angle = pi * double(2 * k + 1) / double(2 * n) + halfPi;
        const std::complex<float> p = std::exp(std::complex<float>(0.0f, static_cast<float>(angle)));
        this->poles[2 * k] = {T(p.real()), T(p.imag())};
        this->poles[2 * k + 1] = std::conj(this->poles[2 * k]);
    }
    if (n % 2 == 1) this->poles[n - 1] = T(-1);
    this->poleCount = n;
    this->zeroCount = 0;
    std::complex<T> product(1);
    for (uint32_t k = 0; k < n; ++k) product *= -this->poles[k];
    this->gain = product.real();
    this->directGain = T(1);
}

template class BaseFilterDesign<float>;
template class BaseFilterDesign<double>;
template class ButterworthFilterDesign<float>;
template class ButterworthFilterDesign<double>;

} // namespace Tannhofen::DSP::Tool::Filter
