// Maps of voxels against invert() on each: every number to the last bit, on any number of threads
// and in blocks of any size; and voxels that can't be inverted.
#include "toolkit/mapping/voxel_inverter.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/mapping/mean_decay.hpp"
#include "toolkit/mapping/voxel_status.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

std::vector<double> echoTimes() {
  std::vector<double> times;
  for (int i = 1; i <= 56; ++i) {
    times.push_back(2e-3 * i);
  }
  return times;
}

InversionSettings settingsOf(Method method) {
  InversionSettings settings;
  settings.method = method;
  settings.grid = LogGrid{1e-3, 1.0, 60}.times();
  return settings;
}

/// Two components with noise, units from 1e-3 to 1e3 in turn.
std::vector<double> manyVoxels(std::size_t voxels, double noise = 0.01) {
  std::mt19937_64 engine(voxels);
  std::uniform_real_distribution<double> share(0.0, 1.0);
  std::normal_distribution<double> normal(0.0, noise);
  std::vector<double> samples;
  for (std::size_t k = 0; k < voxels; ++k) {
    const double unit = std::pow(10.0, static_cast<double>(k % 7) - 3.0);
    const double fast = share(engine);
    const double slow = 0.02 + 0.1 * share(engine);
    for (const double t : echoTimes()) {
      samples.push_back(unit * (fast * std::exp(-t / 0.008) + (1.0 - fast) * std::exp(-t / slow) +
                                normal(engine)));
    }
  }
  return samples;
}

VoxelBlock blockOf(const std::vector<double>& samples) {
  return {samples.size() / echoTimes().size(), std::span<const double>(samples)};
}

Decay decayOf(const std::vector<double>& samples, std::size_t voxel) {
  const auto first = samples.begin() + static_cast<std::ptrdiff_t>(voxel * echoTimes().size());
  return {echoTimes(), {first, first + static_cast<std::ptrdiff_t>(echoTimes().size())}};
}

/// Equal to the last bit, or both not a number.
void expectSame(double found, double expected) {
  if (std::isnan(expected)) {
    EXPECT_TRUE(std::isnan(found));
  } else {
    EXPECT_EQ(found, expected);
  }
}

void expectSameVoxel(const VoxelMaps& maps, std::size_t voxel, const Inversion& single,
                     const Decay& decay, const std::vector<double>& cutoffs) {
  ASSERT_EQ(maps.status[voxel], statusOf(single));
  const std::size_t points = single.distribution.amplitude.size();
  const bool ok = succeeded(single);
  expectSame(maps.total[voxel], ok ? totalAmplitude(single.distribution) : unknown);
  expectSame(maps.logMean[voxel], ok ? logMean(single.distribution) : unknown);
  expectSame(maps.weight[voxel], ok ? single.weight : unknown);
  const bool known = ok && single.noise > 0.0;
  expectSame(maps.noise[voxel], known ? single.noise : unknown);
  expectSame(maps.signalToNoise[voxel],
             known ? largestMagnitude(decay.amplitude) / single.noise : unknown);
  expectSame(maps.standardError[voxel], ok ? single.reachedError : unknown);
  for (std::size_t k = 0; k < points; ++k) {
    expectSame(maps.distribution[voxel * points + k],
               ok ? single.distribution.amplitude[k] : unknown);
  }
  const std::vector<Part> parts = partsBetween(single.distribution, cutoffs);
  for (std::size_t p = 0; p < parts.size(); ++p) {
    expectSame(maps.share[voxel * parts.size() + p], ok ? parts[p].share : unknown);
  }
}

