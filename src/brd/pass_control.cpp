#include "brd/pass_control.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "brd/solution.hpp"
#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "toolbox/convert.hpp"

namespace vorin::brd {
namespace {

// How the two precisions differ beside their arithmetic.
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
  // so the double route never stalls and only runs out of passes: in double precision
  // a slowly converging tail still makes progress.
  static constexpr int stallLimit(int maxPasses) { return maxPasses; }
};

constexpr std::size_t messageWidth = 64;

template <class Compose>
void log(std::string_view kind, const Compose& compose) {
  params::VorinLogLine("vrBRD_w", kind,
                       [&] { return std::string(params::cutTo(compose(), messageWidth)); });
}

}  // namespace

template <class Real>
PassControl<Real>::PassControl(Real weight)
    : level_(params::queryInteger("REPO")),
      maxPasses_(truncateToInt(params::queryReal("MAXI"))),
      tolerance_(params::queryReal("TOL")),
      best_(Traits<Real>::best) {
  log("M", [&] { return "Solving with  weight = " + params::freeForm(weight); });
}

template <class Real>
bool PassControl<Real>::needsPass() const {
  return Real(tolerance_) < Traits<Real>::best;
}

template <class Real>
void PassControl<Real>::endPass(Real err) {
  ++passes_;
  best_ = std::min(err, best_);
  stalled_ = err > best_ * Traits<Real>::stallFactor ? stalled_ + 1 : 0;
  if (passes_ >= maxPasses_) {
    status_ = solveFailed;
    log("Error", [&] { return "Iterations Exceeeded = " + params::freeForm(passes_); });
  } else if (stalled_ >= Traits<Real>::stallLimit(maxPasses_)) {
    status_ = solveFailed;
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

template class PassControl<float>;
template class PassControl<double>;

}  // namespace vorin::brd
