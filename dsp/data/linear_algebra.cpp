#include "dsp/data/linear_algebra.h"

#include <complex>
#define lapack_complex_float std::complex<float>
#define lapack_complex_double std::complex<double>
#include <cblas.h>
#include <lapacke.h>

#include <type_traits>

namespace Tannhofen::DSP::Data {

static_assert(sizeof(lapack_int) == sizeof(int32_t), "pivots are 32-bit");
static_assert(int(Layout::RowMajor) == CblasRowMajor && int(Layout::RowMajor) == LAPACK_ROW_MAJOR);
static_assert(int(Layout::ColumnMajor) == CblasColMajor);

namespace {

void gemm(CBLAS_ORDER order, int m, int n, int k, const float* a, int lda, const float* b, int ldb, float* c,
          int ldc, CBLAS_TRANSPOSE ta = CblasNoTrans, CBLAS_TRANSPOSE tb = CblasNoTrans) {
    cblas_sgemm(order, ta, tb, m, n, k, 1.0f, a, lda, b, ldb, 0.0f, c, ldc);
}
void gemm(CBLAS_ORDER order, int m, int n, int k, const double* a, int lda, const double* b, int ldb,
          double* c, int ldc, CBLAS_TRANSPOSE ta = CblasNoTrans, CBLAS_TRANSPOSE tb = CblasNoTrans) {
    cblas_dgemm(order, ta, tb, m, n, k, 1.0, a, lda, b, ldb, 0.0, c, ldc);
}
void cgemm(int m, int n, int k, const std::complex<float>* a, const std::complex<float>* b,
           std::complex<float>* c) {
    const std::complex<float> one(1), zero(0);
    cblas_cgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, a, k, b, n, &zero, c, n);
}
void cgemm(int m, int n, int k, const std::complex<double>* a, const std::complex<double>* b,
           std::complex<double>* c) {
    const std::complex<double> one(1), zero(0);
    cblas_zgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, a, k, b, n, &zero, c, n);
}

int getrf(int n, float* a, int* ipiv) {
    return LAPACKE_sgetrf(LAPACK_ROW_MAJOR, n, n, a, n, ipiv);
}
int getrf(int n, double* a, int* ipiv) {
    return LAPACKE_dgetrf(LAPACK_ROW_MAJOR, n, n, a, n, ipiv);
}
int getri(int n, float* a, const int* ipiv) {
    return LAPACKE_sgetri(LAPACK_ROW_MAJOR, n, a, n, ipiv);
}
int getri(int n, double* a, const int* ipiv) {
    return LAPACKE_dgetri(LAPACK_ROW_MAJOR, n, a, n, ipiv);
}

int gebal(int n, float* a, int* ilo, int* ihi, float* scale) {
    return LAPACKE_sgebal(LAPACK_ROW_MAJOR, 'B', n, a, n, ilo, ihi, scale);
}
int gebal(int n, double* a, int* ilo, int* ihi, double* scale) {
    return LAPACKE_dgebal(LAPACK_ROW_MAJOR, 'B', n, a, n, ilo, ihi, scale);
}
int gehrd(int n, int ilo, int ihi, float* a, float* tau) {
    return LAPACKE_sgehrd(LAPACK_ROW_MAJOR, n, ilo, ihi, a, n, tau);
}
int gehrd(int n, int ilo, int ihi, double* a, double* tau) {
    return LAPACKE_dgehrd(LAPACK_ROW_MAJOR, n, ilo, ihi, a, n, tau);
}
int hseqr(int n, int ilo, int ihi, float* h, float* wr, float* wi) {
    return LAPACKE_shseqr(LAPACK_ROW_MAJOR, 'E', 'N', n, ilo, ihi, h, n, wr, wi, nullptr, n);
}
int hseqr(int n, int ilo, int ihi, double* h, double* wr, double* wi) {
    return LAPACKE_dhseqr(LAPACK_ROW_MAJOR, 'E', 'N', n, ilo, ihi, h, n, wr, wi, nullptr, n);
}
int gges(int n, float* a, float* b, float* ar, float* ai, float* beta) {
    int sdim = 0;
    return LAPACKE_sgges(LAPACK_ROW_MAJOR, 'N', 'N', 'N', nullptr, n, a, n, b, n, &sdim, ar, ai, beta,
                         nullptr, 1, nullptr, 1);
}
int gges(int n, double* a, double* b, double* ar, double* ai, double* beta) {
    int sdim = 0;
    return LAPACKE_dgges(LAPACK_ROW_MAJOR, 'N', 'N', 'N', nullptr, n, a, n, b, n, &sdim, ar, ai, beta,
                         nullptr, 1, nullptr, 1);
}

template <class E>
std::size_t squareCount(const MatrixBase<E>& m) {
    return std::size_t(m.rows) * m.rows;
}

} // namespace

