#include "toolkit/writing/picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/writing/gnuplot.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// Writes the columns that the script plots.
void writeData(const PictureContent& content, const fs::path& folder) {
  std::ofstream decay(folder / "decay.dat");
  for (std::size_t i = 0; i < content.time.size(); ++i) {
    const double amplitude = content.amplitude[i];
    decay << fmt::format("{:.8g} {:.8g}", content.time[i] / content.timeUnit, amplitude);
    if (!content.fit.empty()) {
      decay << fmt::format(" {:.8g} {:.8g}", content.fit[i], amplitude - content.fit[i]);
    }
    decay << '\n';
  }
  const auto writeDistribution = [&](const char* name, const Distribution& distribution) {
    std::ofstream file(folder / name);
    const std::vector<double> density = perDecade(distribution);
    for (std::size_t k = 0; k < density.size(); ++k) {
      file << fmt::format("{:.8g} {:.8g}\n", distribution.time[k] / content.gridUnit, density[k]);
    }
  };
  writeDistribution("distribution.dat", content.distribution);
  if (content.truth) {
    writeDistribution("truth.dat", *content.truth);
  }
  if (!content.bandLower.empty()) {
    const std::vector<double>& grid = content.distribution.time;
    const std::vector<double> lower = perDecade({grid, content.bandLower});
    const std::vector<double> upper = perDecade({grid, content.bandUpper});
    std::ofstream file(folder / "band.dat");
    for (std::size_t k = 0; k < grid.size(); ++k) {
      file << fmt::format("{:.8g} {:.8g} {:.8g}\n", grid[k] / content.gridUnit, lower[k], upper[k]);
    }
  }
}

/// The script's settings that all panels share.
constexpr std::string_view commonScript = R"(set encoding utf8
set border 3 lw 1 lc rgb '#404040'
set tics nomirror out scale 0.6 textcolor rgb '#202020'
set grid xtics ytics lt 1 lw 0.6 lc rgb '#e2e2e2'
set lmargin at screen 0.125
set rmargin at screen 0.965
set key at graph 1, 1.02 right bottom horizontal reverse Left noenhanced samplen 3 width 1
set autoscale yfix
set offsets 0, 0, graph 0.03, graph 0.03
set multiplot
)";

double largestResidual(const PictureContent& content) {
  double largest = 0.0;
  for (std::size_t i = 0; i < content.fit.size(); ++i) {
    largest = std::max(largest, std::fabs(content.amplitude[i] - content.fit[i]));
  }
  return largest;
}

/// The greatest of 1, 2 and 5 times a power of ten that is not above `limit`.
double roundStep(double limit) {
  const double power = std::pow(10.0, std::floor(std::log10(limit)));
  const double digit = limit / power;
  return power * (digit >= 5.0 ? 5.0 : digit >= 2.0 ? 2.0 : 1.0);
}

/// The panel of the decay and, under it, that of the residual if there is a fit.
std::string decayPanels(const PictureContent& content) {
  const std::vector<double>& t = content.time;
  const double unit = content.timeUnit;
  const bool hasFit = !content.fit.empty();
  // Where times spread over two decades or more, a linear axis would hide the start.
  const bool logAxis = t.front() > 0.0 && t.back() >= 100.0 * t.front();
  const bool crowded = t.size() > 300;
  std::string script = fmt::format("{} logscale x\n", logAxis ? "set" : "unset");
  script += logAxis
                ? fmt::format("set xrange [{:.6g}:{:.6g}]\n", 0.8 * t.front() / unit,
                              1.25 * t.back() / unit)
                : fmt::format("set xrange [{:.6g}:{:.6g}]\n", t.front() / unit, t.back() / unit);
  const std::string points =
      crowded ? "pt 7 ps 0.45 lc rgb '#80527fb5'" : "pt 7 ps 0.8 lc rgb '#527fb5'";
  const std::string axis = fmt::format("set format x '%g'\nset xlabel {} offset 0,0.3\n",
                                       scriptQuoted(content.timeAxis));
  script += fmt::format(R"(set tmargin at screen 0.925
set bmargin at screen {0}
{1}set ylabel 'amplitude (unit of the data)'
plot 'decay.dat' using 1:2 with points {2} title 'measured')",
                        hasFit ? "0.625" : "0.495", hasFit ? "set format x ''\n" : axis, points);
  if (!hasFit) {
    return script + "\nunset title\nset offsets 0, 0, 0, 0\n";
  }
  script += fmt::format(R"(, \
     'decay.dat' using 1:3 with lines lw 2 lc rgb '#b8322a' title 'fit'
unset title
set tmargin at screen 0.595
set bmargin at screen 0.495
set offsets 0, 0, 0, 0
{}set ylabel 'residual'
set ytics autofreq
)",
                        axis);
  const double limit = largestResidual(content);
  if (limit > 0.0) {
    script += fmt::format("set yrange [{:.6g}:{:.6g}]\nset ytics {:.6g}\n", -1.15 * limit,
                          1.15 * limit, roundStep(limit));
  }
  script += fmt::format(
      "plot 'decay.dat' using 1:4 with points {} notitle, 0 lc rgb '#b8322a' notitle\n", points);
  script += "set autoscale y\nset ytics autofreq\n";
  return script;
}

