// Text helpers: upper-casing, comparison, padding and the date text.
#include "params/text.hpp"

#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <string>

#include "params/digit_shape.hpp"

namespace vorin::params {
namespace {

TEST(ToUpperCase, MapsOnlyTheLettersAToZ) {
  for (int code = 0; code < 256; ++code) {
    const char c = static_cast<char>(code);
    const bool letter = code >= 97 && code <= 122;
    EXPECT_EQ(ToUpperCase(c), letter ? static_cast<char>(code - 32) : c) << code;
  }
  EXPECT_EQ(ToUpperCase(std::string_view("run_1.log \xe9")), "RUN_1.LOG \xe9");
}

TEST(EqualNoCase, IgnoresCaseAndTrailingBlanks) {
  EXPECT_TRUE(EqualNoCase("none", "NONE   "));
  EXPECT_TRUE(EqualNoCase("   ", ""));
  EXPECT_TRUE(EqualNoCase("", ""));
  EXPECT_FALSE(EqualNoCase(" none", "none"));
  EXPECT_FALSE(EqualNoCase("non", "none"));
  EXPECT_FALSE(EqualNoCase("none", "non"));
}

TEST(BeginsNoCase, NeedsTheWholePrefix) {
  EXPECT_TRUE(beginsNoCase("logarithmic", "LOG"));
  EXPECT_TRUE(beginsNoCase("log", "LOG"));
  EXPECT_FALSE(beginsNoCase("lo", "LOG"));
  EXPECT_FALSE(beginsNoCase("", "L"));
  EXPECT_TRUE(beginsNoCase("", ""));
}

TEST(Trimmed, DropsTrailingBlanksOnly) {
  EXPECT_EQ(trimmed("  a b  "), "  a b");
  EXPECT_EQ(trimmed("    "), "");
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed("a\t "), "a\t");
}

TEST(FillField, CutsOrPads) {
  std::array<char, 4> field{};
  fillField(field, "ab");
  EXPECT_EQ(std::string(field.data(), 4), "ab  ");
  fillField(field, "abcdef");
  EXPECT_EQ(std::string(field.data(), 4), "abcd");
  fillField({}, "abc");
}

std::string secondsText(std::time_t when) {
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d  %H%M%S", std::localtime(&when));
  return text;
}

TEST(DateTimeText, GivesDateAndLocalTimeWithTwoBlanksBetween) {
  const std::string before = secondsText(std::time(nullptr));
  const std::string text = DateTimeText(20);
  const std::string after = secondsText(std::time(nullptr));
  EXPECT_EQ(digitShape(text), "99999999  999999.999");
  EXPECT_LE(before, text.substr(0, 16));
  EXPECT_LE(text.substr(0, 16), after);
}

TEST(DateTimeText, FillsItsField) {
  const std::string wide = DateTimeText(35);
  EXPECT_EQ(wide.size(), 35U);
  EXPECT_EQ(wide.substr(20), std::string(15, ' '));
  EXPECT_EQ(DateTimeText(8).size(), 8U);
  EXPECT_EQ(DateTimeText(0), "");
}

}  // namespace
}  // namespace vorin::params
