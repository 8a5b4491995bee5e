#include "toolkit/writing/together_picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/writing/axes.hpp"
#include "toolkit/writing/gnuplot.hpp"
#include "toolkit/writing/picture.hpp"
#include "toolkit/writing/picture_parts.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// Okabe and Ito, Color Universal Design, 2008, the dark ones first.
constexpr std::array<std::string_view, 8> palette{"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                  "#e69f00", "#56b4e9", "#000000", "#b8a900"};
constexpr std::array<int, 3> dashes{1, 2, 4};

std::string lineOf(std::size_t index) {
  return fmt::format("lc rgb '{}' dt {}", palette[index % palette.size()],
                     dashes[index / palette.size() % dashes.size()]);
}

/// What all curves have in common: ranges, units, powers.
struct Frame {
  double firstTime;
  double lastTime;
  double firstOnGrid;
  double lastOnGrid;
  PictureAxes axes;
  AxisPower amplitude;
  double largestDensity;
  AxisPower density;
  double step;  ///< from one stacked distribution to the next, as an amplitude per decade
  AmplitudeLabels labels;
};

Frame frameOf(const std::vector<TogetherCurve>& curves, Arrangement arrangement,
              const ReportContext& context) {
  Frame frame{};
  frame.firstTime = curves.front().time.front();
  frame.firstOnGrid = curves.front().distribution.time.front();
  double largest = 0.0;
  for (const TogetherCurve& curve : curves) {
    frame.firstTime = std::min(frame.firstTime, curve.time.front());
    frame.lastTime = std::max(frame.lastTime, curve.time.back());
    frame.firstOnGrid = std::min(frame.firstOnGrid, curve.distribution.time.front());
    frame.lastOnGrid = std::max(frame.lastOnGrid, curve.distribution.time.back());
    largest = std::max(largest, largestMagnitude(curve.amplitude));
    frame.largestDensity =
        std::max(frame.largestDensity, largestMagnitude(perDecade(curve.distribution)));
  }
  frame.axes = pictureAxes(context.kernel, frame.lastTime, frame.lastOnGrid);
  frame.amplitude = powerFor(largest);
  frame.density = powerFor(frame.largestDensity);
  constexpr double overlap = 0.6;  // the tallest reaches a little into the next one
  frame.step = arrangement == Arrangement::stack
                   ? roundStepAbove(overlap * frame.largestDensity / frame.density.size)
                   : 0.0;
  frame.labels = amplitudeLabels(context);
  return frame;
}

void writeData(const fs::path& folder, const std::vector<TogetherCurve>& curves,
               const Frame& frame) {
  for (std::size_t i = 0; i < curves.size(); ++i) {
    const TogetherCurve& curve = curves[i];
    std::ofstream decay(folder / fmt::format("decay{}.dat", i));
    for (std::size_t k = 0; k < curve.time.size(); ++k) {
      decay << fmt::format("{:.8g} {:.8g} {:.8g}\n", curve.time[k] / frame.axes.abscissa.size,
                           curve.amplitude[k] / frame.amplitude.size,
                           curve.fit[k] / frame.amplitude.size);
    }
    const std::vector<double> density = perDecade(curve.distribution);
    const double base = frame.step * static_cast<double>(i);
    std::ofstream distribution(folder / fmt::format("distribution{}.dat", i));
    for (std::size_t k = 0; k < density.size(); ++k) {
      distribution << fmt::format("{:.8g} {:.8g} {:.8g}\n",
                                  curve.distribution.time[k] / frame.axes.grid.size,
                                  base + density[k] / frame.density.size, base);
    }
  }
}

std::string decayPanel(const std::vector<TogetherCurve>& curves, const Frame& frame) {
  const bool logAxis = frame.firstTime > 0.0 && frame.lastTime >= 100.0 * frame.firstTime;
  const double unit = frame.axes.abscissa.size;
  std::string script = fmt::format(
      "{} logscale x\nset xrange [{:.8g}:{:.8g}]\nset format x '%g'\nset xlabel {} offset 0,0.3\n"
      "set ylabel {}\nplot ",
      logAxis ? "set" : "unset", (logAxis ? 0.8 : 1.0) * frame.firstTime / unit,
      (logAxis ? 1.25 : 1.0) * frame.lastTime / unit, scriptQuoted(frame.axes.abscissaLabel),
      scriptQuoted(withPower(frame.amplitude, frame.labels.amplitude)));
  for (std::size_t i = 0; i < curves.size(); ++i) {
    script +=
        fmt::format("{0}'decay{1}.dat' using 1:2 with points pt 7 ps 0.35 lc rgb '#a0{2}' notitle",
                    i == 0 ? "" : ", ", i, palette[i % palette.size()].substr(1));
  }
  for (std::size_t i = 0; i < curves.size(); ++i) {
    script += fmt::format(", 'decay{}.dat' using 1:3 with lines lw 1.6 {} notitle", i, lineOf(i));
  }
  return script + '\n';
}

std::string distributionPanel(const std::vector<TogetherCurve>& curves, const Frame& frame,
                              const ReportContext& context) {
  const double unit = frame.axes.grid.size;
  std::string label = frame.labels.density;
  if (frame.step > 0.0) {
    label += fmt::format(", each {:g} above the one before", frame.step);
  }
  std::string script = fmt::format(
      "unset title\nset logscale x\nset xrange [{:.8g}:{:.8g}]\nset yrange [0:*]\nset xlabel {} "
      "offset 0,0.3\nset ylabel {}\n{}",
      frame.firstOnGrid / unit, frame.lastOnGrid / unit, scriptQuoted(frame.axes.gridLabel),
      scriptQuoted(withPower(frame.density, label)),
      logTicsScript('x', frame.firstOnGrid / unit, frame.lastOnGrid / unit, 0.06));
  int arrow = 1;
  for (double cutoff : context.measures.cutoffs) {
    script += fmt::format(
        "set arrow {1} from {0:.8g}, graph 0 to {0:.8g}, graph 1 nohead lw 1.2 dt 3 lc rgb "
        "'#303030' front\n",
        cutoff / unit, arrow++);
  }
  std::string plots;
  const auto add = [&](const std::string& plot) {
    plots += (plots.empty() ? "plot " : ", ") + plot;
  };
  // The upper ones first, so that a lower one is in front of what it reaches into.
  for (std::size_t i = curves.size(); frame.step > 0.0 && i-- > 0;) {
    add(fmt::format(
        "'distribution{}.dat' using 1:3:2 with filledcurves fs solid 0.2 noborder lc rgb "
        "'{}' notitle",
        i, palette[i % palette.size()]));
  }
  for (std::size_t i = 0; i < curves.size(); ++i) {
    add(fmt::format("'distribution{}.dat' using 1:2 with lines lw 2 {} title {}", i, lineOf(i),
                    scriptQuoted(shortName(curves[i].name))));
  }
  if (!context.measures.cutoffs.empty()) {
    add("NaN with lines lw 1.2 dt 3 lc rgb '#303030' title 'cutoff'");
  }
  return script + plots + '\n';
}

std::vector<double> chosen(const std::vector<double>& values, const std::vector<std::size_t>& at) {
  std::vector<double> result;
  result.reserve(at.size());
  for (std::size_t i : at) {
    result.push_back(values[i]);
  }
  return result;
}

}  // namespace

