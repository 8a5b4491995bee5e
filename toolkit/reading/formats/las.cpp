// LAS 3 well logs with echo arrays: at each depth a decay, whose samples are curves NAME[1],
// NAME[2] ... with the offset of each in braces, {A:0}, {A:5} ..., in the unit of the curve.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// "MNEM.UNIT value : description".
struct Entry {
  std::string name;
  std::string unit;
  std::string value;
  std::string description;
};

std::optional<Entry> entryIn(std::string_view line) {
  const std::size_t point = line.find('.');
  const std::size_t colon = line.rfind(':', line.rfind('{'));
  if (point == std::string_view::npos || colon == std::string_view::npos || colon < point) {
    return std::nullopt;
  }
  const std::string_view middle = line.substr(point + 1, colon - point - 1);
  const std::size_t blank = std::min(middle.find_first_of(" \t"), middle.size());
  return Entry{std::string(trimmed(line.substr(0, point))), std::string(middle.substr(0, blank)),
               std::string(trimmed(middle.substr(blank))),
               std::string(trimmed(line.substr(colon + 1)))};
}

/// An element of an array: "NMR[2]" with {A:5}.
struct Element {
  std::string array;
  double offset = 0.0;
  std::size_t column = 0;  ///< from 0
};

std::optional<Element> elementOf(const Entry& entry, std::size_t column) {
  const std::size_t bracket = entry.name.find('[');
  const std::size_t brace = entry.description.find("{A:");
  const std::size_t end = entry.description.find('}', brace);
  if (bracket == std::string::npos || brace == std::string::npos || end == std::string::npos) {
    return std::nullopt;
  }
  constexpr std::size_t before = 3;
  const auto offset =
      parseNumber(std::string_view(entry.description).substr(brace + before, end - brace - before));
  if (!offset || !std::isfinite(*offset)) {
    return std::nullopt;
  }
  return Element{entry.name.substr(0, bracket), *offset, column};
}

struct Las {
  std::vector<Entry> curves;
  std::vector<std::pair<long, std::string_view>> rows;  ///< with their line numbers
  char separator = ' ';
  double missing = -999.25;
};

/// The sections that tell of version, null value, curves and data; LAS 3 calls the latter
/// Log_Definition and Log_Data, too.
Las sectionsOf(std::string_view rest) {
  Las las;
  std::string section;
  for (long number = 1; !rest.empty(); ++number) {
    const std::string_view line = trimmed(takeLine(rest));
    if (line.empty() || line.front() == '#') {
      continue;
    }
    if (line.front() == '~') {
      section = upperCase(line.substr(1, line.find_first_of(" \t|") - 1));
      continue;
    }
    if (section.starts_with("A") || section == "LOG_DATA") {
      las.rows.emplace_back(number, line);
      continue;
    }
    const std::optional<Entry> entry = entryIn(line);
    if (!entry) {
      continue;
    }
    if (section.starts_with("C") || section == "LOG_DEFINITION") {
      las.curves.push_back(*entry);
    } else if (upperCase(entry->name) == "NULL") {
      las.missing = parseNumber(entry->value).value_or(las.missing);
    } else if (upperCase(entry->name) == "DLM") {
      const std::string word = upperCase(entry->value);
      las.separator = word == "COMMA" ? ',' : word == "TAB" ? '\t' : ' ';
    }
  }
  return las;
}

std::vector<std::string_view> cellsOf(std::string_view row, char separator) {
  std::vector<std::string_view> cells;
  if (separator != ' ') {
    while (true) {
      const std::size_t end = row.find(separator);
      cells.push_back(trimmed(row.substr(0, end)));
      if (end == std::string_view::npos) {
        return cells;
      }
      row.remove_prefix(end + 1);
    }
  }
  while (!row.empty()) {
    const std::size_t end = std::min(row.find_first_of(" \t"), row.size());
    cells.push_back(row.substr(0, end));
    row.remove_prefix(std::min(row.find_first_not_of(" \t", end), row.size()));
  }
  return cells;
}

