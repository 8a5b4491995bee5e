// Standard errors: always the square root of (a sum of squares / m), with the sum
// taken in single precision from the first element to the last.
#pragma once

#include <vector>

#include "brd/problem.hpp"

namespace vorin::weight {

/// sqrt(|d|^2 / m): the standard error of an empty fit. Not a number for m = 0.
float rootMeanSquareOfData(const brd::Problem<float>& problem);

/// sqrt(|K f - d|^2 / m), recomputed from the distribution.
///   f     in: n
///   work  in and out: takes K f; one vector serves many calls, so that a series of
///         solves allocates once
float rootMeanSquareResidual(const brd::Problem<float>& problem, const float* f,
                             std::vector<float>& work);

}  // namespace vorin::weight
