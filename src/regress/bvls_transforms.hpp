// The two orthogonal transformations of BVLS: the Householder reflection that
// makes a column the next one of the triangle, and the Givens rotation that
// restores the triangle when a column has left it (Golub and Van Loan, Matrix
// Computations, 3rd ed., Johns Hopkins 1996, section 5.1).
#pragma once

#include <cstddef>
#include <vector>

#include "toolbox/givens.hpp"
#include "toolbox/scaled_norm.hpp"
#include "toolbox/views.hpp"

namespace vorin::regress {

/// The reflection that turns column a, from row p on, into (pivot, 0, ..., 0).
/// Its vector u is a with UP = a(p) - pivot in the place of a(p).
template <class Real>
class PivotReflection {
 public:
  void reserve(std::ptrdiff_t rows) {
    u_.assign(static_cast<std::size_t>(rows), Real(0));
    quotient_.assign(static_cast<std::size_t>(rows), Real(0));
  }

  /// Builds the reflection of `column` at `row`, stores the pivot in the column
  /// (the elements below it stay, as they are those of u), and returns the pivot:
  /// the norm of the column from `row` on, with the sign opposite to its first
  /// element's, so that UP suffers no cancellation.
  Real build(VectorView<Real> column, std::ptrdiff_t row) {
    Real pivot = scaledNorm(column.section(row, column.n - row));
    if (column[row] > Real(0)) {
      pivot = -pivot;
    }
    row_ = row;
    up_ = column[row] - pivot;
    column[row] = pivot;
    // The quotients serve every column that apply meets.
    for (std::ptrdiff_t i = row; i < column.n; ++i) {
      const auto k = static_cast<std::size_t>(i);
      u_[k] = i == row ? up_ : column[i];
      quotient_[k] = u_[k] / pivot;
    }
    return pivot;
  }

  /// v += u ((u / pivot)'v / UP). The pivot must not be zero.
  void apply(VectorView<Real> v) const {
    Real sum = 0;
    for (std::ptrdiff_t i = row_; i < v.n; ++i) {
      sum += quotient_[static_cast<std::size_t>(i)] * v[i];
    }
    sum /= up_;
    for (std::ptrdiff_t i = row_; i < v.n; ++i) {
      v[i] += sum * u_[static_cast<std::size_t>(i)];
    }
  }

 private:
  std::vector<Real> u_;         ///< the vector, from row_ on
  std::vector<Real> quotient_;  ///< u / pivot
  Real up_ = 0;                 ///< u(row_)
  std::ptrdiff_t row_ = 0;
};

/// Turns rows k-1 and k of A and B so that A(k, l) becomes zero. All columns turn,
/// those outside the triangle included, so that later tests see them transformed.
template <class Real>
void rotateRows(MatrixView<Real> A, VectorView<Real> B, std::ptrdiff_t k, std::ptrdiff_t l) {
  Real c;
  Real s;
  Real diagonal;
  scaledGivens(A(k - 1, l), A(k, l), c, s, diagonal);
  for (std::ptrdiff_t j = 0; j < A.cols; ++j) {
    rotate(c, s, A(k - 1, j), A(k, j));
  }
  A(k - 1, l) = diagonal;
  A(k, l) = Real(0);
  rotate(c, s, B[k - 1], B[k]);
}

}  // namespace vorin::regress
