#include "toolbox/lapack.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

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
