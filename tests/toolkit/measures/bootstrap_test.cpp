// The bootstrap of an inversion: its order statistics, its seed, and whether its interval
// holds the truth as often as it says.
#include "toolkit/measures/bootstrap.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <iterator>
#include <vector>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/writing/progress.hpp"

namespace vorin::toolkit {
namespace {

const Distribution trueDistribution =
    distributionOf({{0.008, 0.15, 30.0}, {0.09, 0.15, 70.0}}, LogGrid{1e-4, 10.0, 200}.times());

Decay train(std::uint64_t seed) {
  std::vector<double> times;
  for (int i = 1; i <= 500; ++i) {
    times.push_back(8e-4 * i);
  }
  return simulatedDecay(Kernel::t2, trueDistribution, times, 0.5, seed);
}

InversionSettings settingsFor(const Decay& decay) {
  InversionSettings settings;
  LogGrid grid = gridFor(decay.time);
  grid.points = 50;
  settings.grid = grid.times();
  return settings;
}

TEST(Quantile, LiesBetweenNeighboursInProportion) {
  std::vector<double> values{4.0, 1.0, 3.0, 2.0};
  EXPECT_EQ(quantile(values, 0.0), 1.0);
  EXPECT_EQ(quantile(values, 1.0), 4.0);
  EXPECT_EQ(quantile(values, 0.5), 2.5);
  EXPECT_DOUBLE_EQ(quantile(values, 0.25), 1.75);
  std::vector<double> one{7.0};
  EXPECT_EQ(quantile(one, 0.84), 7.0);
  std::vector<double> none;
  EXPECT_TRUE(std::isnan(quantile(none, 0.5)));
}

TEST(Bootstrap, OneSeedGivesOneBandAndAnotherAnother) {
  const Decay decay = train(1);
  const InversionSettings settings = settingsFor(decay);
  const ScratchFolder scratch;
  const Inversion inversion = invert(decay, settings);
  int called = 0;
  const Band band =
      bootstrap(decay, settings, inversion, {30, 5, 1, [&](int done) { called = done; }});
  EXPECT_EQ(called, 30);
  EXPECT_EQ(band.replicates, 30);
  ASSERT_EQ(band.lower.size(), 50U);
  ASSERT_EQ(band.upper.size(), 50U);
  for (std::size_t k = 0; k < band.lower.size(); ++k) {
    EXPECT_GE(band.lower[k], 0.0);
    EXPECT_LE(band.lower[k], inversion.distribution.amplitude[k]);
    EXPECT_GE(band.upper[k], inversion.distribution.amplitude[k]);
  }
  EXPECT_LT(band.logMeanLower, logMean(inversion.distribution));
  EXPECT_GT(band.logMeanUpper, logMean(inversion.distribution));
  const Band again = bootstrap(decay, settings, inversion, {30, 5, 1, {}});
  EXPECT_EQ(again.lower, band.lower);
  EXPECT_EQ(again.logMeanUpper, band.logMeanUpper);
  EXPECT_EQ(bootstrap(decay, settings, inversion, {30, 5, 3, {}}).lower, band.lower);  // threads
  EXPECT_NE(bootstrap(decay, settings, inversion, {30, 6, 1, {}}).lower, band.lower);
}

TEST(Bootstrap, LeavesTheLogOfTheInversionAlone) {
  const Decay decay = train(1);
  InversionSettings settings = settingsFor(decay);
  const ScratchFolder scratch;
  const std::filesystem::path log = scratch.path() / "a log in lower case";
  settings.logFile = log.string();
  const Inversion inversion = invert(decay, settings);
  const std::string before = contentOf(log);
  EXPECT_NE(before.find("Successful inversion"), std::string::npos);
  bootstrap(decay, settings, inversion, {20, 1, 1, {}});
  EXPECT_EQ(contentOf(log), before);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.path()), {}), 1);
}

TEST(Bootstrap, ADecayInAnotherUnitHasTheSameBandInThatUnit) {
  Decay decay = train(1);
  const InversionSettings settings = settingsFor(decay);
  const ScratchFolder scratch;
  const Band one = bootstrap(decay, settings, invert(decay, settings), {20, 1, 1, {}});
  for (double& amplitude : decay.amplitude) {
    amplitude *= 1024.0;
  }
  const Band other = bootstrap(decay, settings, invert(decay, settings), {20, 1, 1, {}});
  EXPECT_NEAR(other.logMeanLower / one.logMeanLower, 1.0, 1e-6);
  for (std::size_t k = 0; k < one.upper.size(); ++k) {
    EXPECT_NEAR(other.upper[k] / 1024.0, one.upper[k], 1e-5);
  }
}

