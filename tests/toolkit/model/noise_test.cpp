// The difference estimate of the noise on computed decays with known noise.
#include "toolkit/model/noise.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"

namespace vorin::toolkit {
namespace {

const Distribution trueDistribution =
    distributionOf({{0.008, 0.15, 30.0}, {0.09, 0.15, 70.0}}, LogGrid{1e-4, 10.0, 200}.times());

std::vector<double> evenTimes(double first, double spacing, int count) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) {
    times.push_back(first + spacing * i);
  }
  return times;
}

/// Relative standard deviation of the root mean square of `count` second differences:
/// neighbours overlap, with correlations 4/6 and 1/6, so that the variance of the sum
/// of squares is 1 + 2 (4^2 + 1) / 6^2 = 1.94 times that of independent values.
double relativeSpread(int count) {
  return std::sqrt(1.94 / (2.0 * count));
}

TEST(Noise, RecoversTheNoiseOfAnEchoTrain) {
  for (double sigma : {0.005, 0.5, 5.0}) {
    for (std::uint64_t seed = 1; seed <= 10; ++seed) {
      const Decay decay =
          simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 1500), sigma, seed);
      const auto noise = differenceNoise(decay);
      ASSERT_TRUE(noise.has_value());
      EXPECT_NEAR(*noise / sigma, 1.0, 4.0 * relativeSpread(1310)) << "seed " << seed;
    }
  }
}

TEST(Noise, RecoversTheNoiseOfALogarithmicRecovery) {
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    const Decay decay = simulatedDecay(Kernel::t1Saturation, trueDistribution,
                                       LogGrid{1e-3, 3.0, 100}.times(), 0.5, seed);
    const auto noise = differenceNoise(decay);
    ASSERT_TRUE(noise.has_value());
    EXPECT_NEAR(*noise / 0.5, 1.0, 4.0 * relativeSpread(50)) << "seed " << seed;
  }
}

TEST(Noise, TheMeanOverSeedsShowsNoBias) {
  double sum = 0.0;
  constexpr int seedCount = 200;
  for (std::uint64_t seed = 1; seed <= seedCount; ++seed) {
    sum += *differenceNoise(
        simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 800), 0.5, seed));
  }
  EXPECT_NEAR(sum / seedCount / 0.5, 1.0, 4.0 * relativeSpread(697) / std::sqrt(seedCount) + 0.002);
}

TEST(Noise, OutliersAndASpoiledStartDoNotCount) {
  Decay decay = simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 1500), 0.5, 3);
  decay.amplitude[0] -= 20.0;
  decay.amplitude[1] += 20.0;
  decay.amplitude[1000] += 200.0;
  EXPECT_NEAR(*differenceNoise(decay) / 0.5, 1.0, 4.0 * relativeSpread(1310));
}

TEST(Noise, DoesNotDependOnTheUnitOrOnASampleAtZero) {
  Decay decay = simulatedDecay(Kernel::t2, trueDistribution, evenTimes(0.0, 4e-4, 1500), 0.5, 3);
  const double noise = *differenceNoise(decay);
  EXPECT_NEAR(noise / 0.5, 1.0, 4.0 * relativeSpread(1310));
  Decay behind = decay;
  behind.time.erase(behind.time.begin());
  behind.amplitude.erase(behind.amplitude.begin());
  EXPECT_EQ(*differenceNoise(behind), noise);
  for (double& amplitude : decay.amplitude) {
    amplitude *= 1024.0;
  }
  EXPECT_DOUBLE_EQ(*differenceNoise(decay), 1024.0 * noise);
}

TEST(Noise, ComputedDataAndAFewSamplesHaveNone) {
  EXPECT_FALSE(differenceNoise(
      simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 1500), 0.0, 1)));
  EXPECT_FALSE(differenceNoise({{1.0, 2.0, 3.0, 4.0}, {3.0, 1.0, 4.0, 1.0}}));
  EXPECT_TRUE(differenceNoise({{1.0, 2.0, 3.0, 4.0, 5.0}, {3.0, 1.0, 4.0, 1.0, 5.0}}));
  EXPECT_FALSE(differenceNoise({{1.0, 2.0}, {3.0, 1.0}}));
}

// A digitiser's steps that are coarser than the noise leave most neighbours equal, whose
// differences in logarithmic time are rounding.
TEST(Noise, CoarselyRoundedSamplesHaveNoise) {
  for (const double noise : {0.0, 0.3}) {
    Decay decay =
        simulatedDecay(Kernel::t2, trueDistribution, evenTimes(4e-4, 4e-4, 3000), noise, 2);
    for (double& amplitude : decay.amplitude) {
      amplitude = std::round(amplitude);
    }
    EXPECT_TRUE(differenceNoise(decay)) << noise;
  }
}

TEST(Noise, AStraightLineInLogTimeLeavesNothing) {
  Decay decay;
  for (int i = 1; i <= 60; ++i) {
    const double x = 0.1 * i + 0.02 * (i % 3);  // uneven
    decay.time.push_back(std::exp(x));
    decay.amplitude.push_back(1.0 + 2.0 * x);
  }
  EXPECT_FALSE(differenceNoise(decay));
}

TEST(Noise, TimesThatAreAllButEqualDoNoHarm) {
  Decay decay;
  double time = 1e29;
  for (int i = 0; i < 40; ++i) {
    decay.time.push_back(time);
    decay.amplitude.push_back(i % 2);
    time = std::nextafter(time, 1e30);
  }
  EXPECT_FALSE(differenceNoise(decay));
}

}  // namespace
}  // namespace vorin::toolkit
