// Decays of two components and the inversions that the tests of reductions and outliers make of
// them.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/files.hpp"

namespace vorin::toolkit {

inline const Distribution trueDistribution =
    distributionOf({{0.008, 0.15, 30.0}, {0.09, 0.15, 70.0}}, LogGrid{1e-4, 10.0, 200}.times());
constexpr double noiseLevel = 0.5;

inline Decay train(std::uint64_t seed = 1, double noise = noiseLevel) {
  std::vector<double> times;
  for (int i = 1; i <= 1200; ++i) {
    times.push_back(4e-4 * i);
  }
  return simulatedDecay(Kernel::t2, trueDistribution, times, noise, seed);
}

/// The library's own search: it is what depends on the reduction.
inline InversionSettings settingsFor(const Decay& decay) {
  InversionSettings settings;
  settings.method = Method::classic;
  LogGrid grid = gridFor(decay.time);
  grid.points = 60;
  settings.grid = grid.times();
  return settings;
}

inline Inversion invertQuietly(const Decay& decay, const InversionSettings& settings) {
  const ScratchFolder scratch;
  return invert(decay, settings);
}

struct Reduction {
  const char* name;
  const char* pruning;
  bool compressed;
};
// The name of a test shows it; without this its bytes, addresses among them.
inline void PrintTo(const Reduction& reduction, std::ostream* out) {
  *out << reduction.name;
}
inline const std::vector<Reduction> reductions{
    {"Whole", "NONE", false},           {"LogBins", "LOG", false},
    {"LinearBins", "LIN", false},       {"CompressedWhole", "NONE", true},
    {"CompressedLogBins", "LOG", true}, {"CompressedLinearBins", "LIN", true}};

}  // namespace vorin::toolkit
