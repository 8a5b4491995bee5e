// Decimal text to a number by <charconv>.
#include <charconv>
#include <cstdlib>
#include <string>

#include "toolkit/reading/real_numbers.hpp"

namespace vorin::toolkit {

std::optional<double> realNumber(std::string_view text) {
  double value = 0.0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (stop != end || error == std::errc::invalid_argument) {
    return std::nullopt;
  }
  if (error == std::errc::result_out_of_range) {
    // from_chars does not tell too great from too small; strtod does.
    value = std::strtod(std::string(text).c_str(), nullptr);
  }
  return value;
}

}  // namespace vorin::toolkit
