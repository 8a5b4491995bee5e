// Instrument formats that are text.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/table.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

ToldUnit formatsUnit(double size, std::string_view text) {
  return timeUnit(size, text, "as the format has it");
}

/// The value behind "key=" at the start of a line, or nothing.
std::optional<std::string_view> valueBehind(std::string_view line, std::string_view key) {
  if (line.size() <= key.size() || !line.starts_with(key) || line[key.size()] != '=') {
    return std::nullopt;
  }
  return trimmed(line.substr(key.size() + 1));
}

std::string_view testName(std::string_view number) {
  struct Test {
    std::string_view number;
    std::string_view name;
  };
  constexpr std::array<Test, 6> tests{{{"3", "T2"},
                                       {"7", "T1"},
                                       {"9", "free decay"},
                                       {"105", "diffusion"},
                                       {"106", "T1-T2"},
                                       {"108", "T2-diffusion"}}};
  const auto* const found = std::find_if(tests.begin(), tests.end(),
                                         [&](const Test& test) { return test.number == number; });
  return found == tests.end() ? "of another kind" : found->name;
}

}  // namespace

ColumnsFound readGeoSpec(const FormatInput& input) {
  if (!trimmed(std::string_view(input.file.content).substr(0, 64)).starts_with("[GITData]")) {
    return nullptr;
  }
  const std::string& name = input.file.name;
  std::string test;
  std::vector<double> x;
  std::vector<double> real;
  std::vector<double> imaginary;
  std::optional<double> firstY;
  bool inData = false;
  std::string_view rest = input.file.content;
  for (long number = 1; !rest.empty(); ++number) {
    const std::string_view line = trimmed(takeLine(rest));
    if (line.empty() || line.front() == ';') {
      continue;
    }
    if (line.front() == '[') {
      inData = line == "[Data]";
      continue;
    }
    if (const auto value = valueBehind(line, "TestType"); value && test.empty()) {
      test = *value;
    }
    const std::vector<std::string_view> fields = fieldsOf(line, '\t');
    if (!inData || fields.empty() || !parseNumber(fields.front())) {
      continue;
    }
    std::array<double, 4> row{};
    for (std::size_t k = 0; k < row.size(); ++k) {
      const auto value = k < fields.size() ? parseNumber(fields[k]) : std::nullopt;
      if (!value) {
        throw UserError(
            fmt::format("{}, line {}: a row of [Data] has the numbers X, Y, real and "
                        "imaginary",
                        name, number));
      }
      row[k] = *value;
    }
    firstY = firstY.value_or(row[1]);
    if (row[1] != *firstY) {
      throw UserError(fmt::format(
          "{}, line {}: this is a {} map over two axes; write it as a matrix for vorin invert2d",
          name, number, testName(test)));
    }
    x.push_back(row[0]);
    real.push_back(row[2]);
    imaginary.push_back(row[3]);
  }
  if (x.empty()) {
    throw UserError(fmt::format("{}: this GeoSpec text has no rows below [Data]", name));
  }
  constexpr std::string_view diffusion = "105";
  if (test == diffusion && !input.format.unit) {
    throw UserError(fmt::format(
        "{}: the unit of X is not told for a diffusion test; give it by --time-unit, for instance "
        "s/mm2, with --kernel diffusion",
        name));
  }
  auto columns = std::make_unique<NumberColumns>(name);
  columns->add({"X",
                {std::move(x), {}},
                test == diffusion ? std::nullopt : std::optional(formatsUnit(1e-3, "ms"))});
  columns->add({"Real", {std::move(real), {}}, {}});
  columns->add({"Imaginary", {std::move(imaginary), {}}, {}});
  columns->roles = {0, 1, 2};
  columns->found.format = fmt::format("GeoSpec text, {} test", testName(test));
  columns->found.plainText = false;
  return columns;
}

