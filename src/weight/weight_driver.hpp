// The weight driver: from a kernel and data to a distribution and the result keys,
// at a weight that the key TARG says how to choose.
#pragma once

#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::weight {

/// The status of corner mode, which has no failure to report; a host reads it.
inline constexpr std::int32_t cornerModeStatus = 999;

/// Solves K f = d for f >= 0.
///   f       in and out, n: the distribution
///   status  out: 0 success; 1 the solver failed; 2, 21, 22 a SearchStatus;
///           cornerModeStatus in corner mode
/// Writes the result keys CSE, CWIT, CWEI, CSTA, and those of the mode. The kernel may
/// be full, pruned or compressed: here it is a dense matrix.
void Vorin_SEtoW(brd::Problem<float>& problem, float* f, std::int32_t& status);

/// The same for K (m x n, column-major, leading dimension m) and d (m). m or n below 1 is empty.
void Vorin_SEtoW(int m, int n, const float* K, const float* d, float* f, std::int32_t& status);

}  // namespace vorin::weight
