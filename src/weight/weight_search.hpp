// The search for the weight at which the residual reaches a given standard error.
#pragma once

#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::weight {

/// How a search ends; the values are those a host reads.
enum SearchStatus : std::int32_t {
  searchConverged = 0,
  searchSolverFailed = 1,
  searchExhausted = 2,
  searchLowerLimit = 21,
  searchUpperLimit = 22,
};

/// Finds w with rss(w) = m sigwant^2: Newton's iteration on the residual sum of
/// squares, whose derivative each solve gives, damped by the fraction WFRA, limited by
/// the ratio WRAT, inside limits that end the search at the third touch.
///   f       in and out, n: the distribution
///   c       in and out, m: the dual vector, carried from solve to solve
///   w       in: where to start; out: the weight of the returned solution
///   iterationLimit  in: WITE; one solve more than that is made at most, not counting
///           solves that fail before the first good one
///   signow  out: standard error of the returned solution, sqrt(rss / m)
///   iter    out: its iteration number; the number of solves when the limit ended it
///   status  out: a SearchStatus. The last good solve is returned with 1 and 2, the
///           last solve, good or not, with the others.
void Vorin_TargSE(brd::Problem<float>& problem, float* f, float* c, float& w, float sigwant,
                  float iterationLimit, float& signow, float& iter, std::int32_t& status);

}  // namespace vorin::weight
