// Decimal text to a number for compilers whose <charconv> has no real numbers: by strtod, which
// reads more than that and in the mark of the locale.
#include <array>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "toolkit/reading/real_numbers.hpp"

namespace vorin::toolkit {

namespace {

std::size_t countDigits(std::string_view text) {
  const std::size_t end = text.find_first_not_of("0123456789");
  return end == std::string_view::npos ? text.size() : end;
}

/// Whether `text` is digits with at most one point, and an exponent.
bool isDecimal(std::string_view text) {
  std::size_t digits = countDigits(text);
  text.remove_prefix(digits);
  if (text.starts_with('.')) {
    const std::size_t decimals = countDigits(text.substr(1));
    digits += decimals;
    text.remove_prefix(1 + decimals);
  }
  if (digits == 0) {
    return false;
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('-') || text.starts_with('+')) {
      text.remove_prefix(1);
    }
    return !text.empty() && countDigits(text) == text.size();
  }
  return text.empty();
}

bool isWord(std::string_view text) {
  std::string small(text);
  for (char& c : small) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return small == "inf" || small == "infinity" || small == "nan";
}

/// The digits `text` behind those of `before`, as a whole number.
std::uint64_t wholeNumber(std::string_view text, std::uint64_t before = 0) {
  for (const char c : text) {
    constexpr std::uint64_t base = 10;
    before = before * base + static_cast<std::uint64_t>(c - '0');
  }
  return before;
}

/// The number that a short decimal text is: where the digits and the power of ten are both exact in
/// double precision, one product or quotient of them is correctly rounded (Clinger, Proc. ACM PLDI
/// 1990, 92). That is most of what instruments write, at a fraction of the time of strtod.
std::optional<double> shortNumber(std::string_view text) {
  constexpr std::size_t mostDigits = 15;  // below 2^53
  constexpr std::size_t mostText = 24;
  constexpr std::array<double, 23> powers{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  if (text.size() > mostText) {
    return std::nullopt;
  }
  std::size_t count = countDigits(text);
  if (count > mostDigits) {
    return std::nullopt;
  }
  std::uint64_t digits = wholeNumber(text.substr(0, count));
  text.remove_prefix(count);
  int exponent = 0;
  if (text.starts_with('.')) {
    const std::size_t decimals = countDigits(text.substr(1));
    count += decimals;
    if (count > mostDigits) {
      return std::nullopt;
    }
    digits = wholeNumber(text.substr(1, decimals), digits);
    exponent -= static_cast<int>(decimals);
    text.remove_prefix(1 + decimals);
  }
  if (!text.empty()) {
    text.remove_prefix(1);
    const bool below = text.starts_with('-');
    text.remove_prefix(below || text.starts_with('+') ? 1 : 0);
    constexpr std::size_t mostExponent = 3;
    if (text.size() > mostExponent) {
      return std::nullopt;
    }
    const int given = static_cast<int>(wholeNumber(text));
    exponent += below ? -given : given;
  }
  const auto last = static_cast<int>(powers.size()) - 1;
  if (exponent < -last || exponent > last) {
    return std::nullopt;
  }
  const auto value = static_cast<double>(digits);
  return exponent < 0 ? value / powers.at(static_cast<std::size_t>(-exponent))
                      : value * powers.at(static_cast<std::size_t>(exponent));
}

}  // namespace

std::optional<double> realNumber(std::string_view text) {
  const std::string_view magnitude = text.starts_with('-') ? text.substr(1) : text;
  if (!isDecimal(magnitude) && !isWord(magnitude)) {
    return std::nullopt;
  }
  if (const std::optional<double> value =
          isDecimal(magnitude) ? shortNumber(magnitude) : std::nullopt) {
    return text.starts_with('-') ? -*value : *value;
  }
  std::string copy(text);
  const std::size_t point = copy.find('.');
  if (point != std::string::npos) {
    copy.replace(point, 1, std::localeconv()->decimal_point);
  }
  return std::strtod(copy.c_str(), nullptr);
}

}  // namespace vorin::toolkit
