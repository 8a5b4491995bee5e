// What the reference implementation exports beside the library's own functions. The latter
// run there on the literal linear algebra of literal_system.cpp.
#pragma once

#include <cstdint>

#include "vorin.h"

// They are called as the library's own functions are.
#ifdef _WIN32
#define VORIN_REFERENCE extern "C"
#else
#define VORIN_REFERENCE extern "C" __attribute__((visibility("default")))
#endif

/// Vorin_s with the pruning, too, in its literal form: the matrix that VorinPruneZ writes
/// for 5000 rows, and its dense products with kernel and data. Writes no log.
VORIN_REFERENCE void VORIN_CALL referenceVorin_s(std::int32_t nf, std::int32_t ng, const float* K,
                                                 const float* Y, float* F,
                                                 std::int32_t* status) noexcept;

/// One solve by the quadratic program. K m x n, d m, f (out) n, c (out) m.
VORIN_REFERENCE void VORIN_CALL referenceQuadraticProgram(std::int32_t m, std::int32_t n,
                                                          const double* K, const double* d,
                                                          double* f, double* c, double weight,
                                                          double* rss, double* rssSlope,
                                                          std::int32_t* status) noexcept;
