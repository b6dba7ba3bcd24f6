// Small matrices: allocation and release, clear, the resize that keeps the
// contents, and the linear algebra run on them, checked against hand-worked
// values and plain loops.
#include "dsp/data/linear_algebra.h"
#include "dsp/data/small_matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <vector>

namespace Data = Tannhofen::DSP::Data;

namespace {

static_assert(Data::SmallMatrix<float>::implType == Data::ImplType::Blas);
static_assert(static_cast<int>(Data::ImplType::VecSignal) == 10);
static_assert(static_cast<int>(Data::SmallColumnMatrix<double, Data::ImplVecMatrix>::implType) == 11);
static_assert(static_cast<int>(Data::SmallComplexMatrix<double>::implType) == 12);

template <class T>
class SmallMatrices : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SmallMatrices, SampleTypes);

// Sets (1, 1) of a 2 x 2 matrix, grows it to 3 x 3 and reads the element back.
template <class M, class V>
void expectResizeKeeps(M& m, V v) {
    ASSERT_FALSE(m.init());
    m.resize(2, 2);
    m.at(1, 1) = v;
    m.at(1, 0) = v + v;
    m.resize(3, 3);
    EXPECT_EQ(m.at(1, 1), v);
    EXPECT_EQ(m.at(1, 0), v + v);
    EXPECT_FALSE(m.release());
    EXPECT_FALSE(m.release()); // twice is harmless
}

TYPED_TEST(SmallMatrices, ResizeKeepsContentsAndClearStaysInsideTheSize) {
    using T = TypeParam;
    Data::SmallMatrix<T> m(4, 4);
    ASSERT_FALSE(m.init());
    m.resize(2, 2);
    // Stored by columns: (r, c) at r + 2 c; stale values beyond the size.
    const T start[16] = {1, 2, 3, 4, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};
    std::copy(start, start + 16, m.data);
    m.resize(3, 3);
    const T grown[9] = {1, 2, 0, 3, 4, 0, 0, 0, 0};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(m.data[i], grown[i]) << i;
    m.resize(1, 2); // shrinking keeps what still fits
    EXPECT_EQ(m.at(0, 1), T(3));

    m.resize(2, 2);
    m.data[4] = T(7);
    m.clear();
    EXPECT_EQ(std::count(m.data, m.data + 4, T(0)), 4);
    EXPECT_EQ(m.data[4], T(7)); // clear touches rows x columns only

    // Every back-end keeps contents over a resize ...
    Data::SmallMatrix<T> full(3, 3);
    Data::SmallColumnMatrix<T, Data::ImplVecMatrix> column(3, 2);
    Data::SmallComplexMatrix<T> complex(3, 3);
    expectResizeKeeps(full, T(5));
    expectResizeKeeps(column, T(6));
    expectResizeKeeps(complex, std::complex<T>(1, -2));
    // ... except without a workspace, where a resize moves nothing.
    Data::SmallMatrix<T> bare(3, 3, true);
    ASSERT_FALSE(bare.init());
    bare.resize(2, 2);
    bare.at(1, 1) = 5;
    bare.resize(3, 3);
    EXPECT_EQ(bare.data[3], T(5)); // index 1 + 2 * 1 under the old size
}

