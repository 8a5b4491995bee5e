// One solve at one weight through its exports: where each begins, and what it passes on between the
// precisions.
#include "support/one_solve.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <vector>

#include "support/problems.hpp"
#include "support/store.hpp"

namespace {

using vorin::test::getNumber;
using vorin::test::oneSolveOf;
using vorin::test::setNumber;
using vorin::test::Solved;
using vorin::test::solvedBy;
using vorin::test::TestProblem;

template <class Real>
class OneSolve : public ::testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override { vorin::test::loadSettings(); }
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(OneSolve, Precisions);

const TestProblem<float> problem = vorin::test::laplaceProblem<float>(50, 30, 0.01, 4);

template <class Real>
Solved<Real> solved(Real weight) {
  return solvedBy<Real>(oneSolveOf<Real>(), problem.m, problem.n,
                        {problem.K.begin(), problem.K.end()}, {problem.d.begin(), problem.d.end()},
                        weight);
}

TYPED_TEST(OneSolve, WithoutAPassTheDoubleIterationLeavesItsOnes) {
  setNumber("TOL", 1e20f);
  const auto out = solved<TypeParam>(TypeParam(0.1));
  EXPECT_EQ(out.status, 0);
  EXPECT_EQ(getNumber("CITE"), 0.0f);
  EXPECT_EQ(out.f, std::vector<TypeParam>(30, 1));
  // Nothing was solved for the dual vector: it is still zero, and so are both sums.
  EXPECT_EQ(out.rss, TypeParam(0));
  EXPECT_EQ(out.rssSlope, TypeParam(0));
}

TYPED_TEST(OneSolve, WithoutAPassTheSingleIterationGivesTheColumnSumsOfTheKernel) {
  setNumber("TOL", 1e20f);
  setNumber("BRDA", 1.0f);
  const auto weight = TypeParam(0.1);
  const auto out = solved<TypeParam>(weight);
  EXPECT_EQ(out.status, 0);
  for (std::size_t i = 0; i < out.f.size(); ++i) {
    const auto column = problem.K.begin() + static_cast<std::ptrdiff_t>(50 * i);
    EXPECT_EQ(out.f[i], std::max(std::accumulate(column, column + 50, 0.0f), 0.0f)) << i;
  }
  // A dual vector of ones, times the weight, is the residual.
  const double square = static_cast<double>(weight) * static_cast<double>(weight);
  EXPECT_NEAR(static_cast<double>(out.rss), 50 * square,
              200 * square * static_cast<double>(std::numeric_limits<float>::epsilon()));
}

TYPED_TEST(OneSolve, WithoutColumnsTheResidualIsTheData) {
  const std::vector<TypeParam> d = {3, -4, 12};
  for (const int n : {0, -1}) {
    for (const float route : {1.0f, 2.0f}) {
      setNumber("BRDA", route);
      const auto out = solvedBy<TypeParam>(oneSolveOf<TypeParam>(), 3, n, {1}, d, TypeParam(0.5));
      EXPECT_EQ(out.status, 0);
      EXPECT_EQ(out.rss, TypeParam(169));
      // The residual does not depend on the weight.
      EXPECT_EQ(out.rssSlope, TypeParam(0));
    }
  }
}

TYPED_TEST(OneSolve, WithoutRowsAllIsZero) {
  for (const int m : {0, -1}) {
    for (const float route : {1.0f, 2.0f}) {
      setNumber("BRDA", route);
      const auto out =
          solvedBy<TypeParam>(oneSolveOf<TypeParam>(), m, 2, {1, 1}, {1}, TypeParam(0.5));
      EXPECT_EQ(out.status, 0);
      EXPECT_EQ(out.f, std::vector<TypeParam>(2));
      EXPECT_EQ(out.rss, TypeParam(0));
      EXPECT_EQ(out.rssSlope, TypeParam(0));
    }
  }
}

// Both run in the precision of the route, on the same numbers, and round at most at the end.
TEST(OneSolveOfBothPrecisions, RoundTheSameSolution) {
  vorin::test::loadSettings();
  for (const float route : {2.0f, 3.0f}) {
    setNumber("BRDA", route);
    const Solved<float> single = solved(0.25f);
    const Solved<double> wide = solved(0.25);
    EXPECT_EQ(single.status, wide.status);
    EXPECT_EQ(single.f, std::vector<float>(wide.f.begin(), wide.f.end()));
    EXPECT_EQ(single.rss, static_cast<float>(wide.rss));
    EXPECT_EQ(single.rssSlope, static_cast<float>(wide.rssSlope));
  }
  // The single iteration solves for the weight that a float holds.
  setNumber("BRDA", 1.0f);
  const Solved<float> single = solved(0.1f);
  const Solved<double> wide = solved(0.1);
  EXPECT_EQ(wide.f, std::vector<double>(single.f.begin(), single.f.end()));
  EXPECT_EQ(wide.rss, static_cast<double>(single.rss));
  EXPECT_EQ(wide.rssSlope, static_cast<double>(single.rssSlope));
  vorin::test::loadSettings();
}

}  // namespace
