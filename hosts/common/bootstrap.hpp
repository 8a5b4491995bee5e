// How far an inversion is to be trusted: the spread of its results when the noise is
// drawn again from the residual (Efron, Ann. Stat. 7, 1, 1979).
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "common/csv.hpp"
#include "common/inversion.hpp"

namespace vorin::host {

/// The middle 68 % of the replicates, what one standard deviation either way holds of a
/// normal variate.
struct Band {
  std::vector<double> lower;  ///< of the amplitude at each grid time, in the unit of the data
  std::vector<double> upper;
  double logMeanLower = 0.0;  ///< not a number when no replicate has a log mean
  double logMeanUpper = 0.0;
  int replicates = 0;  ///< that were inverted with success
};

struct BootstrapSettings {
  int replicates = 200;
  std::uint64_t seed = 1;
  std::function<void(int)> progress;  ///< called with the count done, if there is one
};

/// The band of `inversion`, which invert(decay, settings) returned.
///
/// A replicate is the fit plus residuals of single samples, drawn with replacement from
/// the inversion's own without their mean, and is inverted at the weight of `inversion`,
/// which stays: a weight searched anew adds the spread of the search and no truth.
///
/// The band of the distribution lies between the 16th and 84th percentile of each
/// amplitude. It shows what the noise does to the smoothed distribution, not how far
/// smoothing has moved it.
///
/// The interval of the log mean is the basic one, on its logarithm: with q(p) the
/// percentiles of the replicates, from 2 ln L - q(84 %) to 2 ln L - q(16 %) (Davison and
/// Hinkley, Bootstrap Methods and their Application, Cambridge 1997, section 5.2). The
/// replicates are as far off the inversion as that is off the truth, by the noise and by the
/// penalty alike; reflecting them takes the penalty's share out once, where an interval
/// between the percentiles themselves would hold it twice.
///
/// The library's log of the inversion stays as it is; its keys do not. One seed gives the
/// same band on every machine, up to the library's own rounding.
Band bootstrap(const Decay& decay, const InversionSettings& settings, const Inversion& inversion,
               const BootstrapSettings& options);

/// The quantile of `values`, which are sorted here, at `fraction` of the way from the least to
/// the greatest, between neighbours in proportion. Not a number when there are none.
double quantile(std::vector<double>& values, double fraction);

}  // namespace vorin::host
