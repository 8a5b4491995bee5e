// Amounts between cutoffs, percentiles, the arithmetic mean and the calibration against closed
// forms.
#include "toolkit/measures/cumulative.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>

#include "toolkit/measures/calibration.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

/// Decades from 0.001 to 10 with bins from 10^(k - 1/2) to 10^(k + 1/2).
const Distribution decades{{0.001, 0.01, 0.1, 1.0, 10.0}, {1.0, 0.0, 4.0, 2.0, 3.0}};

/// Hundredths of a decade, three decades on either side of 0.02.
std::vector<double> symmetricGrid() {
  return LogGrid{2e-5, 20.0, 601}.times();
}

TEST(BinEdges, LieHalfWayInTheLogarithm) {
  const std::vector<double> edges = logBinEdges({1.0, 100.0, 1000.0});
  ASSERT_EQ(edges.size(), 4U);
  EXPECT_NEAR(std::exp(edges[0]), 0.1, 1e-15);
  EXPECT_NEAR(std::exp(edges[1]), 10.0, 1e-13);
  EXPECT_NEAR(std::exp(edges[2]), std::pow(10.0, 2.5), 1e-11);
  EXPECT_NEAR(std::exp(edges[3]), std::pow(10.0, 3.5), 1e-10);
  EXPECT_EQ(logBinEdges({2.0}), (std::vector<double>{std::log(2.0), std::log(2.0)}));
}

TEST(Cutoffs, DivideAtBinEdgesWholeValues) {
  const std::vector<Part> parts = partsBetween(decades, {std::pow(10.0, -1.5), std::sqrt(10.0)});
  ASSERT_EQ(parts.size(), 3U);
  EXPECT_NEAR(parts[0].amount, 1.0, 1e-12);
  EXPECT_NEAR(parts[1].amount, 6.0, 1e-12);
  EXPECT_NEAR(parts[2].amount, 3.0, 1e-12);
  EXPECT_NEAR(parts[1].share, 0.6, 1e-13);
  EXPECT_EQ(parts[0].from, 0.0);
  EXPECT_EQ(parts[1].to, std::sqrt(10.0));
  EXPECT_TRUE(std::isinf(parts[2].to));
}

TEST(Cutoffs, DivideABinInProportionToTheLogarithm) {
  // A quarter of the way through the bin of 0.1 from 10^-1.5 to 10^-0.5, and in its middle.
  const std::vector<Part> quarter = partsBetween(decades, {std::pow(10.0, -1.25)});
  EXPECT_NEAR(quarter[0].amount, 1.0 + 0.25 * 4.0, 1e-12);
  EXPECT_NEAR(partsBetween(decades, {0.1})[0].amount, 1.0 + 0.5 * 4.0, 1e-12);
  // Two cutoffs within one bin.
  const std::vector<Part> both =
      partsBetween(decades, {std::pow(10.0, -1.25), std::pow(10.0, -1.0)});
  EXPECT_NEAR(both[1].amount, 1.0, 1e-12);
}

TEST(Cutoffs, PartsAddUpWhereverTheyAre) {
  const std::vector<Part> parts = partsBetween(decades, {1e-9, 3e-4, 0.02, 7.0, 1e6});
  const double sum = std::accumulate(parts.begin(), parts.end(), 0.0,
                                     [](double a, const Part& part) { return a + part.amount; });
  EXPECT_NEAR(sum, 10.0, 1e-12);
  EXPECT_EQ(parts.front().amount, 0.0);
  EXPECT_EQ(parts.back().amount, 0.0);
  EXPECT_NEAR(parts[1].amount, 0.0, 1e-15);  // 3e-4 is below the first bin
}

TEST(Cutoffs, OfALogNormalPeakFollowTheNormalIntegral) {
  // The share below a cutoff one standard deviation above the centre is (1 + erf(1/sqrt 2)) / 2.
  // A line between the edges of a bin, 1/20 of the deviation wide, misses the normal integral by
  // (1/20)^2 / 8 times the slope of the density there at most: 7.6e-5.
  const Distribution peak = distributionOf({{0.02, 0.2, 5.0}}, symmetricGrid());
  const double above = 0.02 * std::pow(10.0, 0.2);
  EXPECT_NEAR(partsBetween(peak, {above})[0].share,
              0.5 * (1.0 + std::erf(1.0 / std::numbers::sqrt2)), 7.6e-5);
  EXPECT_NEAR(partsBetween(peak, {0.02})[0].amount, 2.5, 1e-9);
}

