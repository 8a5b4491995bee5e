// How `vorin invert` inverts: weight, noise, reduction and the library's keys.
#include <fmt/format.h>

#include <limits>
#include <optional>
#include <string_view>

#include "common/numbers.hpp"
#include "common/user_error.hpp"
#include "invert_options.hpp"

namespace vorin::host {

namespace {

/// The number above 0 that `text` spells, if there is a text.
std::optional<double> positiveNumber(const std::string& text, std::string_view option) {
  if (text.empty()) {
    return std::nullopt;
  }
  const std::optional<double> value = parseNumber(text);
  constexpr double kLeast = std::numeric_limits<float>::min();
  constexpr double kMost = std::numeric_limits<float>::max();
  if (!value || !(*value >= kLeast && *value <= kMost)) {
    throw UserError(fmt::format("{} {}: a number above 0 is wanted", option, inQuotes(text)));
  }
  return value;
}

std::string pruningMode(const std::string& text) {
  if (text == "log") {
    return "LOG";
  }
  if (text == "linear") {
    return "LIN";
  }
  if (text == "none") {
    return "NONE";
  }
  throw UserError(fmt::format("--prune {}: write log, linear or none", inQuotes(text)));
}

std::optional<int> prunedPoints(const std::string& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  // The range to which the library limits the count.
  const std::optional<long long> value = parseInteger(text);
  if (!value || *value < 10 || *value > 5000) {
    throw UserError(
        fmt::format("--prune-points {}: a whole number from 10 to 5000 is wanted", inQuotes(text)));
  }
  return static_cast<int>(*value);
}

}  // namespace

void MethodOptions::addTo(CLI::App& line) {
  addOption(line, "--weight", weight, "W",
            "A fixed regularisation weight; without it the library looks for\n"
            "the weight at which the fit misses the data by just over the noise");
  addOption(line, "--noise", noise, "SIGMA",
            "Standard deviation of the noise, in the unit of the data (default:\n"
            "from second differences of neighbouring samples)");
  addOption(line, "--prune", prune, "HOW",
            "Bins into which samples are gathered before the inversion: log\n"
            "(default), linear, or none");
  addOption(line, "--prune-points", prunePoints, "N", "Number of bins, 10 to 5000 (default 200)");
  addOption(line, "--set", assignments, "KEY=VALUE",
            "Set a key of the library, for instance MAXI=200; may be repeated.\n"
            "The library sees data whose largest magnitude is 1")
      ->allow_extra_args(false);
}

InversionSettings settingsFrom(const MethodOptions& options) {
  InversionSettings settings;
  settings.weight = positiveNumber(options.weight, "--weight");
  settings.noise = positiveNumber(options.noise, "--noise");
  settings.pruning = pruningMode(options.prune);
  settings.prunedPoints = prunedPoints(options.prunePoints);
  settings.assignments = options.assignments;
  return settings;
}

}  // namespace vorin::host
