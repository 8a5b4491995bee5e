#include "brd/qp_bounded.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "toolbox/kernels/kernels.hpp"

namespace vorin::brd {
namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();
constexpr double infinity = std::numeric_limits<double>::infinity();

// A gradient counts as negative below -gradientRounding times the terms it is summed
// from: the rounding of the sum itself and no more. At weights far below the kernel's
// own scale the objective is so flat that a gradient of 1e-13 of its terms, if
// ignored, would change the solution visibly.
constexpr double gradientRounding = epsilon;

// A free element may be bound when its gradient would then be this fraction of its terms:
// what the factorisation and solve of its block leave of a true zero.
constexpr double solveRounding = 16.0 * epsilon;

// The tolerance of the final check of the conditions. The steps reach rounding error, so
// that only a computation that has broken down fails it.
constexpr double acceptedGradient = 1e-10;

// Rounds of block exchanges allowed without a new least number of violated conditions; the
// authors of the method report that three suffice.
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

QpStatus BoundedMinimum::solve(IndexedVector<char>& free) {
  const IndexedVector<char> none(x_.size(), 0);
  const bool hasStart = !free.empty();
  if (!(hasStart && exchangeBlocks(free)) && !exchangeBlocks(none)) {
    freeOneByOne();
    settle();
  }
  bindDegenerate();
  free = none;
  for (const int i : factor_.indices()) {
    free[i] = 1;
  }
  return checkConditions();
}

QpStatus BoundedMinimum::solve() {
  IndexedVector<char> none;
  return solve(none);
}

// All elements that violate their condition change between free and bound together.
bool BoundedMinimum::exchangeBlocks(IndexedVector<char> isFree) {
  int fewest = n_ + 1;
  int rounds = patience;
  if (!minimiseOver(isFree)) {
    return false;
  }
  for (;;) {
    updateGradient();
    int count = 0;
    for (int i = 0; i < n_; ++i) {
      const bool wrong = isFree[i] ? !(x_[i] > 0.0) : violated(i);
      count += wrong;
      if (wrong) {
        isFree[i] = !isFree[i];
      }
    }
    if (count == 0) {
      return true;
    }
    rounds = count < fewest ? patience : rounds - 1;
    fewest = std::min(count, fewest);
    if (rounds < 0) {
      std::fill(isFree.begin(), isFree.end(), char(0));
      minimiseOver(isFree);
      return false;
    }
    if (!minimiseOver(isFree)) {
      return false;
    }
  }
}

// x = the minimum over the free elements, 0 elsewhere. False, with x = 0 and no free element, when
// their block has no factor or its solution could overflow.
bool BoundedMinimum::minimiseOver(const IndexedVector<char>& isFree) {
  IndexedVector<int> indices;
  for (int i = 0; i < n_; ++i) {
    if (isFree[i]) {
      indices.push_back(i);
    }
  }
  std::fill(x_.begin(), x_.end(), 0.0);
  if (!factor_.assign(indices) || !findFreeMinimum()) {
    factor_.clear();
    return false;
  }
  takeFreeMinimum();
  return true;
}

void BoundedMinimum::freeOneByOne() {
  // In exact arithmetic no set of free elements comes twice, and about n steps are
  // usual; rounding errors can make the last of them cycle.
  const std::ptrdiff_t limit = std::ptrdiff_t{20} * n_ + 100;
  for (std::ptrdiff_t step = 0; step < limit; ++step) {
    updateGradient();
    std::fill(refused_.begin(), refused_.end(), char(0));
    int i = nextToFree();
    while (i >= 0 && !tryToFree(i)) {
      refused_[i] = 1;
      i = nextToFree();
    }
    if (i < 0 || !stepToMinimum()) {
      return;
    }
  }
}

// Takes the minimum over the free elements once more from a factor of its own, in the order of the
// elements, so that the way here does not show in its rounding.
void BoundedMinimum::settle() {
  const IndexedVector<int> found = factor_.indices();
  IndexedVector<int> ordered = found;
  std::sort(ordered.begin(), ordered.end());
  if (singular_ || ordered == found) {
    return;
  }
  if (factor_.assign(ordered) && findFreeMinimum() &&
      std::all_of(z_.begin(), z_.begin() + factor_.size(), [](double z) { return z > 0.0; })) {
    takeFreeMinimum();
    updateGradient();
    return;
  }
  factor_.clear();
  for (const int i : found) {
    factor_.append(i);
  }
}

// The bound element with the steepest descent in the scale of its diagonal; -1 for none.
int BoundedMinimum::nextToFree() const {
  int best = -1;
  double bestSlope = -1.0;
  for (int i = 0; i < n_; ++i) {
    if (x_[i] > 0.0 || refused_[i] || !violated(i)) {
      continue;
    }
    // Without a positive diagonal there is no minimum, which the factorisation reports.
    const double diagonal = Q_[i + std::ptrdiff_t{i} * n_];
    const double slope = diagonal > 0.0 ? -y_[i] / std::sqrt(diagonal) : infinity;
    if (slope > bestSlope) {
      best = i;
      bestSlope = slope;
    }
  }
  return best;
}

// Adds i to the free elements, unless the block then has no factor or i would become
// negative, which only rounding error can cause.
bool BoundedMinimum::tryToFree(int i) {
  if (!factor_.append(i)) {
    singular_ = true;
    return false;
  }
  if (findFreeMinimum() && z_[factor_.size() - 1] > 0.0) {
    return true;
  }
  factor_.remove(factor_.size() - 1);
  return false;
}

// Moves x towards the minimum over the free elements. An element that reaches its bound on
// the way stays there, and the step goes on with the others.
bool BoundedMinimum::stepToMinimum() {
  while (findFreeMinimum()) {
    const IndexedVector<int>& indices = factor_.indices();
    double length = 1.0;
    int first = -1;
    for (int k = 0; k < factor_.size(); ++k) {
      const double from = x_[indices[k]];
      const double to = z_[k];
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
      double& value = x_[indices[k]];
      value += length * (z_[k] - value);
      if (k == first || !(value > 0.0)) {
        value = 0.0;
        factor_.remove(k);
      }
    }
  }
  return false;
}

// Binds a free element that is zero up to rounding error and whose gradient at the bound
// would be zero up to rounding error: its sign is rounding error.
void BoundedMinimum::bindDegenerate() {
  constexpr double nearZero = 1e-12;
  const double largest = n_ > 0 ? *std::max_element(x_.begin(), x_.end()) : 0.0;
  bool found = false;
  for (int k = factor_.size() - 1; k >= 0; --k) {
    const int i = factor_.indices()[k];
    if (x_[i] > nearZero * largest) {
      continue;
    }
    // With i bound, the gradient is -x(i) over element (i, i) of the inverse block.
    std::fill(z_.begin(), z_.end(), 0.0);
    z_[k] = 1.0;
    factor_.solve(z_.data());
    if (x_[i] <= solveRounding * size_[i] * z_[k]) {
      x_[i] = 0.0;
      factor_.remove(k);
      found = true;
    }
  }
  if (found) {
    stepToMinimum();
    updateGradient();
  }
}

// z = -Q(P, P)^-1 g(P); false when further sums of it could overflow.
bool BoundedMinimum::findFreeMinimum() {
  constexpr double tooLarge = std::numeric_limits<double>::max() / 4.0;
  const IndexedVector<int>& indices = factor_.indices();
  for (std::ptrdiff_t k = 0; k < std::ssize(indices); ++k) {
    z_[k] = -g_[indices[k]];
  }
  factor_.solve(z_.data());
  return std::all_of(z_.begin(), z_.begin() + factor_.size(),
                     [](double value) { return std::abs(value) <= tooLarge; });
}

void BoundedMinimum::takeFreeMinimum() {
  const IndexedVector<int>& indices = factor_.indices();
  for (std::ptrdiff_t k = 0; k < std::ssize(indices); ++k) {
    x_[indices[k]] = z_[k];
  }
}

void BoundedMinimum::updateGradient() {
  for (int i = 0; i < n_; ++i) {
    y_[i] = g_[i];
    size_[i] = std::abs(g_[i]);
  }
  // z is free between two solves.
  const IndexedVector<int>& indices = factor_.indices();
  std::transform(indices.begin(), indices.end(), z_.begin(), [this](int j) { return x_[j]; });
  kernels::table<double>().addColumns(n_, factor_.size(), indices.data(), Q_, z_.data(), y_.data(),
                                      size_.data());
}

bool BoundedMinimum::violated(int i) const {
  return y_[i] < -gradientRounding * size_[i];
}

// An overflow in the terms would make every tolerance infinite. A minimum over the free
// elements does not exclude negative curvature elsewhere; the diagonal shows some of it.
QpStatus BoundedMinimum::checkConditions() const {
  bool solved = true;
  bool regular = true;
  for (int i = 0; i < n_; ++i) {
    const double allowed = acceptedGradient * size_[i];
    solved = solved && y_[i] >= -allowed && (x_[i] == 0.0 || y_[i] <= allowed);
    regular = regular && std::isfinite(size_[i]) && Q_[i + std::ptrdiff_t{i} * n_] >= 0.0;
  }
  if (solved && regular) {
    return qpSolved;
  }
  return regular && !singular_ ? qpLimitReached : qpNotPositiveDefinite;
}

}  // namespace vorin::brd
