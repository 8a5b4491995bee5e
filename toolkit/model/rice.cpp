#include "toolkit/model/rice.hpp"

#include <cmath>

namespace vorin::toolkit {

namespace {

/// exp(-x) I0(x) and exp(-x) I1(x) for x of 0 or above, by the polynomials 9.8.1 to 9.8.4 of
/// Abramowitz and Stegun (Handbook of Mathematical Functions, 1964), to 2e-7. Not every standard
/// library has them.
struct Bessel {
  double i0;
  double i1;
};

Bessel scaledBessel(double x) {
  constexpr double border = 3.75;
  if (x < border) {
    const double t = (x / border) * (x / border);
    const double decay = std::exp(-x);
    const double i0 =
        1.0 +
        t * (3.5156229 +
             t * (3.0899424 + t * (1.2067492 + t * (0.2659732 + t * (0.0360768 + t * 0.0045813)))));
    const double i1 =
        0.5 + t * (0.87890594 +
                   t * (0.51498869 +
                        t * (0.15084934 + t * (0.02658733 + t * (0.00301532 + t * 0.00032411)))));
    return {decay * i0, decay * x * i1};
  }
  const double t = border / x;
  const double root = std::sqrt(x);
  const double i0 =
      0.39894228 +
      t * (0.01328592 +
           t * (0.00225319 +
                t * (-0.00157565 +
                     t * (0.00916281 +
                          t * (-0.02057706 +
                               t * (0.02635537 + t * (-0.01647633 + t * 0.00392377)))))));
  const double i1 =
      0.39894228 +
      t * (-0.03988024 +
           t * (-0.00362018 +
                t * (0.00163801 +
                     t * (-0.01031555 +
                          t * (0.02282967 +
                               t * (-0.02895312 + t * (0.01787654 - t * 0.00420059)))))));
  return {i0 / root, i1 / root};
}

}  // namespace

double magnitudeExcess(double signal, double noise) {
  constexpr double rootOfHalfPi = 1.2533141373155003;
  constexpr double large = 30.0;  // where the next term of the series is below 1e-7
  const double ratio = signal / noise;
  if (ratio > large) {
    const double inverse = 1.0 / ratio;
    return noise * inverse * (0.5 + 0.125 * inverse * inverse);
  }
  const double x = 0.25 * ratio * ratio;  // half of signal^2 / (2 noise^2)
  const Bessel bessel = scaledBessel(x);
  return noise * (rootOfHalfPi * ((1.0 + 2.0 * x) * bessel.i0 + 2.0 * x * bessel.i1) - ratio);
}

double signalOfMagnitude(double magnitude, double noise) {
  if (!(magnitude > magnitudeExcess(0.0, noise))) {
    return 0.0;
  }
  // The mean magnitude rises with the signal and is above it.
  double low = 0.0;
  double high = magnitude;
  constexpr int halvings = 40;
  for (int k = 0; k < halvings; ++k) {
    const double middle = 0.5 * (low + high);
    (middle + magnitudeExcess(middle, noise) < magnitude ? low : high) = middle;
  }
  return 0.5 * (low + high);
}

}  // namespace vorin::toolkit
