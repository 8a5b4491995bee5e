// vorin simulate: a computed decay with known truth.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <filesystem>
#include <iterator>
#include <memory>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.hpp"
#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

using Defaults = SimulationDefaults;

std::vector<std::string> defaultPeaks() {
  std::vector<std::string> peaks;
  peaks.reserve(Defaults::peaks.size());
  for (const LogNormalPeak& peak : Defaults::peaks) {
    peaks.push_back(fmt::format("{}:{}:{}", peak.time, peak.width, peak.amplitude));
  }
  return peaks;
}

/// The options as the user wrote them.
struct SimulateOptions {
  std::string kernel = "t2";
  std::vector<std::string> peaks = defaultPeaks();
  std::string spacing;  ///< empty: the default; likewise the samples
  std::string samples;
  std::string times;
  std::string noise = fmt::format("{}", Defaults::noise);
  std::string seed = fmt::format("{}", Defaults::seed);
  std::string phase;  ///< empty: one channel
  std::string flip;
  std::string t1;
  std::string grid =
      fmt::format("{}:{}:{}", Defaults::grid.from, Defaults::grid.to, Defaults::grid.points);
  std::string out;
  std::string truth;

  std::string spacingText() const {
    return spacing.empty() ? fmt::format("{}", Defaults::spacing) : spacing;
  }
  std::string samplesText() const {
    return samples.empty() ? fmt::format("{}", Defaults::samples) : samples;
  }
};

/// The command that makes the same files again, but for the folders they are in.
std::string commandText(const SimulateOptions& options) {
  std::string text = "vorin simulate --kernel " + options.kernel;
  for (const std::string& peak : options.peaks) {
    text += " --peak " + peak;
  }
  text += options.times.empty() ? fmt::format(" --spacing {} --samples {}", options.spacingText(),
                                              options.samplesText())
                                : " --times " + options.times;
  if (!options.flip.empty()) {
    text += " --flip " + options.flip;
  }
  if (!options.t1.empty()) {
    text += " --t1 " + options.t1;
  }
  text += fmt::format(" --noise {} --seed {}", options.noise, options.seed);
  if (!options.phase.empty()) {
    text += " --phase " + options.phase;
  }
  text +=
      fmt::format(" --grid {} --out {}", options.grid, fs::path(options.out).filename().string());
  if (!options.truth.empty()) {
    text += " --truth " + fs::path(options.truth).filename().string();
  }
  return text;
}

std::vector<double> sampleTimes(const SimulateOptions& options, Quantity abscissa) {
  if (!options.times.empty()) {
    if (!options.spacing.empty() || !options.samples.empty()) {
      throw UserError(fmt::format(
          "--times {}: it takes the place of --spacing and --samples; leave out one or the others",
          inQuotes(options.times)));
    }
    return parseGrid(options.times, "--times", abscissa).times();
  }
  const std::string spacingText = options.spacingText();
  const auto spacing = parseQuantity(spacingText, abscissa);
  if (!spacing || !(*spacing > 0.0 && *spacing <= 1e20)) {
    throw UserError(
        fmt::format("--spacing {}: a time in seconds above 0 is required", inQuotes(spacingText)));
  }
  const std::string samplesText = options.samplesText();
  const auto samples = parseInteger(samplesText);
  constexpr long long mostSamples = 10'000'000;
  if (!samples || *samples < 2 || *samples > mostSamples) {
    throw UserError(fmt::format("--samples {}: a whole number from 2 to {} is required",
                                inQuotes(samplesText), mostSamples));
  }
  return evenTimes(*spacing, *samples);
}

// Seven significant places are beyond any instrument and hide the last bits in
// which the exponentials of two mathematical libraries may differ.
std::string decayCsv(const Decay& decay, Kernel kernel, const SimulateOptions& options) {
  std::string text = fmt::format("# computed decay, made by: {}\n{},amplitude\n",
                                 commandText(options), abscissaColumn(kernel));
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    fmt::format_to(std::back_inserter(text), "{:.7g},{:.7g}\n", decay.time[i], decay.amplitude[i]);
  }
  return text;
}

