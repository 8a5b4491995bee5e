// Decimal text to a number, without the locale.
#pragma once

#include <optional>
#include <string_view>

namespace vorin::toolkit {

/// The number that all of `text` is, correctly rounded: a sign of minus, digits with a point, an
/// exponent, or inf, infinity, nan in letters of any case. Too great a number is an infinity, one
/// too small 0 or the smallest number. Nothing for any other text.
std::optional<double> realNumber(std::string_view text);

}  // namespace vorin::toolkit