TEST(Cutoffs, AnEmptyDistributionHasNoShares) {
  const std::vector<Part> parts = partsBetween({{1.0, 10.0}, {0.0, 0.0}}, {2.0});
  EXPECT_EQ(parts[0].amount, 0.0);
  EXPECT_TRUE(std::isnan(parts[0].share));
}

TEST(Cutoffs, OneValueLiesOnOneSide) {
  const Distribution one{{2.0}, {3.0}};
  EXPECT_EQ(partsBetween(one, {1.9})[1].amount, 3.0);
  EXPECT_EQ(partsBetween(one, {2.1})[0].amount, 3.0);
  EXPECT_EQ(partsBetween(one, {2.0})[0].amount, 1.5);
  EXPECT_DOUBLE_EQ(percentile(one, 40.0), 2.0);
}

TEST(Percentiles, InvertTheCumulativeCurve) {
  // 30 % of 10 is 1 and half of the 4 of the bin around 0.1: its middle.
  EXPECT_NEAR(percentile(decades, 30.0), 0.1, 1e-14);
  EXPECT_NEAR(percentile(decades, 20.0), std::pow(10.0, -1.25), 1e-14);
  EXPECT_NEAR(percentile(decades, 100.0), std::pow(10.0, 1.5), 1e-12);
  EXPECT_NEAR(percentile(decades, 0.0), std::pow(10.0, -3.5), 1e-15);
  // 10 % is reached at the upper edge of the first bin, before the empty one.
  EXPECT_NEAR(percentile(decades, 10.0), std::pow(10.0, -2.5), 1e-14);
  for (double percent : {3.0, 37.5, 50.0, 90.0, 99.0}) {
    EXPECT_NEAR(partsBetween(decades, {percentile(decades, percent)})[0].share, 0.01 * percent,
                1e-12);
  }
}

TEST(Percentiles, OfALogNormalPeak) {
  // 84.13447 % lie below one standard deviation above the centre.
  const Distribution peak = distributionOf({{0.02, 0.2, 5.0}}, symmetricGrid());
  EXPECT_NEAR(percentile(peak, 50.0) / 0.02, 1.0, 1e-9);
  EXPECT_NEAR(percentile(peak, 84.134474607) / (0.02 * std::pow(10.0, 0.2)), 1.0, 2e-4);
}

TEST(Percentiles, AnEmptyDistributionHasNone) {
  EXPECT_TRUE(std::isnan(percentile({{1.0, 10.0}, {0.0, 0.0}}, 50.0)));
}

TEST(Cumulative, IsTheRunningSum) {
  EXPECT_EQ(cumulative(decades), (std::vector<double>{1.0, 1.0, 5.0, 7.0, 10.0}));
}

TEST(Means, OfTwoTimes) {
  EXPECT_DOUBLE_EQ(arithmeticMean({{0.001, 0.1}, {1.0, 3.0}}), 0.301 / 4.0);
  EXPECT_TRUE(std::isnan(arithmeticMean({{0.1, 1.0}, {0.0, 0.0}})));
}

TEST(Means, ArithmeticOfALogNormalPeak) {
  // exp(s^2 / 2) times the centre, where s is the standard deviation of ln T.
  const Distribution peak = distributionOf({{0.02, 0.2, 5.0}}, LogGrid{1e-5, 100.0, 701}.times());
  const double s = 0.2 * std::numbers::ln10;
  EXPECT_NEAR(arithmeticMean(peak) / 0.02, std::exp(0.5 * s * s), 1e-9);
}

TEST(Peaks, CentreAndAmountAreThoseOfTheirPart) {
  // 3 at 0.1 and half of the 2 at 1 on one side; 5 at 10 and the other half on the other.
  const std::vector<Peak> found = peaks({{0.1, 1.0, 10.0}, {3.0, 2.0, 5.0}});
  ASSERT_EQ(found.size(), 2U);
  EXPECT_DOUBLE_EQ(found[0].amount, 4.0);
  EXPECT_DOUBLE_EQ(found[1].amount, 6.0);
  EXPECT_NEAR(found[0].centre, std::pow(10.0, -0.75), 1e-15);
  EXPECT_NEAR(found[1].centre, std::pow(10.0, 5.0 / 6.0), 1e-14);
  EXPECT_EQ(found[0].last, 1U);
  EXPECT_EQ(found[1].first, 1U);
}

