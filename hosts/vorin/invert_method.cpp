// How `vorin invert` inverts: weight, noise, reduction and the library's keys.
#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>

#include "invert_options.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

constexpr int kMostRows = 10000;
constexpr double kLeastRejection = 1.0;
constexpr const char* kStandardRejection = "4";

/// The number above 0 that `text` spells, in the range of the library's numbers.
std::optional<double> parseAboveZero(const std::string& text) {
  const std::optional<double> value = parseNumber(text);
  constexpr double kLeast = std::numeric_limits<float>::min();
  constexpr double kMost = std::numeric_limits<float>::max();
  return value && *value >= kLeast && *value <= kMost ? value : std::nullopt;
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

/// "noise", "corner" or a number above 0.
void readWeight(const std::string& text, InversionSettings& settings) {
  if (text.empty() || text == "noise") {
    return;
  }
  if (text == "corner") {
    settings.corner = true;
    return;
  }
  settings.weight = parseAboveZero(text);
  if (!settings.weight) {
    throw UserError(
        fmt::format("--weight {}: write noise, corner or a number above 0", inQuotes(text)));
  }
}

struct SourceName {
  std::string_view name;
  NoiseSource source;
};
constexpr std::array<SourceName, 5> kSources{{{"difference", NoiseSource::difference},
                                              {"fit", NoiseSource::fit},
                                              {"ridge", NoiseSource::ridge},
                                              {"scan", NoiseSource::scan},
                                              {"quadrature", NoiseSource::quadrature}}};

/// The name of an estimate or a number above 0.
void readNoise(const std::string& text, InversionSettings& settings) {
  if (text.empty()) {
    return;
  }
  for (const SourceName& source : kSources) {
    if (source.name == text) {
      settings.noiseSource = source.source;
      return;
    }
  }
  settings.noise = parseAboveZero(text);
  if (!settings.noise) {
    throw UserError(fmt::format(
        "--noise {}: write a number above 0, difference, fit, ridge, scan or quadrature",
        inQuotes(text)));
  }
}

/// "N" or "N,RATIO".
Compression parseCompression(const std::string& text) {
  const auto fail = [&] {
    return UserError(
        fmt::format("--compress {}: write N or N,RATIO, a whole number from 1 to {} and a number "
                    "from 0 to below 1, for instance 20,1e-6",
                    inQuotes(text), kMostRows));
  };
  Compression result;
  const auto comma = text.find(',');
  const auto rows = parseInteger(text.substr(0, comma));
  if (!rows || *rows < 1 || *rows > kMostRows) {
    throw fail();
  }
  result.rows = static_cast<int>(*rows);
  if (comma != std::string::npos) {
    const auto ratio = parseNumber(text.substr(comma + 1));
    if (!ratio || !(*ratio >= 0.0 && *ratio < 1.0)) {
      throw fail();
    }
    result.ratio = *ratio;
  }
  return result;
}

/// "K", "robust" or "robust,K".
void readRejection(const std::string& text, InversionSettings& settings) {
  constexpr std::string_view kRobust = "robust";
  std::string number = text;
  if (text.substr(0, kRobust.size()) == kRobust) {
    settings.rejection = Rejection::robust;
    number = text.size() == kRobust.size() ? kStandardRejection
             : text[kRobust.size()] == ',' ? text.substr(kRobust.size() + 1)
                                           : text;
  }
  settings.rejectBeyond = parseAboveZero(number);
  if (!settings.rejectBeyond || *settings.rejectBeyond < kLeastRejection) {
    throw UserError(fmt::format(
        "--reject-outliers {}: a number of {:g} or above is wanted, the standard deviations beyond "
        "which a sample is an outlier, or robust, or robust and such a number, as robust,4",
        inQuotes(text), kLeastRejection));
  }
  if (rejectsInLibrary(settings) && settings.pruning == "NONE") {
    throw UserError(
        "--reject-outliers with --prune none: the library keeps outliers out of bins; let samples "
        "be gathered (--prune log), or write --reject-outliers robust");
  }
}

/// Adds an option whose value may be left out. A file that follows it on the line would be
/// taken for its value and missed elsewhere; what begins like no number is told as that.
CLI::Option* addOptionalValue(CLI::App& line, const std::string& name, std::string& value,
                              const std::string& type, const std::string& standard,
                              const std::string& text) {
  return addOption(line, name, value, type, text)
      ->expected(0, 1)
      ->default_str(standard)
      ->check([name](const std::string& given) {
        return fs::exists(given) && !parseNumber(given)
                   ? fmt::format(
                         "{} {}: this is a file; write the file before it, or its value as "
                         "{}=VALUE",
                         name, inQuotes(given), name)
                   : std::string();
      });
}

}  // namespace

