#include "brd/qp_general.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "brd/qp_cholesky.hpp"

namespace vorin::brd {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// A constraint counts as violated below this fraction of the terms its residual is
// summed from. Rounding errors of x give a few units of 1e-16 for a well-conditioned Q; the
// margin keeps copies of an active constraint from counting as violated.
constexpr double feasibility = 1e-12;

// An equality that depends on earlier ones holds with them within this tolerance, or the
// constraints are infeasible.
constexpr double consistency = 1e-10;

// A normal counts as dependent on the active ones when less than this fraction of it,
// in the metric of Q^-1, lies outside their span.
constexpr double independence = 1e-12;

// The tolerance of the final check of all conditions of the minimum.
constexpr double accepted = 1e-9;

double length(const double* values, int count) {
  return std::sqrt(std::inner_product(values, values + count, values, 0.0));
}

// Rotates a pair of columns: left = c left + s right, right = c right - s left.
void rotate(int n, double* left, double* right, double c, double s) {
  for (int i = 0; i < n; ++i) {
    const double a = left[i];
    const double b = right[i];
    left[i] = c * a + s * b;
    right[i] = c * b - s * a;
  }
}

}  // namespace

DualActiveSet::DualActiveSet(int n, int constraints, int equalities, const double* A,
                             const double* b, const double* g, const double* Q)
    : n_(n),
      constraints_(constraints),
      equalities_(equalities),
      A_(A),
      b_(b),
      g_(g),
      Q_(Q),
      stepsLeft_(std::ptrdiff_t{20} * (n + constraints) + 100) {
  const auto length = static_cast<std::size_t>(n);
  rowSize_.resize(static_cast<std::size_t>(constraints));
  J_.resize(length * length);
  R_.resize(length * length);
  for (IndexedVector<double>* vector : {&d_, &r_, &step_, &gradient_, &x_}) {
    vector->resize(length);
  }
  for (int p = 0; p < constraints; ++p) {
    for (int j = 0; j < n; ++j) {
      rowSize_[p] += std::abs(a(p, j));
    }
  }
}

QpStatus DualActiveSet::solve() {
  if (!factor()) {
    return qpNotPositiveDefinite;
  }
  recompute();
  QpStatus status = activateEqualities();
  while (status == qpSolved) {
    const int next = mostViolated();
    if (next < 0) {
      break;
    }
    status = activate(next);
  }
  return status == qpSolved ? checkConditions() : status;
}

// J = L'^-1.
bool DualActiveSet::factor() {
  IndexedVector<double> storage(J_.size());
  BlockFactor cholesky(n_, Q_, storage.data());
  IndexedVector<int> all(x_.size());
  std::iota(all.begin(), all.end(), 0);
  if (!cholesky.assign(all)) {
    return false;
  }
  for (int k = 0; k < n_; ++k) {
    J(k)[k] = 1.0;
    cholesky.solveUpper(J(k));
  }
  return true;
}

QpStatus DualActiveSet::activateEqualities() {
  for (int p = 0; p < equalities_; ++p) {
    if (projectNormal(p)) {
      addNormal(p);
      ++activeEqualities_;
      recompute();
      continue;
    }
    const Residual left = residual(p);
    if (!(std::abs(left.value) <= consistency * left.size)) {
      return qpInfeasible;
    }
  }
  return qpSolved;
}

DualActiveSet::Residual DualActiveSet::residual(int constraint) const {
  double sum = 0.0;
  for (int j = 0; j < n_; ++j) {
    sum += a(constraint, j) * x_[j];
  }
  const double bound = b_[constraint];
  return {sum - bound, std::abs(bound) + rowSize_[constraint] * xSize_};
}

// The inequality whose boundary lies farthest from x on the wrong side; -1 for none.
int DualActiveSet::mostViolated() const {
  int worst = -1;
  double worstDistance = -1.0;
  for (int p = equalities_; p < constraints_; ++p) {
    if (std::find(active_.begin(), active_.end(), p) != active_.end()) {
      continue;
    }
    const Residual left = residual(p);
    if (left.value < -feasibility * left.size || b_[p] == infinity) {
      const double distance = -left.value / rowSize_[p];
      if (distance > worstDistance) {
        worst = p;
        worstDistance = distance;
      }
    }
  }
  return worst;
}

