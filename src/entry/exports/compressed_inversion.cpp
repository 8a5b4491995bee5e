// Section "Inversion after compression": the entries of the five compressed drivers.
#include "entry/compressed_driver.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

using vorin::entry::Variant;

void invertWithDefaults(const Variant& variant, int32_t nf, int32_t ng, const float* K,
                        const float* Y, float* F, int32_t* status) {
  vorin::entry::DefaultArrays arrays(nf, ng);
  vorin::entry::invertCompressed(variant, arrays.job(K, Y, F), *status);
}

}  // namespace

extern "C" {

void VORIN_CALL VorinC_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                         int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  invertWithDefaults(vorin::entry::variantC, nf, ng, K, Y, F, status);
}

void VORIN_CALL VorinC2_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                          int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  invertWithDefaults(vorin::entry::variantC2, nf, ng, K, Y, F, status);
}

void VORIN_CALL VorinC4_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                          int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  invertWithDefaults(vorin::entry::variantC4, nf, ng, K, Y, F, status);
}

void VORIN_CALL VorinC5_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                          int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  invertWithDefaults(vorin::entry::variantC5, nf, ng, K, Y, F, status);
}

void VORIN_CALL VorinyC_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/,
                          const int32_t* /*ngAddress*/, const float* K, const float* T,
                          const float* Y, float* W, const float* G, float* F, float* FIT,
                          int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::entry::invertCompressed(vorin::entry::variantC, {nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

void VORIN_CALL VorinyC2_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/,
                           const int32_t* /*ngAddress*/, const float* K, const float* T,
                           const float* Y, float* W, const float* G, float* F, float* FIT,
                           int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::entry::invertCompressed(vorin::entry::variantC2, {nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

void VORIN_CALL VorinyC3_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/,
                           const int32_t* /*ngAddress*/, const float* K, const float* T,
                           const float* Y, float* W, const float* G, float* F, float* FIT,
                           int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::entry::invertCompressed(vorin::entry::variantC3, {nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

void VORIN_CALL VorinyC4_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/,
                           const int32_t* /*ngAddress*/, const float* K, const float* T,
                           const float* Y, float* W, const float* G, float* F, float* FIT,
                           int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::entry::invertCompressed(vorin::entry::variantC4, {nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

void VORIN_CALL VorinyC5_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/,
                           const int32_t* /*ngAddress*/, const float* K, const float* T,
                           const float* Y, float* W, const float* G, float* F, float* FIT,
                           int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::entry::invertCompressed(vorin::entry::variantC5, {nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

}  // extern "C"
