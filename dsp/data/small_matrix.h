// Small dense matrices: thin owners of a buffer and of the scratch that linear
// algebra needs. They overload no arithmetic; users read the fields and call
// the routines of dsp/data/linear_algebra.h or the libraries themselves.
//
// Elements are stored by columns: element (r, c) at r + c * rows. The
// back-end is chosen at compile time by Impl, a std::integral_constant of
// ImplType: 12 for BLAS and LAPACK, 11 for the vector library's own matrix
// routines (a different set of buffers, see the specialisation below).
#pragma once

#include "dsp/tool/base_dynamic_tool.h"
#include "dsp/vec/vec.h"

#include <algorithm>
#include <complex>
#include <cstdint>
#include <type_traits>

namespace Tannhofen::DSP::Data {

enum class ImplType : int32_t {
    VecSignal = 10, // the vector library's signal-processing routines
    VecMatrix = 11, // the vector library's own matrix routines
    Blas = 12,      // BLAS and LAPACK
};

template <ImplType V>
using Impl = std::integral_constant<ImplType, V>;
using ImplVecSignal = Impl<ImplType::VecSignal>;
using ImplVecMatrix = Impl<ImplType::VecMatrix>;
using ImplBlas = Impl<ImplType::Blas>;

namespace Detail {

template <class E>
bool allocate(E*& p, std::size_t count) {
    p = count ? Vec::malloc<E>(count) : nullptr;
    if (p) Vec::zero(p, count);
    return count == 0 || p != nullptr;
}

template <class E>
void release(E*& p) {
    Vec::free(p);
    p = nullptr;
}

} // namespace Detail

// What every matrix kind shares: the sizes, the elements and the workspace
// that inversion and resizing go through. Element is T, or std::complex<T>
// for pairs of real and imaginary parts.
template <class Element>
class MatrixBase : public Tool::BaseDynamicTool {
public:
    using ElementType = Element;

    MatrixBase(uint32_t maxRows_, uint32_t maxColumns_, bool noWorkspace_)
        : rows(maxRows_),
          columns(maxColumns_),
          maxRows(maxRows_),
          maxColumns(maxColumns_),
          noWorkspace(noWorkspace_) {}
    // Objects own their buffers: a copy would free them twice.
    MatrixBase(const MatrixBase&) = delete;
    MatrixBase& operator=(const MatrixBase&) = delete;

    ~MatrixBase() override { freeBase(); }

    // False on success, true if any allocation failed. Everything starts zeroed.
    virtual bool init() = 0;
    // Frees and clears the pointers; true if data is still set afterwards.
    virtual bool release() = 0;
    // Zeroes rows x columns elements, not the whole capacity.
    virtual void clear() { Vec::zero(data, std::size_t(rows) * columns); }

    // A new size inside the capacity. With a workspace the contents follow:
    // element (r, c) inside both sizes keeps its place, the others become 0.
    // Without one only the size changes.
    void resize(uint32_t newRows, uint32_t newColumns) {
        if (newRows == rows && newColumns == columns) return;
        if (!noWorkspace && data && inverseWorkspace) {
            const std::size_t count = std::size_t(newRows) * newColumns;
            Vec::zero(inverseWorkspace, count);
            const uint32_t keepRows = std::min(rows, newRows), keepColumns = std::min(columns, newColumns);
            for (uint32_t c = 0; c < keepColumns; ++c)
                Vec::copy(data + std::size_t(c) * rows, inverseWorkspace + std::size_t(c) * newRows,
                          keepRows);
            Vec::copy(inverseWorkspace, data, count);
        }
        rows = newRows;
        columns = newColumns;
    }

    Element& at(uint32_t r, uint32_t c) { return data[r + std::size_t(c) * rows]; }
    const Element& at(uint32_t r, uint32_t c) const { return data[r + std::size_t(c) * rows]; }

