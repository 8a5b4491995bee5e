// Views of arrays that others own: a base address, extents and
// strides, passed by value. Routines that hosts and other subsystems call with
// sections of larger arrays take views, so that nobody has to copy first.
// Indices start at 0. Strides count elements. A const view is one of `const Real`.
#pragma once

#include <cstddef>

namespace vorin {

template <class Real>
struct VectorView {
  Real* base = nullptr;
  std::ptrdiff_t n = 0;
  std::ptrdiff_t stride = 1;

  Real& operator[](std::ptrdiff_t i) const { return base[i * stride]; }

  /// The `count` elements from `first` on.
  VectorView section(std::ptrdiff_t first, std::ptrdiff_t count) const {
    return {base + first * stride, count, stride};
  }

  operator VectorView<const Real>() const { return {base, n, stride}; }
};

template <class Real>
struct MatrixView {
  Real* base = nullptr;
  std::ptrdiff_t rows = 0;
  std::ptrdiff_t cols = 0;
  std::ptrdiff_t rowStride = 1;
  std::ptrdiff_t colStride = 0;

  Real& operator()(std::ptrdiff_t i, std::ptrdiff_t j) const {
    return base[i * rowStride + j * colStride];
  }

  VectorView<Real> column(std::ptrdiff_t j) const {
    return {base + j * colStride, rows, rowStride};
  }
  VectorView<Real> row(std::ptrdiff_t i) const { return {base + i * rowStride, cols, colStride}; }

  operator MatrixView<const Real>() const { return {base, rows, cols, rowStride, colStride}; }
};

/// A contiguous column-major matrix: element (i, j) at i + j * rows.
template <class Real>
MatrixView<Real> denseColumns(Real* base, std::ptrdiff_t rows, std::ptrdiff_t cols) {
  return {base, rows, cols, 1, rows};
}

/// A column-major matrix with unit row stride, element (i, j) at i + j * ld. Loops over a
/// column vectorise with it where MatrixView's row stride, known only at run time, forbids it.
template <class Real>
struct ColumnMajorView {
  Real* base = nullptr;
  std::ptrdiff_t ld = 0;  ///< leading dimension

  Real& operator()(std::ptrdiff_t i, std::ptrdiff_t j) const { return base[i + j * ld]; }
  /// The address of element (0, j); the column's elements follow each other.
  Real* column(std::ptrdiff_t j) const { return base + j * ld; }

  operator ColumnMajorView<const Real>() const { return {base, ld}; }
};

}  // namespace vorin
