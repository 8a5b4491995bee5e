// Minimisation of 1/2 x'Qx + g'x subject to A x >= b, equalities first, for any A.
#pragma once

#include "brd/qp_solver.hpp"
#include "toolbox/indexed_vector.hpp"

namespace vorin::brd {

/// The dual active-set method of Goldfarb and Idnani (Math. Program. 27, 1983, 1-33).
/// It starts at the unconstrained minimum -Q^-1 g and adds violated constraints to the
/// active set one after the other; each x on the way is the minimum over the constraints that
/// are active then. In the paper's notation, with N the normals of the active set as
/// columns, L the Cholesky factor of Q:
///   J = [J1 J2] with J' N = [R; 0] and J J' = Q^-1,  R upper triangular.
class DualActiveSet {
 public:
  /// Borrows all arrays; shapes as for nk0000, `equalities` from 0 to `constraints`.
  DualActiveSet(int n, int constraints, int equalities, const double* A, const double* b,
                const double* g, const double* Q);

  QpStatus solve();

  const IndexedVector<double>& x() const { return x_; }
  /// The active constraints (from 0) and their multipliers, in the same order.
  const IndexedVector<int>& active() const { return active_; }
  const IndexedVector<double>& multipliers() const { return u_; }

 private:
  struct Residual {
    double value;  // a'x - b
    double size;   // |b| + (sum of |a|) (largest |x|), the scale of its rounding error
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

  void recompute();
  void correct();
  void updateGradient();
  void solveUpper(IndexedVector<double>& r);
  QpStatus checkConditions();
  double gradientSize() const;

  double a(int constraint, int j) const {
    return A_[constraint + std::ptrdiff_t{j} * constraints_];
  }
  double* J(int column) { return J_.data() + std::ptrdiff_t{column} * n_; }
  double& R(int row, int column) { return R_[row + std::ptrdiff_t{column} * n_]; }
  int activeCount() const { return static_cast<int>(active_.size()); }

  int n_;
  int constraints_;
  int equalities_;
  const double* A_;
  const double* b_;
  const double* g_;
  const double* Q_;
  IndexedVector<double> rowSize_;  // sum of |a| of each constraint
  IndexedVector<double> J_;        // n x n, column-major
  IndexedVector<double> R_;        // n x n, column-major
  IndexedVector<double> d_;        // J' a of the present constraint
  IndexedVector<double> r_;        // R^-1 d1: the rates of change of the multipliers
  double freeLength_ = 0.0;        // |d2|^2, the squared part of its normal outside the active span
  IndexedVector<double> step_;     // of x, in the basis J
  IndexedVector<double> gradient_;  // Qx + g - N u
  IndexedVector<double> x_;
  double xSize_ = 0.0;  // largest |x|
  IndexedVector<double> u_;
  IndexedVector<int> active_;
  int activeEqualities_ = 0;
  std::ptrdiff_t stepsLeft_;
};

}  // namespace vorin::brd
