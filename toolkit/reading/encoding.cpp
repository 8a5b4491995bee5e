#include "toolkit/reading/encoding.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

#ifdef VORIN_READ_PACKED
#include <zlib.h>
#endif

namespace vorin::toolkit {

namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

#ifdef VORIN_READ_PACKED

/// Text of measured numbers packs to a third or a tenth; a computed constant to a hundredth.
constexpr std::size_t plausibleRatio = 100;
constexpr std::size_t alwaysAllowed = 64'000'000;

enum class Wrapping { gzip, bare };

class Inflater {
 public:
  Inflater(Wrapping wrapping, const std::string& name) : name_(name) {
    constexpr int gzipWindow = MAX_WBITS + 16;
    if (inflateInit2(&stream_, wrapping == Wrapping::gzip ? gzipWindow : -MAX_WBITS) != Z_OK) {
      throw UserError(fmt::format("{}: the file can't be unpacked", name_));
    }
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
  ~Inflater() { inflateEnd(&stream_); }

  /// Appends what the stream at the start of `packed` unfolds to and returns the bytes it took.
  std::size_t unpack(std::string_view packed, std::size_t most, std::string& result) {
    std::array<char, 65536> block{};
    const std::string_view whole = packed;
    int status = Z_OK;
    while (status != Z_STREAM_END) {
      if (stream_.avail_in == 0) {
        const std::size_t part =
            std::min<std::size_t>(packed.size(), std::numeric_limits<uInt>::max());
        // The library's pointer is not to const, but nothing is written through it.
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
        stream_.avail_in = static_cast<uInt>(part);
        packed.remove_prefix(part);
      }
      stream_.next_out = reinterpret_cast<Bytef*>(block.data());
      stream_.avail_out = static_cast<uInt>(block.size());
      status = inflate(&stream_, Z_NO_FLUSH);
      if (status != Z_OK && status != Z_STREAM_END) {
        throw UserError(fmt::format("{}: the packed data are damaged or cut off", name_));
      }
      result.append(block.data(), block.size() - stream_.avail_out);
      if (result.size() > most) {
        throw UserError(fmt::format(
            "{}: it unfolds to more than its size allows for; unpack it yourself", name_));
      }
    }
    return whole.size() - packed.size() - stream_.avail_in;
  }

 private:
  const std::string& name_;
  z_stream stream_{};
};

#endif

/// True for the start of UTF-16 without a mark: every second byte is 0 nearly always, the other
/// ones never are.
std::optional<bool> bigEndianByZeros(std::string_view content) {
  constexpr std::size_t looked = 4096;
  const std::size_t units = std::min(content.size(), looked) / 2;
  std::size_t first = 0;
  std::size_t second = 0;
  for (std::size_t i = 0; i < units; ++i) {
    first += content[2 * i] == '\0' ? 1U : 0U;
    second += content[2 * i + 1] == '\0' ? 1U : 0U;
  }
  constexpr std::size_t fewest = 2;
  if (units < fewest || content.size() % 2 != 0) {
    return std::nullopt;
  }
  if (first == 0 && 10 * second >= 9 * units) {
    return false;
  }
  if (second == 0 && 10 * first >= 9 * units) {
    return true;
  }
  return std::nullopt;
}

void appendUtf8(std::string& text, std::uint32_t code) {
  const auto tail = [&](unsigned shift) {
    text += static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
  };
  if (code < 0x80U) {
    text += static_cast<char>(code);
  } else if (code < 0x800U) {
    text += static_cast<char>(0xC0U | (code >> 6U));
    tail(0);
  } else if (code < 0x10000U) {
    text += static_cast<char>(0xE0U | (code >> 12U));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0U | (code >> 18U));
    tail(12);
    tail(6);
    tail(0);
  }
}

std::string fromUtf16(std::string_view content, bool bigEndian) {
  const auto unitAt = [&](std::size_t at) {
    const auto low = static_cast<unsigned char>(content[at + (bigEndian ? 1 : 0)]);
    const auto high = static_cast<unsigned char>(content[at + (bigEndian ? 0 : 1)]);
    return static_cast<std::uint32_t>(high) << 8U | low;
  };
  std::string text;
  text.reserve(content.size() / 2);
  for (std::size_t at = 0; at + 1 < content.size(); at += 2) {
    std::uint32_t code = unitAt(at);
    const bool leads = code >= 0xD800U && code < 0xDC00U;
    if (leads && at + 3 < content.size()) {
      const std::uint32_t next = unitAt(at + 2);
      if (next >= 0xDC00U && next < 0xE000U) {
        code = 0x10000U + ((code - 0xD800U) << 10U) + (next - 0xDC00U);
        at += 2;
      }
    }
    constexpr std::uint32_t replacement = 0xFFFD;
    appendUtf8(text, code >= 0xD800U && code < 0xE000U ? replacement : code);
  }
  return text;
}

}  // namespace

bool isGzip(std::string_view content) {
  return content.starts_with("\x1F\x8B");
}

#ifdef VORIN_READ_PACKED

std::string inflated(std::string_view content, std::size_t most, const std::string& name) {
  std::string result;
  Inflater(Wrapping::bare, name).unpack(content, most, result);
  return result;
}

std::string unzipped(std::string_view content, const std::string& name) {
  const std::size_t most = alwaysAllowed + plausibleRatio * content.size();
  std::string result;
  // A file may be several members behind each other; what follows them is no concern.
  while (isGzip(content)) {
    content.remove_prefix(Inflater(Wrapping::gzip, name).unpack(content, most, result));
  }
  return result;
}

#else

std::string inflated(std::string_view /*content*/, std::size_t /*most*/, const std::string& name) {
  throw UserError(fmt::format("{}: this build does not read packed files; unpack it first", name));
}

std::string unzipped(std::string_view content, const std::string& name) {
  return inflated(content, 0, name);
}

#endif

std::string_view decode(std::string& content) {
  const std::string_view bytes = content;
  if (bytes.starts_with(utf8Mark)) {
    content.erase(0, utf8Mark.size());
  } else if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    content = fromUtf16(bytes.substr(2), bytes.starts_with("\xFE\xFF"));
    return "UTF-16";
  } else if (const std::optional<bool> bigEndian = bigEndianByZeros(bytes)) {
    content = fromUtf16(bytes, *bigEndian);
    return "UTF-16";
  }
  if (isUtf8(content)) {
    return {};
  }
  std::string text;
  text.reserve(content.size());
  for (const char c : content) {
    appendUtf8(text, static_cast<unsigned char>(c));
  }
  content = std::move(text);
  return "Latin-1";
}

}  // namespace vorin::toolkit
