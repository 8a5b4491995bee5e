#include "toolkit/measures/bootstrap.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <iterator>
#include <limits>
#include <mutex>
#include <numeric>
#include <random>
#include <thread>

#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/measures/intervals.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/system/worker_threads.hpp"

namespace vorin::toolkit {

namespace {

/// Fit and residual of an inversion at the samples that it used, in the library's unit.
struct Parts {
  std::vector<double> fit;
  std::vector<double> residual;  ///< of mean 0
};

/// A fit takes as many degrees of freedom from the residual as it has; at the weight that was
/// chosen the noise is known to be larger by that.
double residualFactor(const Inversion& inversion) {
  constexpr double mostRatio = 2.0;
  return inversion.mode == WeightMode::automatic && inversion.fitError > 0.0
             ? std::clamp(inversion.noise / inversion.fitError, 1.0, mostRatio)
             : 1.0;
}

Parts partsOf(const Inversion& inversion, const Problem& problem) {
  Parts parts;
  auto rejected = inversion.rejected.begin();
  for (std::size_t i = 0; i < inversion.fit.size(); ++i) {
    if (rejected != inversion.rejected.end() && *rejected == i) {
      ++rejected;
      continue;
    }
    const double fit = (inversion.fit[i] - inversion.offset.value_or(0.0)) / problem.scale();
    parts.residual.push_back(static_cast<double>(problem.data()[parts.fit.size()]) - fit);
    parts.fit.push_back(fit);
  }
  const double mean = std::accumulate(parts.residual.begin(), parts.residual.end(), 0.0) /
                      static_cast<double>(parts.residual.size());
  const double factor = residualFactor(inversion);
  for (double& residual : parts.residual) {
    residual = factor * (residual - mean);
  }
  return parts;
}

/// The store as the inversion had it, at the weight that it chose.
void setReplicateKeys(const InversionSettings& settings, const Inversion& inversion) {
  setKeys(settings);
  setFixedWeight(settings, inversion.weight);
}

/// The problem with what all replicates share.
Problem sharedProblem(const Problem& problem, const InversionSettings& settings,
                      const Inversion& inversion) {
  const LibraryJob job;
  setReplicateKeys(settings, inversion);
  return problem.planned();
}

/// The replicates of one bootstrap: any share of them can be inverted by a thread.
class Replicates {
 public:
  Replicates(const Problem& problem, Parts parts, const InversionSettings& settings,
             const Inversion& inversion, const BootstrapSettings& options)
      : problem_(problem),
        parts_(std::move(parts)),
        settings_(settings),
        inversion_(inversion),
        options_(options),
        amplitudes_(static_cast<std::size_t>(options.replicates)) {}

  /// Inverts all on as many threads as are asked for. Rethrows what one of them throws.
  void run() {
    const std::size_t count = amplitudes_.size();
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t wanted =
        options_.threads > 0 ? static_cast<std::size_t>(options_.threads) : processors;
    const std::size_t threads = std::clamp<std::size_t>(wanted, 1, count);
    WorkerThreads others;
    for (std::size_t k = 1; k < threads; ++k) {
      const auto share = [=, this] { runShare(count * k / threads, count * (k + 1) / threads); };
      if (!others.start(share)) {
        share();
      }
    }
    runShare(0, count / threads);
    others.wait();
    if (failure_) {
      std::rethrow_exception(failure_);
    }
  }

  /// The amplitudes of each replicate in turn; none where its inversion failed.
  const std::vector<std::vector<double>>& amplitudes() const { return amplitudes_; }

 private:
  void runShare(std::size_t first, std::size_t last) noexcept {
    try {
      invertShare(first, last);
    } catch (...) {
      const std::lock_guard guard(guard_);
      stopped_ = true;
      failure_ = failure_ ? failure_ : std::current_exception();
    }
  }

