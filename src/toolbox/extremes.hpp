// The larger and the smaller of two numbers, with a stated outcome for NaN: a
// comparison with NaN is false, and then the second number is the result. The
// order of the arguments is thus part of a formula: an unknown quantity comes
// second and its NaN is the result, a limit comes first and its NaN is ignored.
#pragma once

namespace vorin {

template <class Real>
constexpr Real largerOf(Real a, Real b) {
  return a > b ? a : b;
}

template <class Real>
constexpr Real smallerOf(Real a, Real b) {
  return a < b ? a : b;
}

}  // namespace vorin
