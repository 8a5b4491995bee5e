// What the run of a map and the joining of its parts have in common.
#pragma once

#include "map_options.hpp"
#include "toolkit/mapping/files/map_output.hpp"

namespace vorin::toolkit {

/// Writes the maps, tells how many voxels have which status, and what was written.
ExitStatus finishMap(const MapResults& results, MapOutput& output, const std::string& out);

}  // namespace vorin::toolkit
