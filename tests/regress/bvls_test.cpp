// BVLS: its start, its order of selection, its limits and its status values.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "regress/box_reference.hpp"
#include "regress/bvls_transforms.hpp"
#include "regress/random_problem.hpp"
#include "regress/solver_runs.hpp"

namespace vorin::testing {
namespace {

template <class Real>
class Bvls : public ::testing::Test {
 protected:
  using Problem = BoxProblem<Real>;
  static constexpr Real noBound = std::numeric_limits<Real>::max();
  static constexpr Real nan = std::numeric_limits<Real>::quiet_NaN();
  static constexpr Real infiniteValue = std::numeric_limits<Real>::infinity();
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Bvls, Precisions);

// With a zero matrix nothing moves, so x shows where each coefficient starts: at the
// value inside its bounds nearest to zero.
TYPED_TEST(Bvls, CoefficientsStartInsideTheirBoundsNearestToZero) {
  typename TestFixture::Problem p;
  const TypeParam none = TestFixture::noBound;
  const TypeParam infinite = TestFixture::infiniteValue;
  p.lower = {-none, -infinite, -none, -none, 0, 2, -3, 1, -4, -1};
  p.upper = {none, infinite, 3, -2, none, none, infinite, 5, -2, 1};
  const std::vector<TypeParam> start = {0, 0, 0, -2, 0, 2, 0, 1, -2, 0};
  p.m = 2;
  p.n = 10;
  p.A.assign(20, 0);
  p.b = {1, 1};
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.x, start);
  EXPECT_EQ(run.nsetp, 0);
  EXPECT_EQ(run.rnorm, std::sqrt(TypeParam(2)));
}

// x0 = 3 leaves b - 3 (1, 2) = (4, -1); x1 fits that along (1, 1): 3/2.
TYPED_TEST(Bvls, EqualBoundsHoldACoefficientAndTakeItsShareOffB) {
  typename TestFixture::Problem p{2, 2, {1, 2, 1, 1}, {7, 5}, {3, 0}, {3, TestFixture::noBound}};
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.x[0], 3);
  EXPECT_NEAR(run.x[1], 1.5, 4 * std::numeric_limits<TypeParam>::epsilon());
  EXPECT_EQ(run.w[0], 0);
  EXPECT_EQ(run.nsetp, 1);
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{2, 1}));
}

TYPED_TEST(Bvls, LowerAboveUpperIsFixedAtLowerWithoutError) {
  typename TestFixture::Problem p{1, 1, {2}, {100}, {3}, {-5}};
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.x[0], 3);
  EXPECT_EQ(run.rnorm, 94);
  EXPECT_EQ(run.nsetp, 0);
}

// Columns 0 and 2 are fixed: 2 first takes the place of 0, is examined there and goes too.
TYPED_TEST(Bvls, FixedCoefficientsStandAtTheEndOfIndex) {
  typename TestFixture::Problem p{3,         3,          {1, 0, 0, 0, 1, 0, 0, 0, 1},
                                  {5, 6, 7}, {1, -9, 2}, {1, 9, 2}};
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{2, 3, 1}));
  EXPECT_EQ(run.x, (std::vector<TypeParam>{1, 6, 2}));
  EXPECT_NEAR(run.rnorm, std::sqrt(41.0), 8 * std::numeric_limits<TypeParam>::epsilon());
}

TYPED_TEST(Bvls, NanBoundBesideAFiniteOneGivesIerr3) {
  typename TestFixture::Problem p{1, 1, {1}, {1}, {TestFixture::nan}, {1}};
  Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.rnorm, TypeParam(-77)) << "rnorm is not written on a failure";
  p.lower = {0};
  p.upper = {TestFixture::nan};
  run = runBvls(p);
  EXPECT_EQ(run.status, 3);
}

TYPED_TEST(Bvls, FewerRowsThanColumnsStopsWhenTheSolvedSetIsFull) {
  typename TestFixture::Problem p{2, 4, {2, 0, 0, 2, 1, 1, 5, 5}, {4, 6}, {}, {}};
  nonNegativeBounds(p);
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.nsetp, 2);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{2, 3, 0, 0}));
  EXPECT_EQ(run.rnorm, 0);
  EXPECT_EQ(run.w, std::vector<TypeParam>(4, 0));
}

TYPED_TEST(Bvls, ZeroColumnStaysAtItsStartValue) {
  typename TestFixture::Problem p{2, 3, {0, 0, 1, 1, 0, 0}, {3, 5}, {-1, 0, 2}, {1, 9, 4}};
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.x[0], 0) << "a free coefficient whose column is refused";
  EXPECT_NEAR(run.x[1], 4, 16 * std::numeric_limits<TypeParam>::epsilon());
  EXPECT_EQ(run.x[2], 2);
  EXPECT_EQ(run.w[0], 0);
}

