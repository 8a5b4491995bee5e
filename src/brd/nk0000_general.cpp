#include "brd/nk0000_general.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "brd/nk0000_cholesky.hpp"

namespace vorin::brd {
namespace {

// A constraint counts as violated below this fraction of the terms its residual is
// summed from. Rounding in x brings a few units of 1e-16 for a well-conditioned Q; the
// room above that keeps copies of an active constraint from being taken for violated.
constexpr double feasibility = 1e-12;

// An equality that depends on earlier ones is met by them or by nothing.
constexpr double consistency = 1e-10;

// A normal counts as dependent on the active ones when less than this fraction of it,
// in the metric of Q^-1, stands off their span.
constexpr double independence = 1e-12;

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
  rowLength_.resize(static_cast<std::size_t>(constraints));
  J_.resize(length * length);
  R_.resize(length * length);
  for (std::vector<double>* vector : {&d_, &r_, &work_, &x_}) {
    vector->resize(length);
  }
  for (int p = 0; p < constraints; ++p) {
    double square = 0.0;
    for (int j = 0; j < n; ++j) {
      const double a = A[p + static_cast<long>(j) * constraints];
      square += a * a;
    }
    rowLength_[static_cast<std::size_t>(p)] = std::sqrt(square);
  }
}

QpStatus DualActiveSet::solve() {
  if (!factor()) {
    return kQpNotPositiveDefinite;
  }
  settle();
  QpStatus status = activateEqualities();
  while (status == kQpSolved) {
    const int next = mostViolated();
    if (next < 0) {
      break;
    }
    status = activate(next);
  }
  return status == kQpSolved ? judge() : status;
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
      addNormal(p, 0.0);
      ++activeEqualities_;
      settle();
      continue;
    }
    const Residual left = residual(p);
    if (!(std::abs(left.value) <= consistency * left.size)) {
      return kQpInfeasible;
    }
  }
  return kQpSolved;
}

DualActiveSet::Residual DualActiveSet::residual(int constraint) const {
  const double bound = b_[constraint];
  Residual sum{0.0, std::abs(bound)};
  for (int j = 0; j < n_; ++j) {
    const double term =
        A_[constraint + static_cast<long>(j) * constraints_] * x_[static_cast<std::size_t>(j)];
    sum.value += term;
    sum.size += std::abs(term);
  }
  sum.value -= bound;
  return sum;
}

// The inequality whose boundary lies farthest from x on the wrong side; -1 for none.
int DualActiveSet::mostViolated() const {
  int worst = -1;
  double worstDistance = 0.0;
  for (int p = equalities_; p < constraints_; ++p) {
    if (std::find(active_.begin(), active_.end(), p) != active_.end()) {
      continue;
    }
    const Residual left = residual(p);
    if (left.value < -feasibility * left.size || b_[p] == std::numeric_limits<double>::infinity()) {
      const double distance = -left.value / rowLength_[static_cast<std::size_t>(p)];
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
  double multiplier = 0.0;
  while (stepsLeft_-- > 0) {
    const bool independent = projectNormal(constraint);
    double length = std::numeric_limits<double>::infinity();
    const int leaving = firstToLeave(length);
    const double missing = -residual(constraint).value;
    const double full = independent ? std::max(missing, 0.0) / freeLength_
                                    : std::numeric_limits<double>::infinity();
    if (!std::isfinite(missing) || (leaving < 0 && !independent)) {
      return kQpInfeasible;
    }
    if (full <= length) {
      addNormal(constraint, multiplier + full);
      settle();
      return kQpSolved;
    }
    multiplier += length;
    for (int k = 0; k < activeCount(); ++k) {
      u_[static_cast<std::size_t>(k)] -= length * r_[static_cast<std::size_t>(k)];
    }
    if (independent) {
      stepAlong(length);
    }
    drop(leaving);
  }
  return kQpLimitReached;
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
      sum += column[j] * A_[constraint + static_cast<long>(j) * constraints_];
    }
    d_[static_cast<std::size_t>(k)] = sum;
    whole += sum * sum;
    freeLength_ += k < q ? 0.0 : sum * sum;
  }
  for (int k = q - 1; k >= 0; --k) {
    double sum = d_[static_cast<std::size_t>(k)];
    for (int i = k + 1; i < q; ++i) {
      sum -= R(k, i) * r_[static_cast<std::size_t>(i)];
    }
    r_[static_cast<std::size_t>(k)] = sum / R(k, k);
  }
  return freeLength_ > independence * independence * whole;
}

