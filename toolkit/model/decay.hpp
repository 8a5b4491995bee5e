// Measured decays.
#pragma once

#include <optional>
#include <vector>

namespace vorin::toolkit {

/// A measured decay: times in seconds, rising, none negative; amplitudes in the
/// instrument's unit. Two samples at least. (A b value takes the place of time where
/// diffusion is measured.)
struct Decay {
  std::vector<double> time;
  std::vector<double> amplitude;
  /// Standard deviation of the imaginary channel, for complex data.
  std::optional<double> quadratureNoise{};
};

/// A decay with its imaginary channel, which is empty for real data.
struct MeasuredDecay {
  Decay decay;
  std::vector<double> imaginary;
};

/// The largest of the absolute values; 0 when there are none.
double largestMagnitude(const std::vector<double>& values);

}  // namespace vorin::toolkit
