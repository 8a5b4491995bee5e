// A folder of its own for a target that leaves logs, gone when the fuzzer ends.
#pragma once

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace vorin::fuzz {

class OwnFolder {
 public:
  OwnFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vorin-fuzz-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
      std::abort();
    }
    folder_ = name;
    std::filesystem::current_path(folder_);
  }
  ~OwnFolder() {
    std::error_code ignored;
    std::filesystem::current_path("/", ignored);
    std::filesystem::remove_all(folder_, ignored);
  }
  OwnFolder(const OwnFolder&) = delete;
  OwnFolder& operator=(const OwnFolder&) = delete;

 private:
  std::filesystem::path folder_;
};

}  // namespace vorin::fuzz
