// The console on Windows, whose run-time library translates line ends and has main's arguments in
// a code page.
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// shellapi.h needs what windows.h declares.
#include <shellapi.h>

#include <cstdio>

#include "toolkit/system/console.hpp"

namespace vorin::toolkit {

namespace {

/// _isatty takes the null device for a terminal, too.
bool isConsole(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

}  // namespace

std::vector<std::string> commandWords(int argc, const char* const* argv) {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr || count < 1) {
    return {argv + 1, argv + argc};
  }
  std::vector<std::string> result;
  for (int k = 1; k < count; ++k) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, words[k], -1, nullptr, 0, nullptr, nullptr);
    std::string word(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, words[k], -1, word.data(), length, nullptr, nullptr);
    word.pop_back();  // the zero at the end
    result.push_back(word);
  }
  LocalFree(words);
  return result;
}

void prepareConsole() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
  if (errorsAreOnTerminal()) {  // progress clears its line by an escape sequence
    DWORD mode = 0;
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    if (GetConsoleMode(console, &mode) != 0) {
      SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
  }
}

bool outputIsTerminal() {
  return isConsole(STD_OUTPUT_HANDLE);
}

bool errorsAreOnTerminal() {
  return isConsole(STD_ERROR_HANDLE);
}

}  // namespace vorin::toolkit
