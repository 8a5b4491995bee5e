# The compile options every target of the project shares, as interface targets:
#   vorin_warnings   the warnings we keep clean under g++ and clang
#   vorin_arithmetic the floating-point rules of the numerical code
#   vorin_sanitize   sanitizers, when VORIN_SANITIZE is on, the counting of edges, when VORIN_FUZZ
#                    is, and of lines, when VORIN_COVERAGE is

# Microsoft's own compiler has not the vectors of GCC and clang in which the kernels are written.
if(MSVC AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR
    "cl cannot compile the kernels: configure with -DCMAKE_C_COMPILER=clang-cl -DCMAKE_CXX_COMPILER=clang-cl, or build with mingw-w64")
endif()

add_library(vorin_warnings INTERFACE)
if(MSVC)  # clang-cl, whose -Wall is every warning that there is
  target_compile_options(vorin_warnings INTERFACE /W4 $<$<BOOL:${VORIN_WERROR}>:/WX>)
else()
  target_compile_options(vorin_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${VORIN_WERROR}>:-Werror>)
endif()

# A result must not depend on whether the CPU has fused multiply-add, so
# contraction is off; fast-math would also reorder sums. -Wdouble-promotion
# keeps double arithmetic from slipping into a single-precision path.
add_library(vorin_arithmetic INTERFACE)
if(MSVC)
  target_compile_options(vorin_arithmetic INTERFACE /fp:precise /clang:-ffp-contract=off)
else()
  target_compile_options(vorin_arithmetic INTERFACE
    -ffp-contract=off -fno-fast-math -fno-unsafe-math-optimizations
    -Wdouble-promotion
    # clang says of targets without floating-point exceptions that these can't be turned off.
    $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-unsupported-floating-point-opt>)
endif()

add_library(vorin_sanitize INTERFACE)
if(VORIN_SANITIZE)
  target_compile_options(vorin_sanitize INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
    # An array without elements may be null, and loops over none of them form addresses in it.
    $<$<C_COMPILER_ID:Clang>:-fno-sanitize=pointer-overflow>)
  target_link_options(vorin_sanitize INTERFACE -fsanitize=address,undefined)
endif()
if(VORIN_FUZZ)
  # Counts edges for the fuzzer, whose main program comes with its targets alone. Those of the tests
  # would cost a quarter of their compile time, and nothing looks at them.
  target_compile_options(vorin_sanitize INTERFACE
    $<$<NOT:$<IN_LIST:vorin_test_options,$<TARGET_PROPERTY:LINK_LIBRARIES>>>:-fsanitize=fuzzer-no-link>)
  # The counters' functions for programs that are no targets; nothing is compiled to check by it.
  target_link_options(vorin_sanitize INTERFACE -fsanitize=undefined)
endif()
if(VORIN_COVERAGE)
  target_compile_options(vorin_sanitize INTERFACE --coverage)
  target_link_options(vorin_sanitize INTERFACE --coverage)
endif()

# Code that spends no time in loops of its own compiles in half the time without the optimiser,
# most of all under sanitizers.
add_library(vorin_unoptimised_under_sanitizers INTERFACE)
target_compile_options(vorin_unoptimised_under_sanitizers INTERFACE
  $<$<BOOL:${VORIN_SANITIZE}>:-O0>)

# Option parsing is such code in every build.
add_library(vorin_light_optimisation INTERFACE)
target_compile_options(vorin_light_optimisation INTERFACE $<$<CONFIG:Release>:-O1>)
target_link_libraries(vorin_light_optimisation INTERFACE vorin_unoptimised_under_sanitizers)

# Formatting. What is installed contains its copy of fmt, compiled once, so that it depends on no
# shared one; builds for development, and tests, link the shared library.
add_library(vorin_format INTERFACE)
if(VORIN_BUILD_HOSTS)
  if(NOT TARGET fmt::fmt)
    find_package(fmt REQUIRED)
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_link_libraries(vorin_format INTERFACE fmt::fmt)
  else()
    add_library(vorin_fmt STATIC "${CMAKE_CURRENT_LIST_DIR}/compiled_fmt.cpp")
    target_include_directories(vorin_fmt SYSTEM PUBLIC
      $<TARGET_PROPERTY:fmt::fmt,INTERFACE_INCLUDE_DIRECTORIES>)
    target_link_libraries(vorin_format INTERFACE vorin_fmt)
  endif()
endif()

# So are tests.
add_library(vorin_test_options INTERFACE)
target_link_libraries(vorin_test_options INTERFACE vorin_light_optimisation)
