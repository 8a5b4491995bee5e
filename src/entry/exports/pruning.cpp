// Section "Pruning": a plan of bins, and its dense matrix as the interface has it.
#include <algorithm>

#include "reduce/prune_plan.hpp"
#include "reduce/prune_variants.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

using vorin::reduce::PrunePlan;

static_assert(int{VORIN_PRUNE_LOG} == int{vorin::reduce::pruneLog});
static_assert(int{VORIN_PRUNE_LINEAR} == int{vorin::reduce::pruneLinear});
static_assert(int{VORIN_PRUNE_LEADING} == int{vorin::reduce::pruneLeading});

// Sums of positions and norms of the bins, in arrays of maxBins.
void describe(const PrunePlan& plan, int maxBins, const float* t, float* tSum, float* binNorm) {
  std::fill_n(binNorm, std::max(maxBins, 0), vorin::reduce::smallestNorm);
  for (int r = 0; r < plan.filled(); ++r) {
    binNorm[r] = plan.norm(r);
  }
  if (plan.count() <= maxBins) {
    plan.sum(t, tSum);
  }
}

}  // namespace

extern "C" {

void VORIN_CALL VorinPruneZ(int32_t nPoints, int32_t ldPoints, int32_t maxBins, const float* y,
                            const float* t, const float* scale, int32_t prLo, int32_t /*prHi*/,
                            int32_t target, int32_t mode, int32_t* count, float* yPruned,
                            float* tSum, float* binNorm, float* P, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  *status = VORIN_PRUNE_DONE;
  const PrunePlan plan({nPoints, ldPoints, maxBins, t, scale, prLo, target, mode});
  *count = plan.count();
  std::fill_n(yPruned, std::max(maxBins, 0), 0.0f);
  if (plan.count() <= maxBins) {
    plan.apply(y, yPruned);
  }
  plan.render(maxBins, ldPoints, P);
  describe(plan, maxBins, t, tSum, binNorm);
}

void VORIN_CALL VorinPrune(int32_t nCols, int32_t nPoints, int32_t ldPoints, int32_t maxBins,
                           const float* y, const float* t, const float* k, const float* scale,
                           int32_t prLo, int32_t /*prHi*/, int32_t target, int32_t mode,
                           int32_t* count, float* yPruned, float* tMean, float* kPruned,
                           float* binNorm, float* P, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  *status = VORIN_PRUNE_DONE;
  vorin::reduce::pruneScaled({nCols, nPoints, ldPoints, maxBins, y, t, k, scale, prLo, target, mode,
                              yPruned, tMean, kPruned, binNorm, P},
                             *count);
}

void VORIN_CALL VorinPrune2(int32_t nCols, int32_t nPoints, int32_t ldPoints, int32_t maxBins,
                            const float* y, const float* t, const float* k, const float* scale,
                            int32_t prLo, int32_t /*prHi*/, int32_t target, int32_t mode,
                            int32_t* count, float* yPruned, float* tMean, float* kPruned,
                            float* binNorm, float* P, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  *status = VORIN_PRUNE_DONE;
  vorin::reduce::pruneWhitened({nCols, nPoints, ldPoints, maxBins, y, t, k, scale, prLo, target,
                                mode, yPruned, tMean, kPruned, binNorm, P},
                               *count);
}

}  // extern "C"
