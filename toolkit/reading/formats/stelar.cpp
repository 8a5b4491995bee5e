// Stelar's data files of field cycling, version 1: a zone for each relaxation field, in it a block
// (a free decay) for each delay.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <map>

#include "toolkit/reading/formats/blocks.hpp"
#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

struct Zone {
  std::size_t number = 0;  ///< from 1
  std::map<std::string, std::string> keys{};
  std::vector<std::complex<double>> samples{};
};

/// The two numbers of a line of data.
std::optional<std::complex<double>> sampleIn(std::string_view line) {
  const std::size_t end = line.find_first_of(" \t,;");
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  const auto real = parseNumber(line.substr(0, end));
  const std::size_t next = line.find_first_not_of(" \t,;", end);
  const auto imaginary =
      next == std::string_view::npos ? std::nullopt : parseNumber(line.substr(next));
  if (!real || !imaginary || !std::isfinite(*real) || !std::isfinite(*imaginary)) {
    return std::nullopt;
  }
  return std::complex<double>(*real, *imaginary);
}

/// The value of "0.5", "(4*T1MX)" or "(T1MX/100)": factors that are numbers or keys of the zone.
std::optional<double> valueOf(std::string_view text, const Zone& zone) {
  text = trimmed(text);
  if (text.starts_with('(') && text.ends_with(')')) {
    text = text.substr(1, text.size() - 2);
  }
  double value = 1.0;
  char operation = '*';
  while (true) {
    const std::size_t end = std::min(text.find_first_of("*/"), text.size());
    const std::string_view factor = trimmed(text.substr(0, end));
    std::optional<double> number = parseNumber(factor);
    if (const auto key = zone.keys.find(std::string(factor)); !number && key != zone.keys.end()) {
      number = parseNumber(key->second);
    }
    if (!number) {
      return std::nullopt;
    }
    value = operation == '*' ? value * *number : value / *number;
    if (end == text.size()) {
      return std::isfinite(value) ? std::optional(value) : std::nullopt;
    }
    operation = text[end];
    text.remove_prefix(end + 1);
  }
}

std::string textOf(const Zone& zone, const std::string& key) {
  const auto found = zone.keys.find(key);
  return found == zone.keys.end() ? std::string() : found->second;
}

/// The value of a key that is needed.
double required(const Zone& zone, const std::string& key, const std::string& name) {
  const std::optional<double> value = valueOf(textOf(zone, key), zone);
  if (!value) {
    throw UserError(fmt::format("{}, zone {}: {} is {}; a number is needed, or one times T1MX",
                                name, zone.number, key, inQuotes(textOf(zone, key))));
  }
  return *value;
}

std::vector<Zone> zonesOf(std::string_view rest, const std::string& name) {
  std::vector<Zone> zones;
  std::map<std::string, std::string> common;  // above the first zone
  bool inData = false;
  for (long number = 1; !rest.empty(); ++number) {
    const std::string_view line = trimmed(takeLine(rest));
    const std::size_t equals = line.find('=');
    if (line.empty()) {
      continue;
    }
    if (equals != std::string_view::npos) {
      const std::string key(trimmed(line.substr(0, equals)));
      inData = key == "DATA";
      if (key == "ZONE") {
        zones.push_back({zones.size() + 1, common});
      }
      (zones.empty() ? common : zones.back().keys)[key] = trimmed(line.substr(equals + 1));
    } else if (inData && !zones.empty()) {
      const auto sample = sampleIn(line);
      if (!sample) {
        throw UserError(fmt::format("{}, line {}: {} is no pair of numbers, real and imaginary",
                                    name, number, inQuotes(line)));
      }
      zones.back().samples.push_back(*sample);
    }
  }
  return zones;
}

/// The delays of `count` blocks, in seconds.
std::vector<double> delaysOf(const Zone& zone, std::size_t count, const std::string& name) {
  const std::string grid = upperCase(textOf(zone, "BGRD"));
  const double first = required(zone, "BINI", name);
  const double last = required(zone, "BEND", name);
  const bool isLog = grid == "LOG";
  if (!isLog && grid != "LIN") {
    throw UserError(fmt::format(
        "{}, zone {}: the delays are {} by BGRD; LOG and LIN are read; export them as text", name,
        zone.number, inQuotes(textOf(zone, "BGRD"))));
  }
  if (!(first >= 0.0) || !(last >= 0.0) || (isLog && !(first > 0.0 && last > 0.0))) {
    throw UserError(fmt::format("{}, zone {}: the delays go from {:g} s to {:g} s; {}", name,
                                zone.number, first, last,
                                isLog ? "a logarithmic grid is above 0" : "none is below 0"));
  }
  std::vector<double> delays;
  for (std::size_t i = 0; i < count; ++i) {
    const double part = static_cast<double>(i) / static_cast<double>(count - 1);
    delays.push_back(isLog ? first * std::pow(last / first, part) : first + part * (last - first));
  }
  return delays;
}

