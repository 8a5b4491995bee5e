// Inversions by Method::automatic: results of a known truth, and data that the kernel can't
// describe.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"

namespace {

using namespace vorin::toolkit;

std::vector<double> train(double spacing, int count) {
  std::vector<double> times;
  for (int i = 1; i <= count; ++i) {
    times.push_back(spacing * i);
  }
  return times;
}

/// A constant, and a line of time T and amplitude a, with normal noise.
Decay lineDecay(const std::vector<double>& times, double constant, double a, double T, double noise,
                unsigned seed = 7) {
  NormalNoise variates(seed);
  Decay decay{times, {}};
  for (double t : times) {
    decay.amplitude.push_back(constant + a * std::exp(-t / T) + noise * variates.next());
  }
  return decay;
}

InversionSettings settingsOf(const Decay& decay, Kernel kernel) {
  InversionSettings settings;
  settings.method = Method::automatic;
  settings.kernel = kernel;
  settings.grid = gridFor(decay.time, kernel).times();
  return settings;
}

Inversion inverted(const Decay& decay, Kernel kernel) {
  return invert(decay, settingsOf(decay, kernel));
}

const std::vector<double> recoveryTimes = LogGrid{0.01, 10.0, 40}.times();

TEST(Choice, FindsALineAndItsNoise) {
  const Decay decay = lineDecay(train(2e-4, 3000), 0.0, 100.0, 0.1, 1.0);
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_TRUE(succeeded(inversion));
  // The log mean of a line is known to noise * T / (amplitude * sqrt(T / (4 spacing))), 0.1 %.
  EXPECT_NEAR(logMean(inversion.distribution), 0.1, 0.001);
  EXPECT_NEAR(inversion.noise, 1.0, 3.0 / std::sqrt(2.0 * 3000.0));
  EXPECT_EQ(inversion.noiseOrigin, NoiseOrigin::residual);
}

TEST(Choice, IsZeroOutsideItsSupport) {
  const Decay decay = lineDecay(train(2e-4, 3000), 0.0, 100.0, 0.1, 1.0);
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_GT(inversion.firstColumn, 0U);
  for (std::size_t k = 0; k < inversion.firstColumn; ++k) {
    EXPECT_EQ(inversion.distribution.amplitude[k], 0.0);
  }
}

TEST(Choice, LeavesOutFirstEchoesOffTheCurve) {
  Decay decay = lineDecay(train(2e-4, 2000), 0.0, 100.0, 0.05, 0.5);
  decay.amplitude[0] += 10.0;
  decay.amplitude[1] -= 10.0;
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_EQ(inversion.spoiled, (std::vector<std::size_t>{0, 1}));
  EXPECT_EQ(inversion.rejected, (std::vector<std::size_t>{0, 1}));
  EXPECT_NEAR(logMean(inversion.distribution), 0.05, 0.0005);
}

TEST(Choice, KeepsEarlyEchoesBehindAGoodFirstOneAndTells) {
  // The first three to either side in turn, as imperfect refocusing leaves them.
  Decay decay = lineDecay(train(2e-4, 2000), 0.0, 100.0, 0.05, 0.5);
  decay.amplitude[0] -= 1.8;
  decay.amplitude[1] += 5.0;
  decay.amplitude[2] -= 1.5;
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_TRUE(inversion.spoiled.empty());
  EXPECT_TRUE(inversion.rejected.empty());
  EXPECT_EQ(inversion.offCurve, std::vector<std::size_t>{1});
  EXPECT_TRUE(succeeded(inversion));
}

TEST(Choice, TellsNegativeData) {
  const Decay decay = lineDecay(train(2e-4, 1000), 0.0, -100.0, 0.05, 1.0);
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_FALSE(succeeded(inversion));
  EXPECT_EQ(inversion.finding.kind, FindingKind::negative);
}

TEST(Choice, TellsThemBeforeACompressionToo) {
  const Decay decay = lineDecay(train(2e-4, 1000), 0.0, -100.0, 0.05, 1.0);
  InversionSettings settings = settingsOf(decay, Kernel::t2);
  settings.compression = Compression{};
  EXPECT_EQ(invert(decay, settings).finding.kind, FindingKind::negative);
}

TEST(Choice, TellsThatThereIsNoSignal) {
  int told = 0;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    const Decay decay = lineDecay(train(2e-4, 500), 0.0, 0.0, 0.05, 1.0, seed);
    told += inverted(decay, Kernel::t2).finding.kind == FindingKind::empty ? 1 : 0;
  }
  EXPECT_EQ(told, 20);
}

TEST(Choice, TellsAnOffsetOfARecoveryThatLooksLikeFastSignal) {
  const Decay decay = lineDecay(recoveryTimes, 105.0, -100.0, 0.4, 0.2);
  const Inversion inversion = inverted(decay, Kernel::t1Saturation);
  EXPECT_FALSE(succeeded(inversion));
  EXPECT_EQ(inversion.finding.kind, FindingKind::offset);
  EXPECT_NEAR(inversion.finding.amount, 0.05, 0.01);
}

