// The judgement of single passes, fed with changes of the dual vector by hand.
#include "brd/pass_control.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "support/store.hpp"

namespace {

using vorin::brd::PassControl;

template <class Real>
class PassControlTest : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    vorin::test::setNumber("MAXI", 1000.0f);
  }
  void TearDown() override { vorin::test::loadSettings(); }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(PassControlTest, Precisions);

TYPED_TEST(PassControlTest, AChangeBelowTheToleranceEndsTheLoop) {
  vorin::test::setNumber("TOL", 0.25f);
  PassControl<TypeParam> control(TypeParam(1));
  control.endPass(TypeParam(0.5));
  EXPECT_TRUE(control.again());
  control.endPass(TypeParam(0.25));  // not above it
  EXPECT_FALSE(control.again());
  EXPECT_EQ(control.status(), 0);
  EXPECT_EQ(control.passes(), 2);
}

TYPED_TEST(PassControlTest, NotANumberEndsTheLoop) {
  PassControl<TypeParam> control(TypeParam(1));
  control.endPass(TypeParam(NAN));
  EXPECT_FALSE(control.again());
  EXPECT_EQ(control.status(), 0);
}

// Passes until a status of 1, `perPass` being the change of each but the first.
int passesToFailure(float first, float perPass) {
  PassControl<float> control(1.0f);
  control.endPass(first);
  while (control.status() == 0 && control.passes() < 900) {
    control.endPass(perPass);
  }
  return control.status() == 1 ? control.passes() : -1;
}

TEST(PassControlSingle, TwelveStalledPassesInARowFail) {
  vorin::test::loadSettings();
  vorin::test::setNumber("MAXI", 1000.0f);
  EXPECT_EQ(passesToFailure(1.0f, 2.0f), 13);
}

TEST(PassControlSingle, AChangeExactlyAtTheFactorIsNotStalled) {
  vorin::test::loadSettings();
  vorin::test::setNumber("MAXI", 1000.0f);
  EXPECT_EQ(passesToFailure(1.0f, 1.01f), -1);
  EXPECT_EQ(passesToFailure(1.0f, std::nextafter(1.01f, 2.0f)), 13);
}

TEST(PassControlSingle, AnyPassWithinTheBoundClearsTheCount) {
  vorin::test::loadSettings();
  vorin::test::setNumber("MAXI", 1000.0f);
  PassControl<float> control(1.0f);
  control.endPass(1.0f);
  for (int round = 0; round < 5; ++round) {
    for (int k = 0; k < 11; ++k) {
      control.endPass(3.0f);
    }
    control.endPass(1.0f);
  }
  EXPECT_EQ(control.status(), 0);
}

TEST(PassControlDouble, StallsNeverEndIt) {
  vorin::test::loadSettings();
  vorin::test::setNumber("MAXI", 200.0f);
  PassControl<double> control(1.0);
  control.endPass(1.0);
  for (int k = 2; k < 200; ++k) {
    control.endPass(5.0);
    ASSERT_EQ(control.status(), 0) << k;
  }
  control.endPass(5.0);
  EXPECT_EQ(control.status(), 1);
  EXPECT_EQ(control.passes(), 200);
}

TEST(PassControlBoth, TheLimitIsTestedBeforeConvergence) {
  vorin::test::loadSettings();
  vorin::test::setNumber("MAXI", 1.0f);
  PassControl<double> control(1.0);
  control.endPass(0.0);
  EXPECT_EQ(control.status(), 1);
  EXPECT_FALSE(control.again());
  vorin::test::loadSettings();
}

TEST(PassControlBoth, AToleranceNotBelowTheStartValueNeedsNoPass) {
  for (const float tolerance : {1e20f, INFINITY, NAN}) {
    vorin::test::setNumber("TOL", tolerance);
    EXPECT_FALSE(PassControl<float>(1.0f).needsPass());
    EXPECT_FALSE(PassControl<double>(1.0).needsPass());
  }
  vorin::test::setNumber("TOL", 9e19f);
  EXPECT_TRUE(PassControl<float>(1.0f).needsPass());
  EXPECT_TRUE(PassControl<double>(1.0).needsPass());
  vorin::test::loadSettings();
}

}  // namespace
