#include "toolbox/svbksb.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "toolbox/extent.hpp"
#include "toolbox/nrerror.hpp"

namespace vorin {
namespace {

template <class Real>
struct Tags;
template <>
struct Tags<float> {
  static constexpr std::string_view rows = "svbksb_sp: mdum";
  static constexpr std::string_view columns = "svbksb_sp: ndum";
};
template <>
struct Tags<double> {
  // Required: the tag has lost the beginning of the routine's name; logs are searched
  // for it as it is.
  static constexpr std::string_view rows = "C_dp: mdum";
  static constexpr std::string_view columns = "svbksb_dp: ndum";
};

template <class Real>
void backSubstitute(MatrixView<const Real> u, VectorView<const Real> w, MatrixView<const Real> v,
                    VectorView<const Real> b, VectorView<Real> x) {
  assert_eq(extent32(u.rows), extent32(b.n), Tags<Real>::rows);
  assert_eq(std::array{extent32(u.cols), extent32(v.rows), extent32(v.cols), extent32(w.n),
                       extent32(x.n)},
            Tags<Real>::columns);
  const std::ptrdiff_t m = std::min(u.rows, b.n);
  const std::ptrdiff_t n = std::max<std::ptrdiff_t>(std::min({u.cols, v.cols, w.n}), 0);
  std::vector<Real> t(static_cast<std::size_t>(n));
  for (std::ptrdiff_t j = 0; j < n; ++j) {
    Real sum = 0;
    for (std::ptrdiff_t i = 0; i < m; ++i) {
      sum += u(i, j) * b[i];
    }
    t[static_cast<std::size_t>(j)] = w[j] != Real(0) ? sum / w[j] : Real(0);
  }
  for (std::ptrdiff_t i = 0; i < std::min(v.rows, x.n); ++i) {
    Real sum = 0;
    for (std::ptrdiff_t j = 0; j < n; ++j) {
      sum += v(i, j) * t[static_cast<std::size_t>(j)];
    }
    x[i] = sum;
  }
}

}  // namespace

void svbksb_sp(MatrixView<const float> u, VectorView<const float> w, MatrixView<const float> v,
               VectorView<const float> b, VectorView<float> x) {
  backSubstitute(u, w, v, b, x);
}

void svbksb_dp(MatrixView<const double> u, VectorView<const double> w, MatrixView<const double> v,
               VectorView<const double> b, VectorView<double> x) {
  backSubstitute(u, w, v, b, x);
}

}  // namespace vorin
