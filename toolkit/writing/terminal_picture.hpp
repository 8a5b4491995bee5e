// A distribution in a few lines of text, for a terminal.
#pragma once

#include <string>

#include "toolkit/model/distribution.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

struct TerminalStyle {
  bool unicode = false;  ///< eighths of blocks, otherwise '#'
  bool colour = false;   ///< bars in colour, by ANSI sequences
};

/// What the terminal behind standard output shows, by the environment: the locale
/// (LC_ALL, LC_CTYPE, LANG), NO_COLOR (https://no-color.org) and TERM.
TerminalStyle terminalStyle();

/// Bars over the logarithm of the grid, 60 columns by 8 lines, under them an axis with
/// its decades. Nothing for an empty distribution. The height is the amplitude per decade.
std::string terminalPicture(const Distribution& distribution, Kernel kernel,
                            const TerminalStyle& style);

}  // namespace vorin::toolkit