// The active inequality whose multiplier reaches zero first, after `length`; -1 for none.
int DualActiveSet::firstToLeave(double& length) {
  const auto norm = [](const double* values, int count) {
    return std::sqrt(std::inner_product(values, values + count, values, 0.0));
  };
  const double normal = norm(d_.data(), n_);
  int leaving = -1;
  for (int k = activeEqualities_; k < activeCount(); ++k) {
    const double rate = r_[static_cast<std::size_t>(k)];
    if (!(rate * norm(&R(0, k), k + 1) > independence * normal)) {
      continue;
    }
    const double reach = std::max(u_[static_cast<std::size_t>(k)], 0.0) / rate;
    if (leaving < 0 || reach < length) {
      length = reach;
      leaving = k;
    }
  }
  return leaving;
}

// x moves by length * J2 d2.
void DualActiveSet::stepAlong(double length) {
  for (int k = activeCount(); k < n_; ++k) {
    const double* column = J(k);
    const double factor = length * d_[static_cast<std::size_t>(k)];
    for (int j = 0; j < n_; ++j) {
      x_[static_cast<std::size_t>(j)] += factor * column[j];
    }
  }
}

// Turns J2 until J2'a has its first element alone, which becomes R's new diagonal.
void DualActiveSet::addNormal(int constraint, double multiplier) {
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
  u_.push_back(multiplier);
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
// up: with t = J'g and v = R'^-1 b, x = J1 v - J2 t2 and u = R^-1 (v + t1).
void DualActiveSet::settle() {
  const int q = activeCount();
  std::fill(x_.begin(), x_.end(), 0.0);
  for (int k = 0; k < n_; ++k) {
    const double* column = J(k);
    double t = 0.0;
    for (int j = 0; j < n_; ++j) {
      t += column[j] * g_[j];
    }
    double factor = -t;
    if (k < q) {
      double v = b_[active_[static_cast<std::size_t>(k)]];
      for (int i = 0; i < k; ++i) {
        v -= R(i, k) * work_[static_cast<std::size_t>(i)];
      }
      v /= R(k, k);
      work_[static_cast<std::size_t>(k)] = v;
      u_[static_cast<std::size_t>(k)] = v + t;
      factor = v;
    }
    for (int j = 0; j < n_; ++j) {
      x_[static_cast<std::size_t>(j)] += factor * column[j];
    }
  }
  for (int k = q - 1; k >= 0; --k) {
    double& value = u_[static_cast<std::size_t>(k)];
    for (int i = k + 1; i < q; ++i) {
      value -= R(k, i) * u_[static_cast<std::size_t>(i)];
    }
    value /= R(k, k);
  }
}

// A NaN compares as no violation, so what the loop ended with is looked at once more.
// Multipliers of inequalities may stand below zero by rounding only.
QpStatus DualActiveSet::judge() {
  bool finite =
      std::all_of(x_.begin(), x_.end(), [](double value) { return std::isfinite(value); });
  for (int p = 0; p < constraints_; ++p) {
    finite = finite && !std::isnan(residual(p).value);
  }
  for (int k = activeEqualities_; k < activeCount(); ++k) {
    u_[static_cast<std::size_t>(k)] = std::max(u_[static_cast<std::size_t>(k)], 0.0);
  }
  return finite ? kQpSolved : kQpNotPositiveDefinite;
}

}  // namespace vorin::brd
