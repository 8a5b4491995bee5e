#include "toolkit/measures/measures.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "toolkit/measures/cumulative.hpp"
#include "toolkit/model/distribution.hpp"

namespace vorin::toolkit {

namespace {

/// First and last index of a maximal run of equal values.
struct Run {
  std::size_t first;
  std::size_t last;
};

/// The runs that lie higher than what is on either side; ends of the grid count as lower.
std::vector<Run> maxima(const std::vector<double>& f) {
  std::vector<Run> result;
  for (std::size_t first = 0; first < f.size();) {
    std::size_t last = first;
    while (last + 1 < f.size() && f[last + 1] == f[first]) {
      ++last;
    }
    const bool risesBefore = first == 0 || f[first - 1] < f[first];
    const bool fallsAfter = last + 1 == f.size() || f[last + 1] < f[last];
    if (f[first] > 0.0 && risesBefore && fallsAfter) {
      result.push_back({first, last});
    }
    first = last + 1;
  }
  return result;
}

double positionOf(const Run& run, const Distribution& distribution) {
  const std::vector<double>& f = distribution.amplitude;
  const double left = std::log(distribution.time[run.first]);
  const double right = std::log(distribution.time[run.last]);
  if (run.first != run.last || run.first == 0 || run.last + 1 == f.size()) {
    return std::exp(0.5 * (left + right));
  }
  // The vertex of the parabola through three points, by divided differences; the
  // grid need not be even, since a distribution may come from elsewhere.
  const std::size_t k = run.first;
  const double before = std::log(distribution.time[k - 1]);
  const double after = std::log(distribution.time[k + 1]);
  const double slopeBefore = (f[k] - f[k - 1]) / (left - before);
  const double slopeAfter = (f[k + 1] - f[k]) / (after - left);
  const double curvature = (slopeAfter - slopeBefore) / (after - before);
  return std::exp(0.5 * (before + left) - slopeBefore / (2.0 * curvature));
}

/// The amplitudes of a part and mean and spread of log10 T over them (updated as they come:
/// Welford, Technometrics 4, 419, 1962, with weights).
struct Moments {
  double sum = 0.0;
  double mean = 0.0;
  double squares = 0.0;

  void add(double time, double amplitude) {
    if (!(amplitude > 0.0)) {
      return;
    }
    sum += amplitude;
    const double away = std::log10(time) - mean;
    mean += away * amplitude / sum;
    squares += amplitude * away * (std::log10(time) - mean);
  }

  double centre() const { return std::pow(10.0, mean); }
  double width() const { return sum > 0.0 ? std::sqrt(std::max(squares, 0.0) / sum) : 0.0; }
};

/// Those of the grid times `first` to `last`; of a minimum between two peaks one half counts.
Moments momentsOf(const Distribution& distribution, std::size_t first, std::size_t last) {
  const std::vector<double>& f = distribution.amplitude;
  Moments moments;
  for (std::size_t k = first; k <= last; ++k) {
    const bool shared = (k == first && k > 0) || (k == last && k + 1 < f.size());
    moments.add(distribution.time[k], shared ? 0.5 * f[k] : f[k]);
  }
  return moments;
}

}  // namespace

double totalAmplitude(const Distribution& distribution) {
  double total = 0.0;
  for (double amplitude : distribution.amplitude) {
    total += amplitude;
  }
  return total;
}

double logMean(const Distribution& distribution) {
  double sum = 0.0;
  for (std::size_t k = 0; k < distribution.time.size(); ++k) {
    sum += distribution.amplitude[k] * std::log(distribution.time[k]);
  }
  const double total = totalAmplitude(distribution);
  return total > 0.0 ? std::exp(sum / total) : std::numeric_limits<double>::quiet_NaN();
}

double arithmeticMean(const Distribution& distribution) {
  double sum = 0.0;
  for (std::size_t k = 0; k < distribution.time.size(); ++k) {
    sum += distribution.amplitude[k] * distribution.time[k];
  }
  const double total = totalAmplitude(distribution);
  return total > 0.0 ? sum / total : std::numeric_limits<double>::quiet_NaN();
}

std::vector<double> perDecade(const Distribution& distribution) {
  const std::vector<double> edges = logBinEdges(distribution.time);
  std::vector<double> result(distribution.time.size());
  for (std::size_t k = 0; k < result.size(); ++k) {
    const double width = (edges[k + 1] - edges[k]) * std::numbers::log10e;
    result[k] = width > 0.0 ? distribution.amplitude[k] / width : 0.0;
  }
  return result;
}

std::vector<Peak> peaks(const Distribution& distribution, double smallestShare) {
  const std::vector<double>& f = distribution.amplitude;
  const double total = totalAmplitude(distribution);
  const std::vector<Run> tops = maxima(f);
  std::vector<Peak> result;
  std::size_t first = 0;
  for (std::size_t p = 0; p < tops.size(); ++p) {
    std::size_t last = f.size() - 1;
    if (p + 1 < tops.size()) {
      const auto lowest =
          std::min_element(f.begin() + static_cast<std::ptrdiff_t>(tops[p].last + 1),
                           f.begin() + static_cast<std::ptrdiff_t>(tops[p + 1].first));
      last = static_cast<std::size_t>(lowest - f.begin());
    }
    const Moments part = momentsOf(distribution, first, last);
    const double share = part.sum / total;
    if (share >= smallestShare) {
      const bool atGridEnd = tops[p].first == 0 || tops[p].last + 1 == f.size();
      result.push_back({positionOf(tops[p], distribution), share, part.width(), atGridEnd,
                        part.centre(), part.sum, first, last});
    }
    first = last;
  }
  return result;
}

Peak peakWithin(const Distribution& distribution, const Peak& peak) {
  constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double>& f = distribution.amplitude;
  const Moments part = momentsOf(distribution, peak.first, peak.last);
  const double total = totalAmplitude(distribution);
  Peak result{
      unknown,  total > 0.0 ? part.sum / total : 0.0, unknown, false, unknown, part.sum, peak.first,
      peak.last};
  if (!(part.sum > 0.0)) {
    return result;
  }
  const auto highest = static_cast<std::size_t>(
      std::max_element(f.begin() + static_cast<std::ptrdiff_t>(peak.first),
                       f.begin() + static_cast<std::ptrdiff_t>(peak.last + 1)) -
      f.begin());
  result.atGridEnd = highest == 0 || highest + 1 == f.size();
  const std::vector<Run> tops = maxima(f);
  const auto top = std::find_if(tops.begin(), tops.end(), [&](const Run& run) {
    return run.first <= highest && highest <= run.last;
  });
  // At a border of the part the distribution may rise on beyond it.
  result.time = top == tops.end() ? distribution.time[highest] : positionOf(*top, distribution);
  result.centre = part.centre();
  result.width = part.width();
  return result;
}

}  // namespace vorin::toolkit
