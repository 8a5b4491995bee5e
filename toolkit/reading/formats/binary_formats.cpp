// Instrument formats that are binary: Prospa .1d and Tecmag .tnt.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// A column of complex or real numbers of even spacing, whose times nobody tells.
class UntimedColumns : public NumberColumns {
 public:
  using NumberColumns::NumberColumns;

  void requireChoice(std::string_view /*abscissa*/) const override {
    throw UserError(
        fmt::format("{}: the times of the samples are not told ({}); give the time between two by "
                    "--spacing, for "
                    "instance --spacing 200us",
                    name(), found.format));
  }
};

[[noreturn]] void failCut(const std::string& name, std::string_view format) {
  throw UserError(fmt::format("{}: this {} is cut off or damaged", name, format));
}

}  // namespace

ColumnsFound readProspaBinary(const FormatInput& input) {
  const std::string_view bytes = input.file.content;
  const std::string& name = input.file.name;
  if (bytes.starts_with("SORPD1LP")) {
    throw UserError(fmt::format(
        "{}: this is a plot of Prospa; give the data beside it, the .1d or .csv file", name));
  }
  constexpr std::string_view magic = "SORPATAD";
  if (!bytes.starts_with(magic)) {
    return nullptr;
  }
  const bool older = bytes.substr(magic.size()).starts_with("0.1V");
  const BinaryReader reader(bytes);
  constexpr std::size_t headerAt = 12;
  const std::size_t dataAt = older ? 28 : 32;
  const auto type = reader.int32At(headerAt);
  const auto count = reader.int32At(headerAt + 4);
  const auto rows = reader.int32At(headerAt + 8);
  const auto planes = reader.int32At(headerAt + 12);
  if (!type || !count || !rows || !planes || *count < 1 || *rows < 1 || *planes < 1) {
    failCut(name, "Prospa file");
  }
  enum Type { realFloat = 500, complexFloat, realDouble, xRealFloat, xComplexFloat };
  if (*type < realFloat || *type > xComplexFloat) {
    throw UserError(
        fmt::format("{}: this Prospa file has numbers of the unknown type {}", name, *type));
  }
  const bool chosen = input.format.columns && input.format.spacing;
  if (*planes > 1 || (*rows > 1 && (!chosen || *type >= xRealFloat))) {
    throw UserError(fmt::format(
        "{}: this Prospa file holds a matrix of {} x {}; write it as text for vorin invert2d{}",
        name, *rows, *count,
        *planes > 1 ? ""
                    : fmt::format(", or take its rows as decays by --columns -,1..{} and --spacing",
                                  *rows)));
  }
  const auto length = static_cast<std::size_t>(*count);
  if (static_cast<std::size_t>(*rows) > bytes.size() / length) {
    failCut(name, "Prospa file");
  }
  const std::size_t size = length * static_cast<std::size_t>(*rows);
  const bool isComplex = *type == complexFloat || *type == xComplexFloat;
  const bool timed = *type == xRealFloat || *type == xComplexFloat;
  const std::size_t width = *type == realDouble ? 8 : 4;
  const std::size_t needed = size * width * ((timed ? 1U : 0U) + (isComplex ? 2U : 1U));
  if (bytes.size() < dataAt || bytes.size() - dataAt < needed) {
    failCut(name, "Prospa file");
  }
  std::vector<double> times;
  ColumnNumbers numbers;
  const auto at = [&](std::size_t place) {
    return width == 8 ? *reader.doubleAt(dataAt + place * width)
                      : static_cast<double>(*reader.floatAt(dataAt + place * width));
  };
  const std::size_t start = timed ? size : 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (timed) {
      times.push_back(at(i));
    }
    numbers.real.push_back(at(start + (isComplex ? 2 * i : i)));
    if (isComplex) {
      numbers.imaginary.push_back(at(start + 2 * i + 1));
    }
  }
  auto columns = std::make_unique<UntimedColumns>(name);
  columns->found.format = "Prospa file";
  columns->found.plainText = false;
  if (timed) {
    const std::optional<ToldUnit> unit = prospaUnit(times, input.path);
    if (!unit && !input.format.unit && !input.format.spacing) {
      throw UserError(fmt::format(
          "{}: neither the file nor an acqu.par beside it tells the unit of the times; give it by "
          "--time-unit, for instance us",
          name));
    }
    columns->add({"time", {std::move(times), {}}, unit});
    columns->roles = {0, 1};
  }
  if (size == length) {
    columns->add({"signal", std::move(numbers), {}});
    return columns;
  }
  for (std::size_t first = 0; first < size; first += length) {  // a decay in each row
    const auto part = [first, length](const std::vector<double>& all) {
      if (all.empty()) {
        return std::vector<double>();
      }
      const auto from = all.begin() + static_cast<std::ptrdiff_t>(first);
      return std::vector<double>(from, from + static_cast<std::ptrdiff_t>(length));
    };
    columns->add({"", {part(numbers.real), part(numbers.imaginary)}, {}});
  }
  return columns;
}

