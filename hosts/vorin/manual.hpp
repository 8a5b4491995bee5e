// The manual page of the program, made from its command line: what --help says of
// commands and options, in the language of man(7), and some sections of its own.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vorin::toolkit {

/// The page, to be kept as vorin.1. `version` is at its foot.
std::string manualPage(const CLI::App& program, const std::string& version);

}  // namespace vorin::toolkit
