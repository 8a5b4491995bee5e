// Pieces of text: trimming, case, and forms that are safe to show.
#pragma once

#include <string>
#include <string_view>

namespace vorin::toolkit {

/// `text` without blanks, tabs and a carriage return at both ends.
std::string_view trimmed(std::string_view text);

/// `text` with the letters a to z in upper case, as the library compares keys and words.
std::string upperCase(std::string_view text);

/// `text` with the letters A to Z in lower case.
std::string lowerCase(std::string_view text);

/// True when the texts differ in the case of the letters a to z at most.
bool equalIgnoringCase(std::string_view a, std::string_view b);

/// `text` as it may be shown: control characters, marks that turn the direction of writing, and
/// bytes that are no UTF-8 become \xNN, so that a terminal obeys none of them.
std::string withEscapes(std::string_view text);

/// True when all of `text` is UTF-8.
bool isUtf8(std::string_view text);

/// `text` in double quotes for a message: escaped, and what is longer than 40 bytes is cut.
std::string inQuotes(std::string_view text);

/// `text` as part of a line, escaped.
std::string inOneLine(std::string_view text);

}  // namespace vorin::toolkit
