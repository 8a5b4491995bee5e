// Non-negative fits of one reduced problem at many weights, with what a choice of the weight
// needs of each: residual, norm, degrees of freedom, determinant.
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/inverting/dense_operator.hpp"
#include "toolkit/inverting/dual_newton.hpp"
#include "toolkit/inverting/problem.hpp"

namespace vorin::toolkit {

/// The columns first .. last of a grid, both included.
struct ColumnRange {
  std::size_t first = 0;
  std::size_t last = 0;

  std::size_t count() const { return last - first + 1; }
  bool operator==(const ColumnRange&) const = default;
};

/// The problem of some columns only.
ReducedProblem columnsOf(const ReducedProblem& problem, ColumnRange range);

/// The problem without the rows whose numbers, rising, are `left`.
ReducedProblem withoutRows(const ReducedProblem& problem, const std::vector<std::size_t>& left);

/// d - K f of each row, where `f` begins at column `first` and the others are 0.
std::vector<double> residualOf(const ReducedProblem& problem, const std::vector<double>& f,
                               std::size_t first = 0);

/// A fit without a penalty.
struct ClosestFit {
  std::vector<double> f;
  std::vector<double> residual;  ///< d - K f, of each row
  double rss = 0.0;              ///< its sum of squares
  int positive = 0;              ///< elements of f above 0: the fit's degrees of freedom
};

/// The non-negative f of the smallest |K f - d| (Lawson and Hanson, Solving Least Squares
/// Problems, 1974, chapter 23). The count of its positive elements is its degrees of freedom
/// (Meyer and Woodroofe, Ann. Stat. 28, 1083, 2000).
ClosestFit closestFit(const ReducedProblem& problem);

/// The minimiser of |K f - d|^2 + w |f|^2 over f >= 0.
struct PenalisedFit {
  double weight = 0.0;
  double rss = 0.0;             ///< |K f - d|^2
  double norm = 0.0;            ///< |f|^2
  double freedom = 0.0;         ///< tr A (A + w I)^-1 with A = K_P' K_P, P where f > 0
  double logDeterminant = 0.0;  ///< ln det(I + A / w)
};

/// Solves one problem at many weights by the dual iteration, each from the one before. The fewer
/// rows the problem has, the faster.
class PenalisedFits {
 public:
  explicit PenalisedFits(const ReducedProblem& problem);

  /// `f`, if there is one, takes the distribution.
  PenalisedFit at(double weight, std::vector<double>* f = nullptr);

  /// Its |K f - d|^2 + w |f|^2 alone.
  double functionalAt(double weight, std::vector<double>* f = nullptr);

  /// The largest squared column norm of K, the scale of a weight.
  double largestColumn() const;

 private:
  void solve(double weight, std::vector<double>* f);
  void addFreedom(PenalisedFit& fit) const;

  std::size_t columns_;
  std::vector<double> d_;
  DenseOperator K_;
  DualState state_;
};

}  // namespace vorin::toolkit
