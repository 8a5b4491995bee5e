// Several decays and their distributions in one picture.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

enum class Arrangement {
  overlay,  ///< all distributions from one line
  stack     ///< each above the one before
};

/// Eight colours, which colour-blind readers tell apart, in three kinds of lines.
inline constexpr std::size_t mostTogether = 24;

/// What one decay gives to the picture: of many samples those that can be seen.
struct TogetherCurve {
  std::string name;
  std::vector<double> time;  ///< two at least, as the grid has
  std::vector<double> amplitude;
  std::vector<double> fit;
  Distribution distribution;
};

TogetherCurve togetherCurve(const Inversion& inversion, const ReportContext& context);

/// Draws `curves`, one to mostTogether of them under one kernel, in `scratch` and returns the
/// file's content; its kind (.png, .svg, .pdf) is that of `picture`. Of `context` it takes kernel,
/// cutoffs, the unit of the amplitudes and the style. Throws UserError when gnuplot fails.
std::string drawTogether(const std::filesystem::path& picture, const PrivateFolder& scratch,
                         const std::vector<TogetherCurve>& curves, Arrangement arrangement,
                         const ReportContext& context);

}  // namespace vorin::toolkit
