// The console on POSIX systems, where all of it is bytes.
#include <unistd.h>

#include "toolkit/system/console.hpp"

namespace vorin::toolkit {

std::vector<std::string> commandWords(int argc, const char* const* argv) {
  return {argv + 1, argv + argc};
}

void prepareConsole() {}

bool outputIsTerminal() {
  return ::isatty(STDOUT_FILENO) == 1;
}

bool errorsAreOnTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

}  // namespace vorin::toolkit