// Increases the multiplier of a violated inequality until the inequality holds, and drops
// others whose multipliers reach zero on the way.
QpStatus DualActiveSet::activate(int constraint) {
  while (stepsLeft_-- > 0) {
    const bool independent = projectNormal(constraint);
    double reach = infinity;
    const int leaving = firstToLeave(reach);
    const double missing = -residual(constraint).value;
    const double full = independent ? std::max(missing, 0.0) / freeLength_ : infinity;
    if (missing == infinity || (leaving < 0 && !independent)) {
      return qpInfeasible;
    }
    if (!std::isfinite(missing)) {
      return qpLimitReached;
    }
    if (independent && full <= reach) {
      addNormal(constraint);
      recompute();
      return qpSolved;
    }
    for (int k = 0; k < activeCount(); ++k) {
      u_[k] -= reach * r_[k];
    }
    if (independent) {
      stepAlong(reach);
    }
    drop(leaving);
  }
  return qpLimitReached;
}

// d = J'a and r = R^-1 d1; true when a does not depend on the active normals.
bool DualActiveSet::projectNormal(int constraint) {
  const int q = activeCount();
  double whole = 0.0;
  freeLength_ = 0.0;
  for (int k = 0; k < n_; ++k) {
    const double* column = J(k);
    double sum = 0.0;
    for (int j = 0; j < n_; ++j) {
      sum += column[j] * a(constraint, j);
    }
    d_[k] = sum;
    whole += sum * sum;
    freeLength_ += k < q ? 0.0 : sum * sum;
  }
  std::copy(d_.begin(), d_.begin() + q, r_.begin());
  solveUpper(r_);
  return freeLength_ > independence * independence * whole;
}

// The active inequality whose multiplier reaches zero first, and how far that is; -1 for none.
int DualActiveSet::firstToLeave(double& shortest) {
  const double normal = length(d_.data(), n_);
  int leaving = -1;
  for (int k = activeEqualities_; k < activeCount(); ++k) {
    const double rate = r_[k];
    if (!(rate * length(&R(0, k), k + 1) > independence * normal)) {
      continue;
    }
    const double reach = std::max(u_[k], 0.0) / rate;
    if (leaving < 0 || reach < shortest) {
      shortest = reach;
      leaving = k;
    }
  }
  return leaving;
}

// x moves by reach * J2 d2.
void DualActiveSet::stepAlong(double reach) {
  for (int k = activeCount(); k < n_; ++k) {
    const double* column = J(k);
    const double factor = reach * d_[k];
    for (int j = 0; j < n_; ++j) {
      x_[j] += factor * column[j];
    }
  }
}

// Rotates J2 so that only the first element of J2'a is not zero; it becomes R's new
// diagonal element. The multiplier follows from the next recompute().
void DualActiveSet::addNormal(int constraint) {
  const int q = activeCount();
  for (int k = n_ - 1; k > q; --k) {
    double& upper = d_[k - 1];
    double& lower = d_[k];
    const double radius = std::hypot(upper, lower);
    if (radius == 0.0) {
      continue;
    }
    const double c = upper / radius;
    const double s = lower / radius;
    upper = radius;
    lower = 0.0;
    rotate(n_, J(k - 1), J(k), c, s);
  }
  for (int k = 0; k <= q; ++k) {
    R(k, q) = d_[k];
  }
  active_.push_back(constraint);
  u_.push_back(0.0);
}

// Removes a column from R. Rotations make the elements below its diagonal zero again and
// are applied to J as well.
void DualActiveSet::drop(int position) {
  const int q = activeCount();
  for (int k = position; k + 1 < q; ++k) {
    std::copy(&R(0, k + 1), &R(0, k + 1) + k + 2, &R(0, k));
  }
  for (int k = position; k + 1 < q; ++k) {
    const double radius = std::hypot(R(k, k), R(k + 1, k));
    const double c = R(k, k) / radius;
    const double s = R(k + 1, k) / radius;
    for (int i = k; i + 1 < q; ++i) {
      const double upper = R(k, i);
      const double lower = R(k + 1, i);
      R(k, i) = c * upper + s * lower;
      R(k + 1, i) = c * lower - s * upper;
    }
    rotate(n_, J(k), J(k + 1), c, s);
  }
  active_.erase(active_.begin() + position);
  u_.erase(u_.begin() + position);
}

