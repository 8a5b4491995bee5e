// The exported entries of the compressed drivers. The short ones make up the arrays
// that a host of six arguments does not give.
#include "entry/compressed_driver.hpp"
#include "vorin.h"

namespace {

using vorin::entry::Generation;

void invertShort(const Generation& generation, int32_t nf, int32_t ng, const float* K,
                 const float* Y, float* F, int32_t* status) {
  vorin::entry::MadeUpArrays arrays(nf, ng);
  vorin::entry::invertCompressed(generation, arrays.job(K, Y, F), *status);
}

}  // namespace

void VorinC_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
              int32_t* status) noexcept {
  invertShort(vorin::entry::generationC, nf, ng, K, Y, F, status);
}

void VorinC2_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
               int32_t* status) noexcept {
  invertShort(vorin::entry::generationC2, nf, ng, K, Y, F, status);
}

void VorinC4_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
               int32_t* status) noexcept {
  invertShort(vorin::entry::generationC4, nf, ng, K, Y, F, status);
}

void VorinC5_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
               int32_t* status) noexcept {
  invertShort(vorin::entry::generationC5, nf, ng, K, Y, F, status);
}

void VorinyC_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/, const int32_t* /*ngAddress*/,
               const float* K, const float* T, const float* Y, float* W, const float* G, float* F,
               float* FIT, int32_t* status) noexcept {
  vorin::entry::invertCompressed(vorin::entry::generationC, {nf, ng, K, T, Y, W, G, F, FIT},
                                 *status);
}

void VorinyC2_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/, const int32_t* /*ngAddress*/,
                const float* K, const float* T, const float* Y, float* W, const float* G, float* F,
                float* FIT, int32_t* status) noexcept {
  vorin::entry::invertCompressed(vorin::entry::generationC2, {nf, ng, K, T, Y, W, G, F, FIT},
                                 *status);
}

void VorinyC3_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/, const int32_t* /*ngAddress*/,
                const float* K, const float* T, const float* Y, float* W, const float* G, float* F,
                float* FIT, int32_t* status) noexcept {
  vorin::entry::invertCompressed(vorin::entry::generationC3, {nf, ng, K, T, Y, W, G, F, FIT},
                                 *status);
}

void VorinyC4_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/, const int32_t* /*ngAddress*/,
                const float* K, const float* T, const float* Y, float* W, const float* G, float* F,
                float* FIT, int32_t* status) noexcept {
  vorin::entry::invertCompressed(vorin::entry::generationC4, {nf, ng, K, T, Y, W, G, F, FIT},
                                 *status);
}

void VorinyC5_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/, const int32_t* /*ngAddress*/,
                const float* K, const float* T, const float* Y, float* W, const float* G, float* F,
                float* FIT, int32_t* status) noexcept {
  vorin::entry::invertCompressed(vorin::entry::generationC5, {nf, ng, K, T, Y, W, G, F, FIT},
                                 *status);
}
