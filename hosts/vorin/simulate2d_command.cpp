// vorin simulate2d: computed two-dimensional data with known truth.
#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "commands.hpp"
#include "invert_options.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/two_dimensional/map_report.hpp"
#include "toolkit/two_dimensional/map_settings_text.hpp"
#include "toolkit/two_dimensional/map_simulation.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// The options as the user wrote them.
struct Simulate2dOptions {
  std::string kernels = "t1-inversion,t2";
  std::vector<std::string> peaks;
  std::string times1;
  std::string times2 = "0.5ms:1s:2000:linear";
  std::string grid1;
  std::string grid2;
  std::string noise = "0.5";
  std::string seed = "1";
  std::string phase;
  std::string out;
  std::string imaginary;
  std::string truth;
};

/// What the options leave open.
struct Defaults {
  std::vector<std::string> peaks;
  std::string times1;
};

Defaults defaultsFor(Kernel first) {
  if (first == Kernel::diffusion) {
    return {{"2e-9:0.3:0.1:60", "2e-10:0.03:0.1:40"}, "1e7:2e10:32"};
  }
  if (first == Kernel::t2) {
    return {{"0.3:0.3:0.1:45", "0.02:0.02:0.1:35", "0.3:0.02:0.1:10", "0.02:0.3:0.1:10"},
            "1ms:1s:32"};
  }
  return {{"0.5:0.3:0.1:60", "0.05:0.02:0.1:40"}, "1ms:5s:32"};
}

double numberOf(const std::string& text, std::string_view option, double least,
                std::string_view wanted) {
  const std::optional<double> value = parseNumber(text);
  if (!value || !(*value >= least && std::isfinite(*value))) {
    throw UserError(fmt::format("{} {}: {} is needed", option, inQuotes(text), wanted));
  }
  return *value;
}

ExitStatus runSimulate2d(const Simulate2dOptions& options) {
  const auto [kernel1, kernel2] = parseKernels(options.kernels, "--kernels");
  MapSettings settings;
  settings.kernel1 = kernel1.kernel;
  settings.kernel2 = kernel2.kernel;
  if (settings.kernel1 == Kernel::matrix || settings.kernel2 == Kernel::matrix) {
    throw UserError(fmt::format("--kernels {}: data can't be simulated by a matrix; write names",
                                inQuotes(options.kernels)));
  }
  const Defaults defaults = defaultsFor(settings.kernel1);
  const auto orElse = [](const std::string& text, const std::string& otherwise) {
    return text.empty() ? otherwise : text;
  };
  MapData data;
  data.times1 = parseAxis(orElse(options.times1, defaults.times1), "--times1",
                          abscissaQuantity(settings.kernel1));
  data.times2 = parseAxis(options.times2, "--times2", abscissaQuantity(settings.kernel2));
  const Quantity first = gridQuantity(settings.kernel1);
  const Quantity second = gridQuantity(settings.kernel2);
  const auto gridOf = [](const std::string& text, std::string_view option, Kernel kernel) {
    return text.empty() ? simulationGrid(kernel)
                        : parseGrid(text, option, gridQuantity(kernel)).times();
  };
  settings.grid1 = gridOf(options.grid1, "--grid1", settings.kernel1);
  settings.grid2 = gridOf(options.grid2, "--grid2", settings.kernel2);
  std::vector<SimulatedMapPeak> peaks;
  for (const std::string& text : options.peaks.empty() ? defaults.peaks : options.peaks) {
    peaks.push_back(parseMapPeak(text, "--peak", first, second));
    requireInside(peaks.back(), fmt::format("--peak {}", inQuotes(text)), settings.grid1,
                  settings.grid2);
  }
  const double noise = numberOf(options.noise, "--noise", 0.0, "a number of 0 or above");
  const auto seed = parseInteger(options.seed);
  if (!seed || *seed < 0) {
    throw UserError(
        fmt::format("--seed {}: a whole number of 0 or above is needed", inQuotes(options.seed)));
  }
  if (options.phase.empty() != options.imaginary.empty()) {
    throw UserError("--phase and --imaginary: give both, for two channels, or neither");
  }
  const double phase = options.phase.empty()
                           ? 0.0
                           : numberOf(options.phase, "--phase", -1e6, "an angle in degrees") *
                                 std::numbers::pi / 180.0;

  OutputFiles outputs;
  const fs::path out = outputs.announce(options.out, "--out");
  const fs::path imaginary =
      options.imaginary.empty() ? fs::path() : outputs.announce(options.imaginary, "--imaginary");
  const fs::path truthFile =
      options.truth.empty() ? fs::path() : outputs.announce(options.truth, "--truth");
  const std::vector<double> truth = mapOf(peaks, settings.grid1, settings.grid2);
  const auto write = [&](const fs::path& file, const std::vector<double>& samples) {
    outputs.write(file, matrixCsv(data.times1, data.times2, samples, 7));
  };
  const auto chosen = static_cast<std::uint64_t>(*seed);
  if (imaginary.empty()) {
    write(out, simulatedSamples(data, settings, truth, noise, chosen));
  } else {
    const TwoMapChannels channels =
        simulatedMapChannels(data, settings, truth, noise, chosen, phase);
    write(out, channels.real);
    write(imaginary, channels.imaginary);
  }
  if (!truthFile.empty()) {
    outputs.write(truthFile, matrixCsv(settings.grid1, settings.grid2, truth, 7));
  }
  outputs.commit();
  double total = 0.0;
  for (double amplitude : truth) {
    total += amplitude;
  }
  fmt::print("{}: {} x {} samples, noise {:g}{}\n  {} peaks, total amplitude {}\n", options.out,
             data.times1.size(), data.times2.size(), noise,
             imaginary.empty() ? "" : " in each of two channels", peaks.size(), significant(total));
  return ExitStatus::success;
}

}  // namespace

