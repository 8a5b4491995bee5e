// Conversions from floating point to integer that are defined for every value.
#pragma once

#include <cstdint>
#include <limits>

namespace vorin {

/// `value` without its fraction. A NaN and a value outside the 32-bit range
/// give the smallest integer, as the conversion instruction of x86 does; in C++
/// itself those conversions are undefined.
template <class Real>
std::int32_t truncateToInt(Real value) {
  constexpr Real limit = static_cast<Real>(2147483648.0);
  const bool inRange = value > -limit - static_cast<Real>(1) && value < limit;
  return inRange ? static_cast<std::int32_t>(value) : std::numeric_limits<std::int32_t>::min();
}

}  // namespace vorin