  void invertShare(std::size_t first, std::size_t last) {
    const LibraryJob job;
    setReplicateKeys(settings_, inversion_);
    // All replicates draw from one sequence, so that shares of any size draw the same.
    std::mt19937_64 engine(options_.seed);
    std::vector<float> Y(parts_.fit.size());
    engine.discard(static_cast<unsigned long long>(first) * Y.size());
    for (std::size_t replicate = first; replicate < last && !stopped_; ++replicate) {
      for (std::size_t i = 0; i < Y.size(); ++i) {
        Y[i] = static_cast<float>(parts_.fit[i] +
                                  parts_.residual[static_cast<std::size_t>(engine() % Y.size())]);
      }
      const Solution solution = problem_.solveWithoutFit(Y);
      if (solution.status == 0) {
        std::vector<double>& found = amplitudes_[replicate];
        std::transform(solution.F.begin(), solution.F.end(), std::back_inserter(found),
                       [&](float F) { return static_cast<double>(F) * problem_.scale(); });
      }
      const std::lock_guard guard(guard_);
      ++done_;
      if (options_.progress && !stopped_) {
        options_.progress(done_);
      }
    }
  }

  const Problem& problem_;
  Parts parts_;
  const InversionSettings& settings_;
  const Inversion& inversion_;
  const BootstrapSettings& options_;
  std::vector<std::vector<double>> amplitudes_;
  std::mutex guard_;  ///< of what follows
  int done_ = 0;
  std::exception_ptr failure_;
  std::atomic<bool> stopped_ = false;
};

/// `value`, but 0 where it is below; one that is not a number stays so.
double notBelowZero(double value) {
  return value < 0.0 ? 0.0 : value;
}

/// A weight and a range of the grid that were chosen vary from noise to noise, too, and the
/// replicates keep them. That widens the spread of the log mean by about a tenth, as measured over
/// simulated decays (bench/bootstrap_coverage).
double intervalFactor(const Inversion& inversion) {
  constexpr double ofChoice = 1.1;
  return inversion.mode == WeightMode::automatic ? ofChoice : 1.0;
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

bool isBroad(const Distribution& distribution) {
  constexpr double leastShare = 0.2;
  constexpr double broadWidth = 0.22;
  const std::vector<Peak> found = peaks(distribution, leastShare);
  return std::any_of(found.begin(), found.end(),
                     [](const Peak& peak) { return peak.width > broadWidth; });
}

Band bootstrap(const Decay& decay, const InversionSettings& original, const Inversion& inversion,
               const BootstrapSettings& options) {
  // Outliers are known: the replicates are drawn and inverted without them.
  Adjusted solved = adjusted(decay, original, inversion);
  InversionSettings& settings = solved.settings;
  settings.rejectBeyond.reset();
  const Problem whole(solved.decay, settings);
  const Problem problem = sharedProblem(
      whole.without(inversion.rejected).within(inversion.firstColumn, inversion.lastColumn),
      settings, inversion);
  Replicates replicates(problem, partsOf(inversion, problem), settings, inversion, options);
  replicates.run();

  const std::size_t grid = settings.grid.size();
  std::vector<std::vector<double>> amplitudes(grid);
  std::vector<double> logarithms;
  Band band;
  for (const std::vector<double>& replicate : replicates.amplitudes()) {
    if (replicate.empty()) {
      continue;
    }
    for (std::size_t k = 0; k < grid; ++k) {
      amplitudes[k].push_back(replicate[k]);
    }
    const double mean = logMean({settings.grid, replicate});
    band.logMeans.push_back(mean);
    if (mean > 0.0) {
      logarithms.push_back(std::log(mean));
    }
    band.distributions.push_back(replicate);
    ++band.replicates;
  }
  for (std::size_t k = 0; k < grid; ++k) {
    // Replicates are smoothed a second time, which displaces them from the distribution.
    const double shift = inversion.distribution.amplitude[k] - quantile(amplitudes[k], 0.5);
    band.lower.push_back(notBelowZero(quantile(amplitudes[k], tailShare) + shift));
    band.upper.push_back(notBelowZero(quantile(amplitudes[k], 1.0 - tailShare) + shift));
  }
  band.intervalFactor = intervalFactor(inversion);
  const Interval interval =
      intervalAround(std::log(logMean(inversion.distribution)), logarithms, band.intervalFactor);
  band.logMeanLower = std::exp(interval.lower);
  band.logMeanUpper = std::exp(interval.upper);
  band.intervalTooNarrow = isBroad(inversion.distribution);
  return band;
}

}  // namespace vorin::toolkit
