#include "toolkit/reading/csv.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/table.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// Times beyond this are no times, and single precision would not hold them.
constexpr double longestTime = 1e30;
/// Amplitudes beyond these limits can't be squared in double precision with ease.
constexpr double largestAmplitude = 1e100;
constexpr double smallestAmplitude = 1e-100;

std::string quotedList(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) {
    list += (list.empty() ? "" : ", ") + inQuotes(name);
  }
  return list;
}

/// The column, from 0, that `column` names.
std::size_t columnIndex(const std::string& column, const ColumnChoice& choice, const Table& table) {
  const auto fail = [&](std::string_view why) {
    return UserError(fmt::format("--columns {}: {}", inQuotes(choice.text), why));
  };
  if (const std::optional<long long> number = parseInteger(column)) {
    if (*number < 1 || *number > static_cast<long long>(table.columns())) {
      throw fail(fmt::format("there is no column {} in {}, which has {}", *number, table.name(),
                             table.columns()));
    }
    return static_cast<std::size_t>(*number - 1);
  }
  const std::vector<std::string>& names = table.header();
  if (names.empty()) {
    throw fail(
        fmt::format("{} has no header line with names for its {} columns; give their numbers",
                    table.name(), table.columns()));
  }
  auto found = std::find(names.begin(), names.end(), column);
  if (found == names.end()) {
    found = std::find_if(names.begin(), names.end(),
                         [&](const std::string& name) { return equalIgnoringCase(name, column); });
  }
  if (found == names.end()) {
    throw fail(fmt::format("there is no column {} in {}, whose columns are {}", inQuotes(column),
                           table.name(), quotedList(names)));
  }
  return static_cast<std::size_t>(found - names.begin());
}

std::vector<std::size_t> columnIndices(const std::optional<ColumnChoice>& choice,
                                       const Table& table) {
  if (!choice) {
    return {0, 1};
  }
  std::vector<std::size_t> indices;
  for (const std::string& column : choice->columns) {
    const std::size_t index = columnIndex(column, *choice, table);
    if (std::find(indices.begin(), indices.end(), index) != indices.end()) {
      throw UserError(fmt::format("--columns {}: column {} of {} is named twice",
                                  inQuotes(choice->text), index + 1, table.name()));
    }
    indices.push_back(index);
  }
  return indices;
}

/// Throws UserError for a file of more than two columns that nobody chose from.
void requireTwoColumns(const Table& table, std::string_view abscissa) {
  if (table.columns() == 2) {
    return;
  }
  if (table.columns() < 2) {
    throw UserError(
        fmt::format("{}: this row has 1 field; a row needs 2, {} and amplitude, "
                    "separated by a comma",
                    table.place(0), abscissa));
  }
  if (table.commasMayBeDecimal()) {
    throw UserError(fmt::format(
        "{}: the commas may separate fields or be decimal separators; separate the fields by "
        "semicolons, or say by --columns, for instance --columns 1,2, that they are columns",
        table.place(0)));
  }
  throw UserError(fmt::format(
      "{}: this row has {} fields; say by --columns which hold {} and amplitude, for instance "
      "--columns 1,2, or 1,2,3 with the imaginary channel of complex data",
      table.place(0), table.columns(), abscissa));
}

void checkTimes(const Table& table, const std::vector<double>& times, Quantity quantity,
                double unit, bool zeroAllowed) {
  const std::string_view name = quantityName(quantity);
  const std::string units =
      quantity == Quantity::plain || unit != 1.0
          ? ""
          : fmt::format(" in {},", quantity == Quantity::time ? "seconds" : siUnit(quantity));
  for (std::size_t i = 0; i < times.size(); ++i) {
    const double time = times[i];
    if (time < 0.0 || (time == 0.0 && !zeroAllowed)) {
      throw UserError(fmt::format("{}: the {} {:g} is {}; {}s are{} {}", table.place(i), name, time,
                                  time < 0.0 ? "negative" : "0", name, units,
                                  zeroAllowed ? "0 or above" : "above 0"));
    }
    if (time * unit > longestTime) {
      throw UserError(fmt::format(
          "{}: the {} {:g} is too {}; {}s are{} {:g} at most", table.place(i), name, time,
          quantity == Quantity::time ? "long" : "large", name, units, longestTime));
    }
    if (i > 0 && !(time > times[i - 1])) {
      throw UserError(
          fmt::format("{}: the {} {:g} does not rise above the {:g} of the row before; sort the "
                      "rows by {}, each {} once",
                      table.place(i), name, time, times[i - 1], name, name));
    }
  }
}