/// The voxels of which invert() gives a distribution.
std::size_t expectSameOnAll(const InversionSettings& settings, std::size_t voxels) {
  const std::vector<double> samples = manyVoxels(voxels);
  VoxelSettings own;
  own.cutoffs = {0.015, 0.04};
  own.distribution = true;
  own.threads = 2;
  const VoxelMaps maps = VoxelInverter(echoTimes(), settings, own).invert(blockOf(samples));
  for (std::size_t voxel = 0; voxel < voxels; ++voxel) {
    SCOPED_TRACE(testing::Message() << "voxel " << voxel);
    const Decay decay = decayOf(samples, voxel);
    expectSameVoxel(maps, voxel, invert(decay, settings), decay, own.cutoffs);
  }
  return countsOf(maps.status)[0];
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsAtTheWeightOfTheNoise) {
  EXPECT_GT(expectSameOnAll(settingsOf(Method::classic), 1400), 1300U);
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsWithTheNoiseOfTheirOwnFit) {
  InversionSettings settings = settingsOf(Method::classic);
  settings.noiseSource = NoiseSource::fit;
  EXPECT_GT(expectSameOnAll(settings, 200), 150U);
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsAtEstimatedAngles) {
  InversionSettings settings = settingsOf(Method::classic);
  settings.kernel = Kernel::t2Epg;
  settings.estimatesFlip = true;
  EXPECT_GT(expectSameOnAll(settings, 60), 50U);
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsOfMagnitudes) {
  InversionSettings settings = settingsOf(Method::classic);
  settings.magnitude = true;
  std::vector<double> samples = manyVoxels(100, 0.03);
  std::transform(samples.begin(), samples.end(), samples.begin(),
                 [](double value) { return std::fabs(value); });
  for (const std::optional<double> noise : {std::optional<double>(), std::optional(0.03)}) {
    settings.noise = noise;
    VoxelSettings own;
    own.cutoffs = {0.02};
    own.distribution = true;
    const VoxelMaps maps = VoxelInverter(echoTimes(), settings, own).invert(blockOf(samples));
    for (std::size_t voxel = 0; voxel < maps.voxels; ++voxel) {
      const Decay decay = decayOf(samples, voxel);
      if (noise && !(*noise < largestMagnitude(decay.amplitude))) {
        EXPECT_EQ(maps.status[voxel], VoxelStatus::noiseTooLarge);
        continue;
      }
      SCOPED_TRACE(testing::Message() << "voxel " << voxel);
      expectSameVoxel(maps, voxel, invert(decay, settings), decay, own.cutoffs);
    }
  }
  samples[3] = -samples[3];
  EXPECT_EQ(VoxelInverter(echoTimes(), settings, {}).invert(blockOf(samples)).status[0],
            VoxelStatus::negative);
}

TEST(VoxelInverter, TakesTheAngleOfEachVoxel) {
  InversionSettings settings = settingsOf(Method::classic);
  settings.kernel = Kernel::t2Epg;
  settings.estimatesFlip = true;
  const std::vector<double> samples = manyVoxels(4);
  VoxelBlock block = blockOf(samples);
  // 220 degrees have the echoes of 140; the last is estimated.
  const std::vector<double> flip{30.0, 151.4, 220.0, unknown};
  block.flip = flip;
  const VoxelInverter inverter(echoTimes(), settings, {});
  const VoxelMaps maps = inverter.invert(block);
  const std::vector<double> expected{30.0, 151.0, 140.0};
  for (std::size_t voxel = 0; voxel < 4; ++voxel) {
    InversionSettings own = settings;
    if (voxel < expected.size()) {
      own.estimatesFlip = false;
      own.train.flip = expected[voxel];
    }
    const Inversion single = invert(decayOf(samples, voxel), own);
    EXPECT_EQ(maps.status[voxel], statusOf(single));
    if (succeeded(single)) {
      EXPECT_EQ(maps.flip[voxel], *single.flip);
      EXPECT_EQ(maps.total[voxel], totalAmplitude(single.distribution));
    }
  }
  // A lane forgets the angles of the block before.
  const VoxelMaps estimated = inverter.invert(blockOf(samples));
  settings.estimatesFlip = true;
  for (std::size_t voxel = 0; voxel < 4; ++voxel) {
    const Inversion single = invert(decayOf(samples, voxel), settings);
    expectSame(estimated.flip[voxel], succeeded(single) ? *single.flip : unknown);
  }
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsAtAFixedWeight) {
  InversionSettings settings = settingsOf(Method::classic);
  settings.weight = 0.3;
  EXPECT_EQ(expectSameOnAll(settings, 200), 200U);
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsAtTheCorner) {
  InversionSettings settings = settingsOf(Method::classic);
  settings.corner = true;
  EXPECT_EQ(expectSameOnAll(settings, 150), 150U);
}

TEST(VoxelInverter, HasTheBitsOfSingleInversionsByDefault) {
  EXPECT_GT(expectSameOnAll(settingsOf(Method::automatic), 50), 40U);
}

