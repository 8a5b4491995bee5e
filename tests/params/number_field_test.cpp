// Number fields: hand-worked cases, and the whole double range against two other
// methods, the C library's formatted output and reading the field back.
#include "params/number_field.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace vorin::params {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(IntegerField, HoldsTheDigitsAtTheRight) {
  EXPECT_EQ(integerField(0, 4), "   0");
  EXPECT_EQ(integerField(30, 4), "  30");
  EXPECT_EQ(integerField(-7, 4), "  -7");
  EXPECT_EQ(integerField(9999, 4), "9999");
  EXPECT_EQ(integerField(-999, 4), "-999");
}

TEST(IntegerField, ShowsStarsWhenTooWide) {
  EXPECT_EQ(integerField(10000, 4), "****");
  EXPECT_EQ(integerField(-1000, 4), "****");
  EXPECT_EQ(integerField(1000, 3), "***");
  EXPECT_EQ(integerField(10, 1), "*");
}

TEST(IntegerField, HoldsTheSmallestInteger) {
  EXPECT_EQ(integerField(std::numeric_limits<std::int64_t>::min(), 20), "-9223372036854775808");
  EXPECT_EQ(integerField(std::numeric_limits<std::int64_t>::min(), 19), std::string(19, '*'));
}

TEST(FixedField, HoldsThatManyDecimals) {
  EXPECT_EQ(fixedField(1.5, 8, 4), "  1.5000");
  EXPECT_EQ(fixedField(-1.5, 8, 4), " -1.5000");
  EXPECT_EQ(fixedField(0.0, 8, 4), "  0.0000");
  EXPECT_EQ(fixedField(123.456, 8, 1), "   123.5");
  EXPECT_EQ(fixedField(12.0, 4, 0), " 12.");
  EXPECT_EQ(fixedField(12.0, 4, -3), " 12.");
}

TEST(FixedField, RoundsTheExactValueAndTiesToEven) {
  EXPECT_EQ(fixedField(0.5, 4, 0), "  0.");
  EXPECT_EQ(fixedField(1.5, 4, 0), "  2.");
  EXPECT_EQ(fixedField(2.5, 4, 0), "  2.");
  EXPECT_EQ(fixedField(0.125, 6, 2), "  0.12");
  EXPECT_EQ(fixedField(0.375, 6, 2), "  0.38");
  EXPECT_EQ(fixedField(9.996, 6, 2), " 10.00");
  EXPECT_EQ(fixedField(0.99996, 8, 4), "  1.0000");
  // 2.675 in binary is a little less than it reads.
  EXPECT_EQ(fixedField(2.675, 6, 2), "  2.67");
}

TEST(FixedField, DropsTheLeadingZeroOnlyWhenItAloneIsTooWide) {
  EXPECT_EQ(fixedField(0.1234, 6, 4), "0.1234");
  EXPECT_EQ(fixedField(0.1234, 5, 4), ".1234");
  EXPECT_EQ(fixedField(0.1234, 4, 4), "****");
  EXPECT_EQ(fixedField(-0.1234, 7, 4), "-0.1234");
  EXPECT_EQ(fixedField(-0.1234, 6, 4), "-.1234");
  EXPECT_EQ(fixedField(-0.1234, 5, 4), "*****");
  EXPECT_EQ(fixedField(0.0, 5, 4), ".0000");
  EXPECT_EQ(fixedField(0.0, 1, 0), "*");  // the zero is the only digit
  EXPECT_EQ(fixedField(10.1234, 6, 4), "******");
}

TEST(FixedField, ShowsNoSignWhenAllDigitsAreZero) {
  EXPECT_EQ(fixedField(-0.0, 8, 4), "  0.0000");
  EXPECT_EQ(fixedField(-0.00004, 8, 4), "  0.0000");
  EXPECT_EQ(fixedField(-0.00006, 8, 4), " -0.0001");
  EXPECT_EQ(fixedField(-1e-300, 8, 4), "  0.0000");
}

