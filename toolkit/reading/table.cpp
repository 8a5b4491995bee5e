#include "toolkit/reading/table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

std::string_view separatorName(char separator) {
  switch (separator) {
    case ';':
      return "semicolons";
    case '\t':
      return "tabs";
    case ',':
      return "commas";
    case ' ':
      return "blanks";
    default:
      return "signs of their own";
  }
}

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

/// Names with blanks in them where blanks separate the columns: brackets belong to the name
/// before them ("time (ms) signal (V)"), or else two blanks or a tab separate the names.
std::vector<std::string> looseNames(std::string_view line, std::size_t columns) {
  std::vector<std::string> names;
  for (const std::string_view word : fieldsOf(line, ' ')) {
    if (!names.empty() && (word.starts_with('(') || word.starts_with('['))) {
      names.back() += ' ';
      names.back() += word;
    } else {
      names.emplace_back(word);
    }
  }
  if (names.size() == columns) {
    return names;
  }
  names.assign(1, "");
  for (std::size_t i = 0; i < line.size(); ++i) {
    const bool wide =
        line[i] == '\t' || (isBlank(line[i]) && i + 1 < line.size() && isBlank(line[i + 1]));
    if (!wide) {
      names.back() += line[i];
      continue;
    }
    names.emplace_back();
    while (i + 1 < line.size() && isBlank(line[i + 1])) {
      ++i;
    }
  }
  return names;
}

}  // namespace

Table::Table(const TextFile& file, std::string_view names, std::string_view example,
             std::optional<std::size_t> headerLines)
    : ColumnSource(file.name) {
  const TableLayout layout = layOut(file, headerLines);
  separator_ = layout.separator;
  takeRows(layout, names);
  if (lines_.empty()) {
    throw UserError(fmt::format("{}: there are no rows of numbers; give one row a sample, {}",
                                name(), example));
  }
  takeNames(layout);
  dropEmptyColumns();
  describe(file, layout);
  if (file.content.starts_with(decayComment) && columns_ == 3) {
    roles = {0, 1, 2};
  } else if (columns_ > 2) {
    // Sheets begin at any column: two that hold something are not hard to choose.
    std::vector<std::size_t> filled;
    for (std::size_t column = 0; column < columns_ && filled.size() < 3; ++column) {
      if (!isEmpty(column)) {
        filled.push_back(column);
      }
    }
    if (filled.size() == 2) {
      roles = filled;
    }
  }
}

void Table::takeRows(const TableLayout& layout, std::string_view names) {
  for (const TextLine& line : layout.rows) {
    const std::vector<std::string_view> fields = fieldsOf(line.text, separator_);
    if (stride_ == 0) {
      stride_ = fields.size();
      columns_ = stride_;
    }
    if (std::all_of(fields.begin(), fields.end(),
                    [](std::string_view field) { return field.empty(); }) &&
        fields.size() > 1) {
      ++emptyRows_;
      continue;
    }
    if (fields.size() != stride_) {
      failLength(fields.size(), line, names);
    }
    fields_.insert(fields_.end(), fields.begin(), fields.end());
    lines_.push_back(line.number);
  }
}

void Table::failLength(std::size_t count, const TextLine& line, std::string_view names) const {
  const std::string place = fmt::format("{}, line {}", name(), line.number);
  const char other = separatorOf(line.text);
  if (other != separator_ && !lines_.empty() && fieldsOf(line.text, other).size() == stride_) {
    throw UserError(
        fmt::format("{}: {} separate the fields here and {} in line {}; use one of them", place,
                    separatorName(other), separatorName(separator_), lines_.front()));
  }
  const std::string_view cut = line.endless && count < stride_
                                   ? "; the file ends within this line, it may have been cut off"
                                   : "";
  const std::string_view plural = count == 1 ? "" : "s";
  if (stride_ == 2 && !names.empty()) {
    throw UserError(
        fmt::format("{}: this row has {} field{}; a row needs {}, {}, separated by a comma{}",
                    place, count, plural, stride_, names, cut));
  }
  throw UserError(fmt::format("{}: this row has {} field{}, but the first (line {}) has {}{}",
                              place, count, plural, lines_.empty() ? 0 : lines_.front(), stride_,
                              cut));
}

void Table::takeNames(const TableLayout& layout) {
  const std::size_t count = layout.header.size();
  if (count > 0 && setUnits(layout.header[count - 1])) {
    // A row of units stands below one of names. Alone, it must begin with a unit, since "t,s"
    // are names.
    if (count > 1 && setHeader(layout.header[count - 2])) {
      return;
    }
    if (!unitFrom(units_.front())) {
      units_.clear();
    }
  }
  if (count > 0) {
    setHeader(layout.header[count - 1]);
  } else if (layout.comment) {
    setHeader(*layout.comment);  // some programs write their header as a comment
  }
}