/// The elements of the one array with offsets.
std::vector<Element> echoesOf(const Las& las, const std::string& name) {
  std::vector<Element> echoes;
  for (std::size_t k = 0; k < las.curves.size(); ++k) {
    if (const auto element = elementOf(las.curves[k], k)) {
      echoes.push_back(*element);
    }
  }
  if (echoes.size() < 2) {
    throw UserError(fmt::format(
        "{}: this LAS file has curves over depth, no echo arrays (NAME[1] with {{A:0}} and so on); "
        "choose columns of times and amplitudes by --columns if it holds a decay",
        name));
  }
  for (const Element& echo : echoes) {
    if (echo.array != echoes.front().array) {
      throw UserError(fmt::format("{}: this LAS file has the echo arrays {} and {}; leave one",
                                  name, inQuotes(echoes.front().array), inQuotes(echo.array)));
    }
  }
  return echoes;
}

/// The echoes of one depth; NaN where there is none. `place` is that of the row in messages.
NumberColumns::Column decayIn(const Las& las, const std::vector<Element>& echoes,
                              std::string_view row, const std::string& place) {
  const std::vector<std::string_view> cells = cellsOf(row, las.separator);
  NumberColumns::Column decay{
      fmt::format("{} {}", las.curves.front().name, inOneLine(cells.front())), {}, {}};
  for (const Element& echo : echoes) {
    const auto value = echo.column < cells.size() ? parseNumber(cells[echo.column]) : std::nullopt;
    if (!value) {
      throw UserError(fmt::format("{}: there is no number for {}", place,
                                  inQuotes(las.curves[echo.column].name)));
    }
    decay.numbers.real.push_back(*value == las.missing ? std::numeric_limits<double>::quiet_NaN()
                                                       : *value);
  }
  return decay;
}

}  // namespace

ColumnsFound readLas(const FormatInput& input) {
  const std::string_view content = input.file.content;
  std::string_view rest = content.substr(0, 4096);
  std::string_view first;
  while (!rest.empty() && (first.empty() || first.front() == '#')) {
    first = trimmed(takeLine(rest));
  }
  if (!upperCase(first).starts_with("~V") || rest.find("VERS") == std::string_view::npos ||
      input.format.columns) {
    return nullptr;
  }
  const std::string& name = input.file.name;
  const Las las = sectionsOf(content);
  const std::vector<Element> echoes = echoesOf(las, name);
  const std::string& unitText = las.curves[echoes.front().column].unit;
  const std::optional<NamedUnit> unit = unitFrom(unitText);
  auto columns = std::make_unique<NumberColumns>(name);
  NumberColumns::Column times{"offset", {}, {}};
  for (const Element& echo : echoes) {
    times.numbers.real.push_back(echo.offset);
  }
  if (unit) {
    times.unit = ToldUnit{*unit, fmt::format("of {}", inQuotes(echoes.front().array)), false};
  }
  columns->add(std::move(times));
  std::size_t empty = 0;
  for (const auto& [number, row] : las.rows) {
    NumberColumns::Column decay =
        decayIn(las, echoes, row, fmt::format("{}, line {}", name, number));
    if (std::all_of(decay.numbers.real.begin(), decay.numbers.real.end(),
                    [](double value) { return std::isnan(value); })) {
      ++empty;
    } else {
      columns->add(std::move(decay));
    }
  }
  if (columns->columns() < 2) {
    throw UserError(fmt::format("{}: this LAS file has no depth with echoes", name));
  }
  if (empty > 0) {
    columns->found.notes.push_back(
        fmt::format("{} depth{} without echoes left out", empty, empty == 1 ? " is" : "s are"));
  }
  columns->takeAll = true;
  columns->found.plainText = false;
  columns->found.format =
      fmt::format("LAS echo array {}, {} echoes at {} depth{}", inQuotes(echoes.front().array),
                  echoes.size(), columns->columns() - 1, columns->columns() == 2 ? "" : "s");
  return columns;
}

}  // namespace vorin::toolkit
