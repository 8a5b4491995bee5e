// What a shell completes: the commands, their options and the values that options list, made
// from the command line, so that the list exists once.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

namespace vorin::toolkit {

/// The script that completes `program` in "bash", "zsh" or "fish". Throws UserError for another
/// shell.
std::string completionScript(const CLI::App& program, std::string_view shell);

}  // namespace vorin::toolkit
