// Simulated experiments with known truth.
#pragma once

#include <cstdint>
#include <vector>

#include "toolkit/model/grid.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"
#include "toolkit/two_dimensional/map_simulation.hpp"

namespace vorin::toolkit::test {

struct Experiment {
  MapData data;
  MapSettings settings;
  std::vector<SimulatedMapPeak> peaks;
  std::vector<double> truth;
  double noise = 0.0;
};

inline std::vector<double> evenTimes(double spacing, int count) {
  std::vector<double> times;
  for (int i = 1; i <= count; ++i) {
    times.push_back(spacing * i);
  }
  return times;
}

/// 32 x 2000 samples of the peaks' map on grids of n values, at a total over noise of `ratio`.
inline Experiment experiment(Kernel kernel1, int n, double ratio, std::uint64_t seed) {
  Experiment result;
  MapSettings& settings = result.settings;
  settings.kernel1 = kernel1;
  settings.kernel2 = Kernel::t2;
  settings.grid2 = LogGrid{1e-3, 3.0, n}.times();
  result.data.times2 = evenTimes(5e-4, 2000);
  if (kernel1 == Kernel::diffusion) {
    result.data.times1 = LogGrid{1e7, 2e10, 32}.times();
    settings.grid1 = LogGrid{1e-11, 1e-8, n}.times();
    result.peaks = {{2e-9, 0.3, 0.1, 60.0}, {2e-10, 0.03, 0.1, 40.0}};
  } else if (kernel1 == Kernel::t2) {
    result.data.times1 = LogGrid{1e-3, 1.0, 32}.times();
    settings.grid1 = settings.grid2;
    result.peaks = {{0.3, 0.3, 0.1, 40.0}, {0.02, 0.02, 0.1, 30.0}, {0.02, 0.3, 0.1, 30.0}};
  } else {
    result.data.times1 = LogGrid{1e-3, 5.0, 32}.times();
    settings.grid1 = LogGrid{3e-3, 10.0, n}.times();
    result.peaks = {{0.5, 0.3, 0.1, 60.0}, {0.05, 0.02, 0.1, 40.0}};
  }
  result.truth = mapOf(result.peaks, settings.grid1, settings.grid2);
  result.noise = 100.0 / ratio;
  result.data.samples = simulatedSamples(result.data, settings, result.truth, result.noise, seed);
  return result;
}

}  // namespace vorin::toolkit::test
