#include "toolbox/array_helpers.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vorin {
namespace {

constexpr std::ptrdiff_t loopLength = 16;  // up to here one element after the other
constexpr std::ptrdiff_t seedLength = 8;   // what the doubling starts from
constexpr std::uint32_t seedIncrements = 8;

// Unsigned arithmetic: a sequence that passes the largest integer wraps around
// instead of being undefined.
std::int32_t wrappedSum(std::int32_t value, std::uint32_t step) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) + step);
}

template <class Real>
void outerProduct(VectorView<const Real> a, VectorView<const Real> b, MatrixView<Real> out) {
  for (std::ptrdiff_t j = 0; j < b.n; ++j) {
    for (std::ptrdiff_t i = 0; i < a.n; ++i) {
      out(i, j) = a[i] * b[j];
    }
  }
}

template <class Real>
Real scaledHypot(Real a, Real b) {
  a = std::abs(a);
  b = std::abs(b);
  if (a > b) {
    const Real ratio = b / a;
    return a * std::sqrt(Real(1) + ratio * ratio);
  }
  if (b == Real(0)) {
    return Real(0);
  }
  const Real ratio = a / b;
  return b * std::sqrt(Real(1) + ratio * ratio);
}

}  // namespace

void swap_i(std::int32_t& a, std::int32_t& b) {
  std::swap(a, b);
}

void arith_seq_i(VectorView<std::int32_t> out, std::int32_t first, std::int32_t increment,
                 std::int32_t n) {
  const std::ptrdiff_t count = std::min<std::ptrdiff_t>(n, out.n);
  if (count < 1) {
    return;
  }
  std::uint32_t step = static_cast<std::uint32_t>(increment);
  const std::ptrdiff_t looped = count > loopLength ? seedLength : count;
  out[0] = first;
  for (std::ptrdiff_t k = 1; k < looped; ++k) {
    out[k] = wrappedSum(out[k - 1], step);
  }
  step *= seedIncrements;
  for (std::ptrdiff_t filled = looped; filled < count; filled *= 2, step *= 2) {
    const std::ptrdiff_t more = std::min(filled, count - filled);
    for (std::ptrdiff_t k = 0; k < more; ++k) {
      out[filled + k] = wrappedSum(out[k], step);
    }
  }
}

void outer_product_sp(VectorView<const float> a, VectorView<const float> b, MatrixView<float> out) {
  outerProduct(a, b, out);
}

void outer_product_dp(VectorView<const double> a, VectorView<const double> b,
                      MatrixView<double> out) {
  outerProduct(a, b, out);
}

float scaled_hypot_sp(float a, float b) {
  return scaledHypot(a, b);
}

double scaled_hypot_dp(double a, double b) {
  return scaledHypot(a, b);
}

}  // namespace vorin
