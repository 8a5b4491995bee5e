// Text files as they come from instruments, spreadsheets and pipes.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vorin::toolkit {

/// A file as it is stored, but for gzip, which is unpacked.
struct FileBytes {
  std::string name;  ///< for messages: the path as given, or "standard input"
  std::string content;
  std::string encoding{};  ///< "gzip", or nothing
};

struct TextFile {
  std::string name;        ///< for messages: the path as given, or "standard input"
  std::string content;     ///< in UTF-8, without a byte-order mark
  std::string encoding{};  ///< what it was stored as, for the user: "gzip, UTF-16"; empty for UTF-8
};

/// The bytes of `path`; "-" is standard input. Throws UserError for what is not there, can't be
/// read, or is larger than any decay.
FileBytes readFileBytes(const std::filesystem::path& path);

/// The text in `file`. Throws UserError for what is no text (an archive, a byte 0).
TextFile textOf(FileBytes file);

/// Both of them.
TextFile readTextFile(const std::filesystem::path& path);

/// Takes the first line off `rest` and returns it without its end, which may be LF, CR LF
/// or CR alone.
std::string_view takeLine(std::string_view& rest);

}  // namespace vorin::toolkit