void MethodOptions::addTo(CLI::App& line) {
  addOption(line, "--weight", weight, "noise|corner|W",
            "How strongly the distribution is smoothed: noise (default) looks for\n"
            "the weight at which the fit misses the data by just over the noise,\n"
            "corner for the corner of the L-curve, W is a weight of your own");
  addOption(line, "--noise", noise, "SIGMA|HOW",
            "Standard deviation of the noise in the unit of the data, or where it\n"
            "comes from: difference, fit, ridge, scan (estimates of the library),\n"
            "quadrature (the imaginary channel). Default: from second differences\n"
            "of neighbouring samples, outliers and the start of the decay apart");
  addOption(line, "--prune", prune, "HOW",
            "Bins into which samples are gathered before the inversion: log\n"
            "(default), linear, or none");
  addOption(line, "--prune-points", prunePoints, "N", "Number of bins, 10 to 5000 (default 200)");
  addOptionalValue(line, "--compress", compress, "N[,RATIO]", "20,1e-6",
                   "Compress the (binned) samples to N rows at most by a singular value\n"
                   "decomposition, without those of a singular value not above RATIO\n"
                   "times the largest (20,1e-6 where no value is given)");
  addOptionalValue(line, "--reject-outliers", rejectOutliers, "K|robust[,K]", kStandardRejection,
                   "Leave out samples that a first fit misses by K standard deviations\n"
                   "of the noise or more (4 where no value is given): by the library's\n"
                   "ridge fit, with their bins; robust by an unpenalised fit, alone");
  addOption(line, "--bootstrap", bootstrap, "N",
            "Draw the noise N times anew from the residual and tell how far log mean\n"
            "and distribution spread (68 %); 200 is a fair number");
  addOption(line, "--seed", seed, "N", "Seed of the bootstrap (default 1)");
  addOption(line, "--set", assignments, "KEY=VALUE",
            "Set a key of the library, for instance MAXI=200; may be repeated.\n"
            "The library sees data whose largest magnitude is 1")
      ->allow_extra_args(false);
}

InversionSettings settingsFrom(const MethodOptions& options) {
  InversionSettings settings;
  readWeight(options.weight, settings);
  readNoise(options.noise, settings);
  if (!options.compress.empty()) {
    settings.compression = parseCompression(options.compress);
  }
  settings.pruning = pruningMode(options.prune);
  if (!options.rejectOutliers.empty()) {
    readRejection(options.rejectOutliers, settings);
  }
  settings.prunedPoints = prunedPoints(options.prunePoints);
  settings.assignments = options.assignments;
  return settings;
}

std::optional<BootstrapSettings> bootstrapFrom(const MethodOptions& options) {
  constexpr int kFewest = 20;
  constexpr int kMost = 100000;
  if (options.bootstrap.empty()) {
    if (!options.seed.empty()) {
      throw UserError(fmt::format("--seed {}: it is that of --bootstrap, which is not asked for",
                                  inQuotes(options.seed)));
    }
    return std::nullopt;
  }
  const std::optional<long long> replicates = parseInteger(options.bootstrap);
  if (!replicates || *replicates < kFewest || *replicates > kMost) {
    throw UserError(fmt::format("--bootstrap {}: a whole number from {} to {} is wanted",
                                inQuotes(options.bootstrap), kFewest, kMost));
  }
  BootstrapSettings settings;
  settings.replicates = static_cast<int>(*replicates);
  if (!options.seed.empty()) {
    const std::optional<long long> seed = parseInteger(options.seed);
    if (!seed || *seed < 0) {
      throw UserError(
          fmt::format("--seed {}: a whole number of 0 or above is wanted", inQuotes(options.seed)));
    }
    settings.seed = static_cast<std::uint64_t>(*seed);
  }
  return settings;
}

}  // namespace vorin::toolkit
