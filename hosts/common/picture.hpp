// The picture of an inversion, drawn by gnuplot: the decay with its fit, the
// residual, and the distribution.
#pragma once

#include <filesystem>
#include <string>

#include "common/files.hpp"
#include "common/report.hpp"

namespace vorin::host {

/// Throws UserError, which names `option`, unless gnuplot can be run and the name
/// of `picture` ends in .png, .svg or .pdf.
void requireGnuplot(const std::filesystem::path& picture, std::string_view option);

/// Draws the picture in `scratch`, which must be the working directory, and returns
/// the file's content. The kind (.png, .svg, .pdf) is that of `picture`. Throws
/// UserError when gnuplot fails.
std::string drawPicture(const std::filesystem::path& picture, const ScratchFolder& scratch,
                        const Inversion& inversion, const ReportContext& context);

}  // namespace vorin::host
