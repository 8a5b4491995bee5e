#include "toolkit/inverting/nonnegative.hpp"

#include <vorin.h>

#include <algorithm>
#include <cmath>

#include "brd/qp_bounded.hpp"
#include "toolkit/model/matrix.hpp"

namespace vorin::toolkit {

namespace {

/// d - K f.
std::vector<double> residualOf(const ReducedProblem& problem, const std::vector<double>& f) {
  std::vector<double> residual = problem.d;
  for (std::size_t j = 0; j < f.size(); ++j) {
    if (f[j] != 0.0) {
      const double* const column = problem.K.data() + j * residual.size();
      for (std::size_t i = 0; i < residual.size(); ++i) {
        residual[i] -= f[j] * column[i];
      }
    }
  }
  return residual;
}

double sumOfSquares(const std::vector<double>& values) {
  double sum = 0.0;
  for (double value : values) {
    sum += value * value;
  }
  return sum;
}

/// The lower Cholesky factor of the `size` x `size` matrix A by rows, in its place.
void factorise(std::vector<double>& A, std::size_t size) {
  constexpr double leastPivot = 1e-300;
  for (std::size_t j = 0; j < size; ++j) {
    for (std::size_t i = j; i < size; ++i) {
      double value = A[i * size + j];
      for (std::size_t k = 0; k < j; ++k) {
        value -= A[i * size + k] * A[j * size + k];
      }
      A[i * size + j] = i == j ? std::sqrt(std::max(value, leastPivot)) : value / A[j * size + j];
    }
  }
}

/// The trace of (L L')^-1: the sum of the squares of L^-1.
double traceOfInverse(const std::vector<double>& L, std::size_t size) {
  double trace = 0.0;
  std::vector<double> x(size);
  for (std::size_t column = 0; column < size; ++column) {
    for (std::size_t i = column; i < size; ++i) {
      double value = i == column ? 1.0 : 0.0;
      for (std::size_t k = column; k < i; ++k) {
        value -= L[i * size + k] * x[k];
      }
      x[i] = value / L[i * size + i];
      trace += x[i] * x[i];
    }
  }
  return trace;
}

}  // namespace

ReducedProblem columnsOf(const ReducedProblem& problem, ColumnRange range) {
  const auto rows = static_cast<std::ptrdiff_t>(problem.rows);
  const auto begin = problem.K.begin() + static_cast<std::ptrdiff_t>(range.first) * rows;
  const auto end = problem.K.begin() + static_cast<std::ptrdiff_t>(range.last + 1) * rows;
  return {problem.rows, static_cast<std::int32_t>(range.count()), {begin, end}, problem.d};
}

ReducedProblem withoutRows(const ReducedProblem& problem, const std::vector<std::size_t>& left) {
  const auto rows = static_cast<std::size_t>(problem.rows);
  return {problem.rows - static_cast<std::int32_t>(left.size()), problem.columns,
          withoutRows(problem.K, rows, left), withoutRows(problem.d, rows, left)};
}

ClosestFit closestFit(const ReducedProblem& problem) {
  ClosestFit result;
  result.f.resize(static_cast<std::size_t>(problem.columns));
  std::int32_t status = 0;
  plsN_dll(problem.K.data(), problem.rows, problem.columns, problem.d.data(), result.f.data(),
           &status);
  result.residual = residualOf(problem, result.f);
  result.rss = sumOfSquares(result.residual);
  result.positive = static_cast<int>(
      std::count_if(result.f.begin(), result.f.end(), [](double value) { return value > 0.0; }));
  return result;
}

PenalisedFits::PenalisedFits(const ReducedProblem& problem)
    : problem_(&problem),
      n_(static_cast<std::size_t>(problem.columns)),
      normal_(n_ * n_),
      minusRight_(n_),
      storage_(n_ * n_) {
  const std::size_t m = problem.d.size();
  for (std::size_t j = 0; j < n_; ++j) {
    const double* const right = problem.K.data() + j * m;
    for (std::size_t i = 0; i <= j; ++i) {
      const double* const left = problem.K.data() + i * m;
      double sum = 0.0;
      for (std::size_t row = 0; row < m; ++row) {
        sum += left[row] * right[row];
      }
      normal_[i * n_ + j] = normal_[j * n_ + i] = sum;
    }
    for (std::size_t row = 0; row < m; ++row) {
      minusRight_[j] -= right[row] * problem.d[row];
    }
  }
}

double PenalisedFits::largestColumn() const {
  double largest = 0.0;
  for (std::size_t j = 0; j < n_; ++j) {
    largest = std::max(largest, normal_[j * n_ + j]);
  }
  return largest;
}

PenalisedFit PenalisedFits::at(double weight, std::vector<double>* f) {
  std::vector<double> Q = normal_;
  for (std::size_t j = 0; j < n_; ++j) {
    Q[j * n_ + j] += weight;
  }
  brd::BoundedMinimum minimum(static_cast<int>(n_), Q.data(), minusRight_.data(), storage_.data());
  minimum.solve();
  PenalisedFit fit;
  fit.weight = weight;
  fit.rss = sumOfSquares(residualOf(*problem_, minimum.x()));
  fit.norm = sumOfSquares(minimum.x());
  addFreedom(fit, minimum.x());
  if (f != nullptr) {
    *f = minimum.x();
  }
  return fit;
}

void PenalisedFits::addFreedom(PenalisedFit& fit, const std::vector<double>& f) const {
  std::vector<std::size_t> positive;
  for (std::size_t j = 0; j < n_; ++j) {
    if (f[j] > 0.0) {
      positive.push_back(j);
    }
  }
  const std::size_t size = positive.size();
  std::vector<double> A(size * size);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = 0; j <= i; ++j) {
      A[i * size + j] = normal_[positive[i] * n_ + positive[j]] + (i == j ? fit.weight : 0.0);
    }
  }
  factorise(A, size);
  for (std::size_t i = 0; i < size; ++i) {
    fit.logDeterminant += 2.0 * std::log(A[i * size + i]) - std::log(fit.weight);
  }
  fit.freedom = static_cast<double>(size) - fit.weight * traceOfInverse(A, size);
}

}  // namespace vorin::toolkit
