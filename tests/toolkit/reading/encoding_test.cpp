// Text in UTF-16, by the definition of its surrogates (The Unicode Standard, section 3.9).
#include "toolkit/reading/encoding.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {
namespace {

using namespace std::string_literals;

/// Little-endian with its mark, decoded.
std::string decoded(std::initializer_list<unsigned> units) {
  std::string text = "\xFF\xFE";
  for (const unsigned unit : units) {
    text += static_cast<char>(unit & 0xFFU);
    text += static_cast<char>(unit >> 8U);
  }
  EXPECT_EQ(decode(text), "UTF-16");
  return text;
}

TEST(Encoding, PairsOfSurrogatesAreOneCharacter) {
  EXPECT_EQ(decoded({'t', 0xD835, 0xDF0F, 's'}), "t\xF0\x9D\x9C\x8Fs");  // U+1D70F
  EXPECT_EQ(decoded({0xD800, 0xDC00}), "\xF0\x90\x80\x80");              // U+10000
  EXPECT_EQ(decoded({0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF");              // U+10FFFF
}

TEST(Encoding, ASurrogateAloneIsReplaced) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(decoded({0xD800, 0xE000}), replacement + "\xEE\x80\x80");
  EXPECT_EQ(decoded({0xD800, 0xDBFF, 'a'}), replacement + replacement + "a");
  EXPECT_EQ(decoded({0xDC00, 'a'}), replacement + "a");
  EXPECT_EQ(decoded({'a', 0xD800}), "a" + replacement);
  EXPECT_EQ(decoded({0xD7FF, 'a'}),
            "\xED\x9F\xBF"
            "a");
}

// Every second byte of what is ASCII inside is zero, and says the order where no mark does.
TEST(Encoding, Utf16WithoutAMarkIsKnownByItsZeros) {
  for (const bool bigEndianFirst : {false, true}) {
    std::string text;
    for (const char c : std::string("t,a\n1,2\n")) {
      text += bigEndianFirst ? std::string{'\0', c} : std::string{c, '\0'};
    }
    EXPECT_EQ(decode(text), "UTF-16");
    EXPECT_EQ(text, "t,a\n1,2\n");
  }
  std::string both("t\0,\0a\0\0\n1\0,\0"s);  // zeros on both sides: neither
  EXPECT_NE(decode(both), "UTF-16");
}

// Controls of ASCII and of Latin-1, the marks of direction and width, invisible operators, and the
// byte order mark.
TEST(Escapes, CoverWhatATerminalMayObeyAndNothingBeside) {
  const auto isEscaped = [](const std::string& character) {
    return withEscapes("a" + character + "b") != "a" + character + "b";
  };
  for (const char* character :
       {"\x01", "\x1F", "\x7F", "\xC2\x80", "\xC2\x9F", "\xE2\x80\x8B", "\xE2\x80\x8F",
        "\xE2\x80\xA8", "\xE2\x80\xAE", "\xE2\x81\xA0", "\xE2\x81\xAF", "\xEF\xBB\xBF"}) {
    EXPECT_TRUE(isEscaped(character)) << testing::PrintToString(std::string(character));
  }
  for (const char* character :
       {" ", "~", "\xC2\xA0", "\xE2\x80\x8A", "\xE2\x80\x90", "\xE2\x80\xA7", "\xE2\x80\xAF",
        "\xE2\x81\x9F", "\xE2\x81\xB0", "\xEF\xBB\xBE", "\xEF\xBC\x81"}) {
    EXPECT_FALSE(isEscaped(character)) << testing::PrintToString(std::string(character));
  }
}

}  // namespace
}  // namespace vorin::toolkit
