// Quadratic programs for the tests of nk0000, its call with the arrays a caller owns, and
// the conditions of the minimum, which say by themselves whether an answer is right.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "brd/qp_solver.hpp"
#include "support/problems.hpp"

namespace vorin::test {

/// Minimise 1/2 x'Qx + g'x subject to A x >= b, the first `equalities` with equality.
struct Program {
  int n = 0;
  int constraints = 0;
  int equalities = 0;
  std::vector<double> A, b, g, Q;

  double a(int constraint, int j) const {
    return A[static_cast<std::size_t>(constraint) + area(constraints, j)];
  }
};

struct Minimum {
  double objective = -1;
  std::vector<double> x;
  std::int32_t count = -1;
  std::vector<std::int32_t> list;
  std::vector<double> multipliers;
  std::int32_t status = -1;
};

/// A call with copies of the arrays, and with a guard behind each result.
inline Minimum solve(Program program) {
  const auto n = static_cast<std::size_t>(std::max(program.n, 0));
  constexpr double guard = 1234.5;
  Minimum out;
  out.x.assign(n + 1, guard);
  out.list.assign(n + 1, 4321);
  out.multipliers.assign(n + 1, guard);
  brd::nk0000(program.n, program.constraints, program.equalities, program.A.data(),
              program.b.data(), program.g.data(), program.Q.data(), &out.objective, out.x.data(),
              &out.count, out.list.data(), out.multipliers.data(), &out.status);
  if (out.x[n] != guard || out.list[n] != 4321 || out.multipliers[n] != guard) {
    out.status = -2;
  }
  out.x.resize(n);
  out.list.resize(n);
  out.multipliers.resize(n);
  return out;
}

/// How far an answer is from the conditions of the minimum, each as a fraction of the
/// terms that the condition is summed from.
struct Departure {
  double stationarity = 0;     // Qx + g - A' multipliers
  double violation = 0;        // of any constraint
  double slack = 0;            // of constraints named as active, and of equalities
  double wrongMultiplier = 0;  // negative ones of inequalities
  bool listIsSound = true;     // numbers from 1, none twice, zeros behind the count

  double worst() const { return std::max({stationarity, violation, slack, wrongMultiplier}); }
};

/// The gradient is taken in long double; scale 1 is the largest sum of its terms.
inline Departure departure(const Program& program, const Minimum& answer) {
  const auto at = [](const auto& values, int i) { return values[static_cast<std::size_t>(i)]; };
  const int n = program.n;
  Departure out;
  std::vector<long double> gradient(static_cast<std::size_t>(n));
  std::vector<long double> terms(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    gradient[static_cast<std::size_t>(i)] = static_cast<long double>(at(program.g, i));
    terms[static_cast<std::size_t>(i)] = std::abs(static_cast<long double>(at(program.g, i)));
  }
  const auto add = [&](int i, long double term) {
    gradient[static_cast<std::size_t>(i)] += term;
    terms[static_cast<std::size_t>(i)] += std::abs(term);
  };
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      add(i, static_cast<long double>(program.Q[static_cast<std::size_t>(i) + area(n, j)]) *
                 static_cast<long double>(at(answer.x, j)));
    }
  }
  std::vector<bool> active(static_cast<std::size_t>(program.constraints));
  double largestMultiplier = 0;
  for (int k = 0; k < n; ++k) {
    const int number = at(answer.list, k);
    const double multiplier = at(answer.multipliers, k);
    if (k >= answer.count) {
      out.listIsSound = out.listIsSound && number == 0 && multiplier == 0;
      continue;
    }
    if (number < 1 || number > program.constraints || at(active, number - 1)) {
      out.listIsSound = false;
      continue;
    }
    active[static_cast<std::size_t>(number - 1)] = true;
    largestMultiplier = std::max(largestMultiplier, std::abs(multiplier));
    if (number > program.equalities) {
      out.wrongMultiplier = std::max(out.wrongMultiplier, -multiplier);
    }
    for (int i = 0; i < n; ++i) {
      add(i, -static_cast<long double>(multiplier) *
                 static_cast<long double>(program.a(number - 1, i)));
    }
  }
  if (largestMultiplier > 0) {
    out.wrongMultiplier /= largestMultiplier;
  }
  long double scale = 0;
  long double worst = 0;
  for (int i = 0; i < n; ++i) {
    scale = std::max(scale, at(terms, i));
    worst = std::max(worst, std::abs(at(gradient, i)));
  }
  out.stationarity = scale > 0 ? static_cast<double>(worst / scale) : 0.0;
  long double largest = 0;
  for (const double value : answer.x) {
    largest = std::max(largest, std::abs(static_cast<long double>(value)));
  }
  for (int p = 0; p < program.constraints; ++p) {
    long double value = -static_cast<long double>(at(program.b, p));
    long double size = std::abs(value);
    for (int j = 0; j < n; ++j) {
      const auto factor = static_cast<long double>(program.a(p, j));
      value += factor * static_cast<long double>(at(answer.x, j));
      size += std::abs(factor) * largest;
    }
    const double fraction = size > 0 ? static_cast<double>(value / size) : 0.0;
    out.violation = std::max(out.violation, -fraction);
    if (at(active, p) || p < program.equalities) {
      out.slack = std::max(out.slack, std::abs(fraction));
    }
  }
  return out;
}

