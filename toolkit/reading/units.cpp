#include "toolkit/reading/units.hpp"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <cmath>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

struct Unit {
  Quantity quantity;
  std::string_view name;
  double size;
  bool listed;  ///< named in messages; the others are other spellings
};

constexpr std::array<Unit, 24> unitTable{{
    {Quantity::time, "s", 1.0, true},
    {Quantity::time, "ms", 1e-3, true},
    {Quantity::time, "us", 1e-6, true},
    {Quantity::time, "\xC2\xB5s", 1e-6, false},  // micro sign
    {Quantity::time, "\xCE\xBCs", 1e-6, false},  // Greek mu
    {Quantity::time, "ns", 1e-9, true},
    {Quantity::bValue, "s/m2", 1.0, true},
    {Quantity::bValue, "s/cm2", 1e4, true},
    {Quantity::bValue, "s/mm2", 1e6, true},
    {Quantity::bValue, "ms/um2", 1e9, true},
    {Quantity::bValue, "s/m^2", 1.0, false},
    {Quantity::bValue, "s/cm^2", 1e4, false},
    {Quantity::bValue, "s/mm^2", 1e6, false},
    {Quantity::bValue, "ms/um^2", 1e9, false},
    {Quantity::diffusion, "m2/s", 1.0, true},
    {Quantity::diffusion, "cm2/s", 1e-4, true},
    {Quantity::diffusion, "mm2/s", 1e-6, true},
    {Quantity::diffusion, "um2/ms", 1e-9, true},
    {Quantity::diffusion, "um2/s", 1e-12, true},
    {Quantity::diffusion, "m^2/s", 1.0, false},
    {Quantity::diffusion, "cm^2/s", 1e-4, false},
    {Quantity::diffusion, "mm^2/s", 1e-6, false},
    {Quantity::diffusion, "um^2/ms", 1e-9, false},
    {Quantity::diffusion, "um^2/s", 1e-12, false},
}};

/// Where the unit begins: behind the last character of a number. The exponent's "e" is
/// followed by a digit or a sign, which no unit's first letter is.
std::size_t endOfNumber(std::string_view text) {
  std::size_t end = 0;
  const auto digitAt = [&](std::size_t at) {
    return at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])) != 0;
  };
  while (end < text.size()) {
    const char c = text[end];
    const bool exponent = end > 0 && (c == 'e' || c == 'E') &&
                          (digitAt(end + 1) || (end + 1 < text.size() &&
                                                (text[end + 1] == '-' || text[end + 1] == '+')));
    if (!(digitAt(end) || c == '.' || c == '+' || c == '-' || exponent)) {
      break;
    }
    ++end;
  }
  return end;
}

/// "2.30e-9" in place of "2.30e-09".
std::string withShortExponent(std::string text) {
  const std::size_t e = text.find('e');
  if (e != std::string::npos && text.size() == e + 4 && text[e + 2] == '0') {
    text.erase(e + 2, 1);
  }
  return text;
}

/// A text of quantityText() as in print.
std::string typeset(const std::string& text) {
  constexpr std::array<std::string_view, 10> raised{
      "\xE2\x81\xB0", "\xC2\xB9",     "\xC2\xB2",     "\xC2\xB3",     "\xE2\x81\xB4",
      "\xE2\x81\xB5", "\xE2\x81\xB6", "\xE2\x81\xB7", "\xE2\x81\xB8", "\xE2\x81\xB9"};
  const std::size_t blank = text.rfind(' ');
  std::string number = text.substr(0, blank);
  std::string unit = blank == std::string::npos ? "" : text.substr(blank);
  if (const std::size_t e = number.find('e'); e != std::string::npos) {
    const long long power = parseInteger(number.substr(e + 1)).value_or(0);
    std::string exponent = power < 0 ? "\xE2\x81\xBB" : "";
    for (const char c : fmt::format("{}", power < 0 ? -power : power)) {
      exponent += raised[static_cast<std::size_t>(c - '0')];
    }
    number.replace(e, std::string::npos, " \xC3\x97 10" + exponent);
  }
  if (unit == " us") {
    unit = " \xC2\xB5s";
  } else if (const std::size_t square = unit.find("m2"); square != std::string::npos) {
    unit.replace(square, 2, "m\xC2\xB2");
  }
  return number + unit;
}

}  // namespace

