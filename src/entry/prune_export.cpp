// The exported pruning: a plan rendered as the dense matrix that hosts expect.
#include <algorithm>
#include <cstddef>

#include "reduce/prune_plan.hpp"
#include "vorin.h"

namespace {

using vorin::reduce::PrunePlan;

// Norms past the filled rows have this value, down to the capacity.
constexpr float emptyNorm = 1e-10f;

void render(const PrunePlan& plan, int maxBins, int ldPoints, const float* t, float* tSum,
            float* binNorm, float* P) {
  const std::ptrdiff_t rows = std::max(maxBins, 0);
  const std::ptrdiff_t columns = std::max(ldPoints, 0);
  std::fill(P, P + rows * columns, 0.0f);
  std::fill(binNorm, binNorm + rows, emptyNorm);
  std::fill(tSum, tSum + std::min<std::ptrdiff_t>(plan.count(), rows), 0.0f);
  for (int r = 0; r < plan.filled(); ++r) {
    const float share = 1.0f / plan.norm(r);
    binNorm[r] = plan.norm(r);
    plan.forEachPoint(r, [&](int i) {
      tSum[r] += t[i];
      P[r + i * rows] = share;
    });
  }
}

}  // namespace

void VorinPruneZ(int32_t nPoints, int32_t ldPoints, int32_t maxBins, const float* y, const float* t,
                 const float* scale, int32_t prLo, int32_t /*prHi*/, int32_t target, int32_t mode,
                 int32_t* count, float* yPruned, float* tSum, float* binNorm, float* P,
                 int32_t* status) noexcept {
  *status = 0;
  const PrunePlan plan({nPoints, ldPoints, maxBins, t, scale, prLo, target, mode});
  *count = plan.count();
  std::fill_n(yPruned, std::max(maxBins, 0), 0.0f);
  if (plan.filled() > 0) {
    plan.apply(y, yPruned);
  }
  render(plan, maxBins, ldPoints, t, tSum, binNorm, P);
}
