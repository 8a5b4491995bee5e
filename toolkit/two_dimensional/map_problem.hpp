// The parts of a two-dimensional problem that inversion and bootstrap share.
#pragma once

#include <vector>

#include "toolkit/two_dimensional/compressed_map.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"

namespace vorin::toolkit {

/// The kernel of axis 1 or 2: samples by grid, column-major.
std::vector<double> axisKernel(const MapData& data, const MapSettings& settings, int axis);

/// Its decomposition, cut where singular values are mostly rounding.
KernelFactor axisFactor(const MapData& data, const MapSettings& settings, int axis);

/// Pairs below this part of the largest product of singular values carry no signal that stands
/// out of the noise of good data: the rows of the search for the weight.
inline constexpr double searchCut = 1e-4;

/// The aim lies this many noise variances above the least sum of squares, about the standard
/// deviation of a chi-squared of the rows. Fewer leave noise as stray cells, which take amplitude
/// from the peaks: over 8 seeds of simulated T1-T2, T2-T2 and D-T2 data the worst error of a
/// peak's amplitude is 0.029, 0.066, 0.028 at 4, 0.011, 0.034, 0.011 at 10 and 0.008, 0.022,
/// 0.008 at 14; more flatten weak peaks.
inline constexpr double aimSurplus = 14.0;

/// The problem with all pairs that matter at `weight` (scaled): a pair far below its root moves
/// the map by no more than the square of their ratio.
CompressedMap problemAt(double weight, const KernelFactor& first, const KernelFactor& second);

/// The noise of a sample, and where it comes from.
struct MapNoise {
  double value = 0.0;
  MapNoiseOrigin origin = MapNoiseOrigin::none;
};

/// The noise as the settings ask for it: given, of the imaginary channel, or from what the
/// projection of `data` to the compressed rows `d` leaves. MapNoiseOrigin::none where there are too
/// few samples beyond the rows, and where nothing is left.
MapNoise mapNoise(const MapData& data, const MapSettings& settings, const std::vector<double>& d);

}  // namespace vorin::toolkit
