// The array helpers against their defining recurrences and closed forms.
#include "toolbox/array_helpers.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "toolbox/extremes.hpp"

namespace {

constexpr std::int32_t unset = -777;

std::vector<std::int32_t> sequence(std::int32_t first, std::int32_t increment, std::int32_t n,
                                   std::size_t extent) {
  std::vector<std::int32_t> out(extent, unset);
  vorin::arith_seq_i({out.data(), static_cast<std::ptrdiff_t>(extent), 1}, first, increment, n);
  return out;
}

// Element k of first + k * increment in 32-bit arithmetic that wraps around.
std::int32_t element(std::int32_t first, std::int32_t increment, std::int32_t k) {
  const auto wide = static_cast<std::int64_t>(first) + static_cast<std::int64_t>(increment) * k;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(wide));
}

TEST(ArrayHelpers, SwapExchanges) {
  std::int32_t a = 3;
  std::int32_t b = -4;
  vorin::swap_i(a, b);
  EXPECT_EQ(a, -4);
  EXPECT_EQ(b, 3);
  vorin::swap_i(a, a);
  EXPECT_EQ(a, -4);
}

TEST(ArrayHelpers, ArithSeqOfAnyLengthAroundTheChangeOfMethod) {
  for (std::int32_t n = 1; n <= 70; ++n) {  // 16 and 17 among them
    for (const std::int32_t increment : {0, 1, -3, 1000000}) {
      const auto out = sequence(5, increment, n, 80);
      for (std::int32_t k = 0; k < 80; ++k) {
        EXPECT_EQ(out[static_cast<std::size_t>(k)], k < n ? element(5, increment, k) : unset)
            << n << ' ' << k;
      }
    }
  }
}

TEST(ArrayHelpers, ArithSeqBelowOneDoesNothing) {
  for (const std::int32_t n : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(sequence(1, 1, n, 4), (std::vector<std::int32_t>(4, unset)));
  }
}

TEST(ArrayHelpers, ArithSeqStaysInsideItsView) {
  EXPECT_EQ(sequence(1, 1, 40, 18).back(), 18);
  EXPECT_TRUE(sequence(1, 1, 40, 0).empty());
}

TEST(ArrayHelpers, ArithSeqWrapsAround) {
  const std::int32_t big = std::numeric_limits<std::int32_t>::max();
  const auto out = sequence(big - 2, big / 3, 40, 40);
  for (std::int32_t k = 0; k < 40; ++k) {
    EXPECT_EQ(out[static_cast<std::size_t>(k)], element(big - 2, big / 3, k));
  }
}

TEST(ArrayHelpers, ArithSeqInAStridedView) {
  std::vector<std::int32_t> out(60, unset);
  vorin::arith_seq_i({out.data() + 59, 20, -3}, 1, 1, 20);
  for (std::int32_t k = 0; k < 60; ++k) {
    const bool inside = (59 - k) % 3 == 0 && (59 - k) / 3 < 20;
    EXPECT_EQ(out[static_cast<std::size_t>(k)], inside ? (59 - k) / 3 + 1 : unset) << k;
  }
}

template <class Real>
void checkOuterProduct(void (*product)(vorin::VectorView<const Real>, vorin::VectorView<const Real>,
                                       vorin::MatrixView<Real>)) {
  const std::vector<Real> a{1, -2, Real(0.5)};
  const std::vector<Real> b{3, 0, 0, 7};  // every third one: 3, 7
  std::vector<Real> out(8, Real(-1));     // 3 x 2 with a leading dimension of 4
  product({a.data(), 3, 1}, {b.data(), 2, 3}, {out.data(), 3, 2, 1, 4});
  EXPECT_EQ(out, (std::vector<Real>{3, -6, Real(1.5), -1, 7, -14, Real(3.5), -1}));
  product({a.data(), 0, 1}, {b.data(), 2, 3}, {out.data(), 0, 2, 1, 4});
  EXPECT_EQ(out[0], Real(3));
}

TEST(ArrayHelpers, OuterProductFillsASection) {
  checkOuterProduct<float>(vorin::outer_product_sp);
  checkOuterProduct<double>(vorin::outer_product_dp);
}

TEST(ArrayHelpers, ScaledHypotWithBothArgumentsZeroIsZero) {
  EXPECT_EQ(vorin::scaled_hypot_sp(0.0f, 0.0f), 0.0f);
  EXPECT_EQ(vorin::scaled_hypot_dp(0.0, -0.0), 0.0);
}

TEST(ArrayHelpers, ScaledHypotNeitherOverflowsNorUnderflows) {
  EXPECT_EQ(vorin::scaled_hypot_sp(3.0f, -4.0f), 5.0f);
  EXPECT_EQ(vorin::scaled_hypot_sp(-4.0f, 3.0f), 5.0f);
  EXPECT_EQ(vorin::scaled_hypot_sp(0.0f, -2.0f), 2.0f);
  EXPECT_EQ(vorin::scaled_hypot_sp(2.0f, 0.0f), 2.0f);
  EXPECT_NEAR(vorin::scaled_hypot_sp(3e30f, 4e30f) / 5e30f, 1.0f, 3e-7f);
  EXPECT_NEAR(vorin::scaled_hypot_sp(3e-30f, 4e-30f) / 5e-30f, 1.0f, 3e-7f);
  EXPECT_NEAR(vorin::scaled_hypot_dp(3e200, 4e200) / 5e200, 1.0, 4e-16);
  EXPECT_NEAR(vorin::scaled_hypot_dp(-4e-200, 3e-200) / 5e-200, 1.0, 4e-16);
}

TEST(ArrayHelpers, ExtremesGiveTheSecondNumberNextToNaN) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(vorin::largerOf(1.0f, nan)));
  EXPECT_TRUE(std::isnan(vorin::smallerOf(1.0f, nan)));
  EXPECT_EQ(vorin::largerOf(nan, 1.0f), 1.0f);
  EXPECT_EQ(vorin::smallerOf(nan, 1.0f), 1.0f);
  EXPECT_EQ(vorin::largerOf(2.0f, 1.0f), 2.0f);
  EXPECT_EQ(vorin::smallerOf(2.0f, 1.0f), 1.0f);
}

}  // namespace
