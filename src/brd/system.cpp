#include "brd/system.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"

namespace vorin::brd {
namespace {

std::size_t area(int rows, int columns) {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

}  // namespace

template <class Real>
System<Real>::System(int m, int n, const Real* K, const Real* d)
    : m_(std::max(m, 0)), n_(std::max(n, 0)), K_(K), d_(d) {
  constexpr int padding = kernels::rowPadding<Real>;
  paddedColumns_ = (n_ + padding - 1) / padding * padding;
  const std::size_t length = static_cast<std::size_t>(m_);
  product_.resize(static_cast<std::size_t>(paddedColumns_), Real(0));
  mask_.resize(static_cast<std::size_t>(n_));
  newDual_.resize(length);
  secondSolution_.resize(length);
  transpose();
}

template <class Real>
template <class Other>
System<Real> System<Real>::converted(int m, int n, const Other* K, const Other* d) {
  m = std::max(m, 0);
  n = std::max(n, 0);
  const auto convert = [](Other value) { return static_cast<Real>(value); };
  AlignedVector<Real> kernel(area(m, n));
  std::vector<Real> data(static_cast<std::size_t>(m));
  std::transform(K, K + kernel.size(), kernel.begin(), convert);
  std::transform(d, d + data.size(), data.begin(), convert);
  System system(m, n, kernel.data(), data.data());
  // Moving a vector keeps its storage, so the addresses taken above stay good.
  system.ownKernel_ = std::move(kernel);
  system.ownData_ = std::move(data);
  return system;
}

// Columns are read in groups, side by side: one row of a group is a cache line.
template <class Real>
void System<Real>::transpose() {
  constexpr int group = kernels::rowPadding<Real>;
  // One row at least, of zeros: the kernels form the addresses of its parts also of a
  // kernel that has none.
  kernelByRows_.resize(area(std::max(m_, 1), paddedColumns_));
  std::fill_n(kernelByRows_.begin(), paddedColumns_, Real(0));
  unsigned notFinite = 0;
  for (int i0 = 0; i0 < n_; i0 += group) {
    const Real* columns = K_ + area(m_, i0);
    const int filled = std::min(group, n_ - i0);
    Real* out = kernelByRows_.data() + i0;
    for (int j = 0; j < m_; ++j, out += paddedColumns_) {
      std::fill(out + filled, out + group, Real(0));
      for (int i = 0; i < filled; ++i) {
        const Real value = columns[area(m_, i) + static_cast<std::size_t>(j)];
        notFinite |= std::abs(value) <= std::numeric_limits<Real>::max() ? 0U : 1U;
        out[i] = value;
      }
    }
  }
  kernelIsFinite_ = notFinite == 0U;
}

// out = K' x, with the padding of kernelByRows_.
template <class Real>
void System<Real>::formProjection(const Real* x, Real* out) const {
  if (plainRoad()) {
    for (int i = 0; i < n_; ++i) {
      const Real* column = K_ + area(m_, i);
      out[i] = Real(0);
      for (int j = 0; j < m_; ++j) {
        out[i] += column[j] * x[j];
      }
    }
    return;
  }
  kernels::table<Real>().combineRows(m_, paddedColumns_, kernelByRows_.data(), x, out);
}

template <class Real>
void System<Real>::distributionFromDual(const Real* c, Real* f) {
  formProjection(c, product_.data());
  for (int i = 0; i < n_; ++i) {
    const Real value = product_[static_cast<std::size_t>(i)];
    f[i] = value <= Real(0) ? Real(0) : value;
  }
}

template <class Real>
bool& System<Real>::plainRoad() {
  static bool plain = false;
  return plain;
}

// H is 1 where f is positive and keeps f elsewhere, which is 0, or a NaN that must
// reach the result. A NaN equals nothing, so that such a mask is always a new one.
template <class Real>
bool System<Real>::sameMask(const Real* f, Real weight) const {
  return factored_ && weight == weight_ && !plainRoad() &&
         std::equal(mask_.begin(), mask_.end(), f, [](Real mask, Real value) {
           return mask == (value > Real(0) ? Real(1) : value);
         });
}

template <class Real>
void System<Real>::takeMask(const Real* f, Real weight) {
  active_.clear();
  for (int i = 0; i < n_; ++i) {
    const Real mask = f[i] > Real(0) ? Real(1) : f[i] <= Real(0) ? Real(0) : f[i];
    mask_[static_cast<std::size_t>(i)] = mask;
    if (mask != Real(0)) {
      active_.push_back(i);
    }
  }
  weight_ = weight;
  factored_ = true;
}

// The active columns, each times its mask.
template <class Real>
void System<Real>::packActive() {
  constexpr int rows = kernels::panelRows<Real>;
  const int count = static_cast<int>(active_.size());
  const int panels = (m_ + rows - 1) / rows;
  packed_.resize(area(panels * rows, std::max(count, 1)));
  for (int k = 0; k < count; ++k) {
    const int i = active_[static_cast<std::size_t>(k)];
    const Real mask = mask_[static_cast<std::size_t>(i)];
    const Real* column = K_ + area(m_, i);
    for (int r0 = 0; r0 < m_; r0 += rows) {
      Real* panel = packed_.data() + area(r0 / rows * count + k, rows);
      const int filled = std::min(rows, m_ - r0);
      for (int r = 0; r < filled; ++r) {
        panel[r] = mask * column[r0 + r];
      }
      std::fill(panel + filled, panel + rows, Real(0));
    }
  }
}

template <class Real>
void System<Real>::formFull() {
  // Every cold start has all columns in its first pass. Their sum is kept where it is not
  // much larger than the kernel itself.
  const bool whole =
      m_ <= 2 * static_cast<long>(n_) &&
      std::all_of(mask_.begin(), mask_.end(), [](Real mask) { return mask == Real(1); });
  if (whole && !wholeG_.empty()) {
    G_ = wholeG_;
    return;
  }
  packActive();
  G_.resize(area(m_, m_));
  kernels::table<Real>().gram(m_, static_cast<int>(active_.size()), packed_.data(), G_.data());
  if (whole) {
    wholeG_ = G_;
  }
}

// The sum over all columns i of the outer product of row i of B = H K' with column i of K.
template <class Real>
void System<Real>::formFullPlainly() {
  std::vector<Real> B(area(n_, m_));
  for (int i = 0; i < n_; ++i) {
    for (int j = 0; j < m_; ++j) {
      B[area(n_, j) + static_cast<std::size_t>(i)] =
          mask_[static_cast<std::size_t>(i)] * K_[area(m_, i) + static_cast<std::size_t>(j)];
    }
  }
  G_.assign(area(m_, m_), Real(0));
  for (int i = 0; i < n_; ++i) {
    const Real* column = K_ + area(m_, i);
    for (int j = 0; j < m_; ++j) {
      const Real masked = B[area(n_, j) + static_cast<std::size_t>(i)];
      Real* out = G_.data() + area(m_, j);
      for (int k = 0; k < m_; ++k) {
        out[k] += masked * column[k];
      }
    }
  }
}

template <class Real>
void System<Real>::factor(const Real* f, Real weight) {
  // The last pass of a solve and its close nearly always repeat the mask before.
  if (sameMask(f, weight)) {
    return;
  }
  takeMask(f, weight);
  if (SmallerSide<Real>::everServes && !plainRoad() && kernelIsFinite_ && m_ > 0 && n_ > 0) {
    gram();
    onSmallerSide_ = smallerSide_->serves(static_cast<int>(active_.size()), weight);
  } else {
    onSmallerSide_ = false;
  }
  if (onSmallerSide_) {
    smallerSide_->factor(active_, weight);
    return;
  }
  // A column out of the mask takes no part, unless it makes 0 times infinity.
  if (plainRoad() || !kernelIsFinite_) {
    formFullPlainly();
  } else {
    formFull();
  }
  for (int j = 0; j < m_; ++j) {
    G_[area(m_, j) + static_cast<std::size_t>(j)] += weight;
  }
  pivots_.resize(static_cast<std::size_t>(m_));
  getrf(m_, G_.data(), m_, pivots_.data());
}

template <class Real>
const Real* System<Real>::gram() {
  if (!smallerSide_) {
    smallerSide_.emplace(m_, n_, K_, kernelByRows_.data(), plainRoad());
  }
  return smallerSide_->gram();
}

template <class Real>
const Real* System<Real>::projectedData() {
  if (projectedData_.empty()) {
    projectedData_.resize(static_cast<std::size_t>(paddedColumns_));
    formProjection(d_, projectedData_.data());
  }
  return projectedData_.data();
}

// K' right; that of the data is formed once.
template <class Real>
const Real* System<Real>::project(const Real* right) {
  if (right == d_) {
    return projectedData();
  }
  formProjection(right, product_.data());
  return product_.data();
}

template <class Real>
void System<Real>::solve(const Real* right, Real* x) {
  if (onSmallerSide_) {
    smallerSide_->solve(active_, weight_, right, project(right), x);
    return;
  }
  std::copy(right, right + m_, x);
  getrs(m_, G_.data(), m_, pivots_.data(), x);
}

template class System<float>;
template class System<double>;
template System<double> System<double>::converted(int, int, const float*, const float*);
template System<float> System<float>::converted(int, int, const double*, const double*);

}  // namespace vorin::brd
