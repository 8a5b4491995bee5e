#include "toolbox/lapack.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "support/jacobi_svd.hpp"

namespace {

TEST(Lapack, SolvesASystemThatNeedsAPivot) {
  // 0 x + 2 y = 4, 3 x + y = 5: y = 2, x = 1.
  std::vector<double> a = {0.0, 3.0, 2.0, 1.0};
  std::vector<double> b = {4.0, 5.0};
  std::vector<int> pivots(2);
  vorin::getrf(2, a.data(), 2, pivots.data());
  vorin::getrs(2, a.data(), 2, pivots.data(), b.data());
  EXPECT_DOUBLE_EQ(b[0], 1.0);
  EXPECT_DOUBLE_EQ(b[1], 2.0);
}

TEST(Lapack, HonoursALeadingDimensionLargerThanTheSystem) {
  std::vector<float> a = {4.0f, 2.0f, -9.0f, 2.0f, 3.0f, -9.0f};
  std::vector<float> b = {8.0f, 8.0f};
  std::vector<int> pivots(2);
  vorin::getrf(2, a.data(), 3, pivots.data());
  vorin::getrs(2, a.data(), 3, pivots.data(), b.data());
  EXPECT_FLOAT_EQ(b[0], 1.0f);
  EXPECT_FLOAT_EQ(b[1], 2.0f);
  EXPECT_EQ(a[2], -9.0f);
}

// Three rows go round in two exchanges: row 3 comes first, then row 3 again second. By hand:
// A = [[1, 4, 2], [2, 2, 2], [4, 4, 8]]; below the pivot 4 the factors 1/2 and 1/4 leave
// (0, -2) and (3, 0), so that 3 is the second pivot and -2 the third.
TEST(Lapack, PivotsAreTheListOfExchangesAndTheFactorsThoseByHand) {
  std::vector<double> a = {1.0, 2.0, 4.0, 4.0, 2.0, 4.0, 2.0, 2.0, 8.0};
  std::vector<int> pivots(3);
  vorin::getrf(3, a.data(), 3, pivots.data());
  EXPECT_EQ(pivots, (std::vector<int>{3, 3, 3}));
  EXPECT_EQ(a, (std::vector<double>{4.0, 0.25, 0.5, 4.0, 3.0, 0.0, 8.0, 0.0, -2.0}));
}

// The second row is three times the first: the last pivot is 0. Where the right side is 0 as well,
// 0/0 has to reach the caller.
TEST(Lapack, APivotOfZeroGivesNaNAlsoForARightSideOfZero) {
  for (const double right : {0.0, 1.0}) {
    std::vector<double> a = {1.0, 3.0, 2.0, 6.0};
    std::vector<double> b = {0.0, right};
    std::vector<int> pivots(2);
    vorin::getrf(2, a.data(), 2, pivots.data());
    vorin::getrs(2, a.data(), 2, pivots.data(), b.data());
    EXPECT_FALSE(std::isfinite(b[0])) << right;
    EXPECT_FALSE(std::isfinite(b[1])) << right;
    EXPECT_EQ(std::isnan(b[1]), right == 0.0) << right;
  }
}

// A random system of each size against the residual's bound, n eps |A| |x| times a growth factor
// that random matrices keep below 100 (Trefethen and Schreiber, SIAM J. Matrix Anal. Appl. 11, 335,
// 1990); the sizes meet the ends of unrolled loops.
TEST(Lapack, SolutionsOfRandomSystemsHaveSmallResiduals) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  for (int n = 1; n <= 40; ++n) {
    const auto size = static_cast<std::size_t>(n);
    std::vector<double> A(size * size);
    std::vector<double> b(size);
    for (std::vector<double>* values : {&A, &b}) {
      for (double& value : *values) {
        value = uniform(engine);
      }
    }
    std::vector<double> lu = A;
    std::vector<double> x = b;
    std::vector<int> pivots(size);
    vorin::getrf(n, lu.data(), n, pivots.data());
    vorin::getrs(n, lu.data(), n, pivots.data(), x.data());
    double largest = 1.0;
    for (const double value : x) {
      largest = std::max(largest, std::abs(value));
    }
    for (std::size_t i = 0; i < size; ++i) {
      double rest = b[i];
      for (std::size_t j = 0; j < size; ++j) {
        rest -= A[i + j * size] * x[j];
      }
      EXPECT_NEAR(rest, 0.0, 100.0 * n * 2.3e-16 * largest) << n << ", row " << i;
    }
  }
}