std::string_view quantityName(Quantity quantity) {
  switch (quantity) {
    case Quantity::time:
      return "time";
    case Quantity::bValue:
      return "b value";
    case Quantity::diffusion:
      return "diffusion coefficient";
    case Quantity::plain:
      break;
  }
  return "value";
}

std::string_view siUnit(Quantity quantity) {
  switch (quantity) {
    case Quantity::time:
      return "s";
    case Quantity::bValue:
      return "s/m2";
    case Quantity::diffusion:
      return "m2/s";
    case Quantity::plain:
      break;
  }
  return "";
}

std::optional<double> unitSize(std::string_view unit, Quantity quantity) {
  for (const Unit& known : unitTable) {
    if (known.quantity == quantity && known.name == unit) {
      return known.size;
    }
  }
  return std::nullopt;
}

double readUnit(std::string_view unit, std::string_view option, Quantity quantity) {
  if (unit.empty()) {
    return 1.0;
  }
  const std::optional<double> size = unitSize(unit, quantity);
  if (!size) {
    throw UserError(fmt::format("{} {}: write {}", option, inQuotes(unit), unitList(quantity)));
  }
  return *size;
}

std::string unitList(Quantity quantity) {
  std::string list;
  std::string_view last;
  for (const Unit& unit : unitTable) {
    if (unit.quantity == quantity && unit.listed) {
      if (!last.empty()) {
        list += fmt::format("{}{}", list.empty() ? "" : ", ", last);
      }
      last = unit.name;
    }
  }
  return list.empty() ? std::string(last) : fmt::format("{} or {}", list, last);
}

std::optional<double> parseQuantity(std::string_view text, Quantity quantity) {
  text = trimmed(text);
  if (const std::optional<double> plain = parseNumber(text)) {
    return plain;
  }
  const std::size_t end = endOfNumber(text);
  const std::optional<double> number = parseNumber(text.substr(0, end));
  const std::optional<double> size = unitSize(trimmed(text.substr(end)), quantity);
  if (!number || !size) {
    return std::nullopt;
  }
  return toSi(*number, *size);
}

double toSi(double value, double size) {
  return size < 1.0 ? value / std::round(1.0 / size) : value * size;
}

std::string quantityText(double value, Quantity quantity, UnitStyle style) {
  if (style == UnitStyle::typeset) {
    return typeset(quantityText(value, quantity));
  }
  if (quantity == Quantity::time) {
    return timeText(value);
  }
  if (quantity == Quantity::plain) {
    return significant(value, 3);
  }
  if (quantity == Quantity::bValue) {
    constexpr double readable = 1e6;  // the unit in which b values are usually given
    return significant(value / readable) + " s/mm2";
  }
  return fmt::format("{} {}", withShortExponent(fmt::format("{:.2e}", value)), siUnit(quantity));
}

AxisUnit axisUnit(double largest, Quantity quantity) {
  switch (quantity) {
    case Quantity::time:
      if (largest >= 3.0) {
        return {1.0, "s"};
      }
      return largest >= 3e-3 ? AxisUnit{1e-3, "ms"} : AxisUnit{1e-6, "\xC2\xB5s"};
    case Quantity::bValue:
      return {1e6, "s/mm\xC2\xB2"};
    case Quantity::diffusion:
      return {1e-9, "10\xE2\x81\xBB\xE2\x81\xB9 m\xC2\xB2/s"};
    case Quantity::plain:
      break;
  }
  return {1.0, ""};
}

}  // namespace vorin::toolkit
