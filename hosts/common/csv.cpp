#include "common/csv.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <optional>

#include "common/numbers.hpp"
#include "common/user_error.hpp"

namespace vorin::host {

namespace {

namespace fs = std::filesystem;

/// Times beyond this are no times, and single precision would not hold them.
constexpr double kLongestTime = 1e30;

/// The separator of a file, told from its first row; ' ' stands for any run of blanks.
char separatorOf(std::string_view row) {
  for (char candidate : {';', '\t', ','}) {
    if (row.find(candidate) != std::string_view::npos) {
      return candidate;
    }
  }
  return ' ';
}

std::vector<std::string_view> fieldsOf(std::string_view row, char separator) {
  std::vector<std::string_view> fields;
  if (separator == ' ') {
    std::size_t at = 0;
    while ((at = row.find_first_not_of(" \t", at)) != std::string_view::npos) {
      const std::size_t stop = std::min(row.find_first_of(" \t", at), row.size());
      fields.push_back(row.substr(at, stop - at));
      at = stop;
    }
    return fields;
  }
  while (true) {
    const std::size_t stop = row.find(separator);
    fields.push_back(trimmed(row.substr(0, stop)));
    if (stop == std::string_view::npos) {
      return fields;
    }
    row.remove_prefix(stop + 1);
  }
}

/// A header has words only: a number in it would be a row with a mistake, and a
/// control character is no text.
bool isHeader(const std::vector<std::string_view>& fields) {
  return std::all_of(fields.begin(), fields.end(), [](std::string_view field) {
    return !field.empty() && !parseNumber(field).has_value() &&
           std::none_of(field.begin(), field.end(),
                        [](unsigned char c) { return c < ' ' || c == 0x7f; });
  });
}

std::ifstream openForReading(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    throw UserError(
        fmt::format("{}: there is no such file; give the name of a CSV file", path.string()));
  }
  if (fs::is_directory(status)) {
    throw UserError(
        fmt::format("{}: this is a folder; give the name of a CSV file in it", path.string()));
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw UserError(
        fmt::format("{}: the file can't be opened ({})", path.string(), std::strerror(errno)));
  }
  return file;
}

/// Turns the lines of one file into rows, one line at a time.
class RowReader {
 public:
  RowReader(const fs::path& path, std::string_view xName, std::string_view yName)
      : path_(path.string()), xName_(xName), yName_(yName) {}

  void take(std::string_view line) {
    ++line_;
    if (line_ == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") {
      line.remove_prefix(3);  // the byte-order mark that some spreadsheets write
    }
    line = trimmed(line);
    if (line.empty() || line.front() == '#') {
      return;
    }
    const bool mayBeHeader = separator_ == '\0' && !headerSeen_;
    const char separator = separator_ == '\0' ? separatorOf(line) : separator_;
    const std::vector<std::string_view> fields = fieldsOf(line, separator);
    if (mayBeHeader && isHeader(fields)) {
      headerSeen_ = true;
      return;
    }
    separator_ = separator;
    if (fields.size() != 2) {
      fail(fmt::format("this row has {} field{}; a row wants 2, {} and {}, separated by a comma",
                       fields.size(), fields.size() == 1 ? "" : "s", xName_, yName_));
    }
    columns_.x.push_back(number(fields[0], xName_));
    columns_.y.push_back(number(fields[1], yName_));
    columns_.line.push_back(line_);
  }

  TwoColumns finish() {
    if (columns_.x.empty()) {
      throw UserError(fmt::format("{}: there are no rows of numbers; give one row a sample, {},{}",
                                  path_, xName_, yName_));
    }
    return std::move(columns_);
  }

 private:
  [[noreturn]] void fail(std::string_view what) const {
    throw UserError(fmt::format("{}, line {}: {}", path_, line_, what));
  }

  double number(std::string_view field, std::string_view name) const {
    const std::optional<double> value = parseNumber(field);
    if (!value) {
      if (field.empty()) {
        fail(fmt::format("the {} is missing; write a number such as 0.0012", name));
      }
      fail(fmt::format("the {} {} is not a number; write one such as 0.0012 or 1.2e-3", name,
                       inQuotes(field)));
    }
    if (!std::isfinite(*value)) {
      fail(fmt::format("the {} {} is not a finite number; leave out samples without a value", name,
                       inQuotes(field)));
    }
    return *value;
  }

  std::string path_;
  std::string_view xName_;
  std::string_view yName_;
  long line_ = 0;
  char separator_ = '\0';  ///< told from the first row of numbers
  bool headerSeen_ = false;
  TwoColumns columns_;
};

void checkTimes(const fs::path& path, const TwoColumns& columns, bool zeroAllowed) {
  for (std::size_t i = 0; i < columns.x.size(); ++i) {
    const double time = columns.x[i];
    const std::string place = fmt::format("{}, line {}", path.string(), columns.line[i]);
    if (time < 0.0 || (time == 0.0 && !zeroAllowed)) {
      throw UserError(fmt::format("{}: the time {:g} is {}; times are in seconds, {}", place, time,
                                  time < 0.0 ? "negative" : "0",
                                  zeroAllowed ? "0 or above" : "above 0"));
    }
    if (time > kLongestTime) {
      throw UserError(
          fmt::format("{}: the time {:g} is too long; times are in seconds, {:g} at most", place,
                      time, kLongestTime));
    }
    if (i > 0 && !(time > columns.x[i - 1])) {
      throw UserError(
          fmt::format("{}: the time {:g} does not rise above the {:g} of the row before; sort the "
                      "rows by time, each time once",
                      place, time, columns.x[i - 1]));
    }
  }
}

}  // namespace

TwoColumns readTwoColumns(const fs::path& path, std::string_view xName, std::string_view yName) {
  std::ifstream file = openForReading(path);
  RowReader reader(path, xName, yName);
  std::string line;
  while (std::getline(file, line)) {
    reader.take(line);
  }
  if (file.bad()) {
    throw UserError(fmt::format("{}: the file can't be read to its end", path.string()));
  }
  return reader.finish();
}

Decay readDecay(const fs::path& path) {
  TwoColumns columns = readTwoColumns(path, "time", "amplitude");
  checkTimes(path, columns, true);
  if (columns.x.size() < 2) {
    throw UserError(fmt::format("{}, line {}: this is the only row; a decay wants 2 at least",
                                path.string(), columns.line.front()));
  }
  if (std::all_of(columns.y.begin(), columns.y.end(), [](double y) { return y == 0.0; })) {
    throw UserError(
        fmt::format("{}: every amplitude is 0; a decay wants one that is not", path.string()));
  }
  return {std::move(columns.x), std::move(columns.y)};
}

Distribution readDistribution(const fs::path& path) {
  TwoColumns columns = readTwoColumns(path, "relaxation time", "amplitude");
  checkTimes(path, columns, false);
  double total = 0.0;
  for (std::size_t i = 0; i < columns.y.size(); ++i) {
    if (columns.y[i] < 0.0) {
      throw UserError(fmt::format(
          "{}, line {}: the amplitude {:g} is negative; a distribution has none below 0",
          path.string(), columns.line[i], columns.y[i]));
    }
    total += columns.y[i];
  }
  if (!(total > 0.0)) {
    throw UserError(
        fmt::format("{}: every amplitude is 0; a distribution wants one above 0", path.string()));
  }
  return {std::move(columns.x), std::move(columns.y)};
}

}  // namespace vorin::host
