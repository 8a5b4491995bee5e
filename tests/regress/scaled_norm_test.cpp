// The scaled norm.
#include "toolbox/scaled_norm.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "regress/solver_runs.hpp"

namespace vorin::testing {
namespace {

template <class Real>
class ScaledNorm : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ScaledNorm, Precisions);

template <class Real>
Real normOf(std::vector<Real> elements) {
  return scaledNorm(viewOf(elements));
}

TYPED_TEST(ScaledNorm, OfNoElementIsZero) {
  EXPECT_EQ(normOf<TypeParam>({}), 0);
}

TYPED_TEST(ScaledNorm, OfOneElementIsItsAbsoluteValue) {
  EXPECT_EQ(normOf<TypeParam>({-3}), 3);
  EXPECT_TRUE(std::isnan(normOf<TypeParam>({std::numeric_limits<TypeParam>::quiet_NaN()})));
}

TYPED_TEST(ScaledNorm, IsTheEuclideanNorm) {
  EXPECT_NEAR(normOf<TypeParam>({2, -3, 0, 6}), 7, 8 * std::numeric_limits<TypeParam>::epsilon());
  EXPECT_EQ(normOf<TypeParam>({0, 0, 0}), 0);
}

TYPED_TEST(ScaledNorm, NeitherOverflowsNorUnderflowsInTheSquares) {
  const TypeParam large = std::numeric_limits<TypeParam>::max() / 8;
  const TypeParam small = std::numeric_limits<TypeParam>::min() * 8;
  const TypeParam tolerance = 4 * std::numeric_limits<TypeParam>::epsilon();
  EXPECT_NEAR(normOf<TypeParam>({3 * large, 4 * large}) / large, 5, 5 * tolerance);
  EXPECT_NEAR(normOf<TypeParam>({3 * small, 4 * small}) / small, 5, 5 * tolerance);
}

// |NaN| > 0 is false, so the element is passed over like a zero.
TYPED_TEST(ScaledNorm, PassesOverNanInLongerVectors) {
  EXPECT_EQ(normOf<TypeParam>({3, std::numeric_limits<TypeParam>::quiet_NaN()}), 3);
}

TYPED_TEST(ScaledNorm, FollowsTheStride) {
  std::vector<TypeParam> elements = {3, 100, 4, 100};
  EXPECT_EQ(scaledNorm(VectorView<TypeParam>{elements.data(), 2, 2}), 5);
}

}  // namespace
}  // namespace vorin::testing