bool Table::setHeader(const TextLine& line) {
  headerLine_ = line.number;
  for (char separator : {separator_, separatorOf(line.text)}) {
    std::vector<std::string_view> names = fieldsOf(line.text, separator);
    while (names.size() > stride_ && names.back().empty()) {
      names.pop_back();
    }
    if (names.size() == stride_) {
      header_.assign(names.begin(), names.end());
      return true;
    }
  }
  if (separator_ == ' ' || separator_ == '\t') {
    std::vector<std::string> names = looseNames(line.text, stride_);
    if (names.size() == stride_) {
      header_ = std::move(names);
      return true;
    }
  }
  nameLine_ = line.text;
  return false;
}

bool Table::setUnits(const TextLine& line) {
  constexpr std::size_t longest = 12;
  for (char separator : {separator_, separatorOf(line.text)}) {
    const std::vector<std::string_view> fields = fieldsOf(line.text, separator);
    const bool some = std::any_of(fields.begin(), fields.end(), [](std::string_view field) {
      return unitFrom(field).has_value();
    });
    if (some && fields.size() == stride_ &&
        std::all_of(fields.begin(), fields.end(),
                    [](std::string_view field) { return field.size() <= longest; })) {
      units_.assign(fields.begin(), fields.end());
      unitsLine_ = line.number;
      return true;
    }
  }
  return false;
}

bool Table::isEmpty(std::size_t column) const {
  for (std::size_t row = 0; row < rows(); ++row) {
    if (!field(row, column).empty()) {
      return false;
    }
  }
  return true;
}

void Table::dropEmptyColumns() {
  while (columns_ > 1 && isEmpty(columns_ - 1) &&
         (header_.empty() || header_[columns_ - 1].empty())) {
    --columns_;
    if (!header_.empty()) {
      header_.pop_back();
    }
  }
}

void Table::describe(const TextFile& file, const TableLayout& layout) {
  const bool decimalComma = std::any_of(fields_.begin(), fields_.end(), [](std::string_view field) {
    return field.find(',') != std::string_view::npos && numberWithComma(field).has_value();
  });
  found.format = fmt::format(
      "text, {} between the fields{}{}{}{}", separatorName(separator_),
      decimalComma ? ", decimal commas" : "", file.encoding.empty() ? "" : ", ", file.encoding,
      layout.header.empty() ? std::string()
                            : fmt::format(", rows from line {}", layout.rows.front().number));
  if (emptyRows_ > 0) {
    found.notes.push_back(
        fmt::format("{} empty row{} left out", emptyRows_, emptyRows_ == 1 ? " is" : "s are"));
  }
  for (const TextLine& line : layout.header) {
    const std::vector<std::string_view> fields = fieldsOf(line.text, separatorOf(line.text));
    if (std::all_of(fields.begin(), fields.end(),
                    [](std::string_view field) { return numberWithComma(field).has_value(); })) {
      found.notes.push_back(fmt::format("line {}, {}, is taken for a part of the header",
                                        line.number, inQuotes(line.text)));
    }
  }
  if (!layout.footer.empty()) {
    const std::size_t count = layout.footer.size();
    found.notes.push_back(fmt::format("{} line{} behind the rows left out, from line {}: {}", count,
                                      count == 1 ? "" : "s", layout.footer.front().number,
                                      inQuotes(layout.footer.front().text)));
  }
}

bool Table::commasMayBeDecimal() const {
  return separator_ == ',' && columns_ > 2 &&
         std::all_of(fields_.begin(), fields_.end(), [](std::string_view field) {
           return parseNumber(field).has_value() &&
                  field.find_first_not_of("0123456789+-") == std::string_view::npos;
         });
}

void Table::requireChoice(std::string_view abscissa) const {
  if (columns_ < 2) {
    throw UserError(
        fmt::format("{}: this row has 1 field; a row needs 2, {} and amplitude, "
                    "separated by a comma, or --spacing TIME for amplitudes alone",
                    place(0), abscissa));
  }
  if (commasMayBeDecimal()) {
    throw UserError(fmt::format(
        "{}: the commas may separate fields or be decimal separators; separate the fields by "
        "semicolons, or say by --columns, for instance --columns 1,2, that they are columns",
        place(0)));
  }
  throw UserError(fmt::format(
      "{}: this row has {} fields; say by --columns which hold {} and amplitude, for instance "
      "--columns 1,2, or 1,2,3 with the imaginary channel of complex data",
      place(0), columns_, abscissa));
}

std::string Table::place(std::size_t row) const {
  return fmt::format("{}, {}", name(), rowName(row));
}

std::string Table::rowName(std::size_t row) const {
  return fmt::format("line {}", lines_[row]);
}

void Table::failNumber(std::size_t row, std::string_view field, std::string_view quantity) const {
  throw UserError(
      field.empty()
          ? fmt::format("{}: the {} is missing; write a number such as 0.0012", place(row),
                        quantity)
          : fmt::format("{}: the {} {} is not a number; write one such as 0.0012 or 1.2e-3",
                        place(row), quantity, inQuotes(field)));
}

