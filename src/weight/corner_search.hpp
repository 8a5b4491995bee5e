// The weight at the corner of the curve that the logarithm of |f|^2 draws against the
// logarithm of rss as the weight grows: far below the corner a smaller weight
// increases the norm without a better fit, far above it a larger weight worsens the fit. The
// noise is not used. The idea is that of the L-curve (P. C. Hansen and D. P. O'Leary,
// SIAM J. Sci. Comput. 14, 1993, 1487-1503).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::weight {

/// Weights of the grid.
inline constexpr std::size_t gridSize = 17;

/// The solves on the grid, in the order of rising weight.
struct WeightGrid {
  std::array<double, gridSize> exponent{};  ///< weight = 10^exponent * base
  std::array<double, gridSize> logRss{};
  std::array<double, gridSize> logNorm{};  ///< logarithm of |f|^2
};

/// The turn of the curve per unit of its arc at each weight, counter-clockwise positive;
/// 0 at both ends. NaN beside a logarithm that is NaN or infinite.
std::array<double, gridSize> curvatures(const WeightGrid& grid);

/// The weight of the largest positive curvature, the smallest one of several; the
/// largest weight of the grid when no curvature is positive.
double cornerWeight(const WeightGrid& grid, double base);

/// The weight of the corner and the solve there.
struct CornerSolution {
  double w = 0.0;
  double rss = 0.0;
  double rssSlope = 0.0;
  std::int32_t status = 0;
};

/// Searches the corner of `problem` with 19 solves by the quadratic program, in double
/// precision and without log lines: a failed solve enters the tables like any other. f (n, out)
/// takes the distribution at the corner.
template <class Real>
CornerSolution searchCorner(brd::Problem<Real>& problem, double* f);

}  // namespace vorin::weight
