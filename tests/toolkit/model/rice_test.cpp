// Magnitudes of a signal with noise.
#include "toolkit/model/rice.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "toolkit/model/simulation.hpp"

namespace vorin::toolkit {
namespace {

/// The mean of Rice's density m / s^2 exp(-(m^2 + a^2) / (2 s^2)) I0(m a / s^2) less a, by
/// Simpson's rule; I0 as the mean of exp(z cos) over a turn, scaled.
double excessByIntegral(double a, double s) {
  const auto besselTimes = [](double z) {
    constexpr int parts = 400;
    double sum = 0.0;
    for (int k = 0; k < parts; ++k) {
      sum += std::exp(z * (std::cos(2.0 * std::numbers::pi * k / parts) - 1.0));
    }
    return sum / parts;
  };
  const double low = std::fmax(0.0, a - 12.0 * s);
  const double high = a + 12.0 * s;
  constexpr int parts = 4000;
  const double step = (high - low) / parts;
  double sum = 0.0;
  for (int k = 0; k <= parts; ++k) {
    const double m = low + step * k;
    const double density =
        m / (s * s) * std::exp(-(m - a) * (m - a) / (2.0 * s * s)) * besselTimes(m * a / (s * s));
    sum += (k == 0 || k == parts ? 1.0 : k % 2 == 1 ? 4.0 : 2.0) * m * density;
  }
  return sum * step / 3.0 - a;
}

TEST(Rice, ExcessIsTheMeanOfTheDensityLessTheSignal) {
  for (const double a : {0.0, 0.1, 0.5, 1.0, 2.0, 3.8, 4.0, 7.0, 15.0}) {
    EXPECT_NEAR(magnitudeExcess(2.0 * a, 2.0), excessByIntegral(2.0 * a, 2.0), 4e-6) << a;
  }
}

TEST(Rice, ExcessHasItsLimits) {
  EXPECT_NEAR(magnitudeExcess(0.0, 3.0), 3.0 * std::sqrt(std::numbers::pi / 2.0), 1e-6);
  EXPECT_NEAR(magnitudeExcess(1e6, 3.0), 9.0 / 2e6, 1e-12);
  // Both forms agree where one takes over from the other.
  EXPECT_NEAR(magnitudeExcess(29.9999, 1.0), magnitudeExcess(30.0001, 1.0), 2e-6);
}

TEST(Rice, ExcessIsThatOfDrawnMagnitudes) {
  NormalNoise noise(5);
  constexpr int draws = 200000;
  for (const double a : {0.0, 1.0, 4.0}) {
    double sum = 0.0;
    for (int k = 0; k < draws; ++k) {
      const double real = a + noise.next();
      sum += std::hypot(real, noise.next());
    }
    EXPECT_NEAR(sum / draws - a, magnitudeExcess(a, 1.0), 5.0 / std::sqrt(double{draws})) << a;
  }
}

TEST(Rice, SignalGivesItsMagnitudeBack) {
  for (const double a : {0.05, 0.3, 1.0, 5.0, 40.0}) {
    const double magnitude = a + magnitudeExcess(a, 0.7);
    const double signal = signalOfMagnitude(magnitude, 0.7);
    EXPECT_NEAR(signal + magnitudeExcess(signal, 0.7), magnitude, 2e-6);
  }
  EXPECT_EQ(signalOfMagnitude(0.8, 0.7), 0.0);
  EXPECT_EQ(signalOfMagnitude(0.0, 0.7), 0.0);
}

}  // namespace
}  // namespace vorin::toolkit