std::string channelsCsv(const TwoChannels& decay, Kernel kernel, const SimulateOptions& options) {
  std::string text = fmt::format("# computed decay, made by: {}\n{},real,imaginary\n",
                                 commandText(options), abscissaColumn(kernel));
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    fmt::format_to(std::back_inserter(text), "{:.7g},{:.7g},{:.7g}\n", decay.time[i], decay.real[i],
                   decay.imaginary[i]);
  }
  return text;
}

std::string truthCsv(const Distribution& truth, Kernel kernel, const SimulateOptions& options) {
  std::string text = fmt::format(
      "# true distribution of {}, made by: {}\n# log mean {:.6g} {}, total amplitude {:.6g}\n"
      "{},amplitude\n",
      fs::path(options.out).filename().string(), commandText(options), logMean(truth),
      siUnit(gridQuantity(kernel)), totalAmplitude(truth), gridColumn(kernel));
  for (std::size_t k = 0; k < truth.time.size(); ++k) {
    fmt::format_to(std::back_inserter(text), "{:.7g},{:.7g}\n", truth.time[k],
                   truth.amplitude[k] < 1e-12 * totalAmplitude(truth) ? 0.0 : truth.amplitude[k]);
  }
  return text;
}

/// What is simulated: the options as numbers.
struct Simulation {
  Kernel kernel;
  std::vector<LogNormalPeak> peaks;
  std::vector<double> times;
  double noise;
  std::uint64_t seed;
  std::optional<double> phase;  ///< radians
  std::vector<double> grid;
  EchoTrain train;
};

/// The pulses of t2-epg. Throws UserError for bad options.
EchoTrain trainFrom(const SimulateOptions& options, Kernel kernel) {
  InversionSettings settings;
  readSetting("flip", options.flip, settings);
  readSetting("t1", options.t1, settings);
  if (settings.estimatesFlip) {
    throw UserError("--flip estimate: a computed decay needs the angle");
  }
  if (kernel != Kernel::t2Epg && !(options.flip.empty() && options.t1.empty())) {
    throw UserError(fmt::format("--flip and --t1 with --kernel {}: they are those of t2-epg",
                                kernelName(kernel)));
  }
  return settings.train;
}

/// Throws UserError for bad options.
Simulation simulationFrom(const SimulateOptions& options) {
  Simulation simulation{parseKernel(options.kernel, "--kernel"), {}, {}, 0.0, 0, {}, {}, {}};
  simulation.train = trainFrom(options, simulation.kernel);
  for (const std::string& text : options.peaks) {
    simulation.peaks.push_back(parsePeak(text, "--peak", gridQuantity(simulation.kernel)));
  }
  simulation.times = sampleTimes(options, abscissaQuantity(simulation.kernel));
  const auto noise = parseNumber(options.noise);
  if (!noise || !(*noise >= 0.0 && std::isfinite(*noise))) {
    throw UserError(
        fmt::format("--noise {}: a number of 0 or above is required", inQuotes(options.noise)));
  }
  simulation.noise = *noise;
  const auto seed = parseInteger(options.seed);
  if (!seed || *seed < 0) {
    throw UserError(
        fmt::format("--seed {}: a whole number of 0 or above is required", inQuotes(options.seed)));
  }
  simulation.seed = static_cast<std::uint64_t>(*seed);
  if (!options.phase.empty()) {
    const auto degrees = parseNumber(options.phase);
    if (!degrees || !std::isfinite(*degrees)) {
      throw UserError(
          fmt::format("--phase {}: an angle in degrees is required", inQuotes(options.phase)));
    }
    simulation.phase = *degrees * (std::numbers::pi / 180.0);
  }
  simulation.grid = parseGrid(options.grid, "--grid", gridQuantity(simulation.kernel)).times();
  const Quantity onGrid = gridQuantity(simulation.kernel);
  for (const LogNormalPeak& peak : simulation.peaks) {
    if (peak.time < simulation.grid.front() || peak.time > simulation.grid.back()) {
      throw UserError(fmt::format(
          "--peak at {}: it lies outside the grid from {} to {}; widen "
          "--grid",
          quantityText(peak.time, onGrid), quantityText(simulation.grid.front(), onGrid),
          quantityText(simulation.grid.back(), onGrid)));
    }
  }
  return simulation;
}

