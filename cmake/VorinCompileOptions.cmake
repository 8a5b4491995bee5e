# The compile options every target of the project shares, as interface targets:
#   vorin_warnings   the warnings we keep clean under g++ and clang
#   vorin_arithmetic the floating-point rules of the numerical code
#   vorin_sanitize   sanitizers, when VORIN_SANITIZE or VORIN_FUZZ is on, and the counting of
#                    lines, when VORIN_COVERAGE is

add_library(vorin_warnings INTERFACE)
target_compile_options(vorin_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${VORIN_WERROR}>:-Werror>)

# A result must not depend on whether the CPU has fused multiply-add, so
# contraction is off; fast-math would also reorder sums. -Wdouble-promotion
# keeps double arithmetic from slipping into a single-precision road.
add_library(vorin_arithmetic INTERFACE)
target_compile_options(vorin_arithmetic INTERFACE
  -ffp-contract=off -fno-fast-math -fno-unsafe-math-optimizations
  -Wdouble-promotion)

add_library(vorin_sanitize INTERFACE)
if(VORIN_SANITIZE OR VORIN_FUZZ)
  target_compile_options(vorin_sanitize INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vorin_sanitize INTERFACE -fsanitize=address,undefined)
endif()
if(VORIN_FUZZ)
  # Counts edges for the fuzzer; its main program comes with the targets alone.
  target_compile_options(vorin_sanitize INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(VORIN_COVERAGE)
  target_compile_options(vorin_sanitize INTERFACE --coverage)
  target_link_options(vorin_sanitize INTERFACE --coverage)
endif()

# Tests and option parsing spend no time in their own loops, and compile in half the time.
add_library(vorin_light_optimisation INTERFACE)
target_compile_options(vorin_light_optimisation INTERFACE $<$<CONFIG:Release>:-O1>)
