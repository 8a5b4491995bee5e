// vorin read FILE: what a file holds, and its decays as plain CSV.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "commands.hpp"
#include "invert_options.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/decay_csv.hpp"

namespace vorin::toolkit {

namespace {

/// The options as the user wrote them.
struct ReadOptions {
  std::string file;
  std::string kernel = "t2";
  DecayFormatText format;
  std::string out;
};

void show(std::string_view label, std::string_view text) {
  fmt::print("  {:<16}{}\n", label, text);
}

/// The distance of the samples: one number where they are even to a thousandth.
std::string spacingText(const std::vector<double>& times, Quantity quantity) {
  double least = times[1] - times[0];
  double most = least;
  for (std::size_t i = 2; i < times.size(); ++i) {
    least = std::min(least, times[i] - times[i - 1]);
    most = std::max(most, times[i] - times[i - 1]);
  }
  constexpr double even = 1e-3;
  if (most - least <= even * most) {
    const double mean = (times.back() - times.front()) / static_cast<double>(times.size() - 1);
    return quantityText(mean, quantity) + ", even";
  }
  return fmt::format("from {} to {}", quantityText(least, quantity), quantityText(most, quantity));
}

void describe(const FileDecay& decay, Kernel kernel) {
  const std::vector<double>& times = decay.measured.decay.time;
  const std::vector<double>& amplitudes = decay.measured.decay.amplitude;
  const Quantity quantity = abscissaQuantity(kernel);
  fmt::print("{}{}: {} samples from {} to {}\n", decay.file,
             decay.column.empty() ? "" : ", column " + inOneLine(decay.column), times.size(),
             quantityText(times.front(), quantity), quantityText(times.back(), quantity));
  for (const FoundLine& line : allLines(decay.found)) {
    show(line.label, line.text);
  }
  show("spacing", spacingText(times, quantity));
  const auto [least, most] = std::minmax_element(amplitudes.begin(), amplitudes.end());
  show("amplitude", fmt::format("{} to {}{}", significant(*least), significant(*most),
                                decay.measured.imaginary.empty() ? "" : " (real channel)"));
  if (!decay.measured.imaginary.empty()) {
    MeasuredDecay turned = decay.measured;
    const double angle = phaseCorrect(turned, kernel);
    show("phase", fmt::format("{:.2f} degrees, imaginary noise {} after it is taken out",
                              angle * 180.0 / std::numbers::pi,
                              significant(turned.decay.quadratureNoise.value_or(0.0))));
  }
}

ExitStatus runRead(const ReadOptions& options) {
  const Kernel kernel = parseKernel(options.kernel, "--kernel");
  const DecayFormat format = readDecayFormat(options.format, abscissaQuantity(kernel), "--");
  const std::vector<FileDecay> decays = readDecays(options.file, format);
  OutputFiles files;
  if (!options.out.empty() && options.out != "-") {
    const std::filesystem::path target =
        files.announce(options.out, "--out", options.file == "-" ? "" : options.file);
    files.write(target, decayCsv(decays, kernel));
    files.commit();
  }
  if (options.out == "-") {
    fmt::print("{}", decayCsv(decays, kernel));
    return ExitStatus::success;
  }
  for (const FileDecay& decay : decays) {
    describe(decay, kernel);
  }
  return ExitStatus::success;
}

}  // namespace

Command addReadCommand(CLI::App& program) {
  CLI::App* line =
      program.add_subcommand("read", "Tell what a file holds, and write it as plain CSV");
  const auto options = std::make_shared<ReadOptions>();
  addOption(*line, "FILE", options->file, "",
            "A decay: a text file of columns, an array of a container (FILE:PATH),\n"
            "or a file of an instrument; - is standard input")
      ->required();
  addReadingOptions(*line, options->format);
  addOption(*line, "--kernel", options->kernel, "NAME",
            "What the decay is of: t2 (default), t1-saturation, t1-inversion or\n"
            "diffusion, whose first column holds b values");
  addOption(*line, "--out", options->out, "FILE.csv|-",
            "Write times and amplitudes in SI units, as vorin invert reads them;\n"
            "- is standard output, which then gets nothing else");
  line->footer(
      "Examples:\n"
      "  vorin read export.txt\n"
      "      what is in a file: format, columns, units, samples, spacing, phase\n"
      "  vorin read export.txt --columns time,re,im --out decay.csv\n"
      "      as a plain file\n"
      "  vorin read run.h5:/scan/signal\n"
      "      an array of an HDF5 file; of a MATLAB file by its name, run.mat:scan.signal");
  return {line, [options] { return runRead(*options); }};
}

}  // namespace vorin::toolkit
