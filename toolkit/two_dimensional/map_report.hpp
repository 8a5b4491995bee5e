// What is told of a map: a summary, tables and JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "toolkit/two_dimensional/map_bootstrap.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"
#include "toolkit/two_dimensional/map_measures.hpp"
#include "toolkit/writing/picture_style.hpp"

namespace vorin::toolkit {

/// What a report needs besides the inversion.
struct MapContext {
  std::string name;  ///< of the file
  Kernel kernel1 = Kernel::t1Inversion;
  Kernel kernel2 = Kernel::t2;
  std::string kernelFile1;  ///< for Kernel::matrix
  std::string kernelFile2;
  std::optional<double> phase;  ///< radians
  std::vector<MapRegion> regions;
  std::optional<MapBootstrap> bootstrap;
  PictureStyle picture;
};

/// True when both axes are times, so that the ratio of positions is one of relaxation times.
bool bothAreTimes(const MapContext& context);

/// A few lines for the terminal.
std::string mapSummary(const MapInversion& inversion, const MapContext& context);

/// A matrix with its axes in the first row and column, 0 in the corner, comma-separated.
std::string matrixCsv(const std::vector<double>& first, const std::vector<double>& second,
                      const std::vector<double>& values, int digits);

/// All results as one JSON object.
std::string mapJson(const MapInversion& inversion, const MapContext& context);

}  // namespace vorin::toolkit
