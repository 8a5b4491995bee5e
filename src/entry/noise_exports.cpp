// The exported noise measures that need no inversion.
#include "vorin.h"
#include "weight/difference_noise.hpp"
#include "weight/outliers.hpp"

float VorinSEDiff(int32_t order, int32_t count, const float* x) noexcept {
  return vorin::weight::seDiff(order, count, x);
}

void VorinSEROL(const float* thresh, const float* ridge, const int32_t* lda, const int32_t* m,
                const int32_t* n, const float* K, const float* y, const float* W, float* x,
                float* flags, int32_t* nGood, int32_t* nBad, void* /*spare*/,
                int32_t* status) noexcept {
  vorin::weight::serol({*thresh, *ridge, *lda, *m, *n, K, y, W, x, flags}, *nGood, *nBad, *status);
}
