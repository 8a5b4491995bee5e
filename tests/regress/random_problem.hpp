// Random and hostile least-squares problems, the same on every machine: the
// engine is the standard's, the numbers are made from its bits here.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace vorin::testing {

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// An integer of low .. high, both included.
  int integer(int low, int high) {
    const auto span = static_cast<std::uint64_t>(high - low + 1);
    return low + static_cast<int>(engine_() % span);
  }
  bool chance(int oneIn) { return integer(1, oneIn) == 1; }

  /// Evenly in [-1, 1).
  double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-52 - 1.0; }

  template <class Element, std::size_t count>
  Element pick(const Element (&choices)[count]) {
    return choices[integer(0, static_cast<int>(count) - 1)];
  }

 private:
  std::mt19937_64 engine_;
};

/// Minimise |A x - b| with lower <= x <= upper. A is m by n, column-major.
template <class Real>
struct BoxProblem {
  int m = 0;
  int n = 0;
  std::vector<Real> A;
  std::vector<Real> b;
  std::vector<Real> lower;
  std::vector<Real> upper;

  static constexpr Real noBound = std::numeric_limits<Real>::max();

  std::size_t at(int i, int j) const {
    return static_cast<std::size_t>(i) + static_cast<std::size_t>(j) * static_cast<std::size_t>(m);
  }
  bool hasLower(int j) const { return lower[static_cast<std::size_t>(j)] > -noBound; }
  bool hasUpper(int j) const { return upper[static_cast<std::size_t>(j)] < noBound; }
  /// True where the bounds leave no room: such a coefficient stands at its lower bound.
  bool fixed(int j) const {
    const auto k = static_cast<std::size_t>(j);
    return hasLower(j) && hasUpper(j) && upper[k] <= lower[k];
  }
};

enum class Columns { smallIntegers, reals, deficient, badlyScaled };

template <class Real>
void fillMatrix(Random& random, Columns kind, BoxProblem<Real>& p) {
  p.A.assign(static_cast<std::size_t>(p.m) * static_cast<std::size_t>(p.n), Real(0));
  p.b.assign(static_cast<std::size_t>(p.m), Real(0));
  const bool integers = kind == Columns::smallIntegers || kind == Columns::deficient;
  for (int j = 0; j < p.n; ++j) {
    const int earlier = j == 0 ? -1 : random.integer(0, j - 1);
    const int second = j == 0 ? -1 : random.integer(0, j - 1);
    const bool dependent = kind == Columns::deficient && j > 0 && random.chance(2);
    // A power of two scales without rounding.
    const double scale =
        kind == Columns::badlyScaled ? std::ldexp(1.0, random.integer(-20, 20)) : 1.0;
    for (int i = 0; i < p.m; ++i) {
      double value = integers ? random.integer(-3, 3) : random.unit();
      if (dependent) {
        value = static_cast<double>(p.A[p.at(i, earlier)]) -
                static_cast<double>(p.A[p.at(i, second)]) * (earlier == second ? 0.0 : 1.0);
      }
      p.A[p.at(i, j)] = static_cast<Real>(value * scale);
    }
  }
  for (Real& value : p.b) {
    value = static_cast<Real>(integers ? random.integer(-9, 9) : 3.0 * random.unit());
  }
}

/// Bounds of every kind: none, one, both, equal, crossed; zero inside, outside and on
/// a bound.
template <class Real>
void fillBounds(Random& random, BoxProblem<Real>& p) {
  p.lower.clear();
  p.upper.clear();
  for (int j = 0; j < p.n; ++j) {
    const Real low = static_cast<Real>(random.integer(-4, 2)) / Real(2);
    const Real high = low + static_cast<Real>(random.integer(1, 5)) / Real(2);
    switch (random.integer(0, 9)) {
      case 0:
        p.lower.push_back(-p.noBound);
        p.upper.push_back(std::numeric_limits<Real>::infinity());
        break;
      case 1:
        p.lower.push_back(-p.noBound);
        p.upper.push_back(high);
        break;
      case 2:
        p.lower.push_back(low);
        p.upper.push_back(p.noBound);
        break;
      case 3:
        p.lower.push_back(low);
        p.upper.push_back(low);
        break;
      case 4:
        p.lower.push_back(high);
        p.upper.push_back(low);
        break;
      case 5:
      case 6:
        p.lower.push_back(Real(0));
        p.upper.push_back(p.noBound);
        break;
      default:
        p.lower.push_back(low);
        p.upper.push_back(high);
        break;
    }
  }
}

template <class Real>
void nonNegativeBounds(BoxProblem<Real>& p) {
  p.lower.assign(static_cast<std::size_t>(p.n), Real(0));
  p.upper.assign(static_cast<std::size_t>(p.n), p.noBound);
}

/// A number no well-meant host would send.
template <class Real>
Real hostileNumber(Random& random) {
  using Limits = std::numeric_limits<Real>;
  const Real choices[] = {Real(0),
                          -Real(0),
                          Real(1),
                          Real(-1),
                          Real(2),
                          Real(-3),
                          Limits::epsilon(),
                          Limits::max(),
                          Limits::lowest(),
                          Limits::max() / 2,
                          Limits::min(),
                          -Limits::min(),
                          Limits::denorm_min(),
                          Limits::infinity(),
                          -Limits::infinity(),
                          Limits::quiet_NaN(),
                          std::sqrt(Limits::max()),
                          -std::sqrt(Limits::max()),
                          std::sqrt(Limits::min())};
  return random.pick(choices);
}

}  // namespace vorin::testing