TEST(FixedField, HoldsTheLargestDouble) {
  const double largest = std::numeric_limits<double>::max();
  EXPECT_EQ(fixedField(largest, 8, 4), "********");
  const std::string whole = fixedField(largest, 310, 0);
  EXPECT_EQ(whole.substr(0, 20), "17976931348623157081");
  EXPECT_EQ(whole.back(), '.');
  EXPECT_EQ(std::strtod(whole.c_str(), nullptr), largest);
  EXPECT_EQ(fixedField(largest, 309, 0), std::string(309, '*'));
}

TEST(FixedField, HoldsTheSmallestDoubleToItsLastDigit) {
  const double smallest = std::numeric_limits<double>::denorm_min();
  const std::string field = fixedField(smallest, 1080, 1074);
  EXPECT_EQ(std::strtod(field.c_str(), nullptr), smallest);
  EXPECT_EQ(field.back(), '5');  // 2^-1074 ends in 5 at the 1074th place
}

TEST(GeneralField, ShowsFixedNotationFollowedByFourBlanks) {
  EXPECT_EQ(generalField(1.0, 12, 5), "  1.0000    ");
  EXPECT_EQ(generalField(-1.0, 12, 5), " -1.0000    ");
  EXPECT_EQ(generalField(12.5, 12, 5), "  12.500    ");
  EXPECT_EQ(generalField(12345.0, 12, 5), "  12345.    ");
  EXPECT_EQ(generalField(0.1, 12, 5), " 0.10000    ");
  EXPECT_EQ(generalField(-0.25, 12, 5), "-0.25000    ");
  EXPECT_EQ(generalField(3.14159265, 13, 6), "  3.14159    ");
}

TEST(GeneralField, ShowsExponentNotationOutsideOfThatRange) {
  EXPECT_EQ(generalField(0.01, 12, 5), " 0.10000E-01");
  EXPECT_EQ(generalField(-0.01, 12, 5), "-0.10000E-01");
  EXPECT_EQ(generalField(123456.0, 12, 5), " 0.12346E+06");
  EXPECT_EQ(generalField(100000.0, 12, 5), " 0.10000E+06");
  EXPECT_EQ(generalField(-1e30, 13, 6), "-0.100000E+31");
  EXPECT_EQ(generalField(static_cast<double>(1e-30F), 12, 5), " 0.10000E-29");
}

TEST(GeneralField, ShowsZeroInFixedNotation) {
  EXPECT_EQ(generalField(0.0, 12, 5), "  0.0000    ");
  EXPECT_EQ(generalField(-0.0, 12, 5), "  0.0000    ");
  EXPECT_EQ(generalField(0.0, 12, 4), "   0.000    ");
}

TEST(GeneralField, ChoosesTheNotationOnTheRoundedMagnitude) {
  EXPECT_EQ(generalField(9.99951, 9, 4), "10.00    ");
  EXPECT_EQ(generalField(9.9995, 12, 5), "  9.9995    ");
  EXPECT_EQ(generalField(99999.7, 12, 5), " 0.10000E+06");
  EXPECT_EQ(generalField(99999.4, 12, 5), "  99999.    ");
  EXPECT_EQ(generalField(0.0999999999, 12, 5), " 0.10000    ");
  EXPECT_EQ(generalField(0.099999, 12, 5), " 0.99999E-01");
  EXPECT_EQ(generalField(0.999999, 12, 5), "  1.0000    ");
}

TEST(GeneralField, WidensASingleExactly) {
  // The single nearest to 9.9995 is 9.99950027..., the double 9.99949999...
  EXPECT_EQ(generalField(static_cast<double>(9.9995F), 12, 4), "   10.00    ");
  EXPECT_EQ(generalField(9.9995, 12, 4), "   9.999    ");
}

