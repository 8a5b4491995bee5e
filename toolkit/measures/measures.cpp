#include "toolkit/measures/measures.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

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

/// The amplitudes of a peak and the spread of log10 T over them (updated as they come:
/// Welford, Technometrics 4, 419, 1962, with weights).
struct Part {
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

  double width() const { return sum > 0.0 ? std::sqrt(std::max(squares, 0.0) / sum) : 0.0; }
};

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

std::vector<double> perDecade(const Distribution& distribution) {
  const std::vector<double>& T = distribution.time;
  std::vector<double> result(T.size());
  for (std::size_t k = 0; k < T.size(); ++k) {
    const std::size_t left = k == 0 ? 0 : k - 1;
    const std::size_t right = std::min(k + 1, T.size() - 1);
    const double width = std::log10(T[right] / T[left]) /
                         static_cast<double>(std::max<std::size_t>(right - left, 1));
    result[k] = width > 0.0 ? distribution.amplitude[k] / width : 0.0;
  }
  return result;
}

std::vector<Peak> peaks(const Distribution& distribution, double smallestShare) {
  const std::vector<double>& f = distribution.amplitude;
  const double total = totalAmplitude(distribution);
  const std::vector<Run> tops = maxima(f);
  std::vector<Peak> result;
  Part part;  // with the half of the minimum before it, if there is one
  for (std::size_t p = 0, start = 0; p < tops.size(); ++p) {
    std::size_t end = f.size();  // one behind its last whole index
    Part next;
    if (p + 1 < tops.size()) {
      const auto lowest =
          std::min_element(f.begin() + static_cast<std::ptrdiff_t>(tops[p].last + 1),
                           f.begin() + static_cast<std::ptrdiff_t>(tops[p + 1].first));
      end = static_cast<std::size_t>(lowest - f.begin());
      part.add(distribution.time[end], 0.5 * f[end]);
      next.add(distribution.time[end], 0.5 * f[end]);
    }
    for (std::size_t k = start; k < end; ++k) {
      part.add(distribution.time[k], f[k]);
    }
    start = end + 1;
    const double share = part.sum / total;
    if (share >= smallestShare) {
      const bool atGridEnd = tops[p].first == 0 || tops[p].last + 1 == f.size();
      result.push_back({positionOf(tops[p], distribution), share, part.width(), atGridEnd});
    }
    part = next;
  }
  return result;
}

}  // namespace vorin::toolkit
