// The dispatchers of one solve at one weight: the key BRDA picks the route.
//
//   BRDA            caller in single              caller in double
//   1               single iteration              single iteration, converted
//   3               quadratic program, converted  quadratic program
//   anything else   double iteration, converted   double iteration
#pragma once

#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::brd {

/// True when BRDA names the single-precision iteration, the one route whose result depends on
/// the signs of the rows of K and d: it starts from a dual vector of ones.
bool iteratesInSinglePrecision();

/// Solves `problem` at `weight` by the route that BRDA names.
///   f   in and out, n: the distribution. The single-precision iteration does not
///       read it; the converting routes start from 1.0.
///   c   in and out, m: the dual vector. The single iteration starts from it and
///       updates it, so that a search that hands in the same c starts warm; the
///       other routes neither read nor write it.
///   status  0, or 1 when the iteration ran out of passes or stalled; on the third
///           route a QpStatus
///   reads   what the caller reads of the solve
/// Returns true where the solve is deferred: f then is the mask of its distribution (1 or 0), and
/// completeSolve() makes the distribution of it.
bool vrBRD_s(Problem<float>& problem, float* f, float* c, float weight, float& rss, float& rssSlope,
             std::int32_t& status, Reads reads = {});
void vrBRD_d(Problem<double>& problem, double* f, double* c, double weight, double& rss,
             double& rssSlope, std::int32_t& status);

/// Replaces the mask f (n) that vrBRD_s has left at `weight` by the distribution, and returns its
/// residual sum of squares.
float completeSolve(Problem<float>& problem, float* f, float weight);

/// The third route for a caller in single precision, whatever BRDA says.
void vrBRD_s_qp(Problem<float>& problem, float* f, float weight, float& rss, float& rssSlope,
                std::int32_t& status);

}  // namespace vorin::brd
