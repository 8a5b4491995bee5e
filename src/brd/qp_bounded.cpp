#include "brd/qp_bounded.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "toolbox/kernels/kernels.hpp"

namespace vorin::brd {
namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();
constexpr double endless = std::numeric_limits<double>::infinity();

// A gradient counts as negative below -gradientRounding times the terms it is summed
// from: the rounding of the sum itself and no more. At weights far below the kernel's
// own scale the objective is so flat that a gradient of 1e-13 of its terms, left
// standing, would move the solution visibly.
constexpr double gradientRounding = epsilon;

// A free element may be bound when its gradient would then be this fraction of its terms:
// what the factorisation and solve of its block leave of a true zero.
constexpr double solveRounding = 16.0 * epsilon;

// What the conditions must hold to for a solution to be called one; the steps above
// reach rounding, so that only a broken-down computation fails it.
constexpr double acceptedGradient = 1e-10;

// Rounds of block exchanges that may pass without fewer violated conditions than ever
// before. Three is what the method's authors and those after them found enough.
constexpr int patience = 3;

}  // namespace

BoundedMinimum::BoundedMinimum(int n, const double* Q, const double* g, double* storage)
    : n_(n),
      Q_(Q),
      g_(g),
      factor_(n, Q, storage),
      x_(static_cast<std::size_t>(n)),
      y_(static_cast<std::size_t>(n)),
      size_(static_cast<std::size_t>(n)),
      z_(static_cast<std::size_t>(n)),
      refused_(static_cast<std::size_t>(n)) {}

QpStatus BoundedMinimum::solve() {
  if (!exchangeBlocks()) {
    freeOneByOne();
  }
  bindDegenerate();
  return judge();
}

// Free and bound elements that violate their condition change sides together.
bool BoundedMinimum::exchangeBlocks() {
  std::vector<char> isFree(x_.size(), 0);
  std::vector<int> indices;
  int fewest = n_ + 1;
  int rounds = patience;
  for (;;) {
    updateGradient();
    int count = 0;
    for (int i = 0; i < n_; ++i) {
      const auto at = static_cast<std::size_t>(i);
      const bool wrong = isFree[at] ? !(x_[at] > 0.0) : violated(i);
      count += wrong;
      if (wrong) {
        isFree[at] = !isFree[at];
      }
    }
    if (count == 0) {
      return true;
    }
    rounds = count < fewest ? patience : rounds - 1;
    fewest = std::min(count, fewest);
    indices.clear();
    for (int i = 0; i < n_; ++i) {
      if (isFree[static_cast<std::size_t>(i)]) {
        indices.push_back(i);
      }
    }
    std::fill(x_.begin(), x_.end(), 0.0);
    if (rounds < 0 || !factor_.assign(indices) || !findFreeMinimum()) {
      factor_.clear();
      return false;
    }
    takeFreeMinimum();
  }
}

void BoundedMinimum::freeOneByOne() {
  // In exact arithmetic no set of free elements comes twice, and about n steps are
  // usual; in rounding the last of them may go round in circles.
  const long limit = 20L * n_ + 100;
  for (long step = 0; step < limit; ++step) {
    updateGradient();
    std::fill(refused_.begin(), refused_.end(), char(0));
    int i = nextToFree();
    while (i >= 0 && !free(i)) {
      refused_[static_cast<std::size_t>(i)] = 1;
      i = nextToFree();
    }
    if (i < 0 || !stepToMinimum()) {
      return;
    }
  }
}

// The bound element whose release promises most, in its own units; -1 for none.
int BoundedMinimum::nextToFree() const {
  int best = -1;
  double bestSlope = -1.0;
  for (int i = 0; i < n_; ++i) {
    const auto at = static_cast<std::size_t>(i);
    if (x_[at] > 0.0 || refused_[at] || !violated(i)) {
      continue;
    }
    // Without a positive diagonal there is no minimum; the factor will say so.
    const double diagonal = Q_[i + static_cast<long>(i) * n_];
    const double slope = diagonal > 0.0 ? -y_[at] / std::sqrt(diagonal) : endless;
    if (slope > bestSlope) {
      best = i;
      bestSlope = slope;
    }
  }
  return best;
}

// Adds i to the free elements, unless the block has no factor then or i would turn out
// negative, which only rounding can do.
bool BoundedMinimum::free(int i) {
  if (!factor_.append(i)) {
    singular_ = true;
    return false;
  }
  if (findFreeMinimum() && z_[static_cast<std::size_t>(factor_.size() - 1)] > 0.0) {
    return true;
  }
  factor_.remove(factor_.size() - 1);
  return false;
}

