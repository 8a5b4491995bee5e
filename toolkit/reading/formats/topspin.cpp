// TopSpin: series of free decays (ser) and the tables of its own relaxation module.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/table_layout.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// The number of a parameter "##$NAME= value" of an acqus file.
double parameter(const std::string& text, std::string_view name, const std::string& file) {
  const std::string key = fmt::format("##${}=", name);
  const std::size_t at = text.find(key);
  std::optional<double> value;
  if (at != std::string::npos) {
    std::string_view rest = std::string_view(text).substr(at + key.size());
    value = parseNumber(takeLine(rest));
  }
  if (!value || !std::isfinite(*value)) {
    throw UserError(fmt::format("{}: there is no number {}, which is needed", file, name));
  }
  return *value;
}

/// How the rows of a ser file are stored.
struct Layout {
  std::size_t points = 0;  ///< real and imaginary numbers of a row
  std::size_t rows = 0;
  std::size_t width = 4;
  std::size_t stride = 0;  ///< bytes from one row to the next
  std::size_t delay = 0;   ///< complex points before the signal begins
  bool bigEndian = false;
};

Layout layoutOf(const fs::path& folder) {
  const TextFile acqus = readTextFile(folder / "acqus");
  const TextFile acqu2s = readTextFile(folder / "acqu2s");
  Layout layout;
  const double points = parameter(acqus.content, "TD", acqus.name);
  const double rows = parameter(acqu2s.content, "TD", acqu2s.name);
  const double mode = parameter(acqus.content, "AQ_mod", acqus.name);
  const double type = parameter(acqus.content, "DTYPA", acqus.name);
  constexpr double most = 1e9;
  if (!(points >= 2.0 && points < most) || !(rows >= 1.0 && rows < most)) {
    throw UserError(fmt::format("{}: TD is {:g} and that of acqu2s {:g}; both are counts",
                                acqus.name, points, rows));
  }
  if (mode != 1.0 && mode != 3.0) {
    throw UserError(
        fmt::format("{}: AQ_mod is {:g}; complex data (1 or 3) are read", acqus.name, mode));
  }
  layout.points = static_cast<std::size_t>(points);
  layout.rows = static_cast<std::size_t>(rows);
  layout.width = type == 2.0 ? 8 : 4;
  constexpr std::size_t block = 1024;  // rows are padded to whole blocks
  layout.stride = (layout.points * layout.width + block - 1) / block * block;
  layout.bigEndian = parameter(acqus.content, "BYTORDA", acqus.name) == 1.0;
  const double delay = parameter(acqus.content, "GRPDLY", acqus.name);
  if (!(delay >= 0.0 && delay < points / 2.0 - 1.0)) {
    throw UserError(fmt::format(
        "{}: GRPDLY is {:g}, which does not tell where the signal begins; export the integrals as "
        "text (ct1t2.txt)",
        acqus.name, delay));
  }
  layout.delay = static_cast<std::size_t>(std::ceil(delay));
  return layout;
}

std::vector<double> timesOf(const fs::path& folder, std::size_t rows) {
  std::error_code error;
  if (!fs::is_regular_file(folder / "vdlist", error)) {
    throw UserError(fmt::format(
        "{}: there is no vdlist with the delays of the {} rows beside it; export the integrals as "
        "text (ct1t2.txt)",
        inOneLine((folder / "ser").string()), rows));
  }
  const TextFile list = readTextFile(folder / "vdlist");
  std::vector<double> times;
  std::string_view rest = list.content;
  for (long number = 1; !rest.empty() && times.size() < rows; ++number) {
    const std::string_view line = trimmed(takeLine(rest));
    if (line.empty()) {
      continue;
    }
    const std::optional<double> time = parseListTime(line);
    if (!time) {
      throw UserError(fmt::format("{}, line {}: {} is no delay; write one such as 20m or 1.5",
                                  list.name, number, inQuotes(line)));
    }
    times.push_back(*time);
  }
  if (times.size() < rows) {
    throw UserError(
        fmt::format("{}: there are {} delays for {} rows of ser", list.name, times.size(), rows));
  }
  return times;
}

}  // namespace

ColumnsFound readTopspinFolder(const fs::path& path, const DecayFormat& /*format*/) {
  std::error_code error;
  const fs::path folder = fs::is_directory(path, error) ? path : path.parent_path();
  if (folder != path && path.filename() != "ser") {
    return nullptr;
  }
  for (const char* companion : {"ser", "acqus", "acqu2s"}) {
    if (!fs::is_regular_file(folder / companion, error)) {
      return nullptr;
    }
  }
  const Layout layout = layoutOf(folder);
  const FileBytes ser = readFileBytes(folder / "ser");
  if (ser.content.size() / layout.stride < layout.rows) {
    // A series that was halted has fewer rows; a file that is cut has a part of one.
    throw UserError(fmt::format("{}: it has {} bytes; {} rows of {} are told by acqus and acqu2s",
                                ser.name, ser.content.size(), layout.rows, layout.stride));
  }
  const BinaryReader reader(ser.content, layout.bigEndian);
  constexpr std::size_t averaged = 4;
  const std::size_t count = std::min(averaged, layout.points / 2 - layout.delay);
  ColumnNumbers numbers;
  for (std::size_t row = 0; row < layout.rows; ++row) {
    double sums[2] = {0.0, 0.0};
    for (std::size_t k = 0; k < 2 * count; ++k) {
      const std::size_t at = row * layout.stride + (2 * layout.delay + k) * layout.width;
      sums[k % 2] += layout.width == 8 ? reader.doubleAt(at).value_or(0.0)
                                       : static_cast<double>(reader.int32At(at).value_or(0));
    }
    numbers.real.push_back(sums[0] / static_cast<double>(count));
    numbers.imaginary.push_back(sums[1] / static_cast<double>(count));
  }
  auto columns = std::make_unique<NumberColumns>(ser.name);
  columns->add({"delay", {timesOf(folder, layout.rows), {}}, timeUnit(1.0, "s", "vdlist")});
  columns->add({"signal", std::move(numbers), {}});
  columns->roles = {0, 1};
  columns->found.plainText = false;
  columns->found.format = fmt::format(
      "TopSpin series, {} rows, each the mean of {} points from point {} (all lines together)",
      layout.rows, count, layout.delay + 1);
  return columns;
}

