// The console of a program: its words, standard input and outputs.
#pragma once

#include <string>
#include <vector>

namespace vorin::toolkit {

/// The words behind the program's name, as UTF-8 on Windows, from main's arguments.
std::vector<std::string> commandWords(int argc, const char* const* argv);

/// Standard input and output as bytes, and consoles that show UTF-8: the same files and texts on
/// every system. Called once, before the first output.
void prepareConsole();

/// Whether standard output, or standard error, is a terminal.
bool outputIsTerminal();
bool errorsAreOnTerminal();

}  // namespace vorin::toolkit
