#include "toolkit/measures/residual_checks.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace vorin::toolkit {
namespace {

TEST(ResidualChecks, OfAlternatingSigns) {
  const ResidualChecks checks = checkResidual({2.0, -2.0, 2.0, -2.0}, {});
  EXPECT_EQ(checks.samples, 4U);
  EXPECT_EQ(checks.rootMeanSquare, 2.0);
  EXPECT_EQ(checks.mean, 0.0);
  EXPECT_EQ(checks.correlation, -0.75);  // three products of -4 over four squares of 4
  // Two above and two below: 3 runs are expected, with a variance of 8 (8 - 4) / (16 * 3).
  EXPECT_EQ(checks.runs, 4U);
  EXPECT_NEAR(checks.runsOff, 1.0 / std::sqrt(2.0 / 3.0), 1e-14);
  EXPECT_EQ(checks.largest, 1.0);
}

TEST(ResidualChecks, OfABlockOfEachSign) {
  const ResidualChecks checks = checkResidual({1.0, 1.0, 1.0, -1.0, -1.0, -1.0}, {});
  EXPECT_NEAR(checks.correlation, 3.0 / 6.0, 1e-15);  // 1 + 1 - 1 + 1 + 1
  EXPECT_EQ(checks.runs, 2U);
  // 4 runs are expected, with a variance of 18 (18 - 6) / (36 * 5).
  EXPECT_NEAR(checks.runsOff, -2.0 / std::sqrt(1.2), 1e-14);
}

TEST(ResidualChecks, TheMeanIsInItsOwnDeviations) {
  // Mean 2, root mean square sqrt(5), two samples.
  EXPECT_NEAR(checkResidual({1.0, 3.0}, {}).mean, 2.0 * std::sqrt(2.0 / 5.0), 1e-14);
}

TEST(ResidualChecks, RejectedSamplesDoNotCount) {
  const ResidualChecks checks = checkResidual({100.0, 2.0, -2.0, 50.0, 2.0, -2.0}, {0, 3});
  EXPECT_EQ(checks.samples, 4U);
  EXPECT_EQ(checks.rootMeanSquare, 2.0);
  EXPECT_EQ(checks.runs, 4U);
}

TEST(ResidualChecks, TheUsualLargestHasHalfOfAllNoiseBelowIt) {
  for (const std::size_t count : {1U, 4U, 3000U}) {
    const ResidualChecks checks = checkResidual(std::vector<double>(count, 1.0), {});
    const double inside = std::erf(checks.largestOfNoise / std::sqrt(2.0));
    EXPECT_NEAR(std::pow(inside, static_cast<double>(count)), 0.5, 1e-9) << count;
  }
}

TEST(ResidualChecks, OfNothingIsNotKnown) {
  const ResidualChecks flat = checkResidual({0.0, 0.0, 0.0}, {});
  EXPECT_EQ(flat.rootMeanSquare, 0.0);
  EXPECT_TRUE(std::isnan(flat.mean));
  EXPECT_TRUE(std::isnan(flat.correlation));
  EXPECT_TRUE(std::isnan(flat.largest));
  EXPECT_TRUE(std::isnan(flat.runsOff));
  EXPECT_TRUE(std::isnan(checkResidual({}, {}).rootMeanSquare));
  EXPECT_TRUE(std::isnan(checkResidual({1.0, 1.0}, {}).runsOff));  // one sign only
}

}  // namespace
}  // namespace vorin::toolkit