TEST(GeneralField, ShowsStarsWhenTooWide) {
  EXPECT_EQ(generalField(-12.5, 9, 5), "*********");
  EXPECT_EQ(generalField(-12.5, 10, 5), "**********");
  EXPECT_EQ(generalField(-12.5, 11, 5), "-12.500    ");
  EXPECT_EQ(generalField(1e20, 9, 5), "*********");
  EXPECT_EQ(generalField(1.0, 3, 1), "***");
  EXPECT_EQ(generalField(1.0, 12, 20), std::string(12, '*'));
  EXPECT_EQ(generalField(1.0, 12, 0), std::string(12, '*'));
}

TEST(GeneralField, DropsTheLeadingZeroWhenItAloneIsTooWide) {
  EXPECT_EQ(generalField(0.25, 10, 5), ".25000    ");
  EXPECT_EQ(generalField(0.0, 9, 5), ".0000    ");
  EXPECT_EQ(generalField(0.0, 8, 5), "********");
  EXPECT_EQ(generalField(1e20, 10, 5), ".10000E+21");
}

TEST(ExponentField, HasAMantissaBelowOneAndTwoDigitsOfExponent) {
  EXPECT_EQ(exponentField(123450.0, 12, 5), " 0.12345E+06");
  EXPECT_EQ(exponentField(1.0, 12, 5), " 0.10000E+01");
  EXPECT_EQ(exponentField(0.5, 12, 5), " 0.50000E+00");
  EXPECT_EQ(exponentField(-0.05, 12, 5), "-0.50000E-01");
  EXPECT_EQ(exponentField(0.0, 12, 5), " 0.00000E+00");
  EXPECT_EQ(exponentField(-0.0, 12, 5), " 0.00000E+00");
  EXPECT_EQ(exponentField(1e98, 12, 5), " 0.10000E+99");
  EXPECT_EQ(exponentField(0.9999996, 12, 5), " 0.10000E+01");
}

TEST(ExponentField, DropsTheEForThreeDigitsOfExponent) {
  EXPECT_EQ(exponentField(0.12345e123, 12, 5), " 0.12345+123");
  EXPECT_EQ(exponentField(0.12345e-299, 12, 5), " 0.12345-299");
  EXPECT_EQ(exponentField(1e99, 12, 5), " 0.10000+100");
  EXPECT_EQ(exponentField(1e-100, 12, 5), " 0.10000E-99");
  EXPECT_EQ(exponentField(9.999999e98, 12, 5), " 0.10000+100");
}

TEST(ExponentField, ShowsStarsWhenTooWide) {
  EXPECT_EQ(exponentField(1.0, 11, 5), "0.10000E+01");
  EXPECT_EQ(exponentField(1.0, 10, 5), ".10000E+01");
  EXPECT_EQ(exponentField(-1.0, 10, 5), "**********");
  EXPECT_EQ(exponentField(1.0, 9, 5), "*********");
  EXPECT_EQ(exponentField(1.0, 12, 0), "************");
}

TEST(RealFields, ShowNotANumberAndInfinitiesWhereTheyFit) {
  for (const auto& field : {fixedField(notANumber, 12, 5), generalField(notANumber, 12, 5),
                            exponentField(notANumber, 12, 5)}) {
    EXPECT_EQ(field, "         NaN");
  }
  for (const auto& field : {fixedField(infinity, 12, 5), generalField(infinity, 12, 5),
                            exponentField(infinity, 12, 5)}) {
    EXPECT_EQ(field, "    Infinity");
  }
  EXPECT_EQ(generalField(-notANumber, 12, 5), "         NaN");
  EXPECT_EQ(generalField(-infinity, 12, 5), "   -Infinity");
  EXPECT_EQ(fixedField(infinity, 8, 2), "Infinity");
  EXPECT_EQ(fixedField(infinity, 7, 2), "    Inf");
  EXPECT_EQ(fixedField(-infinity, 9, 2), "-Infinity");
  EXPECT_EQ(fixedField(-infinity, 8, 2), "    -Inf");
  EXPECT_EQ(fixedField(-infinity, 3, 2), "***");
  EXPECT_EQ(fixedField(infinity, 2, 2), "**");
  EXPECT_EQ(fixedField(notANumber, 3, 9), "NaN");
  EXPECT_EQ(fixedField(notANumber, 2, 0), "**");
}

