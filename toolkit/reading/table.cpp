#include "toolkit/reading/table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// A row of a large kernel matrix is shorter than this; a file without line ends isn't.
constexpr std::size_t longestLine = 1'000'000;

std::string_view withoutQuotes(std::string_view field) {
  if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
    return trimmed(field.substr(1, field.size() - 2));
  }
  return field;
}

/// Where the field that `row` begins with ends: at the separator, which doesn't count
/// inside double quotes.
std::size_t endOfField(std::string_view row, char separator) {
  const std::size_t start = row.find_first_not_of(" \t");
  if (start != std::string_view::npos && row[start] == '"' && row[start] != separator) {
    const std::size_t closing = row.find('"', start + 1);
    if (closing != std::string_view::npos) {
      return row.find(separator, closing + 1);
    }
  }
  return row.find(separator);
}

std::vector<std::string_view> fieldsOf(std::string_view row, char separator) {
  std::vector<std::string_view> fields;
  if (separator == ' ') {
    std::size_t at = 0;
    while ((at = row.find_first_not_of(" \t", at)) != std::string_view::npos) {
      const std::size_t stop = std::min(row.find_first_of(" \t", at), row.size());
      fields.push_back(withoutQuotes(row.substr(at, stop - at)));
      at = stop;
    }
    return fields;
  }
  while (true) {
    const std::size_t stop = endOfField(row, separator);
    fields.push_back(withoutQuotes(trimmed(row.substr(0, stop))));
    if (stop == std::string_view::npos) {
      return fields;
    }
    row.remove_prefix(stop + 1);
  }
}

/// The number in `field`, in which one comma may be the decimal separator.
std::optional<double> numberWithComma(std::string_view field) {
  const std::size_t comma = field.find(',');
  if (comma == std::string_view::npos) {
    return parseNumber(field);
  }
  if (field.find('.') != std::string_view::npos) {
    return std::nullopt;
  }
  std::string text(field);
  text[comma] = '.';
  return parseNumber(text);
}

template <class Reads>
bool allOf(const std::vector<std::string_view>& fields, Reads reads) {
  return std::all_of(fields.begin(), fields.end(),
                     [&](std::string_view field) { return reads(field).has_value(); });
}

/// The separator of the fields of a row. With commas and blanks only, commas separate the
/// fields if that leaves numbers ("0.001, 3"); otherwise they are decimal separators if
/// that does ("0,001 3,5").
char separatorOf(std::string_view row) {
  for (char candidate : {';', '\t'}) {
    if (row.find(candidate) != std::string_view::npos) {
      return candidate;
    }
  }
  if (row.find(',') == std::string_view::npos) {
    return ' ';
  }
  if (allOf(fieldsOf(row, ','), parseNumber)) {
    return ',';
  }
  const std::vector<std::string_view> byBlanks = fieldsOf(row, ' ');
  return byBlanks.size() > 1 && allOf(byBlanks, numberWithComma) ? ' ' : ',';
}

std::string_view separatorName(char separator) {
  switch (separator) {
    case ';':
      return "semicolons";
    case '\t':
      return "tabs";
    case ',':
      return "commas";
    default:
      return "blanks";
  }
}

/// A header has words only: a number in it would be a row with a mistake, and a
/// control character is no text.
bool isHeader(std::string_view row) {
  const std::vector<std::string_view> fields = fieldsOf(row, separatorOf(row));
  return std::all_of(fields.begin(), fields.end(), [](std::string_view field) {
    return !field.empty() && !numberWithComma(field).has_value() &&
           std::none_of(field.begin(), field.end(),
                        [](unsigned char c) { return c < ' ' || c == 0x7f; });
  });
}

}  // namespace

