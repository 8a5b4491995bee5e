#include "toolkit/inverting/nonnegative.hpp"

#include <algorithm>
#include <cmath>

#include "regress/penalised_fit.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolkit/model/matrix.hpp"

namespace vorin::toolkit {

namespace {

double sumOfSquares(const std::vector<double>& values) {
  double sum = 0.0;
  for (double value : values) {
    sum += value * value;
  }
  return sum;
}

/// The trace of (L L')^-1 with L lower (n x n, column-major): the sum of the squares of L^-1.
double traceOfInverse(const std::vector<double>& L, std::size_t n) {
  double trace = 0.0;
  std::vector<double> x(n);
  for (std::size_t column = 0; column < n; ++column) {
    std::fill(x.begin() + static_cast<std::ptrdiff_t>(column), x.end(), 0.0);
    x[column] = 1.0;
    for (std::size_t k = column; k < n; ++k) {
      x[k] /= L[k * n + k];
      trace += x[k] * x[k];
      for (std::size_t i = k + 1; i < n; ++i) {
        x[i] -= L[k * n + i] * x[k];
      }
    }
  }
  return trace;
}

}  // namespace

ReducedProblem columnsOf(const ReducedProblem& problem, ColumnRange range) {
  const auto rows = static_cast<std::ptrdiff_t>(problem.rows);
  const auto begin = problem.K.begin() + static_cast<std::ptrdiff_t>(range.first) * rows;
  const auto end = problem.K.begin() + static_cast<std::ptrdiff_t>(range.last + 1) * rows;
  return {problem.rows,
          static_cast<std::int32_t>(range.count()),
          {begin, end},
          problem.d,
          problem.observed};
}

ReducedProblem withoutRows(const ReducedProblem& problem, const std::vector<std::size_t>& left) {
  const auto rows = static_cast<std::size_t>(problem.rows);
  const auto fewer = static_cast<std::int32_t>(left.size());
  return {problem.rows - fewer, problem.columns, withoutRows(problem.K, rows, left),
          withoutRows(problem.d, rows, left), problem.observed - fewer};
}

std::vector<double> residualOf(const ReducedProblem& problem, const std::vector<double>& f,
                               std::size_t first) {
  std::vector<double> residual = problem.d;
  for (std::size_t j = 0; j < f.size(); ++j) {
    if (f[j] != 0.0) {
      const double* const column = problem.K.data() + (first + j) * residual.size();
      for (std::size_t i = 0; i < residual.size(); ++i) {
        residual[i] -= f[j] * column[i];
      }
    }
  }
  return residual;
}

ClosestFit closestFit(const ReducedProblem& problem) {
  ClosestFit result;
  result.f.resize(static_cast<std::size_t>(problem.columns));
  const std::vector<float> K(problem.K.begin(), problem.K.end());
  const std::vector<float> d(problem.d.begin(), problem.d.end());
  std::vector<float> f(result.f.size());
  float norm = 0.0F;
  std::int32_t status = 0;
  regress::plsN_sp(denseColumns(K.data(), problem.rows, problem.columns),
                   {d.data(), problem.rows, 1}, {f.data(), problem.columns, 1}, norm,
                   regress::fitIterationLimit(problem.columns), status);
  std::copy(f.begin(), f.end(), result.f.begin());
  result.residual = residualOf(problem, result.f);
  result.rss = sumOfSquares(result.residual);
  result.positive = static_cast<int>(
      std::count_if(result.f.begin(), result.f.end(), [](double value) { return value > 0.0; }));
  return result;
}

PenalisedFits::PenalisedFits(const ReducedProblem& problem)
    : columns_(static_cast<std::size_t>(problem.columns)),
      d_(problem.d),
      K_(problem.K, problem.rows) {}

double PenalisedFits::largestColumn() const {
  return K_.largestColumn();
}

void PenalisedFits::solve(double weight, std::vector<double>* f) {
  // The gap is of sum of squares and penalty together: what it leaves open of the first is small
  // beside a noise variance, of which a sum of some hundred is made.
  constexpr double gap = 1e-8;
  solveDual(K_, d_, weight, gap, state_);
  if (f != nullptr) {
    f->assign(state_.F.begin(), state_.F.begin() + static_cast<std::ptrdiff_t>(columns_));
  }
}

PenalisedFit PenalisedFits::at(double weight, std::vector<double>* f) {
  solve(weight, f);
  PenalisedFit fit;
  fit.weight = weight;
  fit.rss = state_.squares;
  fit.norm = sumOfSquares(state_.F);
  addFreedom(fit);
  return fit;
}

double PenalisedFits::functionalAt(double weight, std::vector<double>* f) {
  solve(weight, f);
  return state_.squares + weight * sumOfSquares(state_.F);
}

void PenalisedFits::addFreedom(PenalisedFit& fit) const {
  // By B = K_P K_P' in place of A = K_P' K_P: they share their eigenvalues above 0.
  const auto n = static_cast<std::size_t>(K_.rows());
  std::vector<double> B(n * n);
  std::vector<double> pivots(n);
  K_.gram(state_.F.data(), B.data());
  for (std::size_t r = 0; r < n; ++r) {
    B[r * n + r] += fit.weight;
  }
  kernels::table<double>().cholesky(K_.rows(), K_.rows(), B.data(), pivots.data());
  for (const double pivot : pivots) {
    fit.logDeterminant += std::log(pivot / fit.weight);
  }
  fit.freedom = static_cast<double>(n) - fit.weight * traceOfInverse(B, n);
}

}  // namespace vorin::toolkit
