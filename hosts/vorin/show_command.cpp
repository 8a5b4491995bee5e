// vorin show LOG: what a save section holds, as a summary, as files and as a picture.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "commands.hpp"
#include "show_report.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/save_section.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/picture.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// The options as the user wrote them.
struct ShowOptions {
  std::string input;
  std::string section;
  std::string out;
  std::string fit;
  std::string plot;
};

Shown readShown(const ShowOptions& options) {
  std::error_code error;
  if (fs::is_directory(options.input, error)) {
    throw UserError(
        fmt::format("{}: this is a folder; give the name of a log in it", options.input));
  }
  std::optional<long long> number;
  if (!options.section.empty()) {
    number = parseInteger(options.section);
    if (!number || *number < 1) {
      throw UserError(fmt::format("--section {}: a whole number of 1 or above is required",
                                  inQuotes(options.section)));
    }
  }
  const std::string content = contentOf(options.input);
  const std::size_t count = saveSectionCount(content);
  // The last one is that of the last inversion, should logs have been joined.
  const std::size_t section =
      number ? static_cast<std::size_t>(*number) : std::max<std::size_t>(count, 1);
  return {options.input, section, count, readSaveSection(content, options.input, section)};
}

/// Throws UserError when the section can't be drawn.
void requireDrawable(const Shown& shown) {
  const SaveSection& section = shown.section;
  const auto fail = [&](std::string_view why) {
    return UserError(
        fmt::format("{}, line {}: the section can't be drawn, since {}; leave out --plot",
                    shown.file, section.firstLine, why));
  };
  if (const std::string_view why = obstacle(section); !why.empty()) {
    throw fail(why);
  }
  if (section.grid.size() < 2 || section.time.size() < 2) {
    throw fail("it has fewer than 2 data points or grid points");
  }
  if (!allFinite(section.time) || !rises(section.time)) {
    throw fail("the abscissae of the data do not rise");
  }
  if (!allFinite(section.data) || !allFinite(section.fit)) {
    throw fail("its data or its fit is not finite");
  }
}

std::string pictureOf(const fs::path& picture, const Shown& shown, const ScratchFolder& scratch) {
  const SaveSection& section = shown.section;
  const Distribution found = distributionOf(section);
  const double mean = logMean(found);
  constexpr std::size_t longestName = 50;
  PictureContent content;
  content.title = fmt::format("{:.{}}: weight {}, standard error {}, status {}",
                              fs::path(shown.file).filename().string(), longestName,
                              significant(section.number("CWEI"), 3),
                              significant(section.number("CSE"), 3), section.setting("CSTA"));
  content.time = section.time;
  content.amplitude = section.data;
  content.fit = section.fit;
  content.distribution = found;
  content.timeAxis = "time (unit of the log)";
  content.distributionAxis = "relaxation time (unit of the log)";
  content.logMean = std::isnan(mean) ? "" : significant(mean, 3);
  return drawPicture(picture, scratch, content);
}

ExitStatus runShow(const ShowOptions& options) {
  const Shown shown = readShown(options);
  OutputFiles outputs;
  const auto announce = [&](const std::string& name, std::string_view option) {
    return name.empty() ? fs::path() : outputs.announce(name, option, options.input);
  };
  const fs::path out = announce(options.out, "--out");
  const fs::path fit = announce(options.fit, "--fit");
  const fs::path plot = announce(options.plot, "--plot");
  if (!fit.empty() && shown.section.compact) {
    throw UserError(
        fmt::format("--fit {}: {} is a compact save section, which holds no fit; leave out --fit",
                    options.fit, shown.file));
  }
  if (!plot.empty()) {
    requireGnuplot(options.plot, "--plot");
    requireDrawable(shown);
  }
  if (!out.empty()) {
    outputs.write(out, distributionCsvOf(shown));
  }
  if (!fit.empty()) {
    outputs.write(fit, fitCsvOf(shown));
  }
  if (!plot.empty()) {
    const ScratchFolder scratch;
    outputs.write(plot, pictureOf(plot, shown, scratch));
  }
  outputs.commit();
  fmt::print("{}", summaryOf(shown));
  return ExitStatus::success;
}

}  // namespace

Command addShowCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "show", "Show an inversion that a log holds: settings, results, distribution");
  const auto options = std::make_shared<ShowOptions>();
  const auto add = [line](const std::string& name, auto& value, const std::string& type,
                          const std::string& text) {
    return line->add_option(name, value, text)->type_name(type);
  };
  add("LOG", options->input, "",
      "A log with a save section (vorin invert --log LOG --set SAVE=1, or REPO\n"
      "above 3), or the compact file beside a log that could not be opened.\n"
      "All is shown in the units of the host that ran the inversion: those of\n"
      "vorin invert are seconds and data whose largest magnitude is 1")
      ->required();
  add("--section", options->section, "N",
      "Which save section, where the file holds several (default: the last)");
  add("--out", options->out, "FILE.csv", "Write the distribution");
  add("--fit", options->fit, "FILE.csv", "Write time, amplitude, fit and residual");
  add("--plot", options->plot, "FILE.png",
      "Draw decay, fit and distribution; also FILE.svg, FILE.pdf");
  return {line, [options] { return runShow(*options); }};
}

}  // namespace vorin::toolkit
