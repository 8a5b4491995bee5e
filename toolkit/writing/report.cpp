#include "toolkit/writing/report.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string_view>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

namespace {

using Lines = std::back_insert_iterator<std::string>;

void line(Lines out, std::string_view label, std::string_view text) {
  fmt::format_to(out, "  {:<16}{}\n", label, text);
}

std::string noiseText(const Inversion& inversion) {
  if (inversion.noiseOrigin != NoiseOrigin::none) {
    return fmt::format("{} ({})", significant(inversion.noise), originText(inversion.noiseOrigin));
  }
  return "not known";
}

std::string weightText(const Inversion& inversion) {
  const std::string weight = significant(inversion.weight);
  switch (inversion.mode) {
    case WeightMode::fixed:
      return inversion.passes == 0
                 ? fmt::format("{} (given)", weight)
                 : fmt::format("{} (given), {}", weight,
                               inversion.passes == 1
                                   ? "1 pass of the solver"
                                   : fmt::format("{} passes of the solver", inversion.passes));
    case WeightMode::corner:
      return inversion.weight == inversion.cornerWeight
                 ? fmt::format("{} (corner of the L-curve)", weight)
                 : fmt::format("{} ({} times that of the L-curve's corner, {})", weight,
                               significant(inversion.weight / inversion.cornerWeight, 3),
                               significant(inversion.cornerWeight));
    case WeightMode::automatic:
      return fmt::format("{} (chosen from the data)", weight);
    case WeightMode::noise:
      break;
  }
  return fmt::format("{} after {} iteration{}", weight, inversion.weightSteps,
                     inversion.weightSteps == 1 ? "" : "s");
}

std::string errorText(const Inversion& inversion) {
  std::string text;
  if (inversion.mode == WeightMode::noise) {
    text = fmt::format("wanted {}, ", significant(inversion.wantedError));
  }
  return text +
         fmt::format("reached {}; {} over all samples", significant(inversion.reachedError),
                     significant(inversion.fitError)) +
         (inversion.rejected.empty() ? "" : " kept");
}

/// What piles up at an end of the grid below this share is the decay's offset.
constexpr double smallShare = 0.01;

/// "(4.10 ms to 4.35 ms)", each end by `text`; nothing without an interval.
template <class Text>
std::string intervalText(const Measure& measure, Text text) {
  return measure.interval ? fmt::format("  ({} to {})", text(measure.interval->lower),
                                        text(measure.interval->upper))
                          : std::string();
}

void peakLines(Lines out, const std::vector<MeasuredPeak>& found, Quantity quantity) {
  const auto position = [&](double value) { return quantityText(value, quantity); };
  double shareAtEnd = 0.0;
  for (const MeasuredPeak& peak : found) {
    line(
        out, &peak == &found.front() ? (found.size() == 1 ? "peak" : "peaks") : "",
        fmt::format("{:>8}  {:>7}  {:>5.2f} decades wide, centre {}{}",
                    position(peak.position.value), percentText(peak.share.value), peak.width.value,
                    position(peak.centre.value), peak.atGridEnd ? "  at the end of the grid" : ""));
    if (peak.position.interval) {
      line(out, "",
           fmt::format("position{}, share{}, centre{}", intervalText(peak.position, position),
                       intervalText(peak.share, percentText), intervalText(peak.centre, position)));
    }
    shareAtEnd += peak.atGridEnd ? peak.share.value : 0.0;
  }
  if (shareAtEnd > smallShare) {
    line(out, "note",
         "a peak is at the end of the grid: take a wider one (--grid) or a longer decay");
  }
}

/// The amounts between the cutoffs.
void partLines(Lines out, const Measures& measures, const ReportContext& context) {
  for (const MeasuredPart& part : measures.parts) {
    line(out, &part == &measures.parts.front() ? "cutoffs" : "",
         fmt::format("{:<22}  {:>9}  {:>7}{}",
                     partName(part.from, part.to, gridQuantity(context.kernel)),
                     amplitudeText(part.amount.value, context.amplitudeUnit),
                     percentText(part.share.value), intervalText(part.share, percentText)));
  }
}

/// The arithmetic mean and the percentiles; with intervals a line each.
void percentileLines(Lines out, const Measures& measures, Quantity quantity) {
  const auto text = [&](double value) { return quantityText(value, quantity); };
  line(out, "mean", text(measures.mean.value) + intervalText(measures.mean, text));
  std::string inOne;
  for (const MeasuredPercentile& one : measures.percentiles) {
    const std::string shown = fmt::format("{:g} %: {}", one.percent, text(one.time.value));
    if (one.time.interval) {
      line(out, &one == &measures.percentiles.front() ? "percentiles" : "",
           shown + intervalText(one.time, text));
    } else {
      inOne += (inOne.empty() ? "" : ", ") + shown;
    }
  }
  if (!inOne.empty()) {
    line(out, "percentiles", inOne);
  }
}

std::string kernelText(const ReportContext& context) {
  return context.kernel == Kernel::matrix ? "matrix " + inOneLine(context.kernelFile)
                                          : std::string(kernelFormula(context.kernel));
}

/// What the summary says about the data themselves.
void dataLines(Lines out, const Inversion& inversion, const ReportContext& context) {
  const std::vector<double>& t = context.decay.time;
  const Quantity abscissa = abscissaQuantity(context.kernel);
  fmt::format_to(out, "{}: {} samples from {} to {}\n", inOneLine(context.name), t.size(),
                 quantityText(t.front(), abscissa), quantityText(t.back(), abscissa));
  for (const FoundLine& told : context.found) {
    line(out, told.label, told.text);
  }
  if (context.phase) {
    const std::string noise = context.decay.quadratureNoise
                                  ? significant(*context.decay.quadratureNoise)
                                  : std::string("0");
    line(out, "phase",
         fmt::format("complex data turned back by {:.2f} degrees, imaginary noise {}",
                     *context.phase * 180.0 / std::numbers::pi, noise));
  }
  const std::vector<double>& grid = inversion.distribution.time;
  const Quantity onGrid = gridQuantity(context.kernel);
  line(out, "kernel",
       fmt::format("{}, {} {} from {} to {}", kernelText(context), grid.size(),
                   onGrid == Quantity::time        ? "times"
                   : onGrid == Quantity::diffusion ? "coefficients"
                                                   : "values",
                   quantityText(grid.front(), onGrid), quantityText(grid.back(), onGrid)));
}

/// "sample 2 lies" or "samples 1, 2 lie", which counts the `places` from 1.
std::string samplesLie(const std::vector<std::size_t>& places) {
  std::vector<std::size_t> numbers;
  std::transform(places.begin(), places.end(), std::back_inserter(numbers),
                 [](std::size_t place) { return place + 1; });
  return fmt::format("{} {} {}", places.size() == 1 ? "sample" : "samples",
                     fmt::join(numbers, ", "), places.size() == 1 ? "lies" : "lie");
}

/// What the data decided beside noise and weight, and what they hint at.
void choiceLines(Lines out, const Inversion& inversion, const ReportContext& context) {
  const std::vector<double>& grid = inversion.distribution.time;
  const Quantity onGrid = gridQuantity(context.kernel);
  if (inversion.mode == WeightMode::automatic &&
      (inversion.firstColumn > 0 || inversion.lastColumn + 1 < grid.size())) {
    line(out, "support",
         fmt::format("{} to {}, where the data hold signal",
                     quantityText(grid[inversion.firstColumn], onGrid),
                     quantityText(grid[inversion.lastColumn], onGrid)));
  }
  if (inversion.offset) {
    line(out, "baseline", fmt::format("{} beside the curve", significant(*inversion.offset)));
  }
  if (inversion.efficiency) {
    line(out, "efficiency", fmt::format("{:.3f} of the inversion", *inversion.efficiency));
  }
  if (!inversion.spoiled.empty()) {
    line(out, "note",
         fmt::format("{} off every curve: left out; more by hand (--skip N)",
                     samplesLie(inversion.spoiled)));
  }
  if (!inversion.offCurve.empty()) {
    line(out, "note",
         fmt::format("{} off every curve; leave such out by --reject-outliers robust, or --skip N",
                     samplesLie(inversion.offCurve)));
  }
  constexpr double uncertain = 0.15;
  if (inversion.noiseSpread > uncertain) {
    line(out, "note",
         fmt::format("so few samples tell their noise to {:.0f} % only; give it if you know it "
                     "(--noise)",
                     100.0 * inversion.noiseSpread));
  }
  if (inversion.finding.kind != FindingKind::none &&
      (succeeded(inversion) || !inversion.finding.fatal())) {
    line(out, "note", findingText(inversion.finding));
  }
}

/// The log mean with its interval and the true one.
void logMeanLines(Lines out, double mean, const ReportContext& context) {
  const Quantity onGrid = gridQuantity(context.kernel);
  line(out, "log mean",
       fmt::format("{} of {}", quantityText(mean, onGrid), relaxationTimeName(context.kernel)));
  if (context.band) {
    line(out, "68 % interval",
         fmt::format("{} to {}, by a bootstrap of {} replicates",
                     quantityText(context.band->logMeanLower, onGrid),
                     quantityText(context.band->logMeanUpper, onGrid), context.band->replicates));
    if (context.band->intervalTooNarrow) {
      line(out, "", "too narrow: a broad peak may be several, which noise alone does not show");
    }
  }
  if (context.truth) {
    const double truth = logMean(*context.truth);
    line(out, "true log mean",
         fmt::format("{}, the one found is off by {:+.1f} %", quantityText(truth, onGrid),
                     100.0 * (mean / truth - 1.0)));
  }
}

}  // namespace

