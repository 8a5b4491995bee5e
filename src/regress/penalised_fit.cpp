// Penalised linear fits by the normal equations, and the plain non-negative fit.
#include "regress/penalised_fit.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "brd/nnls.hpp"
#include "regress/bvls.hpp"
#include "regress/normal_equations.hpp"
#include "toolbox/lapack.hpp"

namespace vorin::regress {
namespace {

void plsB(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
          std::int32_t itmax, std::int32_t& status) {
  plsB_sp(A, b, x, rnorm, itmax, status);
}
void plsB(MatrixView<double> A, VectorView<double> b, VectorView<double> x, double& rnorm,
          std::int32_t itmax, std::int32_t& status) {
  plsB_dp(A, b, x, rnorm, itmax, status);
}

template <class Real>
void fitNonNegative(MatrixView<const Real> X, VectorView<const Real> y, VectorView<Real> x,
                    VectorView<const Real> lambda, std::int32_t& status) {
  NormalEquations<Real> system = formNormalEquations(X, y, lambda);
  Real rnorm = 0;
  status = bvlsSolved;
  plsB(system.matrix(), system.rightHandSide(), x, rnorm, fitIterationLimit(system.n), status);
}

}  // namespace

std::int32_t fitIterationLimit(std::int64_t n) {
  const std::int64_t limit = std::max<std::int64_t>(50, 5 * n);
  return static_cast<std::int32_t>(
      std::min<std::int64_t>(limit, std::numeric_limits<std::int32_t>::max()));
}

void plsPen_sp(MatrixView<const float> X, VectorView<const float> y, VectorView<float> x,
               VectorView<const float> lambda, std::int32_t& status) {
  fitNonNegative(X, y, x, lambda, status);
}

void plsPen_dp(MatrixView<const double> X, VectorView<const double> y, VectorView<double> x,
               VectorView<const double> lambda, std::int32_t& status) {
  fitNonNegative(X, y, x, lambda, status);
}

void LUPen_sp(MatrixView<const float> X, VectorView<const float> y, VectorView<float> x,
              VectorView<const float> lambda, std::int32_t& status) {
  status = 0;
  NormalEquations<float> system = formNormalEquations(X, y, lambda);
  const int n = static_cast<int>(system.n);
  std::vector<int> pivots(static_cast<std::size_t>(n));
  getrf(n, system.A.data(), n, pivots.data());
  getrs(n, system.A.data(), n, pivots.data(), system.c.data());
  for (std::ptrdiff_t j = 0; j < system.n; ++j) {
    x[j] = system.c[static_cast<std::size_t>(j)];
  }
}

void plsN_sp(MatrixView<const float> A, VectorView<const float> b, VectorView<float> x,
             float& rnorm, std::int32_t /*iterationLimit*/, std::int32_t& status) {
  const std::ptrdiff_t m = A.rows;
  const std::ptrdiff_t n = A.cols;
  if (m < 1 || n < 1) {
    status = brd::nnlsEmpty;  // what NNLS_s would say, without reading b
    return;
  }
  std::vector<float> matrix(static_cast<std::size_t>(m * n));
  std::vector<float> vector(static_cast<std::size_t>(m));
  const MatrixView<float> matrixCopy = denseColumns(matrix.data(), m, n);
  const VectorView<float> vectorCopy{vector.data(), m, 1};
  for (std::ptrdiff_t j = 0; j < n; ++j) {
    for (std::ptrdiff_t i = 0; i < m; ++i) {
      matrixCopy(i, j) = A(i, j);
    }
  }
  for (std::ptrdiff_t i = 0; i < m; ++i) {
    vectorCopy[i] = b[i];
  }
  std::vector<float> w(static_cast<std::size_t>(n));
  std::vector<std::int32_t> index(static_cast<std::size_t>(n));
  brd::NNLS_s(matrixCopy, vectorCopy, x, rnorm, {w.data(), n, 1}, {index.data(), n, 1}, status);
}

}  // namespace vorin::regress
