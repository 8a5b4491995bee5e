// Systems with one matrix and any number of shifts: against closed forms, and the residual against
// the rounding that the declaration promises.
#include "brd/shifted_lanczos.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/problems.hpp"

namespace {

using vorin::brd::ShiftedLanczos;
using vorin::test::area;
using Numbers = std::vector<double>;

Numbers gramOf(const vorin::test::TestProblem<double>& data) {
  Numbers A(area(data.n, data.n));
  for (int i = 0; i < data.n; ++i) {
    for (int k = 0; k < data.n; ++k) {
      for (int j = 0; j < data.m; ++j) {
        A[area(data.n, i) + static_cast<std::size_t>(k)] +=
            data.K[area(data.m, i) + static_cast<std::size_t>(j)] *
            data.K[area(data.m, k) + static_cast<std::size_t>(j)];
      }
    }
  }
  return A;
}

TEST(ShiftedLanczos, ADiagonalMatrixIsDividedElementByElement) {
  constexpr int n = 60;
  Numbers A(area(n, n));
  Numbers b(n);
  for (std::size_t i = 0; i < n; ++i) {
    A[i * n + i] = std::pow(0.4, static_cast<double>(i));
    b[i] = 1.0 + 0.1 * static_cast<double>(i);
  }
  ShiftedLanczos systems(n, A.data(), b.data());
  Numbers z(n);
  for (const double shift : {10.0, 0.1, 1e-3, 1.0, 1e-4}) {
    ASSERT_TRUE(systems.solve(shift, z.data())) << shift;
    for (std::size_t i = 0; i < n; ++i) {
      // |dz| <= |residual| / shift.
      const double exact = b[i] / (A[i * n + i] + shift);
      EXPECT_NEAR(z[i], exact, 1e-14 * 40.0 / shift + 1e-14 * exact) << shift << ' ' << i;
    }
  }
}

TEST(ShiftedLanczos, ResidualIsAtTheRoundingForKernelsOfDecays) {
  for (const int n : {40, 100, 200}) {
    const auto data = vorin::test::laplaceProblem<double>(250, n, 0.01, 3);
    const Numbers A = gramOf(data);
    Numbers b(static_cast<std::size_t>(n));
    double trace = 0.0;
    double size = 0.0;
    for (std::size_t i = 0; i < b.size(); ++i) {
      for (std::size_t j = 0; j < 250; ++j) {
        b[i] += data.K[i * 250 + j] * data.d[j];
      }
      trace += A[i * b.size() + i];
      size += b[i] * b[i];
    }
    ShiftedLanczos systems(n, A.data(), b.data());
    Numbers z(b.size());
    for (const double share : {1.0, 1e-2, 1e-3, 1e-4, 1e-1}) {
      const double shift = share * trace / n;
      ASSERT_TRUE(systems.solve(shift, z.data())) << n << ' ' << share;
      double square = 0.0;
      double length = 0.0;
      for (std::size_t i = 0; i < b.size(); ++i) {
        double residual = shift * z[i] - b[i];
        for (std::size_t k = 0; k < b.size(); ++k) {
          residual += A[i * b.size() + k] * z[k];
        }
        square += residual * residual;
        length += z[i] * z[i];
      }
      const double epsilon = std::numeric_limits<double>::epsilon();
      EXPECT_LE(std::sqrt(square), 4.0 * epsilon * (std::sqrt(size) + trace * std::sqrt(length)))
          << n << ' ' << share;
    }
  }
}

TEST(ShiftedLanczos, RefusesWhatTakesTooManyVectors) {
  // Eigenvalues 1 .. 100 with equal parts of b: 39 vectors resolve a small shift not to rounding.
  constexpr int n = 100;
  Numbers A(area(n, n));
  const Numbers b(n, 1.0);
  for (std::size_t i = 0; i < n; ++i) {
    A[i * n + i] = 1.0 + static_cast<double>(i);
  }
  ShiftedLanczos systems(n, A.data(), b.data());
  Numbers z(n);
  EXPECT_FALSE(systems.solve(1e-6, z.data()));
  EXPECT_FALSE(systems.solve(1e-7, z.data()));
  // Far above the eigenvalues few vectors are enough.
  ASSERT_TRUE(systems.solve(1e4, z.data()));
  EXPECT_NEAR(z[99], 1.0 / 10100.0, 1e-17);
}

TEST(ShiftedLanczos, RefusesWhatIsNotANumberOrNothing) {
  const Numbers A = {2.0, 0.0, 0.0, 3.0};
  Numbers z(2);
  for (const Numbers& b : {Numbers{0.0, 0.0}, Numbers{std::nan(""), 1.0},
                           Numbers{1.0, std::numeric_limits<double>::infinity()}}) {
    ShiftedLanczos systems(2, A.data(), b.data());
    EXPECT_FALSE(systems.solve(1.0, z.data()));
  }
  const Numbers b = {6.0, 4.0};
  ShiftedLanczos systems(2, A.data(), b.data());
  ASSERT_TRUE(systems.solve(1.0, z.data()));
  EXPECT_NEAR(z[0], 2.0, 1e-15);
  EXPECT_NEAR(z[1], 1.0, 1e-15);
}

}  // namespace
