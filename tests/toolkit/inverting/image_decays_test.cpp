// Decays as images have them: echoes behind incomplete refocusing, and magnitudes.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "toolkit/inverting/flip_angle.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/plan.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

const std::vector<LogNormalPeak> tissue{{0.02, 0.08, 20.0}, {0.08, 0.08, 80.0}};

Distribution truth() {
  return distributionOf(tissue, LogGrid{0.005, 1.0, 200}.times());
}

std::vector<double> spinEchoes() {
  return evenTimes(0.01, 56);
}

InversionSettings imageSettings() {
  InversionSettings settings;
  settings.kernel = Kernel::t2Epg;
  settings.grid = LogGrid{0.008, 2.0, 60}.times();
  settings.method = Method::classic;
  return settings;
}

Decay tissueDecay(double flip, double noise, std::uint64_t seed) {
  return simulatedDecay(Kernel::t2Epg, truth(), spinEchoes(), noise, seed, {flip, 1.0, {}});
}

/// The share below 40 ms, which is that of the fast peak.
double fastShare(const Inversion& inversion) {
  double fast = 0.0;
  for (std::size_t k = 0; k < inversion.distribution.time.size(); ++k) {
    fast += inversion.distribution.time[k] < 0.04 ? inversion.distribution.amplitude[k] : 0.0;
  }
  return fast / totalAmplitude(inversion.distribution);
}

TEST(ImageDecays, TheAngleBelongsToTheKernel) {
  for (const double flip : {120.0, 150.0}) {
    const Decay decay = tissueDecay(flip, 0.2, 4);
    InversionSettings settings = imageSettings();
    settings.noise = 0.2;
    settings.train.flip = flip;
    const Inversion right = invert(decay, settings);
    EXPECT_TRUE(succeeded(right)) << statusText(right);
    EXPECT_EQ(right.flip, flip);
    EXPECT_NEAR(logMean(right.distribution) / logMean(truth()), 1.0, 0.03);
    EXPECT_NEAR(totalAmplitude(right.distribution), 100.0, 1.5);
    EXPECT_NEAR(fastShare(right), 0.2, 0.05);
    // Complete refocusing describes the stimulated echoes as slow signal, and the total is short
    // of the part that is in no first echo.
    settings.train.flip = 180.0;
    const Inversion wrong = invert(decay, settings);
    EXPECT_LT(totalAmplitude(wrong.distribution), 97.0);
    EXPECT_GT(wrong.fitError, 2.0 * right.fitError);
  }
}

TEST(ImageDecays, CompletePulsesGiveTheInversionOfT2) {
  const Decay decay = tissueDecay(180.0, 0.2, 9);
  InversionSettings settings = imageSettings();
  settings.weight = 0.01;
  const Inversion train = invert(decay, settings);
  settings.kernel = Kernel::t2;
  const Inversion exponential = invert(decay, settings);
  EXPECT_FALSE(exponential.flip.has_value());
  for (std::size_t k = 0; k < settings.grid.size(); ++k) {
    // Both kernels are the same but for roundings of single precision, 6e-8 of the data, which the
    // weight lets grow to about that over it.
    EXPECT_NEAR(train.distribution.amplitude[k], exponential.distribution.amplitude[k], 1e-3);
  }
}

TEST(ImageDecays, TheAngleIsFoundFromTheDecay) {
  const Decay decay = tissueDecay(140.0, 0.2, 2);
  InversionSettings settings = imageSettings();
  settings.noise = 0.2;
  settings.estimatesFlip = true;
  const Inversion estimated = invert(decay, settings);
  ASSERT_TRUE(estimated.flip.has_value());
  EXPECT_NEAR(*estimated.flip, 140.0, 4.0);
  EXPECT_NEAR(fastShare(estimated), 0.2, 0.05);
  // It is the inversion at that angle, to the bit, with a shared table, and on a plan.
  InversionSettings given = settings;
  given.estimatesFlip = false;
  given.train.flip = *estimated.flip;
  EXPECT_EQ(invert(decay, given).distribution.amplitude, estimated.distribution.amplitude);
  settings.flipAngles = std::make_shared<const FlipAngles>(EchoTrain{}, decay.time, settings.grid);
  EXPECT_EQ(invert(decay, settings).distribution.amplitude, estimated.distribution.amplitude);
  const InversionPlan plan(decay.time, given);
  EXPECT_TRUE(plan.shares());
  const PlannedInversion planned = InversionPlan::Worker(plan).invert(decay.amplitude);
  EXPECT_EQ(planned.inversion.distribution.amplitude, estimated.distribution.amplitude);
  EXPECT_EQ(planned.inversion.flip, estimated.flip);
}

