// Section "Stubs": the interface of the corner search without the search.
#include <algorithm>
#include <cstdint>

#include "vorin.h"

namespace {

// Required: the weight is left as it is, in both precisions; the search itself sets it.
template <class Real>
void answerZeros(std::int32_t n, Real* f, Real* rss, Real* rssSlope, std::int32_t* status) {
  std::fill_n(f, std::max(n, 0), Real(0));
  *rss = Real(0);
  *rssSlope = Real(0);
  *status = VORIN_SOLVE_OK;
}

}  // namespace

extern "C" {

void VORIN_CALL debug2_sp(int32_t /*m*/, int32_t n, const float* /*K*/, const float* /*d*/,
                          float* f, float* /*w*/, float* rss, float* rssSlope,
                          int32_t* status) noexcept {
  answerZeros(n, f, rss, rssSlope, status);
}

void VORIN_CALL debug2_dp(int32_t /*m*/, int32_t n, const double* /*K*/, const double* /*d*/,
                          double* f, double* /*w*/, double* rss, double* rssSlope,
                          int32_t* status) noexcept {
  answerZeros(n, f, rss, rssSlope, status);
}

}  // extern "C"
