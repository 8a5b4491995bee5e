// Replaces the log's writer; see log_recorder.hpp.
#include "regress/log_recorder.hpp"

#include "params/log.hpp"

namespace vorin::testing {

std::vector<std::string>& loggedLines() {
  static std::vector<std::string> lines;
  return lines;
}

}  // namespace vorin::testing

namespace vorin::params {

void VorinLogLine(std::string_view module, std::string_view kind, std::string_view message) {
  testing::loggedLines().push_back(std::string(module) + "::" + std::string(kind) +
                                   "::" + std::string(message));
}

void flushLog() {}

}  // namespace vorin::params
