#include "toolkit/inverting/late_findings.hpp"

#include <cmath>
#include <numeric>
#include <vector>

namespace vorin::toolkit {

namespace {

/// The share of the signal of an echo train that is faster than the first sample, at `start`, or
/// piles up there: in the peak that the distribution has at `start`, beyond which it has no
/// support.
double fastShare(const Inversion& inversion, Kernel kernel, double start) {
  const std::vector<double>& f = inversion.distribution.amplitude;
  const std::vector<double>& at = inversion.distribution.time;
  const std::size_t first = inversion.firstColumn;
  constexpr double nearRatio = 1.5;
  if ((kernel != Kernel::t2 && kernel != Kernel::t2Epg) || first + 1 >= f.size() ||
      at[first] > nearRatio * start) {
    return 0.0;
  }
  const bool pilesUp = f[first] > f[first + 1];
  double share = 0.0;
  double logarithms = 0.0;
  for (std::size_t k = first; k < f.size(); ++k) {
    const bool inPeak = pilesUp && (k == first || f[k] < f[k - 1]);
    if (!inPeak && !(at[k] < start)) {
      break;
    }
    share += f[k];
    logarithms += f[k] * std::log(at[k] / start);
  }
  // A peak that the samples resolve may reach to the first of them.
  constexpr double resolvedRatio = 0.2;
  return logarithms > resolvedRatio * share ? 0.0
                                            : share / std::accumulate(f.begin(), f.end(), 0.0);
}

}  // namespace

void addLateFindings(Inversion& inversion, Kernel kernel, double start, double residualNoise) {
  constexpr double muchFast = 0.1;
  constexpr double lostRatio = 2.0;
  if (inversion.finding.fatal()) {
    return;
  }
  if (inversion.mode == WeightMode::corner && inversion.fitError > lostRatio * residualNoise) {
    inversion.finding = {FindingKind::cornerLost, Kernel::t2, inversion.fitError / residualNoise,
                         0};
  } else if (const double share = fastShare(inversion, kernel, start);
             inversion.mode == WeightMode::automatic && share > muchFast) {
    inversion.finding = {FindingKind::tooFast, Kernel::t2, share, 0};
  }
}

}  // namespace vorin::toolkit
