// HDF5 and MATLAB files, which a program of its own reads (helper_program.hpp).
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "toolkit/reading/formats/arrays.hpp"
#include "toolkit/reading/formats/helper_program.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

struct Kind {
  std::string_view argument;  ///< of the program
  std::string_view name;      ///< as it stands in a sentence behind "this is"
  std::string_view format;
};

constexpr Kind hdf5{"hdf5", "an HDF5 file", "HDF5"};
constexpr Kind matlab73{"hdf5", "a MATLAB file of version 7.3", "MATLAB 7.3"};
constexpr Kind matlab5{"matlab", "a MATLAB file", "MATLAB 5 to 7"};
constexpr Kind matlab4{"matlab", "a MATLAB file of version 4", "MATLAB 4"};

/// HDF5 begins at the start, or behind a block of 512 bytes, 1024, 2048 and so on.
bool isHdf5(std::string_view bytes) {
  constexpr std::string_view magic = "\x89HDF\r\n\x1a\n";
  for (std::size_t at = 0; at < bytes.size(); at = at == 0 ? 512 : 2 * at) {
    if (bytes.substr(at).starts_with(magic)) {
      return true;
    }
  }
  return false;
}

/// Version 5 has a text of 124 bytes, a version and a mark of the byte order.
bool isMatlab5(std::string_view bytes) {
  constexpr std::size_t headerLength = 128;
  if (bytes.size() < headerLength) {
    return false;
  }
  const std::string_view mark = bytes.substr(headerLength - 4, 4);
  return mark == std::string_view("\x00\x01IM", 4) || mark == std::string_view("\x01\x00MI", 4);
}

/// Version 4 has no mark: its first variable has a header of five numbers that fit together, and a
/// name.
bool isMatlab4(std::string_view bytes) {
  constexpr std::size_t headerLength = 20;
  constexpr std::int32_t longestName = 64;
  for (const bool bigEndian : {false, true}) {
    const BinaryReader reader(bytes, bigEndian);
    std::array<std::int32_t, 5> header{};
    for (std::size_t k = 0; k < header.size(); ++k) {
      header[k] = reader.int32At(4 * k).value_or(-1);
    }
    const auto [type, rows, columns, isComplex, nameLength] = header;
    const bool plausible = type >= 0 && type / 1000 == (bigEndian ? 1 : 0) &&
                           type / 100 % 10 == 0 && type / 10 % 10 <= 5 && type % 10 <= 2 &&
                           rows > 0 && columns > 0 && (isComplex == 0 || isComplex == 1) &&
                           nameLength > 1 && nameLength <= longestName;
    if (!plausible || bytes.size() < headerLength + static_cast<std::size_t>(nameLength)) {
      continue;
    }
    const std::string_view name =
        bytes.substr(headerLength, static_cast<std::size_t>(nameLength) - 1);
    const bool isName = std::all_of(name.begin(), name.end(), [](char c) {
      return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
    if (isName && bytes[headerLength + static_cast<std::size_t>(nameLength) - 1] == '\0') {
      return true;
    }
  }
  return false;
}

const Kind* kindOf(std::string_view bytes) {
  if (isHdf5(bytes)) {
    return bytes.starts_with("MATLAB 7") ? &matlab73 : &hdf5;
  }
  return isMatlab5(bytes) ? &matlab5 : isMatlab4(bytes) ? &matlab4 : nullptr;
}

}  // namespace

ColumnsFound columnsOfContent(containers::Content content, ArrayFile file) {
  for (containers::Array& array : content.arrays) {
    NamedArray named;
    named.name = std::move(array.name);
    named.shape.assign(array.shape.begin(), array.shape.end());
    named.real = std::move(array.real);
    named.imaginary = std::move(array.imaginary);
    named.times = std::move(array.times);
    named.unit = std::move(array.unit);
    file.arrays.push_back(std::move(named));
  }
  for (const containers::Listed& listed : content.listed) {
    file.others.push_back(fmt::format("{} ({})", listed.name, listed.what));
  }
  return columnsOfArrays(std::move(file));
}

#ifdef VORIN_READ_CONTAINERS

ColumnsFound readContainer(const FormatInput& input, const std::string& inner) {
  const Kind* const kind = kindOf(input.file.content);
  if (kind == nullptr) {
    return nullptr;
  }
  const std::string& name = input.file.name;
  const HelperAnswer answer = askHelper(input.file.content, std::string(kind->argument), inner);
  if (!answer.found || !answer.loaded) {
    throw withoutHelper(name, kind->name, answer.found);
  }
  containers::Content content;
  const bool whole = containers::decode(answer.output, content);
  if (!content.error.empty()) {
    throw UserError(fmt::format("{}: {}", name, inOneLine(content.error)));
  }
  if (!whole) {
    throw UserError(
        fmt::format("{}: this is {} that is damaged or asks for more time or memory than decays "
                    "need",
                    name, kind->name));
  }
  return columnsOfContent(std::move(content), {name, std::string(kind->format), inner, {}});
}

#else

ColumnsFound readContainer(const FormatInput& input, const std::string& /*inner*/) {
  if (const Kind* const kind = kindOf(input.file.content)) {
    throw UserError(fmt::format("{}: this is {}, which this build does not read; save it as CSV",
                                input.file.name, kind->name));
  }
  return nullptr;
}

#endif

}  // namespace vorin::toolkit
