# Headers that nearly every file includes, compiled once: half of the compile time of the tests
# is <gtest/gtest.h>. clang-tidy does without (preset tidy), so that a file which includes less
# than it uses is found. So does a compiler cache, which keys on what a file includes: each tree's
# own precompiled header would miss.
set(_precompile ON)
if(CMAKE_CXX_COMPILER_LAUNCHER)
  set(_precompile OFF)
endif()
option(VORIN_PRECOMPILE "Compile common headers once" ${_precompile})

# vorin_precompile(TARGET HEADER...): the headers for a target of many files.
function(vorin_precompile target)
  if(VORIN_PRECOMPILE)
    list(TRANSFORM ARGN PREPEND "<")
    list(TRANSFORM ARGN APPEND ">")
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# vorin_precompiled_as(TARGET OTHER): those of OTHER, which has the same compile options.
function(vorin_precompiled_as target other)
  if(VORIN_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM ${other})
    # g++ 12 takes a precompiled <string> for a header of ours, and warns of its short strings.
    foreach(_warning array-bounds stringop-overflow stringop-overread restrict)
      target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-${_warning}>)
    endforeach()
  endif()
endfunction()
