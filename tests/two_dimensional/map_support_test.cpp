// The range of the default grids: where the data have signal, and no further.
#include "toolkit/two_dimensional/map_support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "toolkit/measures/measures.hpp"
#include "toolkit/two_dimensional/map_measures.hpp"
#include "toolkit/two_dimensional/map_preparation.hpp"
#include "two_dimensional/experiments.hpp"

namespace vorin::toolkit::test {
namespace {

/// The experiment of `e` without grids, as one who gives none inverts it.
PreparedMap withDefaultGrids(const Experiment& e, const MapSettings& settings = {}) {
  MapAxis first;
  MapAxis second;
  first.kernel.kernel = e.settings.kernel1;
  second.kernel.kernel = e.settings.kernel2;
  return prepareMap({e.data, {}}, first, second, settings);
}

struct LogMeans {
  double first = 0.0;
  double second = 0.0;
};

LogMeans logMeansOf(const std::vector<SimulatedMapPeak>& peaks) {
  LogMeans sum;
  double total = 0.0;
  for (const SimulatedMapPeak& peak : peaks) {
    sum.first += peak.amplitude * std::log(peak.position1);
    sum.second += peak.amplitude * std::log(peak.position2);
    total += peak.amplitude;
  }
  return {std::exp(sum.first / total), std::exp(sum.second / total)};
}

TEST(DefaultGrids, LeaveTheLogMeansOfTheWholeMapNearTheTruth) {
  for (const Kernel kernel : {Kernel::t1Inversion, Kernel::t2, Kernel::diffusion}) {
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
      const Experiment e = experiment(kernel, 64, 100.0, seed);
      const PreparedMap prepared = withDefaultGrids(e);
      const MapInversion inversion = invertMap(prepared.data, prepared.settings);
      ASSERT_TRUE(succeeded(inversion)) << mapStatusText(inversion.status);
      const MapView map{inversion.grid1, inversion.grid2, inversion.distribution};
      const LogMeans truth = logMeansOf(e.peaks);
      const double allowed = kernel == Kernel::t2 ? 0.03 : 0.02;
      EXPECT_NEAR(logMean({inversion.grid1, projection1(map)}) / truth.first, 1.0, allowed) << seed;
      EXPECT_NEAR(logMean({inversion.grid2, projection2(map)}) / truth.second, 1.0, allowed)
          << seed;
      EXPECT_EQ(inversion.grid1.size(), 64u);
      EXPECT_EQ(inversion.grid2.size(), 64u);
      for (const SimulatedMapPeak& peak : e.peaks) {
        EXPECT_LT(inversion.grid1.front(), peak.position1 / 1.5);
        EXPECT_GT(inversion.grid1.back(), peak.position1 * 1.5);
        EXPECT_LT(inversion.grid2.front(), peak.position2 / 1.5);
        EXPECT_GT(inversion.grid2.back(), peak.position2 * 1.5);
      }
    }
  }
}

TEST(DefaultGrids, ReachToTheFirstTimeWhereThereIsSignal) {
  Experiment e = experiment(Kernel::t1Inversion, 64, 100.0, 1);
  e.settings.grid2 = mapGridFor(e.data.times2, Kernel::t2);
  e.peaks = {{0.5, 0.3, 0.1, 60.0}, {0.05, 0.0008, 0.05, 40.0}};
  e.truth = mapOf(e.peaks, e.settings.grid1, e.settings.grid2);
  e.data.samples = simulatedSamples(e.data, e.settings, e.truth, e.noise, 1);
  const PreparedMap prepared = withDefaultGrids(e);
  EXPECT_DOUBLE_EQ(prepared.settings.grid2.front(), e.data.times2.front());
  // The long end, where there is none, is cut from three times the last sample.
  EXPECT_LT(prepared.settings.grid2.back(), 2.5 * e.data.times2.back());
}

// With a noise far above all signal no end is worth keeping: of the coarse grid of 32 values the
// two last steps stay, which 0.3 decades widen.
TEST(DefaultGrids, KeepARangeWhereNothingIsSignificant) {
  const Experiment e = experiment(Kernel::t1Inversion, 64, 100.0, 1);
  MapSettings settings;
  settings.noise = 1e6;
  const PreparedMap prepared = withDefaultGrids(e, settings);
  const auto expectEnd = [](const std::vector<double>& grid, const std::vector<double>& whole) {
    EXPECT_DOUBLE_EQ(grid.back(), whole.back());
    EXPECT_NEAR(std::log10(grid.back() / grid.front()),
                0.3 + 2.0 * std::log10(whole.back() / whole.front()) / 31.0, 1e-9);
  };
  expectEnd(prepared.settings.grid1, mapGridFor(e.data.times1, Kernel::t1Inversion));
  expectEnd(prepared.settings.grid2, mapGridFor(e.data.times2, Kernel::t2));
}

TEST(DefaultGrids, AreWholeWhereTheNoiseCannotBeTold) {
  // Hardly more samples than the compressed rows.
  Experiment e = experiment(Kernel::t1Inversion, 64, 100.0, 1);
  e.data.times1 = LogGrid{1e-3, 5.0, 8}.times();
  e.data.times2 = LogGrid{1e-3, 1.0, 8}.times();
  e.data.samples = simulatedSamples(e.data, e.settings, e.truth, e.noise, 1);
  const PreparedMap prepared = withDefaultGrids(e);
  EXPECT_EQ(prepared.settings.grid1, mapGridFor(e.data.times1, Kernel::t1Inversion));
  EXPECT_EQ(prepared.settings.grid2, mapGridFor(e.data.times2, Kernel::t2));
}

TEST(DefaultGrids, AGivenGridStays) {
  const Experiment e = experiment(Kernel::t1Inversion, 64, 100.0, 1);
  MapAxis first;
  MapAxis second;
  first.kernel.kernel = Kernel::t1Inversion;
  second.kernel.kernel = Kernel::t2;
  second.grid = {1e-3, 1e-2, 1e-1, 1.0, 5.0};
  const PreparedMap prepared = prepareMap({e.data, {}}, first, second, MapSettings{});
  EXPECT_EQ(prepared.settings.grid2, second.grid);
  EXPECT_GT(prepared.settings.grid1.front(), e.data.times1.front());
}

// A signal in both channels is turned to where the recovered end is positive, although most of it,
// and with it the sum, is negative; other kernels have a positive sum.
TEST(TurnMapToReal, TheRecoveredEndIsPositive) {
  constexpr double phase = 0.6;
  const std::vector<double> recovery{-0.8, -0.6, -0.4, 0.9};
  const std::vector<double> decay{1.0, 0.5, 0.25, 0.125};
  for (const bool firstRecovers : {true, false}) {
    MapData data;
    std::vector<double> wanted;
    std::vector<double> imaginary;
    data.times1 = data.times2 = {0.1, 0.2, 0.3, 3.0};
    for (std::size_t i = 0; i < 4; ++i) {
      for (std::size_t k = 0; k < 4; ++k) {
        wanted.push_back(firstRecovers ? recovery[i] * decay[k] : decay[i] * recovery[k]);
        data.samples.push_back(wanted.back() * std::cos(phase));
        imaginary.push_back(wanted.back() * std::sin(phase));
      }
    }
    turnMapToReal(data, imaginary, firstRecovers ? Kernel::t1Inversion : Kernel::t2,
                  firstRecovers ? Kernel::t2 : Kernel::t1Inversion);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      EXPECT_NEAR(data.samples[i], wanted[i], 1e-12);
      EXPECT_NEAR(imaginary[i], 0.0, 1e-12);
    }
  }
}

TEST(MapGrid, BeginsAtTheFirstTimeAboveZero) {
  const std::vector<double> times{0.0, 1e-3, 2e-3, 3e-3};
  const std::vector<double> grid = mapGridFor(times, Kernel::t2);
  EXPECT_DOUBLE_EQ(grid.front(), 1e-3);
  EXPECT_DOUBLE_EQ(grid.back(), 9e-3);
}

}  // namespace
}  // namespace vorin::toolkit::test
