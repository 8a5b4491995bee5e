// BVLS against a second method on thousands of random problems: an exhaustive search
// over active sets where that is possible, the optimality conditions everywhere.
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "regress/box_reference.hpp"
#include "regress/random_problem.hpp"
#include "regress/solver_runs.hpp"

namespace vorin::testing {
namespace {

constexpr Columns kinds[] = {Columns::smallIntegers, Columns::reals, Columns::deficient,
                             Columns::badlyScaled};

template <class Real>
Wide noise(const BoxProblem<Real>& p, const std::vector<Real>& x) {
  return noiseOf(p, x, Wide(2 * (p.m + p.n)));
}

template <class Real>
std::string describe(const BoxProblem<Real>& p) {
  std::ostringstream text;
  text.precision(std::numeric_limits<Real>::max_digits10);
  text << "m " << p.m << " n " << p.n << " A";
  for (const Real value : p.A) {
    text << ' ' << value;
  }
  text << " b";
  for (const Real value : p.b) {
    text << ' ' << value;
  }
  text << " bounds";
  for (std::size_t j = 0; j < p.lower.size(); ++j) {
    text << " [" << p.lower[j] << ", " << p.upper[j] << ']';
  }
  return text.str();
}

template <class Real>
void expectOptimal(const BoxProblem<Real>& p, const Run<Real>& run) {
  ASSERT_EQ(run.status, 0) << describe(p);
  EXPECT_EQ(violation(p, run.x, noise(p, run.x)), "") << describe(p);
  EXPECT_TRUE(run.indexIsPermutation());
  EXPECT_NEAR(static_cast<double>(run.rnorm), static_cast<double>(residualNorm(p, run.x)),
              static_cast<double>(noise(p, run.x)))
      << describe(p);
}

template <class Real>
void expectShortest(const BoxProblem<Real>& p, const Run<Real>& run) {
  EXPECT_LE(residualNorm(p, run.x), ExhaustiveSearch<Real>(p).norm() + noise(p, run.x))
      << describe(p);
}

template <class Real>
BoxProblem<Real> randomProblem(Random& random, int maxRows, int minColumns, int maxColumns,
                               bool everyBound) {
  BoxProblem<Real> p;
  p.n = random.integer(minColumns, maxColumns);
  p.m = random.integer(1, maxRows);
  fillMatrix(random, random.pick(kinds), p);
  if (everyBound) {
    fillBounds(random, p);
  } else {
    nonNegativeBounds(p);
  }
  return p;
}

template <class Real>
class BvlsRandom : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(BvlsRandom, Precisions);

TYPED_TEST(BvlsRandom, AgreesWithExhaustiveSearchUnderEveryKindOfBound) {
  Random random(20240601);
  for (int count = 0; count < 4000; ++count) {
    const auto p = randomProblem<TypeParam>(random, 8, 1, 6, true);
    const Run<TypeParam> run = runBvls(p);
    expectOptimal(p, run);
    expectShortest(p, run);
    if (this->HasFailure()) {
      FAIL() << "problem " << count;
    }
  }
}

TYPED_TEST(BvlsRandom, AgreesWithExhaustiveSearchForTenCoefficients) {
  Random random(20240602);
  for (int count = 0; count < 30; ++count) {
    const auto p = randomProblem<TypeParam>(random, 12, 8, 10, count % 2 == 0);
    const Run<TypeParam> run = runBvls(p);
    expectOptimal(p, run);
    expectShortest(p, run);
    if (this->HasFailure()) {
      FAIL() << "problem " << count;
    }
  }
}

TYPED_TEST(BvlsRandom, MeetsTheOptimalityConditionsOfLargerProblems) {
  Random random(20240603);
  for (int count = 0; count < 400; ++count) {
    const auto p = randomProblem<TypeParam>(random, 60, 10, 40, count % 2 == 0);
    expectOptimal(p, runBvls(p));
    if (this->HasFailure()) {
      FAIL() << "problem " << count;
    }
  }
}

TYPED_TEST(BvlsRandom, PlsBIsBvlsBetweenZeroAndTheLargestNumber) {
  Random random(20240604);
  for (int count = 0; count < 500; ++count) {
    const auto p = randomProblem<TypeParam>(random, 10, 1, 8, false);
    const Run<TypeParam> wrapped = runPlsB(p);
    const Run<TypeParam> plain = runBvls(p);
    EXPECT_EQ(wrapped.status, plain.status);
    EXPECT_EQ(wrapped.x, plain.x);
    EXPECT_EQ(wrapped.rnorm, plain.rnorm);
  }
}

}  // namespace
}  // namespace vorin::testing
