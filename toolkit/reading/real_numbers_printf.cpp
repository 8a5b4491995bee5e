// Decimal text to a number for compilers whose <charconv> has no real numbers: by strtod, which
// reads more than that and in the mark of the locale.
#include <clocale>
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

}  // namespace

std::optional<double> realNumber(std::string_view text) {
  const std::string_view magnitude = text.starts_with('-') ? text.substr(1) : text;
  if (!isDecimal(magnitude) && !isWord(magnitude)) {
    return std::nullopt;
  }
  std::string copy(text);
  const std::size_t point = copy.find('.');
  if (point != std::string::npos) {
    copy.replace(point, 1, std::localeconv()->decimal_point);
  }
  return std::strtod(copy.c_str(), nullptr);
}

}  // namespace vorin::toolkit
