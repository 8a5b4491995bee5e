// A standard deviation that outliers hardly change.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace vorin::toolkit {

/// The standard deviation of the normal distribution of mean 0 whose median magnitude is that
/// of `values` (Hampel, J. Am. Stat. Assoc. 69, 383, 1974). For an even count the upper of the
/// two middle magnitudes is the median. There must be one value at least.
inline double medianDeviation(std::vector<double> values) {
  constexpr double medianOfNormal = 0.6744897501960817;  // half of |N(0, 1)| lies below
  for (double& value : values) {
    value = std::fabs(value);
  }
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle / medianOfNormal;
}

}  // namespace vorin::toolkit
