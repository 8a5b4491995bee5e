// The truncated solve: what it minimises, what it drops, and its edges.
#include "toolbox/solve_svd.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "support/problems.hpp"

namespace {

using vorin::test::area;
using vorin::test::randomProblem;

constexpr int all = 1000;

std::vector<float> solve(int m, int n, const std::vector<float>& A, const std::vector<float>& b,
                         float rthr, int nmax) {
  std::vector<float> x(static_cast<std::size_t>(n), -9.0f);
  vorin::VorinSolveSVD_s(m, n, A.data(), b.data(), x.data(), rthr, nmax);
  return x;
}

TEST(VorinSolveSVD, GivesTheLeastSquaresSolution) {
  // Its residual is orthogonal to every column.
  const auto problem = randomProblem<float>(40, 9, 1);
  const std::vector<float> x = solve(40, 9, problem.K, problem.d, 1e-6f, all);
  std::vector<double> residual(problem.d.begin(), problem.d.end());
  for (std::size_t j = 0; j < 9; ++j) {
    for (std::size_t i = 0; i < 40; ++i) {
      residual[i] -= double(problem.K[i + area(40, int(j))]) * double(x[j]);
    }
  }
  for (std::size_t j = 0; j < 9; ++j) {
    double sum = 0.0;
    for (std::size_t i = 0; i < 40; ++i) {
      sum += double(problem.K[i + area(40, int(j))]) * residual[i];
    }
    EXPECT_NEAR(sum, 0.0, 2e-5);
  }
}

TEST(VorinSolveSVD, TheInputsStayAsTheyAre) {
  const auto problem = randomProblem<float>(12, 5, 2);
  const auto copy = problem;
  solve(12, 5, problem.K, problem.d, 0.1f, 3);
  EXPECT_EQ(problem.K, copy.K);
  EXPECT_EQ(problem.d, copy.d);
}

// diag(8, 4, 2), b = (8, 8, 8): with all directions x = (1, 2, 4).
const std::vector<float> diagonal = {8, 0, 0, 0, 4, 0, 0, 0, 2};
const std::vector<float> eights = {8, 8, 8};

TEST(VorinSolveSVD, NmaxOfZeroDropsAllValues) {
  EXPECT_EQ(solve(3, 3, diagonal, eights, 0.0f, 0), (std::vector<float>{0, 0, 0}));
  EXPECT_EQ(solve(3, 3, diagonal, eights, 0.0f, -4), (std::vector<float>{0, 0, 0}));
}

TEST(VorinSolveSVD, NmaxKeepsTheLargestDirections) {
  EXPECT_EQ(solve(3, 3, diagonal, eights, 0.0f, 1), (std::vector<float>{1, 0, 0}));
  EXPECT_EQ(solve(3, 3, diagonal, eights, 0.0f, 2), (std::vector<float>{1, 2, 0}));
  EXPECT_EQ(solve(3, 3, diagonal, eights, 0.0f, 3), (std::vector<float>{1, 2, 4}));
}

TEST(VorinSolveSVD, RthrOfZeroDropsNoValueByItsRatio) {
  const std::vector<float> graded = {8, 0, 0, 0, 4, 0, 0, 0, 1e-30f};
  const std::vector<float> x = solve(3, 3, graded, eights, 0.0f, all);
  EXPECT_FLOAT_EQ(x[2], 8e30f);
  EXPECT_FLOAT_EQ(solve(3, 3, graded, eights, -1.0f, all)[2], 8e30f);
}

TEST(VorinSolveSVD, RthrAboveOneDropsAllValues) {
  EXPECT_EQ(solve(3, 3, diagonal, eights, std::nextafter(1.0f, 2.0f), all),
            (std::vector<float>{0, 0, 0}));
  EXPECT_EQ(solve(3, 3, diagonal, eights, 1.0f, all), (std::vector<float>{1, 0, 0}));
}

TEST(VorinSolveSVD, AValueEqualToTheCutIsKept) {
  EXPECT_EQ(solve(3, 3, diagonal, eights, 0.5f, all), (std::vector<float>{1, 2, 0}));
  EXPECT_EQ(solve(3, 3, diagonal, eights, std::nextafter(0.5f, 1.0f), all),
            (std::vector<float>{1, 0, 0}));
}

TEST(VorinSolveSVD, EqualColumnsShareTheirCoefficient) {
  // The least norm splits a coefficient of 3 over three equal columns.
  const auto column = randomProblem<float>(20, 1, 3).K;
  std::vector<float> A;
  std::vector<float> b;
  for (int copy = 0; copy < 3; ++copy) {
    A.insert(A.end(), column.begin(), column.end());
  }
  for (const float value : column) {
    b.push_back(3.0f * value);
  }
  for (const float x : solve(20, 3, A, b, 1e-4f, all)) {
    EXPECT_NEAR(x, 1.0f, 1e-5f);
  }
}

TEST(VorinSolveSVD, FewerRowsThanColumnsGiveTheSolutionOfLeastNorm) {
  // 3 x + 4 y = 10: (1.2, 1.6).
  const std::vector<float> x = solve(1, 2, {3, 4}, {10}, 1e-6f, all);
  EXPECT_NEAR(x[0], 1.2f, 1e-6f);
  EXPECT_NEAR(x[1], 1.6f, 1e-6f);
}

TEST(VorinSolveSVD, EmptyAndUndefinedProblems) {
  EXPECT_EQ(solve(0, 2, {}, {}, 0.1f, all), (std::vector<float>{0, 0}));
  EXPECT_EQ(solve(3, 0, {}, {1, 2, 3}, 0.1f, all), std::vector<float>{});
  const float none = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(solve(2, 2, {1, none, 0, 1}, {1, 1}, 0.1f, all)[0]));
  EXPECT_EQ(solve(2, 2, {0, 0, 0, 0}, {1, 1}, 0.0f, all), (std::vector<float>{0, 0}));
}

}  // namespace
