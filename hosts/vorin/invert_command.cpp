// vorin invert FILE...
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.hpp"
#include "invert_options.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/writing/batch_table.hpp"
#include "toolkit/writing/progress.hpp"
#include "toolkit/writing/report.hpp"
#include "toolkit/writing/terminal_picture.hpp"

namespace vorin::toolkit {

namespace {

struct InvertOptions {
  InputOptions input;
  MethodOptions method;
  MeasureOptions measures;
  OutputOptions output;
};

/// The settings of one decay after another. Decays of one shape share their kernel, so
/// that many of them cost no more than their inversions.
class SettingsByShape {
 public:
  explicit SettingsByShape(InversionSettings settings) : settings_(std::move(settings)) {}

  const InversionSettings& of(const Input& input) {
    settings_.kernel = input.kernel;
    if (input.matrix) {
      settings_.matrix = input.matrix;
    } else if (!settings_.matrix || times_ != input.decay.time || settings_.grid != input.grid) {
      times_ = input.decay.time;
      settings_.matrix = std::make_shared<const std::vector<float>>(
          kernelMatrix(input.kernel, times_, input.grid));
    }
    settings_.grid = input.grid;
    return settings_;
  }

 private:
  InversionSettings settings_;
  std::vector<double> times_;  ///< those of the kernel at hand
};

/// The table of several decays, shown as it grows.
class GrowingTable {
 public:
  GrowingTable(const std::vector<Input>& inputs, const BatchLayout& layout, bool shown)
      : shown_(shown), text_(namesOf(inputs), layout) {
    show(text_.heading());
  }

  void add(const BatchRow& row) { show(text_.row(row)); }
  void end(const std::vector<BatchRow>& rows) { show(BatchText::ending(rows)); }

 private:
  static std::vector<std::string> namesOf(const std::vector<Input>& inputs) {
    std::vector<std::string> names;
    names.reserve(inputs.size());
    for (const Input& input : inputs) {
      names.push_back(input.name);
    }
    return names;
  }

  void show(const std::string& text) const {
    if (shown_) {
      fmt::print("{}", text);
      std::fflush(stdout);
    }
  }

