#include "toolkit/writing/terminal_picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

namespace {

constexpr int columnCount = 60;
constexpr int rowCount = 8;
constexpr int eighthsPerRow = 8;
constexpr std::string_view leftMargin = "  ";

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

/// The amplitude of each column. An amplitude is spread evenly over the part of the axis
/// that is closest to its grid value, so that grids finer and coarser than the columns
/// keep their areas.
std::vector<double> columnSums(const Distribution& distribution) {
  const std::vector<double>& T = distribution.time;
  const double start = std::log(T.front());
  const double scale = columnCount / (std::log(T.back()) - start);
  const auto positionOf = [&](std::size_t k) { return (std::log(T[k]) - start) * scale; };
  std::vector<double> sums(columnCount, 0.0);
  for (std::size_t k = 0; k < T.size(); ++k) {
    const double left = k == 0 ? 0.0 : 0.5 * (positionOf(k - 1) + positionOf(k));
    const double right =
        k + 1 == T.size() ? columnCount : 0.5 * (positionOf(k) + positionOf(k + 1));
    for (int column = static_cast<int>(left); column < columnCount && column < right; ++column) {
      const double inside = std::min<double>(right, column + 1) - std::max<double>(left, column);
      if (inside > 0.0) {
        sums[static_cast<std::size_t>(column)] +=
            distribution.amplitude[k] * inside / (right - left);
      }
    }
  }
  return sums;
}

/// A column's character in a line: how much of it lies below `height`, in eighths.
std::string_view block(int eighths, bool unicode) {
  constexpr std::array<std::string_view, 9> blocks{" ",
                                                   "\xE2\x96\x81",
                                                   "\xE2\x96\x82",
                                                   "\xE2\x96\x83",
                                                   "\xE2\x96\x84",
                                                   "\xE2\x96\x85",
                                                   "\xE2\x96\x86",
                                                   "\xE2\x96\x87",
                                                   "\xE2\x96\x88"};
  if (unicode) {
    return blocks[static_cast<std::size_t>(std::clamp(eighths, 0, eighthsPerRow))];
  }
  return eighths >= eighthsPerRow / 2 ? "#" : eighths > 0 ? "." : " ";
}

/// Writes `text` into `line`, centred at `column`, unless it would touch an earlier label.
void label(std::string& line, const std::string& text, int column) {
  const int length = static_cast<int>(text.size());
  const int start = std::clamp(column - length / 2, 0, static_cast<int>(line.size()) - length);
  const auto at = static_cast<std::size_t>(start);
  const std::size_t before = at == 0 ? 0 : at - 1;
  if (line.substr(before, text.size() + 2).find_first_not_of(' ') == std::string::npos) {
    line.replace(at, text.size(), text);
  }
}

/// "10 ms", "1e-9": the value of a decade, in short.
std::string decadeText(double value, Quantity quantity) {
  if (quantity != Quantity::time) {
    return fmt::format("{:g}", value);
  }
  const std::string text = timeText(value);  // "10.0 ms"
  return fmt::format("{:g}{}", parseNumber(text.substr(0, text.find(' '))).value_or(value),
                     text.substr(text.find(' ')));
}

std::string axisLines(const Distribution& distribution, Kernel kernel, bool unicode) {
  const double from = std::log10(distribution.time.front());
  const double to = std::log10(distribution.time.back());
  std::vector<bool> ticks(columnCount, false);
  std::string labels(columnCount + 4, ' ');
  for (int decade = static_cast<int>(std::ceil(from)); decade <= std::floor(to); ++decade) {
    const int column =
        std::min(static_cast<int>((decade - from) / (to - from) * columnCount), columnCount - 1);
    ticks[static_cast<std::size_t>(column)] = true;
    label(labels, decadeText(std::pow(10.0, decade), gridQuantity(kernel)), column);
  }
  std::string text(leftMargin);
  for (bool tick : ticks) {
    text += unicode ? (tick ? "\xE2\x94\xB4" : "\xE2\x94\x80") : (tick ? "+" : "-");
  }
  labels.erase(labels.find_last_not_of(' ') + 1);
  return fmt::format("{}\n{}{}\n", text, leftMargin, labels);
}

}  // namespace

TerminalStyle terminalStyle() {
  std::string locale;
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    if (!environment(name).empty()) {
      locale = environment(name);
      break;
    }
  }
  locale = upperCase(locale);
  TerminalStyle style;
  style.unicode =
      locale.find("UTF-8") != std::string::npos || locale.find("UTF8") != std::string::npos;
  const std::string_view terminal = environment("TERM");
  style.colour = environment("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb";
  return style;
}

std::string terminalPicture(const Distribution& distribution, Kernel kernel,
                            const TerminalStyle& style) {
  const std::vector<double> sums = columnSums(distribution);
  const double largest = *std::max_element(sums.begin(), sums.end());
  if (!(largest > 0.0)) {
    return {};
  }
  const double decades = std::log10(distribution.time.back() / distribution.time.front());
  std::string text = fmt::format("{}amplitude per decade over {}, up to {}\n", leftMargin,
                                 gridName(kernel), significant(largest * columnCount / decades, 3));
  for (int row = rowCount - 1; row >= 0; --row) {
    std::string bars;
    for (double sum : sums) {
      const auto height = static_cast<int>(std::lround(sum / largest * rowCount * eighthsPerRow));
      bars += block(height - row * eighthsPerRow, style.unicode);
    }
    bars.erase(bars.find_last_not_of(' ') + 1);
    text += style.colour && !bars.empty() ? fmt::format("{}\033[34m{}\033[0m\n", leftMargin, bars)
                                          : fmt::format("{}{}\n", leftMargin, bars);
  }
  return text + axisLines(distribution, kernel, style.unicode);
}

}  // namespace vorin::toolkit
