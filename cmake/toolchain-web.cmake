# WebAssembly by Emscripten (Debian: emscripten 3.1.6); see docs/platforms.md.
find_program(_emcc emcc REQUIRED)
file(REAL_PATH "${_emcc}" _emcc)
cmake_path(GET _emcc PARENT_PATH _emscripten)
if(NOT EXISTS "${_emscripten}/cmake/Modules/Platform/Emscripten.cmake")
  set(_emscripten /usr/share/emscripten)
endif()
# Exceptions and vectors of 128 bits are those of WebAssembly itself: of every browser since 2023.
set(CMAKE_C_FLAGS_INIT "-msimd128 -fwasm-exceptions")
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -fwasm-exceptions")
include("${_emscripten}/cmake/Modules/Platform/Emscripten.cmake")
