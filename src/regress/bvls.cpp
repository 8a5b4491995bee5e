// The names of BVLS by precision, and its form with x >= 0. The body is in
// bvls_solver.hpp. The twins differ in the machine epsilon and in the value from
// which a bound counts as none, and both are those of the type.
#include "regress/bvls.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "regress/bvls_solver.hpp"

namespace vorin::regress {
namespace {

template <class Real>
void solveNonNegative(MatrixView<Real> A, VectorView<Real> b, VectorView<Real> x, Real& rnorm,
                      std::int32_t itmax, std::int32_t& status) {
  const std::ptrdiff_t n = std::max<std::ptrdiff_t>(A.cols, 0);
  const auto size = static_cast<std::size_t>(n);
  std::vector<Real> bounds(2 * size);
  for (std::size_t j = 0; j < size; ++j) {
    bounds[2 * j] = Real(0);
    bounds[2 * j + 1] = std::numeric_limits<Real>::max();
  }
  std::vector<Real> w(size);
  std::vector<std::int32_t> index(size);
  std::int32_t nsetp = 0;
  BvlsSolver<Real> solver(A, b, denseColumns<const Real>(bounds.data(), 2, n), x, {w.data(), n, 1},
                          {index.data(), n, 1});
  status = solver.run(rnorm, nsetp, itmax);
}

}  // namespace

void BVLS_sp(MatrixView<float> A, VectorView<float> B, MatrixView<const float> BND,
             VectorView<float> X, float& rnorm, std::int32_t& nsetp, VectorView<float> W,
             VectorView<std::int32_t> INDEX, std::int32_t itmax, std::int32_t& ierr) {
  ierr = BvlsSolver<float>(A, B, BND, X, W, INDEX).run(rnorm, nsetp, itmax);
}

void BVLS_dp(MatrixView<double> A, VectorView<double> B, MatrixView<const double> BND,
             VectorView<double> X, double& rnorm, std::int32_t& nsetp, VectorView<double> W,
             VectorView<std::int32_t> INDEX, std::int32_t itmax, std::int32_t& ierr) {
  ierr = BvlsSolver<double>(A, B, BND, X, W, INDEX).run(rnorm, nsetp, itmax);
}

void plsB_sp(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
             std::int32_t itmax, std::int32_t& status) {
  solveNonNegative(A, b, x, rnorm, itmax, status);
}

void plsB_dp(MatrixView<double> A, VectorView<double> b, VectorView<double> x, double& rnorm,
             std::int32_t itmax, std::int32_t& status) {
  solveNonNegative(A, b, x, rnorm, itmax, status);
}

}  // namespace vorin::regress
