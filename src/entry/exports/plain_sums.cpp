// Section "Plain sums": additions with which a host tries its call interface.
#include "vorin.h"

namespace {

// Addition that wraps, as the machine's does, where C++ leaves it undefined.
int32_t wrappingSum(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

}  // namespace

extern "C" {

int32_t VORIN_CDECL sum(int32_t a, int32_t b) noexcept {
  return wrappingSum(a, b);
}
int32_t VORIN_CDECL fadd_i4b_dll(int32_t a, int32_t b) noexcept {
  return wrappingSum(a, b);
}

// Required: an integer sum in spite of the name; hosts pass integers.
int32_t VORIN_CDECL fadd_dp_dll(int32_t a, int32_t b) noexcept {
  return wrappingSum(a, b);
}

void VORIN_CDECL sadd_i4b_dll(const int32_t* a, const int32_t* b, int32_t* result) noexcept {
  *result = wrappingSum(*a, *b);
}

void VORIN_CDECL sadd_dp_dll(const double* a, const double* b, double* result) noexcept {
  *result = *a + *b;
}

}  // extern "C"
