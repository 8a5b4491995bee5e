// Folders on POSIX systems.
#include <stdlib.h>  // mkdtemp
#include <unistd.h>

#include <string>

#include "toolkit/system/folders.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

bool canWriteInto(const fs::path& folder) {
  return ::access(folder.c_str(), W_OK) == 0;
}

fs::path makePrivateFolder(const fs::path& base) {
  std::string name = (base / "vorin-XXXXXX").string();
  return ::mkdtemp(name.data()) == nullptr ? fs::path() : fs::path(name);
}

}  // namespace vorin::toolkit
