// One solve at one weight by the exports, in the precision of its arguments.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "vorin.h"

namespace vorin::test {

template <class Real>
struct Solved {
  std::vector<Real> f;
  Real rss = -1;
  Real rssSlope = -1;
  std::int32_t status = -1;
};

/// The export of a precision.
template <class Real>
constexpr auto oneSolveOf() {
  if constexpr (std::is_same_v<Real, double>) {
    return &vrBRDw_dp_dll;
  } else {
    return &vrBRDw_sp_dll;
  }
}

/// By `solveOnce`, an export as oneSolveOf() gives it, of this library or another. What stands in
/// the distribution before has no influence, and the element behind it stays as it is.
template <class Real, class Export>
Solved<Real> solvedBy(Export solveOnce, int m, int n, const std::vector<Real>& K,
                      const std::vector<Real>& d, Real weight) {
  constexpr Real before = -5;
  Solved<Real> out;
  out.f.assign(static_cast<std::size_t>(std::max(n, 0)) + 1, before);
  solveOnce(m, n, K.data(), d.data(), out.f.data(), &weight, &out.rss, &out.rssSlope, &out.status);
  EXPECT_EQ(out.f.back(), before);
  out.f.pop_back();
  return out;
}

}  // namespace vorin::test
