#include "brd/qp_route.hpp"

#include <algorithm>
#include <functional>

#include "brd/qp_bounded.hpp"
#include "brd/weight_range.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// Smaller elements count as zero.
constexpr double smallest = 1e-15;

}  // namespace

QuadraticProgram::QuadraticProgram(System<double>& system) : system_(&system) {
  const int n = system.n();
  minusKtd_.resize(length(n));
  factors_.resize(area(n, n));
  const double* KtK = system.gram();
  Q_.assign(KtK, KtK + area(n, n));
  std::transform(system.projectedData(), system.projectedData() + n, minusKtd_.begin(),
                 std::negate<>());
}

std::int32_t QuadraticProgram::minimise(double weight, double* f) {
  const int n = system_->n();
  const ColumnMajorView<const double> KtK{system_->gram(), n};
  const ColumnMajorView<double> Q{Q_.data(), n};
  double trace = 0.0;
  for (int i = 0; i < n; ++i) {
    Q(i, i) = KtK(i, i) + weight;
    trace += KtK(i, i);
  }
  // Near the least weight of that range and below the objective can be so flat that rounding
  // decides which elements are free.
  constexpr double margin = 10.0;
  if (!weightIsInRange(weight / margin, trace / std::max(n, 1))) {
    free_.clear();
  }
  BoundedMinimum program(n, Q_.data(), minusKtd_.data(), factors_.data());
  const QpStatus status = program.solve(free_);
  std::copy(program.x().begin(), program.x().end(), f);
  return status;
}

void vrEye_d(int n, double* A) {
  n = std::max(n, 0);
  std::fill_n(A, area(n, n), 0.0);
  const ColumnMajorView<double> identity{A, n};
  for (int i = 0; i < n; ++i) {
    identity(i, i) = 1.0;
  }
}

// Required: the mask is 1 above `smallest` and f itself at and below it. An element of
// exactly that value therefore keeps a mask of 1e-15, which `System::factor`, whose masks
// are 0 and 1, can't represent.
Solution<double> finishQuadraticProgram(System<double>& system, double* f, double* c, double weight,
                                        std::int32_t status) {
  double* const end = f + system.n();
  std::replace_if(
      f, end, [](double value) { return value < smallest; }, 0.0);
  if (std::find(f, end, smallest) == end) {
    system.factor(f, weight);
  } else {
    std::vector<double> mask(f, end);
    std::replace_if(
        mask.begin(), mask.end(), [](double value) { return value > smallest; }, 1.0);
    system.factorMask(mask.data(), weight);
  }
  system.solveData(c);
  return residualAndSlope(system, true, c, weight, status);
}

Solution<double> vrBRD_qp_d(QuadraticProgram& program, double* f, double* c, double weight) {
  const std::int32_t status = program.minimise(weight, f);
  return finishQuadraticProgram(program.system(), f, c, weight, status);
}

}  // namespace vorin::brd
