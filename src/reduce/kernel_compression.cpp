#include "reduce/kernel_compression.hpp"

#include <algorithm>

#include "reduce/prune_plan.hpp"
#include "reduce/svd_compression.hpp"

namespace vorin::reduce {
namespace {

// Yout and Kout have cap rows. The pruned kernel takes the plan's rows only; the rows
// below keep what they hold, the data below are zeroed.
void prune(const Reduction& job, std::int32_t& count) {
  PruneRequest request;
  request.points = job.nf;
  request.capacityPoints = job.nf;
  request.maxBins = job.cap;
  request.t = job.T;
  request.scale = job.W;
  request.firstPoint = job.first;
  request.target = job.want;
  request.mode = job.pmode;
  const PrunePlan plan(request);
  count = plan.count();
  if (job.cap > 0) {
    std::fill_n(job.Yout, job.cap, 0.0f);
    plan.apply(job.Y, job.Yout);
    plan.apply(job.n, job.K, job.ldK, job.Kout, job.cap);
  }
}

}  // namespace

void reduceProblem(const Reduction& job, std::int32_t& count, std::int32_t& status) {
  Compression svd;
  svd.m = job.nf;
  svd.n = job.n;
  svd.ldK = job.ldK;
  svd.ldC = job.cap;
  svd.K = job.K;
  svd.d = job.Y;
  svd.threshold = job.SVDT;
  svd.mostRows = job.SVDN;
  svd.Kc = job.Kout;
  svd.dc = job.Yout;
  svd.dcLength = std::min(job.n, job.cap);
  if (job.pmode >= 1) {
    status = compressed;
    prune(job, count);
    svd.m = std::min(count, job.cap);
    svd.ldK = job.cap;
    svd.K = job.Kout;
    svd.d = job.Yout;
  }
  if (job.SVDN > 0) {
    compressInKeptArrays(svd, count, status);
  }
}

}  // namespace vorin::reduce
