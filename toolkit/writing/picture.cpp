#include "toolkit/writing/picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string_view>

#include "toolkit/measures/cumulative.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/writing/gnuplot.hpp"
#include "toolkit/writing/picture_parts.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

double largestResidual(const PictureContent& content) {
  double largest = 0.0;
  for (std::size_t i = 0; i < content.fit.size(); ++i) {
    largest = std::max(largest, std::fabs(content.amplitude[i] - content.fit[i]));
  }
  return largest;
}

/// Of the axis of a linear decay; a logarithmic one writes powers at its tics.
AxisPower timePower(const PictureContent& content) {
  return needsLogAxis(content.time) ? AxisPower{}
                                    : powerFor(content.time.back() / content.timeUnit);
}

AxisPower densityPower(const PictureContent& content) {
  double largest = largestMagnitude(perDecade(content.distribution));
  if (content.truth) {
    largest = std::max(largest, largestMagnitude(perDecade(*content.truth)));
  }
  return powerFor(largest);
}

/// Writes the columns that the script plots.
void writeData(const PictureContent& content, const fs::path& folder) {
  std::ofstream decay(folder / "decay.dat");
  const double size = powerFor(largestMagnitude(content.amplitude)).size;
  const double residualSize = powerFor(largestResidual(content)).size;
  const double timeUnit = content.timeUnit * timePower(content).size;
  for (std::size_t i : seenSamples(content.time, content.amplitude, content.fit)) {
    const double amplitude = content.amplitude[i] / size;
    decay << fmt::format("{:.8g} {:.8g}", content.time[i] / timeUnit, amplitude);
    if (!content.fit.empty()) {
      decay << fmt::format(" {:.8g} {:.8g}", content.fit[i] / size,
                           (content.amplitude[i] - content.fit[i]) / residualSize);
    }
    decay << '\n';
  }
  const double densitySize = densityPower(content).size;
  const auto writeDistribution = [&](const char* name, const Distribution& distribution) {
    std::ofstream file(folder / name);
    const std::vector<double> density = perDecade(distribution);
    for (std::size_t k = 0; k < density.size(); ++k) {
      file << fmt::format("{:.8g} {:.8g}\n", distribution.time[k] / content.gridUnit,
                          density[k] / densitySize);
    }
  };
  writeDistribution("distribution.dat", content.distribution);
  // The cumulative curve is piecewise linear between the edges of the bins.
  const std::vector<double> edges = logBinEdges(content.distribution.time);
  const std::vector<double> sums = cumulative(content.distribution);
  const double total = sums.back() > 0.0 ? sums.back() : 1.0;
  std::ofstream curve(folder / "cumulative.dat");
  for (std::size_t k = 0; k < edges.size(); ++k) {
    curve << fmt::format("{:.8g} {:.8g}\n", std::exp(edges[k]) / content.gridUnit,
                         100.0 * (k == 0 ? 0.0 : sums[k - 1]) / total);
  }
  if (content.truth) {
    writeDistribution("truth.dat", *content.truth);
  }
  if (!content.bandLower.empty()) {
    const std::vector<double>& grid = content.distribution.time;
    const std::vector<double> lower = perDecade({grid, content.bandLower});
    const std::vector<double> upper = perDecade({grid, content.bandUpper});
    std::ofstream file(folder / "band.dat");
    for (std::size_t k = 0; k < grid.size(); ++k) {
      file << fmt::format("{:.8g} {:.8g} {:.8g}\n", grid[k] / content.gridUnit,
                          lower[k] / densitySize, upper[k] / densitySize);
    }
  }
}

constexpr double labelGap = 0.06;  // of the axis: what a label takes

/// The script's settings beside those of all panels.
constexpr std::string_view commonScript =
    R"(set key at graph 1, 1.02 right bottom horizontal reverse Left noenhanced samplen 3 width 1
set autoscale yfix
set offsets 0, 0, graph 0.03, graph 0.03
)";

/// Where a panel lies: parts of the picture's height, within its place on the page.
std::string rows(const PicturePlace& place, double bottom, double top) {
  const double height = place.top - place.bottom;
  return fmt::format("set tmargin at screen {:.5g}\nset bmargin at screen {:.5g}\n",
                     place.bottom + top * height, place.bottom + bottom * height);
}

