// std::fopen, and on Windows what takes its place.
#include "toolbox/file_name.hpp"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <utility>
#endif

namespace vorin {

#if defined(_WIN32)

std::wstring wideName(std::string_view name) {
  const int length = static_cast<int>(name.size());
  // Text of a code page with a letter above 127 is hardly ever valid UTF-8.
  for (const auto& [page, flags] :
       {std::pair<UINT, DWORD>{CP_UTF8, MB_ERR_INVALID_CHARS}, std::pair<UINT, DWORD>{CP_ACP, 0}}) {
    const int count = MultiByteToWideChar(page, flags, name.data(), length, nullptr, 0);
    if (count > 0) {
      std::wstring wide(static_cast<std::size_t>(count), L'\0');
      MultiByteToWideChar(page, flags, name.data(), length, wide.data(), count);
      return wide;
    }
  }
  return {};
}

std::FILE* openFile(const std::string& name, const char* mode) {
  const std::wstring wide = wideName(name);
  if (std::string_view(mode) != "wx") {
    return _wfopen(wide.c_str(), *mode == 'r' ? L"r+b" : L"wb");
  }
  // The run-time library msvcrt.dll overlooks an "x", and empties the file that it should refuse.
  const int number =
      _wopen(wide.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
  std::FILE* const file = number < 0 ? nullptr : _wfdopen(number, L"wb");
  if (file == nullptr && number >= 0) {
    _close(number);
  }
  return file;
}

#else

std::FILE* openFile(const std::string& name, const char* mode) {
  return std::fopen(name.c_str(), mode);
}

#endif

}  // namespace vorin