namespace {

constexpr std::string_view tecmagName = "Tecmag file";

/// The sections of a .tnt that are read: TMAG holds the sizes, DATA the samples.
struct Tecmag {
  std::array<std::size_t, 4> points{};
  std::size_t window = 0;  ///< samples of one acquisition
  double dwell = 0.0;      ///< s
  std::string_view data;
  std::string_view rest;  ///< behind the data: tables among other things
};

Tecmag sectionsOf(std::string_view bytes, const std::string& name) {
  constexpr std::size_t startOfTmag = 20;
  constexpr std::size_t tmagLength = 1024;
  constexpr std::size_t pointsAt = startOfTmag + 16;
  constexpr std::size_t windowAt = startOfTmag + 32;
  constexpr std::size_t dwellAt = startOfTmag + 272;
  const BinaryReader reader(bytes);
  Tecmag file;
  std::size_t total = 1;
  for (std::size_t k = 0; k < file.points.size(); ++k) {
    const auto count = reader.int32At(pointsAt + 4 * k);
    if (!count || *count < 1 || static_cast<std::size_t>(*count) > bytes.size() / total) {
      failCut(name, tecmagName);
    }
    file.points[k] = static_cast<std::size_t>(*count);
    total *= file.points[k];
  }
  const auto window = reader.int32At(windowAt);
  const auto dwell = reader.doubleAt(dwellAt);
  constexpr std::size_t tagLength = 12;
  const std::size_t dataAt = startOfTmag + tmagLength;
  if (!window || !dwell || bytes.size() < dataAt + tagLength || bytes.substr(dataAt, 4) != "DATA" ||
      (bytes.size() - dataAt - tagLength) / 8 < total) {
    failCut(name, tecmagName);
  }
  file.window = *window < 1 ? file.points[0] : static_cast<std::size_t>(*window);
  file.dwell = *dwell;
  file.data = bytes.substr(dataAt + tagLength, 8 * total);
  file.rest = bytes.substr(dataAt + tagLength + 8 * total);
  return file;
}

/// The sums of `window` samples each.
ColumnNumbers windowSums(std::string_view data, std::size_t window) {
  const BinaryReader reader(data);
  ColumnNumbers sums;
  const std::size_t samples = data.size() / 8;
  for (std::size_t i = 0; i + window <= samples; i += window) {
    double real = 0.0;
    double imaginary = 0.0;
    for (std::size_t k = i; k < i + window; ++k) {
      real += static_cast<double>(*reader.floatAt(8 * k));
      imaginary += static_cast<double>(*reader.floatAt(8 * k + 4));
    }
    sums.real.push_back(real);
    sums.imaginary.push_back(imaginary);
  }
  return sums;
}

/// The times of a table of delays: CR LF between them, or nothing where a text is none.
std::vector<double> tableTimes(std::string_view text) {
  std::vector<double> times;
  while (!text.empty()) {
    const std::string_view line = trimmed(takeLine(text));
    if (line.empty()) {
      continue;
    }
    const std::optional<double> time = parseListTime(line);
    if (!time) {
      return {};
    }
    times.push_back(*time);
  }
  return times;
}

/// The one table of delays along the second dimension that the sequence names: its name stands in
/// the grid of the sequence and again before its text.
std::vector<double> delayTable(std::string_view rest, std::size_t rows, const std::string& name) {
  std::vector<std::pair<std::string, std::vector<double>>> tables;
  constexpr std::size_t longestName = 16;
  for (std::size_t at = 0; (at = rest.find(":2", at)) != std::string_view::npos; at += 2) {
    for (std::size_t length = 1; length <= std::min(longestName, at); ++length) {
      const std::size_t start = at - length;
      if (start < 4) {
        break;
      }
      const BinaryReader reader(rest);
      const auto told = reader.int32At(start - 4);
      const auto size = reader.int32At(at + 2);
      if (!told || *told != static_cast<std::int32_t>(length + 2) || !size || *size < 4 ||
          static_cast<std::size_t>(*size) > rest.size() - at - 6) {
        continue;
      }
      const std::string tableName(rest.substr(start, length + 2));
      std::vector<double> times = tableTimes(rest.substr(at + 6, static_cast<std::size_t>(*size)));
      const bool named = rest.find(tableName) < start;
      if (times.size() >= rows && named) {
        times.resize(rows);
        tables.emplace_back(tableName, std::move(times));
      }
    }
  }
  if (tables.size() != 1) {
    throw UserError(fmt::format(
        "{}: this Tecmag file has {} rows and {} tables of delays that may be theirs, not one; "
        "export it as text with times",
        name, rows, tables.size()));
  }
  return tables.front().second;
}

}  // namespace

