// Folders on Windows.
#include <array>
#include <cerrno>
#include <random>
#include <string>

#include "toolkit/system/folders.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

bool canWriteInto(const fs::path& /*folder*/) {
  return true;  // rights are lists here, which only the attempt evaluates as the system does
}

fs::path makePrivateFolder(const fs::path& base) {
  constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
  constexpr int attempts = 100;
  std::random_device source;
  std::uniform_int_distribution<std::size_t> any(0, letters.size() - 1);
  for (int k = 0; k < attempts; ++k) {
    std::string name = "vorin-";
    for (int i = 0; i < 6; ++i) {
      name += letters[any(source)];
    }
    const fs::path folder = base / name;
    std::error_code error;
    // The temporary folder of a user is that user's alone, and so is what is made in it.
    if (fs::create_directory(folder, error)) {
      return folder;
    }
    if (error) {
      errno = error.default_error_condition().value();
      return {};
    }
  }
  errno = EEXIST;
  return {};
}

}  // namespace vorin::toolkit
