#include "toolkit/reading/numbers.hpp"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>

#include "toolkit/reading/real_numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

/// `text` trimmed and without a plus sign, which std::from_chars does not take.
std::string_view numberBody(std::string_view text) {
  text = trimmed(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+') {
    text.remove_prefix(1);
  }
  return text;
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
  return realNumber(numberBody(text));
}

std::optional<long long> parseInteger(std::string_view text) {
  const std::string_view body = numberBody(text);
  long long value = 0;
  const char* end = body.data() + body.size();
  const auto [stop, error] = std::from_chars(body.data(), end, value);
  if (stop != end || error != std::errc{}) {
    return std::nullopt;
  }
  return value;
}

std::string significant(double value, int digits) {
  const double magnitude = std::fabs(value);
  if (magnitude >= std::pow(10.0, digits) && magnitude < 1e7) {
    return fmt::format("{:.0f}", value);
  }
  return fmt::format("{:.{}g}", value, digits);
}

std::string timeText(double seconds) {
  struct Unit {
    double size;
    std::string_view name;
  };
  constexpr std::array<Unit, 4> units{{{1.0, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}}};
  const double magnitude = std::fabs(seconds);
  for (const Unit& unit : units) {
    // 0.9995 of a unit already rounds to 1.00 of it.
    if (magnitude >= 0.9995 * unit.size && magnitude < 999.5 * unit.size) {
      const double shown = magnitude / unit.size;
      const int decimals = shown < 9.995 ? 2 : shown < 99.95 ? 1 : 0;
      return fmt::format("{:.{}f} {}", seconds / unit.size, decimals, unit.name);
    }
  }
  return fmt::format("{:.3g} s", seconds);
}

std::string percentText(double fraction) {
  return fmt::format("{:.1f} %", 100.0 * fraction);
}

}  // namespace vorin::toolkit