ColumnsFound readTecmag(const FormatInput& input) {
  const std::string_view bytes = input.file.content;
  const std::string& name = input.file.name;
  if (!bytes.starts_with("TNT1.")) {
    return nullptr;
  }
  const Tecmag file = sectionsOf(bytes, name);
  if (file.points[2] > 1 || file.points[3] > 1) {
    throw UserError(
        fmt::format("{}: this Tecmag file has {} x {} x {} x {} points; one or two "
                    "dimensions are read",
                    name, file.points[0], file.points[1], file.points[2], file.points[3]));
  }
  auto columns = std::make_unique<UntimedColumns>(name);
  columns->found.plainText = false;
  const std::size_t windows = file.points[0] / file.window;
  const std::size_t rows = file.points[1];
  if (windows < 1 || (rows > 1 && windows > 1)) {
    throw UserError(fmt::format(
        "{}: this Tecmag file has {} rows of {} acquisitions, a map over two axes; write it as a "
        "matrix for vorin invert2d",
        name, rows, windows));
  }
  if (rows > 1) {
    columns->found.format =
        fmt::format("Tecmag file, {} delays, the {} samples of each summed", rows, file.points[0]);
    columns->add({"delay",
                  {delayTable(file.rest, rows, name), {}},
                  timeUnit(1.0, "s", "the table of delays")});
    columns->roles = {0, 1};
    columns->add({"signal", windowSums(file.data, file.points[0]), {}});
    return columns;
  }
  if (windows == 1) {  // a free decay: the samples themselves
    columns->found.format = "Tecmag file, free decay";
    std::vector<double> times;
    for (std::size_t i = 0; i < file.points[0]; ++i) {
      times.push_back(static_cast<double>(i) * file.dwell);
    }
    columns->add({"time", {std::move(times), {}}, timeUnit(1.0, "s", "the dwell time")});
    columns->roles = {0, 1};
    columns->add({"signal", windowSums(file.data, 1), {}});
    return columns;
  }
  columns->found.format =
      fmt::format("Tecmag file, {} echoes, the {} samples of each summed", windows, file.window);
  columns->add({"echo", windowSums(file.data, file.window), {}});
  return columns;
}

}  // namespace vorin::toolkit
