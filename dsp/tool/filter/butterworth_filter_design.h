// Digital IIR filter design by the state-space route: an analogue prototype
// of unit cut-off, its state-space form, the frequency transformation and the
// bilinear transform on the matrices, then the poles as eigenvalues of the
// digital A and the zeros as generalised eigenvalues of the system pencil.
// The result is a set of second-order sections with the overall gain kept
// apart. A design-time tool: slow, large, meant to live on the stack of the
// caller's set-up and to be destroyed at once.
#pragma once

#include <complex>
#include <cstdint>

#include "dsp/data/small_matrix.h"
#include "dsp/tool/base_dynamic_tool.h"

namespace Tannhofen::DSP::Tool::Filter {

enum FilterType : uint32_t { LowPass = 0, HighPass = 1, BandPass = 2, BandStop = 3 };
enum FilterOutputForm : uint32_t { PolynomialForm = 0, RootsForm = 2, SectionsForm = 3 };

template <class T, class Impl = Data::ImplVecSignal, class ImplMat = Data::ImplBlas,
          class ImplCMat = Data::ImplBlas>
class BaseFilterDesign : public BaseDynamicTool {
public:
    static constexpr uint32_t maxOrder = 16;           // band types double it
    static constexpr uint32_t maxState = 2 * maxOrder; // the largest state
    static constexpr uint32_t maxSections = maxState / 2;

    BaseFilterDesign();
    ~BaseFilterDesign() override;

    // Allocates the working matrices. 0 on success.
    virtual int32_t init();
    virtual int32_t release();
    // Designs for the edges wn (and wn2 for band types), as fractions of the
    // Nyquist frequency. The third value is not read by these designs.
    virtual void design(T wn, T wn2 = T(0.1), T unused = T(1));
    // The analogue prototype of unit cut-off: poles, zeros, gain.
    virtual void prepareAnalog() = 0;
    // Poles and zeros of the digital filter, then its polynomials.
    virtual void rootsToPolynomial();
    // Poles and zeros of the digital filter, then (for SectionsForm) the sections.
    virtual void rootsToSections();

    // Sets the order (at most maxOrder for band types, maxState otherwise).
    void setOrder(uint32_t n);
    // Copies sectionCount rows of b and a values and the overall gain; returns sectionCount.
    uint32_t getSections(T (*denominators)[3], T (*numerators)[3], T& gainOut) const;

    // Parameters.
    uint32_t order = 0;
    uint32_t orderCopy = 0;
    uint32_t filterType = LowPass;
    uint32_t outputForm = SectionsForm;
    bool analog = false;

    // Results.
    std::complex<T> poles[maxState + 1];
    std::complex<T> zeros[maxState + 1];
    uint32_t poleCount = 0;
    uint32_t zeroCount = 0;
    T gain = T(1);
    T sectionDenominators[maxSections][3];
    T sectionNumerators[maxSections][3];
    T sectionGain = T(1);
    uint32_t sectionCount = 0;
    // PolynomialForm: coefficients of z^-k, k = 0..poleCount, gain apart.
    T numeratorPolynomial[maxState + 1];
    T denominatorPolynomial[maxState + 1];

protected:
    using Matrix = Data::SmallMatrix<T, ImplMat>;
    using ComplexMatrix = Data::SmallComplexMatrix<T, ImplCMat>;
    using Column = Data::SmallColumnMatrix<T, ImplMat>;

    // State-space form: A (n x n), B (n x 1), C (1 x n), D (1 x 1), row-major.
    Matrix a, b, c, d;
    Matrix inverse, plus, minus, product; // scratch for the transforms
    Matrix pencilA, pencilB;              // the system pencil, (n + 1) square
    Column rootsRe, rootsIm, rootsBeta;   // eigenvalue lists
    ComplexMatrix polynomial;             // expansion of roots into a polynomial
    uint32_t stateSize = 0;
    T directGain = T(1); // the prototype's direct term when it has no state

private:
    void zpkToStateSpace();
    void transformFrequency(T wn, T wn2);
    void bilinear();
    void digitalRoots();
    void buildSections();
    uint32_t effectiveMaxOrder() const;
};

template <class T, class Impl = Data::ImplVecSignal, class ImplMat = Data::ImplBlas,
          class ImplCMat = Data::ImplBlas>
class ButterworthFilterDesign : public BaseFilterDesign<T, Impl, ImplMat, ImplCMat> {
public:
    void prepareAnalog() override;
};

extern template class BaseFilterDesign<float>;
extern template class BaseFilterDesign<double>;
extern template class ButterworthFilterDesign<float>;
extern template class ButterworthFilterDesign<double>;

} // namespace Tannhofen::DSP::Tool::Filter