/// The panel of the decay and, under it, that of the residual if there is a fit.
std::string decayPanels(const PictureContent& content, const PicturePlace& place) {
  const std::vector<double>& t = content.time;
  const AxisPower powerOfTime = timePower(content);
  const double unit = content.timeUnit * powerOfTime.size;
  const bool hasFit = !content.fit.empty();
  const bool logAxis = needsLogAxis(t);
  const AxisPower power = powerFor(largestMagnitude(content.amplitude));
  const bool crowded = t.size() > 300;
  std::string script = fmt::format("{} logscale x\n", logAxis ? "set" : "unset");
  script += logAxis
                ? fmt::format("set xrange [{:.6g}:{:.6g}]\n", 0.8 * t.front() / unit,
                              1.25 * t.back() / unit)
                : fmt::format("set xrange [{:.6g}:{:.6g}]\n", t.front() / unit, t.back() / unit);
  const std::string points =
      crowded ? "pt 7 ps 0.45 lc rgb '#800072b2'" : "pt 7 ps 0.8 lc rgb '#0072b2'";
  // %g would write some decades in digits and others as powers.
  constexpr double shortest = 1e-4;
  constexpr double longest = 1e6;
  const bool plain = !logAxis || (t.front() / unit >= shortest && t.back() / unit < longest);
  const std::string axis =
      fmt::format("set format x '{}'\nset xlabel {} offset 0,0.3\n", plain ? "%g" : "10^{%T}",
                  scriptQuoted(withPower(powerOfTime, content.timeAxis)));
  script +=
      fmt::format(R"({0}{1}set ylabel {3}
plot 'decay.dat' using 1:2 with points {2} title 'measured')",
                  rows(place, hasFit ? 0.625 : 0.495, 0.92), hasFit ? "set format x ''\n" : axis,
                  points, scriptQuoted(withPower(power, content.amplitudeLabel)));
  if (!hasFit) {
    return script + "\nunset title\nset offsets 0, 0, 0, 0\n";
  }
  const AxisPower residualPower = powerFor(largestResidual(content));
  script += fmt::format(R"(, \
     'decay.dat' using 1:3 with lines lw 2 lc rgb '#d55e00' title 'fit'
unset title
{}set offsets 0, 0, 0, 0
{}set ylabel {}
set ytics autofreq
)",
                        rows(place, 0.495, 0.595), axis,
                        scriptQuoted(withPower(residualPower, "residual")));
  const double limit = largestResidual(content) / residualPower.size;
  if (limit > 0.0) {
    script += fmt::format("set yrange [{:.6g}:{:.6g}]\nset ytics {:.6g}\n", -1.15 * limit,
                          1.15 * limit, roundStep(limit));
  }
  script += fmt::format(
      "plot 'decay.dat' using 1:4 with points {} notitle, 0 lc rgb '#d55e00' notitle\n", points);
  script += "set autoscale y\nset ytics autofreq\n";
  return script;
}

std::string distributionPanel(const PictureContent& content, const PicturePlace& place) {
  const std::vector<double>& T = content.distribution.time;
  std::string script = fmt::format(
      R"({}set logscale x
set xrange [{:.6g}:{:.6g}]
set yrange [0:*]
set format x '%g'
set xlabel {} offset 0,0.3
set ylabel {}
{}set xtics nomirror
set y2range [0:100]
set y2tics 0,25,100 nomirror
set y2label 'cumulative (%)'
set border 11 lw 1 lc rgb '#404040'
)",
      rows(place, 0.075, 0.375), T.front() / content.gridUnit, T.back() / content.gridUnit,
      scriptQuoted(content.distributionAxis),
      scriptQuoted(withPower(densityPower(content), content.densityLabel)),
      logTicsScript('x', T.front() / content.gridUnit, T.back() / content.gridUnit, labelGap));
  // Without a band the area below the curve is filled, with one the band alone.
  std::string plots =
      content.bandLower.empty()
          ? "plot 'distribution.dat' with filledcurves y1=0 fs solid 0.35 noborder lc rgb "
            "'#56b4e9' notitle, "
          : "plot 'band.dat' with filledcurves fs solid 0.45 noborder lc rgb '#56b4e9' title "
            "'68 % band', ";
  plots += "'distribution.dat' with lines lw 2 lc rgb '#0072b2' title 'distribution'";
  if (content.truth) {
    plots += ", 'truth.dat' with lines lw 1.5 dt 2 lc rgb '#303030' title 'truth'";
  }
  plots +=
      ", 'cumulative.dat' axes x1y2 with lines lw 1.5 dt 2 lc rgb '#009e73' title 'cumulative'";
  int arrow = 2;
  for (double cutoff : content.cutoffs) {
    script += fmt::format(
        "set arrow {1} from {0:.8g}, graph 0 to {0:.8g}, graph 1 nohead lw 1.2 dt 3 lc rgb "
        "'#303030' front\n",
        cutoff / content.gridUnit, arrow++);
  }
  if (!content.cutoffs.empty()) {
    plots += ", NaN with lines lw 1.2 dt 3 lc rgb '#303030' title 'cutoff'";
  }
  if (!content.logMean.empty()) {
    script += fmt::format(
        "set arrow 1 from {0:.8g}, graph 0 to {0:.8g}, graph 1 nohead lw 1.5 dt 4 lc rgb '#d55e00' "
        "front\n",
        logMean(content.distribution) / content.gridUnit);
    plots += fmt::format(", NaN with lines lw 1.5 dt 4 lc rgb '#d55e00' title 'log mean {}'",
                         content.logMean);
  }
  return script + plots + '\n';
}

}  // namespace

void requireGnuplot(const fs::path& picture, std::string_view option) {
  const std::string kind = picture.extension().string();
  if (kind != ".png" && kind != ".svg" && kind != ".pdf") {
    throw UserError(
        fmt::format("{} {}: the name must end in .png, .svg or .pdf", option, picture.string()));
  }
  requireGnuplotInstalled(picture, option);
}

std::string picturePanels(const fs::path& folder, const PictureContent& content,
                          const PicturePlace& place) {
  writeData(content, folder);
  constexpr double left = 0.13;
  constexpr double right = 0.90;
  const double width = place.right - place.left;
  return fmt::format("{}{}set lmargin at screen {:.5g}\nset rmargin at screen {:.5g}\n{}{}",
                     panelScript, commonScript, place.left + left * width,
                     place.left + right * width, decayPanels(content, place),
                     distributionPanel(content, place));
}

std::string drawPicture(const fs::path& picture, const PrivateFolder& scratch,
                        const PictureContent& content) {
  const Canvas canvas(picture, content.style, {1000, 1050});
  const std::string script = fmt::format(
      "set multiplot\nset title {} noenhanced {} offset 0,0.8\n{}unset multiplot\n"
      "set output\n",
      scriptQuoted(content.title), canvas.titleFont(content.title),
      picturePanels(scratch.path(), content, {}));
  return runGnuplot(picture, canvas.terminal(), scratch, script);
}

}  // namespace vorin::toolkit
