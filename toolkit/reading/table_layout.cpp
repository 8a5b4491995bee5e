#include "toolkit/reading/table_layout.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <climits>

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

template <class Reads>
bool allOf(const std::vector<std::string_view>& fields, Reads reads) {
  return std::all_of(fields.begin(), fields.end(),
                     [&](std::string_view field) { return reads(field).has_value(); });
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

bool holdsNumber(std::string_view field) {
  return numberWithComma(field).has_value() || meansNoNumber(field) ||
         parseComplex(field).has_value();
}

/// What one line looks like.
struct Shape {
  char separator = '\0';
  std::size_t fields = 0;
  std::size_t numbers = 0;  ///< with words for "no number"
  std::size_t words = 0;    ///< of these
  std::size_t empty = 0;
  bool startsWithNumber = false;

  /// A row of a table: two numbers, or nothing but numbers.
  bool rowLike() const { return numbers > words && (numbers >= 2 || numbers + empty == fields); }
  bool sameAs(const Shape& other) const {
    return separator == other.separator && fields == other.fields;
  }
};

Shape shapeOf(std::string_view line, char separator) {
  const std::vector<std::string_view> fields = fieldsOf(line, separator);
  Shape shape{separator, fields.size(), 0, 0, 0, false};
  for (const std::string_view field : fields) {
    shape.numbers += holdsNumber(field) ? 1U : 0U;
    shape.words += meansNoNumber(field) ? 1U : 0U;
    shape.empty += field.empty() ? 1U : 0U;
  }
  shape.startsWithNumber = !fields.empty() && holdsNumber(fields.front());
  return shape;
}

bool isComment(std::string_view line) {
  if (line.front() == '#' || line.front() == '%' || line.starts_with("//")) {
    return true;
  }
  // A semicolon begins a comment, or a row whose first field is empty.
  return line.front() == ';' &&
         line.find_first_not_of("; \t0123456789.,+-eE\"") != std::string_view::npos;
}

std::string_view commentText(std::string_view line) {
  const std::size_t start = line.find_first_not_of("#%;/");
  return start == std::string_view::npos ? std::string_view() : trimmed(line.substr(start));
}

/// The separator of a line "sep=;", as spreadsheets write and read it.
std::optional<char> toldSeparator(std::string_view line) {
  line = withoutQuotes(line);
  constexpr std::string_view key = "sep=";
  if (line.size() <= key.size()) {
    return line.size() == key.size() && equalIgnoringCase(line, key) ? std::optional('\t')
                                                                     : std::nullopt;
  }
  if (line.size() != key.size() + 1 || !equalIgnoringCase(line.substr(0, key.size()), key)) {
    return std::nullopt;
  }
  return line.back();
}

/// The lines that are neither empty nor comments, with the last comment before each.
struct Lines {
  std::vector<TextLine> lines;
  std::vector<TextLine> comments;
};

Lines linesOf(const TextFile& file) {
  Lines result;
  std::string_view rest = file.content;
  for (long number = 1; !rest.empty(); ++number) {
    const std::size_t before = rest.size();
    const std::string_view whole = takeLine(rest);
    if (whole.size() > longestLine) {
      throw UserError(
          fmt::format("{}, line {}: this line has more than {} characters; give one "
                      "row a sample, each on a line of its own",
                      file.name, number, longestLine));
    }
    const std::string_view line = trimmed(whole);
    if (!line.empty()) {
      auto& list = isComment(line) ? result.comments : result.lines;
      list.push_back({line, number, rest.empty() && whole.size() == before});
    }
  }
  return result;
}

/// The first line of the longest run of rows of one shape, or nothing.
std::optional<std::size_t> longestRun(const std::vector<Shape>& shapes) {
  std::optional<std::size_t> best;
  std::size_t bestLength = 0;
  for (std::size_t start = 0; start < shapes.size();) {
    std::size_t end = start + 1;
    if (shapes[start].rowLike()) {
      while (end < shapes.size() && shapes[end].rowLike() && shapes[end].sameAs(shapes[start])) {
        ++end;
      }
      if (end - start > bestLength) {
        best = start;
        bestLength = end - start;
      }
    }
    start = end;
  }
  return best;
}

/// The first row, by the longest run: an earlier line of its shape that begins with a number
/// belongs to the rows, and so does a line of as many fields right above that does.
std::size_t firstRow(const std::vector<TextLine>& lines, const std::vector<Shape>& shapes,
                     std::size_t run) {
  const Shape& shape = shapes[run];
  std::size_t first = run;
  for (std::size_t i = 0; i < run; ++i) {
    if (shapes[i].rowLike() && shapes[i].sameAs(shape) && shapes[i].startsWithNumber) {
      first = i;
      break;
    }
  }
  while (first > 0) {
    const Shape above = shapeOf(lines[first - 1].text, shape.separator);
    if (above.fields != shape.fields || !above.startsWithNumber) {
      break;
    }
    --first;
  }
  return first;
}

/// One behind the last line that looks like a row, though it may be one with a mistake.
std::size_t endOfRows(const std::vector<TextLine>& lines, const std::vector<Shape>& shapes,
                      std::size_t first, char separator, std::size_t fields) {
  std::size_t end = lines.size();
  while (end > first + 1) {
    const std::size_t at = end - 1;
    const Shape shape = shapeOf(lines[at].text, separator);
    const bool mistaken =
        shape.fields == fields && shape.numbers > 0 && (separator != ' ' || shape.startsWithNumber);
    const bool blank = shape.fields == fields && shape.empty == fields;
    if (shapes[at].rowLike() || mistaken || blank || shape.startsWithNumber) {
      break;
    }
    --end;
  }
  return end;
}

template <class Iterator>
std::vector<TextLine> part(Iterator begin, std::size_t from, std::size_t to) {
  return {begin + static_cast<std::ptrdiff_t>(from), begin + static_cast<std::ptrdiff_t>(to)};
}

}  // namespace

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

