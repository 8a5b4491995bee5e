// Section "Inversion": the entries of the primary driver.
#include <algorithm>
#include <vector>

#include "entry/driver.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"
#include "weight/weight_driver.hpp"
#include "weight/weight_search.hpp"

namespace {

using vorin::entry::DefaultArrays;
using vorin::entry::Inversion;

static_assert(int{VORIN_OK} == int{vorin::weight::searchConverged});
static_assert(int{VORIN_SOLVER_FAILED} == int{vorin::weight::searchSolverFailed});
static_assert(int{VORIN_SEARCH_EXHAUSTED} == int{vorin::weight::searchExhausted});
static_assert(int{VORIN_LOWER_WEIGHT_LIMIT} == int{vorin::weight::searchLowerLimit});
static_assert(int{VORIN_UPPER_WEIGHT_LIMIT} == int{vorin::weight::searchUpperLimit});
static_assert(int{VORIN_CORNER_MODE} == int{vorin::weight::cornerModeStatus});

void invertWithDefaults(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                        int32_t* status) {
  DefaultArrays arrays(nf, ng);
  vorin::entry::invert(arrays.job(K, Y, F), *status);
}

// `count` values rounded to single precision; a count below 0 counts as 0.
std::vector<float> narrowed(const double* values, std::ptrdiff_t count) {
  std::vector<float> copy(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
  std::transform(values, values + copy.size(), copy.begin(),
                 [](double value) { return static_cast<float>(value); });
  return copy;
}

}  // namespace

extern "C" {

void VORIN_CALL Vorin_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                        int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  invertWithDefaults(nf, ng, K, Y, F, status);
}

void VORIN_CALL Voriny_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/,
                         const int32_t* /*ngAddress*/, const float* K, const float* T,
                         const float* Y, float* W, const float* G, float* F, float* FIT,
                         int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::entry::invert({nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

void VORIN_CALL Vorin_d(int32_t nf, int32_t ng, const double* K, const double* Y, double* F,
                        int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const std::ptrdiff_t points = std::max(nf, 0);
  const std::vector<float> kernel = narrowed(K, points * std::max(ng, 0));
  const std::vector<float> data = narrowed(Y, points);
  std::vector<float> distribution = narrowed(F, ng);
  invertWithDefaults(nf, ng, kernel.data(), data.data(), distribution.data(), status);
  std::copy(distribution.begin(), distribution.end(), F);
}

void VORIN_CDECL vorin_s_cdecl(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                               int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  invertWithDefaults(nf, ng, K, Y, F, status);
}

}  // extern "C"
