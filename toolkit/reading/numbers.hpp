// Numbers and times as text, both ways, independent of the locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorin::toolkit {

/// The number that the whole of `text` spells (blanks around it are allowed), or
/// nothing. "inf" and "nan" are numbers here; a magnitude too great for a double
/// reads as infinity and one too small as 0, so that callers check one thing only.
std::optional<double> parseNumber(std::string_view text);

/// The whole number that the whole of `text` spells, or nothing.
std::optional<long long> parseInteger(std::string_view text);

/// `value` with `digits` significant places; plain digits up to 7 of them before the point.
std::string significant(double value, int digits = 4);

/// A time given in seconds with three significant places and the unit that suits it: "22.9 ms".
std::string timeText(double seconds);

/// `fraction` as a percentage with one decimal: "37.5 %".
std::string percentText(double fraction);

}  // namespace vorin::toolkit
