// The text helpers of hosts: formats, numbers as text, and the ends of the host's
// memory.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "params/format_text.hpp"
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

auto formatCall(const std::vector<double>& values, std::int32_t w) {
  return [&values, w](char* text, const std::int32_t* length) {
    std::int32_t status = -9;
    CHGetFormat_dp(values.data(), static_cast<std::int32_t>(values.size()), &w, text, length,
                   &status);
    EXPECT_EQ(status, VORIN_FORMAT_DONE);
  };
}

std::string formatOf(const std::vector<double>& values, std::int32_t w) {
  return trimmed(guardedText(wide, formatCall(values, w)));
}

auto realCall(double x) {
  return [x](char* text, const std::int32_t* length) { CHToString_dp(text, &x, length); };
}

std::string textOf(double x) {
  return trimmed(guardedText(wide, realCall(x)));
}

/// The double next to `mantissa` times ten to the `power`.
double decimal(const char* mantissa, int power) {
  std::string text = mantissa;
  text += 'e';
  text += std::to_string(power);
  return std::strtod(text.c_str(), nullptr);
}

// ---- formats --------------------------------------------------------------------

TEST(CHGetFormat, OfOneAndTwoInEightColumnsIsI8) {
  EXPECT_EQ(formatOf({1.0, 2.0}, 8), "(I8)");
}

TEST(CHGetFormat, OfOneAndAHalfInEightColumnsIsGeneralWithTwoColumnNumbers) {
  EXPECT_EQ(formatOf({1.5}, 8), "(G 8. 2)");
}

TEST(CHGetFormat, OneValueOffTheIntegersDecides) {
  EXPECT_EQ(formatOf({1.0, 2.0, -7.0, 3.25, 9.0}, 12), "(G12. 6)");
  EXPECT_EQ(formatOf({3.25, 1.0}, 12), "(G12. 6)");
  EXPECT_EQ(formatOf({1.0, 3.25}, 12), "(G12. 6)");
}

TEST(CHGetFormat, TakesValuesWithinTwoInTenToTheTwelveForIntegers) {
  for (const double n : {0.0, 1.0, -1.0, 17.0, -200.0}) {
    for (const double side : {-1.0, 1.0}) {
      EXPECT_EQ(formatOf({n + side * 1.9e-12}, 4), "(I4)") << n;
      EXPECT_EQ(formatOf({n + side * 2.1e-12}, 4), "(G 4.-2)") << n;
    }
  }
}

TEST(CHGetFormat, TakesNumbersBeyondEveryIntegerTypeForIntegers) {
  EXPECT_EQ(formatOf({1e300, -1e300, 4503599627370497.0}, 6), "(I6)");
}

TEST(CHGetFormat, InfinitiesAndNaNAreOffTheIntegers) {
  for (const double x : {infinity, -infinity, notANumber}) {
    EXPECT_EQ(formatOf({1.0, x}, 10), "(G10. 4)");
  }
}

TEST(CHGetFormat, OfNoValuesIsThatOfIntegers) {
  const std::int32_t w = 8;
  for (const std::int32_t count : {0, -1, INT32_MIN}) {
    const std::string text = guardedText(wide, [&](char* out, const std::int32_t* length) {
      std::int32_t status = -9;
      CHGetFormat_dp(nullptr, count, &w, out, length, &status);
      EXPECT_EQ(status, VORIN_FORMAT_DONE);
    });
    EXPECT_EQ(trimmed(text), "(I8)");
  }
}

TEST(CHGetFormat, ShowsStarsForWhatTwoColumnsCannotHold) {
  EXPECT_EQ(formatOf({0.5}, 100), "(G**.94)");
  EXPECT_EQ(formatOf({0.5}, 106), "(G**.**)");
  EXPECT_EQ(formatOf({0.5}, -5), "(G-5.**)");
  EXPECT_EQ(formatOf({0.5}, INT32_MIN), "(G**.**)");
  EXPECT_EQ(formatOf({0.5}, INT32_MAX), "(G**.**)");
}

