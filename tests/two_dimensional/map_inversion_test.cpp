// Whole inversions of simulated experiments: truth, noise, aims, bad input, the bootstrap.
#include "toolkit/two_dimensional/map_inversion.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "toolkit/two_dimensional/map_bootstrap.hpp"
#include "toolkit/two_dimensional/map_measures.hpp"
#include "toolkit/two_dimensional/map_preparation.hpp"
#include "toolkit/user_error.hpp"
#include "two_dimensional/experiments.hpp"

namespace vorin::toolkit::test {
namespace {

/// Worst relative error of amplitude and of log means over the peaks of the truth.
struct Worst {
  double amplitude = 0.0;
  double logMean = 0.0;
};

void compare(const Experiment& e, const MapInversion& inversion, Worst& worst) {
  const MapView map{inversion.grid1, inversion.grid2, inversion.distribution};
  const std::vector<MapPeak> found = mapPeaks(map);
  const double total = totalAmplitude(map);
  for (const SimulatedMapPeak& peak : e.peaks) {
    double nearest = HUGE_VAL;
    Worst here;
    for (const MapPeak& candidate : found) {
      const double away = std::hypot(std::log(candidate.position1 / peak.position1),
                                     std::log(candidate.position2 / peak.position2));
      if (away < nearest) {
        nearest = away;
        here.amplitude = std::fabs(candidate.share * total / peak.amplitude - 1.0);
        here.logMean = std::max(std::fabs(candidate.logMean1 / peak.position1 - 1.0),
                                std::fabs(candidate.logMean2 / peak.position2 - 1.0));
      }
    }
    worst.amplitude = std::max(worst.amplitude, here.amplitude);
    worst.logMean = std::max(worst.logMean, here.logMean);
  }
}

TEST(InvertMap, KeepsThePeaksOfSimulatedExperiments) {
  struct Row {
    Kernel kernel;
    double amplitude;
    double logMean;
  };
  for (const Row& row : {Row{Kernel::t1Inversion, 0.01, 0.02}, Row{Kernel::t2, 0.03, 0.03}}) {
    Worst worst;
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
      const Experiment e = experiment(row.kernel, 64, 100.0, seed);
      const MapInversion inversion = invertMap(e.data, e.settings);
      ASSERT_TRUE(succeeded(inversion)) << mapStatusText(inversion.status);
      EXPECT_NEAR(inversion.noise, e.noise, 0.015 * e.noise);  // 64000 samples: 0.3 %
      compare(e, inversion, worst);
    }
    EXPECT_LT(worst.amplitude, row.amplitude) << kernelName(row.kernel);
    EXPECT_LT(worst.logMean, row.logMean) << kernelName(row.kernel);
    RecordProperty(std::string(kernelName(row.kernel)),
                   std::to_string(worst.amplitude) + " " + std::to_string(worst.logMean));
  }
}

TEST(InvertMap, ReachesItsAimFromPoorToGoodData) {
  for (const Kernel kernel : {Kernel::t1Inversion, Kernel::t2, Kernel::diffusion}) {
    for (const double ratio : {30.0, 300.0, 3000.0}) {
      const Experiment e = experiment(kernel, 50, ratio, 11);
      const MapInversion inversion = invertMap(e.data, e.settings);
      EXPECT_EQ(inversion.status, MapStatus::success);
      EXPECT_NEAR(inversion.error, inversion.wantedError, 0.01 * inversion.wantedError);
      EXPECT_NEAR(inversion.noise, e.noise, 0.015 * e.noise);
      EXPECT_LT(inversion.closestError, inversion.wantedError);
    }
  }
}

TEST(InvertMap, WeightIsInTheUnitOfTheData) {
  // D and sigma times 10: the map times 10 at the same w, since both terms grow by 100.
  Experiment e = experiment(Kernel::t1Inversion, 20, 100.0, 2);
  e.settings.mode = MapWeightMode::fixed;
  e.settings.weight = 0.3;
  const MapInversion one = invertMap(e.data, e.settings);
  for (double& sample : e.data.samples) {
    sample *= 10.0;
  }
  const MapInversion ten = invertMap(e.data, e.settings);
  ASSERT_TRUE(succeeded(one) && succeeded(ten));
  EXPECT_EQ(one.weight, 0.3);
  for (std::size_t cell = 0; cell < one.distribution.size(); ++cell) {
    EXPECT_NEAR(ten.distribution[cell], 10.0 * one.distribution[cell], 1e-6);
  }
}

TEST(InvertMap, CornerAndGivenNoise) {
  Experiment e = experiment(Kernel::t1Inversion, 30, 100.0, 2);
  e.settings.mode = MapWeightMode::corner;
  const MapInversion corner = invertMap(e.data, e.settings);
  EXPECT_TRUE(succeeded(corner));
  Worst worst;
  compare(e, corner, worst);
  EXPECT_LT(worst.amplitude, 0.1);
  e.settings.mode = MapWeightMode::noise;
  const MapInversion estimated = invertMap(e.data, e.settings);
  e.settings.noise = 4.0 * e.noise;
  const MapInversion given = invertMap(e.data, e.settings);
  EXPECT_EQ(given.noiseOrigin, MapNoiseOrigin::given);
  EXPECT_GT(given.weight, estimated.weight);
}

TEST(InvertMap, MatricesAreKernelsToo) {
  Experiment e = experiment(Kernel::t1Inversion, 20, 100.0, 2);
  const MapInversion byName = invertMap(e.data, e.settings);
  e.settings.matrix1 = std::make_shared<const std::vector<double>>(
      mapKernel(Kernel::t1Inversion, e.data.times1, e.settings.grid1));
  e.settings.kernel1 = Kernel::matrix;
  const MapInversion byMatrix = invertMap(e.data, e.settings);
  EXPECT_EQ(byName.distribution, byMatrix.distribution);
}

TEST(InvertMap, TellsWhatIsEmptyOrCancelled) {
  Experiment e = experiment(Kernel::t2, 20, 100.0, 2);
  for (double& sample : e.data.samples) {
    sample = -sample;
  }
  EXPECT_EQ(invertMap(e.data, e.settings).status, MapStatus::empty);
  e.settings.progress = [](double) { return false; };
  EXPECT_EQ(invertMap(e.data, e.settings).status, MapStatus::cancelled);
}

// The first weight of many is as far as it gets.
TEST(InvertMap, DoesNoMoreWorkWhenItIsCancelled) {
  Experiment e = experiment(Kernel::t2, 20, 100.0, 2);
  const int all = invertMap(e.data, e.settings).steps;
  int told = 0;
  e.settings.progress = [&told](double) { return ++told < 3; };
  const MapInversion cancelled = invertMap(e.data, e.settings);
  EXPECT_EQ(cancelled.status, MapStatus::cancelled);
  EXPECT_EQ(told, 3);
  EXPECT_GT(all, 0);
  EXPECT_LE(4 * cancelled.steps, 3 * all);
}

std::string complaint(const Experiment& e) {
  try {
    invertMap(e.data, e.settings);
  } catch (const UserError& error) {
    return error.what();
  }
  return "";
}

TEST(InvertMap, BadInputHasItsSentence) {
  const Experiment good = experiment(Kernel::t2, 20, 100.0, 2);
  const auto holds = [](const std::string& text, std::string_view part) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
  };
  Experiment e = good;
  e.data.samples.pop_back();
  holds(complaint(e), "need 32 x 2000");
  e = good;
  e.data.samples[2001] = std::numeric_limits<double>::quiet_NaN();
  holds(complaint(e), "row 2, column 2");
  e = good;
  e.data.samples.assign(e.data.samples.size(), 0.0);
  holds(complaint(e), "every sample is 0");
  e = good;
  std::swap(e.data.times1[3], e.data.times1[4]);
  holds(complaint(e), "does not rise");
  e = good;
  e.data.times1 = {0.1};
  holds(complaint(e), "needs 2 at least");
  e = good;
  e.settings.grid2[0] = 0.0;
  holds(complaint(e), "must be above 0");
  e = good;
  e.settings.noise = -1.0;
  holds(complaint(e), "noise");
  e = good;
  e.settings.quadrature = true;
  holds(complaint(e), "imaginary");
}

