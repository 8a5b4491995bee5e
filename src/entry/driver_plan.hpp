// Many data vectors on one kernel by the primary driver: bins, reduced kernel, its conversions and
// K'K are formed once, for any number of threads.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "brd/problem.hpp"
#include "reduce/prune_plan.hpp"

namespace vorin::entry {

/// What a plan keeps. Immutable to its users: forms that a solve needs first are made once.
class DriverPlan {
 public:
  /// For K (nf x ng, column-major) and the positions T (nf, rising) of the samples, which stay the
  /// caller's and must stay as they are. The pruning is as this thread's keys say at this moment.
  DriverPlan(int nf, int ng, const float* K, const float* T);

  DriverPlan(const DriverPlan&) = delete;
  DriverPlan& operator=(const DriverPlan&) = delete;

  /// What invert() (entry/driver.hpp) does for the data Y (nf), with the keys of this thread's
  /// parameter block: F (ng, out), FIT (nf, out; null: not formed), the result keys and the
  /// status have the same bits. Neither log nor save section is written. PRMO, PRLO and PRPO must
  /// be as they were when the plan was made. Any number of threads may call at once, each on an
  /// instance of its own.
  void invert(const float* Y, float* F, float* FIT, std::int32_t& status) const;

  /// What inverts decay after decay on one thread.
  class Solver;

 private:
  void prune();

  int nf_;
  int ng_;
  const float* K_;
  const float* T_;
  std::optional<reduce::PrunePlan> bins_;
  std::vector<float> prunedKernel_;
  std::optional<brd::ProblemKernel<float>> kernel_;  ///< reduced
};

/// Keeps the arrays of its solves from one decay to the next. The plan stays the caller's.
class DriverPlan::Solver {
 public:
  explicit Solver(const DriverPlan& plan);
  Solver(const Solver&) = delete;
  Solver& operator=(const Solver&) = delete;

  /// As DriverPlan::invert().
  void invert(const float* Y, float* F, float* FIT, std::int32_t& status);

 private:
  const DriverPlan& plan_;
  std::vector<float> d_;  ///< reduced data
  brd::Problem<float> problem_;
};

}  // namespace vorin::entry