TEST(AllFields, AreEmptyForAWidthOfZeroOrLess) {
  for (const int width : {0, -1, std::numeric_limits<int>::min()}) {
    for (const double value : {0.0, 1.0, -1e300, infinity, notANumber}) {
      EXPECT_EQ(fixedField(value, width, 3), "");
      EXPECT_EQ(generalField(value, width, 3), "");
      EXPECT_EQ(exponentField(value, width, 3), "");
    }
    EXPECT_EQ(integerField(5, width), "");
  }
}

TEST(AllFields, HaveTheirWidthWhateverTheValue) {
  const double values[] = {0.0,  -0.0,    1.0,       -9.9995,  0.1,       99999.7,   1e-5,
                           -1e5, 1.5e123, -2.5e-299, infinity, -infinity, notANumber};
  const int places[] = {std::numeric_limits<int>::min(), -1, 0, 1, 5, 17, 400,
                        std::numeric_limits<int>::max()};
  for (int width = 1; width <= 60; ++width) {
    const auto columns = static_cast<std::size_t>(width);
    for (const double value : values) {
      for (const int d : places) {
        EXPECT_EQ(fixedField(value, width, d).size(), columns) << value << ' ' << d;
        EXPECT_EQ(generalField(value, width, d).size(), columns) << value << ' ' << d;
        EXPECT_EQ(exponentField(value, width, d).size(), columns) << value << ' ' << d;
      }
    }
  }
}

// ---- the whole range, by two other methods -------------------------------------

/// The significant digits and the exponent of 0.digits * 10^exponent as the C
/// library's output rounds them.
struct Expansion {
  std::string digits;
  int exponent;
};

Expansion byPrintf(double magnitude, int places) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*e", places - 1, magnitude);
  const std::string all(text);
  const std::size_t mark = all.find('e');
  std::string digits = all.substr(0, mark);
  if (places > 1) {
    digits.erase(1, 1);
  }
  return {digits, std::atoi(all.c_str() + mark + 1) + 1};
}

/// The number that a field shows, with the E put back that a long exponent drops.
long double readBack(std::string field) {
  const std::size_t sign = field.find_last_of("+-");
  const bool leads = sign == std::string::npos || field.find_first_of("0123456789") > sign;
  if (!leads && field[sign - 1] != 'E') {
    field.insert(field.begin() + static_cast<std::ptrdiff_t>(sign), 'E');
  }
  return std::strtold(field.c_str(), nullptr);
}

/// Every decade from 1e-300 to 1e300 with mantissas that round up, down and over.
std::vector<double> wholeRange() {
  std::vector<double> values;
  std::mt19937_64 random(20240229);
  std::uniform_real_distribution<double> mantissa(1.0, 10.0);
  for (int decade = -300; decade <= 300; ++decade) {
    const double power = std::strtod(("1e" + std::to_string(decade)).c_str(), nullptr);
    for (const double m :
         {1.0, 1.5, 5.0, 9.4999, 9.9995, 9.99999, 9.9999999, mantissa(random), mantissa(random)}) {
      values.push_back(m * power);
      values.push_back(-m * power);
    }
  }
  return values;
}

TEST(WholeRange, ExponentFieldsAgreeWithTheCLibraryAndReadBackWithinHalfAUnit) {
  for (const double value : wholeRange()) {
    for (const int places : {1, 2, 5, 9, 17}) {
      const std::string field = exponentField(value, 30, places);
      const Expansion expected = byPrintf(std::fabs(value), places);
      ASSERT_NE(field.find("0." + expected.digits), std::string::npos) << field << ' ' << value;
      EXPECT_EQ(field.find('E') == std::string::npos, std::abs(expected.exponent) > 99) << field;
      const long double unit = powl(10.0L, expected.exponent - places);
      const long double error = fabsl(readBack(field) - static_cast<long double>(value));
      EXPECT_LE(error, 0.5L * unit * (1.0L + 1e-9L) + 1e-17L * fabsl(readBack(field))) << field;
    }
  }
}

