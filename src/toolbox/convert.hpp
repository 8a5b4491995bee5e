// Conversions from floating point to integer that are defined for every value.
#pragma once

#include <cstdint>
#include <limits>

namespace vorin {

/// `value` without its fraction. Values outside the 32-bit range give the nearest
/// integer there is, so that a huge setting stays huge; a NaN gives the smallest.
template <class Real>
std::int32_t truncateToInt(Real value) {
  using Limits = std::numeric_limits<std::int32_t>;
  constexpr Real beyond = static_cast<Real>(2147483648.0);
  if (value >= beyond) {
    return Limits::max();
  }
  return value > -beyond ? static_cast<std::int32_t>(value) : Limits::min();
}

}  // namespace vorin
