// Text fields: characters of a fixed length, padded with blanks at the right,
// with no terminator. Trailing blanks don't count, and letters are compared
// without regard to case where a host may write either.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace vorin::params {

/// `c` in upper case if it is one of a to z; any other byte as it is, whatever
/// the host's locale says.
constexpr char ToUpperCase(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// A copy of `text` with a to z mapped to A to Z.
std::string ToUpperCase(std::string_view text);

/// `text` without its trailing blanks.
std::string_view trimmed(std::string_view text);

/// Whether two fields agree up to case and trailing blanks.
bool EqualNoCase(std::string_view a, std::string_view b);

/// Whether `text` begins with `prefix` up to case.
bool beginsNoCase(std::string_view text, std::string_view prefix);

/// Fills `field` with `text`, cut or padded with blanks.
void fillField(std::span<char> field, std::string_view text);

/// The date as YYYYMMDD and the local time as hhmmss.sss with two blanks between,
/// in a field of `width` characters.
std::string DateTimeText(std::size_t width);

}  // namespace vorin::params