TEST(Peaks, AnotherDistributionIsMeasuredWithinThePart) {
  const std::vector<double> grid{0.01, 0.1, 1.0, 10.0, 100.0};
  const std::vector<Peak> found = peaks({grid, {1.0, 4.0, 0.0, 2.0, 1.0}});
  ASSERT_EQ(found.size(), 2U);
  const Peak same = peakWithin({grid, {1.0, 4.0, 0.0, 2.0, 1.0}}, found[1]);
  EXPECT_EQ(same.time, found[1].time);
  EXPECT_EQ(same.width, found[1].width);
  EXPECT_EQ(same.share, found[1].share);
  const Peak moved = peakWithin({grid, {0.0, 0.0, 2.0, 0.0, 3.0}}, found[1]);
  EXPECT_DOUBLE_EQ(moved.amount, 4.0);  // half of the value at the minimum
  EXPECT_DOUBLE_EQ(moved.share, 0.8);
  EXPECT_DOUBLE_EQ(moved.time, 100.0);
  EXPECT_NEAR(moved.centre, std::pow(10.0, 1.5), 1e-12);
  const Peak none = peakWithin({grid, {5.0, 0.0, 0.0, 0.0, 0.0}}, found[1]);
  EXPECT_EQ(none.amount, 0.0);
  EXPECT_TRUE(std::isnan(none.time) && std::isnan(none.centre));
}

TEST(CutoffTexts, TakeUnitsInAnyOrder) {
  EXPECT_EQ(parseCutoffs("33ms,3ms", "--cutoff", Quantity::time),
            (std::vector<double>{0.003, 0.033}));
  EXPECT_EQ(parseCutoffs("0.033", "--cutoff", Quantity::time), (std::vector<double>{0.033}));
  EXPECT_EQ(parseCutoffs("0.5 um2/ms", "--cutoff", Quantity::diffusion),
            (std::vector<double>{5e-10}));
  EXPECT_EQ(parsePercentiles("90, 2.5", "--percentiles"), (std::vector<double>{2.5, 90.0}));
}

TEST(CutoffTexts, RefuseWhatIsNone) {
  for (const char* text : {"", "33m", "3ms,", ",3ms", "0", "-1", "inf", "nan", "3ms,0.003",
                           "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21"}) {
    EXPECT_THROW(parseCutoffs(text, "--cutoff", Quantity::time), UserError) << text;
  }
  for (const char* text : {"", "0", "100", "50%", "ten", "10,10"}) {
    EXPECT_THROW(parsePercentiles(text, "--percentiles"), UserError) << text;
  }
}

TEST(Calibration, IsAnAmountForAnAmplitude) {
  const Calibration porosity = parseCalibration("100pu=1250", "--calibrate");
  EXPECT_DOUBLE_EQ(porosity.factor, 0.08);
  EXPECT_EQ(porosity.unit, "pu");
  EXPECT_EQ(parseCalibration("1e2 % = 2e3", "--calibrate").unit, "%");
  EXPECT_DOUBLE_EQ(parseCalibration("1e2 % = 2e3", "--calibrate").factor, 0.05);
  EXPECT_EQ(parseCalibration("5=2", "--calibrate").unit, "");
  for (const char* text : {"", "pu", "100pu", "100pu=", "=5", "pu=5", "100pu=0", "-1pu=3", "1pu=-3",
                           "1pu=inf", "1e300pu=1e-300", "1\x1b[1m=3", "1abcdefghijklmnopqrstu=1"}) {
    EXPECT_THROW(parseCalibration(text, "--calibrate"), UserError) << text;
  }
}

TEST(Calibration, ConvertsTheDataAndWhatIsGivenInTheirUnit) {
  Decay decay{{1.0, 2.0}, {10.0, 5.0}, 0.5};
  InversionSettings settings;
  settings.noise = 2.0;
  settings.baseline = FittedOrGiven{1.0};
  settings.weight = 3.0;
  const Calibration half{0.5, "pu"};
  calibrate(half, decay);
  calibrate(half, settings);
  EXPECT_EQ(decay.amplitude, (std::vector<double>{5.0, 2.5}));
  EXPECT_EQ(*decay.quadratureNoise, 0.25);
  EXPECT_EQ(*settings.noise, 1.0);
  EXPECT_EQ(*settings.baseline->value, 0.5);
  EXPECT_EQ(*settings.weight, 3.0);
}

}  // namespace
}  // namespace vorin::toolkit
