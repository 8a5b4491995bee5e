// What `vorin invert` reads: the decay, its kernel and its grid.
#include <fmt/format.h>

#include <cstddef>
#include <optional>

#include "common/csv.hpp"
#include "common/grid.hpp"
#include "common/kernel.hpp"
#include "common/numbers.hpp"
#include "common/user_error.hpp"
#include "invert_options.hpp"

namespace vorin::host {

namespace {

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

}  // namespace

void InputOptions::addTo(CLI::App& line) {
  addOption(line, "FILE.csv", file, "",
            "The decay: comma, semicolon, tab or blank between the fields,\n"
            "'#' begins a comment line, one header line may stand first")
      ->required();
  addOption(line, "--kernel", kernel, "NAME",
            "t2 (default): exp(-t/T2), t1-saturation: 1 - exp(-t/T1),\n"
            "t1-inversion: 1 - 2 exp(-t/T1)");
  addOption(line, "--skip", skip, "N",
            "Leave out the first N samples: the first echoes of a train may lie\noff the curve");
  addOption(line, "--grid", grid, "FROM:TO:N",
            "Relaxation times in seconds, N of them evenly spaced in log T\n"
            "(default: a third of the first time to three times the last, 100)");
}

Input readInput(const InputOptions& options) {
  Input input;
  input.name = options.file;
  input.kernel = parseKernel(options.kernel, "--kernel");
  std::optional<LogGrid> grid;
  if (!options.grid.empty()) {
    grid = parseGrid(options.grid, "--grid");
  }
  input.decay = withoutFirst(readDecay(options.file), options.skip);
  input.grid = (grid ? *grid : gridFor(input.decay.time)).times();
  return input;
}

}  // namespace vorin::host
