// The four regression exports through their C prototypes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "regress/log_recorder.hpp"
#include "vorin.h"

namespace vorin::testing {
namespace {

using Doubles = std::vector<double>;

struct Outcome {
  Doubles x;
  int32_t status = -77;
};

Outcome plsN(int m, int n, const Doubles& A, const Doubles& b) {
  Outcome o{Doubles(static_cast<std::size_t>(n), -77.0)};
  plsN_dll(A.data(), m, n, b.data(), o.x.data(), &o.status);
  return o;
}
Outcome plsB(int m, int n, const Doubles& A, const Doubles& b, int itmax) {
  Outcome o{Doubles(static_cast<std::size_t>(n), -77.0)};
  plsB_dll(A.data(), m, n, b.data(), o.x.data(), itmax, &o.status);
  return o;
}
Outcome plsReg(int m, int n, const Doubles& X, const Doubles& y, const Doubles& lambda) {
  Outcome o{Doubles(static_cast<std::size_t>(n), -77.0)};
  plsReg_DLL(X.data(), m, n, y.data(), o.x.data(), lambda.data(),
             static_cast<int32_t>(lambda.size()) - 1, &o.status);
  return o;
}
Outcome luReg(int m, int n, const Doubles& X, const Doubles& y, const Doubles& lambda) {
  Outcome o{Doubles(static_cast<std::size_t>(n), -77.0)};
  LUReg_DLL(X.data(), m, n, y.data(), o.x.data(), lambda.data(),
            static_cast<int32_t>(lambda.size()) - 1, &o.status);
  return o;
}

// Columns (1, 1) and (1, 0), data (1, -1); see penalised_fit_test.cpp for the two
// answers, (0, 1) on the data and (0, 1/2) on the normal equations.
const Doubles designX = {1, 1, 1, 0};
const Doubles dataY = {1, -1};

TEST(RegressionExports, PlsNSolvesAndSaysOne) {
  const Outcome o = plsN(2, 2, designX, dataY);
  EXPECT_EQ(o.status, VORIN_PLSN_SOLVED);
  EXPECT_EQ(o.status, 1);
  EXPECT_EQ(o.x, (Doubles{0, 1}));
}

TEST(RegressionExports, PlsBSolvesAndSaysZero) {
  const Outcome o = plsB(2, 2, designX, dataY, 0);
  EXPECT_EQ(o.status, VORIN_PLSB_SOLVED);
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.x, (Doubles{0, 1}));
}

TEST(RegressionExports, PlsRegFitsTheNormalEquationsInDoublePrecision) {
  const Outcome o = plsReg(2, 2, designX, dataY, {0});
  EXPECT_EQ(o.status, VORIN_PLSREG_SOLVED);
  EXPECT_EQ(o.x[0], 0);
  EXPECT_NEAR(o.x[1], 0.5, 1e-15);
  // (9 + 1e-9) x = 9: the float next to x is 6e-8 away.
  const Outcome fine = plsReg(1, 1, {3}, {3}, {1e-9});
  EXPECT_NEAR(fine.x[0], 9.0 / (9.0 + 1e-9), 1e-15);
}

TEST(RegressionExports, LURegHasNoBounds) {
  const Outcome o = luReg(2, 2, designX, dataY, {0});
  EXPECT_EQ(o.status, VORIN_LUREG_DONE);
  EXPECT_EQ(o.x, (Doubles{-1, 2}));
}

// lambda(0) weighs the identity, lambda(1) first differences, lambda(2) curvature.
// X = identity of 3, so A = I + lambda0 I + lambda1 P1 + lambda2 P2 with
// P1 = (1 -1 0; -1 2 -1; 0 -1 1) and P2 = (1 -2 1; -2 4 -2; 1 -2 1).
TEST(RegressionExports, EachWeightGoesToItsOrder) {
  const Doubles identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  const Doubles lambda = {2, 3, 5};
  const Doubles x = {4, 3, 7};
  // A = (11 -13 5; -13 29 -13; 5 -13 11) by rows; y = A x.
  const Doubles y = {11 * 4 - 13 * 3 + 5 * 7, -13 * 4 + 29 * 3 - 13 * 7, 5 * 4 - 13 * 3 + 11 * 7};
  const Outcome bounded = plsReg(3, 3, identity, y, lambda);
  const Outcome free = luReg(3, 3, identity, y, lambda);
  EXPECT_EQ(bounded.status, 0);
  EXPECT_EQ(free.status, 0);
  for (std::size_t j = 0; j < 3; ++j) {
    EXPECT_NEAR(bounded.x[j], x[j], 1e-13);
    EXPECT_NEAR(free.x[j], x[j], 1e-4);
  }
}

TEST(RegressionExports, PlsBWithARowOrColumnCountBelowOneSaysOneAndCopiesNothing) {
  double x = -77;
  for (const auto& [m, n] : {std::pair{0, 1}, {1, 0}, {0, 0}, {-3, 1}, {1, -3}, {-2, -2}}) {
    int32_t status = -77;
    plsB_dll(nullptr, m, n, nullptr, &x, 50, &status);
    EXPECT_EQ(status, VORIN_PLSB_EMPTY) << m << ' ' << n;
    EXPECT_EQ(x, -77);
  }
}

TEST(RegressionExports, PlsNWithARowOrColumnCountBelowOneSaysTwo) {
  double x = -77;
  for (const auto& [m, n] : {std::pair{0, 1}, {1, 0}, {0, 0}, {-3, 1}, {1, -3}, {-2, -2}}) {
    int32_t status = -77;
    plsN_dll(nullptr, m, n, nullptr, &x, &status);
    EXPECT_EQ(status, VORIN_PLSN_EMPTY) << m << ' ' << n;
    EXPECT_EQ(x, -77);
  }
}

TEST(RegressionExports, PlsRegWithoutColumnsSaysOne) {
  const double y[2] = {1, 2};
  const double lambda[1] = {1};
  double x = -77;
  for (const int n : {0, -1}) {
    int32_t status = -77;
    plsReg_DLL(nullptr, 2, n, y, &x, lambda, 0, &status);
    EXPECT_EQ(status, VORIN_PLSREG_EMPTY);
    EXPECT_EQ(x, -77);
  }
}

TEST(RegressionExports, PlsRegWithoutRowsFitsThePenaltiesAlone) {
  const double lambda[2] = {1, 1};
  for (const int m : {0, -1}) {
    Doubles x(3, -77);
    int32_t status = -77;
    plsReg_DLL(nullptr, m, 3, nullptr, x.data(), lambda, 1, &status);
    EXPECT_EQ(status, VORIN_PLSREG_SOLVED);
    EXPECT_EQ(x, (Doubles{0, 0, 0}));
  }
}

TEST(RegressionExports, LURegWithoutColumnsReturnsAtOnce) {
  double x = -77;
  int32_t status = -77;
  LUReg_DLL(nullptr, 2, 0, nullptr, &x, nullptr, 3, &status);
  EXPECT_EQ(status, VORIN_LUREG_DONE);
  EXPECT_EQ(x, -77);
}

TEST(RegressionExports, LURegWithoutRowsFitsThePenaltiesAlone) {
  const double lambda[1] = {2};
  Doubles x(2, -77);
  int32_t status = -77;
  LUReg_DLL(nullptr, 0, 2, nullptr, x.data(), lambda, 0, &status);
  EXPECT_EQ(status, VORIN_LUREG_DONE);
  EXPECT_EQ(x, (Doubles{0, 0}));
}

// Six coefficients, nineteen solves needed (bvls_test.cpp says more of this problem):
// a limit of 3n = 18 stops it, with what was just solved, x0 negative; 0 and 17 mean 120.
TEST(RegressionExports, PlsBTakesALimitFrom3nOnAndReadsLessAs20n) {
  const Doubles A = {95, 90, 86, 82, 78, 88, 78, 69, 60, 53, 73, 53, 39, 28, 21,
                     45, 20, 9,  4,  2,  14, 2,  0,  0,  0,  1,  0,  0,  0,  0};
  const Doubles b = {74, -31, 83, -42, 3};
  const Outcome stopped = plsB(5, 6, A, b, 18);
  EXPECT_EQ(stopped.status, VORIN_PLSB_ITERATION_LIMIT);
  EXPECT_LT(stopped.x[0], 0);
  for (const int itmax : {17, 0, -1}) {
    const Outcome whole = plsB(5, 6, A, b, itmax);
    EXPECT_EQ(whole.status, VORIN_PLSB_SOLVED);
    for (const double value : whole.x) {
      EXPECT_GE(value, 0);
    }
  }
}

TEST(RegressionExports, PlsRegWithKOfMinusOneDoesNotReadLambda) {
  Doubles x(2, -77);
  int32_t status = -77;
  plsReg_DLL(designX.data(), 2, 2, dataY.data(), x.data(), nullptr, -1, &status);
  EXPECT_EQ(status, VORIN_PLSREG_SOLVED);
  EXPECT_EQ(x[0], 0);
  EXPECT_NEAR(x[1], 0.5, 1e-15);
  LUReg_DLL(designX.data(), 2, 2, dataY.data(), x.data(), nullptr, std::numeric_limits<int>::min(),
            &status);
  EXPECT_EQ(x, (Doubles{-1, 2}));
}

TEST(RegressionExports, LURegOnASingularSystemSaysZeroWithUnusableX) {
  const Outcome o = luReg(2, 2, {1, 1, 1, 1}, {1, 2}, {0});
  EXPECT_EQ(o.status, VORIN_LUREG_DONE);
  EXPECT_FALSE(std::isfinite(o.x[0]) && std::isfinite(o.x[1]));
}

// 1e39 becomes an infinity: its column has no finite reflection and is refused, and the
// fits use the other column. The unconstrained fit has nothing to refuse it with.
TEST(RegressionExports, ValuesBeyondTheRangeOfAFloatBecomeInfinities) {
  const Doubles A = {1e39, 0, 0, 1};
  const Doubles b = {1, 2};
  const Outcome plain = plsN(2, 2, A, b);
  EXPECT_EQ(plain.status, VORIN_PLSN_SOLVED);
  EXPECT_EQ(plain.x, (Doubles{0, 2}));
  const Outcome bounded = plsB(2, 2, A, b, 0);
  EXPECT_EQ(bounded.status, VORIN_PLSB_SOLVED);
  EXPECT_EQ(bounded.x, (Doubles{0, 2}));
  EXPECT_FALSE(std::isfinite(luReg(2, 2, A, b, {1}).x[0]));
  const Outcome wide = plsReg(2, 2, A, b, {1});
  EXPECT_EQ(wide.status, VORIN_PLSREG_SOLVED);
  EXPECT_NEAR(wide.x[0] * 1e39, 1, 1e-14) << "double precision has the range";
}

TEST(RegressionExports, DoublesAreRoundedToTheNearestFloat) {
  // 1 + 0.75 ulp rounds up, 1 + 0.25 ulp down, and the fit of one coefficient to one
  // datum by a matrix of 1 hands the float back.
  const double ulp = std::ldexp(1.0, -23);
  EXPECT_EQ(plsB(1, 1, {1}, {1 + 0.75 * ulp}, 0).x[0], 1 + ulp);
  EXPECT_EQ(plsN(1, 1, {1}, {1 + 0.25 * ulp}).x[0], 1);
}

// Columns that depend on each other: (1, 0, -1, 1) and its like. Once the limit is
// reached the host learns it from the status, and an open log from one line.
TEST(RegressionExports, PlsNReachesTheLimitOf3n) {
  loggedLines().clear();
  const Doubles A = {0, 0, -1, 1, 0, 1, 1, 1,  0, -1, -1, -1,
                     0, 1, -1, 0, 0, 0, 0, -1, 1, -1, 1,  -1};
  const Outcome o = plsN(4, 6, A, {-5, 2, -5, -1});
  EXPECT_EQ(o.status, VORIN_PLSN_ITERATION_LIMIT);
  EXPECT_EQ(loggedLines(), std::vector<std::string>{"NNLS_s::E::NNLS quitting on iteration count"});
  for (const double value : o.x) {
    EXPECT_GE(value, 0) << "what the last complete solve gave is never negative";
  }
}

TEST(RegressionExports, NothingElseIsLogged) {
  loggedLines().clear();
  plsN(2, 2, designX, dataY);
  plsB(2, 2, designX, dataY, 6);
  plsReg(2, 2, designX, dataY, {1});
  luReg(2, 2, designX, dataY, {0});
  plsN(0, 0, {}, {});
  EXPECT_TRUE(loggedLines().empty());
}

}  // namespace
}  // namespace vorin::testing
