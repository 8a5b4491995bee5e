// The primary inversion driver, and the arrays that the six-argument entries add.
#pragma once

#include <cstdint>
#include <vector>

#include "brd/problem.hpp"
#include "reduce/reduction.hpp"
#include "toolbox/aligned.hpp"

namespace vorin::entry {

/// What a host passes for one inversion; the arrays belong to the host.
struct Inversion {
  int nf = 0;                 ///< data points
  int ng = 0;                 ///< grid points
  const float* K = nullptr;   ///< nf x ng, column-major, leading dimension nf
  const float* T = nullptr;   ///< nf, abscissa of each data point, rising
  const float* Y = nullptr;   ///< nf, measured data
  float* W = nullptr;         ///< nf, out: overwritten with 1.0
  const float* G = nullptr;   ///< ng, grid abscissae, for the save section only
  float* F = nullptr;         ///< ng, in and out: the distribution
  float* FIT = nullptr;       ///< nf, out: K F
  bool fitIsScratch = false;  ///< FIT is not the host's: only the save section reads it
};

/// Runs one inversion with the settings of the parameter block: log, pruning, weight
/// driver, fit on the full data, report. `status` is the weight driver's.
void invert(const Inversion& job, std::int32_t& status);

/// The problem as it is, with no reduction requested.
reduce::Reduction wholeProblem(const Inversion& job);

/// How the primary driver reduces `job`, by the parameters as they are. job.W is read.
reduce::Reduction plainReduction(const Inversion& job);

/// The steps after the reduction, for data d: the weight driver and the reference of its limits.
void invertReduced(const brd::ProblemKernel<float>& kernel, bool pruned, const float* d, float* F,
                   std::int32_t& status);

/// The same for a problem that its caller keeps.
void invertReduced(brd::Problem<float>& problem, bool pruned, float* F, std::int32_t& status);

/// T, W, G and FIT for a host of the six-argument entries: the point index, ones, a
/// placeholder grid from 1 to 10, and scratch.
class DefaultArrays {
 public:
  DefaultArrays(int nf, int ng);

  /// The job of a host that gives K, Y and F only.
  Inversion job(const float* K, const float* Y, float* F);

 private:
  int nf_;
  int ng_;
  std::vector<float> T_;
  std::vector<float> W_;
  std::vector<float> G_;
  AlignedVector<float> FIT_;  // unset until something is written
};

}  // namespace vorin::entry
