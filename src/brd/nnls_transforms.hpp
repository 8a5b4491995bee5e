// H12, the Householder transformation of NNLS (Lawson and Hanson, Solving Least Squares Problems,
// Prentice-Hall 1974, chapters 3 and 10).
#pragma once

#include <cmath>
#include <cstddef>

#include "toolbox/views.hpp"

namespace vorin::brd {

enum class H12Mode { buildAndApply = 1, apply = 2 };

/// Builds the Householder transformation that zeroes u(l1 .. m-1) into u(pivot),
/// and applies it to the columns of C; or applies one that was built before.
///   pivot, l1  in: rows, counted from 0
///   m          in: length; rows l1 .. m-1 take part beside the pivot. An empty range
///              (or pivot not before l1) changes nothing.
///   u          in and out: m; on building, u(pivot) takes the transformed element
///   up         out on building, in on applying: what the vector of the transformation
///              holds in the place of u(pivot)
///   C          in and out: at least m rows; its columns are transformed; it may
///              have none.
/// A vector that is zero changes nothing, nor does a product up * u(pivot) that is
/// not below zero, which no transformation has; a NaN counts as such.
template <class Real>
void H12(H12Mode mode, std::ptrdiff_t pivot, std::ptrdiff_t l1, std::ptrdiff_t m,
         VectorView<Real> u, Real& up, MatrixView<Real> C) {
  if (pivot < 0 || pivot >= l1 || l1 >= m) {
    return;
  }
  Real length = std::abs(u[pivot]);
  if (mode == H12Mode::buildAndApply) {
    for (std::ptrdiff_t i = l1; i < m; ++i) {
      const Real magnitude = std::abs(u[i]);
      if (magnitude > length) {
        length = magnitude;
      }
    }
    if (length <= Real(0)) {
      return;
    }
    // Relative to the largest element, so that no square overflows.
    const Real inverse = Real(1) / length;
    const Real scaledPivot = u[pivot] * inverse;
    Real sumOfSquares = scaledPivot * scaledPivot;
    for (std::ptrdiff_t i = l1; i < m; ++i) {
      const Real scaled = u[i] * inverse;
      sumOfSquares += scaled * scaled;
    }
    length *= std::sqrt(sumOfSquares);
    if (u[pivot] > Real(0)) {
      length = -length;
    }
    up = u[pivot] - length;
    u[pivot] = length;
  } else if (length <= Real(0)) {
    return;
  }
  const Real product = up * u[pivot];
  if (!(product < Real(0))) {
    return;
  }
  const Real factor = Real(1) / product;
  for (std::ptrdiff_t j = 0; j < C.cols; ++j) {
    Real sum = C(pivot, j) * up;
    for (std::ptrdiff_t i = l1; i < m; ++i) {
      sum += C(i, j) * u[i];
    }
    if (sum != Real(0)) {
      sum *= factor;
      C(pivot, j) += sum * up;
      for (std::ptrdiff_t i = l1; i < m; ++i) {
        C(i, j) += sum * u[i];
      }
    }
  }
}

}  // namespace vorin::brd