std::string distributionPanel(const PictureContent& content) {
  const std::vector<double>& T = content.distribution.time;
  std::string script = fmt::format(R"(set tmargin at screen 0.375
set bmargin at screen 0.075
set logscale x
set xrange [{:.6g}:{:.6g}]
set yrange [0:*]
set format x '%g'
set xlabel {} offset 0,0.3
set ylabel 'amplitude per decade'
)",
                                   T.front() / content.gridUnit, T.back() / content.gridUnit,
                                   scriptQuoted(content.distributionAxis));
  // Without a band the area below the curve is filled, with one the band alone.
  std::string plots =
      content.bandLower.empty()
          ? "plot 'distribution.dat' with filledcurves y1=0 fs solid 0.35 noborder lc rgb "
            "'#7f9fc4' notitle, "
          : "plot 'band.dat' with filledcurves fs solid 0.45 noborder lc rgb '#7f9fc4' title "
            "'68 % band', ";
  plots += "'distribution.dat' with lines lw 2 lc rgb '#2d5d9b' title 'distribution'";
  if (content.truth) {
    plots += ", 'truth.dat' with lines lw 1.5 dt 2 lc rgb '#303030' title 'truth'";
  }
  if (!content.logMean.empty()) {
    script += fmt::format(
        "set arrow 1 from {0:.8g}, graph 0 to {0:.8g}, graph 1 nohead lw 1.5 dt 4 lc rgb '#b8322a' "
        "front\n",
        logMean(content.distribution) / content.gridUnit);
    plots += fmt::format(", NaN with lines lw 1.5 dt 4 lc rgb '#b8322a' title 'log mean {}'",
                         content.logMean);
  }
  return script + plots + "\nunset multiplot\nset output\n";
}

}  // namespace

void requireGnuplot(const fs::path& picture, std::string_view option) {
  const std::string kind = picture.extension().string();
  if (kind != ".png" && kind != ".svg" && kind != ".pdf") {
    throw UserError(
        fmt::format("{} {}: the name must end in .png, .svg or .pdf", option, picture.string()));
  }
  if (std::system("command -v gnuplot >/dev/null 2>&1") != 0) {
    throw UserError(
        fmt::format("{} {}: gnuplot, which draws the picture, is not installed; install the "
                    "package gnuplot-nox",
                    option, picture.string()));
  }
}

std::string drawPicture(const fs::path& picture, const PrivateFolder& scratch,
                        const PictureContent& content) {
  writeData(content, scratch.path());
  const std::string script =
      fmt::format("{}set title {} noenhanced font ',15' offset 0,1\n{}{}", commonScript,
                  scriptQuoted(content.title), decayPanels(content), distributionPanel(content));
  constexpr int pictureWidth = 1000;
  constexpr int pictureHeight = 1050;
  return runGnuplot(picture, scratch, script, pictureWidth, pictureHeight);
}

}  // namespace vorin::toolkit
