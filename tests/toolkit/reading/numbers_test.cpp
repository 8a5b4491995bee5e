// Numbers as text, both ways.
#include "toolkit/reading/numbers.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {
namespace {

TEST(Numbers, ReadsWhatPeopleAndProgramsWrite) {
  EXPECT_EQ(parseNumber("0.0012"), 0.0012);
  EXPECT_EQ(parseNumber(" 1.2e-3\t"), 0.0012);
  EXPECT_EQ(parseNumber("+7"), 7.0);
  EXPECT_EQ(parseNumber("-.5E+1"), -5.0);
  EXPECT_EQ(parseNumber("1e-999"), 0.0);
  EXPECT_EQ(parseNumber("-1e999"), -HUGE_VAL);
  EXPECT_EQ(parseNumber("0." + std::string(400, '0') + "1e+10"), 0.0);
  EXPECT_EQ(parseNumber("1" + std::string(400, '0') + "e-10"), HUGE_VAL);
  EXPECT_TRUE(std::isnan(*parseNumber("nan")));
}

TEST(Numbers, TakesTheWholeTextOrNothing) {
  for (const char* text :
       {"", " ", "abc", "1.5x", "1,5", "1 2", "0x10", "+-3", "++3", "--3", "e5"}) {
    EXPECT_FALSE(parseNumber(text).has_value()) << text;
  }
  for (const char* text : {"", "1.5", "1e3", "12a", "99999999999999999999"}) {
    EXPECT_FALSE(parseInteger(text).has_value()) << text;
  }
  EXPECT_EQ(parseInteger(" -12 "), -12);
}

TEST(Numbers, QuotesHarmlessly) {
  EXPECT_EQ(inQuotes("abc"), "\"abc\"");
  EXPECT_EQ(inQuotes(std::string_view("a\0\x1b\xc3", 4)), R"("a\x00\x1B\xC3")");
  // A terminal obeys none of these: a control of two bytes, a mark that turns the direction.
  EXPECT_EQ(inQuotes("\xC2\x9B\xE2\x80\xAE"), R"("\xC2\x9B\xE2\x80\xAE")");
  EXPECT_EQ(inQuotes("t (\xC2\xB5s)"), "\"t (\xC2\xB5s)\"");
  EXPECT_EQ(inQuotes(std::string(41, 'x')), "\"" + std::string(40, 'x') + "...\"");
}

TEST(Numbers, TimesTakeTheUnitThatSuitsThem) {
  EXPECT_EQ(timeText(0.0229), "22.9 ms");
  EXPECT_EQ(timeText(0.0004), "400 us");
  EXPECT_EQ(timeText(1.0), "1.00 s");
  EXPECT_EQ(timeText(12.345), "12.3 s");
  EXPECT_EQ(timeText(2.5e-8), "25.0 ns");
  EXPECT_EQ(timeText(0.0), "0 s");
  // Rounding must not leave the unit: 0.99996 s is 1.00 s and not 1000 ms.
  EXPECT_EQ(timeText(0.99996), "1.00 s");
  EXPECT_EQ(timeText(9.996e-3), "10.0 ms");
}

TEST(Numbers, SignificantPlaces) {
  EXPECT_EQ(significant(0.076912), "0.07691");
  EXPECT_EQ(significant(47588.4), "47588");
  EXPECT_EQ(significant(0.0), "0");
  EXPECT_EQ(percentText(0.375), "37.5 %");
}

}  // namespace
}  // namespace vorin::toolkit
