// Singular values by a second method: one-sided Jacobi rotations in double precision
// (Hestenes, J. SIAM 6, 51, 1958), which share nothing with a bidiagonal reduction.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <vector>

namespace vorin::test {

/// The n singular values of A (m x n, column-major), the largest first; zeros for
/// those that a matrix with fewer rows than columns lacks.
template <class Real>
std::vector<double> jacobiSingularValues(std::size_t m, std::size_t n, const Real* A) {
  std::vector<double> a(A, A + m * n);
  // A power of two brings the largest element near 1: squares of squares stay in range.
  double largest = 0.0;
  for (const double value : a) {
    largest = std::max(largest, std::abs(value));
  }
  const int exponent = std::ilogb(largest > 0.0 ? largest : 1.0);
  for (double& value : a) {
    value = std::ldexp(value, -exponent);
  }
  const auto dot = [&](std::size_t p, std::size_t q) {
    double sum = 0.0;
    for (std::size_t i = 0; i < m; ++i) {
      sum += a[i + p * m] * a[i + q * m];
    }
    return sum;
  };
  const auto rotatePair = [&](std::size_t p, std::size_t q) {
    const double alpha = dot(p, p);
    const double beta = dot(q, q);
    const double gamma = dot(p, q);
    if (std::abs(gamma) <= 1e-15 * std::sqrt(alpha * beta)) {
      return false;
    }
    const double zeta = (beta - alpha) / (2.0 * gamma);
    const double t = std::copysign(1.0, zeta) / (std::abs(zeta) + std::hypot(1.0, zeta));
    const double c = 1.0 / std::hypot(1.0, t);
    const double s = c * t;
    for (std::size_t i = 0; i < m; ++i) {
      const double x = a[i + p * m];
      const double y = a[i + q * m];
      a[i + p * m] = c * x - s * y;
      a[i + q * m] = s * x + c * y;
    }
    return true;
  };
  bool rotated = true;
  for (int sweep = 0; sweep < 100 && rotated; ++sweep) {
    rotated = false;
    for (std::size_t p = 0; p + 1 < n; ++p) {
      for (std::size_t q = p + 1; q < n; ++q) {
        rotated = rotatePair(p, q) || rotated;
      }
    }
  }
  std::vector<double> values(n);
  for (std::size_t j = 0; j < n; ++j) {
    values[j] = std::ldexp(std::sqrt(dot(j, j)), exponent);
  }
  std::sort(values.begin(), values.end(), std::greater<>());
  return values;
}

}  // namespace vorin::test