  bool shown_;
  BatchText text_;
};

void showOne(const Inversion& inversion, const ReportContext& context, bool noPicture) {
  fmt::print("{}", summary(inversion, context));
  if (!noPicture && outputIsTerminal()) {
    fmt::print("{}", terminalPicture(inversion.distribution, context.kernel, terminalStyle()));
  }
}

Band bandOf(const Input& input, const InversionSettings& settings, const Inversion& inversion,
            BootstrapSettings request) {
  ProgressBar bar("bootstrap", request.replicates);
  request.progress = [&](int done) { bar.show(done); };
  return bootstrap(input.decay, settings, inversion, request);
}

/// Throws UserError for a decay that can't be inverted. The sentences below don't know the
/// names of files; among several decays the name is put first.
void requireInvertible(const Input& input, const InversionSettings& settings, bool amongSeveral) {
  try {
    requireUsable(input.decay, settings);
    if (amongSeveral) {
      requireNoise(input.decay, settings);  // a single one will show while it is inverted
    }
  } catch (const UserError& error) {
    throw amongSeveral ? UserError(fmt::format("{}: {}", input.name, error.what())) : error;
  }
}

BatchLayout layoutFrom(const InvertOptions& options, Kernel kernel) {
  return {kernel, measuresFrom(options.measures, kernel), !options.method.bootstrap.empty(),
          !options.measures.percentiles.empty()};
}

ExitStatus runInvert(const InvertOptions& options) {
  // Everything that can be wrong is looked at before any work is done.
  InversionSettings settings = settingsFrom(options.method);
  const std::optional<BootstrapSettings> bandRequest = bootstrapFrom(options.method);
  const Calibration calibration = calibrationFrom(options.measures);
  calibrate(calibration, settings);
  std::vector<Input> inputs = readInputs(options.input);
  for (Input& input : inputs) {
    calibrate(calibration, input.decay);
    requireInvertible(input, settings, inputs.size() > 1);
  }
  const BatchLayout layout = layoutFrom(options, inputs.front().kernel);
  InvertOutputs outputs(options.output, options.input, inputs, layout);

  const ScratchFolder scratch;
  if (!options.output.log.empty()) {
    settings.logFile = logIn(scratch).string();
  }
  SettingsByShape settingsOf(std::move(settings));
  const bool several = inputs.size() > 1;
  GrowingTable table(inputs, layout, several && !outputs.takesStandardOutput());
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const Input& input = inputs[i];
    const InversionSettings& shaped = settingsOf.of(input);
    const Inversion inversion = invert(input.decay, shaped);
    ReportContext context{input.name, input.decay, input.kernel};
    context.truth = outputs.truth();
    if (context.truth) {
      calibrate(calibration, *context.truth);
    }
    context.kernelFile = input.kernelFile;
    context.phase = input.phase;
    context.measures = layout.measures;
    context.amplitudeUnit = calibration.unit;
    context.found = input.found;
    if (bandRequest && succeeded(inversion)) {
      context.band = bandOf(input, shaped, inversion, *bandRequest);
    }
    std::optional<LCurve> curve;
    if (outputs.wantsLCurve()) {
      curve = lCurve(input.decay, shaped, inversion);
    }
    outputs.write(i, inversion, context, curve, scratch);
    if (several) {
      table.add(batchRow(inversion, context));
    } else if (!outputs.takesStandardOutput()) {
      showOne(inversion, context, options.output.noPicture);
    }
  }
  const std::vector<BatchRow>& rows = outputs.finish();
  table.end(rows);
  return std::all_of(rows.begin(), rows.end(), [](const BatchRow& row) { return row.success; })
             ? ExitStatus::success
             : ExitStatus::unsuccessfulInversion;
}

/// Puts the options that `add` adds under a heading of their own in the help.
template <class Options>
void addGroup(CLI::App& line, const std::string& heading, Options& options) {
  const std::vector<CLI::Option*> before = line.get_options();
  options.addTo(line);
  for (CLI::Option* option : line.get_options()) {
    if (option->nonpositional() &&
        std::find(before.begin(), before.end(), option) == before.end()) {
      option->group(heading);
    }
  }
}

constexpr const char* exampleRows =
    "Examples:\n"
    "  vorin invert train.csv\n"
    "      T2 distribution of an echo train: two columns, seconds and amplitude\n"
    "  vorin invert train.csv --out t2.csv --plot t2.pdf\n"
    "      the same, with the distribution and a picture in files\n"
    "  vorin invert recovery.txt --kernel t1-saturation --time-unit ms\n"
    "      T1 from a recovery whose times are in milliseconds\n"
    "  vorin invert train.csv --columns time,re,im --noise quadrature\n"
    "      complex data by the names in the header line, noise from the imaginary channel\n"
    "  vorin invert pfg.csv --kernel diffusion --time-unit s/mm2 --grid 1e-11:1e-8:80\n"
    "      diffusion coefficients from an attenuation over b values\n"
    "  vorin invert plugs/*.csv --table plugs.csv --out 'results/{}_t2.csv'\n"
    "      many decays: a table with a row each, a distribution each\n"
    "  cat train.csv | vorin invert - --json -\n"
    "      in a pipe\n"
    "\n"
    "Exit status: 0 success, 1 an inversion was unsuccessful (its outputs are written all the\n"
    "same), 2 bad input or options (one sentence, nothing is written).";

}  // namespace

Command addInvertCommand(CLI::App& program) {
  CLI::App* line =
      program.add_subcommand("invert", "Invert decays: two columns, time in seconds and amplitude");
  const auto options = std::make_shared<InvertOptions>();
  addGroup(*line, "What is read", options->input);
  addGroup(*line, "How it is inverted", options->method);
  addGroup(*line, "What is reported", options->measures);
  addGroup(*line, "What is left", options->output);
  line->footer(exampleRows);
  return {line, [options] { return runInvert(*options); }};
}

}  // namespace vorin::toolkit
