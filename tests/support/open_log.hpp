// A log that is open for the length of one test, read back without its header.
#pragma once

#include <string>
#include <vector>

#include "params/log.hpp"
#include "support/log_file.hpp"
#include "support/store.hpp"

namespace vorin::test {

/// Opens the log at the level that REPO holds at this moment.
class OpenLog {
 public:
  explicit OpenLog(const std::string& name) : file_(name) { params::VorinLogOpen(true); }
  ~OpenLog() { params::VorinLogOpen(false); }
  OpenLog(const OpenLog&) = delete;
  OpenLog& operator=(const OpenLog&) = delete;

  /// Everything written so far. Closes the log.
  std::vector<std::string> written() {
    params::VorinLogOpen(false);
    return file_.body();
  }

  /// Of everything written so far the lines that begin so. Closes the log.
  std::vector<std::string> writtenBy(const std::string& beginning) {
    std::vector<std::string> found;
    for (const std::string& line : written()) {
      if (line.rfind(beginning, 0) == 0) {
        found.push_back(line);
      }
    }
    return found;
  }

 private:
  LogFile file_;
};

}  // namespace vorin::test
