#include "toolkit/writing/summary_lines.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <optional>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

namespace {

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

/// "sample 2 lies" or "samples 1, 2 lie", which counts the `places` from 1.
std::string samplesLie(const std::vector<std::size_t>& places) {
  std::vector<std::size_t> numbers;
  std::transform(places.begin(), places.end(), std::back_inserter(numbers),
                 [](std::size_t place) { return place + 1; });
  return fmt::format("{} {} {}", places.size() == 1 ? "sample" : "samples",
                     fmt::join(numbers, ", "), places.size() == 1 ? "lies" : "lie");
}

using Lines = std::vector<FoundLine>;

void outlierLines(Lines& lines, const Inversion& inversion, const ReportContext& context) {
  if (!inversion.soughtOutliers) {
    return;
  }
  const std::size_t count = inversion.rejected.size();
  lines.push_back({"outliers", fmt::format("{} of {} samples left out",
                                           count == 0 ? "none" : std::to_string(count),
                                           context.decay.time.size())});
  constexpr std::size_t suspicious = 20;  // one in so many
  if (count * suspicious > context.decay.time.size()) {
    lines.push_back({noteLabel,
                     "these are many for outliers; --reject-outliers robust holds samples against "
                     "another fit"});
  }
}

/// What the data decided beside noise and weight, and what they hint at.
void choiceLines(Lines& lines, const Inversion& inversion, const ReportContext& context) {
  const std::vector<double>& grid = inversion.distribution.time;
  const Quantity onGrid = gridQuantity(context.kernel);
  if (inversion.mode == WeightMode::automatic &&
      (inversion.firstColumn > 0 || inversion.lastColumn + 1 < grid.size())) {
    lines.push_back(
        {"support", fmt::format("{} to {}, where the data hold signal",
                                quantityText(grid[inversion.firstColumn], onGrid, context.units),
                                quantityText(grid[inversion.lastColumn], onGrid, context.units))});
  }
  if (inversion.offset) {
    lines.push_back(
        {"baseline", fmt::format("{} beside the curve", significant(*inversion.offset))});
  }
  if (inversion.efficiency) {
    lines.push_back({"efficiency", fmt::format("{:.3f} of the inversion", *inversion.efficiency)});
  }
  if (inversion.flip) {
    lines.push_back(
        {"flip", fmt::format("{:g} degrees, of the refocusing pulses", *inversion.flip)});
  }
  if (!inversion.floor.empty()) {
    lines.push_back({"floor", fmt::format("of magnitudes, up to {} in the last samples",
                                          significant(inversion.floor.back()))});
  }
  if (!inversion.spoiled.empty()) {
    lines.push_back({noteLabel, fmt::format("{} off every curve: left out; more by hand (--skip N)",
                                            samplesLie(inversion.spoiled))});
  }
  if (!inversion.offCurve.empty()) {
    lines.push_back(
        {noteLabel,
         fmt::format("{} off every curve; leave such out by --reject-outliers robust, or --skip N",
                     samplesLie(inversion.offCurve))});
  }
  constexpr double uncertain = 0.15;
  if (inversion.noiseSpread > uncertain) {
    lines.push_back(
        {noteLabel,
         fmt::format("so few samples tell their noise to {:.0f} % only; give it if you know it "
                     "(--noise)",
                     100.0 * inversion.noiseSpread)});
  }
  if (inversion.finding.kind != FindingKind::none &&
      (succeeded(inversion) || !inversion.finding.fatal())) {
    lines.push_back({noteLabel, findingText(inversion.finding)});
  }
}

}  // namespace

std::string sampleText(const ReportContext& context) {
  const std::vector<double>& t = context.decay.time;
  const Quantity abscissa = abscissaQuantity(context.kernel);
  return fmt::format("{} samples from {} to {}", t.size(),
                     quantityText(t.front(), abscissa, context.units),
                     quantityText(t.back(), abscissa, context.units));
}

std::string kernelText(const ReportContext& context) {
  return context.kernel == Kernel::matrix ? "matrix " + inOneLine(context.kernelFile)
                                          : std::string(kernelFormula(context.kernel));
}

std::string_view tooNarrowText() {
  return "too narrow: a broad peak may be several, which noise alone does not show";
}

Lines dataLines(const Inversion& inversion, const ReportContext& context) {
  Lines lines = context.found;
  if (context.phase) {
    const std::string noise = context.decay.quadratureNoise
                                  ? significant(*context.decay.quadratureNoise)
                                  : std::string("0");
    lines.push_back(
        {"phase", fmt::format("complex data turned back by {:.2f} degrees, imaginary noise {}",
                              *context.phase * 180.0 / std::numbers::pi, noise)});
  }
  const std::vector<double>& grid = inversion.distribution.time;
  const Quantity onGrid = gridQuantity(context.kernel);
  lines.push_back(
      {"kernel", fmt::format("{}, {} {} from {} to {}", kernelText(context), grid.size(),
                             onGrid == Quantity::time        ? "times"
                             : onGrid == Quantity::diffusion ? "coefficients"
                                                             : "values",
                             quantityText(grid.front(), onGrid, context.units),
                             quantityText(grid.back(), onGrid, context.units))});
  return lines;
}

Lines inversionLines(const Inversion& inversion, const ReportContext& context) {
  Lines lines{{"status", fmt::format("{} ({})", statusText(inversion), inversion.status)},
              {"noise", noiseText(inversion)}};
  if (const std::optional<double> ratio = signalToNoise(inversion, context.decay)) {
    lines.push_back({"signal to noise", significant(*ratio, 3)});
  }
  outlierLines(lines, inversion, context);
  lines.push_back({"weight", weightText(inversion)});
  lines.push_back({"standard error", errorText(inversion)});
  choiceLines(lines, inversion, context);
  if (inversion.relaxedTarget > 0.0) {
    lines.push_back(
        {noteLabel,
         fmt::format("no fit of the binned samples comes closer than {}, which took the place of\n"
                     "the noise; first samples off the curve may be the reason (--skip N)",
                     significant(inversion.relaxedTarget))});
  }
  return lines;
}

Lines measureNotes(const Measures& measures) {
  // What piles up at an end of the grid below this share is the decay's offset.
  constexpr double smallShare = 0.01;
  double shareAtEnd = 0.0;
  for (const MeasuredPeak& peak : measures.peaks) {
    shareAtEnd += peak.atGridEnd ? peak.share.value : 0.0;
  }
  if (shareAtEnd > smallShare) {
    return {{noteLabel,
             "a peak is at the end of the grid: take a wider one (--grid) or a longer decay"}};
  }
  return {};
}

std::vector<std::string> allNotes(const Inversion& inversion, const ReportContext& context,
                                  const Measures& measures) {
  std::vector<std::string> notes;
  for (const Lines& lines : {dataLines(inversion, context), inversionLines(inversion, context),
                             measureNotes(measures)}) {
    for (const FoundLine& line : lines) {
      if (line.label == noteLabel) {
        notes.push_back(line.text);
        std::replace(notes.back().begin(), notes.back().end(), '\n', ' ');
      }
    }
  }
  return notes;
}

}  // namespace vorin::toolkit