void Table::requireOneDecimalSeparator(std::size_t column) const {
  std::optional<std::size_t> withComma;
  std::optional<std::size_t> withPoint;
  for (std::size_t row = 0; row < rows(); ++row) {
    const std::string_view text = field(row, column);
    auto& seen = text.find(',') != std::string_view::npos ? withComma : withPoint;
    if (!seen && text.find_first_of(",.") != std::string_view::npos) {
      seen = row;
    }
    if (withComma && withPoint) {
      throw UserError(fmt::format(
          "{}: the decimal separator is a {} here and a {} in line {}; "
          "write one of them",
          place(row), *withComma == row ? "comma" : "point", *withComma == row ? "point" : "comma",
          lines_[*withComma == row ? *withPoint : *withComma]));
    }
  }
}

std::vector<double> Table::numbers(std::size_t column, std::string_view quantity) const {
  const ColumnNumbers read = samples(column, quantity, Missing::refused);
  for (std::size_t row = 0; row < rows(); ++row) {
    if (std::isnan(read.real[row])) {
      throw UserError(
          fmt::format("{}: the {} {} is not a finite number; leave out samples without a value",
                      place(row), quantity, inQuotes(field(row, column))));
    }
    if (!read.imaginary.empty()) {
      failNumber(row, field(row, column), quantity);
    }
  }
  return read.real;
}

ColumnNumbers Table::samples(std::size_t column, std::string_view quantity, Missing missing) const {
  ColumnNumbers result;
  result.real.resize(rows());
  std::vector<std::size_t> plain;  // rows that hold a real number
  for (std::size_t row = 0; row < rows(); ++row) {
    const std::string_view text = field(row, column);
    std::optional<double> value = numberWithComma(text);
    if (!value && (meansNoNumber(text) || (text.empty() && missing == Missing::notANumber))) {
      value = std::numeric_limits<double>::quiet_NaN();
    }
    if (const auto pair = value ? std::nullopt : parseComplex(text)) {
      result.imaginary.resize(rows());
      result.imaginary[row] = pair->imaginary;
      value = pair->real;
    } else if (value && !std::isnan(*value)) {
      plain.push_back(row);
    }
    if (!value) {
      failNumber(row, text, quantity);
    }
    result.real[row] = *value;
    const bool endless =
        std::isinf(*value) || (!result.imaginary.empty() && !std::isfinite(result.imaginary[row]));
    if (endless) {
      throw UserError(
          fmt::format("{}: the {} {} is not a finite number; leave out samples without a value",
                      place(row), quantity, inQuotes(text)));
    }
  }
  if (!result.imaginary.empty() && !plain.empty()) {
    throw UserError(fmt::format("{}: the {} {} is real, but others of its column are complex",
                                place(plain[0]), quantity, inQuotes(field(plain[0], column))));
  }
  if (result.imaginary.empty()) {
    requireOneDecimalSeparator(column);
  }
  return result;
}

std::optional<ToldUnit> Table::unitOf(std::size_t column) const {
  std::optional<ToldUnit> byName;
  if (column < header_.size()) {
    if (const NameAndUnit told = unitInName(header_[column]); told.unit) {
      byName = ToldUnit{*told.unit, fmt::format("header, line {}", headerLine_), told.loose};
    }
  }
  if (header_.empty() && column == 0) {
    for (const Quantity quantity : {Quantity::time, Quantity::bValue}) {
      if (const auto unit = byName ? std::nullopt : unitInBrackets(nameLine_, quantity)) {
        byName = ToldUnit{*unit, fmt::format("header, line {}", headerLine_)};
      }
    }
  }
  std::optional<ToldUnit> byRow;
  if (column < units_.size()) {
    if (const auto unit = unitFrom(units_[column])) {
      byRow = ToldUnit{*unit, fmt::format("row of units, line {}", unitsLine_)};
    }
  }
  if (byName && byRow &&
      (byName->unit.quantity != byRow->unit.quantity || byName->unit.size != byRow->unit.size)) {
    throw UserError(fmt::format(
        "{}: the unit of column {} is {} in line {} and {} in line {}; say which by --time-unit",
        name(), column + 1, inQuotes(byName->unit.text), headerLine_, inQuotes(byRow->unit.text),
        unitsLine_));
  }
  return byRow ? byRow : byName;
}

std::string Table::unknownUnitOf(std::size_t column) const {
  return column < header_.size() ? unitInName(header_[column]).unknown : std::string();
}

Table decayTable(const TextFile& file, std::string_view abscissa,
                 std::optional<std::size_t> headerLines) {
  return Table(file, fmt::format("{} and amplitude", abscissa),
               fmt::format("{},amplitude", abscissa), headerLines);
}

}  // namespace vorin::toolkit
