// vorin invert FILE...
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands.hpp"
#include "invert_options.hpp"
#include "toolkit/inverting/library.hpp"

namespace vorin::toolkit {

namespace {

constexpr const char* exampleRows =
    "Examples:\n"
    "  vorin invert train.csv\n"
    "      T2 distribution of an echo train: two columns, seconds and amplitude\n"
    "  vorin invert train.csv --out t2.csv --plot t2.pdf\n"
    "      the same, with the distribution and a picture in files\n"
    "  vorin invert train.csv --cutoff 33ms --bootstrap 200 --report plug7.pdf\n"
    "      a report to file: figure, bound and free fluid with intervals, checks, settings\n"
    "  vorin invert recovery.txt --kernel t1-saturation --time-unit ms\n"
    "      T1 from a recovery whose times are in milliseconds\n"
    "  vorin invert train.csv --columns time,re,im --noise quadrature\n"
    "      complex data by the names in the header line, noise from the imaginary channel\n"
    "  vorin invert pfg.csv --kernel diffusion --time-unit s/mm2 --grid 1e-11:1e-8:80\n"
    "      diffusion coefficients from an attenuation over b values\n"
    "  vorin invert plugs/*.csv --table plugs.csv --out 'results/{}_t2.csv' --keep-going\n"
    "      many decays: a table with a row each, a distribution each\n"
    "  cat train.csv | vorin invert - --json -\n"
    "      in a pipe\n"
    "\n"
    "Exit status: 0 success, 1 an inversion was unsuccessful (its outputs are written all the\n"
    "same), 2 bad input or options (one sentence, nothing is written).";

}  // namespace

GivenOptions givenOptions(const CLI::App& line, const std::vector<std::string_view>& others) {
  GivenOptions given{queryText("VERS"), {}};
  for (const CLI::Option* option : line.get_options()) {
    const std::string name = option->get_name();
    if (!option->nonpositional() || option->count() == 0 ||
        std::find(others.begin(), others.end(), name) != others.end()) {
      continue;
    }
    const std::string values = fmt::format("{}", fmt::join(option->results(), " "));
    given.resultText += fmt::format("\n{} {}", name, values);
    if (option->get_group() != outputGroup) {
      given.ofInversion.emplace_back(name, values);
    }
  }
  return given;
}

Command addInvertCommand(CLI::App& program) {
  CLI::App* line =
      program.add_subcommand("invert", "Invert decays: two columns, time in seconds and amplitude");
  const auto options = std::make_shared<InvertOptions>();
  addGroup(*line, "What is read", [&] { options->input.addTo(*line); });
  addGroup(*line, "How it is inverted", [&] { options->method.addTo(*line); });
  addGroup(*line, "What is reported", [&] { options->measures.addTo(*line); });
  addGroup(*line, outputGroup, [&] { options->output.addTo(*line); });
  line->footer(exampleRows);
  return {line, [options, line] {
            return runInvert(*options, givenOptions(*line, {"--jobs", "--resume", "--keep-going",
                                                            "--no-picture"}));
          }};
}

}  // namespace vorin::toolkit
