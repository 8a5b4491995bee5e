// What is read off a map: its total, log means, projections, peaks, and regions of it.
#pragma once

#include <vector>

namespace vorin::toolkit {

/// A map with its axes: grid1.size() x grid2.size() amplitudes, row after row, none negative;
/// the grids rise and are above 0.
struct MapView {
  const std::vector<double>& grid1;
  const std::vector<double>& grid2;
  const std::vector<double>& amplitude;

  double at(std::size_t i, std::size_t k) const { return amplitude[i * grid2.size() + k]; }
};

/// The sum of all amplitudes.
double totalAmplitude(const MapView& map);

/// The sums of the rows: the distribution over the first axis.
std::vector<double> projection1(const MapView& map);
/// The sums of the columns: the distribution over the second axis.
std::vector<double> projection2(const MapView& map);

/// A maximum of a map and the cells that belong to it.
struct MapPeak {
  double position1;  ///< of the maximum, between grid values
  double position2;
  double share;     ///< part of the total, 0 to 1
  double logMean1;  ///< log means over its cells
  double logMean2;
  double width1;  ///< standard deviations of log10 over its cells, in decades
  double width2;
  bool atGridEnd;  ///< the maximum lies on an edge of the map
};

/// The peaks, the largest share first, without those whose share is below `smallestShare`.
///
/// Cells are taken in falling order; one beside no cell taken before begins a peak, others join
/// that of their highest neighbour (of eight). Where two peaks meet the lower one is a peak of
/// its own if it stands out by a fifth of its height and holds `smallestShare` of the total, and
/// becomes part of the other if not: peaks by their persistence (Edelsbrunner, Letscher and
/// Zomorodian, Discrete Comput. Geom. 28, 511, 2002), so that ripples on a peak are none.
/// A position is the vertex of the parabolas over the logarithm through the maximum and its
/// neighbours along each axis. `cells`, if there is one, takes the index of the peak of each
/// cell, -1 for cells of none.
std::vector<MapPeak> mapPeaks(const MapView& map, double smallestShare = 0.005,
                              std::vector<int>* cells = nullptr);

/// A rectangle of a map, both ends included.
struct MapRegion {
  double from1;
  double to1;
  double from2;
  double to2;
};

/// The part of each cell that lies in `region`, 0 to 1, row after row. A grid value covers the
/// interval half way to its neighbours in the logarithm.
std::vector<double> cellParts(const MapView& map, const MapRegion& region);

/// The part of the total that lies in `region`, 0 to 1; not a number when the total is 0. Cells at
/// its edge count by their part inside, so that the share does not jump with the region.
double regionShare(const MapView& map, const MapRegion& region);

}  // namespace vorin::toolkit