TEST(VoxelInverter, GivesTheSameInBlocksAndOnThreadsOfAnyCount) {
  constexpr std::size_t voxels = 150;
  const std::vector<double> samples = manyVoxels(voxels);
  const InversionSettings settings = settingsOf(Method::classic);
  const auto invertIn = [&](int threads, std::size_t size) {
    VoxelSettings own;
    own.threads = threads;
    const VoxelInverter inverter(echoTimes(), settings, own);
    std::vector<double> logMeans;
    for (std::size_t first = 0; first < voxels; first += size) {
      const std::size_t count = std::min(size, voxels - first);
      const std::span<const double> part(samples.data() + 56 * first, 56 * count);
      const VoxelMaps maps = inverter.invert({count, part});
      logMeans.insert(logMeans.end(), maps.logMean.begin(), maps.logMean.end());
    }
    return logMeans;
  };
  const std::vector<double> whole = invertIn(1, voxels);
  EXPECT_EQ(whole.size(), voxels);
  EXPECT_TRUE(std::all_of(whole.begin(), whole.end(), [](double value) { return value > 0.0; }));
  EXPECT_EQ(invertIn(2, voxels), whole);
  EXPECT_EQ(invertIn(7, 33), whole);
  EXPECT_EQ(invertIn(3, 1), whole);
}

TEST(VoxelInverter, ServesSeveralCallersAtOnce) {
  const std::vector<double> samples = manyVoxels(60);
  const VoxelInverter inverter(echoTimes(), settingsOf(Method::classic), {});
  const std::vector<double> expected = inverter.invert(blockOf(samples)).total;
  std::vector<std::vector<double>> found(3);
  {
    std::vector<std::jthread> callers;
    for (std::vector<double>& one : found) {
      callers.emplace_back([&] { one = inverter.invert(blockOf(samples)).total; });
    }
  }
  for (const std::vector<double>& one : found) {
    EXPECT_EQ(one, expected);
  }
}

TEST(VoxelInverter, TakesSinglePrecisionAsItIs) {
  const std::vector<double> exact = manyVoxels(40);
  const std::vector<float> single(exact.begin(), exact.end());
  const std::vector<double> rounded(single.begin(), single.end());
  const VoxelInverter inverter(echoTimes(), settingsOf(Method::classic), {});
  const VoxelMaps maps = inverter.invert({40, std::span<const float>(single)});
  EXPECT_EQ(maps.total, inverter.invert(blockOf(rounded)).total);
  EXPECT_NE(maps.total, inverter.invert(blockOf(exact)).total);
}

TEST(VoxelInverter, TellsWhyAVoxelIsNotInvertedAndGoesOn) {
  constexpr std::size_t voxels = 8;
  std::vector<double> samples = manyVoxels(voxels);
  const auto fill = [&](std::size_t voxel, double value) {
    std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(56 * voxel), 56, value);
  };
  samples[56 * 1 + 5] = unknown;
  samples[56 * 2 + 55] = -std::numeric_limits<double>::infinity();
  fill(3, 0.0);
  fill(4, 1e5);   // no noise
  fill(5, 1e-9);  // below the threshold
  const std::vector<std::uint8_t> mask{1, 1, 1, 1, 1, 1, 0, 1};
  std::vector<double> noise(voxels, unknown);
  noise[7] = 1e9;
  VoxelSettings own;
  own.threshold = 1e-8;
  own.distribution = true;
  own.cutoffs = {0.02};
  const VoxelInverter inverter(echoTimes(), settingsOf(Method::classic), own);
  VoxelBlock block = blockOf(samples);
  block.mask = mask;
  block.noise = noise;
  const VoxelMaps maps = inverter.invert(block);
  const std::vector<VoxelStatus> expected{VoxelStatus::ok,        VoxelStatus::notFinite,
                                          VoxelStatus::notFinite, VoxelStatus::allZero,
                                          VoxelStatus::noNoise,   VoxelStatus::belowThreshold,
                                          VoxelStatus::masked,    VoxelStatus::noiseTooLarge};
  EXPECT_EQ(maps.status, expected);
  for (std::size_t voxel = 0; voxel < voxels; ++voxel) {
    for (const std::vector<double>* map : {&maps.total, &maps.logMean, &maps.weight, &maps.noise,
                                           &maps.signalToNoise, &maps.standardError}) {
      EXPECT_EQ(std::isnan((*map)[voxel]), voxel != 0);
    }
    EXPECT_EQ(std::isnan(maps.share[2 * voxel]), voxel != 0);
    EXPECT_EQ(std::isnan(maps.distribution[60 * voxel + 59]), voxel != 0);
  }
  EXPECT_EQ(summaryOf(countsOf(maps.status)),
            "1 of 8 voxels inverted, 1 masked, 1 below threshold, 2 not finite, 1 all zero, 1 no "
            "noise, 1 noise too large");
}

