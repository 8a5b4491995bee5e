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
// summed from. Rounding in x brings a few units of 1e-16 for a well-conditioned Q; the
// room above that keeps copies of an active constraint from being taken for violated.
constexpr double feasibility = 1e-12;

// An equality that depends on earlier ones is met by them or by nothing.
constexpr double consistency = 1e-10;

// A normal counts as dependent on the active ones when less than this fraction of it,
// in the metric of Q^-1, stands off their span.
constexpr double independence = 1e-12;

// What all conditions of the minimum must hold to for an answer to be called one.
constexpr double accepted = 1e-9;

double length(const double* values, int count) {
  return std::sqrt(std::inner_product(values, values + count, values, 0.0));
}

// The pair of columns turned: left = c left + s right, right = c right - s left.
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
      stepsLeft_(20L * (n + constraints) + 100) {
  const auto length = static_cast<std::size_t>(n);
  rowSize_.resize(static_cast<std::size_t>(constraints));
  J_.resize(length * length);
  R_.resize(length * length);
  for (std::vector<double>* vector : {&d_, &r_, &step_, &gradient_, &x_}) {
    vector->resize(length);
  }
  for (int p = 0; p < constraints; ++p) {
    for (int j = 0; j < n; ++j) {
      rowSize_[static_cast<std::size_t>(p)] += std::abs(a(p, j));
    }
  }
}

QpStatus DualActiveSet::solve() {
  if (!factor()) {
    return qpNotPositiveDefinite;
  }
  settle();
  QpStatus status = activateEqualities();
  while (status == qpSolved) {
    const int next = mostViolated();
    if (next < 0) {
      break;
    }
    status = activate(next);
  }
  return status == qpSolved ? judge() : status;
}

// J = L'^-1.
bool DualActiveSet::factor() {
  std::vector<double> storage(J_.size());
  BlockFactor cholesky(n_, Q_, storage.data());
  std::vector<int> all(x_.size());
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
      settle();
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
    sum += a(constraint, j) * x_[static_cast<std::size_t>(j)];
  }
  const double bound = b_[constraint];
  return {sum - bound, std::abs(bound) + rowSize_[static_cast<std::size_t>(constraint)] * xSize_};
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
      const double distance = -left.value / rowSize_[static_cast<std::size_t>(p)];
      if (distance > worstDistance) {
        worst = p;
        worstDistance = distance;
      }
    }
  }
  return worst;
}

// Raises the multiplier of a violated inequality until it is met, letting go of others
// whose multipliers reach zero on the way.
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
      settle();
      return qpSolved;
    }
    for (int k = 0; k < activeCount(); ++k) {
      u_[static_cast<std::size_t>(k)] -= reach * r_[static_cast<std::size_t>(k)];
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
    d_[static_cast<std::size_t>(k)] = sum;
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
    const double rate = r_[static_cast<std::size_t>(k)];
    if (!(rate * length(&R(0, k), k + 1) > independence * normal)) {
      continue;
    }
    const double reach = std::max(u_[static_cast<std::size_t>(k)], 0.0) / rate;
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
    const double factor = reach * d_[static_cast<std::size_t>(k)];
    for (int j = 0; j < n_; ++j) {
      x_[static_cast<std::size_t>(j)] += factor * column[j];
    }
  }
}

// Turns J2 until J2'a has its first element alone, which becomes R's new diagonal. The
// multiplier comes with the next settle().
void DualActiveSet::addNormal(int constraint) {
  const int q = activeCount();
  for (int k = n_ - 1; k > q; --k) {
    double& upper = d_[static_cast<std::size_t>(k - 1)];
    double& lower = d_[static_cast<std::size_t>(k)];
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
    R(k, q) = d_[static_cast<std::size_t>(k)];
  }
  active_.push_back(constraint);
  u_.push_back(0.0);
}

// Takes a column out of R; the elements that then stand below its diagonal are turned
// away, and J with them.
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

