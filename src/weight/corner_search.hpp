// The weight at the corner of the curve that the logarithm of |f|^2 draws against the
// logarithm of rss as the weight grows: far below the corner a smaller weight buys
// amplitude and no better fit, far above it a larger one spoils the fit. No knowledge
// of the noise goes in. The idea is that of the L-curve (P. C. Hansen and D. P. O'Leary,
// SIAM J. Sci. Comput. 14, 1993, 1487-1503).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::weight {

/// Rungs of the ladder of weights.
inline constexpr std::size_t rungCount = 17;

/// The solves of the ladder, in the order of rising weight.
struct Ladder {
  std::array<double, rungCount> exponent{};  ///< weight = 10^exponent * base
  std::array<double, rungCount> logRss{};
  std::array<double, rungCount> logNorm{};  ///< logarithm of |f|^2
};

/// The turn of the curve per unit of its arc at each rung, counter-clockwise positive;
/// 0 at both ends. Not a number beside a logarithm that is none.
std::array<double, rungCount> curvatures(const Ladder& ladder);

/// The weight of the largest positive curvature, the smallest one of several; that of the
/// last rung when no curvature is positive.
double cornerWeight(const Ladder& ladder, double base);

/// The weight of the corner and the solve there.
struct CornerSolution {
  double w = 0.0;
  double rss = 0.0;
  double rssSlope = 0.0;
  std::int32_t status = 0;
};

/// Searches the corner of `problem` with 19 solves by the quadratic program, in double
/// precision and in silence: a failed solve enters the tables like any other. f (n, out)
/// takes the distribution at the corner.
template <class Real>
CornerSolution searchCorner(brd::Problem<Real>& problem, double* f);

}  // namespace vorin::weight
