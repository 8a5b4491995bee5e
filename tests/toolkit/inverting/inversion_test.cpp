// One inversion as the programs run it, in this process.
#include "toolkit/inverting/inversion.hpp"

#include <gtest/gtest.h>
#include <vorin.h>

#include <cmath>
#include <filesystem>
#include <thread>
#include <vector>

#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

std::vector<double> evenTimes(double first, double spacing, int count) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) {
    times.push_back(first + spacing * i);
  }
  return times;
}

const Distribution trueDistribution =
    distributionOf({{0.008, 0.15, 30.0}, {0.09, 0.15, 70.0}}, LogGrid{1e-4, 10.0, 200}.times());

/// Inverts in a scratch folder, as the programs do.
Inversion invertQuietly(const Decay& decay, InversionSettings settings) {
  if (settings.grid.empty()) {
    settings.grid = gridFor(decay.time).times();
  }
  const ScratchFolder scratch;
  return invert(decay, settings);
}

InversionSettings atWeight(double weight) {
  InversionSettings settings;
  settings.weight = weight;
  return settings;
}

TEST(PruningAbscissae, AreTheTimesWhenTheyAreAboveZero) {
  EXPECT_EQ(pruningAbscissae({0.5, 1.0, 4.0}), (std::vector<float>{0.5F, 1.0F, 4.0F}));
}

TEST(PruningAbscissae, AreShiftedByTheFirstSpacingWhenTheFirstIsZero) {
  EXPECT_EQ(pruningAbscissae({0.0, 0.5, 4.0}), (std::vector<float>{0.5F, 1.0F, 4.5F}));
}

TEST(PruningAbscissae, StayAboveZeroForASpacingOfNothing) {
  const std::vector<float> abscissae = pruningAbscissae({0.0, 1e-300, 2.0});
  EXPECT_FLOAT_EQ(abscissae[0], 2e-6F);
}

TEST(Inversion, FitIsTheKernelTimesTheDistribution) {
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 1500), 0.5, 1);
  const Inversion inversion = invertQuietly(decay, atWeight(1.0));
  EXPECT_EQ(inversion.status, VORIN_OK);
  EXPECT_EQ(inversion.mode, WeightMode::fixed);
  EXPECT_EQ(inversion.weight, 1.0);
  EXPECT_EQ(inversion.weightSteps, 0);
  EXPECT_EQ(inversion.noiseOrigin, NoiseOrigin::residual);
  const std::vector<double> fit = decayOf(Kernel::t2, decay.time, inversion.distribution.time,
                                          inversion.distribution.amplitude);
  double squares = 0.0;
  for (std::size_t i = 0; i < fit.size(); ++i) {
    // The library sums 100 terms in single precision, of magnitude 100 in all.
    EXPECT_NEAR(inversion.fit[i], fit[i], 100.0 * 100 * 6e-8);
    squares += (decay.amplitude[i] - fit[i]) * (decay.amplitude[i] - fit[i]);
  }
  EXPECT_NEAR(inversion.fitError, std::sqrt(squares / static_cast<double>(fit.size())), 1e-3);
}

TEST(Inversion, DoesNotDependOnTheUnitOfTheData) {
  Decay decay = simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 1500), 0.5, 1);
  for (const InversionSettings& settings : {atWeight(1.0), InversionSettings{}}) {
    const Inversion one = invertQuietly(decay, settings);
    EXPECT_EQ(one.status, VORIN_OK);
    for (double unit : {1e-9, 1e9, 1e60}) {
      Decay other = decay;
      for (double& amplitude : other.amplitude) {
        amplitude *= unit;
      }
      const Inversion inversion = invertQuietly(other, settings);
      EXPECT_EQ(inversion.status, one.status);
      EXPECT_EQ(inversion.weightSteps, one.weightSteps);
      EXPECT_NEAR(inversion.wantedError / unit, one.wantedError, 1e-5);
      EXPECT_NEAR(inversion.reachedError / (one.reachedError * unit), 1.0, 1e-5);
      EXPECT_NEAR(logMean(inversion.distribution) / logMean(one.distribution), 1.0, 1e-5);
      EXPECT_NEAR(totalAmplitude(inversion.distribution) / unit / totalAmplitude(one.distribution),
                  1.0, 1e-5);
    }
  }
}

TEST(Inversion, ALargeWeightIsSolvedToItsEnd) {
  // At the library's own tolerance the iteration would end here before it has settled.
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 1500), 0.5, 1);
  InversionSettings settings = atWeight(100.0);
  const auto tolerance = [&] {
    const LibraryJob job;
    setKeys(settings);
    return queryNumber("TOL");
  };
  const Inversion inversion = invertQuietly(decay, settings);
  EXPECT_EQ(tolerance(), 1e-12F);
  settings.assignments = {"TOL=1e-16"};
  const Inversion settled = invertQuietly(decay, settings);
  EXPECT_EQ(tolerance(), 1e-16F);
  EXPECT_NEAR(inversion.fitError / settled.fitError, 1.0, 1e-4);
}

TEST(Inversion, ASampleAtTimeZeroIsPrunedLikeTheOthers) {
  // Without the shift no logarithmic bin holds a point and the distribution is empty.
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(0.0, 4e-4, 1500), 0.5, 1);
  const Inversion inversion = invertQuietly(decay, atWeight(1.0));
  EXPECT_NEAR(totalAmplitude(inversion.distribution), 100.0, 2.0);
}

