#include "entry/driver_plan.hpp"

#include <algorithm>

#include "entry/driver.hpp"
#include "reduce/reduction.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/linear_map.hpp"

namespace vorin::entry {

DriverPlan::DriverPlan(int nf, int ng, const float* K, const float* T)
    : nf_(nf), ng_(ng), K_(K), T_(T) {
  prune();
}

void DriverPlan::prune() {
  Inversion job;
  job.nf = nf_;
  job.ng = ng_;
  job.K = K_;
  job.T = T_;
  const reduce::Reduction reduction = plainReduction(job);
  if (!reduction.prunes()) {
    kernel_.emplace(nf_, ng_, K_);
    return;
  }
  // Without a scale each sample has that of 1, which the driver sets.
  bins_.emplace(reduce::pruneRequest(reduction));
  const int rows = bins_->count();
  prunedKernel_.resize(area(rows, ng_));
  if (rows > 0) {
    bins_->apply(ng_, K_, nf_, prunedKernel_.data(), rows);
  }
  kernel_.emplace(rows, ng_, prunedKernel_.data());
}

void DriverPlan::invert(const float* Y, float* F, float* FIT, std::int32_t& status) const {
  Solver(*this).invert(Y, F, FIT, status);
}

DriverPlan::Solver::Solver(const DriverPlan& plan)
    : plan_(plan), d_(length(plan.kernel_->m())), problem_(*plan.kernel_, d_.data()) {}

void DriverPlan::Solver::invert(const float* Y, float* F, float* FIT, std::int32_t& status) {
  if (!plan_.bins_) {
    std::copy_n(Y, d_.size(), d_.begin());
  } else if (!d_.empty()) {
    plan_.bins_->apply(Y, d_.data());
  }
  problem_.takeData(d_.data());
  invertReduced(problem_, plan_.bins_.has_value(), F, status);
  if (FIT != nullptr) {
    formFit(plan_.nf_, plan_.ng_, plan_.K_, F, FIT);
  }
}

}  // namespace vorin::entry
