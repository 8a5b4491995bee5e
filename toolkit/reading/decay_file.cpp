#include "toolkit/reading/decay_file.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <optional>

#include "toolkit/reading/decay_columns.hpp"
#include "toolkit/reading/formats/archive.hpp"
#include "toolkit/reading/formats/arrays.hpp"
#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/table.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/refused_memory.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// More columns than any program writes, so that a range can't ask for any amount of memory.
constexpr std::size_t mostDecays = 100'000;

struct Range {
  std::size_t from = 0;
  std::size_t to = 0;
};

/// Two numbers from 1 with `between` in their midst: "2..40", "2:3".
std::optional<Range> parsePair(std::string_view text, std::string_view between) {
  const std::size_t at = text.find(between);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  const auto from = parseInteger(text.substr(0, at));
  const auto to = parseInteger(text.substr(at + between.size()));
  if (!from || !to || *from < 1 || *to < 1) {
    return std::nullopt;
  }
  return Range{static_cast<std::size_t>(*from), static_cast<std::size_t>(*to)};
}

/// The columns of many decays, or nothing where the entries behind the first are none: a range or
/// a pair must be among them.
std::vector<ColumnChoice::Channels> parseMany(const std::vector<std::string>& entries) {
  std::vector<ColumnChoice::Channels> many;
  bool asked = false;
  for (std::size_t i = 1; i < entries.size(); ++i) {
    if (const auto range = parsePair(entries[i], "..")) {
      asked = true;
      if (range->to < range->from || range->to - range->from >= mostDecays) {
        return {};
      }
      for (std::size_t column = range->from; column <= range->to; ++column) {
        many.push_back({column, 0});
      }
    } else if (const auto pair = parsePair(entries[i], ":")) {
      asked = true;
      many.push_back({pair->from, pair->to});
    } else if (const auto number = parseInteger(entries[i]); number && *number > 0) {
      many.push_back({static_cast<std::size_t>(*number), 0});
    } else {
      return {};
    }
    if (many.size() > mostDecays) {
      return {};
    }
  }
  return asked ? many : std::vector<ColumnChoice::Channels>();
}

std::string optionName(std::string_view prefix, std::string name) {
  if (prefix.empty()) {
    std::replace(name.begin(), name.end(), '-', '_');
  }
  return std::string(prefix) + name;
}

Spacing parseSpacing(const std::string& text, std::string_view option, Quantity quantity) {
  Spacing spacing{text, 0.0, {}};
  const std::size_t comma = text.find(',');
  const auto step = parseQuantity(std::string_view(text).substr(0, comma), quantity);
  std::optional<double> first;
  if (comma != std::string::npos) {
    first = parseQuantity(std::string_view(text).substr(comma + 1), quantity);
  }
  constexpr double longest = 1e30;
  if (!step || !(*step > 0.0) || !(*step < longest) ||
      (comma != std::string::npos && (!first || !(*first >= 0.0) || !(*first < longest)))) {
    throw UserError(
        fmt::format("{} {}: write the time from one sample to the next, for instance 200us, or "
                    "200us,100us where the first sample is at 100 us",
                    option, inQuotes(text)));
  }
  spacing.step = *step;
  spacing.first = first;
  return spacing;
}

}  // namespace

ColumnChoice parseColumns(std::string_view text, std::string_view option, bool oneAllowed) {
  ColumnChoice choice{std::string(text), {}, {}};
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
  if (!empty && choice.columns.size() >= 2) {
    choice.many = parseMany(choice.columns);
    if (!choice.many.empty()) {
      choice.columns.resize(1);
      return choice;
    }
  }
  const std::size_t fewest = oneAllowed ? 1 : 2;
  if (empty || choice.columns.size() < fewest || choice.columns.size() > 3) {
    throw UserError(
        fmt::format("{} {}: two or three columns are required, by number from 1 or by name, with "
                    "commas between "
                    "them; write for instance 1,2, or 1,2,3 with an imaginary channel",
                    option, inQuotes(text)));
  }
  return choice;
}

