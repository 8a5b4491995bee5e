// Files by descriptor on POSIX systems.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/own_file_failures.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

OwnFile::~OwnFile() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
  }
}

OwnFile OwnFile::toRead(const fs::path& path) {
  OwnFile file(::open(path.c_str(), O_RDONLY | O_CLOEXEC), path.string());
  struct stat status {};
  if (file.descriptor_ < 0) {
    throw cannotBe("read", path.string(), std::strerror(errno));
  }
  if (::fstat(file.descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
    throw notOnADisk(path);
  }
  return file;
}

OwnFile OwnFile::toWrite(const fs::path& path, bool emptied) {
  constexpr int rights = 0666;
  OwnFile file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | (emptied ? O_TRUNC : 0), rights),
               path.string());
  if (file.descriptor_ < 0) {
    throw cannotBe("written", path.string(), std::strerror(errno));
  }
  return file;
}

OwnFile OwnFile::unnamed(const fs::path& folder) {
  std::string name = (folder / ".vorin-XXXXXX").string();
  OwnFile file(::mkostemp(name.data(), O_CLOEXEC), "a temporary file in " + folder.string());
  if (file.descriptor_ < 0) {
    throw noTemporaryFile(folder, std::strerror(errno));
  }
  ::unlink(name.c_str());
  return file;
}

std::uint64_t OwnFile::size() const {
  struct stat status {};
  return ::fstat(descriptor_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::size_t OwnFile::readSome(std::uint64_t at, char* bytes, std::size_t count) const {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got =
        ::pread(descriptor_, bytes + done, count - done, static_cast<off_t>(at + done));
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      throw cannotBe("read", name_, std::strerror(errno));
    }
    if (got == 0) {
      break;
    }
    done += static_cast<std::size_t>(got);
  }
  return done;
}

void OwnFile::write(std::uint64_t at, const char* bytes, std::size_t count) const {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t put =
        ::pwrite(descriptor_, bytes + done, count - done, static_cast<off_t>(at + done));
    if (put < 0 && errno == EINTR) {
      continue;
    }
    if (put <= 0) {
      throw cannotBe("written", name_, std::strerror(put < 0 ? errno : ENOSPC));
    }
    done += static_cast<std::size_t>(put);
  }
}

void OwnFile::cut(std::uint64_t size) const {
  if (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0) {
    throw cannotBe("written", name_, std::strerror(errno));
  }
}

void OwnFile::flush() const {
  if (::fdatasync(descriptor_) != 0 && errno != EINVAL && errno != EROFS) {
    throw cannotBe("written", name_, std::strerror(errno));
  }
}

}  // namespace vorin::toolkit
