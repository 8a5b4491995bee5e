#include "toolkit/reading/text.hpp"

#include <algorithm>

namespace vorin::toolkit {

namespace {

/// Independent of the locale, unlike std::toupper.
char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

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

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return upper(x) == upper(y); });
}

std::string inQuotes(std::string_view text) {
  constexpr std::size_t longest = 40;
  std::string shown(text.substr(0, longest));
  for (char& c : shown) {
    if (c < ' ' || c > '~') {
      c = '?';
    }
  }
  return "\"" + shown + (text.size() > longest ? "...\"" : "\"");
}

std::string inOneLine(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
  return result;
}

}  // namespace vorin::toolkit
