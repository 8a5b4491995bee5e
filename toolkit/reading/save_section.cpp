#include "toolkit/reading/save_section.hpp"

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

using Lines = std::vector<std::string_view>;

/// The lines of `content`. Text after the end of the last line is a line of its own
/// when it is not empty.
Lines linesOf(std::string_view content) {
  Lines lines;
  while (!content.empty()) {
    const std::size_t end = std::min(content.find('\n'), content.size());
    lines.push_back(content.substr(0, end));
    content.remove_prefix(std::min(end + 1, content.size()));
  }
  return lines;
}

/// The items between blanks, or between `separators`.
Lines itemsOf(std::string_view line, std::string_view separators = " \t\r") {
  Lines items;
  std::size_t at = 0;
  while ((at = line.find_first_not_of(separators, at)) != std::string_view::npos) {
    const std::size_t end = std::min(line.find_first_of(separators, at), line.size());
    items.push_back(line.substr(at, end - at));
    at = end;
  }
  return items;
}

bool isTitle(std::string_view line) {
  return itemsOf(line) == Lines{"!", "Vorin", "save1"};
}

/// The range of lines of one section: from its title to the next one or the end.
struct Range {
  std::size_t first;
  std::size_t end;
};

std::vector<Range> rangesOf(const Lines& lines) {
  std::vector<Range> ranges;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (isTitle(lines[i])) {
      if (!ranges.empty()) {
        ranges.back().end = i;
      }
      ranges.push_back({i, lines.size()});
    }
  }
  return ranges;
}

/// Walks the lines of one section from its title on. Empty lines say nothing.
class SectionReader {
 public:
  SectionReader(const Lines& lines, Range range, std::string_view name, bool endsInALine)
      : lines_(lines), next_(range.first), end_(range.end), name_(name), endsInALine_(endsInALine) {
    section_.firstLine = static_cast<long>(range.first) + 1;
  }

  SaveSection read() {
    take("the title");
    section_.compact = peek() == "[DATA]";
    section_.compact ? readCompact() : readFull();
    section_.lastLine = static_cast<long>(next_);
    return std::move(section_);
  }

 private:
  void readFull() {
    heading("[PARAM]");
    section_.coefficients = count("nf");
    section_.points = count("ng");
    while (peek() != "[COEF]") {
      const std::string_view line = take("the heading [COEF]");
      const std::string_view key = itemsOf(line).front();
      addSetting(key, trimmed(line.substr(key.size())));
    }
    heading("[COEF]");
    const auto coefficients = rows("[COEF]", section_.coefficients, 3);
    heading("[DATA]");
    const auto data = rows("[DATA]", section_.points, 3);
    heading("[K]");
    section_.kernel = section_.coefficients > 0
                          ? rows("[K]", section_.points, section_.coefficients)
                          : std::vector<double>();
    heading("[EOF]");
    spread(coefficients, {&section_.grid, &section_.second, &section_.distribution});
    spread(data, {&section_.time, &section_.data, &section_.fit});
  }

  // The sizes follow the data here. The first character of a line tells its kind: a digit
  // that of numbers, an asterisk that of settings.
  void readCompact() {
    heading("[DATA]");
    std::vector<double> data;
    long long rowsRead = 0;
    while (peek().substr(0, 1) != "*") {
      appendRow("[DATA]", take("the heading *[COEFF T2DIST  VORIN]"), 2, ",", data);
      ++rowsRead;
    }
    heading("*[COEFF T2DIST  VORIN]");
    section_.coefficients = count("*nf");
    section_.points = count("*ng");
    if (rowsRead != std::max(section_.points, 0LL)) {
      throw fail(fmt::format("{} data points are announced, but {} are under [DATA]",
                             section_.points, rowsRead));
    }
    while (peek().substr(0, 1) == "*") {
      const std::string_view line = take("a key").substr(1);
      const std::size_t comma = line.find(',');
      if (comma == std::string_view::npos) {
        throw fail(fmt::format("{} is no line *KEY,value", inQuotes(line)));
      }
      addSetting(line.substr(0, comma), line.substr(comma + 1));
    }
    const auto coefficients = rows("*[COEFF T2DIST  VORIN]", section_.coefficients, 2, ",");
    // Nothing follows the last number, so a truncated one would be read as a complete one.
    if (next_ == lines_.size() && !endsInALine_) {
      throw cutShort("the end of its last line");
    }
    spread(data, {&section_.time, &section_.data});
    spread(coefficients, {&section_.grid, &section_.distribution});
  }

