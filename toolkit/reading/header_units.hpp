// Units in the names of columns: "time (ms)", "t [us]", "b / s/mm2", "TE_ms", and rows that hold
// units alone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// A unit as a file spells it.
struct NamedUnit {
  Quantity quantity = Quantity::time;
  double size = 1.0;  ///< SI units in one of it
  std::string text;   ///< as spelt: "ms"
};

/// The unit that all of `text` spells, brackets around it or not: "ms", "[s/mm2]", "(µs)", "sec".
std::optional<NamedUnit> unitFrom(std::string_view text);

/// What the name of a column tells of its unit.
struct NameAndUnit {
  std::optional<NamedUnit> unit;
  bool loose = false;     ///< behind an underscore: "time_s", which may be no more than a name
  std::string unknown{};  ///< what stands in brackets without being a unit: "corrected"
};

/// The unit in a column's name: in its last brackets, or behind its last blank, comma, slash or
/// underscore.
NameAndUnit unitInName(std::string_view name);

/// The first unit of `quantity` in brackets anywhere in `line`.
std::optional<NamedUnit> unitInBrackets(std::string_view line, Quantity quantity);

}  // namespace vorin::toolkit