TEST(CHGetFormat, WritesTheWidthOfIntegersInAsManyColumnsAsItTakes) {
  EXPECT_EQ(formatOf({1.0}, 0), "(I0)");
  EXPECT_EQ(formatOf({1.0}, 12), "(I12)");
  EXPECT_EQ(formatOf({1.0}, 12345), "(I12345)");
}

TEST(CHGetFormat, PassesThroughAFieldOfEightCharacters) {
  EXPECT_EQ(formatOf({1.0}, 123456), "(I123456");
  EXPECT_EQ(formatOf({1.0}, INT32_MIN), "(I-21474");
}

TEST(CHGetFormat, StaysInsideTheHostsText) {
  expectAtEveryLength("(I8)", formatCall({1.0, 2.0}, 8));
  expectAtEveryLength("(G 8. 2)", formatCall({1.5}, 8));
}

// ---- numbers in columns of their own ---------------------------------------------

TEST(CHToString, OfZeroIsOneDigit) {
  for (const double x : {0.0, -0.0, 1.9e-12, -1.9e-12, 1e-300, -1e-300}) {
    EXPECT_EQ(textOf(x), "0") << x;
  }
}

TEST(CHToString, OfAThousandTakesFiveColumns) {
  EXPECT_EQ(textOf(1000.0), " 1000");
  EXPECT_EQ(textOf(-1000.0), "-1000");
}

TEST(CHToString, IntegersTakeTheirDigitsAndAColumnForTheSign) {
  for (int power = 0; power <= 30; ++power) {
    const double first = decimal("1", power);
    for (const double n : {first, 3.0 * first, 9.0 * first}) {
      if (n == first && power > 22) {
        continue;  // no double is this power of ten
      }
      EXPECT_EQ(textOf(n), byCLibrary(" %.0f", n));
      EXPECT_EQ(textOf(-n), byCLibrary("%.0f", -n));
    }
  }
  EXPECT_EQ(textOf(9007199254740993.0), " 9007199254740992");  // what a double holds of it
  EXPECT_EQ(textOf(-2147483649.0), "-2147483649");
  EXPECT_EQ(textOf(9223372036854775808.0), " 9223372036854775808");
}

TEST(CHToString, ANumberNextToAnIntegerIsThatInteger) {
  EXPECT_EQ(textOf(7.0 + 1.9e-12), " 7");
  EXPECT_EQ(textOf(7.0 - 1.9e-12), " 7");
  EXPECT_EQ(textOf(-7.0 - 1.9e-12), "-7");
  EXPECT_NE(textOf(7.0 + 2.1e-12), " 7");
}

// The columns come from the number before it is rounded: below a power of ten there
// is one fewer, which a minus sign then misses.
TEST(CHToString, RequiredColumnsOfANumberThatRoundsUpToAPowerOfTen) {
  EXPECT_EQ(textOf(10.0 - 1.5e-12), "10");
  EXPECT_EQ(textOf(-10.0 + 1.5e-12), "**");
  EXPECT_EQ(textOf(100.0 - 1.5e-12), "100");
  EXPECT_EQ(textOf(-100.0 + 1.5e-12), "***");
  // Below 1 the logarithm has no integer part to lose.
  EXPECT_EQ(textOf(-1.0 + 1.5e-12), "-1");
}

TEST(CHToString, IntegersThatNeedMoreThanTheScratchFieldShowStars) {
  const std::string stars(32, '*');
  EXPECT_EQ(textOf(9e30).size(), 32U);
  EXPECT_NE(textOf(9e30), stars);
  for (const double x : {1e31, -1e31, 1e100, 1e300, std::numeric_limits<double>::max()}) {
    EXPECT_EQ(textOf(x), stars) << x;
  }
}

