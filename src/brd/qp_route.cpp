#include "brd/qp_route.hpp"

#include <algorithm>
#include <functional>

#include "brd/qp_solver.hpp"
#include "toolbox/lapack.hpp"

namespace vorin::brd {
namespace {

// Elements below this count as being at their bound.
constexpr double smallest = 1e-15;

std::size_t area(int rows, int columns) {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

}  // namespace

QuadraticProgram::QuadraticProgram(System<double>& system) : system_(&system) {
  const int n = system.n();
  const auto length = static_cast<std::size_t>(n);
  for (std::vector<double>* matrix : {&Q_, &A_}) {
    matrix->resize(area(n, n));
  }
  for (std::vector<double>* vector : {&minusKtd_, &b_, &multipliers_}) {
    vector->resize(length);
  }
  activeList_.resize(length);
  std::transform(system.projectedData(), system.projectedData() + n, minusKtd_.begin(),
                 std::negate<>());
}

std::int32_t QuadraticProgram::minimise(double weight, double* f) {
  const int n = system_->n();
  const double* KtK = system_->gram();
  Q_.assign(KtK, KtK + area(n, n));
  for (int i = 0; i < n; ++i) {
    Q_[area(n, i) + static_cast<std::size_t>(i)] += weight;
  }
  std::fill(b_.begin(), b_.end(), 0.0);
  vrEye_d(n, A_.data());
  double objective = 0.0;
  std::int32_t activeCount = 0;
  std::int32_t status = 0;
  nk0000(n, n, 0, A_.data(), b_.data(), minusKtd_.data(), Q_.data(), &objective, f, &activeCount,
         activeList_.data(), multipliers_.data(), &status);
  return status;
}

void vrEye_d(int n, double* A) {
  n = std::max(n, 0);
  std::fill_n(A, area(n, n), 0.0);
  for (int i = 0; i < n; ++i) {
    A[area(n, i) + static_cast<std::size_t>(i)] = 1.0;
  }
}

namespace {

// G + w I with the mask that f stands for: 1 above `smallest`, f itself at and below it.
// So an element of exactly that value keeps a mask of 1e-15, and one column more or less
// in G is not what it makes; the system of the iteration, whose masks are 0 and 1, can't
// hold it.
class MaskedSystem {
 public:
  MaskedSystem(const System<double>& system, const double* f, double weight)
      : m_(system.m()), G_(area(m_, m_)), pivots_(static_cast<std::size_t>(m_)) {
    for (int i = 0; i < system.n(); ++i) {
      const double mask = f[i] > smallest ? 1.0 : f[i];
      if (mask == 0.0) {
        continue;
      }
      const double* column = system.K() + area(m_, i);
      for (int j = 0; j < m_; ++j) {
        const double masked = mask * column[j];
        for (int k = 0; k < m_; ++k) {
          G_[area(m_, j) + static_cast<std::size_t>(k)] += masked * column[k];
        }
      }
    }
    for (int j = 0; j < m_; ++j) {
      G_[area(m_, j) + static_cast<std::size_t>(j)] += weight;
    }
    getrf(m_, G_.data(), m_, pivots_.data());
  }

  void solve(const double* right, double* x) const {
    std::copy(right, right + m_, x);
    getrs(m_, G_.data(), m_, pivots_.data(), x);
  }

 private:
  int m_;
  std::vector<double> G_;
  std::vector<std::int32_t> pivots_;
};

// c solves for the data and x for c, with the same factors.
template <class Factored>
void solveTwice(Factored&& factored, const double* d, double* c, double* x) {
  factored.solve(d, c);
  factored.solve(c, x);
}

}  // namespace

Solution<double> closeQuadraticProgram(System<double>& system, double* f, double* c, double weight,
                                       std::int32_t status) {
  const int n = system.n();
  std::replace_if(
      f, f + n, [](double value) { return value < smallest; }, 0.0);
  double* x = system.secondSolution();
  if (std::find(f, f + n, smallest) == f + n) {
    system.factor(f, weight);
    solveTwice(system, system.d(), c, x);
  } else {
    solveTwice(MaskedSystem(system, f, weight), system.d(), c, x);
  }
  double square = 0.0;
  double slope = 0.0;
  for (int j = 0; j < system.m(); ++j) {
    square += c[j] * c[j];
    slope += (c[j] - x[j] * weight) * c[j];
  }
  return {weight * weight * square, weight * 2.0 * slope, status};
}

Solution<double> vrBRD_qp_d(QuadraticProgram& program, double* f, double* c, double weight) {
  const std::int32_t status = program.minimise(weight, f);
  return closeQuadraticProgram(program.system(), f, c, weight, status);
}

}  // namespace vorin::brd