TEST(Inversion, EveryPruningServesEveryKernel) {
  for (Kernel kernel : {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion}) {
    const Decay decay =
        simulatedDecay(kernel, trueDistribution, LogGrid{1e-3, 2.0, 120}.times(), 0.5, 1);
    for (const char* pruning : {"LOG", "LIN", "NONE"}) {
      InversionSettings settings = atWeight(0.1);
      settings.kernel = kernel;
      settings.pruning = pruning;
      const Inversion inversion = invertQuietly(decay, settings);
      EXPECT_EQ(inversion.status, VORIN_OK) << pruning;
      EXPECT_NEAR(totalAmplitude(inversion.distribution), 100.0, 3.0)
          << pruning << " " << kernelName(kernel);
    }
  }
}

TEST(Inversion, AssignmentsAreCarriedOutLast) {
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 500), 0.5, 1);
  InversionSettings settings = atWeight(1.0);
  settings.assignments = {"WEIG=3", "PRPO=50"};
  EXPECT_EQ(invertQuietly(decay, settings).weight, 3.0);
  const LibraryJob job;
  setKeys(settings);
  EXPECT_EQ(queryNumber("PRPO"), 50.0F);
}

TEST(Inversion, AFailedSolveIsToldAndStillHasItsFit) {
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 500), 0.5, 1);
  InversionSettings settings = atWeight(1.0);
  settings.assignments = {"MAXI=1"};
  const Inversion inversion = invertQuietly(decay, settings);
  EXPECT_EQ(inversion.status, VORIN_SOLVER_FAILED);
  EXPECT_FALSE(succeeded(inversion));
  EXPECT_EQ(inversion.fit.size(), decay.time.size());
  EXPECT_GT(totalAmplitude(inversion.distribution), 0.0);
}

TEST(Inversion, AJobLeavesNoLogAndNoKeyBehind) {
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 500), 0.5, 1);
  InversionSettings settings;
  settings.grid = gridFor(decay.time).times();
  // With these keys the numerical library would write Vorin.sav, were it not for the job.
  settings.assignments = {"MAXI=93", "REPO=4", "SAVE=2"};
  const float before = queryNumber("MAXI");
  ASSERT_NE(before, 93.0F);
  const ScratchFolder scratch;
  invert(decay, settings);
  requireNoise(decay, settings);
  EXPECT_EQ(queryNumber("MAXI"), before);
  EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
}

TEST(Inversion, ThreadsWithDifferentSettingsGetTheBitsOfOne) {
  const Decay decay =
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 600), 0.5, 1);
  std::vector<InversionSettings> kinds(4);
  kinds[0].weight = 3.0;
  kinds[1].corner = true;
  kinds[2].compression = Compression{};
  kinds[3].noise = 0.7;
  std::vector<Inversion> alone;
  for (InversionSettings& settings : kinds) {
    settings.grid = gridFor(decay.time).times();
    alone.push_back(invert(decay, settings));
  }
  constexpr std::size_t threadCount = 8;
  constexpr std::size_t roundCount = 5;
  std::vector<std::vector<Inversion>> found(threadCount);
  {
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&, thread] {
        for (std::size_t round = 0; round < roundCount; ++round) {
          found[thread].push_back(invert(decay, kinds[(thread + round) % kinds.size()]));
        }
      });
    }
  }
  for (std::size_t thread = 0; thread < threadCount; ++thread) {
    for (std::size_t round = 0; round < roundCount; ++round) {
      const Inversion& expected = alone[(thread + round) % kinds.size()];
      EXPECT_EQ(found[thread][round].distribution.amplitude, expected.distribution.amplitude);
      EXPECT_EQ(found[thread][round].weight, expected.weight);
    }
  }
}

Inversion withStatus(int status, WeightMode mode) {
  Inversion inversion;
  inversion.status = status;
  inversion.mode = mode;
  return inversion;
}

TEST(Inversion, EveryStatusHasItsWords) {
  EXPECT_EQ(statusText(withStatus(VORIN_OK, WeightMode::noise)), "success");
  EXPECT_TRUE(succeeded(withStatus(VORIN_OK, WeightMode::fixed)));
  EXPECT_TRUE(succeeded(withStatus(VORIN_CORNER_MODE, WeightMode::corner)));
  EXPECT_FALSE(succeeded(withStatus(VORIN_CORNER_MODE, WeightMode::noise)));
  for (int status : {VORIN_SOLVER_FAILED, VORIN_SEARCH_EXHAUSTED, VORIN_LOWER_WEIGHT_LIMIT,
                     VORIN_UPPER_WEIGHT_LIMIT}) {
    Inversion inversion = withStatus(status, WeightMode::noise);
    EXPECT_FALSE(succeeded(inversion));
    // What happened, then the option to try.
    EXPECT_NE(statusText(inversion).find("--"), std::string::npos) << status;
    // A solver without passes left says nothing about the noise, whatever the errors are.
    const bool passesUsedUp = status == VORIN_SOLVER_FAILED;
    inversion.reachedError = 2.0;
    inversion.wantedError = 1.0;
    EXPECT_NE(statusText(inversion).find(passesUsedUp ? "MAXI" : "--skip"), std::string::npos)
        << status;
    inversion.wantedError = 3.0;
    EXPECT_NE(statusText(inversion).find(passesUsedUp ? "MAXI" : "smaller"), std::string::npos)
        << status;
  }
  EXPECT_EQ(statusText(withStatus(7, WeightMode::noise)),
            "the library answers the unknown status 7");
}

TEST(Inversion, NoiseThatCannotBeIsRefused) {
  InversionSettings settings;
  settings.noise = 3.0;
  settings.grid = {0.1, 1.0};
  EXPECT_THROW(invertQuietly({{1.0, 2.0, 3.0}, {3.0, 2.0, 1.0}}, settings), UserError);
  settings.noise.reset();  // and too few samples to tell it from
  EXPECT_THROW(invertQuietly({{1.0, 2.0, 3.0}, {3.0, 2.0, 1.0}}, settings), UserError);
}

}  // namespace
}  // namespace vorin::toolkit
