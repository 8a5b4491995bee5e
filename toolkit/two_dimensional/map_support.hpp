// The range of each axis that the data have signal in.
#pragma once

#include "toolkit/two_dimensional/map_inversion.hpp"

namespace vorin::toolkit {

/// Which axes.
struct MapAxes {
  bool first = false;
  bool second = false;
};

/// Narrows the grids of `axes` in `settings`, which are evenly spaced in the logarithm, to where
/// the data have signal; the number of values stays.
///
/// What has relaxed by the first sample, or hardly by the last, takes up noise at next to no cost,
/// and one hundredth of the amplitude two decades away shifts a log mean by a twentieth. So the map
/// is solved on a coarse grid at the weight of the noise, and an end of an axis is cut as far as
/// that raises the penalised functional |A F - d|^2 + w |F|^2 by less than 6 noise variances (a
/// likelihood ratio at the edge of its range: Chernoff, Ann. Math. Stat. 25, 573, 1954; the same
/// rule as in one dimension). The rest is widened by a quarter of its width, and by 0.3 decades at
/// least, inside the range that the grid had.
///
/// Leaves the grids as they are where the noise can't be told from the data and is not given.
void narrowGrids(const MapData& data, MapSettings& settings, MapAxes axes);

}  // namespace vorin::toolkit
