// A log of its own for one test: a name no other test uses, read back as lines.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/store.hpp"

namespace vorin::test {

class LogFile {
 public:
  /// `name` in capitals: the store upper-cases what it keeps.
  explicit LogFile(const std::string& name) : path_(name + std::to_string(getpid()) + ".LOG") {
    std::remove(path_.c_str());
    setText("FLOG", path_);
  }
  ~LogFile() {
    std::remove(path_.c_str());
    setText("FLOG", "Vorin");
  }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  const std::string& path() const { return path_; }

  std::vector<std::string> lines() const {
    std::ifstream in(path_);
    std::vector<std::string> result;
    for (std::string line; std::getline(in, line);) {
      result.push_back(line);
    }
    return result;
  }

  /// The lines after the four of the header.
  std::vector<std::string> body() const {
    const std::vector<std::string> all = lines();
    const std::size_t header = std::min<std::size_t>(all.size(), 4);
    return {std::next(all.begin(), static_cast<std::ptrdiff_t>(header)), all.end()};
  }

 private:
  std::string path_;
};

}  // namespace vorin::test