TEST(Bootstrap, OutliersDoNotComeBackInReplicates) {
  Decay decay = train(1);
  InversionSettings settings = settingsFor(decay);
  settings.noise = 0.5;
  const ScratchFolder scratch;
  const Band clean = bootstrap(decay, settings, invert(decay, settings), {40, 1, 1, {}});
  decay.amplitude[200] += 100.0;
  settings.rejectBeyond = 6.0;
  const auto width = [](const Band& of) { return std::log(of.logMeanUpper / of.logMeanLower); };
  for (const Rejection rejection : {Rejection::library, Rejection::robust}) {
    settings.rejection = rejection;
    const Inversion inversion = invert(decay, settings);
    EXPECT_EQ(inversion.rejected, std::vector<std::size_t>{200});
    const Band band = bootstrap(decay, settings, inversion, {40, 1, 1, {}});
    EXPECT_LT(width(band), 2.0 * width(clean));
  }
}

TEST(Bootstrap, TheIntervalOfTheLogMeanHoldsTheTruthAsOftenAsItSays) {
  // 40 trials of probability 0.68 hold 27.2 with a standard deviation of 2.95; three of them
  // either way. Intervals between the percentiles themselves would hold about 3 %, since
  // the penalty has moved the log mean of every inversion, and of its replicates once more.
  constexpr int trialCount = 40;
  const double truth = std::log(logMean(trueDistribution));
  const ScratchFolder scratch;
  int held = 0;
  double sumOfWidths = 0.0;
  double sum = 0.0;
  double sumOfSquares = 0.0;
  for (std::uint64_t seed = 1; seed <= trialCount; ++seed) {
    const Decay decay = train(seed);
    const InversionSettings settings = settingsFor(decay);
    const Inversion inversion = invert(decay, settings);
    const Band band = bootstrap(decay, settings, inversion, {40, seed, 1, {}});
    held += std::log(band.logMeanLower) <= truth && truth <= std::log(band.logMeanUpper) ? 1 : 0;
    sumOfWidths += 0.5 * std::log(band.logMeanUpper / band.logMeanLower);
    const double mean = std::log(logMean(inversion.distribution));
    sum += mean;
    sumOfSquares += mean * mean;
  }
  EXPECT_GE(held, 19);
  EXPECT_LE(held, 36);
  // Half the interval is near the standard deviation of the log mean from noise to noise:
  // without the spread of the weight, which the replicates keep, and with half of the bias.
  const double spread = std::sqrt(sumOfSquares / trialCount - sum * sum / trialCount / trialCount);
  EXPECT_GT(sumOfWidths / trialCount / spread, 0.5);
  EXPECT_LT(sumOfWidths / trialCount / spread, 1.4);
}

TEST(Bootstrap, ABroadPeakHasAnIntervalThatIsToldToBeTooNarrow) {
  const std::vector<double> grid = LogGrid{1e-4, 10.0, 200}.times();
  EXPECT_FALSE(isBroad(distributionOf({{0.03, 0.15, 60.0}, {0.3, 0.15, 40.0}}, grid)));
  EXPECT_TRUE(isBroad(distributionOf({{0.03, 0.3, 100.0}}, grid)));
  EXPECT_TRUE(isBroad(distributionOf({{0.003, 0.1, 50.0}, {0.3, 0.3, 50.0}}, grid)));
  // A broad foot of a tenth of the amount bears little on the log mean.
  EXPECT_FALSE(isBroad(distributionOf({{0.002, 0.3, 8.0}, {0.3, 0.1, 92.0}}, grid)));
  EXPECT_FALSE(isBroad({grid, std::vector<double>(grid.size(), 0.0)}));
}

TEST(Progress, IsABarOfTwentyMarks) {
  EXPECT_EQ(progressText("bootstrap", 0), "bootstrap [....................]   0 %");
  EXPECT_EQ(progressText("bootstrap", 52), "bootstrap [##########..........]  52 %");
  EXPECT_EQ(progressText("bootstrap", 100), "bootstrap [####################] 100 %");
}

}  // namespace
}  // namespace vorin::toolkit
