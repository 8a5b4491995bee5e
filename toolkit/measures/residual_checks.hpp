// Whether the residual of a fit looks like noise: what a report tells so that a reader need not
// trust the fit blindly.
#pragma once

#include <cstddef>
#include <vector>

namespace vorin::toolkit {

/// Numbers are not-a-number where the residual is 0 or has too few samples for them.
struct ResidualChecks {
  std::size_t samples = 0;
  double rootMeanSquare = 0.0;
  /// The mean, in standard deviations that it has for noise: mean sqrt(n) / rms.
  double mean = 0.0;
  /// The correlation of neighbours, sum r[i] r[i+1] / sum r[i]^2; about 0 with a standard deviation
  /// of 1/sqrt(n) for noise (Bartlett, J. R. Stat. Soc. Suppl. 8, 27, 1946).
  double correlation = 0.0;
  /// Runs of one sign, and how far their count is off that of noise, in its standard deviations
  /// (Wald and Wolfowitz, Ann. Math. Stat. 11, 147, 1940); below 0 for too few, which is a fit that
  /// misses the curve.
  std::size_t runs = 0;
  double runsOff = 0.0;
  double largest = 0.0;         ///< the largest magnitude over the root mean square
  double largestOfNoise = 0.0;  ///< the median of that for so many normal variates
};

/// The checks of `residual` without the samples at the indices `rejected`, which rise.
ResidualChecks checkResidual(const std::vector<double>& residual,
                             const std::vector<std::size_t>& rejected);

/// A check that is farther off than so many standard deviations is no chance: for noise that is
/// once in 370 residuals.
inline constexpr double suspiciousDeviations = 3.0;

}  // namespace vorin::toolkit
