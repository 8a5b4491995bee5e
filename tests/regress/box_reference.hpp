// Bounded least squares solved and judged a second time, in extended precision and
// with no code of the library's: an exhaustive search over active sets for small
// problems, and the optimality conditions for problems of any size.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "regress/random_problem.hpp"

namespace vorin::testing {

using Wide = long double;
using WideVector = std::vector<Wide>;

template <class Real>
WideVector wideColumn(const BoxProblem<Real>& p, int j) {
  WideVector column;
  for (int i = 0; i < p.m; ++i) {
    column.push_back(static_cast<Wide>(p.A[p.at(i, j)]));
  }
  return column;
}

inline Wide dot(const WideVector& u, const WideVector& v) {
  Wide sum = 0;
  for (std::size_t i = 0; i < u.size(); ++i) {
    sum += u[i] * v[i];
  }
  return sum;
}

/// b - A x.
template <class Real, class Solution>
WideVector residualOf(const BoxProblem<Real>& p, const Solution& x) {
  WideVector residual(p.b.begin(), p.b.end());
  for (int j = 0; j < p.n; ++j) {
    const Wide xj = static_cast<Wide>(x[static_cast<std::size_t>(j)]);
    const WideVector column = wideColumn(p, j);
    for (std::size_t i = 0; i < residual.size(); ++i) {
      residual[i] -= column[i] * xj;
    }
  }
  return residual;
}

template <class Real, class Solution>
Wide residualNorm(const BoxProblem<Real>& p, const Solution& x) {
  const WideVector residual = residualOf(p, x);
  return std::sqrt(dot(residual, residual));
}

/// The size of the terms that make up the residual: what one rounding of the data,
/// relative to the epsilon, can change in it.
template <class Real, class Solution>
Wide residualTerms(const BoxProblem<Real>& p, const Solution& x) {
  const WideVector b(p.b.begin(), p.b.end());
  Wide terms = std::sqrt(dot(b, b));
  for (int j = 0; j < p.n; ++j) {
    const WideVector column = wideColumn(p, j);
    terms += std::sqrt(dot(column, column)) *
             std::abs(static_cast<Wide>(x[static_cast<std::size_t>(j)]));
  }
  return terms;
}

/// The smallest residual norm there is, by trying for every coefficient its bounds
/// and its freedom. Some minimiser has independent free columns and every other
/// coefficient at a bound (or, where it has none, at any value, 0 for one), so
/// dependent sets need not be looked at.
template <class Real>
class ExhaustiveSearch {
 public:
  explicit ExhaustiveSearch(const BoxProblem<Real>& p) : p_(p) {
    for (int j = 0; j < p.n; ++j) {
      columns_.push_back(wideColumn(p, j));
    }
    descend(0, WideVector(p.b.begin(), p.b.end()));
  }

  Wide norm() const { return std::sqrt(best_); }

 private:
  struct FreeColumn {
    std::size_t j;
    WideVector direction;  ///< orthonormal to those before
    WideVector row;        ///< its column of the triangle, diagonal last
  };

  void descend(std::size_t j, const WideVector& rest) {
    if (j == columns_.size()) {
      evaluate(rest);
      return;
    }
    const int column = static_cast<int>(j);
    if (p_.fixed(column)) {
      holdAt(j, static_cast<Wide>(p_.lower[j]), rest);
      return;
    }
    if (p_.hasLower(column)) {
      holdAt(j, static_cast<Wide>(p_.lower[j]), rest);
    }
    if (p_.hasUpper(column)) {
      holdAt(j, static_cast<Wide>(p_.upper[j]), rest);
    }
    if (!p_.hasLower(column) && !p_.hasUpper(column)) {
      descend(j + 1, rest);
    }
    if (pushFree(j)) {
      descend(j + 1, rest);
      free_.pop_back();
    }
  }

  void holdAt(std::size_t j, Wide value, WideVector rest) {
    for (std::size_t i = 0; i < rest.size(); ++i) {
      rest[i] -= value * columns_[j][i];
    }
    descend(j + 1, rest);
  }

