// NNLS and its two transformations.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "brd/nnls_transforms.hpp"
#include "regress/box_reference.hpp"
#include "regress/log_recorder.hpp"
#include "regress/random_problem.hpp"
#include "regress/solver_runs.hpp"

namespace vorin::testing {
namespace {

using brd::H12;
using brd::H12Mode;

template <class Real>
class Nnls : public ::testing::Test {
 protected:
  using Problem = BoxProblem<Real>;
  static constexpr Real machineEpsilon = std::numeric_limits<Real>::epsilon();
  void SetUp() override { loggedLines().clear(); }
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Nnls, Precisions);

template <class Real>
BoxProblem<Real> problem(int m, int n, std::vector<Real> A, std::vector<Real> b) {
  BoxProblem<Real> p{m, n, std::move(A), std::move(b), {}, {}};
  nonNegativeBounds(p);
  return p;
}

// A'b = (-1, -2), both negative, and |b| = 5.
TYPED_TEST(Nnls, ColumnsNegativelyCorrelatedWithBLeaveXAtZero) {
  const auto p = problem<TypeParam>(2, 2, {1, -1, 2, -2}, {3, 4});
  const Run<TypeParam> run = runNnls(p);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{0, 0}));
  EXPECT_EQ(run.rnorm, 5);
  EXPECT_EQ(run.w, (std::vector<TypeParam>{-1, -2}));
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{1, 2}));
}

// The largest dual value, 3 * 6, is the second column's: 3 x = 6.
TYPED_TEST(Nnls, OfOneRowOneColumnAtMostEntersAndWIsZeroed) {
  const Run<TypeParam> run = runNnls(problem<TypeParam>(1, 3, {2, 3, -1}, {6}));
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{0, 2, 0}));
  EXPECT_EQ(run.rnorm, 0);
  EXPECT_EQ(run.w, (std::vector<TypeParam>{0, 0, 0}));
  EXPECT_EQ(run.index[0], 2);
}

TYPED_TEST(Nnls, OfOneRowWithoutPositiveDualValueNothingEnters) {
  const Run<TypeParam> run = runNnls(problem<TypeParam>(1, 2, {2, 3}, {-6}));
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{0, 0}));
  EXPECT_EQ(run.rnorm, 6);
  EXPECT_EQ(run.w, (std::vector<TypeParam>{-12, -18}));
}

TYPED_TEST(Nnls, AZeroColumnNeverQualifies) {
  const Run<TypeParam> run = runNnls(problem<TypeParam>(2, 2, {0, 0, 0, 1}, {7, 2}));
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{0, 2}));
  EXPECT_EQ(run.rnorm, 7);
  EXPECT_EQ(run.w, (std::vector<TypeParam>{0, 0}));
}

TYPED_TEST(Nnls, TheLargestDualValueEntersFirst) {
  const Run<TypeParam> run =
      runNnls(problem<TypeParam>(3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {1, 5, 3}));
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{2, 3, 1}));
}

// Columns 1 and 2 tie. After column 3 has entered, index reads 3, 2, 1, and 2 is first.
TYPED_TEST(Nnls, TheFirstInTheOrderOfIndexWinsATie) {
  const std::vector<TypeParam> identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_EQ(runNnls(problem<TypeParam>(3, 3, identity, {2, 2, 1})).index,
            (std::vector<std::int32_t>{1, 2, 3}));
  EXPECT_EQ(runNnls(problem<TypeParam>(3, 3, identity, {2, 2, 3})).index,
            (std::vector<std::int32_t>{3, 2, 1}));
}

// `good` unit columns of height 1/16 over the first rows, and before them `refused`
// columns of ones over nine more rows, where b holds 2^p, seven times 1.1 and
// -(2^p + 12), with spacing 2 at 2^p. Their dual value sums to 2 because each 1.1 is
// rounded up to 2, more than the b/16 < 1 of the good ones; exactly it is
// 7.7 - 12 < 0, which their transformed right-hand side shows.
template <class Real>
BoxProblem<Real> problemWithRefusals(int good, int refused) {
  BoxProblem<Real> p;
  p.m = good + 9;
  p.n = good + refused;
  p.A.assign(static_cast<std::size_t>(p.m) * static_cast<std::size_t>(p.n), Real(0));
  const Real large = Real(2) / std::numeric_limits<Real>::epsilon();
  for (int i = 0; i < good; ++i) {
    p.A[p.at(i, refused + i)] = Real(1) / 16;
    p.b.push_back(Real(8) - Real(i) / 64);
  }
  p.b.push_back(large);
  p.b.insert(p.b.end(), 7, Real(1.1));
  p.b.push_back(-(large + 12));
  for (int j = 0; j < refused; ++j) {
    for (int i = good; i < p.m; ++i) {
      p.A[p.at(i, j)] = 1;
    }
  }
  nonNegativeBounds(p);
  return p;
}

