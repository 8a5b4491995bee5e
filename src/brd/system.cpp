#include "brd/system.hpp"

#include <algorithm>
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
  constexpr int rows = kernels::panelRows<Real>;
  paddedColumns_ = (n_ + padding - 1) / padding * padding;
  const std::size_t length = static_cast<std::size_t>(m_);
  const std::size_t panels = static_cast<std::size_t>((m_ + rows - 1) / rows);
  product_.resize(static_cast<std::size_t>(paddedColumns_));
  packed_.resize(panels * area(rows, n_));
  G_.resize(area(m_, m_));
  pivots_.resize(length);
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
  std::vector<Real> kernel(area(m, n));
  std::vector<Real> data(static_cast<std::size_t>(m));
  std::transform(K, K + kernel.size(), kernel.begin(), convert);
  std::transform(d, d + data.size(), data.begin(), convert);
  System system(m, n, kernel.data(), data.data());
  // Moving a vector keeps its storage, so the addresses taken above stay good.
  system.ownKernel_ = std::move(kernel);
  system.ownData_ = std::move(data);
  return system;
}

template <class Real>
void System<Real>::transpose() {
  kernelByRows_.assign(area(m_, paddedColumns_), Real(0));
  for (int i = 0; i < n_; ++i) {
    const Real* column = K_ + area(m_, i);
    for (int j = 0; j < m_; ++j) {
      kernelByRows_[area(paddedColumns_, j) + static_cast<std::size_t>(i)] = column[j];
    }
  }
}

template <class Real>
void System<Real>::distributionFromDual(const Real* c, Real* f) {
  kernels::table<Real>().combineRows(m_, paddedColumns_, kernelByRows_.data(), c, product_.data());
  for (int i = 0; i < n_; ++i) {
    const Real value = product_[static_cast<std::size_t>(i)];
    f[i] = value <= Real(0) ? Real(0) : value;
  }
}

// H is 1 where f is positive and keeps f elsewhere, which is 0, or a NaN that must
// reach the result: H times the column is what the panels hold.
template <class Real>
void System<Real>::packActive(const Real* f) {
  constexpr int rows = kernels::panelRows<Real>;
  activeColumns_ =
      static_cast<int>(std::count_if(f, f + n_, [](Real value) { return !(value <= Real(0)); }));
  int place = 0;
  for (int i = 0; i < n_; ++i) {
    if (f[i] <= Real(0)) {
      continue;
    }
    const Real mask = f[i] > Real(0) ? Real(1) : f[i];
    const Real* column = K_ + area(m_, i);
    for (int r0 = 0; r0 < m_; r0 += rows) {
      Real* panel =
          packed_.data() + (area(r0 / rows, activeColumns_) + static_cast<std::size_t>(place)) *
                               static_cast<std::size_t>(rows);
      const int filled = std::min(rows, m_ - r0);
      for (int r = 0; r < filled; ++r) {
        panel[r] = mask * column[r0 + r];
      }
      std::fill(panel + filled, panel + rows, Real(0));
    }
    ++place;
  }
}

template <class Real>
void System<Real>::factor(const Real* f, Real weight) {
  packActive(f);
  kernels::table<Real>().gram(m_, activeColumns_, packed_.data(), G_.data());
  for (int j = 0; j < m_; ++j) {
    G_[area(m_, j) + static_cast<std::size_t>(j)] += weight;
  }
  getrf(m_, G_.data(), m_, pivots_.data());
}

template <class Real>
void System<Real>::solve(const Real* right, Real* x) const {
  std::copy(right, right + m_, x);
  getrs(m_, G_.data(), m_, pivots_.data(), x);
}

template class System<float>;
template class System<double>;
template System<double> System<double>::converted(int, int, const float*, const float*);
template System<float> System<float>::converted(int, int, const double*, const double*);

}  // namespace vorin::brd
