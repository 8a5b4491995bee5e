// How far peaks and regions of a map are to be trusted: the spread of their results when the
// noise is drawn again from the residual (Efron, Ann. Stat. 7, 1, 1979).
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "toolkit/two_dimensional/map_inversion.hpp"
#include "toolkit/two_dimensional/map_measures.hpp"

namespace vorin::toolkit {

/// The middle 68 % of the replicates.
struct MapInterval {
  double lower = 0.0;
  double upper = 0.0;
};

/// The spread of one peak or region: its share, and the log means of what lies in it.
struct MapSpread {
  MapInterval share;
  MapInterval logMean1;
  MapInterval logMean2;
};

struct MapBootstrapSettings {
  int replicates = 100;
  std::uint64_t seed = 1;
  std::vector<MapRegion> regions;       ///< asked for besides the peaks
  std::function<bool(int)> progress{};  ///< called with the count done; false cancels
};

struct MapBootstrap {
  std::vector<MapSpread> peaks;    ///< in the order of mapPeaks()
  std::vector<MapSpread> regions;  ///< in the order of the settings
  int replicates = 0;              ///< that were inverted with success
};

/// The spread of `inversion`, which invertMap(data, settings) returned.
///
/// A replicate is the fit plus residuals of single samples, drawn with replacement from the
/// inversion's own without their mean, inverted at the weight of `inversion`. A peak's cells are
/// those of the inversion in every replicate, so that the replicates answer for the same part of
/// the map. The intervals show what the noise does, not what the penalty has moved.
MapBootstrap bootstrapMap(const MapData& data, const MapSettings& settings,
                          const MapInversion& inversion, const MapBootstrapSettings& options);

}  // namespace vorin::toolkit
