#include "toolbox/lapack.hpp"

#include <gtest/gtest.h>

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

}  // namespace
