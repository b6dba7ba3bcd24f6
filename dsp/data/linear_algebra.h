// The linear algebra done on small matrices, each through one BLAS or LAPACKE
// routine family: products (sgemm/dgemm, cgemm/zgemm), LU inverse
// (getrf + getri), eigenvalues (gebal, gehrd, hseqr) and generalised
// eigenvalues (gges). Products run directly on data and allocate nothing;
// the LAPACK routines are design-time tools, off the audio path.
#pragma once

#include "dsp/data/small_matrix.h"

#include <cstdint>

namespace Tannhofen::DSP::Data {

// Memory layout a routine reads the matrices' data in.
enum class Layout : int32_t {
    RowMajor = 101,    // CblasRowMajor, LAPACK_ROW_MAJOR
    ColumnMajor = 102, // CblasColMajor: the matrices' own layout
};

// c = a b, alpha 1, beta 0, both untransposed. c takes the size a.rows x b.columns.
// ColumnMajor reads the matrices as they store themselves. RowMajor reads each
// data array as rows x columns in row order (the filter design's convention).
template <class T>
void multiply(const SmallMatrix<T>& a, const SmallMatrix<T>& b, SmallMatrix<T>& c,
              Layout layout = Layout::ColumnMajor);
// c = op(a) op(b), alpha 1, beta 0, on column-major arrays with explicit
// leading dimensions, for products over parts of a matrix (a range of rows of
// a staging buffer): op(a) is m x k, op(b) is k x n, c is m x n, and op
// transposes the stored matrix when asked. Does nothing when a size is 0.
template <class T>
void multiplyColumnMajor(uint32_t m, uint32_t n, uint32_t k, const T* a, uint32_t lda, bool transposeA,
                         const T* b, uint32_t ldb, bool transposeB, T* c, uint32_t ldc);
// Complex product, row-major, untransposed.
template <class T>
void multiply(const SmallComplexMatrix<T>& a, const SmallComplexMatrix<T>& b, SmallComplexMatrix<T>& c);

// Replaces the square matrix m (rows x rows, row-major) by its inverse, through
// inverseWorkspace and pivots. Answers LAPACK's info: 0 on success, > 0 singular.
template <class T>
int32_t invert(SmallMatrix<T>& m);

// Eigenvalues of the square matrix a (row-major), by balancing, Hessenberg
// reduction and the Hessenberg QR iteration without vectors. Real parts go to
// re, imaginary parts to im, a.rows values each. a's data is left as it was.
template <class T>
int32_t eigenvalues(SmallMatrix<T>& a, T* re, T* im);

// Generalised eigenvalues of the pencil (a, b), both square and row-major:
// lambda = (alphaRe + i alphaIm) / beta. a and b are left as they were.
template <class T>
int32_t generalisedEigenvalues(SmallMatrix<T>& a, SmallMatrix<T>& b, T* alphaRe, T* alphaIm, T* beta);

} // namespace Tannhofen::DSP::Data