    uint32_t rows;
    uint32_t columns;
    uint32_t maxRows;
    uint32_t maxColumns;
    bool noWorkspace;
    Element* data = nullptr;
    Element* inverseWorkspace = nullptr;

protected:
    // Allocates data, and the workspace unless noWorkspace; true when all succeeded.
    bool allocateBase(std::size_t dataCount, std::size_t workspaceCount) {
        freeBase();
        this->initialised = true;
        bool ok = Detail::allocate(data, dataCount);
        if (!noWorkspace) ok = Detail::allocate(inverseWorkspace, workspaceCount) && ok;
        return ok;
    }
    void freeBase() {
        Detail::release(data);
        Detail::release(inverseWorkspace);
    }
};

// The BLAS and LAPACK back-end, for all three kinds: scratch for LU pivots and
// balancing scales besides the workspace.
template <class Element, class Real, class ImplTag>
class BlasMatrix : public MatrixBase<Element> {
public:
    static_assert(
        ImplTag::value == ImplType::Blas,
        "matrices use BLAS and LAPACK; the vector library's back-end is SmallColumnMatrix<T, ImplVecMatrix>");
    using RealType = Real;
    static constexpr ImplType implType = ImplTag::value;

    using MatrixBase<Element>::MatrixBase;
    ~BlasMatrix() override { freeScratch(); }

    bool init() override {
        freeScratch();
        const std::size_t count = std::size_t(this->maxRows) * this->maxColumns;
        const std::size_t pivotCount = std::size_t(std::max(this->maxRows, this->maxColumns)) + 1;
        bool ok = this->allocateBase(count, count);
        if (!this->noWorkspace) {
            ok = Detail::allocate(pivots, pivotCount) && ok;
            ok = Detail::allocate(scaleWorkspace, pivotCount) && ok;
        }
        return !ok;
    }

    bool release() override {
        freeScratch();
        this->freeBase();
        return this->data != nullptr;
    }

    int32_t* pivots = nullptr;      // the larger capacity plus one
    Real* scaleWorkspace = nullptr; // as many as pivots

private:
    void freeScratch() {
        Detail::release(pivots);
        Detail::release(scaleWorkspace);
    }
};

template <class T, class ImplTag = ImplBlas>
class SmallMatrix : public BlasMatrix<T, T, ImplTag> {
public:
    explicit SmallMatrix(uint32_t maxRows = 0, uint32_t maxColumns = 0, bool noWorkspace = false)
        : BlasMatrix<T, T, ImplTag>(maxRows, maxColumns, noWorkspace) {}
};

template <class T, class ImplTag = ImplBlas>
class SmallComplexMatrix : public BlasMatrix<std::complex<T>, T, ImplTag> {
public:
    explicit SmallComplexMatrix(uint32_t maxRows = 0, uint32_t maxColumns = 0, bool noWorkspace = false)
        : BlasMatrix<std::complex<T>, T, ImplTag>(maxRows, maxColumns, noWorkspace) {}
};

// A column of values (a root list, a gain column): one column unless told otherwise.
template <class T, class ImplTag = ImplBlas>
class SmallColumnMatrix : public BlasMatrix<T, T, ImplTag> {
public:
    explicit SmallColumnMatrix(uint32_t maxRows = 0, uint32_t maxColumns = 1, bool noWorkspace = false)
        : BlasMatrix<T, T, ImplTag>(maxRows, maxColumns, noWorkspace) {}
};

// The vector library's matrix back-end. With m the larger capacity, data holds
// m x m elements, inverseWorkspace m x m + m, and inversionWork what
// Vec::matInvert needs for maxRows.
template <class T>
class SmallColumnMatrix<T, ImplVecMatrix> : public MatrixBase<T> {
public:
    using RealType = T;
    static constexpr ImplType implType = ImplType::VecMatrix;

    explicit SmallColumnMatrix(uint32_t maxRows = 0, uint32_t maxColumns = 1, bool noWorkspace = false)
        : MatrixBase<T>(maxRows, maxColumns, noWorkspace) {}
    ~SmallColumnMatrix() override { Detail::release(inversionWork); }

    bool init() override {
        Detail::release(inversionWork);
        const std::size_t m = std::max(this->maxRows, this->maxColumns);
        bool ok = this->allocateBase(m * m, m * m + m);
        if (!this->noWorkspace)
            ok = Detail::allocate(inversionWork, std::size_t(Vec::matInvertWorkSize(int(this->maxRows)))) &&
                 ok;
        return !ok;
    }

    bool release() override {
        Detail::release(inversionWork);
        this->freeBase();
        return this->data != nullptr;
    }

    T* inversionWork = nullptr;
};

} // namespace Tannhofen::DSP::Data
