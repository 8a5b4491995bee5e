// The picture of an L-curve.
#pragma once

#include <filesystem>
#include <string>

#include "toolkit/inverting/lcurve.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// Draws the curve in `scratch` and returns the file's content; its kind (.png, .svg, .pdf) is that
/// of `picture`. Of `context` it takes the name, the unit of the amplitudes and the style. Throws
/// UserError when gnuplot fails.
std::string drawLCurve(const std::filesystem::path& picture, const PrivateFolder& scratch,
                       const LCurve& curve, const ReportContext& context);

}  // namespace vorin::toolkit