  /// Gram-Schmidt, twice over; false for a column that depends on those before.
  bool pushFree(std::size_t j) {
    FreeColumn next{j, columns_[j], WideVector(free_.size(), Wide(0))};
    const Wide before = std::sqrt(dot(next.direction, next.direction));
    for (int pass = 0; pass < 2; ++pass) {
      for (std::size_t k = 0; k < free_.size(); ++k) {
        const Wide share = dot(free_[k].direction, next.direction);
        next.row[k] += share;
        for (std::size_t i = 0; i < next.direction.size(); ++i) {
          next.direction[i] -= share * free_[k].direction[i];
        }
      }
    }
    const Wide after = std::sqrt(dot(next.direction, next.direction));
    if (!(after > before * Wide(1e-14))) {
      return false;
    }
    for (Wide& element : next.direction) {
      element /= after;
    }
    next.row.push_back(after);
    free_.push_back(next);
    return true;
  }

  void evaluate(const WideVector& rest) {
    const std::size_t size = free_.size();
    WideVector x(size);
    Wide squares = dot(rest, rest);
    WideVector projected = rest;
    for (std::size_t k = 0; k < size; ++k) {
      x[k] = dot(free_[k].direction, projected);
      for (std::size_t i = 0; i < projected.size(); ++i) {
        projected[i] -= x[k] * free_[k].direction[i];
      }
    }
    squares = dot(projected, projected);
    for (std::size_t k = size; k-- > 0;) {
      x[k] /= free_[k].row[k];
      for (std::size_t l = 0; l < k; ++l) {
        x[l] -= free_[k].row[l] * x[k];
      }
      const std::size_t j = free_[k].j;
      if (x[k] < static_cast<Wide>(p_.lower[j]) || x[k] > static_cast<Wide>(p_.upper[j])) {
        return;
      }
    }
    best_ = std::min(best_, squares);
  }

  const BoxProblem<Real>& p_;
  std::vector<WideVector> columns_;
  std::vector<FreeColumn> free_;
  Wide best_ = std::numeric_limits<Wide>::infinity();
};

/// What `roundings` epsilons of the terms involved can change in the residual. A
/// backward stable solution is exact for data changed by a few epsilons times the
/// number of transformations a column went through, of which there are about m + n.
template <class Real>
Wide noiseOf(const BoxProblem<Real>& p, const std::vector<Real>& x, Wide roundings) {
  return roundings * static_cast<Wide>(std::numeric_limits<Real>::epsilon()) * residualTerms(p, x);
}

/// Empty when x is inside its bounds and no coefficient can move to shorten the
/// residual, but for an uncertainty `noise` of the residual; otherwise what is wrong.
template <class Real>
std::string violation(const BoxProblem<Real>& p, const std::vector<Real>& x, Wide noise) {
  const WideVector residual = residualOf(p, x);
  for (int j = 0; j < p.n; ++j) {
    const auto k = static_cast<std::size_t>(j);
    const std::string name = "x[" + std::to_string(j) + "] = " + std::to_string(x[k]);
    if (p.fixed(j)) {
      if (x[k] != p.lower[k]) {
        return name + " has left its fixed value";
      }
      continue;
    }
    if (!(x[k] >= p.lower[k]) || !(x[k] <= p.upper[k])) {
      return name + " is outside its bounds";
    }
    const WideVector column = wideColumn(p, j);
    const Wide slope = dot(column, residual);
    const Wide tolerance = noise * std::sqrt(dot(column, column));
    if (slope > tolerance && x[k] < p.upper[k]) {
      return name + " should rise, slope " + std::to_string(slope) + " against " +
             std::to_string(tolerance);
    }
    if (slope < -tolerance && x[k] > p.lower[k]) {
      return name + " should fall, slope " + std::to_string(slope) + " against " +
             std::to_string(tolerance);
    }
  }
  return "";
}

}  // namespace vorin::testing