DecayFormat readDecayFormat(const DecayFormatText& text, Quantity quantity,
                            std::string_view prefix) {
  DecayFormat format;
  format.abscissa = quantity;
  if (!text.timeUnit.empty()) {
    format.unit = readUnit(text.timeUnit, optionName(prefix, "time-unit"), quantity);
    format.unitText = text.timeUnit;
  }
  if (!text.spacing.empty()) {
    format.spacing = parseSpacing(text.spacing, optionName(prefix, "spacing"), quantity);
    if (format.unit) {
      throw UserError(fmt::format(
          "{} {}: there are no times in the file when {} gives them; write "
          "the unit there",
          optionName(prefix, "time-unit"), inQuotes(text.timeUnit), optionName(prefix, "spacing")));
    }
  }
  if (!text.headerLines.empty()) {
    const std::optional<long long> count = parseInteger(text.headerLines);
    if (!count || *count < 0) {
      throw UserError(fmt::format("{} {}: write the number of lines above the rows of numbers",
                                  optionName(prefix, "header-lines"), inQuotes(text.headerLines)));
    }
    format.headerLines = static_cast<std::size_t>(*count);
  }
  if (!text.columns.empty()) {
    format.columns =
        parseColumns(text.columns, optionName(prefix, "columns"), format.spacing.has_value());
  }
  return format;
}

namespace {

/// Throws UserError for what is known by its first bytes, but not read.
void refuseUnread(const FileBytes& file) {
  if (std::string_view(file.content).starts_with("\xD0\xCF\x11\xE0")) {
    throw UserError(
        fmt::format("{}: this is an old workbook (.xls); save it as .xlsx or CSV", file.name));
  }
}

/// FILE:PATH, where FILE is a file and FILE:PATH is none.
struct Location {
  fs::path file;
  std::string inner;
};

Location locationOf(const fs::path& path) {
  const std::string text = path.string();
  std::error_code error;
  if (text == "-" || fs::exists(path, error)) {
    return {path, {}};
  }
  for (std::size_t at = text.find(':'); at != std::string::npos; at = text.find(':', at + 1)) {
    if (fs::is_regular_file(text.substr(0, at), error)) {
      return {text.substr(0, at), text.substr(at + 1)};
    }
  }
  return {path, {}};
}

std::vector<FileDecay> decaysOf(const fs::path& path, const DecayFormat& format) {
  if (const ColumnsFound columns = readTopspinFolder(path, format)) {
    return decaysIn(*columns, format);
  }
  const Location location = locationOf(path);
  FileBytes bytes = readFileBytes(location.file);
  if (const ColumnsFound columns = readNumpy({bytes, location.file, format}, location.inner)) {
    return decaysIn(*columns, format);
  }
  if (const ColumnsFound columns = readContainer({bytes, location.file, format}, location.inner)) {
    return decaysIn(*columns, format);
  }
  if (isArchive(bytes.content) && location.file != "-") {
    TextFile sheet{bytes.name, {}, "workbook"};
    sheet.content = workbookText(location.file, location.inner, sheet.name);
    Table table(sheet, fmt::format("{} and amplitude", quantityName(format.abscissa)),
                fmt::format("{} and amplitude", quantityName(format.abscissa)), format.headerLines);
    return decaysIn(table, format);
  }
  std::vector<FileDecay> zones;
  for (const ZoneFound& zone : readStelar({bytes, location.file, format}, location.inner)) {
    zones.push_back(std::move(decaysIn(*zone.columns, format).front()));
    zones.back().column = zone.name;
  }
  if (!zones.empty()) {
    return zones;
  }
  if (!location.inner.empty()) {
    throw UserError(fmt::format("{}: {} is no container with arrays or sheets by name",
                                inOneLine(path.string()), inOneLine(location.file.string())));
  }
  for (const auto& read : {readTecmag, readProspaBinary, readGeoSpec, readMinispec,
                           readTopspinTable, readLas, readProspaText}) {
    if (const ColumnsFound columns = read({bytes, path, format})) {
      return decaysIn(*columns, format);
    }
  }
  refuseUnread(bytes);
  const TextFile file = textOf(std::move(bytes));
  const Table table = decayTable(file, quantityName(format.abscissa), format.headerLines);
  return decaysIn(table, format);
}

}  // namespace

std::vector<FileDecay> readDecays(const fs::path& path, const DecayFormat& format) {
  try {
    return decaysOf(path, format);
  } catch (const std::bad_alloc&) {
    throw RefusedMemory(
        fmt::format("{}: there is not enough memory to read it", inOneLine(path.string())));
  }
}

FileDecay readFileDecay(const fs::path& path, const DecayFormat& format) {
  std::vector<FileDecay> decays = readDecays(path, format);
  if (decays.size() != 1) {
    throw UserError(fmt::format(
        "{}: {} {} decays; one is required here", inOneLine(path.string()),
        format.columns ? fmt::format("--columns {} choose", inQuotes(format.columns->text))
                       : "it holds",
        decays.size()));
  }
  return std::move(decays.front());
}

MeasuredDecay readMeasuredDecay(const fs::path& path, const DecayFormat& format) {
  return readFileDecay(path, format).measured;
}

Decay readDecay(const fs::path& path) {
  return readMeasuredDecay(path, {}).decay;
}

}  // namespace vorin::toolkit
