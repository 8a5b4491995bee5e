// vorin invert FILE.csv
#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.hpp"
#include "common/csv.hpp"
#include "common/files.hpp"
#include "common/grid.hpp"
#include "common/inversion.hpp"
#include "common/kernel.hpp"
#include "common/numbers.hpp"
#include "common/picture.hpp"
#include "common/report.hpp"

namespace vorin::host {

namespace {

namespace fs = std::filesystem;

/// The options as the user wrote them; the checks below give sentences of our own.
struct InvertOptions {
  std::string input;
  std::string kernel = "t2";
  std::string skip;
  std::string grid;
  std::string weight;
  std::string noise;
  std::string prune = "log";
  std::string prunePoints;
  std::vector<std::string> assignments;
  std::string truth;
  std::string out;
  std::string fit;
  std::string plot;
  std::string log;
};

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

/// `decay` without as many samples at its start as `text` says.
Decay withoutFirst(Decay decay, const std::string& text) {
  if (text.empty()) {
    return decay;
  }
  const std::optional<long long> count = parseInteger(text);
  const auto most = static_cast<std::ptrdiff_t>(decay.time.size()) - 2;
  if (!count || *count < 0 || *count > most) {
    throw UserError(
        fmt::format("--skip {}: a whole number from 0 to {} is wanted, so that 2 samples stay",
                    inQuotes(text), most));
  }
  const auto cut = static_cast<std::ptrdiff_t>(*count);
  decay.time.erase(decay.time.begin(), decay.time.begin() + cut);
  decay.amplitude.erase(decay.amplitude.begin(), decay.amplitude.begin() + cut);
  return decay;
}

InversionSettings settingsFrom(const InvertOptions& options) {
  InversionSettings settings;
  settings.kernel = parseKernel(options.kernel, "--kernel");
  settings.weight = positiveNumber(options.weight, "--weight");
  settings.noise = positiveNumber(options.noise, "--noise");
  settings.pruning = pruningMode(options.prune);
  settings.prunedPoints = prunedPoints(options.prunePoints);
  settings.assignments = options.assignments;
  settings.keepLog = !options.log.empty();
  return settings;
}

ExitStatus runInvert(const InvertOptions& options) {
  // Everything that can be wrong is looked at before any work is done.
  InversionSettings settings = settingsFrom(options);
  std::optional<LogGrid> grid;
  if (!options.grid.empty()) {
    grid = parseGrid(options.grid, "--grid");
  }
  const Decay decay = withoutFirst(readDecay(options.input), options.skip);
  settings.grid = (grid ? *grid : gridFor(decay.time)).times();
  ReportContext context{options.input, decay, settings.kernel, std::nullopt};
  if (!options.truth.empty()) {
    context.truth = readDistribution(options.truth);
  }
  OutputFiles outputs;
  const auto announce = [&](const std::string& name, std::string_view option) {
    return name.empty() ? fs::path() : outputs.announce(name, option, options.input);
  };
  const fs::path out = announce(options.out, "--out");
  const fs::path fit = announce(options.fit, "--fit");
  const fs::path plot = announce(options.plot, "--plot");
  const fs::path log = announce(options.log, "--log");
  if (!plot.empty()) {
    requireGnuplot(options.plot, "--plot");
  }

  const ScratchFolder scratch;
  const Inversion inversion = invert(decay, settings);
  if (!out.empty()) {
    outputs.write(out, distributionCsv(inversion, context));
  }
  if (!fit.empty()) {
    outputs.write(fit, fitCsv(inversion, context));
  }
  if (!plot.empty()) {
    outputs.write(plot, drawPicture(plot, scratch, inversion, context));
  }
  if (!log.empty()) {
    outputs.write(log, contentOf(scratch.path() / "Vorin.log"));
  }
  outputs.commit();
  fmt::print("{}", summary(inversion, context));
  return succeeded(inversion) ? ExitStatus::success : ExitStatus::unsuccessfulInversion;
}

}  // namespace

Command addInvertCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "invert", "Invert one decay: two columns, time in seconds and amplitude");
  const auto options = std::make_shared<InvertOptions>();
  const auto add = [line](const std::string& name, auto& value, const std::string& type,
                          const std::string& text) {
    return line->add_option(name, value, text)->type_name(type);
  };
  add("FILE.csv", options->input, "",
      "The decay: comma, semicolon, tab or blank between the fields,\n"
      "'#' begins a comment line, one header line may stand first")
      ->required();
  add("--kernel", options->kernel, "NAME",
      "t2 (default): exp(-t/T2), t1-saturation: 1 - exp(-t/T1),\n"
      "t1-inversion: 1 - 2 exp(-t/T1)");
  add("--skip", options->skip, "N",
      "Leave out the first N samples: the first echoes of a train may lie\noff the curve");
  add("--grid", options->grid, "FROM:TO:N",
      "Relaxation times in seconds, N of them evenly spaced in log T\n"
      "(default: a third of the first time to three times the last, 100)");
  add("--weight", options->weight, "W",
      "A fixed regularisation weight; without it the library looks for\n"
      "the weight at which the fit misses the data by just over the noise");
  add("--noise", options->noise, "SIGMA",
      "Standard deviation of the noise, in the unit of the data (default:\n"
      "from second differences of neighbouring samples)");
  add("--prune", options->prune, "HOW",
      "Bins into which samples are gathered before the inversion: log\n"
      "(default), linear, or none");
  add("--prune-points", options->prunePoints, "N", "Number of bins, 10 to 5000 (default 200)");
  add("--set", options->assignments, "KEY=VALUE",
      "Set a key of the library, for instance MAXI=200; may be repeated.\n"
      "The library sees data whose largest magnitude is 1")
      ->allow_extra_args(false);
  add("--truth", options->truth, "FILE.csv",
      "A known distribution (relaxation time, amplitude) to compare with");
  add("--out", options->out, "FILE.csv", "Write the distribution");
  add("--fit", options->fit, "FILE.csv", "Write time, amplitude, fit and residual");
  add("--plot", options->plot, "FILE.png",
      "Draw decay, fit and distribution; also FILE.svg, FILE.pdf");
  add("--log", options->log, "FILE", "Keep the library's log");
  return {line, [options] { return runInvert(*options); }};
}

}  // namespace vorin::host