// Computes x and u from the active set alone, so that rounding errors of the steps don't
// accumulate. The second round is a step of iterative refinement.
void DualActiveSet::recompute() {
  std::fill(x_.begin(), x_.end(), 0.0);
  std::fill(u_.begin(), u_.end(), 0.0);
  for (int round = 0; round < 2; ++round) {
    correct();
  }
  xSize_ = 0.0;
  for (const double value : x_) {
    xSize_ = std::max(xSize_, std::abs(value));
  }
}

// gradient = Qx + g - N u.
void DualActiveSet::updateGradient() {
  std::copy(g_, g_ + n_, gradient_.begin());
  for (int j = 0; j < n_; ++j) {
    const double* column = Q_ + std::ptrdiff_t{j} * n_;
    for (int i = 0; i < n_; ++i) {
      gradient_[i] += column[i] * x_[j];
    }
  }
  for (int k = 0; k < activeCount(); ++k) {
    for (int i = 0; i < n_; ++i) {
      gradient_[i] -= a(active_[k], i) * u_[k];
    }
  }
}

// With r the gradient, s = b - N'x, t = J'r and v = R'^-1 s, the conditions of the
// minimum on the active constraints hold after x += J1 v - J2 t2, u += R^-1 (v + t1).
void DualActiveSet::correct() {
  const int q = activeCount();
  updateGradient();
  for (int k = 0; k < q; ++k) {
    step_[k] = -residual(active_[k]).value;
  }
  for (int k = 0; k < n_; ++k) {
    const double* column = J(k);
    const double t = std::inner_product(column, column + n_, gradient_.begin(), 0.0);
    if (k >= q) {
      step_[k] = -t;
    } else {
      for (int i = 0; i < k; ++i) {
        step_[k] -= R(i, k) * step_[i];
      }
      step_[k] /= R(k, k);
      r_[k] = step_[k] + t;
    }
  }
  for (int k = 0; k < n_; ++k) {
    const double* column = J(k);
    for (int j = 0; j < n_; ++j) {
      x_[j] += step_[k] * column[j];
    }
  }
  solveUpper(r_);
  for (int k = 0; k < q; ++k) {
    u_[k] += r_[k];
  }
}

// r = R^-1 r, over the active set.
void DualActiveSet::solveUpper(IndexedVector<double>& r) {
  for (int k = activeCount() - 1; k >= 0; --k) {
    double& value = r[k];
    for (int i = k + 1; i < activeCount(); ++i) {
      value -= R(k, i) * r[i];
    }
    value /= R(k, k);
  }
}

// A NaN compares as no violation and an overflow may hide one, so that all conditions are
// checked once more at the end.
QpStatus DualActiveSet::checkConditions() {
  for (int k = activeEqualities_; k < activeCount(); ++k) {
    // Below zero by rounding only.
    u_[k] = std::max(u_[k], 0.0);
  }
  bool holds = true;
  bool isNumber = true;
  for (int p = 0; p < constraints_; ++p) {
    const Residual left = residual(p);
    const double wrong = p < equalities_ ? std::abs(left.value) : -left.value;
    const bool bounded = std::isfinite(left.size) || b_[p] == -infinity;
    holds = holds && bounded && wrong <= accepted * left.size;
    isNumber = isNumber && !std::isnan(left.value);
  }
  updateGradient();
  const double size = gradientSize();
  for (const double value : gradient_) {
    holds = holds && std::abs(value) <= accepted * size;
    isNumber = isNumber && !std::isnan(value);
  }
  if (holds && isNumber) {
    return qpSolved;
  }
  return isNumber ? qpLimitReached : qpNotPositiveDefinite;
}

// The largest sum of absolute terms of an element of the gradient.
double DualActiveSet::gradientSize() const {
  double largest = 0.0;
  for (int i = 0; i < n_; ++i) {
    double sum = std::abs(g_[i]);
    for (int j = 0; j < n_; ++j) {
      sum += std::abs(Q_[i + std::ptrdiff_t{j} * n_] * x_[j]);
    }
    for (int k = 0; k < static_cast<int>(active_.size()); ++k) {
      sum += std::abs(a(active_[k], i) * u_[k]);
    }
    largest = std::max(largest, sum);
  }
  return largest;
}

}  // namespace vorin::brd
