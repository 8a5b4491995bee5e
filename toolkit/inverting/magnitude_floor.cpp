#include "toolkit/inverting/magnitude_floor.hpp"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "toolkit/inverting/adjustment.hpp"
#include "toolkit/inverting/repeated_fit.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/rice.hpp"

namespace vorin::toolkit {

namespace {

std::vector<double> product(const std::vector<float>& K, const std::vector<double>& x,
                            std::size_t rows) {
  std::vector<double> result(rows, 0.0);
  for (std::size_t j = 0; j < x.size(); ++j) {
    if (x[j] > 0.0) {
      for (std::size_t i = 0; i < rows; ++i) {
        result[i] += static_cast<double>(K[j * rows + i]) * x[j];
      }
    }
  }
  return result;
}

/// Near 0 a magnitude hardly tells one signal from another: a fit that begins above the true one
/// would stay there, and one that begins below rises in each round. So samples in the floor begin
/// without signal.
std::vector<double> firstSignal(const std::vector<double>& magnitudes, double noise) {
  constexpr double endOfFloor = 2.5;  // standard deviations: 4 % of noise alone is above
  std::vector<double> signal = magnitudes;
  std::transform(signal.begin(), signal.end(), signal.begin(), [&](double value) {
    return value < endOfFloor * noise ? 0.0 : signalOfMagnitude(value, noise);
  });
  return signal;
}

}  // namespace

std::vector<double> magnitudeFloor(const Decay& decay, const InversionSettings& settings,
                                   double noise) {
  constexpr int mostRounds = 30;
  constexpr double settled = 1e-3;  // of the noise
  const std::size_t rows = decay.amplitude.size();
  const std::shared_ptr<const std::vector<float>> matrix = kernelFor(decay, settings);
  const std::vector<double> KtK = normalMatrix(*matrix, rows);
  RepeatedFit fit(settings.grid.size());
  std::vector<double> signal = firstSignal(decay.amplitude, noise);
  std::vector<double> floor(rows, 0.0);
  std::vector<double> corrected(rows);
  std::vector<double> Ktd;
  for (int round = 0; round < mostRounds; ++round) {
    double largestChange = 0.0;
    for (std::size_t i = 0; i < rows; ++i) {
      const double excess = magnitudeExcess(signal[i], noise);
      largestChange = std::fmax(largestChange, std::fabs(excess - floor[i]));
      floor[i] = excess;
      corrected[i] = decay.amplitude[i] - excess;
    }
    if (largestChange < settled * noise) {
      break;
    }
    projectOnColumns(*matrix, corrected, Ktd);
    fit.solve(KtK, Ktd);
    signal = product(*matrix, fit.x(), rows);
  }
  return floor;
}

Inversion invertMagnitudes(const Decay& decay, const InversionSettings& settings,
                           const std::function<Inversion(const Decay&)>& invertSignal) {
  double noise = settings.noise.value_or(0.0);
  if (!settings.noise) {
    Inversion first = invertSignal(decay);
    if (!(first.noise > 0.0)) {
      return first;
    }
    noise = first.noise;
  }
  std::vector<double> floor = magnitudeFloor(decay, settings, noise);
  Decay signal = decay;
  for (std::size_t i = 0; i < floor.size(); ++i) {
    signal.amplitude[i] -= floor[i];
  }
  Inversion result = invertSignal(signal);
  for (std::size_t i = 0; i < result.fit.size(); ++i) {
    result.fit[i] += floor[i];
  }
  result.floor = std::move(floor);
  return result;
}

}  // namespace vorin::toolkit
