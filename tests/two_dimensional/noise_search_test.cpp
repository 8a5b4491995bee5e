// Searches for the weight by the noise over three experiments, grids of 50 to 100 values and
// signal-to-noise ratios of 30 to 3000: 300 of them when VORIN_ALL_MAP_SEARCHES is set
// (script/map-searches), nine spread evenly among them otherwise.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>

#include "two_dimensional/experiments.hpp"

namespace vorin::toolkit::test {
namespace {

constexpr std::array<Kernel, 3> kernels{Kernel::t1Inversion, Kernel::t2, Kernel::diffusion};
constexpr std::array<int, 4> grids{50, 64, 80, 100};
constexpr std::array<double, 5> ratios{30.0, 100.0, 300.0, 1000.0, 3000.0};
constexpr std::size_t seeds = 5;
constexpr std::size_t searches = kernels.size() * grids.size() * ratios.size() * seeds;

TEST(NoiseSearch, AllReachTheirAim) {
  static_assert(searches == 300);
  // So that each kernel, ratio and grid is among the smaller choice.
  const std::size_t step = std::getenv("VORIN_ALL_MAP_SEARCHES") != nullptr ? 1 : 37;
  for (std::size_t search = 0; search < searches; search += step) {
    std::size_t rest = search;
    const auto next = [&rest](std::size_t count) {
      const std::size_t index = rest % count;
      rest /= count;
      return index;
    };
    const Kernel kernel = kernels.at(next(kernels.size()));
    const double ratio = ratios.at(next(ratios.size()));
    const int grid = grids.at(next(grids.size()));
    const std::size_t seed = rest + 1;
    const Experiment e = experiment(kernel, grid, ratio, seed);
    const MapInversion inversion = invertMap(e.data, e.settings);
    const testing::Message where = testing::Message() << kernelName(kernel) << ", grid " << grid
                                                      << ", S/N " << ratio << ", seed " << seed;
    EXPECT_EQ(inversion.status, MapStatus::success) << where;
    EXPECT_NEAR(inversion.error, inversion.wantedError, 0.01 * inversion.wantedError) << where;
    EXPECT_LT(inversion.gap, 1e-8) << where;
    // The standard deviation of the estimate from 64000 samples is 0.3 %.
    EXPECT_NEAR(inversion.noise, e.noise, 0.015 * e.noise) << where;
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
