#include "brd/kernel_forms.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// An exponent of ones, that of infinities and NaN, carries into the sign when one is added to it.
// In integers and without an exit, so that the loop vectorises.
template <class Real>
bool allFinite(const AlignedVector<Real>& values) {
  using Bits = std::conditional_t<sizeof(Real) == sizeof(double), std::uint64_t, std::uint32_t>;
  constexpr Bits sign = Bits{1} << (std::numeric_limits<Bits>::digits - 1);
  constexpr Bits leastExponent = Bits{1} << (std::numeric_limits<Real>::digits - 1);
  Bits carried = 0;
  for (const Real value : values) {
    Bits bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    carried |= (bits & ~sign) + leastExponent;
  }
  return (carried & sign) == 0;
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
  formPanels();
  formMeanSquare();
}

template <class Real>
KernelForms<Real>::KernelForms(int m, int n, AlignedVector<Real> K)
    : m_(m), n_(n), paddedColumns_(paddedTo<Real>(n_)), own_(std::move(K)), K_(own_.data()) {
  formPanels();
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

template <class Real>
void KernelForms<Real>::formPanels() {
  static_assert(kernels::rowPadding<Real> == kernels::panelRows<Real>);
  constexpr int width = kernels::panelRows<Real>;
  panels_.resize(area(m_, paddedColumns_));
  const ColumnMajorView<const Real> K{K_, m_};
  for (int i0 = 0; i0 < n_; i0 += width) {
    Real* out = panels_.data() + area(i0, m_);
    if (i0 + width <= n_) {
      kernels::table<Real>().transpose(m_, width, K.column(i0), m_, out, width);
      continue;
    }
    std::fill_n(out, area(m_, width), Real(0));
    for (int i = i0; i < n_; ++i) {
      for (int j = 0; j < m_; ++j) {
        out[j * width + i - i0] = K(j, i);
      }
    }
  }
  finite_ = allFinite(panels_);
}

template <class Real>
void KernelForms<Real>::formMeanSquare() {
  if constexpr (std::is_same_v<Real, double>) {
    // A sum for each column of a group, which do not wait for each other.
    constexpr int group = kernels::rowPadding<Real>;
    std::array<double, group> sums{};
    for (int j = 0; j < m_; ++j) {
      for (int i0 = 0; i0 < paddedColumns_; i0 += group) {
        const double* row = panels_.data() + area(i0, m_) + area(j, group);
        for (std::size_t i = 0; i < group; ++i) {
          sums[i] += row[i] * row[i];
        }
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
      form(n_, m_, panels_.data(), gram_.data());
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
