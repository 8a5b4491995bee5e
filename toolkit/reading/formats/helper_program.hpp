// Runs vorin-containers, the program that reads HDF5 and MATLAB files (toolkit/reading/containers).
#pragma once

#include <string>
#include <string_view>

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

}  // namespace vorin::toolkit
