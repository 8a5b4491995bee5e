// Section "Noise measures": those that need no inversion.
#include "entry/exports/flush_on_return.hpp"
#include "regress/bvls.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"
#include "weight/difference_noise.hpp"
#include "weight/outliers.hpp"

namespace {

static_assert(int{VORIN_SEDIFF_FIRST} == int{vorin::weight::firstDifferences});
static_assert(int{VORIN_SEDIFF_SECOND} == int{vorin::weight::secondDifferences});
static_assert(int{VORIN_SEROL_FITTED} == int{vorin::regress::bvlsSolved});
static_assert(int{VORIN_SEROL_EMPTY} == int{vorin::regress::bvlsEmpty});
static_assert(int{VORIN_SEROL_ITERATION_LIMIT} == int{vorin::regress::bvlsIterationLimit});

}  // namespace

extern "C" {

float VORIN_CALL VorinSEDiff(int32_t order, int32_t count, const float* x) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  return vorin::weight::seDiff(order, count, x);
}

void VORIN_CALL VorinSEROL(const float* thresh, const float* ridge, const int32_t* lda,
                           const int32_t* m, const int32_t* n, const float* K, const float* y,
                           const float* W, float* x, float* flags, int32_t* nGood, int32_t* nBad,
                           void* /*spare*/, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  vorin::weight::serol({*thresh, *ridge, *lda, *m, *n, K, y, W, x, flags}, *nGood, *nBad, *status);
}

}  // extern "C"
