// Decimal text to a number by <charconv>.
#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "toolkit/reading/real_numbers.hpp"

namespace vorin::toolkit {

namespace {

/// True where the number that `text` spells is above 1, which tells too great from too small:
/// from_chars does not, and strtod depends on the locale.
bool isGreat(std::string_view text) {
  const std::size_t end = std::min(text.find_first_of("eE"), text.size());
  const std::size_t first = text.find_first_of("123456789");
  const std::size_t point = std::min(text.find('.'), end);
  // The power of ten of the first digit that is not 0.
  auto power = static_cast<long long>(point) - static_cast<long long>(first);
  if (end < text.size()) {
    const std::string_view digits = text.substr(end + (text[end + 1] == '+' ? 2 : 1));
    long long exponent = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec != std::errc()) {
      return digits.front() != '-';
    }
    power = exponent > std::numeric_limits<int>::max()   ? 1
            : exponent < std::numeric_limits<int>::min() ? -1
                                                         : power + exponent;
  }
  return power > 0;
}

}  // namespace

std::optional<double> realNumber(std::string_view text) {
  double value = 0.0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (stop != end || error == std::errc::invalid_argument) {
    return std::nullopt;
  }
  if (error == std::errc::result_out_of_range) {
    value = isGreat(text) ? std::numeric_limits<double>::infinity() : 0.0;
    value = text.front() == '-' ? -value : value;
  }
  return value;
}

}  // namespace vorin::toolkit