TYPED_TEST(Bvls, ZeroRightHandSideGivesZeroEverywhere) {
  typename TestFixture::Problem p{3, 2, {1, 2, 3, -1, 0, 1}, {0, 0, 0}, {}, {}};
  nonNegativeBounds(p);
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{0, 0}));
  EXPECT_EQ(run.rnorm, 0);
  EXPECT_EQ(run.nsetp, 0);
}

TYPED_TEST(Bvls, NoRowsOrNoColumnsGivesIerr1) {
  TypeParam cell[2] = {1, 1};
  std::int32_t index[1] = {0};
  for (const auto& [rows, columns] : {std::pair{0, 1}, {1, 0}, {0, 0}, {-1, 1}, {1, -1}}) {
    TypeParam rnorm = -77;
    std::int32_t nsetp = -77;
    std::int32_t ierr = -77;
    callBvls({cell, rows, columns, 1, 1}, {cell, 1, 1}, {cell, 2, 1, 1, 2}, {cell, 1, 1}, rnorm,
             nsetp, {cell, 1, 1}, {index, 1, 1}, 0, ierr);
    EXPECT_EQ(ierr, 1) << rows << " x " << columns;
    EXPECT_EQ(rnorm, -77);
  }
}

TYPED_TEST(Bvls, EveryArrayThatIsTooShortGivesIerr2) {
  struct Lengths {
    int x, b, boundRows, boundCols, w, index, ierr;
  };
  const Lengths cases[] = {{2, 3, 2, 2, 2, 2, 0}, {1, 3, 2, 2, 2, 2, 2}, {2, 2, 2, 2, 2, 2, 2},
                           {2, 3, 1, 2, 2, 2, 2}, {2, 3, 3, 2, 2, 2, 2}, {2, 3, 2, 1, 2, 2, 2},
                           {2, 3, 2, 2, 1, 2, 2}, {2, 3, 2, 2, 2, 1, 2}, {4, 5, 2, 4, 4, 4, 0}};
  for (const Lengths& l : cases) {
    std::vector<TypeParam> A = {1, 0, 0, 0, 1, 0};
    std::vector<TypeParam> b(8, 1);
    std::vector<TypeParam> bounds = {0, 9, 0, 9, 0, 9, 0, 9, 0, 9, 0, 9};
    std::vector<TypeParam> x(8, -77);
    std::vector<TypeParam> w(8, -77);
    std::vector<std::int32_t> index(8, -77);
    TypeParam rnorm = -77;
    std::int32_t nsetp = -77;
    std::int32_t ierr = -77;
    callBvls(denseColumns(A.data(), 3, 2), {b.data(), l.b, 1},
             denseColumns<const TypeParam>(bounds.data(), l.boundRows, l.boundCols),
             {x.data(), l.x, 1}, rnorm, nsetp, {w.data(), l.w, 1}, {index.data(), l.index, 1}, 0,
             ierr);
    EXPECT_EQ(ierr, l.ierr);
    EXPECT_EQ(x[2], -77) << "longer arrays than needed keep their tails";
    EXPECT_EQ(rnorm == -77, ierr != 0);
  }
}

// The larger dual value belongs to column 1, but column 0 is looked at first.
TYPED_TEST(Bvls, TakesTheFirstAcceptableCoefficientNotTheLargest) {
  typename TestFixture::Problem p{3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {1, 5, -2}, {}, {}};
  nonNegativeBounds(p);
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{1, 2, 3}));
  EXPECT_EQ(run.x, (std::vector<TypeParam>{1, 5, 0}));
  EXPECT_EQ(run.w, (std::vector<TypeParam>{0, 0, -2}));
}

// Column 1 is column 0 but for an element far below the epsilon: it asks to enter
// (its dual value is positive) and is refused as dependent, with its pivot element put
// back. A pivot above the epsilon is let in.
TYPED_TEST(Bvls, ADependentColumnIsRefusedAndRestored) {
  const TypeParam epsilon = std::numeric_limits<TypeParam>::epsilon();
  typename TestFixture::Problem p{3, 2, {1, 0, 0, 1, epsilon, 0}, {1, 1, 0}, {}, {}};
  nonNegativeBounds(p);
  Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.nsetp, 1);
  EXPECT_EQ(run.A[4], epsilon) << "the pivot element of the refused column";
  EXPECT_EQ(run.w[1], 0);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{1, 0}));
  p.A[4] = 2 * epsilon;
  run = runBvls(p);
  EXPECT_EQ(run.nsetp, 1) << "entered and pushed x(0) out";
  EXPECT_GT(run.x[1], 0);
  EXPECT_EQ(run.x[0], 0);
}

