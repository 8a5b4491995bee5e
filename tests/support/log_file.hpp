// A log of its own for one test: a name no other test uses, read back as lines.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <fstream>
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

  /// The lines behind the four of the header.
  std::vector<std::string> body() const {
    std::vector<std::string> all = lines();
    all.erase(all.begin(), all.begin() + static_cast<long>(all.size() < 4 ? all.size() : 4));
    return all;
  }

 private:
  std::string path_;
};

}  // namespace vorin::test
