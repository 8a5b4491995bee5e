// Plane rotations (c, s; -s, c) that turn a vector (a, b) of two onto the first axis, in the two
// forms that the library's solvers use. The forms differ in the order of their operations, and so
// in the last bits; each solver keeps its own.
#pragma once

#include <cmath>

namespace vorin {

/// c, s and sig with c a + s b = sig = sqrt(a^2 + b^2) and c b - s a = 0, formed from the ratio to
/// the larger of |a| and |b|; sig is never negative (C. L. Lawson and R. J. Hanson, Solving Least
/// Squares Problems, Prentice-Hall 1974, algorithm G1). For a = b = 0: c = 0, s = 1, and sig
/// keeps its value.
template <class Real>
void givens(Real a, Real b, Real& c, Real& s, Real& sig) {
  if (std::abs(a) > std::abs(b)) {
    const Real ratio = b / a;
    const Real root = std::sqrt(Real(1) + ratio * ratio);
    c = std::copysign(Real(1) / root, a);
    s = c * ratio;
    sig = std::abs(a) * root;
  } else if (b != Real(0)) {
    const Real ratio = a / b;
    const Real root = std::sqrt(Real(1) + ratio * ratio);
    s = std::copysign(Real(1) / root, b);
    c = s * ratio;
    sig = std::abs(b) * root;
  } else {
    c = Real(0);
    s = Real(1);
  }
}

/// The same rotation, scaled by |a| + |b|; r = c a + s b has the sign of the larger element
/// (C. L. Lawson, R. J. Hanson, D. R. Kincaid and F. T. Krogh, ACM Trans. Math. Softw. 5, 308,
/// 1979, ROTG). For a = b = 0 it is the identity, and r = a.
template <class Real>
void scaledGivens(Real a, Real b, Real& c, Real& s, Real& r) {
  const Real scale = std::abs(a) + std::abs(b);
  c = Real(1);
  s = Real(0);
  r = a;
  if (scale > Real(0)) {
    const Real ra = a / scale;
    const Real rb = b / scale;
    r = scale * std::sqrt(ra * ra + rb * rb);
    const Real larger = std::abs(a) > std::abs(b) ? a : b;
    if (larger < Real(0)) {
      r = -r;
    }
    c = a / r;
    s = b / r;
  }
}

/// (first, second) := (c first + s second, c second - s first).
template <class Real>
void rotate(Real c, Real s, Real& first, Real& second) {
  const Real old = first;
  first = c * old + s * second;
  second = c * second - s * old;
}

/// `givens` in double precision, under the toolbox's name. No routine of the library calls it.
void givens_dp(double a, double b, double& c, double& s, double& sig);

}  // namespace vorin
