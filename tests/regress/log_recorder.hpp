// Replaces the log's writer in a test program and keeps its lines. A program
// that links log_recorder.cpp does not take the library's own log.
#pragma once

#include <string>
#include <vector>

namespace vorin::testing {

/// The lines written since the program's start or the last clear(), as
/// module::kind::message.
std::vector<std::string>& loggedLines();

}  // namespace vorin::testing
