// Decimal text for compilers whose <charconv> has no real numbers: by the C library, where that
// rounds correctly (musl and with it Emscripten, glibc, macOS).
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "params/decimal_text.hpp"

namespace vorin::params {
namespace {

/// By snprintf, with a point where the host's locale has another mark (of one or more bytes).
std::string printed(const char* format, int decimals, double value) {
  const int length = std::snprintf(nullptr, 0, format, decimals, value);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::snprintf(text.data(), text.size(), format, decimals, value);
  text.pop_back();
  constexpr const char* known = "-0123456789e+";
  const std::size_t mark = text.find_first_not_of(known);
  if (mark != std::string::npos) {
    const std::size_t end = text.find_first_of(known, mark);
    text.replace(mark, end - mark, ".");
  }
  return text;
}

float readBack(const char* text, float /*type*/) {
  return std::strtof(text, nullptr);
}
double readBack(const char* text, double /*type*/) {
  return std::strtod(text, nullptr);
}

template <class Real>
std::string shortest(Real value) {
  const auto wide = static_cast<double>(value);
  constexpr int mostDigits = std::numeric_limits<Real>::max_digits10;
  int decimals = 0;
  char text[32] = {};
  for (; decimals < mostDigits; ++decimals) {
    std::snprintf(text, sizeof text, "%.*e", decimals, wide);
    if (readBack(text, value) == value) {
      break;
    }
  }
  const std::string scientific = printed("%.*e", decimals, wide);
  const int exponent = std::atoi(scientific.c_str() + scientific.find('e') + 1);
  const std::string fixed = printed("%.*f", exponent >= decimals ? 0 : decimals - exponent, wide);
  return fixed.size() <= scientific.size() ? fixed : scientific;
}

}  // namespace

std::string scientificText(double value, int decimals) {
  return printed("%.*e", decimals, value);
}

std::string fixedText(double value, int decimals) {
  return printed("%.*f", decimals, value);
}

std::string shortestDecimalText(float value) {
  return shortest(value);
}
std::string shortestDecimalText(double value) {
  return shortest(value);
}

}  // namespace vorin::params
