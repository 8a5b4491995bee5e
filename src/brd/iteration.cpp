#include "brd/iteration.hpp"

#include <algorithm>
#include <cmath>
#include <string>

#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "toolbox/convert.hpp"

namespace vorin::brd {
namespace {

// In what the two precisions differ beside their arithmetic.
template <class Real>
struct Traits;

template <>
struct Traits<float> {
  static constexpr float stallFactor = 1.01f;
  static constexpr float best = 1e20f;
  // Twelve passes in a row that do not come back near the smallest change seen.
  static constexpr int stallLimit(int /*maxPasses*/) { return 12; }
};

template <>
struct Traits<double> {
  static constexpr double stallFactor = double(1.01f);  // the single constant, widened
  static constexpr double best = 1e20;
  // Required: the pass limit itself. At the stall test the pass count is below it,
  // so the double route never stalls and only ever runs out of passes: a slow
  // converging tail is worth waiting for when no precision is lost in it.
  static constexpr int stallLimit(int maxPasses) { return maxPasses; }
};

constexpr std::size_t messageWidth = 64;

// A message is composed only when somebody will read it.
template <class Compose>
void log(std::string_view kind, Compose compose) {
  if (params::logIsOpen()) {
    params::VorinLogLine("vrBRD_w", kind, params::cutTo(compose(), messageWidth));
  }
}

// One solve's settings and counters, and the judgement at the end of each pass.
template <class Real>
class PassControl {
 public:
  explicit PassControl(Real weight)
      : level_(params::queryInteger("REPO")),
        maxPasses_(truncateToInt(params::queryReal("MAXI"))),
        tolerance_(params::queryReal("TOL")) {
    log("M", [&] { return "Solving with  weight = " + params::freeForm(weight); });
  }

  /// False when the tolerance is so wide that no pass is wanted at all.
  bool wanted() const { return Real(tolerance_) < Traits<Real>::best; }

  /// Ends a pass that moved c by the squared distance `err`.
  void endPass(Real err) {
    ++passes_;
    best_ = std::min(err, best_);
    stalled_ = err > best_ * Traits<Real>::stallFactor ? stalled_ + 1 : 0;
    if (passes_ >= maxPasses_) {
      status_ = 1;
      log("Error", [&] { return "Iterations Exceeeded = " + params::freeForm(passes_); });
    } else if (stalled_ >= Traits<Real>::stallLimit(maxPasses_)) {
      status_ = 1;
      log("Error", [&] { return "stalled iterations exceeeded = " + params::freeForm(stalled_); });
    } else if (level_ > 1) {
      log("Comment", [&] { return "Iterations  = " + params::integerField(passes_, 4); });
    }
    if (level_ > 0) {
      log("Comment", [&] {
        return "Iter = " + params::integerField(passes_, 3) +
               " error=" + params::exponentField(double(err), 13, 5) +
               " tol=" + params::exponentField(double(tolerance_), 13, 5) +
               " status=" + params::integerField(status_, 2);
      });
    }
    // A NaN compares as false and ends the loop.
    again_ = std::abs(err) > Real(tolerance_) && status_ == 0;
  }

  bool again() const { return again_; }
  int passes() const { return passes_; }
  std::int32_t status() const { return status_; }

 private:
  std::int32_t level_;
  std::int32_t maxPasses_;
  float tolerance_;
  Real best_ = Traits<Real>::best;
  int passes_ = 0;
  int stalled_ = 0;
  std::int32_t status_ = 0;
  bool again_ = false;
};

template <class Real>
void clipAtZero(int n, Real* f) {
  std::replace_if(
      f, f + n, [](Real value) { return value <= Real(0); }, Real(0));
}

/// The squared distance between the dual vectors of two passes.
template <class Real>
Real squaredChange(int m, const Real* c, const Real* cNew) {
  Real sum = 0;
  for (int j = 0; j < m; ++j) {
    const Real change = c[j] - cNew[j];
    sum += change * change;
  }
  return sum;
}

/// Ends a pass: judges the step from c to the new dual vector and takes it.
template <class Real>
void takeStep(System<Real>& system, PassControl<Real>& control, Real* c) {
  const Real* cNew = system.newDual();
  control.endPass(squaredChange(system.m(), c, cNew));
  std::copy(cNew, cNew + system.m(), c);
}

/// rss and its derivative from the last f and c. With c(w) = (G + w I)^-1 d and
/// the mask held, d(w^2 c.c)/dw = 2 w (c.c - w c.x) for x = (G + w I)^-1 c.
template <class Real>
Solution<Real> close(System<Real>& system, const PassControl<Real>& control, const Real* f,
                     const Real* c, Real weight) {
  Real* x = system.secondSolution();
  system.factor(f, weight);
  system.solve(c, x);
  Real square = 0;
  Real slope = 0;
  for (int j = 0; j < system.m(); ++j) {
    square += c[j] * c[j];
    slope += (c[j] - x[j] * weight) * c[j];
  }
  return {weight * weight * square, weight * Real(2) * slope, control.status()};
}

}  // namespace

Solution<float> vrBRD_w_s(System<float>& system, float* f, float* c, float weight) {
  PassControl<float> control(weight);
  if (control.wanted()) {
    do {
      system.distributionFromDual(c, f);
      system.factor(f, weight);
      system.solve(system.d(), system.newDual());
      takeStep(system, control, c);
    } while (control.again());
  }
  params::setReal("CITE", static_cast<float>(control.passes()));
  system.distributionFromDual(c, f);
  return close(system, control, f, c, weight);
}

Solution<double> vrBRD_w_d(System<double>& system, double* f, double* c, double weight) {
  PassControl<double> control(weight);
  clipAtZero(system.n(), f);
  if (control.wanted()) {
    do {
      system.factor(f, weight);
      system.solve(system.d(), system.newDual());
      system.distributionFromDual(system.newDual(), f);
      takeStep(system, control, c);
    } while (control.again());
  }
  params::setReal("CITE", static_cast<float>(control.passes()));
  return close(system, control, f, c, weight);
}

}  // namespace vorin::brd