TEST(CHToString, NumbersOffTheIntegersReadBackToSixPlaces) {
  const char* const mantissas[] = {"1.0000049", "1.23456789", "3.1622",  "3.1623",
                                   "5.5",       "9.99994",    "9.999999"};
  for (int power = -300; power <= 300; ++power) {
    for (const char* mantissa : mantissas) {
      const double a = decimal(mantissa, power);
      if (std::fabs(a - std::round(a)) <= 2e-12) {
        continue;
      }
      for (const double x : {a, -a}) {
        const std::string text = textOf(x);
        const bool fixed = a >= 0.1 && a < 1e6;
        ASSERT_EQ(text.size(), fixed ? 10U : 13U) << x << ' ' << text;
        const std::string readable = fixed ? text : withE(text);
        char* end = nullptr;
        const double back = std::strtod(readable.c_str(), &end);
        ASSERT_EQ(*end, '\0') << text;
        const double unitOfSixthPlace = std::pow(10.0, std::floor(std::log10(a)) - 5.0);
        ASSERT_LE(std::fabs(back - x), 0.5 * unitOfSixthPlace * (1.0 + 1e-9)) << x << ' ' << text;
      }
    }
  }
}

TEST(CHToString, NumbersOffTheIntegersByHand) {
  EXPECT_EQ(textOf(12.3456), " 12.345600");
  EXPECT_EQ(textOf(-0.5), " -0.500000");
  EXPECT_EQ(textOf(0.5), " 0.5000000");
  EXPECT_EQ(textOf(999999.5), "  999999.5");
  EXPECT_EQ(textOf(1.2345e-7), " 0.123450E-06");
  EXPECT_EQ(textOf(-1234567.5), "-0.123457E+07");
}

TEST(CHToString, ShowsNaNAndInfinitiesByName) {
  EXPECT_EQ(textOf(notANumber), "       NaN");
  EXPECT_EQ(textOf(infinity), "     Infinity");
  EXPECT_EQ(textOf(-infinity), "    -Infinity");
}

TEST(CHToString, StaysInsideTheHostsText) {
  expectAtEveryLength("0", realCall(0.0));
  expectAtEveryLength(" 1000", realCall(1000.0));
  expectAtEveryLength(" 12.345600", realCall(12.3456));
  expectAtEveryLength("-0.123457E+07", realCall(-1234567.5));
  expectAtEveryLength(std::string(32, '*'), realCall(1e300));
  expectAtEveryLength("       NaN", realCall(notANumber));
}

// ---- integers -----------------------------------------------------------------------

TEST(CHToStringI4b, WritesTheDigitsInMinimalWidth) {
  const struct {
    std::int32_t value;
    const char* text;
  } rows[] = {{0, "0"},
              {7, "7"},
              {-7, "-7"},
              {1000, "1000"},
              {INT32_MAX, "2147483647"},
              {INT32_MIN, "-2147483648"}};
  for (const auto& row : rows) {
    expectAtEveryLength(row.text, [&row](char* text, const std::int32_t* length) {
      CHToString_i4b(text, &row.value, length);
    });
  }
}

// ---- blanks taken out -----------------------------------------------------------------

struct Stripped {
  std::string text;
  std::int32_t length;
};

Stripped strip(const std::string& source, std::size_t width) {
  Stripped result{std::string(width, '?'), -9};
  vorin::params::StripBlanks(result.text, &result.length, source);
  return result;
}

TEST(StripBlanks, OfTwoNumbersAndACommaLeavesNoBlank) {
  const Stripped result = strip("1.0 , 2.0", 12);
  EXPECT_EQ(result.text, "1.0,2.0     ");
  EXPECT_EQ(result.length, 7);
}

TEST(StripBlanks, TakesBlanksAndTabsAndNothingElse) {
  EXPECT_EQ(strip(" \ta \t b\n\t", 3).text, "ab\n");
  EXPECT_EQ(strip("", 3).text, "   ");
  EXPECT_EQ(strip("\t  ", 2).length, 0);
}

TEST(StripBlanks, CutsWhatTheDestinationCannotHold) {
  const Stripped result = strip("a b c d", 3);
  EXPECT_EQ(result.text, "abc");
  EXPECT_EQ(result.length, 3);
  EXPECT_EQ(strip("abc", 0).length, 0);
}

TEST(StripBlanks, NeedsNoAddressForTheLength) {
  std::string text = "????";
  vorin::params::StripBlanks(text, nullptr, " x y");
  EXPECT_EQ(text, "xy  ");
}

}  // namespace
