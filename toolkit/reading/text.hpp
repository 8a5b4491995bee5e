// Pieces of text: trimming, case, and forms that are safe to show.
#pragma once

#include <string>
#include <string_view>

namespace vorin::toolkit {

/// `text` without blanks, tabs and a carriage return at both ends.
std::string_view trimmed(std::string_view text);

/// `text` with the letters a to z in upper case, as the library compares keys and words.
std::string upperCase(std::string_view text);

/// True when the texts differ in the case of the letters a to z at most.
bool equalIgnoringCase(std::string_view a, std::string_view b);

/// `text` in double quotes for a message: control and non-ASCII bytes become '?',
/// and what is longer than 40 characters is cut.
std::string inQuotes(std::string_view text);

/// `text` as part of a line: control characters become '?'. Other bytes stay, since file names
/// may hold any.
std::string inOneLine(std::string_view text);

}  // namespace vorin::toolkit