std::unique_ptr<ColumnSource> columnsOf(const Zone& zone, std::size_t zones,
                                        const std::string& name) {
  const double blocks = required(zone, "NBLK", name);
  const double points = required(zone, "BS", name);
  constexpr double most = 1e8;
  if (!(blocks >= 2.0 && points >= 1.0 && blocks < most && points < most) ||
      blocks != std::floor(blocks) || points != std::floor(points)) {
    throw UserError(fmt::format(
        "{}, zone {}: NBLK is {:g} and BS {:g}; at least 2 blocks of 1 point are needed", name,
        zone.number, blocks, points));
  }
  if (static_cast<double>(zone.samples.size()) != blocks * points) {
    throw UserError(fmt::format("{}, zone {}: there are {} samples; NBLK x BS are {:g} x {:g}",
                                name, zone.number, zone.samples.size(), blocks, points));
  }
  const auto count = static_cast<std::size_t>(blocks);
  const std::optional<double> field = valueOf(textOf(zone, "BRLX"), zone);
  auto columns =
      std::make_unique<NumberColumns>(zones == 1 ? name : fmt::format("{}:{}", name, zone.number));
  NumberColumns::Column delays;
  delays.name = "delay";
  delays.numbers.real = delaysOf(zone, count, name);
  delays.unit = timeUnit(1.0, "s", "as the format has it");
  columns->add(std::move(delays));
  NumberColumns::Column signal;
  signal.name = "signal";
  signal.numbers = blockAmplitudes(zone.samples, static_cast<std::size_t>(points));
  columns->add(std::move(signal));
  columns->roles = {0, 1};
  columns->found.plainText = false;
  columns->found.format = fmt::format(
      "Stelar file, zone {} of {}{}, {} blocks of {} point{}, each reduced to one number",
      zone.number, zones, field ? fmt::format(" ({:g} MHz)", *field) : "", count,
      zone.samples.size() / count, points == 1.0 ? "" : "s");
  return columns;
}

}  // namespace

std::vector<ZoneFound> readStelar(const FormatInput& input, const std::string& inner) {
  const std::string_view content = input.file.content;
  const std::string_view start = content.substr(0, 4096);
  const std::string& name = input.file.name;
  if (start.starts_with("NMRD SEQUENCE NAME") ||
      start.find("\nNMRD SEQUENCE NAME") != std::string_view::npos) {
    throw UserError(fmt::format(
        "{}: this is a Stelar file of version 2, which is not read; export its decays as text",
        name));
  }
  if (!trimmed(start.substr(0, start.find_first_of("\r\n"))).starts_with("STELAR Data File")) {
    return {};
  }
  const std::vector<Zone> zones = zonesOf(content, name);
  const std::optional<long long> wanted = parseInteger(inner);
  if (!inner.empty() &&
      (!wanted || *wanted < 1 || *wanted > static_cast<long long>(zones.size()))) {
    throw UserError(fmt::format("{}: there is no zone {}; the zones are numbered from 1 to {}",
                                name, inQuotes(inner), zones.size()));
  }
  std::vector<ZoneFound> found;
  for (const Zone& zone : zones) {
    // Zones of one block are tests of a setting.
    const bool isSeries = valueOf(textOf(zone, "NBLK"), zone).value_or(2.0) >= 2.0;
    if (inner.empty() ? isSeries : static_cast<long long>(zone.number) == *wanted) {
      found.push_back({fmt::format("zone {}", zone.number), columnsOf(zone, zones.size(), name)});
    }
  }
  if (found.empty()) {
    throw UserError(fmt::format("{}: this Stelar file has no zone with 2 blocks or more", name));
  }
  if (found.size() == 1) {
    found.front().name.clear();
  }
  return found;
}

}  // namespace vorin::toolkit
