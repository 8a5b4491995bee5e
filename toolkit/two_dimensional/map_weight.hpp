// The search for the weight of a two-dimensional inversion.
#pragma once

#include <functional>
#include <vector>

#include "toolkit/inverting/dual_newton.hpp"
#include "toolkit/two_dimensional/compressed_map.hpp"

namespace vorin::toolkit {

/// What a search found; weights are those of the scaled problem (CompressedMap).
struct WeightSearch {
  DualState state;  ///< the solution at `weight`
  double weight = 0.0;
  double least = 0.0;    ///< the least sum of squares that a map reaches
  double aim = 0.0;      ///< the sum of squares that is searched for
  int weights = 0;       ///< how many were looked at
  bool optimal = true;   ///< every solution met its condition
  bool reached = false;  ///< the aim, within 1e-3 of it
  bool cancelled = false;
};

/// The weight at which the sum of squares is the least possible plus `surplus` (above 0) times
/// the variance of a row: `variance`, or what the least fit leaves a row where that is more, as
/// for data that the kernels do not describe to within the noise. `progress` may be empty; it is
/// told the part done and answers false to cancel.
WeightSearch searchSurplus(const CompressedMap& map, const std::vector<double>& d, double surplus,
                           double variance, const std::function<bool(double)>& progress);

/// The weight at the corner of the L-curve.
WeightSearch searchCorner(const CompressedMap& map, const std::vector<double>& d,
                          const std::function<bool(double)>& progress);

}  // namespace vorin::toolkit
