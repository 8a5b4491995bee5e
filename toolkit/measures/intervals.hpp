// The intervals of measures from the replicates of a bootstrap.
#pragma once

#include <vector>

namespace vorin::toolkit {

/// What one standard deviation either way leaves out of a normal variate on each side.
inline constexpr double tailShare = 0.158655;

/// Where a measure lies with the probability of one standard deviation either way, 68 %.
struct Interval {
  double lower = 0.0;  ///< not a number where it is not known
  double upper = 0.0;
};

/// The interval of a measure that is `value` for the inversion and `replicates` for those of its
/// bootstrap, both on a scale on which the measure lies either way alike: ln T for a relaxation
/// time.
///
/// The replicates' median is off the value by b, what the penalty does to the fit, and half the
/// middle 68 % of them is h, what the noise does. The penalty has moved the inversion itself by
/// something between nothing, when the truth is smooth, and b, when it is as sharp as the inversion
/// (for b as the estimate of a bias: Davison and Hinkley, Bootstrap Methods and their Application,
/// Cambridge 1997, section 2.2). So the interval is value - b/2 plus and minus
/// `factor` sqrt(h^2 + (b/2)^2). Replicates that are not a number are left out; without any the
/// interval is not a number.
Interval intervalAround(double value, std::vector<double> replicates, double factor);

}  // namespace vorin::toolkit
