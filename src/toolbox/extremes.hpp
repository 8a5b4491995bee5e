// The larger and the smaller of two numbers, with a stated outcome for NaN: a
// comparison with NaN is false, and then the second number is the result. The
// order of the arguments is thus part of a formula: an unknown quantity stands
// second and its NaN shows, a limit stands first and its NaN is passed over.
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