TEST(Choice, TellsNothingWhereTheDataAreInOrder) {
  // A line between two times of the grid, far better measured than the grid is fine.
  for (const double noise : {1e-3, 1e-2, 0.1, 1.0}) {
    const Decay decay = lineDecay(train(2e-4, 800), 0.0, 100.0, 0.03, noise);
    EXPECT_EQ(statusText(inverted(decay, Kernel::t2)), "success") << noise;
    const Decay recovery = lineDecay(recoveryTimes, 100.0, -200.0, 0.4, noise);
    EXPECT_EQ(statusText(inverted(recovery, Kernel::t1Inversion)), "success") << noise;
  }
}

TEST(Choice, TellsARecoveryUnderTheKernelOfAnEchoTrain) {
  const Decay decay = lineDecay(recoveryTimes, 100.0, -100.0, 0.4, 1.0);
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_FALSE(succeeded(inversion));
  EXPECT_EQ(inversion.finding.kind, FindingKind::otherKernel);
  EXPECT_EQ(inversion.finding.kernel, Kernel::t1Saturation);
  EXPECT_TRUE(succeeded(inverted(decay, Kernel::t1Saturation)));
}

TEST(Choice, TellsMagnitudesOfAnInversionRecovery) {
  Decay decay = lineDecay(recoveryTimes, 100.0, -200.0, 0.4, 0.5);
  EXPECT_TRUE(succeeded(inverted(decay, Kernel::t1Inversion)));
  std::size_t negative = 0;
  for (double& amplitude : decay.amplitude) {
    negative += amplitude < 0.0 ? 1 : 0;
    amplitude = std::fabs(amplitude);
  }
  const Inversion inversion = inverted(decay, Kernel::t1Inversion);
  EXPECT_FALSE(succeeded(inversion));
  EXPECT_EQ(inversion.finding.kind, FindingKind::magnitude);
  EXPECT_EQ(inversion.finding.samples, negative);
}

// Also where the samples end before the magnetisation has recovered.
TEST(Choice, TellsHowIncompleteAnInversionWas) {
  for (const double last : {10.0, 1.2}) {
    const Decay decay = lineDecay(LogGrid{0.01, last, 60}.times(), 100.0, -190.0, 0.4, 0.1);
    const Inversion inversion = inverted(decay, Kernel::t1Inversion);
    EXPECT_EQ(inversion.finding.kind, FindingKind::efficiency) << last;
    EXPECT_NEAR(inversion.finding.amount, 0.9, 0.01) << last;
  }
}

TEST(Choice, TellsAnIncompleteInversionAndFitsIt) {
  const Decay decay = lineDecay(recoveryTimes, 100.0, -190.0, 0.4, 0.5);
  const Inversion inversion = inverted(decay, Kernel::t1Inversion);
  EXPECT_FALSE(succeeded(inversion));
  EXPECT_EQ(inversion.finding.kind, FindingKind::efficiency);
  EXPECT_NEAR(inversion.finding.amount, 0.9, 0.01);
  InversionSettings settings = settingsOf(decay, Kernel::t1Inversion);
  settings.efficiency = FittedOrGiven{};
  const Inversion fitted = invert(decay, settings);
  EXPECT_TRUE(succeeded(fitted));
  EXPECT_NEAR(fitted.efficiency.value_or(0.0), 0.9, 0.01);
  EXPECT_NEAR(logMean(fitted.distribution), 0.4, 0.01);
  EXPECT_NEAR(totalAmplitude(fitted.distribution), 100.0, 1.0);
}

TEST(Choice, FitsABaseline) {
  const Decay decay = lineDecay(train(2e-4, 1000), 3.0, 100.0, 0.02, 0.5);
  InversionSettings settings = settingsOf(decay, Kernel::t2);
  settings.baseline = FittedOrGiven{};
  const Inversion inversion = invert(decay, settings);
  // The last half of the samples holds the constant alone: 0.5 / sqrt(500), and some for what
  // slow signal of small amplitude could stand for.
  EXPECT_NEAR(inversion.offset.value_or(0.0), 3.0, 0.15);
  EXPECT_NEAR(inversion.fit.back(), 3.0, 0.15);
}

// Diffusion: what hardly falls up to the last b value is no part of the constant's rivals.
TEST(Choice, FitsABaselineBesideDiffusion) {
  std::vector<double> b;
  for (int i = 0; i < 200; ++i) {
    b.push_back(5e7 * i);
  }
  const Decay decay = lineDecay(b, 3.0, 100.0, 1e9, 0.2);
  InversionSettings settings = settingsOf(decay, Kernel::diffusion);
  settings.baseline = FittedOrGiven{};
  const Inversion inversion = invert(decay, settings);
  EXPECT_NEAR(inversion.offset.value_or(0.0), 3.0, 0.15);
  EXPECT_NEAR(logMean(inversion.distribution), 1e-9, 2e-11);
}

