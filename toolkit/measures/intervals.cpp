#include "toolkit/measures/intervals.hpp"

#include <algorithm>
#include <cmath>

#include "toolkit/measures/bootstrap.hpp"

namespace vorin::toolkit {

Interval intervalAround(double value, std::vector<double> replicates, double factor) {
  replicates.erase(std::remove_if(replicates.begin(), replicates.end(),
                                  [](double one) { return std::isnan(one); }),
                   replicates.end());
  const double spread =
      0.5 * (quantile(replicates, 1.0 - tailShare) - quantile(replicates, tailShare));
  const double halfBias = 0.5 * (quantile(replicates, 0.5) - value);
  const double reach = factor * std::hypot(spread, halfBias);
  return {value - halfBias - reach, value - halfBias + reach};
}

}  // namespace vorin::toolkit