Command addSimulate2dCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "simulate2d", "Make computed two-dimensional data with seeded noise, and the true map");
  const auto options = std::make_shared<Simulate2dOptions>();
  const auto add = [line](const std::string& name, auto& value, const std::string& type,
                          const std::string& text) {
    return addOption(*line, name, value, type, text);
  };
  add("--kernels", options->kernels, "FIRST,SECOND",
      "Kernels of the rows and of the columns (default t1-inversion,t2)");
  add("--peak", options->peaks, "P1:P2:WIDTH:AMPLITUDE",
      "A peak normal in the logarithm of both axes: centres in seconds (m2/s)\n"
      "or with a unit, standard deviation in decades, total; may be repeated\n"
      "(default: two peaks, for t2,t2 four)")
      ->allow_extra_args(false);
  add("--times1", options->times1, "FROM:TO:N[:linear]",
      "The times of the rows, evenly spaced in their logarithm, or evenly\n"
      "(default 1ms:5s:32, for t2 1ms:1s:32, for diffusion 1e7:2e10:32)");
  add("--times2", options->times2, "FROM:TO:N[:linear]",
      "The times of the columns (default 0.5ms:1s:2000:linear)");
  add("--noise", options->noise, "SIGMA", "Standard deviation of the noise (default 0.5)");
  add("--seed", options->seed, "N", "Seed of the noise (default 1)");
  add("--phase", options->phase, "DEG",
      "Turn the data by this angle in degrees; needs --imaginary");
  add("--grid1", options->grid1, "FROM:TO:N", "Grid of the true map, first axis");
  add("--grid2", options->grid2, "FROM:TO:N", "Second axis");
  add("--out", options->out, "FILE.csv", "Write the data")->required();
  add("--imaginary", options->imaginary, "FILE.csv", "Write the imaginary channel");
  add("--truth", options->truth, "FILE.csv", "Write the true map");
  return {line, [options] { return runSimulate2d(*options); }};
}

}  // namespace vorin::toolkit
