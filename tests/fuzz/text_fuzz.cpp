// Numbers as text: any number, any columns and places, texts of any length.
#include <vorin.h>

#include <algorithm>
#include <cctype>

#include "bytes.hpp"

namespace {

using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;

/// Columns: mostly sensible, sometimes any integer.
std::int32_t columns(Bytes& bytes) {
  return bytes.byte() < 220 ? bytes.within(-3, 40) : bytes.integer();
}

void requirePrintable(const Exact<char>& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    vorin::fuzz::require(text[i] >= ' ' && text[i] <= '~');
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  while (!bytes.empty()) {
    const std::int32_t length = bytes.within(-2, 70);
    Exact<char> text(vorin::fuzz::room(length));
    const double value = bytes.byte() < 128 ? bytes.number() : bytes.integer();
    switch (bytes.byte() % 4) {
      case 0: {
        const int count = bytes.size(40);
        Exact<double> values(vorin::fuzz::room(count));
        bytes.fill(values);
        const std::int32_t w = columns(bytes);
        std::int32_t status = -77;
        CHGetFormat_dp(values.data(), count, &w, text.data(), &length, &status);
        vorin::fuzz::require(status == VORIN_FORMAT_DONE);
        break;
      }
      case 1:
        CHToString_dp(text.data(), &value, &length);
        break;
      case 2: {
        const std::int32_t w = columns(bytes);
        const std::int32_t d = columns(bytes);
        const std::int32_t fmin = columns(bytes);
        const double lower = bytes.number();
        const double upper = bytes.number();
        CHToString3_dp(text.data(), &value, &w, &d, &lower, &upper, &fmin, &length);
        break;
      }
      default: {
        const std::int32_t whole = bytes.integer();
        CHToString_i4b(text.data(), &whole, &length);
        break;
      }
    }
    requirePrintable(text);
  }
  return 0;
}
