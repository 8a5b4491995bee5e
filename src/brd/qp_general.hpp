// Minimisation of 1/2 x'Qx + g'x subject to A x >= b, equalities first, for any A.
#pragma once

#include <vector>

#include "brd/qp_solver.hpp"

namespace vorin::brd {

/// The dual active-set method of Goldfarb and Idnani (Math. Program. 27, 1983, 1-33).
/// It starts at the free minimum -Q^-1 g and takes violated constraints into the active
/// set one after the other; each x on the way is the minimum over the constraints that
/// are active then. In the paper's notation, with N the normals of the active set as
/// columns, L the Cholesky factor of Q:
///   J = [J1 J2] with J' N = [R; 0] and J J' = Q^-1,  R upper triangular.
class DualActiveSet {
 public:
  /// Borrows all arrays; shapes as for nk0000, `equalities` from 0 to `constraints`.
  DualActiveSet(int n, int constraints, int equalities, const double* A, const double* b,
                const double* g, const double* Q);

  QpStatus solve();

  const std::vector<double>& x() const { return x_; }
  /// The active constraints (from 0) and their multipliers, in the same order.
  const std::vector<int>& active() const { return active_; }
  const std::vector<double>& multipliers() const { return u_; }

 private:
  struct Residual {
    double value;  // a'x - b
    double size;   // |b| + (sum of |a|) (largest |x|), what its rounding is measured by
  };

  bool factor();
  QpStatus activateEqualities();
  QpStatus activate(int constraint);
  int mostViolated() const;
  Residual residual(int constraint) const;

  bool projectNormal(int constraint);
  int firstToLeave(double& shortest);
  void stepAlong(double reach);
  void addNormal(int constraint);
  void drop(int position);

  void settle();
  void correct();
  void updateGradient();
  void solveUpper(std::vector<double>& r);
  QpStatus judge();
  double gradientSize() const;

  double a(int constraint, int j) const {
    return A_[constraint + static_cast<long>(j) * constraints_];
  }
  double* J(int column) { return J_.data() + static_cast<long>(column) * n_; }
  double& R(int row, int column) {
    return R_[static_cast<std::size_t>(row + static_cast<long>(column) * n_)];
  }
  int activeCount() const { return static_cast<int>(active_.size()); }

  int n_;
  int constraints_;
  int equalities_;
  const double* A_;
  const double* b_;
  const double* g_;
  const double* Q_;
  std::vector<double> rowSize_;   // sum of |a| of each constraint
  std::vector<double> J_;         // n x n by columns
  std::vector<double> R_;         // n x n by columns
  std::vector<double> d_;         // J' a of the constraint at hand
  std::vector<double> r_;         // R^-1 d1: how the multipliers answer to it
  double freeLength_ = 0.0;       // |d2|^2, how far its normal can be followed
  std::vector<double> step_;      // of x, in the basis J
  std::vector<double> gradient_;  // Qx + g - N u
  std::vector<double> x_;
  double xSize_ = 0.0;  // largest |x|
  std::vector<double> u_;
  std::vector<int> active_;
  int activeEqualities_ = 0;
  long stepsLeft_;
};

}  // namespace vorin::brd