TEST(InvertMap, PhaseOfAnInversionRecoveryEndsPositive) {
  Experiment e = experiment(Kernel::t1Inversion, 20, 1000.0, 2);
  const std::vector<double> real = e.data.samples;
  std::vector<double> imaginary(real.size());
  for (std::size_t i = 0; i < real.size(); ++i) {
    imaginary[i] = real[i] * std::sin(2.5);
    e.data.samples[i] = real[i] * std::cos(2.5);
  }
  EXPECT_NEAR(turnMapToReal(e.data, imaginary, Kernel::t1Inversion, Kernel::t2), 2.5, 1e-6);
  for (std::size_t i = 0; i < real.size(); i += 997) {
    EXPECT_NEAR(e.data.samples[i], real[i], 1e-4);
  }
}

TEST(BootstrapMap, SpreadsByTheNoise) {
  const Experiment e = experiment(Kernel::t1Inversion, 30, 100.0, 4);
  const MapInversion inversion = invertMap(e.data, e.settings);
  MapBootstrapSettings options;
  options.replicates = 40;
  options.regions = {{0.1, 3.0, 0.1, 1.0}};
  const MapBootstrap first = bootstrapMap(e.data, e.settings, inversion, options);
  EXPECT_EQ(first.replicates, 40);
  ASSERT_GE(first.peaks.size(), 2U);
  ASSERT_EQ(first.regions.size(), 1U);
  const MapInterval share = first.regions[0].share;
  // The region holds the peak of 60 %; noise of 1 % a sample tells it to better than 2 %.
  EXPECT_GT(share.upper, share.lower);
  EXPECT_NEAR(0.5 * (share.lower + share.upper), 0.6, 0.02);
  EXPECT_LT(share.upper - share.lower, 0.02);
  const MapBootstrap again = bootstrapMap(e.data, e.settings, inversion, options);
  EXPECT_EQ(again.regions[0].share.lower, share.lower);
}

}  // namespace
}  // namespace vorin::toolkit::test
