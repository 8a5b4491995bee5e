#include "toolkit/inverting/settings_text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <optional>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr int mostRows = 10000;
constexpr double leastRejection = 1.0;
constexpr const char* standardRejection = "4";
constexpr std::string_view standardText = "on";  ///< with standard values

/// The number above 0 that `text` spells, in the range of the library's numbers.
std::optional<double> parseAboveZero(const std::string& text) {
  const std::optional<double> value = parseNumber(text);
  constexpr auto leastAllowed = static_cast<double>(std::numeric_limits<float>::min());
  constexpr auto largestAllowed = static_cast<double>(std::numeric_limits<float>::max());
  return value && *value >= leastAllowed && *value <= largestAllowed ? value : std::nullopt;
}

/// "noise", "corner" or a number above 0.
void readWeight(const std::string& text, InversionSettings& settings) {
  settings.weight.reset();
  settings.corner = text == "corner";
  if (text.empty() || text == "noise" || settings.corner) {
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
constexpr std::array<SourceName, 5> noiseSources{{{"difference", NoiseSource::difference},
                                                  {"fit", NoiseSource::fit},
                                                  {"ridge", NoiseSource::ridge},
                                                  {"scan", NoiseSource::scan},
                                                  {"quadrature", NoiseSource::quadrature}}};

/// The name of an estimate or a number above 0.
void readNoise(const std::string& text, InversionSettings& settings) {
  settings.noise.reset();
  settings.noiseSource = NoiseSource::robust;
  if (text.empty()) {
    return;
  }
  for (const SourceName& source : noiseSources) {
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

void readPruning(const std::string& text, InversionSettings& settings) {
  if (text.empty() || text == "log") {
    settings.pruning = "LOG";
  } else if (text == "linear") {
    settings.pruning = "LIN";
  } else if (text == "none") {
    settings.pruning = "NONE";
  } else {
    throw UserError(fmt::format("--prune {}: write log, linear or none", inQuotes(text)));
  }
}

void readPrunedPoints(const std::string& text, InversionSettings& settings) {
  settings.prunedPoints.reset();
  if (text.empty()) {
    return;
  }
  // The range to which the library limits the count.
  const std::optional<long long> value = parseInteger(text);
  if (!value || *value < 10 || *value > 5000) {
    throw UserError(fmt::format("--prune-points {}: a whole number from 10 to 5000 is required",
                                inQuotes(text)));
  }
  settings.prunedPoints = static_cast<int>(*value);
}

/// "N" or "N,RATIO".
void readCompression(const std::string& text, InversionSettings& settings) {
  settings.compression.reset();
  if (text.empty()) {
    return;
  }
  const auto fail = [&] {
    return UserError(
        fmt::format("--compress {}: write N or N,RATIO, a whole number from 1 to {} and a number "
                    "from 0 to below 1, for instance 20,1e-6",
                    inQuotes(text), mostRows));
  };
  Compression result;
  if (text == standardText) {
    settings.compression = result;
    return;
  }
  const auto comma = text.find(',');
  const auto rows = parseInteger(text.substr(0, comma));
  if (!rows || *rows < 1 || *rows > mostRows) {
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
  settings.compression = result;
}

/// "K", "robust" or "robust,K".
void readRejection(const std::string& text, InversionSettings& settings) {
  settings.rejectBeyond.reset();
  settings.rejection = Rejection::library;
  if (text.empty()) {
    return;
  }
  constexpr std::string_view robustWord = "robust";
  std::string number = text == standardText ? standardRejection : text;
  if (text.substr(0, robustWord.size()) == robustWord) {
    settings.rejection = Rejection::robust;
    number = text.size() == robustWord.size() ? standardRejection
             : text[robustWord.size()] == ',' ? text.substr(robustWord.size() + 1)
                                              : text;
  }
  settings.rejectBeyond = parseAboveZero(number);
  if (!settings.rejectBeyond || *settings.rejectBeyond < leastRejection) {
    throw UserError(fmt::format(
        "--reject-outliers {}: a number of {:g} or above is required, the standard deviations "
        "beyond "
        "which a sample is an outlier, or robust, or robust and such a number, as robust,4",
        inQuotes(text), leastRejection));
  }
}

void readMethod(const std::string& text, InversionSettings& settings) {
  if (text.empty() || text == "automatic") {
    settings.method = Method::automatic;
  } else if (text == "classic") {
    settings.method = Method::classic;
  } else {
    throw UserError(fmt::format("--method {}: write automatic or classic", inQuotes(text)));
  }
}

/// "fit" or a number.
void readBaseline(const std::string& text, InversionSettings& settings) {
  settings.baseline.reset();
  if (text.empty()) {
    return;
  }
  const std::optional<double> value = text == "fit" ? std::nullopt : parseNumber(text);
  if (text != "fit" && !value) {
    throw UserError(fmt::format("--baseline {}: write fit or a number in the unit of the data",
                                inQuotes(text)));
  }
  settings.baseline = FittedOrGiven{value};
}

/// "fit" or a number from 0 to 1.
void readEfficiency(const std::string& text, InversionSettings& settings) {
  settings.efficiency.reset();
  if (text.empty()) {
    return;
  }
  const std::optional<double> value = text == "fit" ? std::nullopt : parseNumber(text);
  if (text != "fit" && !(value && *value >= 0.0 && *value <= 1.0)) {
    throw UserError(fmt::format(
        "--inversion-efficiency {}: write fit or a number from 0 to 1, which is a complete "
        "inversion",
        inQuotes(text)));
  }
  settings.efficiency = FittedOrGiven{value};
}

/// "estimate" or an angle.
void readFlip(const std::string& text, InversionSettings& settings) {
  settings.train.flip = EchoTrain{}.flip;
  settings.estimatesFlip = text == "estimate";
  if (text.empty() || settings.estimatesFlip) {
    return;
  }
  const std::optional<double> value = parseNumber(text);
  if (!value || !(*value > 0.0 && *value <= 180.0)) {
    throw UserError(fmt::format(
        "--flip {}: write estimate or an angle above 0 and up to 180 degrees", inQuotes(text)));
  }
  settings.train.flip = *value;
}

double readTime(const std::string& text, std::string_view option) {
  const std::optional<double> value = parseQuantity(text, Quantity::time);
  if (!value || !(*value > 0.0)) {
    throw UserError(fmt::format("{} {}: a time above 0 is required, in seconds or with a unit",
                                option, inQuotes(text)));
  }
  return *value;
}

void readT1(const std::string& text, InversionSettings& settings) {
  settings.train.t1 = text.empty() ? EchoTrain{}.t1 : readTime(text, "--t1");
}

void readEchoSpacing(const std::string& text, InversionSettings& settings) {
  settings.train.spacing.reset();
  if (!text.empty()) {
    settings.train.spacing = readTime(text, "--echo-spacing");
  }
}

void readMagnitude(const std::string& text, InversionSettings& settings) {
  settings.magnitude = text == standardText;
  if (!text.empty() && text != standardText && text != "off") {
    throw UserError(fmt::format("--rician {}: write on or off", inQuotes(text)));
  }
}

constexpr std::array<SettingText, 13> settingTable{{
    {"method", "automatic|classic", "automatic",
     "who chooses range, noise and weight: the data, or the library's search for 1.05 times the "
     "noise on the whole grid",
     &readMethod},
    {"baseline", "fit|C", "none", "a constant beside the curve, in the unit of the data",
     &readBaseline},
    {"inversion-efficiency", "fit|E", "1",
     "how complete the inversion of t1-inversion was: E of 1 - (1 + E) exp(-t/T1)",
     &readEfficiency},
    {"weight", "noise|corner|W", "noise",
     "how strongly the distribution is smoothed: by the noise, by the corner of the L-curve, or by "
     "a weight W above 0",
     &readWeight},
    {"noise", "SIGMA|difference|fit|ridge|scan|quadrature", "from the residual of the closest fit",
     "standard deviation of the noise in the unit of the data, or where it comes from", &readNoise},
    {"prune", "log|linear|none", "log", "bins into which samples are gathered before the inversion",
     &readPruning},
    {"prune-points", "N", "200", "number of bins, 10 to 5000", &readPrunedPoints},
    {"compress", "N[,RATIO]|on", "no compression",
     "most rows to keep after a truncated singular value decomposition, and the ratio to the "
     "largest singular value at or below which rows are dropped; on is 20,1e-6",
     &readCompression},
    {"reject-outliers", "K|robust[,K]|on", "no rejection",
     "leave out samples that a first fit misses by K standard deviations of the noise or more, by "
     "the library's ridge fit with their bins, or, with robust, alone; on is 4",
     &readRejection},
    {"flip", "A|estimate", "180",
     "refocusing angle of t2-epg in degrees, or found from the decay by the least misfit",
     &readFlip},
    {"t1", "TIME", "1s", "longitudinal relaxation time of t2-epg", &readT1},
    {"echo-spacing", "TIME", "the first time", "from echo to echo of t2-epg", &readEchoSpacing},
    {"rician", "on|off", "off",
     "the data are magnitudes: the noise floor under them is taken away (Rice's distribution)",
     &readMagnitude},
}};

bool isOptionLetter(char c) {
  return (std::islower(static_cast<unsigned char>(c)) != 0) || c == '-';
}

}  // namespace

std::span<const SettingText> settingTexts() {
  return settingTable;
}

void readSetting(std::string_view name, const std::string& text, InversionSettings& settings) {
  const auto found = std::find_if(settingTable.begin(), settingTable.end(),
                                  [&](const SettingText& row) { return row.name == name; });
  if (found == settingTable.end()) {
    throw UserError(fmt::format("--{}: there is no such setting", name));
  }
  found->read(text, settings);
}

void requireCompatible(const InversionSettings& settings) {
  if (settings.baseline && settings.efficiency) {
    throw UserError(
        "--baseline with --inversion-efficiency: both are a constant beside the distribution; give "
        "one of them");
  }
  if (settings.magnitude && settings.baseline) {
    throw UserError(
        "--rician with --baseline: the floor of magnitudes is the constant beside the curve; give "
        "one of them");
  }
  if (rejectsInLibrary(settings) && settings.pruning == "NONE") {
    throw UserError(
        "--reject-outliers with --prune none: the library keeps outliers out of bins; let samples "
        "be gathered (--prune log), or write --reject-outliers robust");
  }
}

BootstrapSettings readBootstrap(const std::string& replicates, const std::string& seed,
                                std::string_view option) {
  constexpr int fewestAllowed = 20;
  constexpr int largestAllowed = 100000;
  const std::optional<long long> count = parseInteger(replicates);
  if (!count || *count < fewestAllowed || *count > largestAllowed) {
    throw UserError(fmt::format("{} {}: a whole number from {} to {} is required", option,
                                inQuotes(replicates), fewestAllowed, largestAllowed));
  }
  BootstrapSettings settings;
  settings.replicates = static_cast<int>(*count);
  if (!seed.empty()) {
    const std::optional<long long> value = parseInteger(seed);
    if (!value || *value < 0) {
      throw UserError(
          fmt::format("--seed {}: a whole number of 0 or above is required", inQuotes(seed)));
    }
    settings.seed = static_cast<std::uint64_t>(*value);
  }
  return settings;
}

std::size_t readSkip(const std::string& text, std::size_t samples) {
  if (text.empty()) {
    return 0;
  }
  const std::optional<long long> count = parseInteger(text);
  const auto most = static_cast<std::ptrdiff_t>(samples) - 2;
  if (!count || *count < 0 || *count > most) {
    throw UserError(
        fmt::format("--skip {}: a whole number from 0 to {} is required, so that 2 samples stay",
                    inQuotes(text), most));
  }
  return static_cast<std::size_t>(*count);
}

std::string inSettingNames(std::string_view sentence) {
  std::string result;
  for (std::size_t at = 0; at < sentence.size();) {
    const bool wordBefore =
        at > 0 && std::isalnum(static_cast<unsigned char>(sentence[at - 1])) != 0;
    if (sentence.substr(at, 2) != "--" || wordBefore || at + 2 >= sentence.size() ||
        !isOptionLetter(sentence[at + 2]) || sentence[at + 2] == '-') {
      result += sentence[at++];
      continue;
    }
    at += 2;
    constexpr std::string_view setPrefix = "set ";  // KEY=VALUE, of which a program sets many
    if (sentence.substr(at, setPrefix.size()) == setPrefix) {
      result += "settings ";
      at += setPrefix.size();
      continue;
    }
    for (; at < sentence.size() && isOptionLetter(sentence[at]); ++at) {
      result += sentence[at] == '-' ? '_' : sentence[at];
    }
    // A value to be written in: the command has it behind a blank.
    if (at + 1 < sentence.size() && sentence[at] == ' ' &&
        std::isupper(static_cast<unsigned char>(sentence[at + 1])) != 0) {
      result += '=';
      ++at;
    }
  }
  return result;
}

}  // namespace vorin::toolkit
