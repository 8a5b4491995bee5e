// vorin show LOG: what a save section holds, as a summary, as files and as a picture.
//
// Times and amplitudes are in the units of the host that ran the inversion, which the
// section does not name, so they are shown as bare numbers.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.hpp"
#include "common/csv.hpp"
#include "common/files.hpp"
#include "common/measures.hpp"
#include "common/numbers.hpp"
#include "common/picture.hpp"
#include "common/save_section.hpp"

namespace vorin::host {

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

/// `text` in one line, whatever it holds.
std::string inOneLine(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
  return result;
}

/// A section with the place it has in its file.
struct Shown {
  std::string file;
  std::size_t number;
  std::size_t count;
  SaveSection section;

  std::string name() const {
    return count == 1 ? fmt::format("save section of {}", inOneLine(file))
                      : fmt::format("save section {} of {}", number, inOneLine(file));
  }
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
      throw UserError(fmt::format("--section {}: a whole number of 1 or above is wanted",
                                  inQuotes(options.section)));
    }
  }
  const std::string content = contentOf(options.input);
  const std::size_t count = saveSectionCount(content);
  // The last one is that of the last inversion, should logs have been joined.
  const std::size_t wanted =
      number ? static_cast<std::size_t>(*number) : std::max<std::size_t>(count, 1);
  return {options.input, wanted, count, readSaveSection(content, options.input, wanted)};
}

bool allFinite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double x) { return std::isfinite(x); });
}

bool rises(const std::vector<double>& values) {
  return std::adjacent_find(values.begin(), values.end(),
                            [](double a, double b) { return !(a < b); }) == values.end();
}

/// Why nothing is to be read off the distribution; empty when something is.
std::string_view obstacle(const SaveSection& section) {
  if (section.grid.empty()) {
    return "the section has no distribution";
  }
  if (!allFinite(section.grid) || !(section.grid.front() > 0.0) || !rises(section.grid)) {
    return "the grid abscissae do not rise from above 0";
  }
  if (!allFinite(section.distribution)) {
    return "the distribution is not finite";
  }
  return "";
}

Distribution distributionOf(const SaveSection& section) {
  return {section.grid, section.distribution};
}

// ---- the summary ----------------------------------------------------------------------

using Lines = std::back_insert_iterator<std::string>;

void line(Lines out, std::string_view label, std::string_view text) {
  fmt::format_to(out, "  {:<16}{}\n", label, text);
}

std::string rangeText(const std::vector<double>& values, std::string_view what) {
  return values.empty() ? fmt::format("no {}", what)
                        : fmt::format("{} {} from {} to {}", values.size(), what,
                                      significant(values.front()), significant(values.back()));
}

/// The status in words. Statuses that vorin.h doesn't list are told by their number.
std::string_view statusWords(double status) {
  struct Row {
    double status;
    std::string_view words;
  };
  constexpr Row rows[] = {{0, "success"},
                          {1, "the solver ran out of passes or stalled"},
                          {2, "the weight search ran out of iterations"},
                          {21, "the search stopped at the lower limit of the weight"},
                          {22, "the search stopped at the upper limit of the weight"},
                          {32, "the quadratic program is not definite"},
                          {33, "the quadratic program ran out of steps"},
                          {99, "no inversion has written one"},
                          {999, "done by the corner search, which reports no success or failure"}};
  for (const Row& row : rows) {
    if (row.status == status) {
      return row.words;
    }
  }
  return "unknown";
}

/// The root mean square of data - fit.
double fitError(const SaveSection& section) {
  double sum = 0.0;
  for (std::size_t i = 0; i < section.data.size(); ++i) {
    const double residual = section.data[i] - section.fit[i];
    sum += residual * residual;
  }
  return std::sqrt(sum / static_cast<double>(section.data.size()));
}

std::string errorText(const SaveSection& section) {
  std::string text;
  if (section.setting("TARG") == "NOISE") {
    text = fmt::format("wanted {}, ", significant(section.number("DSE")));
  }
  text += fmt::format("reached {}", significant(section.number("CSE")));
  if (!section.fit.empty()) {
    text += fmt::format("; {} over all data points", significant(fitError(section)));
  }
  return text;
}

