// Decimal text by <charconv>.
#include <charconv>
#include <cstddef>

#include "params/decimal_text.hpp"

namespace vorin::params {
namespace {

template <class Real>
std::string shortest(Real value) {
  constexpr std::size_t longestShortForm = 32;
  char buffer[longestShortForm];
  const auto written = std::to_chars(buffer, buffer + longestShortForm, value);
  return {buffer, written.ptr};
}

std::string withDecimals(double value, std::size_t room, std::chars_format format, int decimals) {
  std::string buffer(room + static_cast<std::size_t>(decimals), '\0');
  const auto written =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format, decimals);
  buffer.resize(static_cast<std::size_t>(written.ptr - buffer.data()));
  return buffer;
}

}  // namespace

std::string scientificText(double value, int decimals) {
  constexpr std::size_t roomForPointAndExponent = 9;
  return withDecimals(value, roomForPointAndExponent, std::chars_format::scientific, decimals);
}

std::string fixedText(double value, int decimals) {
  constexpr std::size_t digitsOfLargestDouble = 309;
  return withDecimals(value, digitsOfLargestDouble + 2, std::chars_format::fixed, decimals);
}

std::string shortestDecimalText(float value) {
  return shortest(value);
}
std::string shortestDecimalText(double value) {
  return shortest(value);
}

}  // namespace vorin::params