namespace {

/// Points of one peak.
struct PeakTable {
  std::string name;
  std::vector<double> times;
  std::vector<double> amplitudes;
};

std::vector<PeakTable> integralTables(std::string_view rest, const std::string& name) {
  std::vector<PeakTable> peaks;
  bool inTable = false;
  for (long number = 1; !rest.empty(); ++number) {
    const std::vector<std::string_view> fields = fieldsOf(trimmed(takeLine(rest)), ' ');
    constexpr std::size_t width = 4;
    if (fields.size() == width && fields[0] == "tau" && fields[2] == "integral") {
      inTable = true;
      peaks.push_back({"peak", {}, {}});
      continue;
    }
    if (!inTable || fields.empty()) {
      continue;
    }
    const auto time = parseListTime(fields[0]);
    const auto integral = fields.size() == width ? parseNumber(fields[2]) : std::nullopt;
    if (!time || !integral) {
      inTable = false;
      if (fields.size() == width && time) {
        throw UserError(
            fmt::format("{}, line {}: {} is not a number", name, number, inQuotes(fields[2])));
      }
      continue;
    }
    peaks.back().name = fmt::format("{} ppm", fields[1]);
    peaks.back().times.push_back(*time);
    peaks.back().amplitudes.push_back(*integral);
  }
  return peaks;
}

std::vector<PeakTable> pointLists(std::string_view rest, const std::string& name) {
  std::vector<PeakTable> peaks;
  std::string title = "peak";
  bool inTable = false;
  for (long number = 1; !rest.empty(); ++number) {
    const std::string_view line = trimmed(takeLine(rest));
    if (line.starts_with("##TITLE=")) {
      const std::string_view whole = trimmed(line.substr(8));
      title = whole.substr(0, whole.find(','));
    }
    if (line.starts_with("##")) {
      inTable = line.starts_with("##XYPOINTS=") && line.find("(XY..XY)") != std::string_view::npos;
      if (inTable) {
        peaks.push_back({title, {}, {}});
      }
      continue;
    }
    if (!inTable || line.empty() || line.starts_with("$$")) {
      continue;
    }
    const std::vector<std::string_view> fields = fieldsOf(line, ',');
    const auto time = parseNumber(fields[0]);
    const auto value = fields.size() == 2 ? parseNumber(fields[1]) : std::nullopt;
    if (!time || !value) {
      throw UserError(
          fmt::format("{}, line {}: {} is no pair of numbers", name, number, inQuotes(line)));
    }
    peaks.back().times.push_back(*time);
    peaks.back().amplitudes.push_back(*value);
  }
  return peaks;
}

}  // namespace

ColumnsFound readTopspinTable(const FormatInput& input) {
  const std::string_view text = input.file.content;
  const std::string_view start = text.substr(0, 4096);
  std::vector<PeakTable> peaks;
  std::string_view format;
  if (start.starts_with("Dataset :") && start.find("tau ") != std::string_view::npos) {
    peaks = integralTables(text, input.file.name);
    format = "TopSpin's table of integrals";
  } else if (start.starts_with("##TITLE=") &&
             start.find("Relaxation Data") != std::string_view::npos) {
    peaks = pointLists(text, input.file.name);
    format = "TopSpin's list of points, JCAMP-DX";
  } else {
    return nullptr;
  }
  if (peaks.empty() || peaks.front().times.empty()) {
    throw UserError(fmt::format("{}: this {} has no points", input.file.name, format));
  }
  auto columns = std::make_unique<NumberColumns>(input.file.name);
  columns->add({"tau", {peaks.front().times, {}}, timeUnit(1.0, "s", "the table")});
  for (PeakTable& peak : peaks) {
    if (peak.times != peaks.front().times) {
      throw UserError(fmt::format("{}: the peaks {} and {} have other times; give a file of one",
                                  input.file.name, inQuotes(peaks.front().name),
                                  inQuotes(peak.name)));
    }
    columns->add({peak.name, {std::move(peak.amplitudes), {}}, {}});
  }
  if (peaks.size() == 1) {
    columns->roles = {0, 1};
  }
  columns->found.plainText = false;
  columns->found.format =
      fmt::format("{}, {} peak{}", format, peaks.size(), peaks.size() == 1 ? "" : "s");
  return columns;
}

}  // namespace vorin::toolkit
