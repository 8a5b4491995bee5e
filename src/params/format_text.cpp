// The choice of notation, columns and places for the text exports; the fields
// themselves are number_field.hpp's.
#include "params/format_text.hpp"

#include <algorithm>
#include <cmath>

#include "params/number_field.hpp"
#include "params/text.hpp"
#include "toolbox/convert.hpp"

namespace vorin::params {
namespace {

// Every number is written into a field of this many characters before it goes out.
constexpr int scratchWidth = 32;

/// Whether `value` counts as an integer. Infinities and NaN don't.
bool isNearInteger(double value) {
  constexpr double tolerance = 2e-12;
  return std::fabs(value - std::round(value)) <= tolerance;
}

std::string scratchOfStars() {
  return std::string(scratchWidth, '*');
}

/// `n`, a whole number of any size, in `width` columns.
std::string wholeNumber(double n, std::int32_t width) {
  if (width > scratchWidth) {
    return scratchOfStars();
  }
  // A fixed field without decimals ends in its point; it has the digits of numbers
  // that no integer type holds.
  std::string field = fixedField(n, width + 1, 0);
  field.pop_back();
  return field;
}

// For values off the integers. 13 columns are a sign, "0.", 6 places and the
// exponent. In fixed notation the decimals come to 7, less 1 for every power of ten
// and for a sign: 6 significant places at the least from 0.1 on, and below 1e6 never
// more than 10 columns.
constexpr RealFormat offTheIntegers = {13, 6, 0.1, 1e6, 10};

}  // namespace

void StripBlanks(std::span<char> destination, std::int32_t* newLength, std::string_view source) {
  fillField(destination, "");
  std::size_t kept = 0;
  for (const char c : source) {
    if (c != ' ' && c != '\t' && kept < destination.size()) {
      destination[kept++] = c;
    }
  }
  if (newLength != nullptr) {
    *newLength = static_cast<std::int32_t>(kept);
  }
}

std::string formatFor(std::span<const double> values, std::int32_t width) {
  constexpr std::size_t formatWidth = 8;
  if (std::all_of(values.begin(), values.end(), isNearInteger)) {
    return cutTo("(I" + std::to_string(width) + ')', formatWidth);
  }
  const std::int64_t places = std::int64_t{width} - 6;
  return cutTo("(G" + integerField(width, 2) + '.' + integerField(places, 2) + ')', formatWidth);
}

std::string toText(double x) {
  if (!isNearInteger(x)) {
    return toText(x, offTheIntegers);
  }
  const double n = std::round(x);
  if (n == 0.0) {
    return wholeNumber(n, 1);
  }
  // Required: the columns come from x, not from the integer it is rounded to. A
  // negative number that rounds up to a power of ten finds one too few and shows
  // stars. Hosts arrange their tables by these columns.
  return wholeNumber(n, std::max(truncateToInt(std::log10(std::fabs(x))) + 2, 1));
}

std::string toText(double x, const RealFormat& format) {
  const double magnitude = std::fabs(x);
  if (magnitude < format.lower || magnitude >= format.upper) {
    return format.w > scratchWidth ? scratchOfStars()
                                   : exponentField(x, format.w, std::max(format.d, 0));
  }
  // In 64 bits no host's numbers can overflow.
  const std::int64_t w = format.w;
  const std::int64_t columns = std::min(std::max<std::int64_t>(format.fewest, w - 4), w);
  if (columns > scratchWidth) {
    return scratchOfStars();
  }
  const std::int64_t powerOfTen = truncateToInt(std::log10(magnitude) + 0.5);
  const std::int64_t sign = x >= 0.0 ? 0 : 1;
  const std::int64_t requested = (format.d - w) - (powerOfTen + sign) + 4 + columns;
  const std::int64_t decimals = std::max<std::int64_t>(std::min(requested, columns - 2), 0);
  return columns < 1 ? std::string()
                     : fixedField(x, static_cast<int>(columns), static_cast<int>(decimals));
}

}  // namespace vorin::params
