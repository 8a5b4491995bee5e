#include "toolkit/two_dimensional/map_picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/gnuplot.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// Half the distance to the neighbours in the logarithm: the height of a projection a decade
/// does not depend on how fine the grid is.
double decadesAt(const std::vector<double>& grid, std::size_t at) {
  const std::size_t left = at == 0 ? 0 : at - 1;
  const std::size_t right = std::min(at + 1, grid.size() - 1);
  return std::log10(grid[right] / grid[left]) / static_cast<double>(right - left);
}

/// Cells an area of one decade squared, in blocks a row, for `with pm3d` and contours. Axes are
/// drawn in log10, since gnuplot's contours and shading need a plain grid.
void writeMap(const MapInversion& inversion) {
  std::ofstream file("map.dat");
  for (std::size_t i = 0; i < inversion.grid1.size(); ++i) {
    for (std::size_t k = 0; k < inversion.grid2.size(); ++k) {
      const double area = decadesAt(inversion.grid1, i) * decadesAt(inversion.grid2, k);
      file << fmt::format("{:.7g} {:.7g} {:.7g}\n", std::log10(inversion.grid2[k]),
                          std::log10(inversion.grid1[i]),
                          inversion.distribution[i * inversion.grid2.size() + k] / area);
    }
    file << '\n';
  }
}

void writeProjection(const char* name, const std::vector<double>& grid,
                     const std::vector<double>& sums) {
  std::ofstream file(name);
  for (std::size_t k = 0; k < grid.size(); ++k) {
    file << fmt::format("{:.7g} {:.7g}\n", std::log10(grid[k]), sums[k] / decadesAt(grid, k));
  }
}

void writePeaks(const std::vector<MapPeak>& peaks) {
  std::ofstream file("peaks.dat");
  for (const MapPeak& peak : peaks) {
    file << fmt::format("{:.7g} {:.7g} \"{:.1f} %\"\n", std::log10(peak.position2),
                        std::log10(peak.position1), 100.0 * peak.share);
  }
}

/// Tics at the decades of a grid: "set xtics (...)". A tic every other decade where there are many.
std::string decadeTics(std::string_view axis, const std::vector<double>& grid, Quantity quantity,
                       bool labels) {
  const int from = static_cast<int>(std::ceil(std::log10(grid.front()) - 1e-9));
  const int to = static_cast<int>(std::floor(std::log10(grid.back()) + 1e-9));
  constexpr int mostLabels = 6;
  const int step = (to - from) / mostLabels + 1;
  std::string list;
  for (int decade = from; decade <= to; ++decade) {
    std::string label;
    if (labels && (decade - from) % step == 0) {
      if (quantity != Quantity::time) {
        label = fmt::format("10^{{{}}}", decade);
      } else {
        const std::string_view unit = decade < -3 ? "\xC2\xB5s" : decade < 0 ? "ms" : "s";
        const int power = decade < -3 ? decade + 6 : decade < 0 ? decade + 3 : decade;
        label = power < -2 || power > 3 ? fmt::format("10^{{{}}} {}", power, unit)
                                        : fmt::format("{:g} {}", std::pow(10.0, power), unit);
      }
    }
    list += fmt::format("{}'{}' {}", list.empty() ? "" : ", ", label, decade);
    for (int digit = 2; digit < 10 && decade < to; ++digit) {
      list += fmt::format(", '' {:.6g} 1", decade + std::log10(digit));
    }
  }
  return fmt::format("set {}tics nomirror ({})\n", axis, list);
}

std::string axisTitle(Kernel kernel) {
  const Quantity quantity = gridQuantity(kernel);
  const std::string name(gridName(kernel));
  return quantity == Quantity::time || siUnit(quantity).empty()
             ? name
             : fmt::format("{} ({})", name,
                           quantity == Quantity::diffusion ? "m\xC2\xB2/s" : siUnit(quantity));
}

/// Contours of the shading, in a file of their own.
std::string contourScript(double largest) {
  std::string levels;
  for (double part : {0.1, 0.3, 0.5, 0.7, 0.9}) {
    levels += fmt::format("{}{:.6g}", levels.empty() ? "" : ",", part * largest);
  }
  return fmt::format(R"(set contour base
unset surface
set cntrparam linear
set cntrparam levels discrete {}
set table 'contours.dat'
splot 'map.dat' using 1:2:3
unset table
unset contour
set surface
)",
                     levels);
}

/// The lines on which the two times are equal, and 10 and 100 times each other.
std::string ratioLines(const MapInversion& inversion, const Canvas& canvas) {
  const double left = std::log10(inversion.grid2.front());
  const double right = std::log10(inversion.grid2.back());
  const double bottom = std::log10(inversion.grid1.front());
  const double top = std::log10(inversion.grid1.back());
  std::string script;
  int index = 0;
  for (int decades : {0, 1, 2}) {
    const double from = std::max(left, bottom - decades);
    const double to = std::min(right, top - decades);
    if (!(to > from)) {
      continue;
    }
    script += fmt::format(
        "set arrow {} from {:.6g},{:.6g} to {:.6g},{:.6g} nohead lw {} dt {} lc rgb '#707070' "
        "front\nset label {} '{}' at {:.6g},{:.6g} right offset -0.4,0.2 tc rgb '#606060' {} "
        "front\n",
        index + 1, from, from + decades, to, to + decades, decades == 0 ? 1.4 : 0.9,
        decades == 0 ? 1 : 2, index + 1,
        decades == 0   ? "1"
        : decades == 1 ? "10"
                       : "100",
        to, to + decades, canvas.font(10.0));
    ++index;
  }
  return script;
}

