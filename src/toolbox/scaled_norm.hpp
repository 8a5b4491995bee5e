// The Euclidean norm of a vector, computed so that no square overflows or
// underflows before the root is taken.
#pragma once

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "toolbox/views.hpp"

namespace vorin {

/// The norm of `v` by a running scale, the largest magnitude so far, and the sum
/// of squares relative to it, after the reference BLAS (Lawson, Hanson, Kincaid
/// and Krogh, ACM Trans. Math. Softw. 5, 308, 1979). An empty vector has norm 0,
/// a single element its absolute value. In longer vectors an element that is not
/// greater than 0 in magnitude adds nothing, and that includes a NaN.
template <class Element>
std::remove_const_t<Element> scaledNorm(VectorView<Element> v) {
  using Real = std::remove_const_t<Element>;
  if (v.n < 1) {
    return Real(0);
  }
  if (v.n == 1) {
    return std::abs(v[0]);
  }
  Real scale = 0;
  Real sumOfSquares = 1;
  for (std::ptrdiff_t i = 0; i < v.n; ++i) {
    const Real magnitude = std::abs(v[i]);
    if (!(magnitude > Real(0))) {
      continue;
    }
    if (magnitude > scale) {
      const Real ratio = scale / magnitude;
      sumOfSquares = Real(1) + sumOfSquares * (ratio * ratio);
      scale = magnitude;
    } else {
      const Real ratio = magnitude / scale;
      sumOfSquares = sumOfSquares + ratio * ratio;
    }
  }
  return scale * std::sqrt(sumOfSquares);
}

}  // namespace vorin
