#include "toolkit/inverting/finding.hpp"

#include <fmt/format.h>

namespace vorin::toolkit {

namespace {

/// A positive offset up to this part of the largest amplitude shifts the result by less than
/// the noise of ordinary data does.
constexpr double smallOffset = 0.02;

}  // namespace

bool Finding::fatal() const {
  switch (kind) {
    case FindingKind::none:
    case FindingKind::noiseTooSmall:
      return false;
    case FindingKind::offset:
      return !(amount > 0.0 && amount <= smallOffset);
    default:
      return true;
  }
}

std::string_view findingWord(FindingKind kind) {
  switch (kind) {
    case FindingKind::empty:
      return "empty";
    case FindingKind::negative:
      return "negative";
    case FindingKind::otherKernel:
      return "other kernel";
    case FindingKind::magnitude:
      return "magnitude";
    case FindingKind::offset:
      return "offset";
    case FindingKind::efficiency:
      return "efficiency";
    case FindingKind::structure:
      return "structure";
    case FindingKind::tooFast:
      return "too fast";
    case FindingKind::noiseTooLarge:
      return "noise too large";
    case FindingKind::noiseTooSmall:
      return "noise too small";
    case FindingKind::cornerLost:
      return "corner lost";
    case FindingKind::none:
      break;
  }
  return "";
}

std::string findingText(const Finding& finding) {
  switch (finding.kind) {
    case FindingKind::empty:
      return "the data hold no signal of this kernel above the noise; average more scans, or look "
             "at the columns (--columns)";
    case FindingKind::negative:
      return "the data have the wrong sign for this kernel; change the sign of the amplitudes, or "
             "turn the phase by 180 degrees";
    case FindingKind::otherKernel:
      return fmt::format("this kernel does not describe the data, {} does; write --kernel {}",
                         kernelFormula(finding.kernel), kernelName(finding.kernel));
    case FindingKind::magnitude:
      return fmt::format(
          "these look like magnitudes, which an inversion recovery does not have; change the sign "
          "of the first {} amplitudes",
          finding.samples);
    case FindingKind::offset:
      return fmt::format(
          "a constant of {:+.2g} % of the largest amplitude lies beside the curve; write "
          "--baseline fit",
          100.0 * finding.amount);
    case FindingKind::efficiency:
      return fmt::format(
          "the inversion was not complete: the data ask for an efficiency of {:.2f}; write "
          "--inversion-efficiency fit",
          finding.amount);
    case FindingKind::structure:
      return "no distribution of this kernel describes the data: the closest fit leaves far more "
             "than noise; look at the residual (--fit, --plot)";
    case FindingKind::tooFast:
      return fmt::format(
          "{:.0f} % of the signal relaxes within the first sample, where the data do not hold its "
          "time or its amount; measure earlier samples, or leave first ones out (--skip N)",
          100.0 * finding.amount);
    case FindingKind::noiseTooLarge:
      return fmt::format(
          "every fit is closer to the data than the noise asks for; give a smaller one (--noise): "
          "it is {:.2g} times what the closest fit leaves",
          finding.amount);
    case FindingKind::noiseTooSmall:
      return fmt::format(
          "no fit comes as close as the given noise: the closest leaves {:.2g} times as much",
          finding.amount);
    case FindingKind::cornerLost:
      return fmt::format(
          "the fit at the corner of the L-curve misses the data by {:.2g} times the noise; leave "
          "the weight to the noise (--weight noise)",
          finding.amount);
    case FindingKind::none:
      break;
  }
  return "";
}

}  // namespace vorin::toolkit