TEST(Lapack, AnEmptySystemIsLeftAloneAndEndsNoProcess) {
  vorin::getrf(0, static_cast<double*>(nullptr), 0, nullptr);
  vorin::getrs(-3, static_cast<const float*>(nullptr), 0, nullptr, nullptr);
  double b = 5.0;
  vorin::getrs(0, static_cast<const double*>(nullptr), 0, nullptr, &b);
  EXPECT_EQ(b, 5.0);
}

TEST(Lapack, DecomposesAMatrixOfKnownFactors) {
  // [[3, 0], [4, 5]] has the singular values 3 sqrt(5) and sqrt(5), from the
  // eigenvalues 45 and 5 of A'A = [[25, 20], [20, 25]], with right vectors (1, 1) and
  // (1, -1) over sqrt(2). The leading dimension leaves a gap that stays as it was.
  std::vector<float> a = {3.0f, 4.0f, -9.0f, 0.0f, 5.0f, -9.0f};
  std::vector<float> s(2);
  std::vector<float> vt(6, -8.0f);
  vorin::gesvd(2, 2, a.data(), 3, s.data(), vt.data(), 3);
  EXPECT_FLOAT_EQ(s[0], 3.0f * std::sqrt(5.0f));
  EXPECT_FLOAT_EQ(s[1], std::sqrt(5.0f));
  EXPECT_FLOAT_EQ(std::abs(vt[0]), std::sqrt(0.5f));
  EXPECT_FLOAT_EQ(vt[0], vt[3]);
  EXPECT_FLOAT_EQ(vt[1], -vt[4]);
  // u = A v / s: (1, 3) over sqrt(10).
  EXPECT_FLOAT_EQ(a[0], std::copysign(std::sqrt(0.1f), vt[0]));
  EXPECT_FLOAT_EQ(a[1], std::copysign(std::sqrt(0.9f), vt[0]));
  EXPECT_EQ(a[2], -9.0f);
  EXPECT_EQ(a[5], -9.0f);
  EXPECT_EQ(vt[2], -8.0f);
}

TEST(Lapack, DecomposesARowAndGivesTheRightVectorsInFull) {
  std::vector<float> a = {3.0f, 4.0f};
  std::vector<float> s(1);
  std::vector<float> vt(4);
  vorin::gesvd(1, 2, a.data(), 1, s.data(), vt.data(), 2);
  EXPECT_FLOAT_EQ(s[0], 5.0f);
  EXPECT_FLOAT_EQ(a[0] * vt[0], 0.6f);
  EXPECT_FLOAT_EQ(a[0] * vt[2], 0.8f);
  // The second row is orthogonal to the first and of length 1.
  EXPECT_NEAR(vt[0] * vt[1] + vt[2] * vt[3], 0.0f, 1e-7f);
  EXPECT_FLOAT_EQ(vt[1] * vt[1] + vt[3] * vt[3], 1.0f);
}

// Values over eight decades, by one-sided Jacobi rotations in double: single precision keeps them
// to its rounding of the largest.
TEST(Lapack, SingularValuesInSingleAreGoodToTheRoundingOfTheLargest) {
  constexpr int m = 120;
  constexpr int n = 24;
  std::vector<float> a(static_cast<std::size_t>(m) * n);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < m; ++i) {
      a[static_cast<std::size_t>(j * m + i)] =
          static_cast<float>(std::exp(-(i + 1) * 0.01 * std::pow(10.0, 3.0 * j / (n - 1))));
    }
  }
  const std::vector<double> expected = vorin::test::jacobiSingularValues(m, n, a.data());
  std::vector<float> s(n);
  std::vector<float> vt(static_cast<std::size_t>(n) * n);
  vorin::gesvd(m, n, a.data(), m, s.data(), vt.data(), n);
  for (std::size_t k = 0; k < s.size(); ++k) {
    EXPECT_NEAR(static_cast<double>(s[k]), expected[k], 4e-7 * expected[0]) << k;
  }
}