TogetherCurve togetherCurve(const Inversion& inversion, const ReportContext& context) {
  const Decay& decay = context.decay;
  const std::vector<std::size_t> seen = seenSamples(decay.time, decay.amplitude, inversion.fit);
  return {context.name, chosen(decay.time, seen), chosen(decay.amplitude, seen),
          chosen(inversion.fit, seen), inversion.distribution};
}

std::string drawTogether(const fs::path& picture, const PrivateFolder& scratch,
                         const std::vector<TogetherCurve>& curves, Arrangement arrangement,
                         const ReportContext& context) {
  constexpr PictureSize usual{1000, 1050};
  const Frame frame = frameOf(curves, arrangement, context);
  writeData(scratch.path(), curves, frame);
  const Canvas canvas(picture, context.picture, usual);
  const std::string title =
      context.picture.title.empty()
          ? fmt::format("{} decay{}", curves.size(), curves.size() == 1 ? "" : "s")
          : context.picture.title;
  // The legend stands between the panels, three names in a row.
  constexpr double rowHeight = 0.021;
  const std::size_t entries = curves.size() + (context.measures.cutoffs.empty() ? 0 : 1);
  const std::size_t legendRows = (entries + 2) / 3;
  const double legend = rowHeight * static_cast<double>(legendRows);
  constexpr double decayBottom = 0.60;
  constexpr double labels = 0.075;
  const std::string script = fmt::format(
      "{}set lmargin at screen 0.12\nset rmargin at screen 0.96\nset multiplot\n"
      "set title {} noenhanced {} offset 0,0.3\nset tmargin at screen 0.94\n"
      "set bmargin at screen {}\nunset key\n{}"
      "set key at screen 0.12,{} left top horizontal reverse Left noenhanced samplen 2 maxcols 3 "
      "width 1 {}\nset tmargin at screen {}\nset bmargin at screen 0.075\n{}"
      "unset multiplot\nset output\n",
      panelScript, scriptQuoted(title), canvas.titleFont(title), decayBottom,
      decayPanel(curves, frame), decayBottom - labels + 0.012, canvas.font(10.0),
      decayBottom - labels - legend, distributionPanel(curves, frame, context));
  return runGnuplot(picture, canvas.terminal(), scratch, script);
}

}  // namespace vorin::toolkit
