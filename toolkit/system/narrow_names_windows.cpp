// Names of files on Windows, where texts become paths in very many places.
//
// The C++ library of MinGW makes a std::filesystem::path of a std::string by mbrtowc(), letter by
// letter, and that takes bytes above 127 for letters of their own; from a path to a text it writes
// UTF-8. The linker puts the function below in mbrtowc()'s place (--wrap=mbrtowc), so that both
// ways are UTF-8, as on other systems, and no caller need know.
#include <windows.h>

#include <cstddef>
#include <cwchar>

extern "C" std::size_t __wrap_mbrtowc(wchar_t* to, const char* from, std::size_t count,
                                      std::mbstate_t* state);

namespace {

/// The bytes of a letter of UTF-8 that begins with `first`; 0 where none does.
constexpr int lengthOf(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  return first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
}

}  // namespace

/// mbrtowc() with UTF-8. What is no UTF-8 is a letter of the process's code page, which is what
/// hosts of the narrow interfaces and the environment have. `state` holds the second half of a
/// letter beyond 16 bits, which are 3 bytes and then 1.
extern "C" std::size_t __wrap_mbrtowc(wchar_t* to, const char* from, std::size_t count,
                                      std::mbstate_t* state) {
  constexpr auto incomplete = static_cast<std::size_t>(-2);
  constexpr auto invalid = static_cast<std::size_t>(-1);
  wchar_t letters[2]{};
  std::size_t used = 1;
  if (count == 0) {
    return incomplete;
  }
  if (state != nullptr && *state != 0) {
    letters[0] = static_cast<wchar_t>(*state);
    *state = 0;
  } else {
    const auto first = static_cast<unsigned char>(*from);
    int length = lengthOf(first);
    int made = 0;
    if (length > 0 && static_cast<std::size_t>(length) <= count) {
      made = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, from, length, letters, 2);
    }
    if (made == 0) {
      length = count > 1 && IsDBCSLeadByteEx(CP_ACP, first) != 0 ? 2 : 1;
      made = MultiByteToWideChar(CP_ACP, 0, from, length, letters, 2);
    }
    if (made == 0 || (made == 2 && state == nullptr)) {
      return invalid;
    }
    if (made == 2) {
      *state = letters[1];
      --length;
    }
    used = static_cast<std::size_t>(length);
  }
  if (to != nullptr) {
    *to = letters[0];
  }
  return letters[0] == L'\0' ? 0 : used;
}
