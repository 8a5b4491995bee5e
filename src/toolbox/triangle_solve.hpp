// Back-substitution with the triangular columns of an active-set solver (NNLS, BVLS).
#pragma once

#include <cstddef>
#include <cstdint>

#include "toolbox/views.hpp"

namespace vorin {

/// Solves R z = z in place, column by column from the last, where column k of the upper triangle R
/// is A(0 .. k, order[k]).
///   A      in: the rotated matrix; its first `count` rows hold R
///   order  in: at least `count` column numbers, counted from 0
///   count  in: size of R
///   z      in and out: right-hand side and solution, `count` elements
template <class Real>
void solveTriangle(MatrixView<const Real> A, VectorView<const std::int32_t> order,
                   std::ptrdiff_t count, Real* z) {
  for (std::ptrdiff_t i = count - 1; i >= 0; --i) {
    if (i < count - 1) {
      const std::ptrdiff_t solved = order[i + 1];
      for (std::ptrdiff_t k = 0; k <= i; ++k) {
        z[k] -= A(k, solved) * z[i + 1];
      }
    }
    z[i] /= A(i, order[i]);
  }
}

}  // namespace vorin
