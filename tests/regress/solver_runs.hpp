// One call of each solver on copies of a problem's arrays, with everything it gave.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "brd/nnls.hpp"
#include "regress/bvls.hpp"
#include "regress/random_problem.hpp"
#include "toolbox/views.hpp"

namespace vorin::testing {

inline void callBvls(MatrixView<float> A, VectorView<float> B, MatrixView<const float> BND,
                     VectorView<float> X, float& rnorm, std::int32_t& nsetp, VectorView<float> W,
                     VectorView<std::int32_t> INDEX, std::int32_t itmax, std::int32_t& ierr) {
  regress::BVLS_sp(A, B, BND, X, rnorm, nsetp, W, INDEX, itmax, ierr);
}
inline void callBvls(MatrixView<double> A, VectorView<double> B, MatrixView<const double> BND,
                     VectorView<double> X, double& rnorm, std::int32_t& nsetp, VectorView<double> W,
                     VectorView<std::int32_t> INDEX, std::int32_t itmax, std::int32_t& ierr) {
  regress::BVLS_dp(A, B, BND, X, rnorm, nsetp, W, INDEX, itmax, ierr);
}

inline void callPlsB(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
                     std::int32_t itmax, std::int32_t& status) {
  regress::plsB_sp(A, b, x, rnorm, itmax, status);
}
inline void callPlsB(MatrixView<double> A, VectorView<double> b, VectorView<double> x,
                     double& rnorm, std::int32_t itmax, std::int32_t& status) {
  regress::plsB_dp(A, b, x, rnorm, itmax, status);
}

inline void callNnls(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
                     VectorView<float> w, VectorView<std::int32_t> index, std::int32_t& mode) {
  brd::NNLS_s(A, b, x, rnorm, w, index, mode);
}
inline void callNnls(MatrixView<double> A, VectorView<double> b, VectorView<double> x,
                     double& rnorm, VectorView<double> w, VectorView<std::int32_t> index,
                     std::int32_t& mode) {
  brd::NNLS_d(A, b, x, rnorm, w, index, mode);
}

template <class Element>
VectorView<Element> viewOf(std::vector<Element>& v) {
  return {v.data(), static_cast<std::ptrdiff_t>(v.size()), 1};
}

/// What a run left behind; numbers the solver may leave alone begin as marks.
template <class Real>
struct Run {
  std::vector<Real> A;
  std::vector<Real> b;
  std::vector<Real> x;
  std::vector<Real> w;
  std::vector<std::int32_t> index;
  Real rnorm = Real(-77);
  std::int32_t nsetp = -77;
  std::int32_t status = -77;

  explicit Run(const BoxProblem<Real>& p)
      : A(p.A),
        b(p.b),
        x(static_cast<std::size_t>(p.n), Real(-77)),
        w(static_cast<std::size_t>(p.n), Real(-77)),
        index(static_cast<std::size_t>(p.n), -77) {}

  /// True when index holds each column number 1 .. n once.
  bool indexIsPermutation() const {
    std::vector<int> seen(index.size(), 0);
    for (const std::int32_t column : index) {
      if (column < 1 || static_cast<std::size_t>(column) > index.size() ||
          seen[static_cast<std::size_t>(column - 1)]++ != 0) {
        return false;
      }
    }
    return true;
  }
};

template <class Real>
std::vector<Real> boundsOf(const BoxProblem<Real>& p) {
  std::vector<Real> bounds;
  for (std::size_t j = 0; j < p.lower.size(); ++j) {
    bounds.push_back(p.lower[j]);
    bounds.push_back(p.upper[j]);
  }
  return bounds;
}

template <class Real>
Run<Real> runBvls(const BoxProblem<Real>& p, std::int32_t itmax = 0) {
  Run<Real> run(p);
  const std::vector<Real> bounds = boundsOf(p);
  callBvls(denseColumns(run.A.data(), p.m, p.n), viewOf(run.b), denseColumns(bounds.data(), 2, p.n),
           viewOf(run.x), run.rnorm, run.nsetp, viewOf(run.w), viewOf(run.index), itmax,
           run.status);
  return run;
}

template <class Real>
Run<Real> runPlsB(const BoxProblem<Real>& p, std::int32_t itmax = 0) {
  Run<Real> run(p);
  callPlsB(denseColumns(run.A.data(), p.m, p.n), viewOf(run.b), viewOf(run.x), run.rnorm, itmax,
           run.status);
  return run;
}

template <class Real>
Run<Real> runNnls(const BoxProblem<Real>& p) {
  Run<Real> run(p);
  callNnls(denseColumns(run.A.data(), p.m, p.n), viewOf(run.b), viewOf(run.x), run.rnorm,
           viewOf(run.w), viewOf(run.index), run.status);
  return run;
}

}  // namespace vorin::testing
