#include "toolbox/root_finding.hpp"

#include <cmath>

#include "toolbox/extremes.hpp"
#include "toolbox/nrerror.hpp"

namespace vorin {
namespace {

constexpr int passLimit = 100;
constexpr float twiceEpsilon = 2.3841858e-07f;  // 2 * 2^-23

bool sameSign(float x, float y) {
  return (x > 0.0f && y > 0.0f) || (x < 0.0f && y < 0.0f);
}

// The state of the iteration: b is the best point, a the one before it, and the
// root lies between b and c.
struct Bracket {
  float a, b, c;
  float fa, fb, fc;
  float step = 0.0f;      // d: the step to take
  float previous = 0.0f;  // e: the step before that

  void keepRootBetween() {
    if (sameSign(fb, fc)) {
      c = a;
      fc = fa;
      step = b - a;
      previous = step;
    }
    if (std::abs(fc) < std::abs(fb)) {
      a = b;
      b = c;
      c = a;
      fa = fb;
      fb = fc;
      fc = fa;
    }
  }

  // Interpolates when the step before was not below the tolerance and the function
  // decreases; bisects when the interpolated point leaves three quarters of the
  // bracket or does not halve the step before the last.
  void chooseStep(float tolerance, float half) {
    if (std::abs(previous) >= tolerance && std::abs(fa) > std::abs(fb)) {
      const float s = fb / fa;
      float p = 2.0f * half * s;
      float q = 1.0f - s;
      if (a != c) {
        const float t = fa / fc;
        const float r = fb / fc;
        p = s * (2.0f * half * t * (t - r) - (b - a) * (r - 1.0f));
        q = (t - 1.0f) * (r - 1.0f) * (s - 1.0f);
      }
      if (p > 0.0f) {
        q = -q;
      }
      p = std::abs(p);
      if (2.0f * p < smallerOf(3.0f * half * q - std::abs(tolerance * q), std::abs(previous * q))) {
        previous = step;
        step = p / q;
        return;
      }
    }
    step = half;
    previous = half;
  }
};

}  // namespace

float zbrent(const std::function<float(float)>& func, float x1, float x2, float tol,
             std::int32_t& status) {
  status = 0;
  const float f1 = func(x1);
  const float f2 = func(x2);
  if (sameSign(f1, f2)) {
    nrerror("root must be bracketed for zbrent");
  }
  Bracket p{x1, x2, x2, f1, f2, f2};
  for (int pass = 0; pass < passLimit; ++pass) {
    p.keepRootBetween();
    const float tolerance = twiceEpsilon * std::abs(p.b) + 0.5f * tol;
    const float half = 0.5f * (p.c - p.b);
    if (std::abs(half) <= tolerance || p.fb == 0.0f) {
      return p.b;
    }
    p.chooseStep(tolerance, half);
    p.a = p.b;
    p.fa = p.fb;
    p.b += std::abs(p.step) > tolerance ? p.step : std::copysign(tolerance, half);
    p.fb = func(p.b);
  }
  status = 1;
  return p.b;
}

}  // namespace vorin
