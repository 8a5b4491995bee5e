#include "toolbox/norms.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/problems.hpp"
#include "toolbox/convert.hpp"
#include "toolbox/linear_map.hpp"

namespace {

TEST(Norms, MeanSquaredColumnNormOfAWorkedCase) {
  // Columns (1, 2) and (3, 4): (5 + 25) / 2.
  const std::vector<float> K = {1.0f, 2.0f, 3.0f, 4.0f};
  EXPECT_EQ(vorin::meanSquaredColumnNorm(2, 2, K.data()), 15.0f);
}

TEST(Norms, MeanSquaredColumnNormKeepsTheOrderOfItsSums) {
  for (const int n : {1, 7, 8, 9, 20}) {
    const auto problem = vorin::test::randomProblem<float>(33, n, 11);
    float total = 0.0f;
    for (int j = 0; j < n; ++j) {
      float column = 0.0f;
      for (int i = 0; i < 33; ++i) {
        const float value = problem.K[static_cast<std::size_t>(i + j * 33)];
        column += value * value;
      }
      total += column;
    }
    EXPECT_EQ(vorin::meanSquaredColumnNorm(33, n, problem.K.data()), total / static_cast<float>(n));
  }
}

TEST(Norms, MeanSquaredColumnNormOfNoColumnsIsNotANumber) {
  EXPECT_TRUE(std::isnan(vorin::meanSquaredColumnNorm(3, 0, nullptr)));
}

TEST(LinearMap, FitOfAWorkedCase) {
  const std::vector<float> K = {1.0f, 2.0f, 3.0f, 4.0f};
  const std::vector<float> f = {10.0f, 100.0f};
  std::vector<float> fit = {-1.0f, -1.0f};
  vorin::formFit(2, 2, K.data(), f.data(), fit.data());
  EXPECT_EQ(fit[0], 310.0f);
  EXPECT_EQ(fit[1], 420.0f);
}

TEST(Convert, TruncatesTowardZeroAndStaysInRange) {
  EXPECT_EQ(vorin::truncateToInt(2.9f), 2);
  EXPECT_EQ(vorin::truncateToInt(-2.9f), -2);
  EXPECT_EQ(vorin::truncateToInt(-0.5), 0);
  EXPECT_EQ(vorin::truncateToInt(2147483520.0f), 2147483520);
  EXPECT_EQ(vorin::truncateToInt(2147483648.0f), 2147483647);
  EXPECT_EQ(vorin::truncateToInt(INFINITY), 2147483647);
  EXPECT_EQ(vorin::truncateToInt(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(vorin::truncateToInt(-INFINITY), -2147483647 - 1);
  EXPECT_EQ(vorin::truncateToInt(NAN), -2147483647 - 1);
}

}  // namespace
