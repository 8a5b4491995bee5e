#include "toolkit/writing/lcurve_picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <utility>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/writing/gnuplot.hpp"
#include "toolkit/writing/picture_parts.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// An axis in logarithms, with some room at both ends.
struct Axis {
  double from = 0.0;
  double to = 0.0;

  /// The position of `value` along the axis, 0 to 1.
  double place(double value) const { return std::log(value / from) / std::log(to / from); }
};

Axis axisOf(const std::vector<double>& values, double roomBelow, double roomAbove) {
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  // A curve of no height still needs an axis.
  const double length = std::max(std::log(*most / *least), 0.01);
  return {*least * std::exp(-roomBelow * length), *most * std::exp(roomAbove * length)};
}

/// The weight beside each point that has room for it. The free side of a falling curve is its
/// upper right. A label that would cover an earlier one or the key is omitted.
std::string labels(const LCurve& curve, const Axis& x, const Axis& y, const Canvas& canvas) {
  constexpr double pictureWidth = 0.10;
  constexpr double pictureHeight = 0.045;
  const auto placeOf = [&](const LCurvePoint& point) {
    return std::pair(x.place(point.residualNorm), y.place(point.solutionNorm));
  };
  std::vector<std::pair<double, double>> placed{placeOf(curve.points.at(curve.corner)),
                                                placeOf(curve.used)};
  std::string text;
  for (const LCurvePoint& point : curve.points) {
    const bool free = std::none_of(placed.begin(), placed.end(), [&](const auto& other) {
      return std::fabs(other.first - x.place(point.residualNorm)) < pictureWidth &&
             std::fabs(other.second - y.place(point.solutionNorm)) < pictureHeight;
    });
    if (free) {
      placed.push_back(placeOf(point));
      text += fmt::format(
          "set label '{}' at {:.10g},{:.10g} left offset 0.7,0.6 {} tc rgb '#505050'\n",
          significant(point.weight, 3), point.residualNorm, point.solutionNorm, canvas.font(10.0));
    }
  }
  return text;
}

constexpr double gapAcross = 0.09;  // of the axis: what a label takes
constexpr double gapUp = 0.05;

constexpr std::string_view curveScript = R"(set logscale xy
set key at graph 1, 0.99 right top reverse Left noenhanced samplen 2 width 1 spacing 1.2
)";

/// What the norms are in, behind their names.
std::string normUnit(const ReportContext& context) {
  const std::string& own = context.picture.amplitudeLabel;
  return !own.empty()                     ? ": " + own
         : !context.amplitudeUnit.empty() ? fmt::format(" ({})", context.amplitudeUnit)
                                          : " (unit of the data)";
}

}  // namespace

std::string drawLCurve(const fs::path& picture, const PrivateFolder& scratch, const LCurve& curve,
                       const ReportContext& context) {
  std::vector<double> residualNorms{curve.used.residualNorm};
  std::vector<double> solutionNorms{curve.used.solutionNorm};
  std::string rows;
  for (const LCurvePoint& point : curve.points) {
    residualNorms.push_back(point.residualNorm);
    solutionNorms.push_back(point.solutionNorm);
    rows += fmt::format("{:.10g} {:.10g}\n", point.residualNorm, point.solutionNorm);
  }
  const auto writePoint = [&](const char* file, const LCurvePoint& point) {
    std::ofstream(scratch.path() / file)
        << fmt::format("{:.10g} {:.10g}\n", point.residualNorm, point.solutionNorm);
  };
  const LCurvePoint& corner = curve.points.at(curve.corner);
  std::ofstream(scratch.path() / "points.dat") << rows;
  writePoint("corner.dat", corner);
  writePoint("used.dat", curve.used);
  const Axis x = axisOf(residualNorms, 0.05, 0.13);
  const Axis y = axisOf(solutionNorms, 0.06, 0.10);
  const std::string title =
      context.picture.title.empty()
          ? fmt::format("{}: L-curve, weights beside their points", shortName(context.name))
          : context.picture.title;
  const std::string unit = normUnit(context);
  const Canvas canvas(picture, context.picture, {1000, 700});
  std::string script =
      fmt::format("{}{}set xlabel {} noenhanced\nset ylabel {} noenhanced\n", panelScript,
                  curveScript, scriptQuoted(fmt::format("norm of the residual, |K f - d|{}", unit)),
                  scriptQuoted(fmt::format("norm of the distribution, |f|{}", unit)));
  script += fmt::format("set xrange [{:.10g}:{:.10g}]\nset yrange [{:.10g}:{:.10g}]\n", x.from,
                        x.to, y.from, y.to);
  script += logTicsScript('x', x.from, x.to, gapAcross) + logTicsScript('y', y.from, y.to, gapUp) +
            labels(curve, x, y, canvas);
  script +=
      fmt::format("set title {} noenhanced {}\n", scriptQuoted(title), canvas.titleFont(title));
  script += fmt::format(
      R"(plot 'points.dat' with linespoints lw 1.6 pt 7 ps 0.8 lc rgb '#0072b2' title 'the 17 weights of the search', \
     'corner.dat' with points pt 6 ps 2.4 lw 2 lc rgb '#303030' title 'corner: {}', \
     'used.dat' with points pt 2 ps 2 lw 2.4 lc rgb '#d55e00' title 'weight of the result: {}'
set output
)",
      significant(corner.weight, 3), significant(curve.used.weight, 3));
  return runGnuplot(picture, canvas.terminal(), scratch, script);
}

}  // namespace vorin::toolkit
