// The plane rotation held to what it is for.
#include "toolbox/givens.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(Givens, TurnsTheVectorOntoTheFirstAxis) {
  for (const double a : {3.0, -3.0, 0.0, 1e-200, 1e200}) {
    for (const double b : {4.0, -4.0, 0.5, 1e-200, -1e200}) {
      double c = 9;
      double s = 9;
      double sig = 9;
      vorin::givens_dp(a, b, c, s, sig);
      const double length = std::hypot(a, b);
      EXPECT_NEAR(c * c + s * s, 1.0, 1e-15);
      EXPECT_NEAR(sig / length, 1.0, 1e-15);
      EXPECT_NEAR((c * a + s * b) / length, 1.0, 1e-15) << a << ' ' << b;
      EXPECT_NEAR((c * b - s * a) / length, 0.0, 1e-15) << a << ' ' << b;
    }
  }
}

TEST(Givens, SignOfTheLargerIsKept) {
  double c = 9;
  double s = 9;
  double sig = 9;
  vorin::givens_dp(-4.0, 3.0, c, s, sig);
  EXPECT_DOUBLE_EQ(c, -0.8);
  EXPECT_DOUBLE_EQ(s, 0.6);
  EXPECT_DOUBLE_EQ(sig, 5.0);
  vorin::givens_dp(3.0, -4.0, c, s, sig);
  EXPECT_DOUBLE_EQ(c, 0.6);
  EXPECT_DOUBLE_EQ(s, -0.8);
  vorin::givens_dp(-2.0, 0.0, c, s, sig);
  EXPECT_EQ(c, -1.0);
  EXPECT_EQ(s, 0.0);
  EXPECT_EQ(sig, 2.0);
}

TEST(Givens, BothZeroLeavesSigAlone) {
  double c = 9;
  double s = 9;
  double sig = 7;
  vorin::givens_dp(0.0, 0.0, c, s, sig);
  EXPECT_EQ(c, 0.0);
  EXPECT_EQ(s, 1.0);
  EXPECT_EQ(sig, 7.0);
}

}  // namespace
