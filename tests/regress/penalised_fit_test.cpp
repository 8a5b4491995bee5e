// The penalties, the normal equations and the three fits that end in them, and the
// plain non-negative fit.
#include "regress/penalised_fit.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "regress/box_reference.hpp"
#include "regress/normal_equations.hpp"
#include "regress/penalty_matrix.hpp"
#include "regress/random_problem.hpp"
#include "regress/solver_runs.hpp"
#include "regress/strided.hpp"

namespace vorin::testing {
namespace {

using regress::fitIterationLimit;
using regress::LUPen_sp;
using regress::plsN_sp;
using regress::plsPen_dp;
using regress::plsPen_sp;

void callFit(MatrixView<const float> X, VectorView<const float> y, VectorView<float> x,
             VectorView<const float> lambda, std::int32_t& status) {
  plsPen_sp(X, y, x, lambda, status);
}
void callFit(MatrixView<const double> X, VectorView<const double> y, VectorView<double> x,
             VectorView<const double> lambda, std::int32_t& status) {
  plsPen_dp(X, y, x, lambda, status);
}

template <class Real>
struct Fit {
  std::vector<Real> x;
  std::int32_t status = -77;
};

template <class Real>
Fit<Real> penalised(int m, int n, const std::vector<Real>& X, const std::vector<Real>& y,
                    const std::vector<Real>& lambda) {
  Fit<Real> fit;
  fit.x.assign(static_cast<std::size_t>(n), Real(-77));
  callFit(denseColumns(X.data(), m, n), {y.data(), m, 1}, viewOf(fit.x),
          {lambda.data(), static_cast<std::ptrdiff_t>(lambda.size()), 1}, fit.status);
  return fit;
}

Fit<float> unconstrained(int m, int n, const std::vector<float>& X, const std::vector<float>& y,
                         const std::vector<float>& lambda) {
  Fit<float> fit;
  fit.x.assign(static_cast<std::size_t>(n), -77.0f);
  LUPen_sp(denseColumns(X.data(), m, n), {y.data(), m, 1}, viewOf(fit.x),
           {lambda.data(), static_cast<std::ptrdiff_t>(lambda.size()), 1}, fit.status);
  return fit;
}

template <class Real>
std::vector<Real> penaltyOf(int order, int n) {
  std::vector<Real> P(static_cast<std::size_t>(n) * static_cast<std::size_t>(n), Real(-77));
  regress::penaltyMatrix(order, n, P.data());
  return P;
}

template <class Real>
Wide frobenius(const BoxProblem<Real>& p) {
  const WideVector elements(p.A.begin(), p.A.end());
  return std::sqrt(dot(elements, elements));
}

template <class Real>
class PenalisedFit : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PenalisedFit, Precisions);

TYPED_TEST(PenalisedFit, PenaltyOfOrderZeroIsTheIdentity) {
  EXPECT_EQ(penaltyOf<TypeParam>(0, 3), (std::vector<TypeParam>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

// D(1) has rows (-1, 1, 0, 0), (0, -1, 1, 0), (0, 0, -1, 1).
TYPED_TEST(PenalisedFit, PenaltyOfOrderOneComesFromFirstDifferences) {
  EXPECT_EQ(penaltyOf<TypeParam>(1, 4), (std::vector<TypeParam>{1, -1, 0, 0,   //
                                                                -1, 2, -1, 0,  //
                                                                0, -1, 2, -1,  //
                                                                0, 0, -1, 1}));
}

// D(2) has rows (1, -2, 1, 0), (0, 1, -2, 1).
TYPED_TEST(PenalisedFit, PenaltyOfOrderTwoComesFromSecondDifferences) {
  EXPECT_EQ(penaltyOf<TypeParam>(2, 4), (std::vector<TypeParam>{1, -2, 1, 0,   //
                                                                -2, 5, -4, 1,  //
                                                                1, -4, 5, -2,  //
                                                                0, 1, -2, 1}));
}

// x'P x is the sum of squared k-th differences, whose stencil is made of binomial
// coefficients of alternating sign; all of it small integers, so exact.
TYPED_TEST(PenalisedFit, PenaltyOfAnyOrderComesFromBinomialStencils) {
  for (int n = 1; n <= 9; ++n) {
    for (int k = 0; k < n; ++k) {
      std::vector<TypeParam> stencil(1, 1);
      for (int r = 1; r <= k; ++r) {
        stencil.push_back(-stencil.back() * TypeParam(k - r + 1) / TypeParam(r));
      }
      const std::vector<TypeParam> P = penaltyOf<TypeParam>(k, n);
      for (int a = 0; a < n; ++a) {
        for (int b = 0; b < n; ++b) {
          TypeParam sum = 0;
          for (int i = 0; i < n - k; ++i) {
            const bool inside = a >= i && a <= i + k && b >= i && b <= i + k;
            sum += inside ? stencil[static_cast<std::size_t>(a - i)] *
                                stencil[static_cast<std::size_t>(b - i)]
                          : TypeParam(0);
          }
          EXPECT_EQ(P[static_cast<std::size_t>(a + b * n)], sum) << n << ' ' << k;
        }
      }
    }
  }
}

TYPED_TEST(PenalisedFit, PenaltyOfOrderNOrAboveIsZero) {
  for (const int order : {3, 4, 50, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(penaltyOf<TypeParam>(order, 3), std::vector<TypeParam>(9, 0)) << order;
  }
}

TYPED_TEST(PenalisedFit, OfOneCoefficientOnlyOrderZeroHasAPenalty) {
  EXPECT_EQ(penaltyOf<TypeParam>(0, 1), std::vector<TypeParam>{1});
  EXPECT_EQ(penaltyOf<TypeParam>(1, 1), std::vector<TypeParam>{0});
  EXPECT_EQ(penaltyOf<TypeParam>(2, 1), std::vector<TypeParam>{0});
}

TEST(FitIterationLimit, IsFiveTimesNAndFiftyAtLeast) {
  EXPECT_EQ(fitIterationLimit(1), 50);
  EXPECT_EQ(fitIterationLimit(9), 50);
  EXPECT_EQ(fitIterationLimit(10), 50);
  EXPECT_EQ(fitIterationLimit(11), 55);
  EXPECT_EQ(fitIterationLimit(-4), 50);
}

// The plain form: the full square, data rows outermost.
TYPED_TEST(PenalisedFit, TheMirroredTriangleHasTheBitsOfTheFullSquare) {
  Random random(4101);
  for (int count = 0; count < 50; ++count) {
    BoxProblem<TypeParam> p;
    p.m = random.integer(1, 40);
    p.n = random.integer(1, 17);
    fillMatrix(random, Columns::reals, p);
    const MatrixView<const TypeParam> X = denseColumns<const TypeParam>(p.A.data(), p.m, p.n);
    const auto size = static_cast<std::size_t>(p.n) * static_cast<std::size_t>(p.n);
    std::vector<TypeParam> plain(size, 0);
    const MatrixView<TypeParam> N = denseColumns(plain.data(), p.n, p.n);
    for (int i = 0; i < p.m; ++i) {
      for (int j = 0; j < p.n; ++j) {
        for (int l = 0; l < p.n; ++l) {
          N(l, j) += X(i, j) * X(i, l);
        }
      }
    }
    std::vector<TypeParam> summed(size, 0);
    regress::sumNormalMatrix(X, denseColumns(summed.data(), p.n, p.n));
    ASSERT_TRUE(sameBits(plain, summed));
  }
}

// X has the columns (1, 1) and (1, 0), and y = (1, -1). Without bounds x = (-1, 2), so
// x0 = 0 is active in both fits.
//   NNLS on (X, y): x1 = (1, 0)'y = 1. The residual y - (1, 0) = (0, -1) has the slope
//   (1, 1)'(0, -1) = -1 for x0, so x = (0, 1).
//   The normal equations: A = (2 1; 1 1), c = (0, 1). Along the column (1, 1) of A,
//   x1 = (1, 1)'c / 2 = 1/2. The residual c - (1/2, 1/2) = (-1/2, 1/2) has the slope
//   (2, 1)'(-1/2, 1/2) = -1/2 for x0, so x = (0, 1/2).
TYPED_TEST(PenalisedFit, MinimisesTheNormOfTheNormalEquationsNotOfTheFit) {
  const std::vector<TypeParam> X = {1, 1, 1, 0};
  const std::vector<TypeParam> y = {1, -1};
  const Fit<TypeParam> fit = penalised<TypeParam>(2, 2, X, y, {0});
  const TypeParam epsilon = std::numeric_limits<TypeParam>::epsilon();
  EXPECT_EQ(fit.status, 0);
  EXPECT_EQ(fit.x[0], 0);
  EXPECT_NEAR(fit.x[1], 0.5, 4 * epsilon);
  BoxProblem<TypeParam> direct{2, 2, X, y, {}, {}};
  const Run<TypeParam> nnls = runNnls(direct);
  EXPECT_EQ(nnls.x[0], 0);
  EXPECT_NEAR(nnls.x[1], 1, 4 * epsilon);
}

TYPED_TEST(PenalisedFit, WithoutActiveBoundItIsTheLeastSquaresFit) {
  // y = 2 (1, 1, 1) + 3 (0, 1, 2) exactly.
  const Fit<TypeParam> fit = penalised<TypeParam>(3, 2, {1, 1, 1, 0, 1, 2}, {2, 5, 8}, {0});
  EXPECT_EQ(fit.status, 0);
  EXPECT_NEAR(fit.x[0], 2, 100 * std::numeric_limits<TypeParam>::epsilon());
  EXPECT_NEAR(fit.x[1], 3, 100 * std::numeric_limits<TypeParam>::epsilon());
}

TYPED_TEST(PenalisedFit, EmptyLambdaMeansNoPenalty) {
  const std::vector<TypeParam> X = {1, 1, 1, 0, 1, 2};
  EXPECT_EQ(penalised<TypeParam>(3, 2, X, {2, 5, 8}, {}).x,
            penalised<TypeParam>(3, 2, X, {2, 5, 8}, {0, 0, 0}).x);
}

// (4 + lambda) x = 4 * 3.
TYPED_TEST(PenalisedFit, OneCoefficientWithARidge) {
  const Fit<TypeParam> fit = penalised<TypeParam>(1, 1, {2}, {6}, {4});
  EXPECT_EQ(fit.status, 0);
  EXPECT_EQ(fit.x[0], 1.5);
}

TYPED_TEST(PenalisedFit, OrderOfNOrAboveHasNoEffect) {
  const std::vector<TypeParam> X = {2, 1, 0, 1, 3, 1};
  const std::vector<TypeParam> y = {4, 5, 6};
  EXPECT_EQ(penalised<TypeParam>(3, 2, X, y, {1, 2}).x,
            penalised<TypeParam>(3, 2, X, y, {1, 2, 1000, 1e6}).x);
}

// A weight so large that neighbours agree: all coefficients become the one that fits
// A x = c best along (1, 1, 1), which has no share in the penalty.
TYPED_TEST(PenalisedFit, AHeavyFirstDifferenceLevelsTheCoefficients) {
  const Fit<TypeParam> fit =
      penalised<TypeParam>(3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {3, 6, 9}, {0, 1e4});
  EXPECT_EQ(fit.status, 0);
  for (const TypeParam value : fit.x) {
    EXPECT_NEAR(value, 6, 0.01);
  }
}

TYPED_TEST(PenalisedFit, NoDataRowsLeaveThePenaltiesAloneAndGiveZero) {
  const Fit<TypeParam> fit = penalised<TypeParam>(0, 3, {}, {}, {1, 1});
  EXPECT_EQ(fit.status, 0);
  EXPECT_EQ(fit.x, std::vector<TypeParam>(3, 0));
}

TYPED_TEST(PenalisedFit, NoCoefficientsGivesStatus1) {
  EXPECT_EQ(penalised<TypeParam>(2, 0, {}, {1, 2}, {1}).status, 1);
}

TYPED_TEST(PenalisedFit, AResultShorterThanTheCoefficientsGivesStatus2) {
  const std::vector<TypeParam> X = {1, 0, 0, 1};
  std::vector<TypeParam> y = {1, 1};
  std::vector<TypeParam> x = {-77, -77};
  std::int32_t status = -77;
  callFit(denseColumns(X.data(), 2, 2), viewOf(y), {x.data(), 1, 1}, {nullptr, 0, 1}, status);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(x[1], -77);
}

// A and c are formed a second time in extended precision; their bounded fit is judged
// by the exhaustive search and the optimality conditions. The tolerance has the rounding
// of the m products in each sum of A and c, and that of a solve of n by n.
TYPED_TEST(PenalisedFit, SolvesItsNormalEquationsForRandomProblems) {
  Random random(4102);
  for (int count = 0; count < 500; ++count) {
    BoxProblem<TypeParam> p;
    p.n = random.integer(1, 7);
    p.m = random.integer(1, 12);
    fillMatrix(random, Columns::reals, p);
    std::vector<TypeParam> lambda;
    for (int k = random.integer(0, 4); k > 0; --k) {
      lambda.push_back(static_cast<TypeParam>(random.integer(0, 3)) / 4);
    }
    const Fit<TypeParam> fit = penalised<TypeParam>(p.m, p.n, p.A, p.b, lambda);
    ASSERT_EQ(fit.status, 0);
    BoxProblem<long double> normal;
    normal.m = normal.n = p.n;
    nonNegativeBounds(normal);
    for (int j = 0; j < p.n; ++j) {
      const WideVector column = wideColumn(p, j);
      normal.b.push_back(dot(column, WideVector(p.b.begin(), p.b.end())));
      for (int l = 0; l < p.n; ++l) {
        normal.A.push_back(dot(column, wideColumn(p, l)));
      }
    }
    for (std::size_t k = 0; k < lambda.size(); ++k) {
      const std::vector<double> P = penaltyOf<double>(static_cast<int>(k), p.n);
      for (std::size_t e = 0; e < P.size(); ++e) {
        normal.A[e] += static_cast<Wide>(lambda[k]) * static_cast<Wide>(P[e]);
      }
    }
    const Wide noise = static_cast<Wide>(std::numeric_limits<TypeParam>::epsilon()) *
                       (Wide(p.m) * frobenius(p) * residualTerms(p, fit.x) +
                        Wide(4 * p.n) * residualTerms(normal, fit.x));
    EXPECT_LE(residualNorm(normal, fit.x), ExhaustiveSearch<long double>(normal).norm() + noise)
        << "problem " << count;
    const std::vector<long double> x(fit.x.begin(), fit.x.end());
    EXPECT_EQ(violation(normal, x, noise), "") << "problem " << count;
  }
}

TEST(LUPen, SolvesTheNormalEquationsWithoutBounds) {
  // X'X = (3 3; 3 5), X'y = (6, 4): x = (3, -1).
  const Fit<float> plain = unconstrained(3, 2, {1, 1, 1, 0, 1, 2}, {3, 2, 1}, {});
  EXPECT_EQ(plain.status, 0);
  EXPECT_NEAR(plain.x[0], 3, 1e-5);
  EXPECT_NEAR(plain.x[1], -1, 1e-5);
  // With lambda = (1, 2): A = (3+1+2, 3-2; 3-2, 5+1+2) = (6 1; 1 8), x = (44, 18) / 47.
  const Fit<float> penalty = unconstrained(3, 2, {1, 1, 1, 0, 1, 2}, {3, 2, 1}, {1, 2});
  EXPECT_NEAR(penalty.x[0], 44.0 / 47.0, 1e-6);
  EXPECT_NEAR(penalty.x[1], 18.0 / 47.0, 1e-6);
}

TEST(LUPen, RankDeficientXWithoutPenaltyStillSaysStatusZero) {
  const Fit<float> fit = unconstrained(2, 2, {1, 1, 1, 1}, {1, 2}, {0});
  EXPECT_EQ(fit.status, 0);
  // A = (2 2; 2 2), c = (3, 3): the last pivot is 0 and 0/0 is not a number.
  EXPECT_FALSE(std::isfinite(fit.x[0]) && std::isfinite(fit.x[1]));
}

TEST(LUPen, NoCoefficientsDoesNothing) {
  const Fit<float> fit = unconstrained(2, 0, {}, {1, 2}, {1});
  EXPECT_EQ(fit.status, 0);
}

TEST(LUPen, NoDataRowsLeaveThePenaltiesAlone) {
  const Fit<float> fit = unconstrained(0, 2, {}, {}, {1});
  EXPECT_EQ(fit.status, 0);
  EXPECT_EQ(fit.x, (std::vector<float>{0, 0}));
}

TEST(LUPen, NanAndInfinityEndLikeAnyOtherInput) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float value : {nan, infinity, -infinity, std::numeric_limits<float>::max()}) {
    for (const int n : {1, 2, 5, 40, 150}) {
      const auto size = static_cast<std::size_t>(n);
      std::vector<float> X(size * size, 1.0f);
      X[size * size / 2] = value;
      EXPECT_EQ(unconstrained(n, n, X, std::vector<float>(size, 1.0f), {1}).status, 0);
      EXPECT_EQ(unconstrained(n, n, std::vector<float>(size * size, value),
                              std::vector<float>(size, value), {value})
                    .status,
                0);
    }
  }
}

TEST(PlsN, FitsTheDataItselfAndLeavesItsArgumentsAlone) {
  const std::vector<float> A = {1, 1, 1, 0};
  std::vector<float> b = {1, -1};
  std::vector<float> x = {-77, -77};
  float rnorm = -77;
  std::int32_t status = -77;
  plsN_sp(denseColumns(A.data(), 2, 2), viewOf(b), viewOf(x), rnorm, 50, status);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(x, (std::vector<float>{0, 1}));
  EXPECT_EQ(rnorm, 1);
  EXPECT_EQ(A, (std::vector<float>{1, 1, 1, 0}));
  EXPECT_EQ(b, (std::vector<float>{1, -1}));
}

TEST(PlsN, TheIterationLimitHasNoInfluence) {
  const std::vector<float> A = {2, 1, 0, 1, 3, 1};
  std::vector<float> b = {4, 5, 6};
  std::vector<float> first(2);
  std::vector<float> second(2);
  float rnorm = 0;
  std::int32_t status = 0;
  plsN_sp(denseColumns(A.data(), 3, 2), viewOf(b), viewOf(first), rnorm, -1, status);
  EXPECT_EQ(status, 1);
  plsN_sp(denseColumns(A.data(), 3, 2), viewOf(b), viewOf(second), rnorm, 1000, status);
  EXPECT_EQ(first, second);
}

TEST(PlsN, EmptyMatrixGivesStatus2AndTouchesNothing) {
  std::vector<float> x = {-77};
  float rnorm = -77;
  std::int32_t status = 0;
  plsN_sp({nullptr, 0, 1, 1, 0}, {nullptr, 0, 1}, viewOf(x), rnorm, 50, status);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(x[0], -77);
  EXPECT_EQ(rnorm, -77);
}

}  // namespace
}  // namespace vorin::testing