TYPED_TEST(Nnls, ACandidateWithANegativeRatioIsRefusedAndTheNextLargestTaken) {
  const auto p = problemWithRefusals<TypeParam>(1, 1);
  TypeParam dual = 0;
  for (int i = 1; i < p.m; ++i) {
    dual += p.b[static_cast<std::size_t>(i)];
  }
  ASSERT_EQ(dual, 2) << "the first candidate";
  const Run<TypeParam> run = runNnls(p);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.x, (std::vector<TypeParam>{0, 128}));
  EXPECT_EQ(run.w, (std::vector<TypeParam>{0, 0}));
  EXPECT_EQ(run.index, (std::vector<std::int32_t>{2, 1}));
  for (int i = 0; i < p.m; ++i) {
    EXPECT_EQ(run.A[p.at(i, 0)], p.A[p.at(i, 0)]) << "the refused column is restored";
  }
}

// Seven passes refuse six columns each, 42 in all; with the six solves they would go
// beyond the limit of 36 if they counted.
TYPED_TEST(Nnls, RefusedCandidatesDoNotCountAsIterations) {
  const auto p = problemWithRefusals<TypeParam>(6, 6);
  const Run<TypeParam> run = runNnls(p);
  EXPECT_EQ(run.status, 1);
  for (int j = 0; j < 6; ++j) {
    EXPECT_EQ(run.x[static_cast<std::size_t>(j)], 0);
    EXPECT_EQ(run.x[static_cast<std::size_t>(6 + j)], TypeParam(128) - TypeParam(j) / 4);
  }
  EXPECT_TRUE(loggedLines().empty());
}

// The second column is nearly the opposite of the first, far below the epsilon, but its
// pivot element is not zero: x1 = 1 / tiny, and x0 = 1 + x1 / 2.
TYPED_TEST(Nnls, ANearlyDependentColumnIsAccepted) {
  const TypeParam tiny = TestFixture::machineEpsilon / 1024;
  const Run<TypeParam> run =
      runNnls(problem<TypeParam>(3, 2, {1, 0, 0, TypeParam(-0.5), tiny, 0}, {1, 1, 1}));
  EXPECT_EQ(run.status, 1);
  EXPECT_NEAR(run.x[1] * tiny, 1, 4 * TestFixture::machineEpsilon);
  EXPECT_NEAR(run.x[0] * tiny, 0.5, 4 * TestFixture::machineEpsilon);
}

// The smallest number times the factor 0.01 is zero.
TYPED_TEST(Nnls, APivotThatVanishesWithTheFactorIsRefused) {
  const TypeParam smallest = std::numeric_limits<TypeParam>::denorm_min();
  const Run<TypeParam> run = runNnls(problem<TypeParam>(1, 1, {smallest}, {1}));
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.x[0], 0);
  EXPECT_EQ(run.w[0], 0);
  EXPECT_EQ(run.rnorm, 1);
}

TYPED_TEST(Nnls, ADimensionBelowOneTouchesNothingAndLogsNothing) {
  for (const auto& [m, n] : {std::pair{0, 1}, {1, 0}, {0, 0}, {-1, 1}, {1, -1}}) {
    TypeParam cell[4] = {-77, -77, -77, -77};
    std::int32_t index = -77;
    std::int32_t mode = -77;
    callNnls({cell, m, n, 1, 1}, {cell + 1, m, 1}, {cell + 2, n, 1}, cell[3], {cell, n, 1},
             {&index, n, 1}, mode);
    EXPECT_EQ(mode, 2);
    EXPECT_EQ(index, -77);
    for (const TypeParam value : cell) {
      EXPECT_EQ(value, -77);
    }
  }
  EXPECT_TRUE(loggedLines().empty());
}

template <class Real>
void expectLimit(const BoxProblem<Real>& p, const std::string& line) {
  const Run<Real> run = runNnls(p);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(loggedLines(), std::vector<std::string>{line});
  for (const Real value : run.x) {
    EXPECT_GE(value, 0);
  }
  EXPECT_TRUE(run.indexIsPermutation());
  EXPECT_GE(run.rnorm, 0) << "the closing act is done all the same";
}