std::string targetText(const SaveSection& section) {
  const std::string_view target = section.setting("TARG");
  if (target == "WEIG") {
    return "a fixed weight (TARG = WEIG)";
  }
  if (target == "2") {
    return "the corner of the L-curve (TARG = 2)";
  }
  return fmt::format("the noise (TARG = {}, NALG = {})", target, section.setting("NALG"));
}

void measureLines(Lines out, const SaveSection& section) {
  const Distribution found = distributionOf(section);
  line(out, "total amplitude", significant(totalAmplitude(found)));
  if (const std::string_view why = obstacle(section); !why.empty()) {
    line(out, "log mean", fmt::format("none: {}", why));
    return;
  }
  const double mean = logMean(found);
  if (std::isnan(mean)) {
    line(out, "log mean", "none: the distribution is empty");
    return;
  }
  line(out, "log mean", significant(mean));
  std::string_view label = "peaks";
  for (const Peak& peak : peaks(found)) {
    line(out, label,
         fmt::format("{:<11}{:>7}{}", significant(peak.time), percentText(peak.share),
                     peak.atGridEnd ? "  at the end of the grid" : ""));
    label = "";
  }
}

/// All settings as saved, some to a line; a hyphen stands for no text.
void settingLines(Lines out, const SaveSection& section) {
  constexpr std::size_t kColumns = 4;
  std::string row;
  std::string_view label = "settings";
  for (std::size_t i = 0; i < section.settings.size(); ++i) {
    const SavedSetting& setting = section.settings[i];
    row += fmt::format("{:<4} {:<13}", inOneLine(setting.key),
                       setting.text.empty() ? "-" : inOneLine(setting.text));
    if (i % kColumns == kColumns - 1 || i + 1 == section.settings.size()) {
      row.erase(row.find_last_not_of(' ') + 1);
      line(out, label, row);
      row.clear();
      label = "";
    }
  }
}

std::string summaryOf(const Shown& shown) {
  const SaveSection& section = shown.section;
  std::string text;
  const Lines out = std::back_inserter(text);
  fmt::format_to(out, "{}{}, lines {} to {}\n", shown.name(), section.compact ? ", compact" : "",
                 section.firstLine, section.lastLine);
  line(out, "data", rangeText(section.time, "points"));
  line(out, "grid", rangeText(section.grid, "points"));
  const double status = section.number("CSTA");
  line(out, "status", fmt::format("{} ({})", statusWords(status), section.setting("CSTA")));
  line(out, "aim", targetText(section));
  line(out, "weight", significant(section.number("CWEI")));
  line(out, "standard error", errorText(section));
  measureLines(out, section);
  settingLines(out, section);
  return text;
}

// ---- files ----------------------------------------------------------------------------

std::string distributionCsvOf(const Shown& shown) {
  const SaveSection& section = shown.section;
  std::string text = fmt::format("# distribution in the {}; status {}, weight {}\ntime,amplitude\n",
                                 shown.name(), section.setting("CSTA"), section.setting("CWEI"));
  for (std::size_t k = 0; k < section.grid.size(); ++k) {
    fmt::format_to(std::back_inserter(text), "{:.9g},{:.9g}\n", section.grid[k],
                   section.distribution[k]);
  }
  return text;
}

std::string fitCsvOf(const Shown& shown) {
  const SaveSection& section = shown.section;
  std::string text =
      fmt::format("# fit in the {}; status {}, weight {}\ntime,amplitude,fit,residual\n",
                  shown.name(), section.setting("CSTA"), section.setting("CWEI"));
  for (std::size_t i = 0; i < section.time.size(); ++i) {
    fmt::format_to(std::back_inserter(text), "{:.9g},{:.9g},{:.9g},{:.9g}\n", section.time[i],
                   section.data[i], section.fit[i], section.data[i] - section.fit[i]);
  }
  return text;
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
  constexpr std::size_t kLongestName = 50;
  PictureContent content;
  content.title = fmt::format("{:.{}}: weight {}, standard error {}, status {}",
                              fs::path(shown.file).filename().string(), kLongestName,
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

}  // namespace vorin::host