// The plain sum that gives the dual value rounds up to 2, though the exact value is
// below zero: 2^p + 1.1 three times over, less 2^p + 4, where the spacing is 2. The
// solve then sees the coefficient leave its bound on the wrong side.
TYPED_TEST(Bvls, AColumnWhoseSolutionLeavesOnTheWrongSideIsRefusedAndRestored) {
  const TypeParam large = TypeParam(2) / std::numeric_limits<TypeParam>::epsilon();
  const TypeParam step = TypeParam(1.1);
  typename TestFixture::Problem p{5, 1, {1, 1, 1, 1, 1}, {large, step, step, step, 0}, {}, {}};
  nonNegativeBounds(p);
  p.b[4] = -(large + 4);
  TypeParam dual = 0;
  for (const TypeParam value : p.b) {
    dual += value;
  }
  ASSERT_EQ(dual, 2);
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.nsetp, 0);
  EXPECT_EQ(run.x[0], 0);
  EXPECT_EQ(run.w[0], 0) << "a refused coefficient gets dual value 0";
  EXPECT_EQ(run.A, p.A);
  EXPECT_EQ(run.b, p.b);
}

// Once x0 = x1 = 1, column 2 enters and would drive both to -3: both meet 0 after a
// quarter of the way. The first leaves the solved set first, so it stands behind the
// other in INDEX. At the end x2 = (1 + 1 + 4) / 3.
TYPED_TEST(Bvls, OfTwoThatMeetTheirBoundsAtOnceTheFirstLeavesFirst) {
  typename TestFixture::Problem p{3, 3, {1, 0, 0, 0, 1, 0, 1, 1, 1}, {1, 1, 4}, {}, {}};
  nonNegativeBounds(p);
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{3, 2, 1}));
  EXPECT_NEAR(run.x[2], 2, 4 * std::numeric_limits<TypeParam>::epsilon());
}

// On columns 0 and 2 the fit is (7/6, 5/18). With column 3 it would be (-21/13, -5/13,
// ...): both meet 0 after 13/31 of the way. Both leave before the next solve; 2 alone
// would stay, as the fit on columns 2 and 3 is (1/31, 40/31), so it enters again behind 3.
TYPED_TEST(Bvls, CoefficientsThatReachTheirBoundsTogetherLeaveBeforeTheNextSolve) {
  typename TestFixture::Problem p{
      4, 4, {-2, 0, 0, -1, 1, 2, 1, -2, 2, -2, 0, -1, -2, -1, -1, -1}, {-2, -1, -3, -1}, {}, {}};
  nonNegativeBounds(p);
  const Run<TypeParam> run = runBvls(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{4, 3, 1, 2}));
  const auto noise = static_cast<double>(noiseOf(p, run.x, 2 * (4 + 4)));
  EXPECT_EQ(run.x[0], 0);
  EXPECT_EQ(run.x[1], 0);
  EXPECT_NEAR(run.x[2], 1.0 / 31, noise / 3);
  EXPECT_NEAR(run.x[3], 40.0 / 31, noise / std::sqrt(7.0));
}

// The new diagonal element takes the sign of the larger of the two.
TYPED_TEST(Bvls, ARotationZeroesTheLowerElementAndTurnsEveryColumn) {
  using Pair = std::pair<TypeParam, TypeParam>;
  const TypeParam epsilon = std::numeric_limits<TypeParam>::epsilon();
  for (const auto& [a, b] : {Pair{4, 3}, {-4, 3}, {3, -4}, {3, 4}, {0, 5}, {-5, 0}}) {
    std::vector<TypeParam> A = {1, 2, a, b, 3, 4};
    std::vector<TypeParam> B = {5, 6};
    regress::rotateRows(denseColumns(A.data(), 2, 3), viewOf(B), 1, 1);
    const TypeParam larger = std::abs(a) > std::abs(b) ? a : b;
    const TypeParam r = larger < 0 ? TypeParam(-5) : TypeParam(5);
    EXPECT_NEAR(A[2], r, 4 * epsilon * 5);
    EXPECT_EQ(A[3], 0);
    EXPECT_NEAR(A[0], (a * 1 + b * 2) / r, 32 * epsilon);
    EXPECT_NEAR(A[1], (a * 2 - b * 1) / r, 32 * epsilon);
    EXPECT_NEAR(A[4], (a * 3 + b * 4) / r, 32 * epsilon);
    EXPECT_NEAR(B[1], (a * 6 - b * 5) / r, 32 * epsilon);
  }
}