  /// The next line that is not empty, trimmed; nothing at the end of the section.
  std::string_view peek() {
    while (next_ < end_ && trimmed(lines_[next_]).empty()) {
      ++next_;
    }
    return next_ < end_ ? trimmed(lines_[next_]) : std::string_view();
  }

  /// That line, which is then done with; `expected` is what belongs there.
  std::string_view take(std::string_view expected) {
    const std::string_view line = peek();
    if (line.empty()) {
      throw cutShort(expected);
    }
    ++next_;
    return line;
  }

  void heading(std::string_view text) {
    const std::string_view line = take(fmt::format("the heading {}", text));
    if (itemsOf(line) != itemsOf(text)) {
      throw fail(fmt::format("the heading {} is required here, not {}", text, inQuotes(line)));
    }
  }

  /// The whole number behind `label`.
  long long count(std::string_view label) {
    const std::string_view line = take(fmt::format("the line \"{}\" with a count", label));
    const Lines items = itemsOf(line, section_.compact ? "," : " \t\r");
    const auto value = items.size() == 2 && items[0] == label ? parseInteger(items[1])
                                                              : std::optional<long long>();
    if (!value) {
      throw fail(fmt::format("\"{}\" and a whole number are required here, not {}", label,
                             inQuotes(line)));
    }
    return *value;
  }

  void addSetting(std::string_view key, std::string_view text) {
    section_.settings.push_back({std::string(key), std::string(text)});
  }

  /// `count` rows of `width` numbers each, one after the other.
  std::vector<double> rows(std::string_view table, long long count, long long width,
                           std::string_view separators = " \t\r") {
    std::vector<double> values;
    for (long long i = 0; i < count; ++i) {
      const std::string_view line =
          take(fmt::format("row {} of the {} under {}", i + 1, count, table));
      appendRow(table, line, width, separators, values);
    }
    return values;
  }

  void appendRow(std::string_view table, std::string_view line, long long width,
                 std::string_view separators, std::vector<double>& values) {
    const Lines items = itemsOf(line, separators);
    for (const std::string_view item : items) {
      const std::optional<double> value = parseNumber(item);
      if (!value) {
        throw fail(fmt::format("a row of numbers is required under {}, and {} is not a number",
                               table, inQuotes(item)));
      }
      values.push_back(*value);
    }
    if (static_cast<long long>(items.size()) != width) {
      throw fail(
          fmt::format("a row under {} has {} numbers, this one {}", table, width, items.size()));
    }
  }

  /// Deals the numbers of rows out to the columns.
  static void spread(const std::vector<double>& values,
                     const std::vector<std::vector<double>*>& columns) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      columns[i % columns.size()]->push_back(values[i]);
    }
  }

  /// About the line that was taken last.
  UserError fail(std::string_view why) const {
    return UserError(fmt::format("{}, line {}: {}", name_, next_, why));
  }

  UserError cutShort(std::string_view missing) const {
    return UserError(
        fmt::format("{}, line {}: the save section that begins on line {} is cut short here: {} is "
                    "missing; run the inversion again to have it whole",
                    name_, end_, section_.firstLine, missing));
  }

  const Lines& lines_;
  std::size_t next_;
  std::size_t end_;
  std::string_view name_;
  bool endsInALine_;
  SaveSection section_;
};

}  // namespace

std::string_view SaveSection::setting(std::string_view key) const {
  for (const SavedSetting& setting : settings) {
    if (equalIgnoringCase(setting.key, key)) {
      return setting.text;
    }
  }
  return {};
}

double SaveSection::number(std::string_view key) const {
  return parseNumber(setting(key)).value_or(std::numeric_limits<double>::quiet_NaN());
}

std::size_t saveSectionCount(std::string_view content) {
  return rangesOf(linesOf(content)).size();
}

SaveSection readSaveSection(std::string_view content, std::string_view name, std::size_t number) {
  const Lines lines = linesOf(content);
  const std::vector<Range> ranges = rangesOf(lines);
  if (ranges.empty()) {
    throw UserError(fmt::format(
        "{}: there is no save section in this file; an inversion writes one into its log when SAVE "
        "is 1, or with --compress when REPO is 4: vorin invert FILE.csv --log run.log --set SAVE=1",
        name));
  }
  if (number < 1 || number > ranges.size()) {
    throw UserError(fmt::format("{}: there is no save section {}; the file holds {}", name, number,
                                ranges.size()));
  }
  const bool endsInALine = !content.empty() && content.back() == '\n';
  return SectionReader(lines, ranges[number - 1], name, endsInALine).read();
}

}  // namespace vorin::toolkit
