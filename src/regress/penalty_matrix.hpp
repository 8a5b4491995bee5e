// Difference penalties: |D x|^2 = x'P x for the differences D of a given order.
#pragma once

#include <cstdint>

namespace vorin::regress {

/// P(k) = D(k)'D(k), where D(k) takes the n - k forward differences of order k of
/// n neighbouring coefficients. Order 0 gives the identity; an order of n or above
/// the zero matrix, as there is no such difference.
///   order  in: k, not negative
///   n      in: number of coefficients; below 1 nothing is written
///   P      out: n by n, column-major, contiguous
void PenaltyMatrix_sp(std::int32_t order, std::int32_t n, float* P);
void PenaltyMatrix_dp(std::int32_t order, std::int32_t n, double* P);

}  // namespace vorin::regress
