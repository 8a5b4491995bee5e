// vorin invert FILE.csv
#include <fmt/format.h>

#include <memory>

#include "commands.hpp"
#include "common/files.hpp"
#include "common/inversion.hpp"
#include "common/report.hpp"
#include "invert_options.hpp"

namespace vorin::host {

namespace {

struct InvertOptions {
  InputOptions input;
  MethodOptions method;
  OutputOptions output;
};

ExitStatus runInvert(const InvertOptions& options) {
  // Everything that can be wrong is looked at before any work is done.
  InversionSettings settings = settingsFrom(options.method);
  const Input input = readInput(options.input);
  settings.kernel = input.kernel;
  settings.grid = input.grid;
  settings.keepLog = !options.output.log.empty();
  InvertOutputs outputs(options.output, options.input.file);

  const ScratchFolder scratch;
  const Inversion inversion = invert(input.decay, settings);
  const ReportContext context{input.name, input.decay, input.kernel, outputs.truth()};
  outputs.write(inversion, context, scratch);
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
