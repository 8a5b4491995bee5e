// CHToString3_dp: the notation that the magnitude decides, and the decimals that the
// columns leave.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "params/guarded_text.hpp"
#include "vorin.h"

namespace {

using vorin::test::byCLibrary;
using vorin::test::expectAtEveryLength;
using vorin::test::guardedText;
using vorin::test::infinity;
using vorin::test::notANumber;
using vorin::test::trimmed;
using vorin::test::wide;
using vorin::test::withE;

struct Fit {
  std::int32_t w, d;
  double lower, upper;
  std::int32_t fmin;
};

auto fitCall(double x, const Fit& fit) {
  return [x, fit](char* text, const std::int32_t* length) {
    CHToString3_dp(text, &x, &fit.w, &fit.d, &fit.lower, &fit.upper, &fit.fmin, length);
  };
}

std::string textOf(double x, const Fit& fit) {
  return trimmed(guardedText(wide, fitCall(x, fit)));
}

TEST(CHToString3, ExponentNotationBelowTheLowerAndFromTheUpperBoundOn) {
  const Fit fit = {13, 6, 0.1, 1000.0, 0};
  EXPECT_EQ(textOf(0.0999, fit), " 0.999000E-01");
  EXPECT_EQ(textOf(0.1, fit), " 0.100000");
  EXPECT_EQ(textOf(999.0, fit).find('E'), std::string::npos);
  EXPECT_EQ(textOf(1000.0, fit), " 0.100000E+04");
  EXPECT_EQ(textOf(-1000.0, fit), "-0.100000E+04");
  EXPECT_EQ(textOf(0.0, fit), " 0.000000E+00");
  EXPECT_EQ(textOf(1.25e101, fit), " 0.125000+102");
}

TEST(CHToString3, DecimalsOfFixedNotationByHand) {
  // wf = 9; d - w + 4 + wf = 6 decimals, less the powers of ten above sqrt(10)/10
  // and less one for a sign.
  const Fit fit = {13, 6, 1e-20, 1e20, 0};
  EXPECT_EQ(textOf(1.5, fit), " 1.500000");
  EXPECT_EQ(textOf(-1.5, fit), " -1.50000");
  EXPECT_EQ(textOf(3.1, fit), " 3.100000");      // log10 + 0.5 is 0.991
  EXPECT_EQ(textOf(3.2, fit), "  3.20000");      // 1.005
  EXPECT_EQ(textOf(123.456, fit), " 123.4560");  // 2.59: 4 decimals
  EXPECT_EQ(textOf(-123.456, fit), " -123.456");
  EXPECT_EQ(textOf(0.05, fit), " 0.050000");  // -0.80 is cut off to 0: 6 decimals
  EXPECT_EQ(textOf(0.02, fit), "0.0200000");  // -1.20 to -1: 7
  EXPECT_EQ(textOf(-0.02, fit), "-0.020000");
  EXPECT_EQ(textOf(0.0002, fit), "0.0002000");  // -3.2: 9, at most wf - 2
  EXPECT_EQ(textOf(2e6, fit), " 2000000.");     // 6.8: no decimal
  EXPECT_EQ(textOf(5e6, fit), " 5000000.");     // 7.2: at least 0
  EXPECT_EQ(textOf(2e8, fit), "*********");
}

TEST(CHToString3, FixedNotationHasAtLeastTheWantedColumnsAndAtMostAll) {
  const Fit sixWanted = {12, 4, 0.0, 1e20, 6};
  EXPECT_EQ(textOf(1.5, sixWanted), "  1.5000");  // w - 4 = 8 is more
  const Fit tenWanted = {12, 4, 0.0, 1e20, 10};
  EXPECT_EQ(textOf(1.5, tenWanted), "  1.500000");  // (4 - 12) - 0 + 4 + 10
  const Fit twentyWanted = {12, 4, 0.0, 1e20, 20};
  EXPECT_EQ(textOf(1.5, twentyWanted), "  1.50000000");  // wf = 12
  const Fit negative = {12, 4, 0.0, 1e20, -20};
  EXPECT_EQ(textOf(1.5, negative), "  1.5000");
}

TEST(CHToString3, NegativePlacesCountAsNone) {
  // Without a place the exponent notation has no digit to show.
  const Fit fit = {10, -3, 0.1, 10.0, 0};
  EXPECT_EQ(textOf(1e5, fit), "**********");
  EXPECT_EQ(textOf(1e5, {10, 0, 0.1, 10.0, 0}), "**********");
  // In fixed notation they count as they are: (-3 - 10) + 4 + 6 = -3 decimals.
  EXPECT_EQ(textOf(1.5, fit), "    2.");
}

TEST(CHToString3, TooFewColumnsShowStars) {
  EXPECT_EQ(textOf(1e-5, {10, 6, 0.1, 10.0, 0}), "**********");
  EXPECT_EQ(textOf(-1e-5, {11, 6, 0.1, 10.0, 0}), "***********");
  EXPECT_EQ(textOf(1e-5, {11, 6, 0.1, 10.0, 0}), ".100000E-04");
  EXPECT_EQ(textOf(123.0, {1, 0, 0.1, 1e9, 1}), "*");
  EXPECT_EQ(textOf(7.0, {1, 0, 0.1, 1e9, 5}), "*");  // the point finds no room
  EXPECT_EQ(textOf(7.0, {2, 0, 0.1, 1e9, 5}), "7.");
}

TEST(CHToString3, NoColumnsLeaveTheTextBlank) {
  for (const std::int32_t w : {0, -1, -100, INT32_MIN}) {
    EXPECT_EQ(textOf(1.5, {w, 3, 0.1, 10.0, 5}), "") << w;
    EXPECT_EQ(textOf(1e9, {w, 3, 0.1, 10.0, 5}), "") << w;
  }
  EXPECT_EQ(textOf(1.5, {4, 3, 0.1, 10.0, 0}), "");  // w - 4 and fmin are 0
}

TEST(CHToString3, MoreThanThirtyTwoColumnsShowThirtyTwoStars) {
  const std::string stars(32, '*');
  for (const std::int32_t w : {33, 37, 99, 100, 1000, INT32_MAX}) {
    EXPECT_EQ(textOf(1e9, {w, 6, 0.1, 10.0, 0}), stars) << w;
    EXPECT_EQ(textOf(1.5, {w, 6, 0.1, 10.0, INT32_MAX}), stars) << w;
  }
  EXPECT_EQ(textOf(1.5, {36, 6, 0.1, 10.0, 0}).size(), 32U);
  EXPECT_EQ(textOf(1.5, {37, 6, 0.1, 10.0, 0}), stars);
  EXPECT_EQ(textOf(1e9, {32, 6, 0.1, 10.0, 0}), std::string(20, ' ') + "0.100000E+10");
}

TEST(CHToString3, HostileNumbersHaveAResult) {
  const Fit fit = {13, 6, 0.1, 1e6, 0};
  EXPECT_EQ(textOf(notANumber, fit), "      NaN");  // neither bound holds it
  EXPECT_EQ(textOf(infinity, fit), "     Infinity");
  EXPECT_EQ(textOf(-infinity, fit), "    -Infinity");
  EXPECT_EQ(textOf(infinity, {13, 6, 0.1, notANumber, 0}), " Infinity");
  EXPECT_EQ(textOf(0.0, {13, 6, 0.0, 1e6, 0}), "0.0000000");  // log10 is minus infinity
  EXPECT_EQ(textOf(1.5, {13, 6, notANumber, notANumber, 0}), " 1.500000");
  for (const std::int32_t d : {INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(textOf(1e9, {13, d, 0.1, 1e6, 0}), std::string(13, '*'));
    EXPECT_EQ(textOf(1.5, {13, d, 0.1, 1e6, 0}), d > 0 ? "1.5000000" : "       2.");
  }
}

/// The integer part of log10(a) + 0.5, by comparison with sqrt(10) times the powers of
/// ten: how many of 10^0.5, 10^1.5 ... lie at or below a, or, as a negative number, how
/// many of 10^-1.5, 10^-2.5 ... lie at or above it.
int halfPowersPassed(double a) {
  constexpr int last = 310;
  static const std::vector<long double> halfPowers = [] {
    std::vector<long double> powers;
    for (int k = -last; k <= last; ++k) {
      powers.push_back(std::pow(10.0L, k + 0.5L));
    }
    return powers;
  }();
  const auto* const first = halfPowers.data();
  const auto* const end = first + halfPowers.size();
  return a >= 1.0
             ? static_cast<int>(std::upper_bound(first + last, end, a) - (first + last))
             : -static_cast<int>(first + last - 1 - std::lower_bound(first, first + last - 1, a));
}

/// What fixed notation shows, by the C library. A leading zero gives way when
/// nothing else does.
std::string fixedByCLibrary(double x, int columns, int decimals) {
  const std::string format = "%#." + std::to_string(decimals) + 'f';
  std::string text = byCLibrary(format.c_str(), x);
  if (text.find_first_of("123456789") == std::string::npos && text[0] == '-') {
    text = text.substr(1);  // a value that shows as zero has no sign
  }
  const auto room = static_cast<std::size_t>(columns);
  const std::size_t zero = text[0] == '-' ? 1 : 0;
  if (text.size() == room + 1 && text[zero] == '0' && text.size() > zero + 2) {
    text = text.substr(0, zero).append(text.substr(zero + 1));
  }
  return text.size() > room ? std::string(room, '*') : std::string(room - text.size(), ' ') + text;
}

TEST(CHToString3, FixedNotationOfAllMagnitudesInWidthsFrom1To32) {
  for (int w = 1; w <= 32; ++w) {
    for (int power = -300; power <= 300; power += 7) {
      for (const double mantissa : {1.0, 2.5, 3.3, 7.0, 9.995}) {
        for (const int fmin : {0, 9, w}) {
          const double a = mantissa * std::pow(10.0, power);
          const int columns = std::min(std::max(fmin, w - 4), w);
          for (const double x : {a, -a}) {
            const int decimals = std::max(
                0,
                std::min(6 - w - halfPowersPassed(a) - (x < 0 ? 1 : 0) + 4 + columns, columns - 2));
            const std::string text = textOf(x, {w, 6, 0.0, infinity, fmin});
            ASSERT_EQ(text, columns < 1 ? "" : fixedByCLibrary(x, columns, decimals))
                << x << ' ' << w << ' ' << fmin;
          }
        }
      }
    }
  }
}

TEST(CHToString3, ExponentNotationOfAllMagnitudesInWidthsFrom1To32) {
  for (int w = 1; w <= 32; ++w) {
    for (int power = -300; power <= 300; power += 7) {
      for (const double x : {2.5 * std::pow(10.0, power), -7.75 * std::pow(10.0, power)}) {
        const int d = std::min(w / 2, 14);
        const std::string text = textOf(x, {w, d, infinity, infinity, 0});
        ASSERT_EQ(text.size(), static_cast<std::size_t>(w));
        // The sign and "0." give way to each other last: point, places, exponent.
        const bool fits = d > 0 && d + 5 + (x < 0 ? 1 : 0) <= w;
        ASSERT_EQ(text.find('*') == std::string::npos, fits) << text;
        if (fits) {
          EXPECT_LE(std::fabs(std::strtod(withE(text).c_str(), nullptr) / x - 1.0),
                    0.5 * std::pow(10.0, 1 - d) * (1.0 + 1e-12))
              << text;
        }
      }
    }
  }
}

TEST(CHToString3, StaysInsideTheHostsText) {
  expectAtEveryLength(" 1.500000", fitCall(1.5, {13, 6, 0.1, 1e6, 0}));
  expectAtEveryLength(" 0.150000E+10", fitCall(1.5e9, {13, 6, 0.1, 1e6, 0}));
  expectAtEveryLength(std::string(32, '*'), fitCall(1.5e9, {INT32_MAX, 6, 0.1, 1e6, 0}));
  expectAtEveryLength("", fitCall(1.5e9, {INT32_MIN, 6, 0.1, 1e6, 0}));
  for (std::int32_t w = 1; w <= 32; ++w) {
    expectAtEveryLength(std::string(static_cast<std::size_t>(w), '*'),
                        fitCall(1e300, {w, w, 0.0, 1.0, 0}));
  }
}

}  // namespace