TEST(VoxelInverter, TellsInversionsThatDidNotSucceed) {
  std::vector<double> samples = manyVoxels(2);
  for (std::size_t i = 0; i < 56; ++i) {
    samples[56 + i] *= -1.0;
  }
  const VoxelMaps maps =
      VoxelInverter(echoTimes(), settingsOf(Method::automatic), {}).invert(blockOf(samples));
  EXPECT_EQ(maps.status[0], VoxelStatus::ok);
  EXPECT_EQ(maps.status[1], VoxelStatus::notDescribed);
  EXPECT_TRUE(std::isnan(maps.total[1]));
  InversionSettings few = settingsOf(Method::classic);
  few.weight = 1e-6;
  few.assignments = {"MAXI=1"};
  EXPECT_EQ(VoxelInverter(echoTimes(), few, {}).invert(blockOf(samples)).status[0],
            VoxelStatus::notConverged);
}

TEST(VoxelInverter, TakesTheNoiseOfEachVoxel) {
  const std::vector<double> samples = manyVoxels(3);
  const std::vector<double> noise{unknown, 2e-5, 0.004};
  const InversionSettings settings = settingsOf(Method::classic);
  VoxelBlock block = blockOf(samples);
  block.noise = noise;
  const VoxelMaps maps = VoxelInverter(echoTimes(), settings, {}).invert(block);
  for (std::size_t voxel = 0; voxel < 3; ++voxel) {
    InversionSettings given = settings;
    if (!std::isnan(noise[voxel])) {
      given.noise = noise[voxel];
    }
    EXPECT_EQ(maps.weight[voxel], invert(decayOf(samples, voxel), given).weight);
  }
  EXPECT_EQ(maps.noise[2], 0.004);
}

TEST(VoxelInverter, LeavesFirstSamplesOutAndCalibrates) {
  std::vector<double> samples = manyVoxels(20);
  for (std::size_t voxel = 0; voxel < 20; ++voxel) {
    samples[56 * voxel + 1] = unknown;  // which nobody will use
  }
  VoxelSettings own;
  own.skip = 2;
  own.calibration = parseCalibration("100pu=0.25", "calibrate");
  const InversionSettings settings = settingsOf(Method::classic);
  const VoxelMaps maps = VoxelInverter(echoTimes(), settings, own).invert(blockOf(samples));
  for (std::size_t voxel = 0; voxel < 20; ++voxel) {
    Decay decay = decayOf(samples, voxel);
    decay.time.erase(decay.time.begin(), decay.time.begin() + 2);
    decay.amplitude.erase(decay.amplitude.begin(), decay.amplitude.begin() + 2);
    calibrate(own.calibration, decay);
    const Inversion single = invert(decay, settings);
    EXPECT_EQ(maps.total[voxel], totalAmplitude(single.distribution));
    EXPECT_EQ(maps.noise[voxel], single.noise);
  }
  own.skip = 55;
  EXPECT_THROW(VoxelInverter(echoTimes(), settings, own), UserError);
}

TEST(VoxelInverter, TellsProgressAndEndsWhereItThrows) {
  const std::vector<double> samples = manyVoxels(200);
  VoxelSettings own;
  own.threads = 2;
  const VoxelInverter inverter(echoTimes(), settingsOf(Method::classic), own);
  std::vector<std::size_t> told;
  inverter.invert(blockOf(samples), [&](std::size_t done) { told.push_back(done); });
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back(), 200U);
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  EXPECT_GT(told.size(), 5U);
  EXPECT_THROW(inverter.invert(blockOf(samples), [](std::size_t) { throw Cancelled(); }),
               Cancelled);
  EXPECT_EQ(countsOf(inverter.invert(blockOf(samples)).status)[0], 200U);
}

