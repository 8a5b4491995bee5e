#include "toolkit/two_dimensional/map_reading.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <utility>

#include "toolkit/model/grid.hpp"
#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/npy.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/table.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/text_file.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view example = "0,0.001,0.002 with the values of the second axis";

/// Numbers of a file, row after row, and what messages need of them.
struct Numbers {
  std::string name;
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::vector<double> values;
  std::vector<double> imaginary{};  ///< of an array of complex numbers
  std::string place{};              ///< where the numbers begin, for messages
};

/// The array in a file of numpy's.
Numbers numbersOfArray(const fs::path& path, std::string_view what) {
  NumberArray array = readNpy(path);
  Numbers result{array.name,
                 array.shape.front(),
                 array.shape.size() == 2 ? array.shape[1] : 1,
                 std::move(array.real),
                 std::move(array.imaginary),
                 array.name};
  for (std::size_t i = 0; i < result.values.size(); ++i) {
    if (!std::isfinite(result.values[i])) {
      throw UserError(fmt::format("{}: the {} in row {}, column {} is no finite number",
                                  result.name, what, i / result.columns + 1,
                                  i % result.columns + 1));
    }
  }
  return result;
}

Numbers numbersOf(const TextFile& file, std::string_view what) {
  const Table table(file, "", example);
  Numbers result{table.name(), table.rows(), table.columns(), {}, {}, table.place(0)};
  result.values.resize(result.rows * result.columns);
  for (std::size_t k = 0; k < result.columns; ++k) {
    const std::vector<double> column = table.numbers(k, what);
    for (std::size_t i = 0; i < result.rows; ++i) {
      result.values[i * result.columns + k] = column[i];
    }
  }
  return result;
}

/// Puts a number into the corner of a matrix where there is a word or nothing.
void fillCorner(TextFile& file) {
  std::string_view rest = file.content;
  while (!rest.empty()) {
    const std::size_t start = file.content.size() - rest.size();
    const std::string_view line = takeLine(rest);
    if (trimmed(line).empty() || trimmed(line).front() == '#') {
      continue;
    }
    const std::size_t separator = line.find_first_of(",;\t");
    const std::size_t first = line.find_first_not_of(' ');
    const std::size_t end =
        separator != std::string_view::npos ? separator : line.find_first_of(' ', first);
    if (end != std::string_view::npos && !parseNumber(line.substr(0, end))) {
      file.content =
          file.content.substr(0, start) + std::string(1, '0') + file.content.substr(start + end);
    }
    return;
  }
}

std::vector<double> readAxis(const std::string& path, Quantity quantity, double unit) {
  const Numbers numbers = isNpy(path) ? numbersOfArray(path, quantityName(quantity))
                                      : numbersOf(readTextFile(path), quantityName(quantity));
  std::vector<double> values;
  for (std::size_t i = 0; i < numbers.rows; ++i) {
    values.push_back(toSi(numbers.values[i * numbers.columns], unit));
  }
  if (numbers.rows == 1) {  // all in one row
    values.clear();
    for (double value : numbers.values) {
      values.push_back(toSi(value, unit));
    }
  }
  return values;
}

void requireRising(const std::vector<double>& values, std::string_view where,
                   std::string_view axis) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] < 0.0) {
      throw UserError(
          fmt::format("{}: the value {:g} of the {} axis is negative; times and b "
                      "values are 0 or above",
                      where, values[i], axis));
    }
    if (i > 0 && !(values[i] > values[i - 1])) {
      throw UserError(fmt::format(
          "{}: the value {:g} of the {} axis does not rise above the {:g} before it; sort the "
          "{}, each value once",
          where, values[i], axis, values[i - 1], axis == "first" ? "rows" : "columns"));
    }
  }
}

/// The matrix with its axes in the first row and column.
MeasuredMap withAxes(const Numbers& numbers, const MapFormat& format) {
  if (numbers.rows < 3 || numbers.columns < 3) {
    throw UserError(fmt::format(
        "{}: the file has {} rows and {} columns; below a row with the values of the "
        "second axis it needs 2 rows at least, and behind a column with those of the first 2 "
        "columns, or give a plain matrix with --times1 and --times2",
        numbers.place, numbers.rows, numbers.columns));
  }
  MeasuredMap measured;
  MapData& data = measured.data;
  for (std::size_t k = 1; k < numbers.columns; ++k) {
    data.times2.push_back(toSi(numbers.values[k], format.unit2));
  }
  for (std::size_t i = 1; i < numbers.rows; ++i) {
    const auto row = numbers.values.begin() + static_cast<std::ptrdiff_t>(i * numbers.columns);
    data.times1.push_back(toSi(*row, format.unit1));
    data.samples.insert(data.samples.end(), row + 1,
                        row + static_cast<std::ptrdiff_t>(numbers.columns));
    if (!numbers.imaginary.empty()) {
      const auto other =
          numbers.imaginary.begin() + static_cast<std::ptrdiff_t>(i * numbers.columns);
      measured.imaginary.insert(measured.imaginary.end(), other + 1,
                                other + static_cast<std::ptrdiff_t>(numbers.columns));
    }
  }
  return measured;
}

