#include "toolkit/reading/text.hpp"

#include <algorithm>

namespace vorin::toolkit {

namespace {

/// Independent of the locale, unlike std::toupper.
char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// The bytes of the character of UTF-8 that `text` begins with, 0 where it begins with none.
std::size_t characterLength(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
  if (length == 0 || length > text.size()) {
    return 0;
  }
  return std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length),
                     isContinuation)
             ? length
             : 0;
}

/// True for a character that a terminal would obey: the controls, and the marks that turn the
/// direction of writing.
bool isControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) {
    return first < ' ' || first == 0x7f;
  }
  if (character.size() == 2) {
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
  }
  return (character >= "\xE2\x80\x8B" && character <= "\xE2\x80\x8F") ||
         (character >= "\xE2\x80\xA8" && character <= "\xE2\x80\xAE") ||
         (character >= "\xE2\x81\xA0" && character <= "\xE2\x81\xAF") ||
         character == "\xEF\xBB\xBF";
}

}  // namespace

std::string withEscapes(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    if (length > 0 && !isControl(character)) {
      result += character;
    } else {
      for (const char c : character) {
        const auto byte = static_cast<unsigned char>(c);
        result += "\\x";
        result += digits[byte / 16U];
        result += digits[byte % 16U];
      }
    }
    text.remove_prefix(character.size());
  }
  return result;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string upperCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), upper);
  return result;
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return result;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return upper(x) == upper(y); });
}

std::string inQuotes(std::string_view text) {
  constexpr std::size_t longest = 40;
  std::size_t end = std::min(text.size(), longest);
  while (end < text.size() && end > 0 && isContinuation(text[end])) {
    --end;  // not within a character
  }
  std::string result(1, '"');
  result += withEscapes(text.substr(0, end));
  result += end < text.size() ? "...\"" : "\"";
  return result;
}

std::string inOneLine(std::string_view text) {
  return withEscapes(text);
}

}  // namespace vorin::toolkit