TEST(VoxelInverter, RefusesBlocksOfAnotherShapeAndSettingsThatFitNoVoxel) {
  const std::vector<double> samples = manyVoxels(3);
  const VoxelInverter inverter(echoTimes(), settingsOf(Method::classic), {});
  VoxelBlock block = blockOf(samples);
  block.voxels = 4;
  EXPECT_THROW(inverter.invert(block), UserError);
  block.voxels = 3;
  const std::vector<std::uint8_t> mask(2, 1);
  block.mask = mask;
  EXPECT_THROW(inverter.invert(block), UserError);
  block.mask = {};
  const std::vector<double> noise{0.1, 0.0, 0.1};
  block.noise = noise;
  EXPECT_THROW(inverter.invert(block), UserError);
  InversionSettings quadrature = settingsOf(Method::classic);
  quadrature.noiseSource = NoiseSource::quadrature;
  EXPECT_THROW(VoxelInverter(echoTimes(), quadrature, {}), UserError);
}

TEST(VoxelInverter, TakesABlockWithoutVoxels) {
  const VoxelInverter inverter(echoTimes(), settingsOf(Method::classic), {});
  const VoxelMaps maps = inverter.invert(blockOf({}));
  EXPECT_EQ(maps.voxels, 0U);
  EXPECT_TRUE(maps.total.empty());
}

TEST(MeanDecay, IsThatOfTheVoxelsThatAreInverted) {
  std::vector<double> samples(5 * 56);
  for (std::size_t voxel = 0; voxel < 5; ++voxel) {
    std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(56 * voxel), 56,
                static_cast<double>(voxel + 1));
  }
  samples[56 * 1] = unknown;
  const std::vector<std::uint8_t> mask{1, 1, 0, 1, 1};
  VoxelSettings own;
  own.threshold = 4.5;
  const VoxelInverter all(echoTimes(), settingsOf(Method::classic), {});
  const VoxelInverter large(echoTimes(), settingsOf(Method::classic), own);
  VoxelBlock block = blockOf(samples);
  block.mask = mask;
  MeanDecay mean(56);
  mean.add(all, block);
  EXPECT_EQ(mean.voxels(), 3U);
  EXPECT_EQ(mean.mean(), std::vector<double>(56, 10.0 / 3.0));
  MeanDecay ofLarge(56);
  EXPECT_THROW(ofLarge.mean(), UserError);
  ofLarge.add(large, block);
  ofLarge.add(large, block);
  EXPECT_EQ(ofLarge.voxels(), 2U);
  EXPECT_EQ(ofLarge.mean(), std::vector<double>(56, 5.0));
}

TEST(MeanDecay, HasOneWeightForAllVoxels) {
  const std::vector<double> samples = manyVoxels(70, 0.02);
  InversionSettings settings = settingsOf(Method::automatic);
  const VoxelInverter inverter(echoTimes(), settings, {});
  MeanDecay mean(56);
  mean.add(inverter, blockOf(samples));
  const Decay decay{echoTimes(), mean.mean()};
  const double byItsNoise = withWeightOf(decay, settings).weight.value();
  EXPECT_EQ(byItsNoise, invert(decay, settings).weight);
  // The noise of a single voxel is larger than that of the mean, and so is the weight by it.
  settings.noise = 0.05 * largestMagnitude(decay.amplitude);
  const InversionSettings shared = withWeightOf(decay, settings);
  EXPECT_GT(*shared.weight, byItsNoise);
  const VoxelMaps maps = VoxelInverter(echoTimes(), shared, {}).invert(blockOf(samples));
  for (std::size_t voxel = 0; voxel < 70; ++voxel) {
    if (maps.status[voxel] == VoxelStatus::ok) {
      EXPECT_EQ(maps.weight[voxel], *shared.weight);
    }
  }
  EXPECT_GT(countsOf(maps.status)[0], 0U);
  EXPECT_THROW(
      withWeightOf({echoTimes(), std::vector<double>(56, 1.0)}, settingsOf(Method::automatic)),
      UserError);
}

TEST(VoxelStatusText, EveryStatusHasAWordOfItsOwn) {
  std::set<std::string_view> words;
  for (std::size_t k = 0; k < voxelStatusCount; ++k) {
    const VoxelStatusText text = textOf(static_cast<VoxelStatus>(k));
    EXPECT_FALSE(text.meaning.empty());
    words.insert(text.word);
  }
  EXPECT_EQ(words.size(), voxelStatusCount);
}

}  // namespace
}  // namespace vorin::toolkit
