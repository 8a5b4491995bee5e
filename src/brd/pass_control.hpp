// The settings and counters of one solve, and the tests at the end of each pass:
// when the iteration has converged, when it is out of passes and when it stalls.
#pragma once

#include <cstdint>

namespace vorin::brd {

template <class Real>
class PassControl {
 public:
  /// Reads REPO, MAXI and TOL and logs the start of a solve at `weight`.
  explicit PassControl(Real weight);

  /// False when the tolerance is so wide that no pass is made at all.
  bool needsPass() const;

  /// Ends a pass that moved the dual vector by the squared distance `err`.
  void endPass(Real err);

  /// True while another pass follows.
  bool again() const { return again_; }

  int passes() const { return passes_; }

  /// The settings that a prediction of the passes needs.
  Real tolerance() const { return Real(tolerance_); }
  int mostPasses() const { return maxPasses_; }

  /// 0, or 1 when the iteration reached the limit of passes or of stalls.
  std::int32_t status() const { return status_; }

 private:
  std::int32_t level_;
  std::int32_t maxPasses_;
  float tolerance_;
  Real best_;  // the smallest squared change seen so far
  int passes_ = 0;
  int stalled_ = 0;
  std::int32_t status_ = 0;
  bool again_ = false;
};

}  // namespace vorin::brd
