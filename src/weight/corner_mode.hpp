// The corner mode of the weight driver: the weight at the corner of the curve of norm
// against residual, then scaled as the host wants it.
#pragma once

#include "brd/problem.hpp"
#include "weight/mode_result.hpp"

namespace vorin::weight {

/// Searches the corner and, unless RWEI says to keep it, solves once more at RWEI times
/// its weight. Neither solve is governed by BRDA.
///   f       out, n: the distribution
///   result  out: the weight, the standard error recomputed from f, and 0 iterations.
///           What it holds on entry is not used.
/// The solves' status words are dropped: the mode has one outcome.
void cornerMode(brd::Problem<float>& problem, float* f, ModeResult& result);

}  // namespace vorin::weight
