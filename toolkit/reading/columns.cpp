#include "toolkit/reading/columns.hpp"

#include <fmt/format.h>

#include <cmath>

#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

ToldUnit timeUnit(double size, std::string_view text, std::string_view where) {
  ToldUnit told;
  told.unit.size = size;
  told.unit.text = text;
  told.where = where;
  return told;
}

void NumberColumns::add(Column column) {
  header_.push_back(column.name);
  columns_.push_back(std::move(column));
}

std::string NumberColumns::place(std::size_t row) const {
  return fmt::format("{}, {}", name(), rowName(row));
}

std::string NumberColumns::rowName(std::size_t row) const {
  return fmt::format("row {}", row + 1);
}

ColumnNumbers NumberColumns::samples(std::size_t column, std::string_view quantity,
                                     Missing /*missing*/) const {
  const ColumnNumbers& numbers = columns_[column].numbers;
  for (const std::vector<double>* channel : {&numbers.real, &numbers.imaginary}) {
    for (std::size_t row = 0; row < channel->size(); ++row) {
      if (std::isinf((*channel)[row])) {
        throw UserError(
            fmt::format("{}: the {} \"{}\" is not a finite number; leave out samples without a "
                        "value",
                        place(row), quantity, (*channel)[row]));
      }
    }
  }
  return numbers;
}

std::optional<ToldUnit> NumberColumns::unitOf(std::size_t column) const {
  if (columns_[column].unit) {
    return columns_[column].unit;
  }
  const NameAndUnit told = unitInName(columns_[column].name);
  if (told.unit) {
    return ToldUnit{*told.unit, fmt::format("the name {}", inQuotes(columns_[column].name)),
                    told.loose};
  }
  return std::nullopt;
}

void NumberColumns::requireChoice(std::string_view abscissa) const {
  throw UserError(fmt::format(
      "{}: there are {} columns; say by --columns which hold {} and amplitude, for instance "
      "--columns 1,2, or 1,2,3 with the imaginary channel of complex data",
      name(), columns(), abscissa));
}

}  // namespace vorin::toolkit
