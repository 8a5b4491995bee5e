#include "brd/iteration.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "brd/pass_control.hpp"
#include "params/log.hpp"
#include "params/store.hpp"
#include "toolbox/extent.hpp"

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

/// Makes the passes that are left to the limit of passes.
Solution<double> failWithoutNumbers(PassControl<double>& control) {
  while (control.status() == solveConverged) {
    control.endPass(std::numeric_limits<double>::infinity());
  }
  params::setReal("CITE", static_cast<float>(control.passes()));
  return {0.0, 0.0, control.status()};
}

/// The masks that the passes of a solve have left. The next pass depends on nothing else, so that
/// a mask that comes back after another one comes back for ever.
class EarlierMasks {
 public:
  enum class Told { nothing, repeats, comesBack };

  /// Takes the mask of f (n), and tells whether it is that of the pass before, or of one before it.
  Told take(int n, const double* f) {
    std::vector<bool> mask(length(n));
    std::transform(f, f + n, mask.begin(), [](double value) { return value > 0.0; });
    const auto earlier = std::find(masks_.begin(), masks_.end(), mask);
    if (earlier != masks_.end()) {
      return std::next(earlier) == masks_.end() ? Told::repeats : Told::comesBack;
    }
    masks_.push_back(std::move(mask));
    return Told::nothing;
  }

 private:
  std::vector<std::vector<bool>> masks_;
};

/// True where a solve from f and c reaches its limit of passes, as found with Cholesky's factors in
/// place of those by LU, at a quarter of their cost. False where it does not, or the weight does
/// not allow it.
bool isSeenToFail(System<double>& system, const PassControl<double>& control, const double* startF,
                  const double* startC, double weight) {
  if (!system.allowsScout(weight)) {
    return false;
  }
  std::vector<double> f(startF, startF + system.n());
  std::vector<double> c(startC, startC + system.m());
  EarlierMasks masks;
  const System<double>::Scout scout(system);
  for (int pass = 0; pass < control.mostPasses(); ++pass) {
    solvePass(system, f.data(), weight);
    const double* const next = system.newDual();
    if (!(squaredChange(system.m(), c.data(), next) > control.tolerance())) {
      return false;
    }
    const EarlierMasks::Told told = masks.take(system.n(), f.data());
    if (told != EarlierMasks::Told::nothing) {
      return told == EarlierMasks::Told::comesBack;
    }
    std::copy(next, next + system.m(), c.begin());
  }
  return true;
}

}  // namespace

Solution<double> vrBRD_w_d(System<double>& system, double* f, double* c, double weight,
                           Reads reads) {
  PassControl<double> control(weight);
  clipAtZero(system.n(), f);
  if (control.needsPass()) {
    if (reads.failure == Failure::discarded && isSeenToFail(system, control, f, c, weight)) {
      return failWithoutNumbers(control);
    }
    bool solved = false;
    do {
      if (solved && system.sameMask(f, weight)) {
        takeStep(system, control, c);  // the same columns again have the same solution
      } else if (makePredictedPasses(system, control, f, c, weight)) {
        const bool isLast = control.passes() + 1 == control.mostPasses();
        if (isLast && reads.failure == Failure::discarded) {
          return failWithoutNumbers(control);
        }
        if (!isLast && reads.success == Success::deferred && control.tolerance() >= 0.0) {
          if (const auto solution = system.predictedSolution(weight)) {
            control.endPass(0.0);  // of the same columns again
            params::setReal("CITE", static_cast<float>(control.passes()));
            return *solution;
          }
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

double completeSolve(System<double>& system, double* f, double weight) {
  // One pass, unless the sign of an element hangs on rounding.
  constexpr int mostPasses = 20;
  int pass = 0;
  do {
    solvePass(system, f, weight);
  } while (!system.sameMask(f, weight) && ++pass < mostPasses);
  const double* c = system.newDual();
  system.distributionFromDual(c, f);
  return residual(system.m(), c, weight);
}

}  // namespace vorin::brd
