// vorin invert FILE.csv
#include <fmt/format.h>

#include <memory>
#include <optional>

#include "commands.hpp"
#include "common/files.hpp"
#include "common/inversion.hpp"
#include "common/progress.hpp"
#include "common/report.hpp"
#include "invert_options.hpp"

namespace vorin::host {

namespace {

struct InvertOptions {
  InputOptions input;
  MethodOptions method;
  OutputOptions output;
};

Band bandOf(const Input& input, const InversionSettings& settings, const Inversion& inversion,
            BootstrapSettings wanted) {
  ProgressBar bar("bootstrap", wanted.replicates);
  wanted.progress = [&](int done) { bar.show(done); };
  return bootstrap(input.decay, settings, inversion, wanted);
}

ExitStatus runInvert(const InvertOptions& options) {
  // Everything that can be wrong is looked at before any work is done.
  InversionSettings settings = settingsFrom(options.method);
  const std::optional<BootstrapSettings> wantedBand = bootstrapFrom(options.method);
  const Input input = readInput(options.input);
  settings.kernel = input.kernel;
  settings.grid = input.grid;
  settings.keepLog = !options.output.log.empty();
  InvertOutputs outputs(options.output, options.input.file);

  const ScratchFolder scratch;
  const Inversion inversion = invert(input.decay, settings);
  ReportContext context{input.name, input.decay, input.kernel, outputs.truth(), std::nullopt};
  if (wantedBand && succeeded(inversion)) {
    context.band = bandOf(input, settings, inversion, *wantedBand);
  }
  std::optional<LCurve> curve;
  if (outputs.wantsLCurve()) {
    curve = lCurve(input.decay, settings, inversion);
  }
  outputs.write(inversion, context, curve, scratch);
  fmt::print("{}", summary(inversion, context));
  return succeeded(inversion) ? ExitStatus::success : ExitStatus::unsuccessfulInversion;
}

}  // namespace

Command addInvertCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "invert", "Invert one decay: two columns, time in seconds and amplitude");
  const auto options = std::make_shared<InvertOptions>();
  options->input.addTo(*line);
  options->method.addTo(*line);
  options->output.addTo(*line);
  return {line, [options] { return runInvert(*options); }};
}

}  // namespace vorin::host
