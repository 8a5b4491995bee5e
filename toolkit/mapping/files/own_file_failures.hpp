// What OwnFile tells where the system refuses, in the same words on each.
#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

/// `done` is "read" or "written".
inline UserError cannotBe(std::string_view done, const std::string& name,
                          const std::string& reason) {
  return UserError(fmt::format("{}: the file can't be {} ({})", name, done, reason));
}

inline UserError notOnADisk(const std::filesystem::path& path) {
  return UserError(fmt::format(
      "{}: this is no file that can be read in parts; give a file on a disk", path.string()));
}

inline UserError noTemporaryFile(const std::filesystem::path& folder, const std::string& reason) {
  return UserError(
      fmt::format("{}: no temporary file can be made here ({})", folder.string(), reason));
}

}  // namespace vorin::toolkit
