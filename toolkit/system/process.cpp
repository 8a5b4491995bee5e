// The search of PATH, which differs in few characters from system to system.
#include "toolkit/system/process.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
constexpr char separator = ';';
constexpr std::string_view ending = ".exe";
constexpr std::array<const char*, 2> installed{"ProgramW6432", "ProgramFiles"};
#else
constexpr char separator = ':';
constexpr std::string_view ending;
constexpr std::array<const char*, 0> installed{};
#endif

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

bool isProgram(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  constexpr fs::perms executable =
      fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  return fs::is_regular_file(status) && (status.permissions() & executable) != fs::perms::none;
}

}  // namespace

fs::path findProgram(const std::string& name) {
  const std::string file = name + std::string(ending);
  const std::string folders = environment("PATH");
  for (std::size_t at = 0; at <= folders.size();) {
    const std::size_t end = std::min(folders.find(separator, at), folders.size());
    fs::path path = fs::path(folders.substr(at, end - at)) / file;
    if (isProgram(path)) {
      return path;
    }
    at = end + 1;
  }
  for (const char* const variable : installed) {
    fs::path path = fs::path(environment(variable)) / name / "bin" / file;
    if (isProgram(path)) {
      return path;
    }
  }
  return {};
}

}  // namespace vorin::toolkit
