// What files by descriptor have in common on all systems.
#include "toolkit/mapping/files/own_file.hpp"

#include <fmt/format.h>

#include <utility>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

OwnFile::OwnFile(OwnFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), name_(std::move(other.name_)) {}

OwnFile& OwnFile::operator=(OwnFile&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(name_, other.name_);
  return *this;
}

void OwnFile::read(std::uint64_t at, char* bytes, std::size_t count) const {
  if (readSome(at, bytes, count) != count) {
    throw UserError(fmt::format("{}: the file ends early; it was cut while it was read", name_));
  }
}

fs::path folderAbove(const fs::path& path) {
  std::error_code error;
  fs::path folder = fs::absolute(path).parent_path();
  while (!fs::is_directory(folder, error) && folder.has_relative_path()) {
    folder = folder.parent_path();
  }
  return folder;
}

}  // namespace vorin::toolkit
