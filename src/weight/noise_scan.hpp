// The asymptotic scan: the noise from the standard errors of a series of solves.
//
// As the weight falls, the standard error of the solution falls toward the noise and
// flattens; the flat end is the estimate. Every point is a real solve, so that the
// scan ends where the solver no longer converges.
#pragma once

#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::weight {

/// Solves at decade weights from 100 * base downward, 21 at most, until a solve fails;
/// upward to three good points when the first one fails.
///   f, c    n and m, work areas. c starts from ones; it is ones again afterwards when
///           there were two good points or more.
///   base    in: a tenth of the kernel's mean squared column norm
///   w       out: where the curve of the standard error over the exponent crosses dse;
///           the last weight that could be solved when it does not, base when none could
///   sig     out: the smallest standard error of the good solves; 1e12 without any
///   dse     out: the standard error requested of the fit
///   status  out: that of the last solve
void VorinCalcSEA2(brd::Problem<float>& problem, float* f, float* c, float base, float& w,
                   float& sig, float& dse, std::int32_t& status);

}  // namespace vorin::weight
