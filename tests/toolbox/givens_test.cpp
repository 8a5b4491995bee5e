// The plane rotation held to what it is for.
#include "toolbox/givens.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

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

template <class Real>
class GivensForms : public ::testing::Test {
 protected:
  static constexpr Real tolerance = 8 * std::numeric_limits<Real>::epsilon();
};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GivensForms, Reals);

TYPED_TEST(GivensForms, BothTurnAPairOntoItsFirstAxis) {
  using Pair = std::pair<TypeParam, TypeParam>;
  for (const auto& [a, b] : {Pair{3, 4}, {4, 3}, {-3, 4}, {4, -3}, {-4, -3}, {0, -2}, {5, 0}}) {
    TypeParam c = 0;
    TypeParam s = 0;
    TypeParam sig = -77;
    vorin::givens(a, b, c, s, sig);
    EXPECT_NEAR(c * a + s * b, sig, TestFixture::tolerance);
    EXPECT_NEAR(c * b - s * a, 0, TestFixture::tolerance);
    EXPECT_NEAR(sig, std::hypot(a, b), TestFixture::tolerance) << "never negative";

    TypeParam r = -77;
    vorin::scaledGivens(a, b, c, s, r);
    EXPECT_NEAR(c * a + s * b, r, TestFixture::tolerance);
    EXPECT_NEAR(c * b - s * a, 0, TestFixture::tolerance);
    const TypeParam larger = std::abs(a) > std::abs(b) ? a : b;
    EXPECT_NEAR(r, std::copysign(std::hypot(a, b), larger), TestFixture::tolerance);

    TypeParam first = a;
    TypeParam second = b;
    vorin::rotate(c, s, first, second);
    EXPECT_NEAR(first, r, TestFixture::tolerance);
    EXPECT_NEAR(second, 0, TestFixture::tolerance);
  }
}

TYPED_TEST(GivensForms, TwoZerosKeepSigInOneFormAndAreTheIdentityInTheOther) {
  TypeParam c = -77;
  TypeParam s = -77;
  TypeParam sig = -77;
  vorin::givens(TypeParam(0), TypeParam(0), c, s, sig);
  EXPECT_EQ(c, 0);
  EXPECT_EQ(s, 1);
  EXPECT_EQ(sig, -77);
  vorin::scaledGivens(TypeParam(0), TypeParam(0), c, s, sig);
  EXPECT_EQ(c, 1);
  EXPECT_EQ(s, 0);
  EXPECT_EQ(sig, 0);
}

}  // namespace