// x and u anew from the active set alone, so that the rounding of the steps doesn't add
// up. The second round corrects the first by what it left of both conditions.
void DualActiveSet::settle() {
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
    const double* column = Q_ + static_cast<long>(j) * n_;
    for (int i = 0; i < n_; ++i) {
      gradient_[static_cast<std::size_t>(i)] += column[i] * x_[static_cast<std::size_t>(j)];
    }
  }
  for (int k = 0; k < activeCount(); ++k) {
    for (int i = 0; i < n_; ++i) {
      gradient_[static_cast<std::size_t>(i)] -=
          a(active_[static_cast<std::size_t>(k)], i) * u_[static_cast<std::size_t>(k)];
    }
  }
}

// With r the gradient, s = b - N'x, t = J'r and v = R'^-1 s, the conditions of the
// minimum on the active constraints hold after x += J1 v - J2 t2, u += R^-1 (v + t1).
void DualActiveSet::correct() {
  const int q = activeCount();
  updateGradient();
  for (int k = 0; k < q; ++k) {
    step_[static_cast<std::size_t>(k)] = -residual(active_[static_cast<std::size_t>(k)]).value;
  }
  for (int k = 0; k < n_; ++k) {
    const double* column = J(k);
    const auto at = static_cast<std::size_t>(k);
    const double t = std::inner_product(column, column + n_, gradient_.begin(), 0.0);
    if (k >= q) {
      step_[at] = -t;
    } else {
      for (int i = 0; i < k; ++i) {
        step_[at] -= R(i, k) * step_[static_cast<std::size_t>(i)];
      }
      step_[at] /= R(k, k);
      r_[at] = step_[at] + t;
    }
  }
  for (int k = 0; k < n_; ++k) {
    const double* column = J(k);
    for (int j = 0; j < n_; ++j) {
      x_[static_cast<std::size_t>(j)] += step_[static_cast<std::size_t>(k)] * column[j];
    }
  }
  solveUpper(r_);
  for (int k = 0; k < q; ++k) {
    u_[static_cast<std::size_t>(k)] += r_[static_cast<std::size_t>(k)];
  }
}

// r = R^-1 r, over the active set.
void DualActiveSet::solveUpper(std::vector<double>& r) {
  for (int k = activeCount() - 1; k >= 0; --k) {
    double& value = r[static_cast<std::size_t>(k)];
    for (int i = k + 1; i < activeCount(); ++i) {
      value -= R(k, i) * r[static_cast<std::size_t>(i)];
    }
    value /= R(k, k);
  }
}

// A NaN compares as no violation and an overflow may hide one, so that all conditions are
// looked at once more before an answer counts as one.
QpStatus DualActiveSet::judge() {
  for (int k = activeEqualities_; k < activeCount(); ++k) {
    // Below zero by rounding only.
    u_[static_cast<std::size_t>(k)] = std::max(u_[static_cast<std::size_t>(k)], 0.0);
  }
  bool holds = true;
  bool number = true;
  for (int p = 0; p < constraints_; ++p) {
    const Residual left = residual(p);
    const double wrong = p < equalities_ ? std::abs(left.value) : -left.value;
    const bool bounded = std::isfinite(left.size) || b_[p] == -infinity;
    holds = holds && bounded && wrong <= accepted * left.size;
    number = number && !std::isnan(left.value);
  }
  updateGradient();
  const double size = gradientSize();
  for (const double value : gradient_) {
    holds = holds && std::abs(value) <= accepted * size;
    number = number && !std::isnan(value);
  }
  if (holds && number) {
    return qpSolved;
  }
  return number ? qpLimitReached : qpNotPositiveDefinite;
}

// The largest sum of the absolute terms that an element of the gradient is made of.
double DualActiveSet::gradientSize() const {
  double largest = 0.0;
  for (int i = 0; i < n_; ++i) {
    double sum = std::abs(g_[i]);
    for (int j = 0; j < n_; ++j) {
      sum += std::abs(Q_[i + static_cast<long>(j) * n_] * x_[static_cast<std::size_t>(j)]);
    }
    for (int k = 0; k < static_cast<int>(active_.size()); ++k) {
      sum += std::abs(a(active_[static_cast<std::size_t>(k)], i) * u_[static_cast<std::size_t>(k)]);
    }
    largest = std::max(largest, sum);
  }
  return largest;
}

}  // namespace vorin::brd