ExitStatus runSimulate(const SimulateOptions& options) {
  const Simulation simulation = simulationFrom(options);
  OutputFiles outputs;
  const fs::path out = outputs.announce(options.out, "--out", {});
  const fs::path truthFile =
      options.truth.empty() ? fs::path() : outputs.announce(options.truth, "--truth", {});
  const Distribution truth = distributionOf(simulation.peaks, simulation.grid);
  outputs.write(
      out, simulation.phase
               ? channelsCsv(
                     simulatedChannels(simulation.kernel, truth, simulation.times, simulation.noise,
                                       simulation.seed, *simulation.phase, simulation.train),
                     simulation.kernel, options)
               : decayCsv(simulatedDecay(simulation.kernel, truth, simulation.times,
                                         simulation.noise, simulation.seed, simulation.train),
                          simulation.kernel, options));
  if (!truthFile.empty()) {
    outputs.write(truthFile, truthCsv(truth, simulation.kernel, options));
  }
  outputs.commit();
  const Quantity abscissa = abscissaQuantity(simulation.kernel);
  fmt::print("{}: {} samples from {} to {}, noise {:g}{}\n  true log mean {}, total amplitude {}\n",
             options.out, simulation.times.size(), quantityText(simulation.times.front(), abscissa),
             quantityText(simulation.times.back(), abscissa), simulation.noise,
             simulation.phase ? " in each of two channels" : "",
             quantityText(logMean(truth), gridQuantity(simulation.kernel)),
             significant(totalAmplitude(truth)));
  return ExitStatus::success;
}

}  // namespace

Command addSimulateCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "simulate", "Make a computed decay with seeded noise, and its true distribution");
  const auto options = std::make_shared<SimulateOptions>();
  const auto add = [line](const std::string& name, auto& value, const std::string& type,
                          const std::string& text) {
    return line->add_option(name, value, text)->type_name(type);
  };
  add("--kernel", options->kernel, "NAME",
      fmt::format("One of {} (default t2)", listOf(namedKernels())));
  add("--flip", options->flip, "A", "Refocusing angle in degrees for t2-epg (default 180)");
  add("--t1", options->t1, "TIME", "Longitudinal relaxation time for t2-epg (default 1s)");
  add("--peak", options->peaks, "T:WIDTH:AMPLITUDE",
      fmt::format("A peak normal in log10 T: centre in seconds or with a unit (8ms),\n"
                  "standard deviation in decades, total; may be repeated (default {})",
                  fmt::join(options->peaks, " and ")))
      ->allow_extra_args(false);
  add("--spacing", options->spacing, "S",
      fmt::format(
          "Spacing of the samples in seconds or with a unit, the first one\nspacing after 0 "
          "(default {})",
          options->spacingText()));
  add("--samples", options->samples, "N",
      fmt::format("Number of samples (default {})", options->samplesText()));
  add("--times", options->times, "FROM:TO:N",
      "Sample times evenly spaced in their logarithm, in place of\n--spacing and --samples");
  add("--noise", options->noise, "SIGMA",
      fmt::format("Standard deviation of the noise (default {})", options->noise));
  add("--seed", options->seed, "N", fmt::format("Seed of the noise (default {})", options->seed));
  add("--phase", options->phase, "DEG",
      "Turn the decay by this angle in degrees and write a real and an\n"
      "imaginary column, with independent noise");
  add("--grid", options->grid, "FROM:TO:N",
      fmt::format("Relaxation times of the distribution (default {})", options->grid));
  add("--out", options->out, "FILE.csv", "Write the decay")->required();
  add("--truth", options->truth, "FILE.csv", "Write the true distribution");
  return {line, [options] { return runSimulate(*options); }};
}

}  // namespace vorin::toolkit
