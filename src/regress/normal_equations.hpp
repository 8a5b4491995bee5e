// The penalised normal equations, once for both precisions:
//
//     A x = c,   A = X'X + sum over k of lambda(k) P(k),   c = X'y
//
// with the difference penalties P(k) of penalty_matrix.hpp. Every sum runs in the
// precision of the data, over the data rows from the first to the last.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "regress/penalty_matrix.hpp"
#include "toolbox/views.hpp"

namespace vorin::regress {

inline void penaltyMatrix(std::int32_t order, std::int32_t n, float* P) {
  PenaltyMatrix_sp(order, n, P);
}
inline void penaltyMatrix(std::int32_t order, std::int32_t n, double* P) {
  PenaltyMatrix_dp(order, n, P);
}

/// A and c of one fit; A is n by n, column-major, contiguous, c has n elements.
template <class Real>
struct NormalEquations {
  std::ptrdiff_t n = 0;
  std::vector<Real> A;
  std::vector<Real> c;

  MatrixView<Real> matrix() { return denseColumns(A.data(), n, n); }
  VectorView<Real> rightHandSide() { return {c.data(), n, 1}; }
};

/// N = X'X. Data rows are outermost, so that each row is gathered once, whatever
/// the strides of X. One triangle is summed and mirrored: its elements are the same
/// sums as the other's, so that the full square would hold the same bits.
template <class Real>
void sumNormalMatrix(MatrixView<const Real> X, MatrixView<Real> N) {
  const std::ptrdiff_t n = N.cols;
  std::vector<Real> row(static_cast<std::size_t>(n));
  for (std::ptrdiff_t i = 0; i < X.rows; ++i) {
    for (std::ptrdiff_t j = 0; j < n; ++j) {
      row[static_cast<std::size_t>(j)] = X(i, j);
    }
    for (std::ptrdiff_t j = 0; j < n; ++j) {
      const Real factor = row[static_cast<std::size_t>(j)];
      for (std::ptrdiff_t l = 0; l <= j; ++l) {
        N(l, j) += factor * row[static_cast<std::size_t>(l)];
      }
    }
  }
  for (std::ptrdiff_t j = 0; j < n; ++j) {
    for (std::ptrdiff_t l = 0; l < j; ++l) {
      N(j, l) = N(l, j);
    }
  }
}

/// Forms A and c for X (m by n), y (m) and the weights lambda, whose extent is
/// how many penalties are added. A weight of zero is added like any other.
template <class Real>
NormalEquations<Real> formNormalEquations(MatrixView<const Real> X, VectorView<const Real> y,
                                          VectorView<const Real> lambda) {
  NormalEquations<Real> system;
  system.n = std::max<std::ptrdiff_t>(X.cols, 0);
  const auto n = static_cast<std::size_t>(system.n);
  system.A.assign(n * n, Real(0));
  system.c.assign(n, Real(0));
  if (n == 0) {
    return system;
  }
  sumNormalMatrix(X, system.matrix());
  std::vector<Real> P(n * n);
  for (std::ptrdiff_t k = 0; k < lambda.n; ++k) {
    penaltyMatrix(static_cast<std::int32_t>(k), static_cast<std::int32_t>(system.n), P.data());
    for (std::size_t e = 0; e < n * n; ++e) {
      system.A[e] = system.A[e] + lambda[k] * P[e];
    }
  }
  for (std::ptrdiff_t j = 0; j < system.n; ++j) {
    Real sum = 0;
    for (std::ptrdiff_t i = 0; i < X.rows; ++i) {
      sum += y[i] * X(i, j);
    }
    system.c[static_cast<std::size_t>(j)] = sum;
  }
  return system;
}

}  // namespace vorin::regress