std::optional<double> signalToNoise(const Inversion& inversion, const Decay& decay) {
  if (!(inversion.noise > 0.0)) {
    return std::nullopt;
  }
  return largestMagnitude(decay.amplitude) / inversion.noise;
}

Measures measuresOf(const Inversion& inversion, const ReportContext& context) {
  return measuresOf(inversion.distribution, context.measures,
                    context.band ? &*context.band : nullptr);
}

std::string amplitudeText(double amplitude, std::string_view unit) {
  return significant(amplitude) + (unit.empty() ? "" : fmt::format(" {}", unit));
}

std::string partName(double from, double to, Quantity quantity) {
  if (!(from > 0.0)) {
    return "below " + quantityText(to, quantity);
  }
  return std::isinf(to)
             ? "above " + quantityText(from, quantity)
             : fmt::format("{} to {}", quantityText(from, quantity), quantityText(to, quantity));
}

std::string summary(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  dataLines(out, inversion, context);
  line(out, "status", fmt::format("{} ({})", statusText(inversion), inversion.status));
  line(out, "noise", noiseText(inversion));
  if (const std::optional<double> ratio = signalToNoise(inversion, context.decay)) {
    line(out, "signal to noise", significant(*ratio, 3));
  }
  if (inversion.soughtOutliers) {
    const std::size_t count = inversion.rejected.size();
    line(out, "outliers",
         fmt::format("{} of {} samples left out", count == 0 ? "none" : std::to_string(count),
                     context.decay.time.size()));
    constexpr std::size_t suspicious = 20;  // one in so many
    if (count * suspicious > context.decay.time.size()) {
      line(out, "note",
           "these are many for outliers; --reject-outliers robust holds samples against another "
           "fit");
    }
  }
  line(out, "weight", weightText(inversion));
  line(out, "standard error", errorText(inversion));
  choiceLines(out, inversion, context);
  if (inversion.relaxedTarget > 0.0) {
    line(out, "note",
         fmt::format("no fit of the binned samples comes closer than {}, which took the place of\n"
                     "{:18}the noise; first samples off the curve may be the reason (--skip N)",
                     significant(inversion.relaxedTarget), ""));
  }
  const Measures measures = measuresOf(inversion, context);
  const auto amplitude = [&](double value) { return amplitudeText(value, context.amplitudeUnit); };
  line(out, "total amplitude",
       amplitude(measures.total.value) + intervalText(measures.total, amplitude));
  const double mean = measures.logMean.value;
  if (std::isnan(mean)) {
    line(out, "log mean", "none: the distribution is empty");
    return text;
  }
  logMeanLines(out, mean, context);
  percentileLines(out, measures, gridQuantity(context.kernel));
  partLines(out, measures, context);
  peakLines(out, measures.peaks, gridQuantity(context.kernel));
  return text;
}

