#include "common/report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <string_view>

#include "common/measures.hpp"
#include "common/numbers.hpp"

namespace vorin::host {

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
constexpr double kSmallShare = 0.01;

void peakLines(Lines out, const Distribution& distribution) {
  const std::vector<Peak> found = peaks(distribution);
  double shareAtEnd = 0.0;
  for (const Peak& peak : found) {
    line(out, &peak == &found.front() ? (found.size() == 1 ? "peak" : "peaks") : "",
         fmt::format("{:>8}  {:>7}{}", timeText(peak.time), percentText(peak.share),
                     peak.atGridEnd ? "  at the end of the grid" : ""));
    shareAtEnd += peak.atGridEnd ? peak.share : 0.0;
  }
  if (shareAtEnd > kSmallShare) {
    line(out, "note", "a peak at the end of the grid wants a wider one (--grid) or a longer decay");
  }
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

/// A file name as part of a comment line.
std::string inOneLine(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return c < ' '; }, '?');
  return name;
}

}  // namespace

std::string summary(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  const Distribution& found = inversion.distribution;
  fmt::format_to(out, "{}: {} samples from {} to {}\n", inOneLine(context.name),
                 context.decay.time.size(), timeText(context.decay.time.front()),
                 timeText(context.decay.time.back()));
  line(out, "kernel",
       fmt::format("{}, {} times from {} to {}", kernelFormula(context.kernel), found.time.size(),
                   timeText(found.time.front()), timeText(found.time.back())));
  line(out, "status", fmt::format("{} ({})", statusText(inversion), inversion.status));
  line(out, "noise", noiseText(inversion));
  if (!inversion.rejected.empty()) {
    line(out, "outliers",
         fmt::format("{} of {} samples left out", inversion.rejected.size(),
                     context.decay.time.size()));
  }
  line(out, "weight", weightText(inversion));
  line(out, "standard error", errorText(inversion));
  if (inversion.raisedAim > 0.0) {
    line(out, "note",
         fmt::format("no fit of the binned samples comes closer than {}, which took the place of\n"
                     "{:18}the noise; first samples off the curve may be the reason (--skip N)",
                     significant(inversion.raisedAim), ""));
  }
  line(out, "total amplitude", significant(totalAmplitude(found)));
  const double mean = logMean(found);
  if (std::isnan(mean)) {
    line(out, "log mean", "none: the distribution is empty");
    return text;
  }
  line(out, "log mean",
       fmt::format("{} of {}", timeText(mean), relaxationTimeName(context.kernel)));
  if (context.band) {
    line(out, "68 % interval",
         fmt::format("{} to {}, by a bootstrap of {} replicates",
                     timeText(context.band->logMeanLower), timeText(context.band->logMeanUpper),
                     context.band->replicates));
  }
  if (context.truth) {
    const double truth = logMean(*context.truth);
    line(out, "true log mean",
         fmt::format("{}, the one found is off by {:+.1f} %", timeText(truth),
                     100.0 * (mean / truth - 1.0)));
  }
  peakLines(out, found);
  return text;
}

std::string distributionCsv(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  const Distribution& found = inversion.distribution;
  fmt::format_to(out,
                 "# distribution of {}, kernel {}; status {}, weight {:.6g}, log mean {:.6g} s\n",
                 inOneLine(context.name), kernelFormula(context.kernel), inversion.status,
                 inversion.weight, logMean(found));
  fmt::format_to(out, "{}_s,amplitude{}\n", lowerCase(relaxationTimeName(context.kernel)),
                 context.band ? ",lower,upper" : "");
  for (std::size_t k = 0; k < found.time.size(); ++k) {
    fmt::format_to(out, "{:.8g},{:.8g}", found.time[k], found.amplitude[k]);
    if (context.band) {
      fmt::format_to(out, ",{:.8g},{:.8g}", context.band->lower[k], context.band->upper[k]);
    }
    text += '\n';
  }
  return text;
}

std::string fitCsv(const Inversion& inversion, const ReportContext& context) {
  std::string text;
  const Lines out = std::back_inserter(text);
  fmt::format_to(out, "# fit of {}, kernel {}; status {}, weight {:.6g}\n", inOneLine(context.name),
                 kernelFormula(context.kernel), inversion.status, inversion.weight);
  fmt::format_to(out, "time_s,amplitude,fit,residual\n");
  for (std::size_t i = 0; i < context.decay.time.size(); ++i) {
    const double amplitude = context.decay.amplitude[i];
    fmt::format_to(out, "{:.8g},{:.8g},{:.8g},{:.8g}\n", context.decay.time[i], amplitude,
                   inversion.fit[i], amplitude - inversion.fit[i]);
  }
  return text;
}

}  // namespace vorin::host
