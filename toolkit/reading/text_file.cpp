#include "toolkit/reading/text_file.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "toolkit/reading/encoding.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// No decay is as large as this, but an endless device is.
constexpr std::size_t mostBytes = 1'000'000'000;

std::string readAll(std::istream& in, const std::string& name) {
  std::string content;
  std::array<char, 65536> block{};
  while (in.read(block.data(), static_cast<std::streamsize>(block.size())), in.gcount() > 0) {
    content.append(block.data(), static_cast<std::size_t>(in.gcount()));
    if (content.size() > mostBytes) {
      throw UserError(
          fmt::format("{}: this is more than {} bytes, too much for one decay", name, mostBytes));
    }
  }
  if (in.bad()) {
    throw UserError(fmt::format("{}: the file can't be read to its end", name));
  }
  return content;
}

std::ifstream openForReading(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    throw UserError(fmt::format("{}: there is no such file; give the name of a CSV file",
                                inOneLine(path.string())));
  }
  if (fs::is_directory(status)) {
    throw UserError(fmt::format("{}: this is a folder; give the name of a CSV file in it",
                                inOneLine(path.string())));
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw UserError(fmt::format("{}: the file can't be opened ({})", inOneLine(path.string()),
                                std::strerror(errno)));
  }
  return file;
}

/// Throws UserError for content that shows that it is not text.
void requireText(const TextFile& file) {
  if (std::string_view(file.content).starts_with("PK\x03\x04")) {
    throw UserError(
        fmt::format("{}: this is a zip archive or a workbook; save the sheet as CSV", file.name));
  }
  if (const std::size_t at = file.content.find('\0'); at != std::string::npos) {
    const auto line = std::count(file.content.begin(),
                                 file.content.begin() + static_cast<std::ptrdiff_t>(at), '\n');
    throw UserError(fmt::format(
        "{}, line {}: this is not text (a byte is 0); give a text file with one row a sample",
        file.name, line + 1));
  }
}

}  // namespace

FileBytes readFileBytes(const fs::path& path) {
  FileBytes file;
  if (path == "-") {
    file.name = "standard input";
    file.content = readAll(std::cin, file.name);
  } else {
    file.name = inOneLine(path.string());
    std::ifstream in = openForReading(path);
    file.content = readAll(in, file.name);
  }
  if (isGzip(file.content)) {
    file.content = unzipped(file.content, file.name);
    file.encoding = "gzip";
  }
  return file;
}

TextFile textOf(FileBytes file) {
  TextFile text;
  text.name = std::move(file.name);
  text.encoding = std::move(file.encoding);
  if (const std::string_view encoding = decode(file.content); !encoding.empty()) {
    text.encoding += fmt::format("{}{}", text.encoding.empty() ? "" : ", ", encoding);
  }
  text.content = std::move(file.content);
  requireText(text);
  return text;
}

TextFile readTextFile(const fs::path& path) {
  return textOf(readFileBytes(path));
}

std::string_view takeLine(std::string_view& rest) {
  const std::size_t end = rest.find_first_of("\r\n");
  const std::string_view line = rest.substr(0, end);
  if (end == std::string_view::npos) {
    rest = {};
    return line;
  }
  const bool two = rest[end] == '\r' && end + 1 < rest.size() && rest[end + 1] == '\n';
  rest.remove_prefix(end + (two ? 2 : 1));
  return line;
}

}  // namespace vorin::toolkit