Table::Table(const TextFile& file, std::string_view names, std::string_view example)
    : name_(file.name) {
  std::string_view rest = file.content;
  std::string_view headerLine;
  std::string_view lastComment;
  bool headerSeen = false;
  for (long number = 1; !rest.empty(); ++number) {
    const std::size_t before = rest.size();
    const std::string_view whole = takeLine(rest);
    const bool last = rest.empty() && whole.size() == before;  // no line end behind it
    if (whole.size() > longestLine) {
      throw UserError(
          fmt::format("{}, line {}: this line has more than {} characters; give one "
                      "row a sample, each on a line of its own",
                      name_, number, longestLine));
    }
    const std::string_view line = trimmed(whole);
    if (line.empty()) {
      continue;
    }
    if (line.front() == '#') {
      lastComment = lines_.empty() ? trimmed(line.substr(1)) : lastComment;
      continue;
    }
    if (lines_.empty() && !headerSeen && isHeader(line)) {
      headerSeen = true;
      headerLine = line;
      continue;
    }
    takeRow(line, number, last, names);
  }
  if (lines_.empty()) {
    throw UserError(
        fmt::format("{}: there are no rows of numbers; give one row a sample, {}", name_, example));
  }
  // Some programs write their header as a comment.
  setHeader(headerSeen ? headerLine : lastComment);
}

void Table::takeRow(std::string_view line, long number, bool last, std::string_view names) {
  if (lines_.empty()) {
    separator_ = separatorOf(line);
    columns_ = fieldsOf(line, separator_).size();
  }
  const std::vector<std::string_view> fields = fieldsOf(line, separator_);
  if (fields.size() != columns_) {
    failLength(fields.size(), line, number, last, names);
  }
  fields_.insert(fields_.end(), fields.begin(), fields.end());
  lines_.push_back(number);
}

void Table::failLength(std::size_t found, std::string_view line, long number, bool last,
                       std::string_view names) const {
  const std::string place = fmt::format("{}, line {}", name_, number);
  const char other = separatorOf(line);
  if (other != separator_ && !lines_.empty() && fieldsOf(line, other).size() == columns_) {
    throw UserError(
        fmt::format("{}: {} separate the fields here and {} in line {}; use one of them", place,
                    separatorName(other), separatorName(separator_), lines_.front()));
  }
  const std::string_view cut =
      last && found < columns_ ? "; the file ends within this line, it may have been cut off" : "";
  const std::string_view plural = found == 1 ? "" : "s";
  if (columns_ == 2 && !names.empty()) {
    throw UserError(
        fmt::format("{}: this row has {} field{}; a row needs {}, {}, separated by a comma{}",
                    place, found, plural, columns_, names, cut));
  }
  throw UserError(fmt::format("{}: this row has {} field{}, but the first (line {}) has {}{}",
                              place, found, plural, lines_.front(), columns_, cut));
}

void Table::setHeader(std::string_view line) {
  for (char separator : {separator_, separatorOf(line)}) {
    const std::vector<std::string_view> names = fieldsOf(line, separator);
    if (names.size() == columns_) {
      header_.assign(names.begin(), names.end());
      return;
    }
  }
}

bool Table::commasMayBeDecimal() const {
  return separator_ == ',' && columns_ > 2 &&
         std::all_of(fields_.begin(), fields_.end(), [](std::string_view field) {
           return parseNumber(field).has_value() &&
                  field.find_first_not_of("0123456789+-") == std::string_view::npos;
         });
}

std::string Table::place(std::size_t row) const {
  return fmt::format("{}, line {}", name_, lines_[row]);
}

double Table::numberAt(std::size_t row, std::size_t column, std::string_view quantity) const {
  const std::string_view field = fields_[row * columns_ + column];
  const std::optional<double> value =
      separator_ == ',' ? parseNumber(field) : numberWithComma(field);
  if (!value) {
    throw UserError(
        field.empty()
            ? fmt::format("{}: the {} is missing; write a number such as 0.0012", place(row),
                          quantity)
            : fmt::format("{}: the {} {} is not a number; write one such as 0.0012 or 1.2e-3",
                          place(row), quantity, inQuotes(field)));
  }
  if (!std::isfinite(*value)) {
    throw UserError(
        fmt::format("{}: the {} {} is not a finite number; leave out samples without a value",
                    place(row), quantity, inQuotes(field)));
  }
  return *value;
}

std::vector<double> Table::numbers(std::size_t column, std::string_view quantity) const {
  std::vector<double> result(rows());
  std::optional<std::size_t> withComma;
  std::optional<std::size_t> withPoint;
  for (std::size_t row = 0; row < rows(); ++row) {
    result[row] = numberAt(row, column, quantity);
    const std::string_view field = fields_[row * columns_ + column];
    auto& seen = field.find(',') != std::string_view::npos ? withComma : withPoint;
    if (!seen && field.find_first_of(",.") != std::string_view::npos) {
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
  return result;
}

}  // namespace vorin::toolkit
