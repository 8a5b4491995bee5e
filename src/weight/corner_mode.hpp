// The corner mode of the weight driver: the weight at the corner of the curve of norm
// against residual, then scaled by RWEI.
#pragma once

#include "brd/problem.hpp"
#include "weight/mode_result.hpp"

namespace vorin::weight {

/// Searches the corner and, unless RWEI says to keep it, solves once more at RWEI times
/// its weight. BRDA has no influence on either.
///   f       out, n: the distribution
///   result  out: the weight, the standard error recomputed from f, and 0 iterations.
///           Its contents on entry are not used.
/// The status words of the solves are ignored: the mode has one status.
void cornerMode(brd::Problem<float>& problem, float* f, ModeResult& result);

}  // namespace vorin::weight
