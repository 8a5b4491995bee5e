#include "brd/kernel_forms.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// The columns of K as rows of panels, for the gram kernel: one row of K fills a cache line
// in each panel.
template <class Real>
AlignedVector<Real> packTransposed(int m, int padded, const Real* byRows) {
  constexpr int rows = kernels::panelRows<Real>;
  static_assert(kernels::rowPadding<Real> == rows);
  AlignedVector<Real> packed(area(padded, m));
  const ColumnMajorView<const Real> rowsOfK{byRows, padded};
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < padded; i += rows) {
      const ColumnMajorView<Real> panel{packed.data() + area(i, m), rows};
      std::copy_n(&rowsOfK(i, j), rows, panel.column(j));
    }
  }
  return packed;
}

template <class Real>
constexpr int paddedTo(int n) {
  constexpr int padding = kernels::rowPadding<Real>;
  return (n + padding - 1) / padding * padding;
}

}  // namespace

template <class Real>
KernelForms<Real>::KernelForms(int m, int n, const Real* K)
    : m_(std::max(m, 0)), n_(std::max(n, 0)), paddedColumns_(paddedTo<Real>(n_)), K_(K) {
  copyByRows();
  formMeanSquare();
}

template <class Real>
KernelForms<Real>::KernelForms(int m, int n, AlignedVector<Real> K)
    : m_(m), n_(n), paddedColumns_(paddedTo<Real>(n_)), own_(std::move(K)), K_(own_.data()) {
  copyByRows();
  formMeanSquare();
}

template <class Real>
template <class Other>
std::shared_ptr<const KernelForms<Real>> KernelForms<Real>::converted(int m, int n,
                                                                      const Other* K) {
  m = std::max(m, 0);
  n = std::max(n, 0);
  AlignedVector<Real> kernel(area(m, n));
  std::transform(K, K + kernel.size(), kernel.begin(),
                 [](Other value) { return static_cast<Real>(value); });
  const std::shared_ptr<KernelForms> forms(new KernelForms(m, n, std::move(kernel)));
  forms->ofSingles_ = std::is_same_v<Other, float>;
  return forms;
}

// Columns are read in groups, side by side: one row of a group is a cache line.
template <class Real>
void KernelForms<Real>::copyByRows() {
  constexpr int group = kernels::rowPadding<Real>;
  // One row at least, of zeros: the kernels form the addresses of its elements even for an
  // empty kernel.
  byRows_.resize(area(std::max(m_, 1), paddedColumns_));
  std::fill_n(byRows_.begin(), paddedColumns_, Real(0));
  const ColumnMajorView<const Real> K{K_, m_};
  const ColumnMajorView<Real> transposed{byRows_.data(), paddedColumns_};
  unsigned notFinite = 0;
  for (int i0 = 0; i0 < n_; i0 += group) {
    const int filled = std::min(group, n_ - i0);
    for (int j = 0; j < m_; ++j) {
      Real* out = &transposed(i0, j);
      std::fill(out + filled, out + group, Real(0));
      for (int i = 0; i < filled; ++i) {
        const Real value = K(j, i0 + i);
        notFinite |= std::abs(value) <= std::numeric_limits<Real>::max() ? 0U : 1U;
        out[i] = value;
      }
    }
  }
  finite_ = notFinite == 0U;
}

template <class Real>
void KernelForms<Real>::formMeanSquare() {
  if constexpr (std::is_same_v<Real, double>) {
    // A sum for each column of a group, which do not wait for each other.
    constexpr int group = kernels::rowPadding<Real>;
    std::array<double, group> sums{};
    const std::ptrdiff_t elements = std::ptrdiff_t{paddedColumns_} * m_;
    for (std::ptrdiff_t first = 0; first < elements; first += group) {
      for (std::ptrdiff_t i = 0; i < group; ++i) {
        const double value = byRows_[length(first + i)];
        sums[length(i)] += value * value;
      }
    }
    meanSquare_ = std::accumulate(sums.begin(), sums.end(), 0.0) / std::max(n_, 1);
  }
}

template <class Real>
const Real* KernelForms<Real>::gram() const {
  if constexpr (std::is_same_v<Real, double>) {
    std::call_once(gramFormed_, [this] {
      gram_.resize(area(n_, n_));
      const auto& kernel = kernels::table<double>();
      const auto form = ofSingles_ ? kernel.gramOfSingles : kernel.gram;
      form(n_, m_, packTransposed(m_, paddedColumns_, byRows()).data(), gram_.data());
    });
    return gram_.data();
  } else {
    return nullptr;
  }
}

template <class Real>
const RankFactor* KernelForms<Real>::rankFactor() const {
  if constexpr (std::is_same_v<Real, double>) {
    std::call_once(factorFormed_, [this] {
      if (finite_) {
        factor_ = rankFactorOf(n_, gram());
      }
    });
    return factor_.rank > 0 ? &factor_ : nullptr;
  } else {
    return nullptr;
  }
}

template class KernelForms<double>;
template std::shared_ptr<const KernelForms<double>> KernelForms<double>::converted(int, int,
                                                                                   const float*);
template class KernelForms<float>;
template std::shared_ptr<const KernelForms<float>> KernelForms<float>::converted(int, int,
                                                                                 const double*);

}  // namespace vorin::brd
