// Pictures by gnuplot: what its scripts have in common.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "toolkit/reading/files.hpp"

namespace vorin::toolkit {

/// Throws UserError, which names `option`, unless gnuplot can be run.
void requireGnuplotInstalled(const std::filesystem::path& picture, std::string_view option);

/// The terminal that draws the kind of `picture` (.png, .svg, .pdf) at a size given in pixels.
/// Texts are `textScale` times as large as usual. PNG has `dpi` in place of 96 pixels to an inch,
/// so that it is sharper at the same size.
std::string gnuplotTerminal(const std::filesystem::path& picture, int width, int height,
                            int dpi = 96, double textScale = 1.0);

/// The file name of `path` for a title: at most 34 characters, of a longer one both ends.
std::string shortName(const std::string& path);

/// `text` inside single quotes of a script, control characters as '?'.
std::string scriptQuoted(std::string_view text);

/// Runs `script` with `terminal` in `scratch`, and returns the content of the file it draws. Any
/// number of threads may call, each with a folder of its own. gnuplot is in a process group of its
/// own, so that Ctrl-C in a terminal does not end it half way. Throws UserError, which names
/// `picture`, when gnuplot fails.
std::string runGnuplot(const std::filesystem::path& picture, std::string_view terminal,
                       const PrivateFolder& scratch, std::string_view script);

}  // namespace vorin::toolkit