// An inversion recovery that ends before it passes zero: its least sample is its last.
TEST(Choice, ARecoveryThatEndsBelowZeroHasLostNoSign) {
  for (const int count : {18, 20, 22}) {
    const std::vector<double> early = LogGrid{0.01, 0.2, count}.times();
    const Decay decay = lineDecay(early, 100.0, -200.0, 0.4, 0.5);
    EXPECT_LT(*std::max_element(decay.amplitude.begin(), decay.amplitude.end()), 0.0);
    EXPECT_NE(inverted(decay, Kernel::t1Inversion).finding.kind, FindingKind::magnitude);
  }
}

TEST(Choice, ACornerIsRightOrTold) {
  int told = 0;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    const Decay decay = lineDecay(recoveryTimes, 100.0, -100.0, 0.4, 1.0, seed);
    InversionSettings settings = settingsOf(decay, Kernel::t1Saturation);
    settings.corner = true;
    const Inversion inversion = invert(decay, settings);
    if (succeeded(inversion)) {
      EXPECT_NEAR(logMean(inversion.distribution), 0.4, 0.04) << seed;
    } else {
      EXPECT_EQ(inversion.finding.kind, FindingKind::cornerLost) << seed;
      ++told;
    }
  }
  EXPECT_GT(told, 0);
}

TEST(Choice, LeavesOutTheLibrarysOutliers) {
  Decay decay = lineDecay(train(1e-3, 600), 0.0, 100.0, 0.1, 1.0);
  const std::vector<std::size_t> spikes{150, 300, 450};
  for (const std::size_t i : spikes) {
    decay.amplitude[i] += 40.0;
  }
  InversionSettings settings = settingsOf(decay, Kernel::t2);
  settings.rejectBeyond = 6.0;
  const Inversion inversion = invert(decay, settings);
  EXPECT_EQ(inversion.rejected, spikes);
  EXPECT_EQ(inversion.mode, WeightMode::automatic);
  // As if they had never been measured.
  settings.rejectBeyond.reset();
  Decay rest;
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    if (std::find(spikes.begin(), spikes.end(), i) == spikes.end()) {
      rest.time.push_back(decay.time[i]);
      rest.amplitude.push_back(decay.amplitude[i]);
    }
  }
  EXPECT_EQ(inversion.distribution.amplitude, invert(rest, settings).distribution.amplitude);
}

TEST(Choice, DropsWhatNoiseMakesBesideTheSignal) {
  // Two lines hold 30 and 70 %: a first or last peak below 1 % is noise. Of normal noise 0.7 % of
  // the ends look significant.
  int spurious = 0;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    NormalNoise variates(seed);
    Decay decay{train(2e-4, 3000), {}};
    for (double t : decay.time) {
      decay.amplitude.push_back(30.0 * std::exp(-t / 0.008) + 70.0 * std::exp(-t / 0.09) +
                                0.2 * variates.next());
    }
    const std::vector<Peak> found = peaks(inverted(decay, Kernel::t2).distribution, 0.0);
    ASSERT_FALSE(found.empty());
    spurious += found.front().share < 0.01 || found.back().share < 0.01 ? 1 : 0;
  }
  EXPECT_LE(spurious, 2);
}

// A digitiser's step of 1 adds the variance 1/12 of a uniform variate.
TEST(Choice, CoarselyRoundedSamplesAreInverted) {
  Decay decay = lineDecay(train(4e-4, 3000), 0.0, 200.0, 0.3, 0.3);
  for (double& amplitude : decay.amplitude) {
    amplitude = std::round(amplitude);
  }
  const Inversion inversion = inverted(decay, Kernel::t2);
  EXPECT_TRUE(succeeded(inversion)) << statusText(inversion);
  EXPECT_NEAR(inversion.noise / std::sqrt(0.3 * 0.3 + 1.0 / 12.0), 1.0,
              3.0 * inversion.noiseSpread);
  EXPECT_NEAR(logMean(inversion.distribution) / 0.3, 1.0, 0.01);
}

TEST(Choice, ClassicIsTheLibrarysSearch) {
  const Decay decay = lineDecay(train(2e-4, 1000), 0.0, 100.0, 0.05, 1.0);
  InversionSettings settings = settingsOf(decay, Kernel::t2);
  settings.method = Method::classic;
  const Inversion inversion = invert(decay, settings);
  EXPECT_EQ(inversion.mode, WeightMode::noise);
  EXPECT_NEAR(inversion.wantedError, 1.05 * inversion.noise, 1e-5 * inversion.noise);
}

}  // namespace
