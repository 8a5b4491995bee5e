// Brent's method on functions whose roots are known.
#include "toolbox/root_finding.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/open_log.hpp"

namespace {

using vorin::zbrent;
using vorin::test::OpenLog;
using Lines = std::vector<std::string>;

class RootFinding : public ::testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
};

struct Counter {
  int* calls;
  float (*function)(float);
  float operator()(float x) const {
    ++*calls;
    return function(x);
  }
};

TEST_F(RootFinding, FindsRootsToTheTolerance) {
  struct Case {
    float (*function)(float);
    float x1, x2, root;
  };
  const Case cases[] = {
      {[](float x) { return x * x - 2.0f; }, 0.0f, 3.0f, 1.41421356f},
      {[](float x) { return std::cos(x) - x; }, 0.0f, 1.0f, 0.73908513f},
      {[](float x) { return std::exp(x) - 10.0f; }, 5.0f, -5.0f, 2.30258509f},
      {[](float x) { return x * x * x; }, -1.0f, 2.5f, 0.0f},
      {[](float x) { return 3.0f * x - 1.0f; }, 0.0f, 1.0f, 1.0f / 3.0f},
      {[](float x) { return x < 0.7f ? -1.0f : 1.0f; }, 0.0f, 1.0f, 0.7f},
  };
  for (const Case& c : cases) {
    for (const float tol : {1e-2f, 1e-6f}) {
      std::int32_t status = -1;
      const float x = zbrent(c.function, c.x1, c.x2, tol, status);
      EXPECT_EQ(status, 0);
      EXPECT_NEAR(x, c.root, tol + 5e-7f * std::abs(c.root)) << c.root;
    }
  }
}

TEST_F(RootFinding, ASmoothFunctionNeedsFarFewerCallsThanBisection) {
  int calls = 0;
  std::int32_t status = -1;
  const Counter counted{&calls, [](float x) { return std::exp(x) - 10.0f; }};
  zbrent(counted, -5.0f, 5.0f, 1e-6f, status);
  EXPECT_LT(calls, 15);  // bisection: log2(10 / 1e-6) = 23 beyond the two ends
}

TEST_F(RootFinding, AStraightLineIsSolvedByOneSecantStep) {
  // From the bracket 0, 4 the secant hits 1 exactly: two calls for the ends, one for
  // the root.
  int calls = 0;
  std::int32_t status = -1;
  const Counter counted{&calls, [](float x) { return x - 1.0f; }};
  EXPECT_EQ(zbrent(counted, 4.0f, 0.0f, 1e-6f, status), 1.0f);
  EXPECT_EQ(calls, 3);
}

TEST_F(RootFinding, ZeroAtX2ReturnsX2AtTheFirstPass) {
  int calls = 0;
  std::int32_t status = -1;
  const Counter counted{&calls, [](float x) { return x - 3.0f; }};
  EXPECT_EQ(zbrent(counted, 1.0f, 3.0f, 1e-6f, status), 3.0f);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(calls, 2);
}

TEST_F(RootFinding, NoBracketLeavesARecordAndStartsAllTheSame) {
  OpenLog log("ZBRENT");
  int calls = 0;
  std::int32_t status = -1;
  const Counter counted{&calls, [](float x) { return x * x + 1.0f; }};
  const float x = zbrent(counted, 1.0f, 2.0f, 1e-6f, status);
  EXPECT_TRUE(std::isfinite(x));
  EXPECT_GT(calls, 2);
  EXPECT_EQ(log.written(), (Lines{" nrerror: root must be bracketed for zbrent"}));
}

TEST_F(RootFinding, ExhaustionIsToldByStatusAlone) {
  // A function that is never 0 and never agrees with itself on a sign keeps the
  // bracket open; a negative tolerance can't be met.
  OpenLog log("ZBREAK");
  int calls = 0;
  std::int32_t status = -1;
  const Counter counted{&calls, [](float x) { return x < 0.7f ? -1.0f : 1.0f; }};
  const float x = zbrent(counted, 0.0f, 1.0f, -1.0f, status);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(calls, 102);
  EXPECT_TRUE(std::isfinite(x));
  EXPECT_EQ(log.written(), Lines{});
}

}  // namespace
