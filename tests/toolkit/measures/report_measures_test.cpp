// The measures of a report and their intervals against replicates that are known.
#include "toolkit/measures/report_measures.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace vorin::toolkit {
namespace {

TEST(Intervals, OfReplicatesAroundTheValue) {
  // 101 replicates from 0 to 100: the median is 50, the middle 68 % of them half of 68.269 wide.
  std::vector<double> replicates;
  for (int i = 100; i >= 0; --i) {
    replicates.push_back(i);
  }
  const double half = 50.0 - 15.8655;
  const Interval around = intervalAround(50.0, replicates, 1.0);
  EXPECT_NEAR(around.lower, 50.0 - half, 1e-12);
  EXPECT_NEAR(around.upper, 50.0 + half, 1e-12);
  // The median is 20 above the value: half of that moves the middle and widens the interval.
  const Interval moved = intervalAround(30.0, replicates, 2.0);
  EXPECT_NEAR(moved.lower, 20.0 - 2.0 * std::hypot(half, 10.0), 1e-12);
  EXPECT_NEAR(moved.upper, 20.0 + 2.0 * std::hypot(half, 10.0), 1e-12);
  // What is not a number does not count.
  replicates.push_back(std::nan(""));
  EXPECT_EQ(intervalAround(50.0, replicates, 1.0).lower, around.lower);
  EXPECT_TRUE(std::isnan(intervalAround(50.0, {}, 1.0).lower));
}

/// Two values whose first replicates hold 40 %, 50 % or 60 % of a total of 10.
Band bandOfShares() {
  Band band;
  for (double share : {0.4, 0.5, 0.6}) {
    band.distributions.push_back({10.0 * share, 0.0, 10.0 * (1.0 - share)});
  }
  return band;
}

TEST(ReportMeasures, HaveTheIntervalsOfTheReplicates) {
  const Distribution distribution{{0.01, 0.1, 1.0}, {5.0, 0.0, 5.0}};
  const Band band = bandOfShares();
  const Measures measures = measuresOf(distribution, {{0.1}, {50.0}}, &band);
  // Quantiles between three values: 15.8655 % lies 0.31731 of the way from the first to the
  // second.
  const double spread = 0.1 * (1.0 - 2.0 * 0.158655);
  ASSERT_EQ(measures.parts.size(), 2U);
  EXPECT_NEAR(measures.parts[0].share.interval->lower, 0.5 - spread, 1e-12);
  EXPECT_NEAR(measures.parts[1].share.interval->upper, 0.5 + spread, 1e-12);
  EXPECT_NEAR(measures.parts[0].amount.interval->upper, 5.0 + 10.0 * spread, 1e-12);
  EXPECT_NEAR(measures.total.interval->lower, 10.0, 1e-12);
  // ln of the log mean is ln(0.01) share + 0: as wide as that of the share times ln 100.
  const double reach = spread * std::log(100.0);
  EXPECT_NEAR(std::log(measures.logMean.interval->upper / 0.1), reach, 1e-12);
  ASSERT_EQ(measures.peaks.size(), 2U);
  EXPECT_NEAR(measures.peaks[0].share.interval->lower, 0.5 - spread, 1e-12);
  EXPECT_NEAR(measures.peaks[0].position.interval->lower, 0.01, 1e-15);
  EXPECT_NEAR(measures.peaks[0].centre.interval->upper, 0.01, 1e-15);
}

TEST(ReportMeasures, EndAtWhatAShareCanBe) {
  const Distribution distribution{{0.01, 0.1, 1.0}, {0.1, 0.0, 9.9}};
  Band band;
  band.distributions = {{0.0, 0.0, 10.0}, {0.1, 0.0, 9.9}, {2.0, 0.0, 8.0}};
  const Measures measures = measuresOf(distribution, {{0.1}, {}}, &band);
  EXPECT_EQ(measures.parts[0].share.interval->lower, 0.0);
  EXPECT_EQ(measures.parts[1].share.interval->upper, 1.0);
  EXPECT_TRUE(measures.percentiles.empty());
}

TEST(ReportMeasures, HaveNoIntervalsWithoutABootstrap) {
  const Measures measures = measuresOf({{0.01, 0.1, 1.0}, {5.0, 0.0, 5.0}}, {});
  EXPECT_FALSE(measures.mean.interval);
  EXPECT_TRUE(measures.parts.empty());
  ASSERT_EQ(measures.percentiles.size(), 3U);
  EXPECT_EQ(measures.percentiles[2].percent, 90.0);
  EXPECT_FALSE(measures.percentiles[0].time.interval);
}

}  // namespace
}  // namespace vorin::toolkit
