// What is done with the command line as a whole: the command that may be left out, and the
// suggestion for one that is misspelt.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace vorin::toolkit {

/// The commands that --help lists, in its order.
std::vector<const CLI::App*> shownCommands(const CLI::App& program);

/// `words`, those behind the program's name, with "invert" before them where the first one is no
/// command and no option of the program: an option of another name, or what may be a file. Throws
/// UserError, with the nearest command, for a word that is neither.
std::vector<std::string> withCommand(const CLI::App& program, std::vector<std::string> words);

/// " (did you mean --kernel?)" for the first of `words` that is an option which its command
/// hasn't and of which one is near; otherwise empty.
std::string suggestion(const CLI::App& program, const std::vector<std::string>& words);

}  // namespace vorin::toolkit