TEST(Lapack, AWideMatrixHasItsRightVectorsInFullAndOrthonormal) {
  constexpr int m = 5;
  constexpr int n = 21;
  std::mt19937 engine(3);
  std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
  std::vector<float> a(m * n);
  for (float& value : a) {
    value = uniform(engine);
  }
  const std::vector<float> original = a;
  std::vector<float> s(m);
  std::vector<float> vt(n * n);
  vorin::gesvd(m, n, a.data(), m, s.data(), vt.data(), n);
  const auto row = [&](int p, int j) { return double(vt[static_cast<std::size_t>(j * n + p)]); };
  for (int p = 0; p < n; ++p) {
    for (int q = 0; q <= p; ++q) {
      double product = 0.0;
      for (int j = 0; j < n; ++j) {
        product += row(p, j) * row(q, j);
      }
      EXPECT_NEAR(product, p == q ? 1.0 : 0.0, 2e-6) << p << ", " << q;
    }
  }
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < n; ++j) {
      double product = 0.0;
      for (int p = 0; p < m; ++p) {
        product += double(a[static_cast<std::size_t>(p * m + i)]) *
                   double(s[static_cast<std::size_t>(p)]) * row(p, j);
      }
      EXPECT_NEAR(product, double(original[static_cast<std::size_t>(j * m + i)]), 1e-5);
    }
  }
}

#if !defined(VORIN_OPENBLAS)
// OpenBLAS leaves the signs to its reflections and rotations; here each row of V' has a negative
// sum, whatever the matrix.
TEST(Lapack, SignsOfSingularVectorsAreSettled) {
  for (const float sign : {1.0f, -1.0f}) {
    std::vector<float> a = {sign * 3.0f, sign * 4.0f, 0.0f, sign * 5.0f};
    std::vector<float> s(2);
    std::vector<float> vt(4);
    vorin::gesvd(2, 2, a.data(), 2, s.data(), vt.data(), 2);
    EXPECT_FLOAT_EQ(vt[0], -std::sqrt(0.5f));
    EXPECT_FLOAT_EQ(vt[2], -std::sqrt(0.5f));
    EXPECT_FLOAT_EQ(a[0], -sign * std::sqrt(0.1f));
    EXPECT_FLOAT_EQ(a[1], -sign * std::sqrt(0.9f));
    // The second row, (1, -1) over sqrt(2), adds up to rounding: its first largest element decides.
    EXPECT_FLOAT_EQ(std::abs(vt[1]), std::sqrt(0.5f));
    EXPECT_FLOAT_EQ(vt[1], -vt[3]);
  }
}
#endif

TEST(Lapack, AnEmptyMatrixIsNotDecomposed) {
  float s = 5.0f;
  vorin::gesvd(0, 3, nullptr, 0, &s, nullptr, 0);
  vorin::gesvd(3, 0, nullptr, 0, &s, nullptr, 0);
  vorin::gesvd(-1, -1, nullptr, -1, &s, nullptr, -1);
  EXPECT_EQ(s, 5.0f);
}

TEST(Lapack, ShortFormGivesAsManyVectorsAsSingularValues) {
  // A = (3 0; 4 5; 0 0) and its transpose: s = (3 sqrt 5, sqrt 5) as above.
  for (const bool tall : {true, false}) {
    const std::vector<double> original = tall ? std::vector<double>{3.0, 4.0, 0.0, 0.0, 5.0, 0.0}
                                              : std::vector<double>{3.0, 0.0, 4.0, 5.0, 0.0, 0.0};
    const int m = tall ? 3 : 2;
    const int n = tall ? 2 : 3;
    std::vector<double> a = original;
    std::vector<double> s(2);
    std::vector<double> u(static_cast<std::size_t>(m) * 2);
    std::vector<double> vt(static_cast<std::size_t>(n) * 2);
    ASSERT_TRUE(vorin::gesvdShort(m, n, a.data(), s.data(), u.data(), vt.data()));
    EXPECT_DOUBLE_EQ(s[0], 3.0 * std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(s[1], std::sqrt(5.0));
    for (int i = 0; i < m; ++i) {
      for (int j = 0; j < n; ++j) {
        const double product =
            u[static_cast<std::size_t>(i)] * s[0] * vt[static_cast<std::size_t>(2 * j)] +
            u[static_cast<std::size_t>(m + i)] * s[1] * vt[static_cast<std::size_t>(2 * j + 1)];
        EXPECT_NEAR(product, original[static_cast<std::size_t>(j * m + i)], 1e-14);
      }
    }
  }
  std::vector<double> a{3.0, 4.0, 0.0, 0.0, 5.0, 0.0};
  std::vector<double> s(2);
  std::vector<double> vt(4);
  EXPECT_TRUE(vorin::gesvdShort(3, 2, a.data(), s.data(), nullptr, vt.data()));
  EXPECT_DOUBLE_EQ(s[0], 3.0 * std::sqrt(5.0));
  EXPECT_DOUBLE_EQ(std::abs(vt[0]), std::sqrt(0.5));
  EXPECT_TRUE(vorin::gesvdShort(0, 3, nullptr, nullptr, nullptr, nullptr));
}

}  // namespace
