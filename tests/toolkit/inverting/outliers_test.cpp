// Samples off the curve: by the library, by fits without a penalty, with every reduction.
#include "toolkit/inverting/outliers.hpp"

#include <gtest/gtest.h>
#include <vorin.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/inverting/reduced_decays.hpp"

namespace vorin::toolkit {
namespace {

/// Fits of all samples that are left, in place of K'K with the others taken away: each round leaves
/// out those at least half as far off as the farthest, and the last finds none.
std::vector<std::size_t> outliersByFits(const Problem& whole, std::size_t columns,
                                        double threshold) {
  std::vector<std::size_t> result;
  for (bool more = true; more;) {
    const Problem rest = whole.without(result);
    const std::vector<float>& matrix = *rest.kernel().matrix();
    const std::vector<double> K(matrix.begin(), matrix.end());
    const std::vector<double> d(rest.data().begin(), rest.data().end());
    std::vector<double> f(columns);
    std::int32_t status = 0;
    plsN_dll(K.data(), static_cast<std::int32_t>(d.size()), static_cast<std::int32_t>(columns),
             d.data(), f.data(), &status);
    const std::vector<double> fit = rest.fitOf(f);
    std::vector<double> off(d.size());
    for (std::size_t i = 0; i < d.size(); ++i) {
      off[i] = std::fabs(d[i] - fit[i]);
    }
    std::vector<double> rising = off;
    std::sort(rising.begin(), rising.end());
    constexpr double medianOfNormal = 0.6744897501960817;
    const double noise = rising[rising.size() / 2] / medianOfNormal;
    const double limit = std::max(threshold * noise, 0.5 * rising.back());
    std::vector<std::size_t> next = result;
    std::size_t number = 0;
    for (std::size_t i = 0; i < whole.data().size(); ++i) {
      if (std::binary_search(result.begin(), result.end(), i)) {
        continue;
      }
      if (off[number] >= limit) {
        next.push_back(i);
      }
      ++number;
    }
    std::sort(next.begin(), next.end());
    more = next.size() > result.size();
    result = next;
  }
  return result;
}

TEST(Outliers, AreThoseOfFitsOfAllSamplesThatAreLeft) {
  Decay decay = train(3);
  for (std::size_t i = 0; i < decay.amplitude.size(); i += 23) {
    decay.amplitude[i] += (i % 2 == 0 ? 1.0 : -1.0) * 0.2 * static_cast<double>(i % 31);
  }
  const LibraryJob job;
  const InversionSettings settings = settingsFor(decay);
  setKeys(settings);
  const Problem whole(decay, settings);
  constexpr double threshold = 4.0;
  const std::vector<std::size_t> expected = outliersByFits(whole, settings.grid.size(), threshold);
  EXPECT_GT(expected.size(), 20U);
  EXPECT_EQ(outliers(whole, threshold), expected);
}

// What the shortest time on the grid explains, which no other does, is fitted, and is taken away
// with a sample.
TEST(Outliers, NearTheFirstSampleDependOnTheShortestTime) {
  const std::vector<double> grid = LogGrid{4e-4, 2.0, 12}.times();
  Decay decay = train(4);
  NormalNoise noise(5);
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    decay.amplitude[i] = 0.05 * noise.next();
    for (const std::size_t j : {0U, 4U, 8U}) {
      decay.amplitude[i] += 100.0 * std::exp(-decay.time[i] / grid[j]);
    }
  }
  decay.amplitude[0] -= 60.0;
  const LibraryJob job;
  InversionSettings settings = settingsFor(decay);
  settings.grid = grid;
  setKeys(settings);
  const Problem whole(decay, settings);
  constexpr double threshold = 6.0;
  const std::vector<std::size_t> expected = outliersByFits(whole, grid.size(), threshold);
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(expected.front(), 0U);
  EXPECT_EQ(outliers(whole, threshold), expected);
}

TEST(Outliers, AreFoundAndLeftOutWithEveryReduction) {
  const std::vector<std::size_t> spikes{100, 101, 555, 1199};
  Decay decay = train();
  for (std::size_t i : spikes) {
    decay.amplitude[i] += i == 555 ? -200.0 : 12.0;  // -400 and 24 standard deviations
  }
  for (const Reduction& reduction : reductions) {
    InversionSettings settings = settingsFor(decay);
    settings.pruning = reduction.pruning;
    if (reduction.compressed) {
      settings.compression = Compression{};
    }
    settings.noise = noiseLevel;
    settings.rejectBeyond = 6.0;
    settings.rejection = Rejection::robust;
    const Inversion inversion = invertQuietly(decay, settings);
    EXPECT_EQ(inversion.rejected, spikes) << reduction.name;
    EXPECT_EQ(inversion.fit.size(), decay.time.size());
    EXPECT_NEAR(inversion.fitError / noiseLevel, 1.0, 0.1) << reduction.name;

    Decay rest;
    for (std::size_t i = 0; i < decay.time.size(); ++i) {
      if (std::find(spikes.begin(), spikes.end(), i) == spikes.end()) {
        rest.time.push_back(decay.time[i]);
        rest.amplitude.push_back(decay.amplitude[i]);
      }
    }
    settings.rejectBeyond.reset();
    const Inversion without = invertQuietly(rest, settings);
    EXPECT_TRUE(without.rejected.empty());
    EXPECT_EQ(inversion.weight, without.weight) << reduction.name;
    EXPECT_EQ(inversion.distribution.amplitude, without.distribution.amplitude) << reduction.name;
    // K f at a sample that was kept and has moved by two places, summed in double and single.
    EXPECT_NEAR(inversion.fit[300], without.fit[298], 1e-3);
  }
}

// The library's way: VorinyC5_s with L2MO at 1 and L2NS at the limit.
TEST(Outliers, OfTheLibraryAreThoseItMarks) {
  Decay decay = train();
  const std::vector<std::size_t> spikes{100, 101, 1199};
  for (std::size_t i : spikes) {
    decay.amplitude[i] += 12.0;  // 24 standard deviations
  }
  InversionSettings settings = settingsFor(decay);
  settings.noise = noiseLevel;
  settings.rejectBeyond = 8.0;
  const Inversion inversion = invertQuietly(decay, settings);
  EXPECT_EQ(inversion.rejected, spikes);
  EXPECT_EQ(inversion.fit.size(), decay.time.size());
  EXPECT_NEAR(inversion.fitError / noiseLevel, 1.0, 0.1);

  // It is the fifth compressed driver, with nothing to compress: to the keys it is the same
  // whether they are set here or there.
  InversionSettings byKeys = settingsFor(decay);
  byKeys.noise = noiseLevel;
  byKeys.compression = Compression{};
  byKeys.assignments = {"L2MO=1", "L2NS=8", "SVDN=0"};
  EXPECT_EQ(invertQuietly(decay, byKeys).distribution.amplitude, inversion.distribution.amplitude);
  settings.rejectBeyond.reset();
  EXPECT_NE(invertQuietly(decay, settings).distribution.amplitude,
            inversion.distribution.amplitude);
}

TEST(Outliers, FewGoodSamplesAreTakenForThem) {
  std::size_t beyond3 = 0;
  std::size_t beyond4 = 0;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    const Decay decay = train(seed);
    InversionSettings settings = settingsFor(decay);
    settings.weight = 1.0;
    settings.rejection = Rejection::robust;
    settings.rejectBeyond = 3.0;
    beyond3 += invertQuietly(decay, settings).rejected.size();
    settings.rejectBeyond = 4.0;
    beyond4 += invertQuietly(decay, settings).rejected.size();
  }
  // Of 12000 normal variates 32.4 lie beyond 3 standard deviations and 0.76 beyond 4. Leaving
  // some out lowers the estimate of the noise and so the limit, by a per cent or two.
  EXPECT_NEAR(static_cast<double>(beyond3), 36.0, 3.0 * 6.0);
  EXPECT_LE(beyond4, 5U);
}

}  // namespace
}  // namespace vorin::toolkit