// From x towards the minimum over the free elements; what reaches its bound on the way
// is bound there, and the road goes on without it.
bool BoundedMinimum::stepToMinimum() {
  while (findFreeMinimum()) {
    const std::vector<int>& indices = factor_.indices();
    double length = 1.0;
    int first = -1;
    for (int k = 0; k < factor_.size(); ++k) {
      const double from = x_[static_cast<std::size_t>(indices[static_cast<std::size_t>(k)])];
      const double to = z_[static_cast<std::size_t>(k)];
      if (to > 0.0) {
        continue;
      }
      const double reach = from > 0.0 ? from / (from - to) : 0.0;
      if (first < 0 || reach < length) {
        length = reach;
        first = k;
      }
    }
    if (first < 0) {
      takeFreeMinimum();
      return true;
    }
    for (int k = factor_.size() - 1; k >= 0; --k) {
      double& value = x_[static_cast<std::size_t>(indices[static_cast<std::size_t>(k)])];
      value += length * (z_[static_cast<std::size_t>(k)] - value);
      if (k == first || !(value > 0.0)) {
        value = 0.0;
        factor_.remove(k);
      }
    }
  }
  return false;
}

// A free element that is zero but for rounding, and whose gradient would be zero but for
// rounding at the bound, belongs there: its sign is an accident.
void BoundedMinimum::bindDegenerate() {
  constexpr double suspicious = 1e-12;
  const double largest = n_ > 0 ? *std::max_element(x_.begin(), x_.end()) : 0.0;
  bool found = false;
  for (int k = factor_.size() - 1; k >= 0; --k) {
    const int i = factor_.indices()[static_cast<std::size_t>(k)];
    const auto at = static_cast<std::size_t>(i);
    if (x_[at] > suspicious * largest) {
      continue;
    }
    // With i bound, the gradient is -x(i) over element (i, i) of the inverse block.
    std::fill(z_.begin(), z_.end(), 0.0);
    z_[static_cast<std::size_t>(k)] = 1.0;
    factor_.solve(z_.data());
    if (x_[at] <= solveRounding * size_[at] * z_[static_cast<std::size_t>(k)]) {
      x_[at] = 0.0;
      factor_.remove(k);
      found = true;
    }
  }
  if (found) {
    stepToMinimum();
    updateGradient();
  }
}

// z = -Q(P, P)^-1 g(P); false when it can't be represented with room to compute.
bool BoundedMinimum::findFreeMinimum() {
  constexpr double tooLarge = std::numeric_limits<double>::max() / 4.0;
  const std::vector<int>& indices = factor_.indices();
  for (std::size_t k = 0; k < indices.size(); ++k) {
    z_[k] = -g_[indices[k]];
  }
  factor_.solve(z_.data());
  return std::all_of(z_.begin(), z_.begin() + factor_.size(),
                     [](double value) { return std::abs(value) <= tooLarge; });
}

void BoundedMinimum::takeFreeMinimum() {
  const std::vector<int>& indices = factor_.indices();
  for (std::size_t k = 0; k < indices.size(); ++k) {
    x_[static_cast<std::size_t>(indices[k])] = z_[k];
  }
}

void BoundedMinimum::updateGradient() {
  for (int i = 0; i < n_; ++i) {
    y_[static_cast<std::size_t>(i)] = g_[i];
    size_[static_cast<std::size_t>(i)] = std::abs(g_[i]);
  }
  // z has nothing to hold between two solves.
  const std::vector<int>& indices = factor_.indices();
  std::transform(indices.begin(), indices.end(), z_.begin(),
                 [this](int j) { return x_[static_cast<std::size_t>(j)]; });
  kernels::table<double>().addColumns(n_, factor_.size(), indices.data(), Q_, z_.data(), y_.data(),
                                      size_.data());
}

bool BoundedMinimum::violated(int i) const {
  const auto at = static_cast<std::size_t>(i);
  return y_[at] < -gradientRounding * size_[at];
}

// An overflow in the terms would make every allowance infinite. A minimum over the free
// elements says nothing of a Hessian that turns down elsewhere; its diagonal shows some.
QpStatus BoundedMinimum::judge() const {
  bool solved = true;
  bool sound = true;
  for (int i = 0; i < n_; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const double allowed = acceptedGradient * size_[at];
    solved = solved && y_[at] >= -allowed && (x_[at] == 0.0 || y_[at] <= allowed);
    sound = sound && std::isfinite(size_[at]) && Q_[i + static_cast<long>(i) * n_] >= 0.0;
  }
  if (solved && sound) {
    return qpSolved;
  }
  return sound && !singular_ ? qpLimitReached : qpNotPositiveDefinite;
}

}  // namespace vorin::brd
