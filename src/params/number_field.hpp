// Number fields: numbers as text in a field of given width, for the log, the
// parameter store, the save section and the text exports. A field is
// right-justified; a value too wide for it shows stars. Every function returns
// exactly `width` characters.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorin::params {

/// The digits of `value` (with a minus sign when negative), padded with blanks.
std::string integerField(std::int64_t value, int width);

/// `value` with `decimals` places behind the point.
std::string fixedField(double value, int width, int decimals);

/// `value` in exponent notation: a mantissa from 0.1 to below 1 with `decimals`
/// places and a signed two-digit exponent, 0.12345E+06.
std::string exponentField(double value, int width, int decimals);

/// `value` with `digits` significant places: from 0.1 up to 10^digits in fixed
/// notation followed by four blanks, otherwise in exponent notation.
std::string generalField(double value, int width, int digits);

/// `value` in free form: the shortest text that reads back as the same number.
std::string freeForm(float value);
std::string freeForm(double value);
std::string freeForm(std::int32_t value);

/// The first `width` characters of `text`: what a message buffer of that size keeps.
std::string cutTo(std::string_view text, std::size_t width);

}  // namespace vorin::params