ColumnsFound readMinispec(const FormatInput& input) {
  std::string_view rest = input.file.content;
  const std::string_view first = takeLine(rest);
  if (!first.starts_with("0\t") || first.find(',') != std::string::npos) {
    return nullptr;
  }
  const TextFile text{input.file.name, input.file.content};
  const Table table = decayTable(text, "time", std::nullopt);
  constexpr std::size_t columnsThere = 3;
  if (table.columns() != columnsThere || table.separator() != '\t' || !table.header().empty()) {
    return nullptr;
  }
  const std::vector<double> index = table.numbers(0, "number");
  const std::vector<double> time = table.numbers(1, "time");
  if (time.size() < columnsThere) {
    return nullptr;
  }
  // The echoes of a train: numbered from 0, at times of even spacing that are not whole numbers.
  const double step = (time.back() - time.front()) / static_cast<double>(time.size() - 1);
  constexpr double even = 0.01;
  for (std::size_t i = 0; i < index.size(); ++i) {
    if (index[i] != static_cast<double>(i) ||
        (i > 0 && !(std::fabs(time[i] - time[i - 1] - step) < even * step)) ||
        (i == 0 && time[i] == std::floor(time[i]))) {
      return nullptr;
    }
  }
  auto columns = std::make_unique<NumberColumns>(input.file.name);
  columns->add({"number", {index, {}}, {}});
  columns->add({"time", {time, {}}, formatsUnit(1e-3, "ms")});
  columns->add({"amplitude", {table.numbers(2, "amplitude"), {}}, {}});
  columns->roles = {1, 2};
  columns->found.format = "minispec text";
  columns->found.plainText = false;
  return columns;
}

namespace {

double parameterOr0(const std::map<std::string, std::string>& parameters, const std::string& key) {
  const auto found = parameters.find(key);
  if (found == parameters.end()) {
    return 0.0;
  }
  return parseListTime(found->second.ends_with('d')
                           ? std::string_view(found->second).substr(0, found->second.size() - 1)
                           : std::string_view(found->second))
      .value_or(0.0);
}

}  // namespace

std::optional<ToldUnit> prospaUnit(const std::vector<double>& times,
                                   const std::filesystem::path& path) {
  const auto parameters = readParameters(path.parent_path() / "acqu.par");
  if (times.size() < 2) {
    return std::nullopt;
  }
  const double step = (times.back() - times.front()) / static_cast<double>(times.size() - 1);
  struct Unit {
    double size;
    std::string_view name;
  };
  constexpr std::array<Unit, 3> units{{{1e-6, "us"}, {1e-3, "ms"}, {1.0, "s"}}};
  constexpr double near = 0.02;
  for (const char* key : {"echoTime", "dwellTime"}) {
    const double microseconds = parameterOr0(parameters, key);
    for (const Unit& unit : units) {
      if (microseconds > 0.0 && std::fabs(step * unit.size / (microseconds * 1e-6) - 1.0) < near) {
        return timeUnit(unit.size, unit.name, fmt::format("by {} of acqu.par", key));
      }
    }
  }
  return std::nullopt;
}

ColumnsFound readProspaText(const FormatInput& input) {
  std::error_code error;
  if (input.path == "-" || !input.file.encoding.empty() ||
      !std::filesystem::is_regular_file(input.path.parent_path() / "acqu.par", error)) {
    return nullptr;
  }
  const std::string_view start = std::string_view(input.file.content).substr(0, 4096);
  if (start.find('\0') != std::string_view::npos || start.empty() ||
      std::string_view("0123456789+-. ").find(start.front()) == std::string_view::npos) {
    return nullptr;
  }
  const TextFile text{input.file.name, input.file.content};
  const Table table = decayTable(text, "time", std::nullopt);
  if (!table.header().empty() || table.columns() < 3) {
    return nullptr;
  }
  const auto parameters = readParameters(input.path.parent_path() / "acqu.par");
  const double echoes = parameterOr0(parameters, "nrEchoes");
  if (static_cast<double>(table.columns()) == 2.0 * echoes && table.columns() > 3) {
    throw UserError(fmt::format(
        "{}: this holds {} rows of {} echoes each, real and imaginary in turn, a map over two axes "
        "for vorin invert2d",
        table.name(), table.rows(), echoes));
  }
  if (table.columns() != 3) {
    return nullptr;
  }
  const std::vector<double> times = table.numbers(0, "time");
  const std::optional<ToldUnit> unit = prospaUnit(times, input.path);
  if (!unit && !input.format.unit) {
    throw UserError(
        fmt::format("{}: neither the file nor acqu.par beside it tells the unit of the times; give "
                    "it by --time-unit, for instance us",
                    table.name()));
  }
  auto columns = std::make_unique<NumberColumns>(input.file.name);
  columns->add({"time", {times, {}}, unit});
  columns->add({"real", {table.numbers(1, "amplitude"), {}}, {}});
  columns->add({"imaginary", {table.numbers(2, "imaginary amplitude"), {}}, {}});
  columns->roles = {0, 1, 2};
  columns->found.format = "Prospa text, with acqu.par";
  columns->found.plainText = false;
  return columns;
}

}  // namespace vorin::toolkit
