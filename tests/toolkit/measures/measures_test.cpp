// Total, log mean and peaks against closed forms.
#include "toolkit/measures/measures.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"

namespace vorin::toolkit {
namespace {

TEST(Measures, LogMeanOfTwoTimesIsTheirWeightedGeometricMean) {
  const Distribution distribution{{0.001, 0.1}, {1.0, 3.0}};
  EXPECT_DOUBLE_EQ(totalAmplitude(distribution), 4.0);
  EXPECT_NEAR(logMean(distribution), std::pow(0.001, 0.25) * std::pow(0.1, 0.75), 1e-15);
}

TEST(Measures, LogMeanOfALogNormalPeakIsItsCentre) {
  const Distribution distribution =
      distributionOf({{0.02, 0.2, 5.0}}, LogGrid{1e-5, 100.0, 701}.times());
  EXPECT_NEAR(logMean(distribution) / 0.02, 1.0, 1e-12);
  EXPECT_NEAR(totalAmplitude(distribution), 5.0, 1e-12);
}

TEST(Measures, WidthOfALogNormalPeakIsItsStandardDeviation) {
  const Distribution distribution =
      distributionOf({{0.02, 0.2, 5.0}}, LogGrid{1e-5, 100.0, 701}.times());
  ASSERT_EQ(peaks(distribution).size(), 1U);
  EXPECT_NEAR(peaks(distribution)[0].width, 0.2, 1e-12);
}

TEST(Measures, WidthIsThatOfThePartBetweenTheMinima) {
  // 1 at 10^-1 and at 10^1, apart from a minimum of 0 between them: two peaks of no width.
  // With 2 at the minimum 10^0 a half of it goes to either side.
  const std::vector<Peak> apart = peaks({{0.1, 1.0, 10.0}, {1.0, 0.0, 1.0}});
  ASSERT_EQ(apart.size(), 2U);
  EXPECT_EQ(apart[0].width, 0.0);
  const std::vector<Peak> joined = peaks({{0.1, 1.0, 10.0}, {3.0, 2.0, 3.0}});
  ASSERT_EQ(joined.size(), 2U);
  // 3 at -1 and 1 at 0: mean -3/4, variance 3/4 * 1/4.
  EXPECT_DOUBLE_EQ(joined[0].width, std::sqrt(3.0 / 16.0));
  EXPECT_DOUBLE_EQ(joined[1].width, std::sqrt(3.0 / 16.0));
}

TEST(Measures, AnEmptyDistributionHasNoLogMeanAndNoPeak) {
  const Distribution empty{{0.1, 1.0, 10.0}, {0.0, 0.0, 0.0}};
  EXPECT_TRUE(std::isnan(logMean(empty)));
  EXPECT_TRUE(peaks(empty).empty());
}

TEST(Measures, PositionIsTheVertexOfAParabolaInLogT) {
  // Samples of 5 - (x - 2.3)^2 over x = ln T: the vertex is exact wherever the grid lies.
  Distribution distribution;
  for (double x : {1.0, 1.5, 2.0, 2.5, 3.5}) {
    distribution.time.push_back(std::exp(x));
    distribution.amplitude.push_back(5.0 - (x - 2.3) * (x - 2.3));
  }
  const std::vector<Peak> found = peaks(distribution);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_NEAR(std::log(found[0].time), 2.3, 1e-12);
  EXPECT_DOUBLE_EQ(found[0].share, 1.0);
  EXPECT_FALSE(found[0].atGridEnd);
}

TEST(Measures, SharesOfWellSeparatedPeaksAreTheirAmplitudes) {
  const Distribution distribution =
      distributionOf({{0.005, 0.1, 30.0}, {0.2, 0.1, 70.0}}, LogGrid{1e-4, 10.0, 251}.times());
  const std::vector<Peak> found = peaks(distribution);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_NEAR(found[0].share, 0.3, 1e-9);
  EXPECT_NEAR(found[1].share, 0.7, 1e-9);
  EXPECT_NEAR(found[0].time / 0.005, 1.0, 1e-3);
  EXPECT_NEAR(found[1].time / 0.2, 1.0, 1e-3);
}

TEST(Measures, AMinimumBelongsToBothItsPeaksInEqualParts) {
  const Distribution distribution{{1.0, 2.0, 4.0, 8.0, 16.0}, {0.0, 3.0, 2.0, 3.0, 0.0}};
  const std::vector<Peak> found = peaks(distribution);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_DOUBLE_EQ(found[0].share, 0.5);
  EXPECT_DOUBLE_EQ(found[1].share, 0.5);
}

TEST(Measures, APlateauIsOnePeakAtItsMiddle) {
  const Distribution distribution{{1.0, 2.0, 4.0, 8.0}, {1.0, 3.0, 3.0, 1.0}};
  const std::vector<Peak> found = peaks(distribution);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_NEAR(found[0].time, std::sqrt(8.0), 1e-12);
}

TEST(Measures, AShoulderIsNoPeak) {
  EXPECT_EQ(peaks({{1.0, 2.0, 4.0, 8.0, 16.0}, {1.0, 2.0, 2.0, 3.0, 1.0}}).size(), 1U);
}

TEST(Measures, AMaximumAtTheGridsEndIsMarked) {
  const std::vector<Peak> found = peaks({{1.0, 2.0, 4.0, 8.0}, {5.0, 1.0, 2.0, 9.0}});
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(found[0].atGridEnd);
  EXPECT_EQ(found[0].time, 1.0);
  EXPECT_TRUE(found[1].atGridEnd);
  EXPECT_NEAR(found[1].time, 8.0, 1e-12);
}

TEST(Measures, PeaksBelowTheSmallestShareAreLeftOut) {
  const Distribution distribution{{1.0, 2.0, 4.0, 8.0, 16.0}, {0.0, 1.0, 0.0, 999.0, 0.0}};
  EXPECT_EQ(peaks(distribution, 0.001).size(), 2U);
  EXPECT_EQ(peaks(distribution, 0.0011).size(), 1U);
}

}  // namespace
}  // namespace vorin::toolkit
