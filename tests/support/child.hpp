// Runs the program as a user does, in a folder of its own, and keeps its output and its
// messages.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/wait.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/system/folders.hpp"

namespace vorin::toolkit::test {

namespace fs = std::filesystem;

inline std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeFile(const fs::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
}

/// A folder that lives as long as the object.
class TemporaryFolder {
 public:
  TemporaryFolder() : path_(makePrivateFolder(fs::temp_directory_path())) {}
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }

  const fs::path& path() const { return path_; }
  fs::path operator/(std::string_view name) const { return path_ / name; }

  /// The names in the folder, hidden ones included, sorted.
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const fs::directory_entry& entry : fs::directory_iterator(path_)) {
      result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
  }

 private:
  fs::path path_;
};

/// `word` as the shell takes it for one word, whatever it holds.
inline std::string shellWord(std::string_view word) {
  std::string result(1, '\'');
  for (char c : word) {
    if (c == '\'') {
      result.append("'\\''");
    } else {
      result.push_back(c);
    }
  }
  result.push_back('\'');
  return result;
}

struct Outcome {
  int status = -1;  ///< exit status; -1 when the program was ended by a signal
  std::string out;
  std::string err;
};

#ifdef _WIN32
/// Runs VORIN_PROGRAM with `arguments` in `folder`, its three streams the files "in", "out" and
/// "err" of `channels`; its exit status, -1 where it can't be run (child_windows.cpp).
int runInWindows(const fs::path& folder, const std::string& program,
                 const std::vector<std::string>& arguments, const fs::path& channels);
#endif

/// Runs `arguments` (words, quoted here for the shell) with `folder` as working directory
/// and `input` as standard input.
inline Outcome runProgram(const fs::path& folder, const std::vector<std::string>& arguments,
                          std::string_view input = {}) {
  const TemporaryFolder channels;
  Outcome outcome;
  writeFile(channels / "in", input);
#ifdef _WIN32
  outcome.status = runInWindows(folder, VORIN_PROGRAM, arguments, channels.path());
#else
  std::string command =
      fmt::format("cd {} && {}", shellWord(folder.string()), shellWord(VORIN_PROGRAM));
  for (const std::string& argument : arguments) {
    command += ' ';
    command += shellWord(argument);
  }
  command +=
      fmt::format(" <{} >{} 2>{}", shellWord((channels / "in").string()),
                  shellWord((channels / "out").string()), shellWord((channels / "err").string()));
  const int raw = std::system(command.c_str());
  outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
#endif
  outcome.out = contentOf(channels / "out");
  outcome.err = contentOf(channels / "err");
  return outcome;
}

/// `outcome` is that of bad input: `sentence`, exit status 2, and nothing on standard output.
inline void expectRefusal(const Outcome& outcome, std::string_view sentence) {
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, fmt::format("vorin: {}\n", sentence));
  EXPECT_EQ(outcome.out, "");
}

}  // namespace vorin::toolkit::test
