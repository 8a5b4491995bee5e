#include "entry/driver.hpp"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "entry/report.hpp"
#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/save_section.hpp"
#include "params/store.hpp"
#include "reduce/prune_plan.hpp"
#include "toolbox/convert.hpp"
#include "toolbox/extent.hpp"
#include "weight/weight_driver.hpp"

namespace vorin::entry {
namespace {

// Rows that a pruned problem may have, in every driver.
constexpr int pruneCapacity = 5000;
constexpr int fewestPruned = 10;

void invertUnpruned(const Inversion& job, std::int32_t& status) {
  report("No pruning");
  const brd::ProblemKernel<float> kernel(job.nf, job.ng, job.K);
  invertReduced(kernel, false, job.Y, job.F, status);
}

void invertPruned(const Inversion& job, const reduce::Reduction& reduction, std::int32_t& status) {
  reduce::WorkArrays arrays;
  const reduce::ReducedProblem pruned = reduce::reduceContiguously(reduction, arrays);
  report(reductionLine("With pruning from ", job.nf, pruned.rows));
  const brd::ProblemKernel<float> kernel(pruned.rows, job.ng, pruned.K);
  invertReduced(kernel, true, pruned.d, job.F, status);
}

// Required: a log at level 4 brings the section even when SAVE is 0, and of the values of
// SAVE only 1 requests it: 2 only chooses a layout. No other key counts, SAVF included.
bool savesSection() {
  return params::queryInteger("SAVE") == 1 || params::queryInteger("REPO") > 3;
}

}  // namespace

reduce::Reduction wholeProblem(const Inversion& job) {
  reduce::Reduction reduction;
  reduction.points = job.nf;
  reduction.columns = job.ng;
  reduction.ldK = job.nf;
  reduction.capacityPoints = job.nf;
  reduction.K = job.K;
  reduction.d = job.Y;
  reduction.t = job.T;
  reduction.scale = job.W;
  return reduction;
}

reduce::Reduction plainReduction(const Inversion& job) {
  reduce::Reduction reduction = wholeProblem(job);
  reduction.capacity = pruneCapacity;
  reduction.firstPoint = truncateToInt(params::queryReal("PRLO"));
  reduction.target =
      std::clamp(truncateToInt(params::queryReal("PRPO")), fewestPruned, pruneCapacity);
  // Two characters decide, so "LIN" and "LILO" are both linear and anything else is
  // logarithmic, the text "A" of the reset included.
  const std::string_view text = params::storedText("PRMO").substr(0, 2);
  if (text != "NO") {
    reduction.mode = text == "LI" ? reduce::pruneLinear : reduce::pruneLog;
  }
  return reduction;
}

void invertReduced(const brd::ProblemKernel<float>& kernel, bool pruned, const float* d, float* F,
                   std::int32_t& status) {
  brd::Problem<float> problem(kernel, d);
  invertReduced(problem, pruned, F, status);
}

void invertReduced(brd::Problem<float>& problem, bool pruned, float* F, std::int32_t& status) {
  params::setReal("WREF", problem.meanSquaredColumnNorm());
  weight::Vorin_SEtoW(problem, F, status);
  // Required: only without pruning does the reference go back to 1 after the call; with
  // pruning a host can read it.
  if (!pruned) {
    params::setReal("WREF", 1.0f);
  }
}

void invert(const Inversion& job, std::int32_t& status) {
  beginInversion(job);
  const reduce::Reduction reduction = plainReduction(job);
  if (reduction.prunes()) {
    invertPruned(job, reduction, status);
  } else {
    invertUnpruned(job, status);
  }
  const bool saves = savesSection();
  endInversion(job, saves, status);
  if (saves) {
    // The second column of the distribution's table is the distribution as well.
    params::VorinSave(params::logUnit(), job.nf, job.ng, job.K, job.T, job.Y, job.FIT, job.G, job.F,
                      job.F, status);
  }
  params::VorinLogOpen(false);
}

DefaultArrays::DefaultArrays(int nf, int ng)
    : nf_(nf), ng_(ng), T_(length(nf)), W_(length(nf), 1.0f), G_(length(ng)), FIT_(length(nf)) {
  for (std::size_t i = 0; i < T_.size(); ++i) {
    T_[i] = static_cast<float>(i + 1);
  }
  // With one grid point the exponent is 0/0, and the element is NaN.
  for (std::size_t k = 0; k < G_.size(); ++k) {
    G_[k] = std::pow(10.0f, static_cast<float>(k) / static_cast<float>(ng - 1));
  }
}

Inversion DefaultArrays::job(const float* K, const float* Y, float* F) {
  return {nf_, ng_, K, T_.data(), Y, W_.data(), G_.data(), F, FIT_.data(), true};
}

}  // namespace vorin::entry