TEST(ImageDecays, TheDefaultMethodTakesTheAngleToo) {
  const Decay decay = tissueDecay(140.0, 0.3, 2);
  InversionSettings settings = imageSettings();
  settings.method = Method::automatic;
  settings.train.flip = 140.0;
  const Inversion inversion = invert(decay, settings);
  EXPECT_TRUE(succeeded(inversion)) << statusText(inversion);
  EXPECT_NEAR(inversion.noise, 0.3, 0.1);
  EXPECT_NEAR(logMean(inversion.distribution) / logMean(truth()), 1.0, 0.03);
  const Band band = bootstrap(decay, settings, inversion, {50, 1, 1, {}});
  EXPECT_LT(band.logMeanLower, logMean(inversion.distribution));
  EXPECT_GT(band.logMeanUpper, logMean(inversion.distribution));
}

/// Magnitudes of a decay of two channels with noise.
Decay magnitudes(double noise, std::uint64_t seed) {
  const TwoChannels channels =
      simulatedChannels(Kernel::t2, truth(), spinEchoes(), noise, seed, 0.0);
  Decay decay{channels.time, {}};
  for (std::size_t i = 0; i < channels.real.size(); ++i) {
    decay.amplitude.push_back(std::hypot(channels.real[i], channels.imaginary[i]));
  }
  return decay;
}

TEST(ImageDecays, TheFloorOfMagnitudesIsTakenAway) {
  InversionSettings settings = imageSettings();
  settings.kernel = Kernel::t2;
  settings.noise = 4.0;  // S/N 25: the last 15 of 56 echoes are below the noise
  double plain = 0.0;
  double corrected = 0.0;
  double ofSignal = 0.0;
  double lastFloor = 0.0;
  constexpr int draws = 30;
  for (int draw = 0; draw < draws; ++draw) {
    const auto seed = static_cast<std::uint64_t>(draw + 1);
    const Decay decay = magnitudes(*settings.noise, seed);
    settings.magnitude = false;
    plain += logMean(invert(decay, settings).distribution) / draws;
    ofSignal +=
        logMean(invert(simulatedDecay(Kernel::t2, truth(), spinEchoes(), *settings.noise, seed),
                       settings)
                    .distribution) /
        draws;
    settings.magnitude = true;
    const Inversion inversion = invert(decay, settings);
    corrected += logMean(inversion.distribution) / draws;
    ASSERT_EQ(inversion.floor.size(), decay.time.size());
    lastFloor += inversion.floor.back() / draws;
    EXPECT_LT(inversion.floor.front(), 0.5);
    EXPECT_GE(inversion.fit.back(), inversion.floor.back());  // the fit is one of the magnitudes
  }
  // No signal is left there: noise alone has a mean magnitude of 1.25 standard deviations. A
  // non-negative fit of noise is a little above 0, which takes some of it away.
  EXPECT_GT(lastFloor, 1.05 * *settings.noise);
  EXPECT_LT(lastFloor, 1.2534 * *settings.noise);
  // Held against the same decays with signs: the floor makes the log mean longer, by the half at
  // least less without it.
  EXPECT_GT(plain - ofSignal, 0.08 * ofSignal);
  EXPECT_LT(std::fabs(corrected - ofSignal), 0.5 * (plain - ofSignal));
}

std::string refusal(const InversionSettings& settings, const Decay& decay) {
  try {
    invert(decay, settings);
  } catch (const UserError& error) {
    return error.what();
  }
  return "";
}

TEST(ImageDecays, WhatDoesNotBelongTogetherIsRefused) {
  InversionSettings settings = imageSettings();
  settings.kernel = Kernel::t2;
  settings.train.flip = 150.0;
  EXPECT_EQ(refusal(settings, tissueDecay(180.0, 0.2, 1)),
            "--flip, --t1 and --echo-spacing with --kernel t2: they are those of --kernel t2-epg");
  settings = imageSettings();
  settings.magnitude = true;
  settings.kernel = Kernel::t1Inversion;
  EXPECT_NE(refusal(settings, tissueDecay(180.0, 0.2, 1)).find("lost the signs"),
            std::string::npos);
  settings.kernel = Kernel::t2;
  Decay negative = tissueDecay(180.0, 0.2, 1);
  negative.amplitude[54] = -0.1;
  negative.amplitude[55] = 0.1;
  EXPECT_NE(refusal(settings, negative).find("--rician: sample"), std::string::npos);
}

}  // namespace
}  // namespace vorin::toolkit
