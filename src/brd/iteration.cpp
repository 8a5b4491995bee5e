#include "brd/iteration.hpp"

#include <algorithm>

#include "brd/pass_control.hpp"
#include "params/log.hpp"
#include "params/store.hpp"

namespace vorin::brd {
namespace {

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

/// rss and its slope from the last f and c, by a second solve with the mask of f.
template <class Real>
Solution<Real> report(System<Real>& system, const PassControl<Real>& control, const Real* f,
                      Real* c, Real weight) {
  const bool isMaskOfC = system.factor(f, weight);
  return residualAndSlope(system, isMaskOfC, c, weight, control.status());
}

}  // namespace

Solution<float> vrBRD_w_s(System<float>& system, float* f, float* c, float weight) {
  PassControl<float> control(weight);
  if (control.needsPass()) {
    do {
      system.distributionFromDual(c, f);
      system.factor(f, weight);
      system.solveData(system.newDual());
      takeStep(system, control, c);
    } while (control.again());
  }
  params::setReal("CITE", static_cast<float>(control.passes()));
  system.distributionFromDual(c, f);
  return report(system, control, f, c, weight);
}

namespace {

/// Makes the passes that need no system of their own; false where there are none. The mask of the
/// pass that follows them is in f.
bool makePredictedPasses(System<double>& system, PassControl<double>& control, double* f,
                         const double* c, double weight) {
  const PassPrediction* const prediction =
      system.predictPasses(f, c, weight, control.tolerance(),
                           control.mostPasses() - control.passes(), params::logIsOpen());
  if (prediction == nullptr) {
    return false;
  }
  for (const double step : prediction->steps()) {
    control.endPass(step);
  }
  return true;
}

/// The new dual vector and distribution for the mask of f.
void solvePass(System<double>& system, double* f, double weight) {
  system.factor(f, weight);
  system.solveData(system.newDual());
  system.distributionOfData(system.newDual(), f);
}

/// Makes the one pass that is left.
Solution<double> failWithoutNumbers(PassControl<double>& control) {
  control.endPass(control.tolerance());
  params::setReal("CITE", static_cast<float>(control.passes()));
  return {0.0, 0.0, control.status()};
}

}  // namespace

Solution<double> vrBRD_w_d(System<double>& system, double* f, double* c, double weight,
                           Failure failure) {
  PassControl<double> control(weight);
  clipAtZero(system.n(), f);
  if (control.needsPass()) {
    bool solved = false;
    do {
      if (solved && system.sameMask(f, weight)) {
        takeStep(system, control, c);  // the same columns again have the same solution
      } else if (makePredictedPasses(system, control, f, c, weight)) {
        if (failure == Failure::discarded && control.passes() + 1 == control.mostPasses()) {
          return failWithoutNumbers(control);
        }
        solvePass(system, f, weight);
        std::copy(system.newDual(), system.newDual() + system.m(), c);
      } else {
        solvePass(system, f, weight);
        takeStep(system, control, c);
      }
      solved = true;
    } while (control.again());
    // The products with c are summed from small terms, and are nearer to K'c than what a pass
    // takes from its solution.
    system.distributionFromDual(c, f);
  }
  params::setReal("CITE", static_cast<float>(control.passes()));
  return report(system, control, f, c, weight);
}

}  // namespace vorin::brd
