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
#include "toolbox/norms.hpp"
#include "weight/weight_driver.hpp"

namespace vorin::entry {
namespace {

// Rows that a pruned problem may have, in every driver.
constexpr int pruneCapacity = 5000;
constexpr int fewestPruned = 10;

std::size_t length(int n) {
  return static_cast<std::size_t>(std::max(n, 0));
}

void invertUnpruned(const Inversion& job, std::int32_t& status) {
  report("No pruning");
  params::setReal("WREF", meanSquaredColumnNorm(job.nf, job.ng, job.K));
  weight::Vorin_SEtoW(job.nf, job.ng, job.K, job.Y, job.F, status);
  // Required: on this road alone the reference goes back to 1 after the call; the
  // pruned road leaves it for a host to read.
  params::setReal("WREF", 1.0f);
}

reduce::PruneRequest pruneRequest(const Inversion& job, std::string_view mode) {
  reduce::PruneRequest request;
  request.points = job.nf;
  request.capacityPoints = job.nf;
  request.maxBins = pruneCapacity;
  request.t = job.T;
  request.scale = job.W;
  request.firstPoint = truncateToInt(params::queryReal("PRLO"));
  request.target =
      std::clamp(truncateToInt(params::queryReal("PRPO")), fewestPruned, pruneCapacity);
  // Two characters decide, so "LIN" and "LILO" are both linear and anything else is
  // logarithmic, the text "A" of the reset included.
  request.mode = mode == "LI" ? reduce::pruneLinear : reduce::pruneLog;
  return request;
}

void invertPruned(const Inversion& job, std::string_view mode, std::int32_t& status) {
  const reduce::PrunePlan plan(pruneRequest(job, mode));
  const int rows = plan.count();
  std::vector<float> kernel(length(rows) * length(job.ng));
  std::vector<float> data(length(rows));
  plan.apply(job.Y, data.data());
  plan.apply(job.ng, job.K, job.nf, kernel.data(), rows);
  report(reductionLine("With pruning from ", job.nf, rows));
  params::setReal("WREF", meanSquaredColumnNorm(rows, job.ng, kernel.data()));
  weight::Vorin_SEtoW(rows, job.ng, kernel.data(), data.data(), job.F, status);
}

// Required: a log at level 4 brings the section even when SAVE says 0, and SAVE asks
// for it with 1 alone: 2 only chooses a layout. Nothing else is looked at, SAVF least
// of all.
bool wantsSaveSection() {
  return params::queryInteger("SAVE") == 1 || params::queryInteger("REPO") > 3;
}

}  // namespace

void invert(const Inversion& job, std::int32_t& status) {
  beginInversion(job);
  const std::string_view mode = params::storedText("PRMO").substr(0, 2);
  if (mode == "NO") {
    invertUnpruned(job, status);
  } else {
    invertPruned(job, mode, status);
  }
  const bool saves = wantsSaveSection();
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
  // A grid of one point has the exponent 0/0 and shows as not a number.
  for (std::size_t k = 0; k < G_.size(); ++k) {
    G_[k] = std::pow(10.0f, static_cast<float>(k) / static_cast<float>(ng - 1));
  }
}

Inversion DefaultArrays::job(const float* K, const float* Y, float* F) {
  return {nf_, ng_, K, T_.data(), Y, W_.data(), G_.data(), F, FIT_.data(), true};
}

}  // namespace vorin::entry
