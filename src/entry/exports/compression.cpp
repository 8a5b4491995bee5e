// Section "SVD compression": one algorithm with four ways of keeping the factors, and
// pruning and compression in one call.
#include <algorithm>

#include "reduce/reduction.hpp"
#include "reduce/svd_compression.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

using vorin::reduce::Compression;

static_assert(int{VORIN_COMP_OK} == int{vorin::reduce::compressed});
static_assert(int{VORIN_COMP_ROWS_ABOVE_CAPACITY} == int{vorin::reduce::rowsAboveCapacity});
static_assert(int{VORIN_COMP_SCRATCH_TOO_SMALL} == int{vorin::reduce::scratchTooSmall});
static_assert(int{VORIN_COMP_DECOMPOSE} == vorin::reduce::decomposeMode);

// Without pruning and compression, outputs and status stay as they are. A compression that is
// refused leaves the outputs as pruning left them.
void reduceForHost(const vorin::reduce::Reduction& job, int32_t& count, float* Yout, float* Kout,
                   int32_t& status) {
  if (!job.prunes() && !job.compresses()) {
    return;
  }
  if (job.prunes()) {
    std::fill_n(Yout, std::max(job.capacity, 0), 0.0f);
  }
  vorin::reduce::HostArrays outputs(Kout, Yout, job.capacity);
  const vorin::reduce::ReducedProblem reduced = vorin::reduce::reduceProblem(job, outputs);
  status = reduced.status;
  if (job.prunes() || status == VORIN_COMP_OK) {
    count = reduced.rows;
  }
}

}  // namespace

extern "C" {

void VORIN_CALL VorinCompSVD_s(int32_t m, int32_t n, int32_t ldK, int32_t ldC, const float* K,
                               const float* d, float SVDT, int32_t SVDN, int32_t* count, float* Kc,
                               float* dc, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const Compression job{m, n, ldK, ldC, K, d, SVDT, SVDN, Kc, dc, n};
  vorin::reduce::compressInKeptArrays(job, *count, *status);
}

void VORIN_CALL VorinCompSVD2_s(int32_t m, int32_t n, int32_t ldK, int32_t ldC, float* K,
                                const float* d, float SVDT, int32_t SVDN, int32_t* count, float* Kc,
                                float* dc, float* V, float* S, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const Compression job{m, n, ldK, ldC, K, d, SVDT, SVDN, Kc, dc, n};
  vorin::reduce::compressInPlace(job, K, V, S, *count, *status);
}

void VORIN_CALL VorinCompSVD3_s(const int32_t* mode, const int32_t* scratchLen, const int32_t* m,
                                const int32_t* n, const int32_t* ldK, const int32_t* ldC,
                                const float* K, const float* d, const float* SVDT,
                                const int32_t* SVDN, int32_t* count, float* Kc, float* dc,
                                float* scratch, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const Compression job{*m, *n, *ldK, *ldC, K, d, *SVDT, *SVDN, Kc, dc, *n};
  vorin::reduce::compressInScratch(*mode, job, scratch, *scratchLen, *count, *status);
}

void VORIN_CALL VorinCompSVD3z_s(const int32_t* mode, const int32_t* m, const int32_t* n,
                                 const int32_t* ldK, const int32_t* ldC, const float* K,
                                 const float* d, const float* SVDT, const int32_t* SVDN,
                                 int32_t* count, float* Kc, float* dc, float* U, float* VT,
                                 float* S, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const Compression job{*m, *n, *ldK, *ldC, K, d, *SVDT, *SVDN, Kc, dc, *n};
  vorin::reduce::compress(*mode, job, {U, VT, S}, *count, *status);
}

void VORIN_CALL VorinComp_s(int32_t n, int32_t nf, int32_t ldK, int32_t cap, const float* Y,
                            const float* T, const float* K, const float* W, int32_t first,
                            int32_t /*last*/, int32_t want, int32_t pmode, float SVDT, int32_t SVDN,
                            int32_t* count, float* Yout, float* Kout, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::reduce::Reduction job;
  job.points = nf;
  job.columns = n;
  job.ldK = ldK;
  job.capacityPoints = ldK;
  job.K = K;
  job.d = Y;
  job.t = T;
  job.scale = W;
  job.capacity = cap;
  job.mode = pmode;
  job.firstPoint = first;
  job.target = want;
  job.mostRows = SVDN;
  job.threshold = SVDT;
  reduceForHost(job, *count, Yout, Kout, *status);
}

}  // extern "C"
