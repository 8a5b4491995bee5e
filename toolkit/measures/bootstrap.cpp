#include "toolkit/measures/bootstrap.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"

namespace vorin::toolkit {

namespace {

/// What one standard deviation either way leaves out of a normal variate on each side.
constexpr double kTail = 0.158655;

/// Fit and residual of an inversion at the samples that it used, in the library's unit.
struct Parts {
  std::vector<double> fit;
  std::vector<double> residual;  ///< of mean 0
};

Parts partsOf(const Inversion& inversion, const Problem& problem) {
  Parts parts;
  auto rejected = inversion.rejected.begin();
  for (std::size_t i = 0; i < inversion.fit.size(); ++i) {
    if (rejected != inversion.rejected.end() && *rejected == i) {
      ++rejected;
      continue;
    }
    const double fit = inversion.fit[i] / problem.scale();
    parts.residual.push_back(static_cast<double>(problem.data()[parts.fit.size()]) - fit);
    parts.fit.push_back(fit);
  }
  const double mean = std::accumulate(parts.residual.begin(), parts.residual.end(), 0.0) /
                      static_cast<double>(parts.residual.size());
  for (double& residual : parts.residual) {
    residual -= mean;
  }
  return parts;
}

/// The store as the inversion had it, at the weight that it chose and with a log elsewhere.
void setReplicateKeys(InversionSettings settings, const Inversion& inversion) {
  settings.keepLog = false;
  setKeys(settings);
  setText("FLOG", "REPLICATE");
  setText("TARG", "WEIG");
  setNumber("WEIG", static_cast<float>(inversion.weight));
}

/// `value`, but 0 where it is below; one that is not a number stays so.
double notBelowZero(double value) {
  return value < 0.0 ? 0.0 : value;
}

/// The interval of the log mean, from its logarithm and those of the replicates.
void setInterval(Band& band, double logarithm, std::vector<double>& replicates) {
  const double spread = 0.5 * (quantile(replicates, 1.0 - kTail) - quantile(replicates, kTail));
  const double halfBias = 0.5 * (quantile(replicates, 0.5) - logarithm);
  const double reach = std::hypot(spread, halfBias);
  band.logMeanLower = std::exp(logarithm - halfBias - reach);
  band.logMeanUpper = std::exp(logarithm - halfBias + reach);
}

}  // namespace

double quantile(std::vector<double>& values, double fraction) {
  if (values.empty()) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  std::sort(values.begin(), values.end());
  const double at = fraction * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(at);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (at - static_cast<double>(below)) * (values[above] - values[below]);
}

Band bootstrap(const Decay& decay, const InversionSettings& original, const Inversion& inversion,
               const BootstrapSettings& options) {
  // Outliers are known: the replicates are drawn and inverted without them.
  InversionSettings settings = original;
  settings.rejectBeyond.reset();
  const Problem whole(decay, settings);
  const Problem problem = whole.without(inversion.rejected);
  const Parts parts = partsOf(inversion, problem);
  setReplicateKeys(settings, inversion);

  const std::size_t grid = settings.grid.size();
  std::vector<std::vector<double>> amplitudes(grid);
  std::vector<double> logMeans;
  std::mt19937_64 engine(options.seed);
  std::vector<float> Y(parts.fit.size());
  Band band;
  for (int replicate = 0; replicate < options.replicates; ++replicate) {
    for (std::size_t i = 0; i < Y.size(); ++i) {
      Y[i] = static_cast<float>(parts.fit[i] + parts.residual[engine() % Y.size()]);
    }
    const Solution solution = problem.solve(Y);
    if (solution.status == 0) {
      Distribution found{settings.grid, {}};
      for (std::size_t k = 0; k < grid; ++k) {
        found.amplitude.push_back(static_cast<double>(solution.F[k]) * problem.scale());
        amplitudes[k].push_back(found.amplitude.back());
      }
      if (const double mean = logMean(found); mean > 0.0) {
        logMeans.push_back(std::log(mean));
      }
      ++band.replicates;
    }
    if (options.progress) {
      options.progress(replicate + 1);
    }
  }
  for (std::size_t k = 0; k < grid; ++k) {
    // Replicates are smoothed twice: their own place would lie beside the distribution.
    const double shift = inversion.distribution.amplitude[k] - quantile(amplitudes[k], 0.5);
    band.lower.push_back(notBelowZero(quantile(amplitudes[k], kTail) + shift));
    band.upper.push_back(notBelowZero(quantile(amplitudes[k], 1.0 - kTail) + shift));
  }
  setInterval(band, std::log(logMean(inversion.distribution)), logMeans);
  return band;
}

}  // namespace vorin::toolkit
