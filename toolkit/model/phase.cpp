#include "toolkit/model/phase.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "toolkit/model/decay.hpp"

namespace vorin::toolkit {

namespace {

/// Standard deviation about the mean, with n - 1 degrees of freedom.
double deviation(const std::vector<double>& values) {
  const auto n = static_cast<double>(values.size());
  double mean = 0.0;
  for (double value : values) {
    mean += value / n;
  }
  double squares = 0.0;
  for (double value : values) {
    squares += (value - mean) * (value - mean);
  }
  return std::sqrt(squares / (n - 1.0));
}

}  // namespace

double phaseCorrect(MeasuredDecay& measured, Kernel kernel) {
  std::vector<double>& real = measured.decay.amplitude;
  std::vector<double>& imaginary = measured.imaginary;
  // The real and the imaginary part of the sum of z^2.
  double difference = 0.0;
  double product = 0.0;
  for (std::size_t i = 0; i < real.size(); ++i) {
    difference += real[i] * real[i] - imaginary[i] * imaginary[i];
    product += 2.0 * real[i] * imaginary[i];
  }
  double angle = 0.5 * std::atan2(product, difference);
  double cosine = std::cos(angle);
  double sine = std::sin(angle);
  double sum = 0.0;
  for (std::size_t i = 0; i < real.size(); ++i) {
    const double turned = real[i] * cosine + imaginary[i] * sine;
    imaginary[i] = imaginary[i] * cosine - real[i] * sine;
    real[i] = turned;
    sum += turned;
  }
  const double sign = kernel == Kernel::t1Inversion ? real.back() : sum;
  if (sign < 0.0) {
    for (std::size_t i = 0; i < real.size(); ++i) {
      real[i] = -real[i];
      imaginary[i] = -imaginary[i];
    }
    angle += angle > 0.0 ? -std::numbers::pi : std::numbers::pi;
  }
  const double noise = deviation(imaginary);
  if (noise > 0.0) {
    measured.decay.quadratureNoise = noise;
  }
  return angle;
}

}  // namespace vorin::toolkit