bool meansNoNumber(std::string_view field) {
  constexpr std::array<std::string_view, 10> words{"nan",  "na", "n/a",   "#n/a",    "null",
                                                   "none", "--", "#num!", "1.#qnan", "-1.#ind"};
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view word) { return equalIgnoringCase(field, word); });
}

std::optional<ComplexNumber> parseComplex(std::string_view field) {
  if (field.size() >= 2 && field.front() == '(' && field.back() == ')') {
    field = trimmed(field.substr(1, field.size() - 2));
  }
  if (field.size() < 2 || std::string_view("ijIJ").find(field.back()) == std::string_view::npos) {
    return std::nullopt;
  }
  field.remove_suffix(1);
  // The sign that begins the imaginary part is the last one that is none of an exponent.
  std::size_t sign = field.size();
  while (sign-- > 1) {
    const char before = field[sign - 1];
    if ((field[sign] == '+' || field[sign] == '-') && before != 'e' && before != 'E') {
      break;
    }
  }
  if (sign == 0 || sign >= field.size()) {
    return std::nullopt;
  }
  const std::optional<double> real = parseNumber(field.substr(0, sign));
  const std::optional<double> imaginary = parseNumber(field.substr(sign));
  if (!real || !imaginary) {
    return std::nullopt;
  }
  return ComplexNumber{*real, *imaginary};
}

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

TableLayout layOut(const TextFile& file, std::optional<std::size_t> headerLines) {
  Lines found = linesOf(file);
  std::vector<TextLine>& lines = found.lines;
  TableLayout layout;
  std::optional<char> told;
  if (!lines.empty() && (told = toldSeparator(lines.front().text))) {
    lines.erase(lines.begin());
    layout.separatorTold = true;
  }
  std::vector<Shape> shapes;
  shapes.reserve(lines.size());
  for (const TextLine& line : lines) {
    shapes.push_back(shapeOf(line.text, told ? *told : separatorOf(line.text)));
  }
  std::size_t first = 0;
  const std::optional<std::size_t> run = longestRun(shapes);
  if (headerLines) {
    while (first < lines.size() &&
           lines[first].number <= static_cast<long>(std::min<std::size_t>(
                                      *headerLines, static_cast<std::size_t>(LONG_MAX)))) {
      ++first;
    }
  } else if (run) {
    first = firstRow(lines, shapes, *run);
  } else {
    first = !lines.empty() && isHeader(lines.front().text) ? 1 : 0;
  }
  if (first < lines.size()) {
    layout.separator = told ? *told : separatorOf(lines[first].text);
    const std::size_t fields = fieldsOf(lines[first].text, layout.separator).size();
    const std::size_t end =
        run ? endOfRows(lines, shapes, first, layout.separator, fields) : lines.size();
    layout.rows = part(lines.begin(), first, end);
    layout.footer = part(lines.begin(), end, lines.size());
  }
  layout.header = part(lines.begin(), 0, first);
  const long start = layout.rows.empty() ? LONG_MAX : layout.rows.front().number;
  for (const TextLine& comment : found.comments) {
    if (comment.number < start) {
      layout.comment = {commentText(comment.text), comment.number, false};
    }
  }
  return layout;
}

}  // namespace vorin::toolkit
