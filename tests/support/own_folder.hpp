// An empty folder of its own for one test to work in, gone afterwards.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vorin::test {

class OwnFolder {
 public:
  OwnFolder() : home_(std::filesystem::current_path()) {
    const auto* const info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name =
        std::string(info->test_suite_name()) + '-' + info->name() + '-' + std::to_string(getpid());
    std::replace(name.begin(), name.end(), '/', '-');  // of a test with parameters
    folder_ = home_ / name;
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
    std::filesystem::current_path(folder_);
  }
  ~OwnFolder() {
    std::filesystem::current_path(home_);
    std::filesystem::remove_all(folder_);
  }
  OwnFolder(const OwnFolder&) = delete;
  OwnFolder& operator=(const OwnFolder&) = delete;

  /// The names of the files in the folder, not counting folders.
  static std::vector<std::string> files() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
      if (!entry.is_directory()) {
        names.push_back(entry.path().filename().string());
      }
    }
    return names;
  }

  /// The lines of the file `name`; none if there is no such file.
  static std::vector<std::string> lines(const std::string& name) {
    std::ifstream file(name);
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);) {
      all.push_back(line);
    }
    return all;
  }

 private:
  std::filesystem::path home_;
  std::filesystem::path folder_;
};

}  // namespace vorin::test