TEST(WholeRange, GeneralFieldsHaveTheRightNotationAndDigits) {
  for (const double value : wholeRange()) {
    for (const int places : {1, 2, 4, 5, 6, 12}) {
      const std::string field = generalField(value, places + 9, places);
      const Expansion expected = byPrintf(std::fabs(value), places);
      const bool fixed = expected.exponent >= 0 && expected.exponent <= places;
      EXPECT_EQ(field.substr(field.size() - 4) == "    ", fixed) << field;
      std::string digits;
      for (const char c : field.substr(0, field.find_first_of("E", 2))) {
        if (c >= '0' && c <= '9') {
          digits += c;
        }
      }
      const std::size_t first = digits.find_first_not_of('0');
      EXPECT_EQ(digits.substr(first, static_cast<std::size_t>(places)), expected.digits)
          << field << ' ' << value;
      const long double unit = powl(10.0L, expected.exponent - places);
      const long double error = fabsl(readBack(field) - static_cast<long double>(value));
      EXPECT_LE(error, 0.5L * unit * (1.0L + 1e-9L) + 1e-17L * fabsl(readBack(field))) << field;
    }
  }
}

TEST(WholeRange, FixedFieldsAgreeWithTheCLibrary) {
  for (const double value : wholeRange()) {
    for (const int decimals : {1, 4, 20}) {
      char expected[400];
      std::snprintf(expected, sizeof expected, "%*.*f", 340, decimals, value);
      std::string text(expected);
      if (text.find_first_of("123456789") == std::string::npos) {
        text = std::string(static_cast<std::size_t>(338 - decimals), ' ') + "0." +
               std::string(static_cast<std::size_t>(decimals), '0');
      }
      EXPECT_EQ(fixedField(value, 340, decimals), text);
    }
  }
}

TEST(FreeForm, IsTheShortestTextThatReadsBackAsTheSameNumber) {
  EXPECT_EQ(freeForm(0.1F), "0.1");
  EXPECT_EQ(freeForm(0.1), "0.1");
  EXPECT_EQ(freeForm(static_cast<double>(0.1F)), "0.10000000149011612");
  EXPECT_EQ(freeForm(1.0F), "1");
  EXPECT_EQ(freeForm(-2.5), "-2.5");
  EXPECT_EQ(freeForm(0.0), "0");
  EXPECT_EQ(freeForm(-0.0F), "0");
  for (const double value : wholeRange()) {
    EXPECT_EQ(std::strtod(freeForm(value).c_str(), nullptr), value);
    const auto single = static_cast<float>(value);
    if (std::isnormal(single)) {
      EXPECT_EQ(std::strtof(freeForm(single).c_str(), nullptr), single);
    }
  }
}

TEST(FreeForm, WritesIntegersPlainly) {
  EXPECT_EQ(freeForm(30), "30");
  EXPECT_EQ(freeForm(std::numeric_limits<std::int32_t>::min()), "-2147483648");
}

TEST(FreeForm, ReadsBackForValuesThatAreNotFinite) {
  EXPECT_EQ(freeForm(infinity), "Infinity");
  EXPECT_EQ(freeForm(-infinity), "-Infinity");
  EXPECT_EQ(freeForm(-notANumber), "NaN");
}

TEST(CutTo, KeepsTheFirstCharacters) {
  EXPECT_EQ(cutTo("abcdef", 4), "abcd");
  EXPECT_EQ(cutTo("abc", 4), "abc");
  EXPECT_EQ(cutTo("", 4), "");
  EXPECT_EQ(cutTo("abc", 0), "");
}

}  // namespace
}  // namespace vorin::params