TYPED_TEST(SmallMatrices, ProductsMatchPlainLoops) {
    using T = TypeParam;
    const uint32_t m = 5, k = 3, n = 7;
    Data::SmallMatrix<T> a(m, k), b(k, n), c(8, 8);
    ASSERT_FALSE(a.init() || b.init() || c.init());
    for (uint32_t i = 0; i < m * k; ++i) a.data[i] = T(int(i % 5) - 2);
    for (uint32_t i = 0; i < k * n; ++i) b.data[i] = T(int(i % 7) - 3) / 2;

    Data::multiply(a, b, c);
    ASSERT_EQ(c.rows, m);
    ASSERT_EQ(c.columns, n);
    for (uint32_t r = 0; r < m; ++r)
        for (uint32_t col = 0; col < n; ++col) {
            T s = 0;
            for (uint32_t j = 0; j < k; ++j) s += a.at(r, j) * b.at(j, col);
            EXPECT_EQ(c.at(r, col), s);
        }

    // Row-major: the same arrays read in row order.
    Data::multiply(a, b, c, Data::Layout::RowMajor);
    for (uint32_t r = 0; r < m; ++r)
        for (uint32_t col = 0; col < n; ++col) {
            T s = 0;
            for (uint32_t j = 0; j < k; ++j) s += a.data[r * k + j] * b.data[j * n + col];
            EXPECT_EQ(c.data[r * n + col], s);
        }

    // Complex, row-major: [1 i; 2 -1] [1; i] = [0; 2 - i].
    Data::SmallComplexMatrix<T> x(2, 2), y(2, 1), z(2, 1);
    ASSERT_FALSE(x.init() || y.init() || z.init());
    const std::complex<T> i(0, 1);
    x.data[0] = 1, x.data[1] = i, x.data[2] = 2, x.data[3] = -1;
    y.data[0] = 1, y.data[1] = i;
    Data::multiply(x, y, z);
    EXPECT_EQ(z.data[0], std::complex<T>(0, 0));
    EXPECT_EQ(z.data[1], std::complex<T>(2, -1));
}

TYPED_TEST(SmallMatrices, InverseAndEigenvalues) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-5) : T(1e-11);
    Data::SmallMatrix<T> m(3, 3);
    ASSERT_FALSE(m.init());
    m.resize(2, 2);
    // [4 7; 2 6]^-1 = [0.6 -0.7; -0.2 0.4], row-major.
    const T a[4] = {4, 7, 2, 6};
    std::copy(a, a + 4, m.data);
    ASSERT_EQ(Data::invert(m), 0);
    const T inv[4] = {T(0.6), T(-0.7), T(-0.2), T(0.4)};
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(m.data[j], inv[j], tol);
    const T singular[4] = {1, 2, 2, 4};
    std::copy(singular, singular + 4, m.data);
    EXPECT_GT(Data::invert(m), 0);
    EXPECT_EQ(m.data[3], T(4)); // a failed inverse leaves the matrix alone

    // The companion matrix of (x - 1)(x - 2)(x - 3) = x^3 - 6x^2 + 11x - 6 has roots 1, 2, 3.
    m.resize(3, 3);
    const T companion[9] = {6, -11, 6, 1, 0, 0, 0, 1, 0};
    std::copy(companion, companion + 9, m.data);
    T re[3], im[3];
    ASSERT_EQ(Data::eigenvalues(m, re, im), 0);
    std::sort(re, re + 3);
    for (int j = 0; j < 3; ++j) {
        EXPECT_NEAR(re[j], T(j + 1), 200 * tol);
        EXPECT_NEAR(im[j], T(0), 200 * tol);
    }
    EXPECT_EQ(m.data[1], T(-11)); // the source stays

    // A rotation by 90 degrees has eigenvalues +-i.
    m.resize(2, 2);
    const T rotation[4] = {0, -1, 1, 0};
    std::copy(rotation, rotation + 4, m.data);
    ASSERT_EQ(Data::eigenvalues(m, re, im), 0);
    EXPECT_NEAR(re[0], 0, tol);
    EXPECT_NEAR(std::max(im[0], im[1]), 1, tol);
    EXPECT_NEAR(std::min(im[0], im[1]), -1, tol);

    // Pencil (diag(2, 6), diag(1, 2)): lambda = 2 and 3.
    Data::SmallMatrix<T> p(2, 2), q(2, 2);
    ASSERT_FALSE(p.init() || q.init());
    p.data[0] = 2, p.data[3] = 6;
    q.data[0] = 1, q.data[3] = 2;
    T ar[2], ai[2], beta[2];
    ASSERT_EQ(Data::generalisedEigenvalues(p, q, ar, ai, beta), 0);
    T lambda[2] = {ar[0] / beta[0], ar[1] / beta[1]};
    std::sort(lambda, lambda + 2);
    EXPECT_NEAR(lambda[0], 2, tol);
    EXPECT_NEAR(lambda[1], 3, tol);
    EXPECT_EQ(ai[0], T(0));
}

} // namespace