std::string distributionCsv(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  const Distribution& found = inversion.distribution;
  const std::string_view unit = siUnit(gridQuantity(context.kernel));
  fmt::format_to(out,
                 "# distribution of {}, kernel {}; status {}, weight {:.6g}, log mean {:.6g}{}{}\n",
                 inOneLine(context.name), kernelText(context), inversion.status, inversion.weight,
                 logMean(found), unit.empty() ? "" : " ", unit);
  fmt::format_to(out, "{},amplitude{},cumulative\n", gridColumn(context.kernel),
                 context.band ? ",lower,upper" : "");
  const std::vector<double> sums = cumulative(found);
  for (std::size_t k = 0; k < found.time.size(); ++k) {
    fmt::format_to(out, "{:.8g},{:.8g}", found.time[k], found.amplitude[k]);
    if (context.band) {
      fmt::format_to(out, ",{:.8g},{:.8g}", context.band->lower[k], context.band->upper[k]);
    }
    fmt::format_to(out, ",{:.8g}\n", sums[k]);
  }
  return text;
}

std::string fitCsv(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  fmt::format_to(out, "# fit of {}, kernel {}; status {}, weight {:.6g}\n", inOneLine(context.name),
                 kernelText(context), inversion.status, inversion.weight);
  fmt::format_to(out, "{},amplitude,fit,residual\n", abscissaColumn(context.kernel));
  for (std::size_t i = 0; i < context.decay.time.size(); ++i) {
    const double amplitude = context.decay.amplitude[i];
    fmt::format_to(out, "{:.8g},{:.8g},{:.8g},{:.8g}\n", context.decay.time[i], amplitude,
                   inversion.fit[i], amplitude - inversion.fit[i]);
  }
  return text;
}

}  // namespace vorin::toolkit