MeasuredMap plainMatrix(const Numbers& numbers, const MapFormat& format) {
  MeasuredMap measured;
  MapData& data = measured.data;
  data.times1 = readAxis(format.times1, abscissaQuantity(format.kernel1), format.unit1);
  data.times2 = readAxis(format.times2, abscissaQuantity(format.kernel2), format.unit2);
  if (numbers.rows != data.times1.size() || numbers.columns != data.times2.size()) {
    throw UserError(fmt::format(
        "{}: the matrix has {} rows and {} columns; {} has {} values for the rows and {} has {} "
        "for the columns",
        numbers.name, numbers.rows, numbers.columns, format.times1, data.times1.size(),
        format.times2, data.times2.size()));
  }
  data.samples = numbers.values;
  measured.imaginary = numbers.imaginary;
  return measured;
}

MeasuredMap readMatrixFile(const fs::path& path, const MapFormat& format) {
  const bool plain = !format.times1.empty();
  Numbers numbers;
  if (isNpy(path)) {
    numbers = numbersOfArray(path, "amplitude");
  } else {
    TextFile file = readTextFile(path);
    if (!plain) {
      fillCorner(file);
    }
    numbers = numbersOf(file, "amplitude");
  }
  MeasuredMap measured = plain ? plainMatrix(numbers, format) : withAxes(numbers, format);
  requireRising(measured.data.times1, plain ? format.times1 : numbers.name, "first");
  requireRising(measured.data.times2, plain ? format.times2 : numbers.name, "second");
  return measured;
}

/// A number of acqu.par.
double parameter(const std::map<std::string, std::string>& parameters, const std::string& key,
                 const std::string& file) {
  const auto found = parameters.find(key);
  const auto value = found == parameters.end() ? std::nullopt : parseNumber(found->second);
  if (!value || !(*value > 0.0)) {
    throw UserError(
        fmt::format("{}: there is no {} above 0, which the times are made from; give "
                    "them by --times1 and --times2",
                    file, key));
  }
  return *value;
}

/// The folder of a T1-T2 set of a Spinsolve that `path` names, or nothing.
std::optional<fs::path> spinsolveFolder(const fs::path& path) {
  std::error_code error;
  const fs::path folder = fs::is_directory(path, error) ? path : path.parent_path();
  const bool named = folder == path || path.filename() == "T1IRT2.dat";
  const bool there =
      fs::exists(folder / "acqu.par", error) && fs::exists(folder / "T1IRT2.dat", error);
  return named && there ? std::optional(folder) : std::nullopt;
}

/// Delays in ms, echo time in microseconds; real and imaginary parts in turn.
MapData readSpinsolve(const fs::path& folder, std::vector<double>& imaginary) {
  const std::string name = (folder / "acqu.par").string();
  const auto parameters = readParameters(name);
  const double shortest = parameter(parameters, "minTau", name) * 1e-3;
  const double longest = parameter(parameters, "maxTau", name) * 1e-3;
  const auto steps = static_cast<std::size_t>(parameter(parameters, "tauSteps", name));
  const auto echoes = static_cast<std::size_t>(parameter(parameters, "nrEchoes", name));
  const double spacing = parameter(parameters, "echoTime", name) * 1e-6;
  const auto spread = parameters.find("logspace");
  const bool evenInLogarithm = spread == parameters.end() || spread->second == "yes";
  const Numbers numbers = numbersOf(readTextFile(folder / "T1IRT2.dat"), "amplitude");
  if (numbers.rows != steps || numbers.columns != 2 * echoes || steps < 2 ||
      !(longest > shortest)) {
    throw UserError(fmt::format(
        "{}: the file has {} rows and {} columns; {} tells {} recoveries and {} echoes, which are "
        "{} rows and {} columns of real and imaginary parts",
        numbers.name, numbers.rows, numbers.columns, name, steps, echoes, steps, 2 * echoes));
  }
  MapData data;
  for (std::size_t i = 0; i < steps; ++i) {
    const double part = static_cast<double>(i) / static_cast<double>(steps - 1);
    data.times1.push_back(evenInLogarithm ? shortest * std::pow(longest / shortest, part)
                                          : shortest + part * (longest - shortest));
  }
  for (std::size_t k = 0; k < echoes; ++k) {
    data.times2.push_back(static_cast<double>(k + 1) * spacing);
  }
  for (std::size_t i = 0; i < numbers.values.size(); i += 2) {
    data.samples.push_back(numbers.values[i]);
    imaginary.push_back(numbers.values[i + 1]);
  }
  return data;
}

}  // namespace

MeasuredMap readMap(const fs::path& path, const MapFormat& format) {
  if (format.times1.empty() != format.times2.empty()) {
    throw UserError("--times1 and --times2: give both, for a plain matrix, or neither");
  }
  MeasuredMap result;
  const auto folder = format.times1.empty() ? spinsolveFolder(path) : std::nullopt;
  if (folder) {
    result.data = readSpinsolve(*folder, result.imaginary);
  } else {
    result = readMatrixFile(path, format);
  }
  if (format.imaginary.empty()) {
    return result;
  }
  if (!result.imaginary.empty()) {
    throw UserError(
        fmt::format("--imaginary {}: {} has an imaginary channel of its own; leave "
                    "the option out",
                    format.imaginary, path.string()));
  }
  MeasuredMap second = readMatrixFile(format.imaginary, format);
  if (second.data.times1 != result.data.times1 || second.data.times2 != result.data.times2) {
    throw UserError(
        fmt::format("--imaginary {}: its axes are not those of {}; the two channels "
                    "must have the same",
                    format.imaginary, path.string()));
  }
  result.imaginary = std::move(second.data.samples);
  return result;
}

}  // namespace vorin::toolkit
