#include "toolkit/reading/npy.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::string_view magic = "\x93NUMPY";
constexpr std::size_t mostNumbers = 100'000'000;
constexpr long long mostExtent = 1LL << 50U;

[[noreturn]] void fail(const std::string& name, std::string_view why) {
  throw UserError(fmt::format("{}: {}", name, why));
}

/// What stands behind `key` in the header's dictionary, up to the comma or bracket that ends it.
std::string_view valueOf(std::string_view header, std::string_view key) {
  const std::size_t at = header.find(key);
  const std::size_t colon = at == std::string_view::npos ? at : header.find(':', at);
  if (colon == std::string_view::npos) {
    return {};
  }
  const std::string_view rest = trimmed(header.substr(colon + 1));
  const char closing = rest.starts_with('(') ? ')' : ',';
  return trimmed(rest.substr(0, rest.find(closing)));
}

void readType(std::string_view header, const std::string& name, NpyHeader& type) {
  std::string_view text = valueOf(header, "'descr'");
  if (text.size() >= 2 && (text.front() == '\'' || text.front() == '"')) {
    text = text.substr(1, text.size() - 2);
  }
  constexpr std::array<std::string_view, 13> known{"f4", "f8", "c8", "c16", "i1", "i2", "i4",
                                                   "i8", "u1", "u2", "u4",  "u8", "b1"};
  if (text.size() < 3 || std::find(known.begin(), known.end(), text.substr(1)) == known.end()) {
    fail(name, fmt::format("the array holds {}; numbers are needed, such as float64 or complex128",
                           text.empty() ? "no numbers" : inOneLine(text.substr(0, 40))));
  }
  type.kind = text[1];
  type.size = static_cast<std::size_t>(*parseInteger(std::string(text.substr(2))));
  constexpr bool littleHere = std::endian::native == std::endian::little;
  type.swapped = (text[0] == '>' && littleHere) || (text[0] == '<' && !littleHere);
}

std::vector<std::size_t> shapeOf(std::string_view header, const std::string& name) {
  std::string_view text = valueOf(header, "'shape'");
  std::vector<std::size_t> shape;
  text.remove_prefix(text.empty() ? 0 : 1);
  while (!trimmed(text).empty()) {
    const std::size_t comma = text.find(',');
    const auto length = parseInteger(std::string(trimmed(text.substr(0, comma))));
    if (!length || *length < 0 || *length > mostExtent) {
      fail(name, "the header of the array tells no shape");
    }
    shape.push_back(static_cast<std::size_t>(*length));
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
  }
  return shape;
}

template <class Stored>
double numberAt(const char* bytes, bool swapped) {
  std::array<char, sizeof(Stored)> own{};
  std::memcpy(own.data(), bytes, own.size());
  if (swapped) {
    std::reverse(own.begin(), own.end());
  }
  Stored value{};
  std::memcpy(&value, own.data(), own.size());
  return static_cast<double>(value);
}

/// The number of `size` bytes at `bytes`; of a complex one, a part.
double numberAt(const char* bytes, char kind, std::size_t size, bool swapped) {
  if (kind == 'f') {
    return size == 4 ? numberAt<float>(bytes, swapped) : numberAt<double>(bytes, swapped);
  }
  if (kind == 'i') {
    return size == 1   ? numberAt<std::int8_t>(bytes, swapped)
           : size == 2 ? numberAt<std::int16_t>(bytes, swapped)
           : size == 4 ? numberAt<std::int32_t>(bytes, swapped)
                       : numberAt<std::int64_t>(bytes, swapped);
  }
  return size == 1   ? numberAt<std::uint8_t>(bytes, swapped)
         : size == 2 ? numberAt<std::uint16_t>(bytes, swapped)
         : size == 4 ? numberAt<std::uint32_t>(bytes, swapped)
                     : numberAt<std::uint64_t>(bytes, swapped);
}

/// Where the text of the header is.
struct HeaderPlace {
  std::size_t first = 0;
  std::size_t length = 0;
};

/// Its length stands before it, in two bytes in version 1, in four later.
HeaderPlace headerPlace(std::string_view content, const std::string& name) {
  constexpr std::size_t versionAt = 6;
  constexpr std::size_t lengthAt = 8;
  constexpr std::string_view cut = "the file is cut in its header";
  if (content.size() < lengthAt + 4) {
    fail(name, cut);
  }
  const std::size_t bytes = content[versionAt] == 1 ? 2 : 4;
  std::size_t length = 0;
  for (std::size_t k = bytes; k-- > 0;) {
    length = 256 * length + static_cast<unsigned char>(content[lengthAt + k]);
  }
  if (length > content.size() - lengthAt - bytes) {
    fail(name, cut);
  }
  return {lengthAt + bytes, length};
}

}  // namespace

bool isNpy(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::array<char, magic.size()> start{};
  file.read(start.data(), start.size());
  return file && std::string_view(start.data(), start.size()) == magic;
}

bool isNpyContent(std::string_view content) {
  return content.starts_with(magic);
}

NumberArray readNpy(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  return npyArray(content, path.string());
}

NpyHeader npyHeader(std::string_view content, const std::string& name) {
  const HeaderPlace place = headerPlace(content, name);
  const std::string_view header = content.substr(place.first, place.length);
  NpyHeader result;
  readType(header, name, result);
  result.shape = shapeOf(header, name);
  result.byColumns = valueOf(header, "'fortran_order'") == "True";
  result.length = place.first + place.length;
  return result;
}

NumberArray npyArray(std::string_view content, const std::string& name) {
  NumberArray array;
  array.name = name;
  const NpyHeader type = npyHeader(content, name);
  array.shape = type.shape;
  if (array.shape.empty() || array.shape.size() > 2) {
    fail(name, fmt::format("the array has {} dimensions; a row or a matrix is needed",
                           array.shape.size()));
  }
  const bool byColumns = type.byColumns;
  const std::size_t rows = array.shape.front();
  const std::size_t columns = array.shape.size() == 2 ? array.shape.back() : 1;
  const std::size_t start = type.length;
  if (columns > 0 && rows > mostNumbers / columns) {
    fail(array.name, "the array is too large");
  }
  if ((content.size() - start) / type.size < rows * columns) {
    fail(array.name, fmt::format("the file is cut; {} x {} numbers of {} bytes are announced", rows,
                                 columns, type.size));
  }
  const bool isComplex = type.kind == 'c';
  const std::size_t part = isComplex ? type.size / 2 : type.size;
  const char kind = isComplex ? 'f' : type.kind;
  array.real.resize(rows * columns);
  array.imaginary.resize(isComplex ? rows * columns : 0);
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t k = 0; k < columns; ++k) {
      const std::size_t stored = byColumns ? k * rows + i : i * columns + k;
      const char* const bytes = content.data() + start + stored * type.size;
      array.real[i * columns + k] = numberAt(bytes, kind, part, type.swapped);
      if (isComplex) {
        array.imaginary[i * columns + k] = numberAt(bytes + part, kind, part, type.swapped);
      }
    }
  }
  return array;
}

}  // namespace vorin::toolkit
