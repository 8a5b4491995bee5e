#include "toolkit/reading/header_units.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

/// Spellings that files have beside those of units.cpp; in small letters.
struct Spelling {
  std::string_view text;
  Quantity quantity;
  double size;
};

constexpr double minute = 60.0;
constexpr double hour = 3600.0;

constexpr std::array<Spelling, 30> spellings{{
    {"sec", Quantity::time, 1.0},          {"secs", Quantity::time, 1.0},
    {"second", Quantity::time, 1.0},       {"seconds", Quantity::time, 1.0},
    {"msec", Quantity::time, 1e-3},        {"msecs", Quantity::time, 1e-3},
    {"millisecond", Quantity::time, 1e-3}, {"milliseconds", Quantity::time, 1e-3},
    {"usec", Quantity::time, 1e-6},        {"usecs", Quantity::time, 1e-6},
    {"microsecond", Quantity::time, 1e-6}, {"microseconds", Quantity::time, 1e-6},
    {"nsec", Quantity::time, 1e-9},        {"nanosecond", Quantity::time, 1e-9},
    {"nanoseconds", Quantity::time, 1e-9}, {"min", Quantity::time, minute},
    {"minutes", Quantity::time, minute},   {"h", Quantity::time, hour},
    {"hours", Quantity::time, hour},       {"sm-2", Quantity::bValue, 1.0},
    {"scm-2", Quantity::bValue, 1e4},      {"smm-2", Quantity::bValue, 1e6},
    {"msum-2", Quantity::bValue, 1e9},     {"s*m-2", Quantity::bValue, 1.0},
    {"s*cm-2", Quantity::bValue, 1e4},     {"s*mm-2", Quantity::bValue, 1e6},
    {"ms*um-2", Quantity::bValue, 1e9},    {"1e6s/m2", Quantity::bValue, 1e6},
    {"1e9s/m2", Quantity::bValue, 1e9},    {"10^9s/m2", Quantity::bValue, 1e9},
}};

/// `text` with other characters for the same signs replaced: µ, superscripts, dots, blanks.
std::string normalised(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 9> signs{{
      {"\xC2\xB5", "u"},      // micro sign
      {"\xCE\xBC", "u"},      // Greek mu
      {"\xC2\xB2", "2"},      // superscript two
      {"\xE2\x81\xBB", "-"},  // superscript minus
      {"\xE2\x88\x92", "-"},  // minus sign
      {"\xC2\xB7", "*"},      // middle dot
      {"\xE2\x8B\x85", "*"},  // dot operator
      {" ", ""},
      {"^", ""},
  }};
  std::string result(text);
  for (const auto& [from, to] : signs) {
    if (from == "^" && result.starts_with("10^")) {
      continue;
    }
    for (std::size_t at = 0; (at = result.find(from, at)) != std::string::npos; at += to.size()) {
      result.replace(at, from.size(), to);
    }
  }
  return result;
}

/// `text` without brackets around all of it and without a leading "in ".
std::string_view bare(std::string_view text) {
  text = trimmed(text);
  while (text.size() >= 2 && ((text.front() == '(' && text.back() == ')') ||
                              (text.front() == '[' && text.back() == ']') ||
                              (text.front() == '<' && text.back() == '>') ||
                              (text.front() == '{' && text.back() == '}'))) {
    text = trimmed(text.substr(1, text.size() - 2));
  }
  if (text.size() > 3 && equalIgnoringCase(text.substr(0, 3), "in ")) {
    text = trimmed(text.substr(3));
  }
  return text;
}

/// What stands in the last brackets of `name`, or nothing.
std::optional<std::string_view> lastBrackets(std::string_view name) {
  const std::size_t end = name.find_last_of(")]");
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  const char opening = name[end] == ')' ? '(' : '[';
  const std::size_t start = name.rfind(opening, end);
  if (start == std::string_view::npos) {
    return std::nullopt;
  }
  return trimmed(name.substr(start + 1, end - start - 1));
}

}  // namespace

std::optional<NamedUnit> unitFrom(std::string_view text) {
  text = bare(text);
  constexpr std::size_t longest = 24;
  if (text.empty() || text.size() > longest) {
    return std::nullopt;
  }
  const std::string form = normalised(text);
  for (Quantity quantity : {Quantity::time, Quantity::bValue}) {
    for (const std::string& tried : {form, lowerCase(form)}) {
      if (const std::optional<double> size = unitSize(tried, quantity)) {
        return NamedUnit{quantity, *size, std::string(text)};
      }
    }
  }
  const auto found = std::find_if(spellings.begin(), spellings.end(),
                                  [&](const Spelling& row) { return row.text == lowerCase(form); });
  if (found == spellings.end()) {
    return std::nullopt;
  }
  return NamedUnit{found->quantity, found->size, std::string(text)};
}

NameAndUnit unitInName(std::string_view name) {
  name = trimmed(name);
  if (const auto inside = lastBrackets(name)) {
    NameAndUnit result{unitFrom(*inside), false, {}};
    if (!result.unit) {
      result.unknown = *inside;
    }
    return result;
  }
  // A slash may be part of the unit ("b s/mm2") or stand before it ("t/ms").
  for (const std::string_view separators : {" ,", "_", "/"}) {
    const std::size_t at = name.find_last_of(separators);
    if (at == std::string_view::npos || at == 0) {
      continue;
    }
    if (std::optional<NamedUnit> unit = unitFrom(name.substr(at + 1))) {
      return {std::move(unit), separators == "_", {}};
    }
  }
  return {};
}

std::optional<NamedUnit> unitInBrackets(std::string_view line, Quantity quantity) {
  std::size_t start = 0;
  while ((start = line.find_first_of("([", start)) != std::string_view::npos) {
    const std::size_t end = line.find(line[start] == '(' ? ')' : ']', start);
    if (end == std::string_view::npos) {
      return std::nullopt;
    }
    std::optional<NamedUnit> unit = unitFrom(line.substr(start + 1, end - start - 1));
    if (unit && unit->quantity == quantity) {
      return unit;
    }
    ++start;
  }
  return std::nullopt;
}

}  // namespace vorin::toolkit