constexpr std::string_view scriptHead = R"(set encoding utf8
unset key
set border 15 lw 1 lc rgb '#404040'
set tics out nomirror scale 0.8,0.4 textcolor rgb '#202020'
set palette defined (0 '#ffffff', 0.08 '#e4eef7', 0.3 '#a6c8e4', 0.55 '#5a9bcb', 0.8 '#21639f', 1 '#0b2f5c')
unset colorbox
)";

}  // namespace

std::string drawMap(const fs::path& picture, const ScratchFolder& scratch,
                    const MapInversion& inversion, const MapContext& context) {
  const Canvas canvas(picture, context.picture, {900, 900});
  const MapView map{inversion.grid1, inversion.grid2, inversion.distribution};
  writeMap(inversion);
  writeProjection("projection1.dat", inversion.grid1, projection1(map));
  writeProjection("projection2.dat", inversion.grid2, projection2(map));
  const std::vector<MapPeak> peaks = mapPeaks(map);
  writePeaks(peaks);
  double largest = 0.0;
  for (std::size_t i = 0; i < inversion.grid1.size(); ++i) {
    for (std::size_t k = 0; k < inversion.grid2.size(); ++k) {
      largest = std::max(
          largest, map.at(i, k) / (decadesAt(inversion.grid1, i) * decadesAt(inversion.grid2, k)));
    }
  }
  const std::string xrange =
      fmt::format("set xrange [{:.7g}:{:.7g}]\n", std::log10(inversion.grid2.front()),
                  std::log10(inversion.grid2.back()));
  const std::string yrange =
      fmt::format("set yrange [{:.7g}:{:.7g}]\n", std::log10(inversion.grid1.front()),
                  std::log10(inversion.grid1.back()));
  const Quantity first = gridQuantity(context.kernel1);
  const Quantity second = gridQuantity(context.kernel2);
  std::string script(scriptHead);
  if (largest > 0.0) {
    script += contourScript(largest);
  }
  script += "set multiplot\n" + xrange + yrange;
  script += decadeTics("x", inversion.grid2, second, true);
  script += decadeTics("y", inversion.grid1, first, true);
  script += fmt::format(R"(set lmargin at screen 0.14
set rmargin at screen 0.80
set bmargin at screen 0.11
set tmargin at screen 0.77
set xlabel {} noenhanced
set ylabel {} noenhanced
set cbrange [0:{:.7g}]
)",
                        scriptQuoted(axisTitle(context.kernel2)),
                        scriptQuoted(axisTitle(context.kernel1)), largest > 0.0 ? largest : 1.0);
  if (bothAreTimes(context)) {
    script += ratioLines(inversion, canvas);
  }
  script += "plot 'map.dat' using 1:2:3 with image pixels";
  if (largest > 0.0) {
    script += ", 'contours.dat' using 1:2 with lines lw 0.8 lc rgb '#12345a'";
  }
  if (!peaks.empty()) {
    script += fmt::format(
        ", 'peaks.dat' using 1:2 with points pt 2 ps 1.1 lw 2 lc rgb '#c8500a'"
        ", '' using 1:2:3 with labels left offset 1,0.9 tc rgb '#a03c00' {}",
        canvas.font(11.0));
  }
  const std::string title = context.picture.title.empty()
                                ? fmt::format("{}: weight {}{}", shortName(context.name),
                                              significant(inversion.weight, 3),
                                              succeeded(inversion) ? "" : " (unsuccessful)")
                                : context.picture.title;
  // Projections beside the map: on top over the second axis, at the right over the first.
  script += fmt::format(
      R"(
unset arrow
unset label
set border 1
set lmargin at screen 0.14
set rmargin at screen 0.80
set bmargin at screen 0.785
set tmargin at screen 0.93
set format x ''
unset xlabel
unset ylabel
unset ytics
{}set yrange [0:*]
set title {} noenhanced {} offset 0,0.3
plot 'projection2.dat' using 1:2 with filledcurves y1=0 fs solid 0.35 noborder lc rgb '#5a9bcb', '' using 1:2 with lines lw 1.6 lc rgb '#21639f'
unset title
set border 2
set lmargin at screen 0.815
set rmargin at screen 0.96
set bmargin at screen 0.11
set tmargin at screen 0.77
unset xtics
{}{}set xrange [0:*]
plot 'projection1.dat' using 2:1 with filledcurves x1=0 fs solid 0.35 noborder lc rgb '#5a9bcb', '' using 2:1 with lines lw 1.6 lc rgb '#21639f'
unset multiplot
set output
)",
      decadeTics("x", inversion.grid2, second, false), scriptQuoted(title), canvas.titleFont(title),
      decadeTics("y", inversion.grid1, first, false), yrange);
  return runGnuplot(picture, canvas.terminal(), scratch, script);
}

}  // namespace vorin::toolkit
