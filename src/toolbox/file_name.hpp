// Files by the names that hosts give, which are bytes.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace vorin {

/// std::fopen of `name` with the modes "w", "wx" and "r+", alike on every system: what is written
/// stays as it is (a line ends in "\n" on Windows, too), and "x" demands a missing file. A name is
/// bytes to most systems. On Windows it is UTF-8 where it is valid UTF-8, else text in the code
/// page of the process, which is what hosts of the narrow interfaces there have.
std::FILE* openFile(const std::string& name, const char* mode);

#if defined(_WIN32)
/// `name`, in the encoding that openFile() says, as the system's own.
std::wstring wideName(std::string_view name);
#endif

}  // namespace vorin
