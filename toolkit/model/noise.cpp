#include "toolkit/model/noise.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/median_deviation.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t differenceOrder = 2;
constexpr std::size_t fewestDifferences = 3;

/// How many of `count` differences at the start are left out.
std::size_t leftOut(std::size_t count) {
  constexpr std::size_t longDecay = 200;
  constexpr std::size_t shortDecay = 16;
  return count >= longDecay ? count / 8 : count >= shortDecay ? count / 2 : 0;
}

/// The divided difference of y over x[at .. at + differenceOrder], scaled to the variance of one y.
double scaledDifference(const std::vector<double>& x, const std::vector<double>& y,
                        std::size_t at) {
  std::array<double, differenceOrder + 1> coefficient{};
  double squares = 0.0;
  for (std::size_t i = 0; i <= differenceOrder; ++i) {
    double product = 1.0;
    for (std::size_t j = 0; j <= differenceOrder; ++j) {
      // Relative to the first interval, so that tiny spacings don't overflow.
      if (j != i) {
        product *= (x[at + i] - x[at + j]) / (x[at + 1] - x[at]);
      }
    }
    coefficient[i] = 1.0 / product;
    squares += coefficient[i] * coefficient[i];
  }
  double sum = 0.0;
  for (std::size_t i = 0; i <= differenceOrder; ++i) {
    sum += coefficient[i] * y[at + i];
  }
  return sum / std::sqrt(squares);
}

double rootMeanSquare(const std::vector<double>& values) {
  double sum = 0.0;
  for (double value : values) {
    sum += value * value;
  }
  return std::sqrt(sum / static_cast<double>(values.size()));
}

/// The standard deviation of `values` without those beyond four of it, corrected
/// for what a normal variate loses by that cut. Values up to `zero` are the rounding of 0.
double clippedDeviation(const std::vector<double>& values, double zero) {
  constexpr double cut = 4.0;
  constexpr double varianceInside = 0.998929;  // of N(0, 1) cut at 4: 1 - 8 phi(4) / P(|z| < 4)
  constexpr int mostRounds = 20;
  double deviation = medianDeviation(values);
  for (int round = 0; round < mostRounds && deviation > zero; ++round) {
    std::vector<double> inside;
    std::copy_if(values.begin(), values.end(), std::back_inserter(inside),
                 [&](double value) { return std::fabs(value) <= cut * deviation; });
    const double next = rootMeanSquare(inside) / std::sqrt(varianceInside);
    if (std::fabs(next - deviation) <= 1e-9 * deviation) {
      return next;
    }
    deviation = next;
  }
  // Most differences are 0 (coarsely rounded data): there is nothing to clip by.
  return deviation > zero ? deviation : rootMeanSquare(values);
}

}  // namespace

double residualDeviation(const std::vector<double>& residual) {
  constexpr std::size_t enoughToClip = 100;
  return residual.size() < enoughToClip ? rootMeanSquare(residual)
                                        : clippedDeviation(residual, 0.0);
}

std::optional<double> differenceNoise(const Decay& decay) {
  const std::size_t skipped = decay.time.front() > 0.0 ? 0 : 1;  // ln 0
  std::vector<double> x;
  for (std::size_t i = skipped; i < decay.time.size(); ++i) {
    x.push_back(std::log(decay.time[i]));
  }
  const std::vector<double> y(decay.amplitude.begin() + static_cast<std::ptrdiff_t>(skipped),
                              decay.amplitude.end());
  if (x.size() < differenceOrder + fewestDifferences) {
    return std::nullopt;
  }
  const std::size_t count = x.size() - differenceOrder;
  std::vector<double> differences;
  for (std::size_t at = leftOut(count); at < count; ++at) {
    const double difference = scaledDifference(x, y, at);
    // Times that are all but equal, or vast amplitudes, leave nothing to use.
    if (std::isfinite(difference)) {
      differences.push_back(difference);
    }
  }
  if (differences.size() < fewestDifferences) {
    return std::nullopt;
  }
  const double largest = largestMagnitude(decay.amplitude);
  constexpr double rounding = 1e-13;  // of the difference of equal samples, a few units of 2e-16
  const double noise = clippedDeviation(differences, rounding * largest);
  // Less than this is the curve's own bend or the rounding of single precision, in
  // which the library works; no fit could be held against it.
  constexpr double noNoiseLevel = 1e-6;
  if (!(noise > noNoiseLevel * largest)) {
    return std::nullopt;
  }
  return noise;
}

}  // namespace vorin::toolkit
