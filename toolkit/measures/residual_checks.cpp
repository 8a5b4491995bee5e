#include "toolkit/measures/residual_checks.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorin::toolkit {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

/// The x at which a normal variate's magnitude is below x with probability `inside`.
double magnitudeQuantile(double inside) {
  double low = 0.0;
  double high = 40.0;
  constexpr int halvings = 60;
  for (int i = 0; i < halvings; ++i) {
    const double middle = 0.5 * (low + high);
    // By the complement, which keeps its places far out.
    (std::erfc(middle / std::sqrt(2.0)) > 1.0 - inside ? low : high) = middle;
  }
  return low;
}

/// The count of runs of one sign and its distance from that of a random order.
void countRuns(const std::vector<double>& kept, ResidualChecks& checks) {
  double above = 0.0;
  double below = 0.0;
  bool last = false;
  for (double value : kept) {
    const bool positive = value > 0.0;
    if (value == 0.0) {
      continue;
    }
    checks.runs += above + below == 0.0 || positive != last ? 1 : 0;
    (positive ? above : below) += 1.0;
    last = positive;
  }
  const double count = above + below;
  const double product = 2.0 * above * below;
  const double variance = product * (product - count) / (count * count * (count - 1.0));
  checks.runsOff = variance > 0.0 ? (static_cast<double>(checks.runs) - (product / count + 1.0)) /
                                        std::sqrt(variance)
                                  : unknown;
}

}  // namespace

ResidualChecks checkResidual(const std::vector<double>& residual,
                             const std::vector<std::size_t>& rejected) {
  std::vector<double> kept;
  for (std::size_t i = 0; i < residual.size(); ++i) {
    if (!std::binary_search(rejected.begin(), rejected.end(), i)) {
      kept.push_back(residual[i]);
    }
  }
  ResidualChecks checks;
  checks.samples = kept.size();
  const auto count = static_cast<double>(kept.size());
  double sum = 0.0;
  double squares = 0.0;
  double products = 0.0;
  double largest = 0.0;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    sum += kept[i];
    squares += kept[i] * kept[i];
    products += i > 0 ? kept[i] * kept[i - 1] : 0.0;
    largest = std::max(largest, std::fabs(kept[i]));
  }
  checks.rootMeanSquare = kept.empty() ? unknown : std::sqrt(squares / count);
  const bool flat = !(squares > 0.0);
  checks.mean = flat ? unknown : sum / std::sqrt(count) / checks.rootMeanSquare;
  checks.correlation = flat ? unknown : products / squares;
  checks.largest = flat ? unknown : largest / checks.rootMeanSquare;
  checks.largestOfNoise = kept.empty() ? unknown : magnitudeQuantile(std::pow(0.5, 1.0 / count));
  countRuns(kept, checks);
  return checks;
}

}  // namespace vorin::toolkit