// Columns that depend on each other, which the test of this solver lets in: they go in
// and out until the limit of 3n. Which problems do so depends on the rounding, so each
// precision has one of its own. In the double one, column 3 is column 2 - column 1.
using NnlsSingle = Nnls<float>;
TEST_F(NnlsSingle, ReachingTheLimitOf3nIsMode3WithTheMessageWrittenOnce) {
  expectLimit(problem<float>(4, 6, {0, 0, -1, 1, 0, 1, 1, 1,  0, -1, -1, -1,
                                    0, 1, -1, 0, 0, 0, 0, -1, 1, -1, 1,  -1},
                             {-5, 2, -5, -1}),
              "NNLS_s::E::NNLS quitting on iteration count");
}

using NnlsDouble = Nnls<double>;
TEST_F(NnlsDouble, ReachingTheLimitOf3nIsMode3WithTheMessageWrittenOnce) {
  expectLimit(problem<double>(3, 4, {1, 1, -1, 1, 0, 0, 0, -1, 1, -1, -1, 1}, {5, 8, 8}),
              "NNLS_d::E::NNLS quitting on iteration count");
}

// Of these, rounding lets the search end with its 9th solve, the last that 3 columns may have.
// Column 3 is column 2 less half of column 1, and b is 4 times column 3.
TEST_F(NnlsDouble, OfExactly3nSolvesAllAreMade) {
  const auto run = runNnls(problem<double>(3, 3, {2, 2, 2, 2, 1, 1, 1, 0, 0}, {4, 0, 0}));
  EXPECT_EQ(run.status, 1);
  EXPECT_NEAR(run.rnorm, 0.0, 1e-14);
  EXPECT_NEAR(2.0 * run.x[0] + 2.0 * run.x[1] + run.x[2], 4.0, 1e-14);
  EXPECT_NEAR(2.0 * run.x[0] + run.x[1], 0.0, 1e-14);
}

// Q is orthogonal, so inner products of the columns with each other and with b stay.
TYPED_TEST(Nnls, OverwritesAAndBWithAnOrthogonalTransformOfThem) {
  Random random(5101);
  for (int count = 0; count < 100; ++count) {
    BoxProblem<TypeParam> p;
    p.m = random.integer(1, 8);
    p.n = random.integer(1, 6);
    fillMatrix(random, Columns::reals, p);
    nonNegativeBounds(p);
    const Run<TypeParam> run = runNnls(p);
    BoxProblem<TypeParam> q = p;
    q.A = run.A;
    q.b = run.b;
    const WideVector b(p.b.begin(), p.b.end());
    const WideVector qb(q.b.begin(), q.b.end());
    const double noise = 4.0 * (p.m + p.n) * static_cast<double>(TestFixture::machineEpsilon);
    EXPECT_NEAR(static_cast<double>(dot(qb, qb) / dot(b, b)), 1, noise);
    for (int j = 0; j < p.n; ++j) {
      const WideVector column = wideColumn(p, j);
      const Wide scale = std::sqrt(dot(column, column) * dot(b, b));
      EXPECT_NEAR(static_cast<double>((dot(wideColumn(q, j), qb) - dot(column, b)) / scale), 0,
                  noise);
    }
  }
}

template <class Real>
void expectSolved(const BoxProblem<Real>& p, const Run<Real>& run, bool search) {
  const Wide noise = noiseOf(p, run.x, Wide(2 * (p.m + p.n)));
  EXPECT_EQ(violation(p, run.x, noise), "");
  EXPECT_NEAR(static_cast<double>(run.rnorm), static_cast<double>(residualNorm(p, run.x)),
              static_cast<double>(noise));
  if (search) {
    EXPECT_LE(residualNorm(p, run.x), ExhaustiveSearch<Real>(p).norm() + noise);
  }
  EXPECT_TRUE(run.indexIsPermutation());
  for (std::size_t j = 0; j < run.x.size(); ++j) {
    EXPECT_LE(run.w[j], 0);
    EXPECT_TRUE(run.x[j] == 0 || run.w[j] == 0);
  }
  // Set P comes first in index, and it holds the positive elements.
  bool inP = true;
  for (const std::int32_t column : run.index) {
    const bool positive = run.x[static_cast<std::size_t>(column - 1)] > 0;
    EXPECT_TRUE(inP || !positive);
    inP = positive;
  }
}

