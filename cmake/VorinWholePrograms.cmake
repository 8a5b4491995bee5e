# A whole program of GoogleTest as one test of ctest, in place of a process for each of its tests: for
# programs that take longer to start than most of their tests run, emulated and sanitized ones.
function(gtest_discover_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 _of "" "WORKING_DIRECTORY;DISCOVERY_TIMEOUT" "PROPERTIES")
  if(NOT _of_WORKING_DIRECTORY)
    set(_of_WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
  endif()
  set(_without)
  if(VORIN_NOT_EMULATED)
    set(_without "--gtest_filter=-${VORIN_NOT_EMULATED}")
  endif()
  add_test(NAME ${target} COMMAND ${target} --gtest_brief=1 ${_without}
    WORKING_DIRECTORY "${_of_WORKING_DIRECTORY}")
  if(_of_PROPERTIES)
    set_tests_properties(${target} PROPERTIES ${_of_PROPERTIES})
  endif()
endfunction()
