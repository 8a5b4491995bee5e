// Runs vorin-containers, the program that reads HDF5 and MATLAB files (toolkit/reading/containers).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

/// What the program answered.
struct HelperAnswer {
  bool found = false;   ///< there is such a program
  bool loaded = false;  ///< it could be run, with the libraries that it needs
  std::string output;   ///< its standard output; cut where it ended early
};

/// Gives `content` to the program as its standard input, with the arguments `kind` and `wanted`,
/// and waits for its end. It gets at most a minute of processor time and 3 GB, opens no file but
/// that input, and its messages are dropped. It is looked for beside the file that this code is in
/// (the command or the toolkit's library) and in libexec/vorin of the same tree, or it is what
/// VORIN_CONTAINERS in the environment names.
HelperAnswer askHelper(std::string_view content, const std::string& kind,
                       const std::string& wanted);

/// The sentence about the file `name`, which is `what` ("an HDF5 file"), where the program is not
/// found, or is and can't be run.
UserError withoutHelper(std::string_view name, std::string_view what, bool found);

/// The program while it works: bytes to its standard input and from its standard output.
class HelperProcess {
 public:
  /// Starts the program with `arguments`. Its standard input is the open file `input`, or what
  /// send() gives it where that is below 0. found() and running() tell how it went.
  HelperProcess(std::vector<std::string> arguments, int input);
  HelperProcess(const HelperProcess&) = delete;
  HelperProcess& operator=(const HelperProcess&) = delete;
  /// Ends the program where it still runs.
  ~HelperProcess();

  bool found() const { return found_; }
  bool running() const { return child_ > 0; }

  /// False where the program takes no more.
  bool send(const char* bytes, std::size_t count);
  /// No more will be sent.
  void endInput();
  /// The next bytes, fewer than `count` at the end of its output only.
  std::size_t receive(char* bytes, std::size_t count);

  /// Waits for the end of a program that answers no more. False where it was never begun, since a
  /// library of its own is missing.
  bool wasBegun();

 private:
  bool found_ = false;
  int child_ = 0;
  int input_ = -1;
  int output_ = -1;
};

}  // namespace vorin::toolkit
