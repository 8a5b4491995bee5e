// The checksums of MATLAB files: a packed variable is a zlib stream (RFC 1950), whose last four
// bytes tell whether what it unfolds to is what was stored.
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "toolkit/reading/containers/arrays_of.hpp"

namespace vorin::toolkit::containers {

namespace {

std::uint32_t wordAt(std::string_view bytes, std::size_t at, bool bigEndian) {
  std::uint32_t word = 0;
  for (std::size_t k = 0; k < 4; ++k) {
    const auto byte = static_cast<unsigned char>(bytes[at + (bigEndian ? k : 3 - k)]);
    word = 256 * word + byte;
  }
  return word;
}

bool isWholeStream(std::string_view packed) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) {
    return false;
  }
  std::array<Bytef, 65536> scratch{};
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));  // read only
  stream.avail_in = static_cast<uInt>(packed.size());
  int status = Z_OK;
  while (status == Z_OK) {
    stream.next_out = scratch.data();
    stream.avail_out = static_cast<uInt>(scratch.size());
    status = inflate(&stream, Z_NO_FLUSH);
  }
  inflateEnd(&stream);
  return status == Z_STREAM_END;
}

}  // namespace

bool isWholeMatlab(std::string_view content) {
  constexpr std::size_t headerLength = 128;
  constexpr std::size_t tagLength = 8;
  constexpr std::uint32_t packed = 15;
  if (content.size() < headerLength) {
    return true;
  }
  const std::string_view mark = content.substr(headerLength - 2, 2);
  if (mark != "IM" && mark != "MI") {
    return true;  // version 4 packs nothing
  }
  const bool bigEndian = mark == "MI";
  std::string_view rest = content.substr(headerLength);
  while (rest.size() >= tagLength) {
    const std::uint32_t type = wordAt(rest, 0, bigEndian);
    const std::uint32_t length = wordAt(rest, 4, bigEndian);
    rest.remove_prefix(tagLength);
    if (length > rest.size() || (type == packed && !isWholeStream(rest.substr(0, length)))) {
      return false;
    }
    rest.remove_prefix(length);
  }
  return rest.empty();
}

}  // namespace vorin::toolkit::containers
