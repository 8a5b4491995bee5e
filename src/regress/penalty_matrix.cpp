// Difference penalties of any order, by repeated differencing of the identity.
#include "regress/penalty_matrix.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "toolbox/views.hpp"

namespace vorin::regress {
namespace {

/// The leading n - order rows become the differences of that order, row i the
/// stencil (-1)^(order - r) binomial(order, r) at columns i + r. Differencing runs
/// in place: row i needs only itself and row i + 1, which is still the old one.
template <class Real>
void differenceRows(std::ptrdiff_t order, MatrixView<Real> D) {
  for (std::ptrdiff_t j = 0; j < D.cols; ++j) {
    for (std::ptrdiff_t i = 0; i < D.rows; ++i) {
      D(i, j) = i == j ? Real(1) : Real(0);
    }
  }
  for (std::ptrdiff_t t = 0; t < order; ++t) {
    for (std::ptrdiff_t j = 0; j < D.cols; ++j) {
      for (std::ptrdiff_t i = 0; i < D.rows - t - 1; ++i) {
        D(i, j) = D(i + 1, j) - D(i, j);
      }
    }
  }
}

template <class Real>
void buildPenalty(std::ptrdiff_t order, std::ptrdiff_t n, Real* base) {
  if (n < 1) {
    return;
  }
  const MatrixView<Real> P = denseColumns(base, n, n);
  std::fill(base, base + n * n, Real(0));
  if (order >= n) {
    return;  // no difference of this order exists
  }
  std::vector<Real> stencils(static_cast<std::size_t>(n * n));
  const MatrixView<Real> D = denseColumns(stencils.data(), n, n);
  differenceRows(order, D);
  const std::ptrdiff_t rows = std::min(n - order, n);
  for (std::ptrdiff_t b = 0; b < n; ++b) {
    for (std::ptrdiff_t a = 0; a < n; ++a) {
      Real sum = 0;
      for (std::ptrdiff_t i = 0; i < rows; ++i) {
        sum += D(i, a) * D(i, b);
      }
      P(a, b) = sum;
    }
  }
}

}  // namespace

void PenaltyMatrix_sp(std::int32_t order, std::int32_t n, float* P) {
  buildPenalty<float>(order, n, P);
}

void PenaltyMatrix_dp(std::int32_t order, std::int32_t n, double* P) {
  buildPenalty<double>(order, n, P);
}

}  // namespace vorin::regress