TYPED_TEST(Bvls, ARotationOfTwoZerosChangesNothing) {
  std::vector<TypeParam> A = {0, 0, 3, 4};
  std::vector<TypeParam> B = {5, 6};
  regress::rotateRows(denseColumns(A.data(), 2, 2), viewOf(B), 1, 0);
  EXPECT_EQ(A, (std::vector<TypeParam>{0, 0, 3, 4}));
  EXPECT_EQ(B, (std::vector<TypeParam>{5, 6}));
}

// Seven coefficients enter one after the other, and six of them drive another one to
// a bound, so thirteen solves are needed for four coefficients. At the end x0 = 1/5 is
// free and the others are at a bound: (-2, 3, -3, 3; 1, -1, 2, 0) x leaves b - A x =
// (-0.6, -1.2), orthogonal to (-2, 1).
template <class Real>
BoxProblem<Real> problemOfThirteenSolves() {
  return {2, 4, {-2, 1, 3, -1, -3, 2, 3, 0}, {-4, -4}, {0, -1, -2, -2}, {1, 1, 2, 1}};
}

TYPED_TEST(Bvls, ItmaxOf3nIsTheLimit) {
  const auto p = problemOfThirteenSolves<TypeParam>();
  const Run<TypeParam> run = runBvls(p, 12);
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.rnorm, TypeParam(-77)) << "rnorm is not written on a failure";
  EXPECT_TRUE(run.indexIsPermutation());
}

TYPED_TEST(Bvls, ItmaxOf3nLess1MeansTwentyTimesN) {
  const auto p = problemOfThirteenSolves<TypeParam>();
  for (const int itmax : {11, 0, -5, std::numeric_limits<int>::min()}) {
    const Run<TypeParam> run = runBvls(p, itmax);
    EXPECT_EQ(run.status, 0) << itmax;
    const auto noise = static_cast<double>(noiseOf(p, run.x, 2 * (2 + 4)));
    EXPECT_NEAR(run.x[0], 0.2, noise / std::sqrt(5.0));
    EXPECT_EQ(run.x[1], -1);
    EXPECT_EQ(run.x[2], -2);
    EXPECT_EQ(run.x[3], -2);
    EXPECT_NEAR(run.rnorm, std::sqrt(1.8), noise);
  }
}

TYPED_TEST(Bvls, ALimitAbove3nIsTakenAsItStands) {
  const auto p = problemOfThirteenSolves<TypeParam>();
  EXPECT_EQ(runBvls(p, 13).status, 0);
  EXPECT_EQ(runBvls(p, std::numeric_limits<int>::max()).status, 0);
}

// Columns of decays exp(-t/T) in hundredths. When the limit falls, set P is x0, x1 and
// x5, and what was just solved on it is the unconstrained fit, in which x0 is negative.
TYPED_TEST(Bvls, AfterTheLimitXHoldsTheLastSolveElementsOutsideTheirBoundsIncluded) {
  typename TestFixture::Problem p{5,
                                  6,
                                  {95, 90, 86, 82, 78, 88, 78, 69, 60, 53, 73, 53, 39, 28, 21,
                                   45, 20, 9,  4,  2,  14, 2,  0,  0,  0,  1,  0,  0,  0,  0},
                                  {74, -31, 83, -42, 3},
                                  {},
                                  {}};
  nonNegativeBounds(p);
  const Run<TypeParam> run = runPlsB(p, 18);
  EXPECT_EQ(run.status, 4);
  // The fit on columns 0, 1 and 5 makes the residual orthogonal to all three, and the
  // other coefficients stay at zero.
  const WideVector residual = residualOf(p, run.x);
  const auto noise = static_cast<double>(noiseOf(p, run.x, 2 * (5 + 6)));
  for (const int j : {0, 1, 5}) {
    const WideVector column = wideColumn(p, j);
    EXPECT_NEAR(static_cast<double>(dot(column, residual) / std::sqrt(dot(column, column))), 0,
                noise);
  }
  EXPECT_LT(run.x[0], -0.3);
  EXPECT_EQ(run.x[2], 0);
  EXPECT_EQ(run.x[3], 0);
  EXPECT_EQ(run.x[4], 0);
  const Run<TypeParam> whole = runPlsB(p, 17);
  EXPECT_EQ(whole.status, 0);
  EXPECT_EQ(violation(p, whole.x, noiseOf(p, whole.x, 2 * (5 + 6))), "");
}

TYPED_TEST(Bvls, PlsBHasNoUpperBoundBelowTheLargestNumber) {
  const TypeParam large = TestFixture::noBound / 4;
  typename TestFixture::Problem p{1, 1, {1}, {large}, {}, {}};
  const Run<TypeParam> run = runPlsB(p);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.x[0], large);
}

}  // namespace
}  // namespace vorin::testing
