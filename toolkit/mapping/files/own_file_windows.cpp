// Files by descriptor on Windows. Others may read, rename and remove them meanwhile, as on POSIX
// systems; one without a name is removed by the system at the end of its last handle.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <system_error>

#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/own_file_failures.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostAtOnce = std::size_t{1} << 30U;  // a count has 32 bits here

std::string lastError() {
  return std::error_code(static_cast<int>(GetLastError()), std::system_category()).message();
}

HANDLE handleOf(int descriptor) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

/// -1 where it can't be opened.
int opened(const fs::path& path, DWORD access, DWORD disposition, DWORD attributes) {
  const HANDLE handle =
      CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, disposition, attributes, nullptr);
  return handle == INVALID_HANDLE_VALUE
             ? -1
             : _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
}

/// The place of a read or write.
OVERLAPPED placeAt(std::uint64_t at) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(at & 0xFFFFFFFFU);
  place.OffsetHigh = static_cast<DWORD>(at >> 32U);
  return place;
}

}  // namespace

OwnFile::~OwnFile() {
  if (descriptor_ >= 0) {
    _close(descriptor_);
  }
}

OwnFile OwnFile::toRead(const fs::path& path) {
  OwnFile file(opened(path, GENERIC_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL), path.string());
  if (file.descriptor_ < 0) {
    throw cannotBe("read", path.string(), lastError());
  }
  if (GetFileType(handleOf(file.descriptor_)) != FILE_TYPE_DISK) {
    throw notOnADisk(path);
  }
  return file;
}

OwnFile OwnFile::toWrite(const fs::path& path, bool emptied) {
  OwnFile file(opened(path, GENERIC_READ | GENERIC_WRITE, emptied ? CREATE_ALWAYS : OPEN_ALWAYS,
                      FILE_ATTRIBUTE_NORMAL),
               path.string());
  if (file.descriptor_ < 0) {
    throw cannotBe("written", path.string(), lastError());
  }
  return file;
}

OwnFile OwnFile::unnamed(const fs::path& folder) {
  std::array<wchar_t, MAX_PATH> name{};
  const bool made = GetTempFileNameW(folder.c_str(), L"vor", 0, name.data()) != 0;
  OwnFile file(made ? opened(name.data(), GENERIC_READ | GENERIC_WRITE | DELETE, OPEN_EXISTING,
                             FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE)
                    : -1,
               "a temporary file in " + folder.string());
  if (file.descriptor_ < 0) {
    throw noTemporaryFile(folder, lastError());
  }
  return file;
}

std::uint64_t OwnFile::size() const {
  LARGE_INTEGER size{};
  return GetFileSizeEx(handleOf(descriptor_), &size) == 0
             ? 0
             : static_cast<std::uint64_t>(size.QuadPart);
}

std::size_t OwnFile::readSome(std::uint64_t at, char* bytes, std::size_t count) const {
  std::size_t done = 0;
  while (done < count) {
    OVERLAPPED place = placeAt(at + done);
    DWORD got = 0;
    if (ReadFile(handleOf(descriptor_), bytes + done,
                 static_cast<DWORD>(std::min(count - done, mostAtOnce)), &got, &place) == 0 &&
        GetLastError() != ERROR_HANDLE_EOF) {
      throw cannotBe("read", name_, lastError());
    }
    if (got == 0) {
      break;
    }
    done += got;
  }
  return done;
}

void OwnFile::write(std::uint64_t at, const char* bytes, std::size_t count) const {
  std::size_t done = 0;
  while (done < count) {
    OVERLAPPED place = placeAt(at + done);
    DWORD put = 0;
    if (WriteFile(handleOf(descriptor_), bytes + done,
                  static_cast<DWORD>(std::min(count - done, mostAtOnce)), &put, &place) == 0 ||
        put == 0) {
      throw cannotBe("written", name_, lastError());
    }
    done += put;
  }
}

void OwnFile::cut(std::uint64_t size) const {
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<LONGLONG>(size);
  const HANDLE handle = handleOf(descriptor_);
  if (SetFilePointerEx(handle, end, nullptr, FILE_BEGIN) == 0 || SetEndOfFile(handle) == 0) {
    throw cannotBe("written", name_, lastError());
  }
}

void OwnFile::flush() const {
  if (FlushFileBuffers(handleOf(descriptor_)) == 0) {
    throw cannotBe("written", name_, lastError());
  }
}

}  // namespace vorin::toolkit
