// A text of a host between guard bytes, which no call may touch, and what the tests
// of the text exports share.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

namespace vorin::test {

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr std::int32_t wide = 40;  // longer than any text

/// `text` without its trailing blanks.
inline std::string trimmed(const std::string& text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// One number by the C library, to compare with.
inline std::string byCLibrary(const char* format, double x) {
  std::array<char, 400> text{};
  std::snprintf(text.data(), text.size(), format, x);
  return text.data();
}

/// A number in exponent notation as other programs read it: "0.125+102", where a third
/// digit of the exponent has taken the place of the E, gets its E back.
inline std::string withE(const std::string& text) {
  if (text.find('E') != std::string::npos) {
    return text;
  }
  const std::size_t sign = text.find_last_of("+-");
  std::string readable = text.substr(0, sign);
  readable += 'E';
  readable += text.substr(sign);
  return readable;
}

/// What `call(text, length)` leaves in a text of `length` characters; a length
/// below 0 is passed on, with no character that may be written.
template <class Call>
std::string guardedText(std::int32_t length, Call call) {
  const std::string guard(48, '~');
  const std::size_t characters = length > 0 ? static_cast<std::size_t>(length) : 0;
  std::string memory = guard + std::string(characters, '?') + guard;
  call(memory.data() + guard.size(), &length);
  EXPECT_EQ(memory.substr(0, guard.size()), guard) << "in front of " << characters;
  EXPECT_EQ(memory.substr(guard.size() + characters), guard) << "behind " << characters;
  return memory.substr(guard.size(), characters);
}

/// Checks that every length from 0 to 40 gets `whole`, cut or padded with blanks,
/// and that lengths below 0 get nothing.
template <class Call>
void expectAtEveryLength(const std::string& whole, Call call) {
  const std::string padded = whole + std::string(40, ' ');
  for (std::int32_t length = 0; length <= 40; ++length) {
    EXPECT_EQ(guardedText(length, call), padded.substr(0, static_cast<std::size_t>(length)));
  }
  for (const std::int32_t length : {-1, -40, INT32_MIN}) {
    EXPECT_EQ(guardedText(length, call), "");
  }
}

}  // namespace vorin::test
