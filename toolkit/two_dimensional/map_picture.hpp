// The picture of a map, drawn by gnuplot: shading and contours on logarithmic axes, the lines of
// equal times, both projections at the sides, and the peaks.
#pragma once

#include <filesystem>
#include <string>

#include "toolkit/reading/files.hpp"
#include "toolkit/two_dimensional/map_report.hpp"

namespace vorin::toolkit {

/// Draws the picture in `scratch`, which must be the working directory, and returns the file's
/// content. The kind (.png, .svg, .pdf) is that of `picture`. Throws UserError when gnuplot fails.
std::string drawMap(const std::filesystem::path& picture, const ScratchFolder& scratch,
                    const MapInversion& inversion, const MapContext& context);

}  // namespace vorin::toolkit
