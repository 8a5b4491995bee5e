#include "toolkit/writing/report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/writing/summary_lines.hpp"

namespace vorin::toolkit {

namespace {

using Lines = std::back_insert_iterator<std::string>;

/// A line with its label. What follows in lines of its own is indented below it.
void line(Lines out, std::string_view label, std::string_view text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  fmt::format_to(out, "  {:<16}{}\n", label, text.substr(0, end));
  if (end < text.size()) {
    line(out, "", text.substr(end + 1));
  }
}

void lines(Lines out, const std::vector<FoundLine>& told) {
  for (const FoundLine& one : told) {
    line(out, one.label, one.text);
  }
}

/// "(4.10 ms to 4.35 ms)", each end by `text`; nothing without an interval.
template <class Text>
std::string intervalText(const Measure& measure, Text text) {
  return measure.interval ? fmt::format("  ({} to {})", text(measure.interval->lower),
                                        text(measure.interval->upper))
                          : std::string();
}

void peakLines(Lines out, const std::vector<MeasuredPeak>& found, Quantity quantity) {
  const auto position = [&](double value) { return quantityText(value, quantity); };
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
      line(out, "", tooNarrowText());
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

std::string partName(double from, double to, Quantity quantity, UnitStyle style) {
  if (!(from > 0.0)) {
    return "below " + quantityText(to, quantity, style);
  }
  return std::isinf(to) ? "above " + quantityText(from, quantity, style)
                        : fmt::format("{} to {}", quantityText(from, quantity, style),
                                      quantityText(to, quantity, style));
}

std::string summary(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  fmt::format_to(out, "{}: {}\n", inOneLine(context.name), sampleText(context));
  lines(out, dataLines(inversion, context));
  lines(out, inversionLines(inversion, context));
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
  lines(out, measureNotes(measures));
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
