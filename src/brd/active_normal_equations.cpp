#include "brd/active_normal_equations.hpp"

#include <algorithm>
#include <cstddef>

#include "toolbox/aligned.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"

namespace vorin::brd {
namespace {

std::size_t area(int rows, int columns) {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

// Weights are served between these multiples of the mean squared column norm. Nearer to
// an end of the range of a double the slope of rss is a difference whose sign is a matter
// of rounding, and a search for a target that no fit reaches would turn where that of the
// m-by-m system does not.
template <class Real>
constexpr Real leastShare = Real(1e-6);
template <class Real>
constexpr Real largestShare = Real(1e10);

// The columns of K as rows of panels, for the gram kernel: a panel's share of a row of K is
// one cache line here and there.
template <class Real>
AlignedVector<Real> packTransposed(int m, int padded, const Real* kernelByRows) {
  constexpr int rows = kernels::panelRows<Real>;
  AlignedVector<Real> packed(area(padded, m));
  for (int j = 0; j < m; ++j) {
    const Real* row = kernelByRows + area(padded, j);
    for (int i = 0; i < padded; i += rows) {
      std::copy(row + i, row + i + rows, packed.data() + area(i, m) + area(j, rows));
    }
  }
  return packed;
}

template <class Real>
void formGramPlainly(int m, int n, const Real* K, Real* G) {
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < n; ++k) {
      Real sum = 0;
      for (int j = 0; j < m; ++j) {
        sum += K[area(m, i) + static_cast<std::size_t>(j)] *
               K[area(m, k) + static_cast<std::size_t>(j)];
      }
      G[area(n, i) + static_cast<std::size_t>(k)] = sum;
    }
  }
}

}  // namespace

template <class Real>
SmallerSide<Real>::SmallerSide(int m, int n, const Real* K, const Real* kernelByRows, bool plain)
    : m_(m), n_(n), K_(K), gram_(area(n, n)) {
  if (plain) {
    formGramPlainly(m, n, K, gram_.data());
  } else {
    constexpr int padding = kernels::rowPadding<Real>;
    static_assert(padding == kernels::panelRows<Real>);
    const int padded = (n + padding - 1) / padding * padding;
    kernels::table<Real>().gram(n, m, packTransposed(m, padded, kernelByRows).data(), gram_.data());
  }
  for (int i = 0; i < n; ++i) {
    meanSquare_ += gram_[area(n, i) + static_cast<std::size_t>(i)];
  }
  meanSquare_ /= static_cast<Real>(n);
}

template <class Real>
bool SmallerSide<Real>::serves(int activeCount, Real weight) const {
  return everServes && activeCount < m_ && weight > Real(0) &&
         weight >= leastShare<Real> * meanSquare_ && weight <= largestShare<Real> * meanSquare_;
}

template <class Real>
void SmallerSide<Real>::factor(const std::vector<int>& active, Real weight) {
  const int count = static_cast<int>(active.size());
  factors_.resize(area(count, count));
  pivots_.resize(active.size());
  z_.resize(active.size());
  // Active columns come in a few runs of neighbours.
  runs_.clear();
  for (const int i : active) {
    if (runs_.empty() || i != runs_.back().first + runs_.back().length) {
      runs_.push_back({i, 0});
    }
    ++runs_.back().length;
  }
  Real* out = factors_.data();
  for (std::size_t q = 0; q < active.size(); ++q) {
    const Real* column = gram_.data() + area(n_, active[q]);
    for (const Run run : runs_) {
      out = std::copy_n(column + run.first, run.length, out);
    }
    factors_[q * active.size() + q] += weight;
  }
  getrf(count, factors_.data(), count, pivots_.data());
}

template <class Real>
void SmallerSide<Real>::solve(const std::vector<int>& active, Real weight, const Real* right,
                              const Real* projected, Real* x) {
  const int count = static_cast<int>(active.size());
  for (std::size_t k = 0; k < active.size(); ++k) {
    z_[k] = projected[active[k]];
  }
  getrs(count, factors_.data(), count, pivots_.data(), z_.data());
  kernels::table<Real>().combineColumns(m_, count, active.data(), K_, z_.data(), x);
  for (int j = 0; j < m_; ++j) {
    x[j] = (right[j] - x[j]) / weight;
  }
}

template class SmallerSide<float>;
template class SmallerSide<double>;

}  // namespace vorin::brd
