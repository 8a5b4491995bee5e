// The noise mode of the weight driver: the standard error of the fit is derived from the
// noise of the data, and a search finds the weight that reaches it.
#pragma once

#include <cstdint>

#include "brd/problem.hpp"
#include "weight/mode_result.hpp"

namespace vorin::weight {

/// Estimates the noise, sets WFAC, CSIG and DSE, and searches.
///   f, c    in and out, n and m: the distribution and the dual vector
///   result  in: w holds the host's weight; out: weight, standard error and number of
///           iterations of the returned solution
///   status  out: that of the search, whatever the estimator reported
void noiseMode(brd::Problem<float>& problem, float* f, float* c, ModeResult& result,
               std::int32_t& status);

}  // namespace vorin::weight
