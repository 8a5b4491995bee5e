// Computed two-dimensional data with known truth.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "toolkit/two_dimensional/map_inversion.hpp"

namespace vorin::toolkit {

/// A peak that is normal in the logarithms of both axes.
struct SimulatedMapPeak {
  double position1;  ///< centre, SI units
  double position2;
  double width;      ///< standard deviation in decades, the same along both axes
  double amplitude;  ///< total
};

/// Reads "POSITION1:POSITION2:WIDTH:AMPLITUDE"; positions may have units. Throws UserError,
/// which names `option`, for anything else.
SimulatedMapPeak parseMapPeak(std::string_view text, std::string_view option, Quantity first,
                              Quantity second);

/// Reads "FROM:TO:N", evenly spaced in the logarithm, or "FROM:TO:N:linear". Throws UserError,
/// which names `option`, for anything else.
std::vector<double> parseAxis(std::string_view text, std::string_view option, Quantity quantity);

/// The sum of `peaks` on the grids, row after row; each is scaled to its amplitude there, and one
/// too narrow for the grids goes to the nearest cell whole.
std::vector<double> mapOf(const std::vector<SimulatedMapPeak>& peaks,
                          const std::vector<double>& grid1, const std::vector<double>& grid2);

/// K1 F K2' + normal noise of standard deviation `noise` from `seed`, the same on every machine.
/// `settings` has the kernels and the grids of `truth`.
std::vector<double> simulatedSamples(const MapData& axes, const MapSettings& settings,
                                     const std::vector<double>& truth, double noise,
                                     std::uint64_t seed);

/// Two channels of `truth` at `phase` radians, each with noise of its own.
struct TwoMapChannels {
  std::vector<double> real;
  std::vector<double> imaginary;
};
TwoMapChannels simulatedMapChannels(const MapData& axes, const MapSettings& settings,
                                    const std::vector<double>& truth, double noise,
                                    std::uint64_t seed, double phase);

/// The grid of an axis of a computed map where none is given: 100 values, 0.1 ms to 10 s, or 1e-12
/// to 1e-7 m2/s.
std::vector<double> simulationGrid(Kernel kernel);

/// Throws UserError, which names `name`, unless both centres of `peak` lie inside the grids.
void requireInside(const SimulatedMapPeak& peak, std::string_view name,
                   const std::vector<double>& grid1, const std::vector<double>& grid2);

}  // namespace vorin::toolkit
