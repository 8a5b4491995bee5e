// The quantities of the axes, with the units in which users give them.
// Inside the programs and in all files that they write everything is in SI units.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorin::toolkit {

enum class Quantity {
  time,       ///< s
  bValue,     ///< s/m2: how strongly an echo is weighted by diffusion
  diffusion,  ///< m2/s
  plain       ///< a number without a unit
};

/// What the quantity is called: "time", "b value", "diffusion coefficient", "value".
std::string_view quantityName(Quantity quantity);

/// The SI unit: "s", "s/m2", "m2/s", or "".
std::string_view siUnit(Quantity quantity);

/// SI units in one of `unit` ("ms": 0.001), or nothing for a unit that the quantity hasn't.
std::optional<double> unitSize(std::string_view unit, Quantity quantity);

/// SI units in one of `unit`, 1 for an empty text. Throws UserError, which names `option`, for a
/// unit that the quantity hasn't.
double readUnit(std::string_view unit, std::string_view option, Quantity quantity);

/// `value` of a unit that has `size` SI units, in SI units. Units below 1 are divided by a whole
/// number, so that 1 ms is 0.001 to the last bit.
double toSi(double value, double size);

/// The units of a quantity, for messages: "s, ms, us or ns".
std::string unitList(Quantity quantity);

/// The number that `text` spells, in SI units: a number with or without a unit behind
/// it, "1ms", "0.5 s", "2e-9". Nothing for anything else.
std::optional<double> parseQuantity(std::string_view text, Quantity quantity);

/// How units are written: in ASCII for terminals and files ("us", "2.30e-9 m2/s"), or as in print
/// for pictures and reports ("µs", "2.30 × 10⁻⁹ m²/s").
enum class UnitStyle { plain, typeset };

/// A value in SI units with three significant places, for reading: "22.9 ms", "2.30e-9 m2/s";
/// b values have four and are in s/mm2.
std::string quantityText(double value, Quantity quantity, UnitStyle style = UnitStyle::plain);

/// The unit of an axis whose largest value is `largest`, and SI units in one of it.
struct AxisUnit {
  double size;
  std::string_view name;
};
AxisUnit axisUnit(double largest, Quantity quantity);

}  // namespace vorin::toolkit