/// Throws UserError for amplitudes too large or too small to work with; `all` are
/// those of both channels.
void checkAmplitudes(const Table& table, const std::vector<std::vector<double>>& all) {
  double largest = 0.0;
  for (const std::vector<double>& channel : all) {
    for (std::size_t i = 0; i < channel.size(); ++i) {
      if (std::fabs(channel[i]) > largestAmplitude) {
        throw UserError(
            fmt::format("{}: the amplitude {:g} is too large; give it in another unit, "
                        "{:g} at most",
                        table.place(i), channel[i], largestAmplitude));
      }
      largest = std::max(largest, std::fabs(channel[i]));
    }
  }
  if (largest == 0.0) {
    throw UserError(
        fmt::format("{}: every amplitude is 0; a decay requires one that is not", table.name()));
  }
  if (largest < smallestAmplitude) {
    throw UserError(fmt::format("{}: no amplitude is above {:g}; give them in another unit",
                                table.name(), smallestAmplitude));
  }
}

}  // namespace

ColumnChoice parseColumns(std::string_view text, std::string_view option) {
  ColumnChoice choice{std::string(text), {}};
  std::string_view rest = text;
  bool empty = false;
  while (true) {
    const std::size_t comma = rest.find(',');
    choice.columns.emplace_back(trimmed(rest.substr(0, comma)));
    empty = empty || choice.columns.back().empty();
    if (comma == std::string_view::npos) {
      break;
    }
    rest.remove_prefix(comma + 1);
  }
  if (empty || choice.columns.size() < 2 || choice.columns.size() > 3) {
    throw UserError(
        fmt::format("{} {}: two or three columns are required, by number from 1 or by name, with "
                    "commas between "
                    "them; write for instance 1,2, or 1,2,3 with an imaginary channel",
                    option, inQuotes(text)));
  }
  return choice;
}

MeasuredDecay readMeasuredDecay(const fs::path& path, const DecayFormat& format) {
  const TextFile file = readTextFile(path);
  const std::string_view abscissa = quantityName(format.abscissa);
  const std::string fields = fmt::format("{} and amplitude", abscissa);
  const std::string example = fmt::format("{},amplitude", abscissa);
  const Table table(file, fields, example);
  if (!format.columns) {
    requireTwoColumns(table, abscissa);
  }
  const std::vector<std::size_t> columns = columnIndices(format.columns, table);
  MeasuredDecay result;
  result.decay.time = table.numbers(columns[0], abscissa);
  result.decay.amplitude = table.numbers(columns[1], "amplitude");
  if (columns.size() > 2) {
    result.imaginary = table.numbers(columns[2], "imaginary amplitude");
  }
  checkTimes(table, result.decay.time, format.abscissa, format.unit, true);
  if (table.rows() < 2) {
    throw UserError(
        fmt::format("{}: this is the only row; a decay has at least 2", table.place(0)));
  }
  checkAmplitudes(table, {result.decay.amplitude, result.imaginary});
  for (double& time : result.decay.time) {
    // Units below 1 are divided by a whole number, so that 1 ms is 0.001 to the last bit.
    time = format.unit < 1.0 ? time / std::round(1.0 / format.unit) : time * format.unit;
  }
  return result;
}

Decay readDecay(const fs::path& path) {
  return readMeasuredDecay(path, {}).decay;
}

Distribution readDistribution(const fs::path& path, Quantity quantity) {
  const std::string name(quantity == Quantity::time ? "relaxation time" : quantityName(quantity));
  const TextFile file = readTextFile(path);
  const Table table(file, name + " and amplitude", name + ",amplitude");
  if (table.columns() < 2) {
    throw UserError(
        fmt::format("{}: this row has 1 field; a row needs 2, {} and amplitude, "
                    "separated by a comma",
                    table.place(0), name));
  }
  Distribution result{table.numbers(0, name), table.numbers(1, "amplitude")};
  checkTimes(table, result.time, quantity, 1.0, false);
  double total = 0.0;
  for (std::size_t i = 0; i < result.amplitude.size(); ++i) {
    if (result.amplitude[i] < 0.0) {
      throw UserError(
          fmt::format("{}: the amplitude {:g} is negative; a distribution has none "
                      "below 0",
                      table.place(i), result.amplitude[i]));
    }
    total += result.amplitude[i];
  }
  if (!(total > 0.0)) {
    throw UserError(
        fmt::format("{}: every amplitude is 0; a distribution requires one above 0", table.name()));
  }
  return result;
}

std::vector<double> readGrid(const fs::path& path, Quantity quantity) {
  const TextFile file = readTextFile(path);
  const std::string_view name = quantityName(quantity);
  const Table table(file, "", fmt::format("one {} a line", name));
  std::vector<double> values = table.numbers(0, name);
  checkTimes(table, values, quantity, 1.0, false);
  return values;
}

Matrix readMatrix(const fs::path& path) {
  const TextFile file = readTextFile(path);
  const Table table(file, "", "one number for each value of the grid");
  Matrix matrix{table.rows(), table.columns(), {}};
  matrix.values.reserve(matrix.rows * matrix.columns);
  for (std::size_t column = 0; column < matrix.columns; ++column) {
    const std::vector<double> values = table.numbers(column, "kernel value");
    matrix.values.insert(matrix.values.end(), values.begin(), values.end());
  }
  return matrix;
}

}  // namespace vorin::toolkit