template <class T>
void multiply(const SmallMatrix<T>& a, const SmallMatrix<T>& b, SmallMatrix<T>& c, Layout layout) {
    if (!a.data || !b.data || !c.data || a.rows == 0 || b.columns == 0 || a.columns == 0) return;
    c.rows = a.rows;
    c.columns = b.columns;
    const int m = int(a.rows), n = int(b.columns), k = int(a.columns);
    if (layout == Layout::ColumnMajor)
        gemm(CblasColMajor, m, n, k, a.data, m, b.data, k, c.data, m);
    else
        gemm(CblasRowMajor, m, n, k, a.data, k, b.data, n, c.data, n);
}

template <class T>
void multiplyColumnMajor(uint32_t m, uint32_t n, uint32_t k, const T* a, uint32_t lda, bool transposeA,
                         const T* b, uint32_t ldb, bool transposeB, T* c, uint32_t ldc) {
    if (!a || !b || !c || m == 0 || n == 0 || k == 0) return;
    gemm(CblasColMajor, int(m), int(n), int(k), a, int(lda), b, int(ldb), c, int(ldc),
         transposeA ? CblasTrans : CblasNoTrans, transposeB ? CblasTrans : CblasNoTrans);
}

template <class T>
void multiply(const SmallComplexMatrix<T>& a, const SmallComplexMatrix<T>& b, SmallComplexMatrix<T>& c) {
    if (!a.data || !b.data || !c.data || a.rows == 0 || b.columns == 0 || a.columns == 0) return;
    c.rows = a.rows;
    c.columns = b.columns;
    cgemm(int(a.rows), int(b.columns), int(a.columns), a.data, b.data, c.data);
}

template <class T>
int32_t invert(SmallMatrix<T>& m) {
    if (!m.data || !m.inverseWorkspace || !m.pivots || m.rows == 0) return -1;
    const int n = int(m.rows);
    Vec::copy(m.data, m.inverseWorkspace, squareCount(m));
    int info = getrf(n, m.inverseWorkspace, m.pivots);
    if (info == 0) info = getri(n, m.inverseWorkspace, m.pivots);
    if (info == 0) Vec::copy(m.inverseWorkspace, m.data, squareCount(m));
    return info;
}

template <class T>
int32_t eigenvalues(SmallMatrix<T>& a, T* re, T* im) {
    if (!a.data || !a.inverseWorkspace || !a.scaleWorkspace || !re || !im || a.rows == 0) return -1;
    const int n = int(a.rows);
    T* h = a.inverseWorkspace;
    Vec::copy(a.data, h, squareCount(a));
    int ilo = 1, ihi = n;
    int info = gebal(n, h, &ilo, &ihi, a.scaleWorkspace);
    // The scales only matter to eigenvectors; the same scratch takes the reflectors' factors.
    if (info == 0) info = gehrd(n, ilo, ihi, h, a.scaleWorkspace);
    if (info == 0) info = hseqr(n, ilo, ihi, h, re, im);
    return info;
}

template <class T>
int32_t generalisedEigenvalues(SmallMatrix<T>& a, SmallMatrix<T>& b, T* alphaRe, T* alphaIm, T* beta) {
    if (!a.data || !a.inverseWorkspace || !b.data || !b.inverseWorkspace || !alphaRe || !alphaIm || !beta ||
        a.rows == 0 || b.rows != a.rows)
        return -1;
    Vec::copy(a.data, a.inverseWorkspace, squareCount(a));
    Vec::copy(b.data, b.inverseWorkspace, squareCount(b));
    return gges(int(a.rows), a.inverseWorkspace, b.inverseWorkspace, alphaRe, alphaIm, beta);
}

#define PLX_DATA_INSTANTIATE(T)                                                                            \
    template void multiply<T>(const SmallMatrix<T>&, const SmallMatrix<T>&, SmallMatrix<T>&, Layout);      \
    template void multiplyColumnMajor<T>(uint32_t, uint32_t, uint32_t, const T*, uint32_t, bool, const T*, \
                                         uint32_t, bool, T*, uint32_t);                                    \
    template void multiply<T>(const SmallComplexMatrix<T>&, const SmallComplexMatrix<T>&,                  \
                              SmallComplexMatrix<T>&);                                                     \
    template int32_t invert<T>(SmallMatrix<T>&);                                                           \
    template int32_t eigenvalues<T>(SmallMatrix<T>&, T*, T*);                                              \
    template int32_t generalisedEigenvalues<T>(SmallMatrix<T>&, SmallMatrix<T>&, T*, T*, T*);

PLX_DATA_INSTANTIATE(float)
PLX_DATA_INSTANTIATE(double)
#undef PLX_DATA_INSTANTIATE

} // namespace Tannhofen::DSP::Data
