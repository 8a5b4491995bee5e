// Number fields are made from a correctly rounded decimal expansion of the exact
// binary value (decimal_text.hpp, ties to even), so that what a field shows never
// depends on the C library or the locale of the host.
#include "params/number_field.hpp"

#include <algorithm>
#include <cmath>

#include "params/decimal_text.hpp"

namespace vorin::params {
namespace {

/// A positive number as 0.digits * 10^exponent; the first digit is not 0.
struct Decimal {
  std::string digits;
  int exponent = 0;
};

/// `magnitude` (finite, above 0) rounded to `places` (1 or more) significant places.
Decimal significantPlaces(double magnitude, int places) {
  const std::string buffer = scientificText(magnitude, places - 1);
  Decimal result;
  const std::size_t mark = buffer.find('e');
  result.exponent = std::stoi(buffer.substr(mark + 1)) + 1;  // d.ddd becomes 0.dddd
  result.digits = buffer.substr(0, 1);
  if (places > 1) {
    result.digits += buffer.substr(2, mark - 2);
  }
  return result;
}

std::string stars(int width) {
  return std::string(static_cast<std::size_t>(width), '*');
}

/// `text` at the right of `width` columns, or stars.
std::string rightJustified(std::string_view text, int width) {
  const auto columns = static_cast<std::size_t>(width);
  if (text.size() > columns) {
    return stars(width);
  }
  std::string field(columns - text.size(), ' ');
  field += text;
  return field;
}

std::string notFinite(double value, int width) {
  if (std::isnan(value)) {
    return rightJustified("NaN", width);
  }
  const bool negative = value < 0.0;
  const std::string_view full = negative ? "-Infinity" : "Infinity";
  const bool fits = static_cast<std::size_t>(width) >= full.size();
  return rightJustified(fits ? full : (negative ? "-Inf" : "Inf"), width);
}

/// The unsigned `body` with its sign in `width` columns. A zero in front of the
/// point gives way when only it is too many, as long as another digit is shown.
std::string signedField(bool negative, std::string_view body, int width) {
  const std::string_view anyDigit = "123456789";
  const std::string_view mantissa = body.substr(0, body.find_first_of("E+-"));
  std::string text;
  // A value that shows as zero shows no sign, negative zero included.
  if (negative && mantissa.find_first_of(anyDigit) != std::string_view::npos) {
    text += '-';
  }
  const bool tooWide = text.size() + body.size() > static_cast<std::size_t>(width);
  const bool mayDrop = mantissa.size() > 2 && mantissa.substr(0, 2) == "0.";
  text += tooWide && mayDrop ? body.substr(1) : body;
  return rightJustified(text, width);
}

/// E and a signed two-digit exponent; a third digit takes the place of the E.
std::string exponentText(int exponent) {
  const int magnitude = std::abs(exponent);
  std::string text = magnitude > 99 ? "" : "E";
  text += exponent < 0 ? '-' : '+';
  if (magnitude < 10) {
    text += '0';
  }
  return text + std::to_string(magnitude);
}

std::string exponentNotation(bool negative, const Decimal& value, int width) {
  return signedField(negative, "0." + value.digits + exponentText(value.exponent), width);
}

}  // namespace

std::string integerField(std::int64_t value, int width) {
  return width < 1 ? std::string() : rightJustified(std::to_string(value), width);
}

std::string fixedField(double value, int width, int decimals) {
  if (width < 1) {
    return {};
  }
  if (!std::isfinite(value)) {
    return notFinite(value, width);
  }
  decimals = std::max(decimals, 0);
  if (decimals >= width) {
    return stars(width);  // not even the point and the decimals fit
  }
  std::string buffer = fixedText(std::fabs(value), decimals);
  if (decimals == 0) {
    buffer += '.';
  }
  return signedField(std::signbit(value), buffer, width);
}

std::string exponentField(double value, int width, int decimals) {
  if (width < 1) {
    return {};
  }
  if (!std::isfinite(value)) {
    return notFinite(value, width);
  }
  // Point, places, sign and two digits of the exponent with its E or third digit.
  if (decimals < 1 || decimals > width - 5) {
    return stars(width);
  }
  if (value == 0.0) {
    return exponentNotation(false, {std::string(static_cast<std::size_t>(decimals), '0'), 0},
                            width);
  }
  return exponentNotation(value < 0.0, significantPlaces(std::fabs(value), decimals), width);
}

std::string generalField(double value, int width, int digits) {
  if (width < 1) {
    return {};
  }
  if (!std::isfinite(value)) {
    return notFinite(value, width);
  }
  constexpr int blanksBehindFixed = 4;
  const int fixedWidth = width - blanksBehindFixed;
  if (digits < 1 || digits > fixedWidth) {
    return stars(width);  // neither notation has room for the places and the point
  }
  // Fixed or exponent is decided on the value as rounded, so that what is shown
  // as 0.10000 or 10.00 always has the notation of that number.
  const Decimal rounded = value == 0.0
                              ? Decimal{std::string(static_cast<std::size_t>(digits), '0'), 1}
                              : significantPlaces(std::fabs(value), digits);
  if (rounded.exponent < 0 || rounded.exponent > digits) {
    return exponentNotation(value < 0.0, rounded, width);
  }
  const auto wholePlaces = static_cast<std::size_t>(rounded.exponent);
  std::string body = wholePlaces == 0 ? "0" : rounded.digits.substr(0, wholePlaces);
  body += '.';
  body += rounded.digits.substr(wholePlaces);
  std::string field = signedField(value < 0.0, body, fixedWidth);
  if (field.front() == '*') {
    return stars(width);
  }
  return field.append(blanksBehindFixed, ' ');
}

namespace {

template <class Real>
std::string shortestText(Real value) {
  if (!std::isfinite(value)) {
    return std::isnan(value) ? "NaN" : (value < 0 ? "-Infinity" : "Infinity");
  }
  if (value == 0) {
    return "0";
  }
  return shortestDecimalText(value);
}

}  // namespace

std::string freeForm(float value) {
  return shortestText(value);
}
std::string freeForm(double value) {
  return shortestText(value);
}
std::string freeForm(std::int32_t value) {
  return std::to_string(value);
}

std::string cutTo(std::string_view text, std::size_t width) {
  return std::string(text.substr(0, width));
}

}  // namespace vorin::params