TYPED_TEST(Nnls, AgreesWithExhaustiveSearchOnRandomProblems) {
  Random random(5102);
  constexpr Columns kinds[] = {Columns::smallIntegers, Columns::reals, Columns::deficient,
                               Columns::badlyScaled};
  int solved = 0;
  for (int count = 0; count < 4000; ++count) {
    BoxProblem<TypeParam> p;
    p.m = random.integer(1, 9);
    p.n = random.integer(1, 8);
    const Columns kind = random.pick(kinds);
    fillMatrix(random, kind, p);
    nonNegativeBounds(p);
    const Run<TypeParam> run = runNnls(p);
    if (run.status == 3 && kind == Columns::deficient) {
      continue;  // dependent columns may go in and out until the limit
    }
    ASSERT_EQ(run.status, 1) << "problem " << count;
    expectSolved(p, run, true);
    ++solved;
    if (this->HasFailure()) {
      FAIL() << "problem " << count;
    }
  }
  EXPECT_GT(solved, 3980);
}

TYPED_TEST(Nnls, MeetsTheOptimalityConditionsOfLargerProblems) {
  Random random(5103);
  for (int count = 0; count < 400; ++count) {
    BoxProblem<TypeParam> p;
    p.m = random.integer(1, 60);
    p.n = random.integer(5, 40);
    fillMatrix(random, count % 2 == 0 ? Columns::reals : Columns::badlyScaled, p);
    nonNegativeBounds(p);
    const Run<TypeParam> run = runNnls(p);
    ASSERT_EQ(run.status, 1);
    expectSolved(p, run, false);
    if (this->HasFailure()) {
      FAIL() << "problem " << count;
    }
  }
}

// (3, 0, 4) becomes (-5, ...): up = 3 + 5 = 8, and the column (1, 1, 1) turns into
// 1 - 7/5 - ... : u = (8, 4), u'c = 12, c += u (12 / -40).
TYPED_TEST(Nnls, H12ZeroesAVectorIntoItsPivot) {
  std::vector<TypeParam> u = {3, 0, 4};
  std::vector<TypeParam> c = {1, 1, 1};
  TypeParam up = 0;
  H12(H12Mode::buildAndApply, 0, 2, 3, viewOf(u), up, denseColumns(c.data(), 3, 1));
  EXPECT_EQ(u, (std::vector<TypeParam>{-5, 0, 4}));
  EXPECT_EQ(up, 8);
  EXPECT_NEAR(c[0], 1 - 8 * 0.3, 4 * TestFixture::machineEpsilon);
  EXPECT_EQ(c[1], 1) << "rows between the pivot and the range take no part";
  EXPECT_NEAR(c[2], 1 - 4 * 0.3, 4 * TestFixture::machineEpsilon);
  std::vector<TypeParam> again = {1, 1, 1};
  H12(H12Mode::apply, 0, 2, 3, viewOf(u), up, denseColumns(again.data(), 3, 1));
  EXPECT_EQ(again, c);
}

TYPED_TEST(Nnls, H12ReturnsWithoutChangeWhenThereIsNothingToDo) {
  std::vector<TypeParam> u = {3, 4};
  std::vector<TypeParam> c = {1, 1};
  TypeParam up = -77;
  const auto unchanged = [&](std::vector<TypeParam> expected) {
    EXPECT_EQ(u, expected);
    EXPECT_EQ(c, (std::vector<TypeParam>{1, 1}));
  };
  const MatrixView<TypeParam> C = denseColumns(c.data(), 2, 1);
  H12(H12Mode::buildAndApply, 1, 2, 2, viewOf(u), up, C);
  unchanged({3, 4});
  EXPECT_EQ(up, -77) << "an empty range";
  H12(H12Mode::buildAndApply, 1, 1, 2, viewOf(u), up, C);
  unchanged({3, 4});
  EXPECT_EQ(up, -77) << "the pivot is not before the range";
  up = 2;
  H12(H12Mode::apply, 0, 1, 2, viewOf(u), up, C);
  unchanged({3, 4});  // up times the pivot is not below zero
  up = std::numeric_limits<TypeParam>::quiet_NaN();
  H12(H12Mode::apply, 0, 1, 2, viewOf(u), up, C);
  unchanged({3, 4});
  u = {0, 0};
  up = -77;
  H12(H12Mode::buildAndApply, 0, 1, 2, viewOf(u), up, C);
  unchanged({0, 0});
  EXPECT_EQ(up, -77) << "a zero vector";
}

}  // namespace
}  // namespace vorin::testing