/// Q = M'M + ridge I for a random M of `rank` rows, so that the condition of Q is in hand.
inline std::vector<double> randomHessian(int n, int rank, double ridge, Uniform& uniform) {
  std::vector<double> M(area(rank, n));
  for (double& value : M) {
    value = uniform();
  }
  std::vector<double> Q(area(n, n));
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j <= i; ++j) {
      double sum = i == j ? ridge : 0.0;
      for (int r = 0; r < rank; ++r) {
        sum += M[static_cast<std::size_t>(r) + area(rank, i)] *
               M[static_cast<std::size_t>(r) + area(rank, j)];
      }
      Q[static_cast<std::size_t>(i) + area(n, j)] = sum;
      Q[static_cast<std::size_t>(j) + area(n, i)] = sum;
    }
  }
  return Q;
}

inline std::vector<double> randomVector(int n, Uniform& uniform) {
  std::vector<double> values(static_cast<std::size_t>(n));
  for (double& value : values) {
    value = uniform();
  }
  return values;
}

/// The program that a solve asks for: x >= 0.
inline Program boundedProgram(int n, std::vector<double> Q, std::vector<double> g) {
  Program program{n, n, 0, std::vector<double>(area(n, n)), {}, std::move(g), std::move(Q)};
  program.b.assign(static_cast<std::size_t>(n), 0.0);
  for (int i = 0; i < n; ++i) {
    program.A[static_cast<std::size_t>(i) + area(n, i)] = 1.0;
  }
  return program;
}

/// The constraints of a program row by row, for building.
class ConstraintRows {
 public:
  explicit ConstraintRows(int n) : n_(n) {}

  int count() const { return static_cast<int>(b_.size()); }
  const std::vector<double>& row(int k) const { return rows_[static_cast<std::size_t>(k)]; }
  double bound(int k) const { return b_[static_cast<std::size_t>(k)]; }

  void add(std::vector<double> row, double bound) {
    rows_.push_back(std::move(row));
    b_.push_back(bound);
  }

  /// Row k times `factor`, with its bound moved by `shift`.
  void addMultiple(int k, double factor, double shift) {
    std::vector<double> copy = row(k);
    for (double& value : copy) {
      value *= factor;
    }
    add(std::move(copy), factor * bound(k) + shift);
  }

  Program program(int equalities, std::vector<double> Q, std::vector<double> g) const {
    Program out{n_, count(),      equalities,  std::vector<double>(area(count(), n_)),
                b_, std::move(g), std::move(Q)};
    for (int k = 0; k < count(); ++k) {
      for (int j = 0; j < n_; ++j) {
        out.A[static_cast<std::size_t>(k) + area(count(), j)] = row(k)[static_cast<std::size_t>(j)];
      }
    }
    return out;
  }

 private:
  int n_;
  std::vector<std::vector<double>> rows_;
  std::vector<double> b_;
};

}  // namespace vorin::test
