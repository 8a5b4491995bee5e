// Words of a command line on Windows, where a program gets its arguments as one text.
#pragma once

#include <string>

namespace vorin::toolkit {

/// `word` as the C run-time library of the program takes it out of a command line: in quotes, a
/// quote behind a backslash, and the backslashes before a quote doubled.
inline std::wstring quotedWord(const std::wstring& word) {
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') {
      text.append(backslashes + 1, L'\\');
    }
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    text += c;
  }
  text.append(backslashes, L'\\');
  return text + L'"';
}

}  // namespace vorin::toolkit
