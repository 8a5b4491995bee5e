// Pictures by gnuplot: what its scripts have in common.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "toolkit/reading/files.hpp"

namespace vorin::toolkit {

/// The terminal that draws the kind of `picture` (.png, .svg, .pdf) at a size given in pixels.
std::string gnuplotTerminal(const std::filesystem::path& picture, int width, int height);

/// `text` inside single quotes of a script, control characters as '?'.
std::string scriptQuoted(std::string_view text);

/// Runs `script` behind a terminal of this size in `scratch`, and returns the content of the file
/// it draws. Any number of threads may call, each with a folder of its own. gnuplot is in a
/// process group of its own, so that Ctrl-C in a terminal does not end it half way. Throws
/// UserError, which names `picture`, when gnuplot fails.
std::string runGnuplot(const std::filesystem::path& picture, const PrivateFolder& scratch,
                       std::string_view script, int width, int height);

}  // namespace vorin::toolkit
