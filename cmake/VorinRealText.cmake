# VORIN_REAL_TEXT: charconv where the standard library converts real numbers by <charconv> in both
# directions; printf where it does not (libc++ before LLVM 20, also Emscripten's and Apple's).
include(CheckCXXSourceCompiles)
set(_flags "${CMAKE_REQUIRED_FLAGS}")
set(CMAKE_REQUIRED_FLAGS "${CMAKE_REQUIRED_FLAGS} ${CMAKE_CXX20_STANDARD_COMPILE_OPTION}")
check_cxx_source_compiles("
#include <charconv>
int main() {
  char text[32];
  double value = 0.0;
  std::to_chars(text, text + 32, 1.0f);
  std::to_chars(text, text + 32, 1.0, std::chars_format::fixed, 3);
  return static_cast<int>(std::from_chars(text, text + 3, value).ptr - text);
}" VORIN_CHARCONV_HAS_REALS)
set(CMAKE_REQUIRED_FLAGS "${_flags}")
set(VORIN_REAL_TEXT printf)
if(VORIN_CHARCONV_HAS_REALS)
  set(VORIN_REAL_TEXT charconv)
endif()
