#include "show_report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

std::string Shown::name() const {
  return count == 1 ? fmt::format("save section of {}", inOneLine(file))
                    : fmt::format("save section {} of {}", number, inOneLine(file));
}

bool allFinite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double x) { return std::isfinite(x); });
}

bool rises(const std::vector<double>& values) {
  return std::adjacent_find(values.begin(), values.end(),
                            [](double a, double b) { return !(a < b); }) == values.end();
}

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

namespace {

using Lines = std::back_insert_iterator<std::string>;

void line(Lines out, std::string_view label, std::string_view text) {
  fmt::format_to(out, "  {:<16}{}\n", label, text);
}

std::string rangeText(const std::vector<double>& values, std::string_view what) {
  return values.empty() ? fmt::format("no {}", what)
                        : fmt::format("{} {} from {} to {}", values.size(), what,
                                      significant(values.front()), significant(values.back()));
}

/// The status in words. Statuses that vorin.h doesn't list are shown by their number.
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

/// All settings as saved, some to a line; a hyphen means no text.
void settingLines(Lines out, const SaveSection& section) {
  constexpr std::size_t columnCount = 4;
  std::string row;
  std::string_view label = "settings";
  for (std::size_t i = 0; i < section.settings.size(); ++i) {
    const SavedSetting& setting = section.settings[i];
    row += fmt::format("{:<4} {:<13}", inOneLine(setting.key),
                       setting.text.empty() ? "-" : inOneLine(setting.text));
    if (i % columnCount == columnCount - 1 || i + 1 == section.settings.size()) {
      row.erase(row.find_last_not_of(' ') + 1);
      line(out, label, row);
      row.clear();
      label = "";
    }
  }
}

}  // namespace

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

}  // namespace vorin::toolkit
