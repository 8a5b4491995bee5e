// Text files as they come from instruments, spreadsheets and pipes.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vorin::toolkit {

struct TextFile {
  std::string name;     ///< for messages: the path as given, or "standard input"
  std::string content;  ///< without a byte-order mark
};

/// The text of `path`; "-" is standard input. Throws UserError for what is not
/// there, can't be read, or is no text (UTF-16, an archive, a byte 0).
TextFile readTextFile(const std::filesystem::path& path);

/// Takes the first line off `rest` and returns it without its end, which may be LF, CR LF
/// or CR alone.
std::string_view takeLine(std::string_view& rest);

}  // namespace vorin::toolkit
