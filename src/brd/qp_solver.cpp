#include "brd/qp_solver.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "brd/qp_bounded.hpp"
#include "brd/qp_general.hpp"

namespace vorin::brd {
namespace {

// x >= 0 and nothing else.
bool onlyBounds(int n, int constraints, int equalities, const double* A, const double* b) {
  if (constraints != n || equalities != 0 ||
      !std::all_of(b, b + n, [](double bound) { return bound == 0.0; })) {
    return false;
  }
  // The whole column is read: without an early exit the loop vectorises.
  for (int j = 0; j < n; ++j) {
    const double* column = A + std::ptrdiff_t{j} * n;
    std::uint64_t others = 0;
    for (int i = 0; i < n; ++i) {
      others += column[i] != 0.0 ? 1 : 0;
    }
    if (others != 1 || column[j] != 1.0) {
      return false;
    }
  }
  return true;
}

// The result of either solver.
struct Answer {
  QpStatus status = qpSolved;
  IndexedVector<double> x;
  IndexedVector<int> active;  // from 0
  IndexedVector<double> multipliers;
};

// A is not read any more; its storage takes the factors.
Answer minimiseOverBounds(int n, double* A, const double* g, const double* Q) {
  BoundedMinimum problem(n, Q, g, A);
  Answer answer;
  answer.status = problem.solve();
  answer.x = problem.x();
  for (int i = 0; i < n; ++i) {
    if (answer.x[i] == 0.0) {
      answer.active.push_back(i);
      answer.multipliers.push_back(std::max(problem.gradient()[i], 0.0));
    }
  }
  return answer;
}

Answer minimiseOverConstraints(int n, int constraints, int equalities, const double* A,
                               const double* b, const double* g, const double* Q) {
  DualActiveSet problem(n, constraints, equalities, A, b, g, Q);
  Answer answer;
  answer.status = problem.solve();
  answer.x = problem.x();
  answer.active = problem.active();
  answer.multipliers = problem.multipliers();
  if (!std::all_of(answer.x.begin(), answer.x.end(),
                   [](double value) { return std::isfinite(value); })) {
    std::fill(answer.x.begin(), answer.x.end(), 0.0);
  }
  return answer;
}

double objectiveAt(int n, const double* g, const double* Q, const double* x) {
  double sum = 0.0;
  for (int j = 0; j < n; ++j) {
    if (x[j] == 0.0) {
      continue;
    }
    double slope = 0.0;
    for (int i = 0; i < n; ++i) {
      slope += Q[i + std::ptrdiff_t{j} * n] * x[i];
    }
    sum += x[j] * (0.5 * slope + g[j]);
  }
  return sum;
}

}  // namespace

void nk0000(std::int32_t n, std::int32_t constraints, std::int32_t equalities, double* A,
            const double* b, const double* g, const double* Q, double* objective, double* x,
            std::int32_t* activeCount, std::int32_t* activeList, double* multipliers,
            std::int32_t* status) {
  n = std::max(n, 0);
  constraints = std::max(constraints, 0);
  equalities = std::clamp(equalities, 0, constraints);
  const Answer answer = onlyBounds(n, constraints, equalities, A, b)
                            ? minimiseOverBounds(n, A, g, Q)
                            : minimiseOverConstraints(n, constraints, equalities, A, b, g, Q);
  *status = answer.status;
  *objective = objectiveAt(n, g, Q, answer.x.data());
  std::copy(answer.x.begin(), answer.x.end(), x);
  *activeCount = static_cast<std::int32_t>(answer.active.size());
  std::fill_n(activeList, n, 0);
  std::fill_n(multipliers, n, 0.0);
  std::transform(answer.active.begin(), answer.active.end(), activeList,
                 [](int constraint) { return constraint + 1; });
  std::copy(answer.multipliers.begin(), answer.multipliers.end(), multipliers);
}

}  // namespace vorin::brd
