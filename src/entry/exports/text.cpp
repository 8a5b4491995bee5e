// Section "Text": numbers as text, for hosts without formatted output of their own.
#include "params/text.hpp"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

#include "params/format_text.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

std::size_t lengthOf(int32_t count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

void giveText(char* text, int32_t length, const std::string& value) {
  vorin::params::fillField({text, lengthOf(length)}, value);
}

}  // namespace

extern "C" {

void VORIN_CALL CHGetFormat_dp(const double* values, int32_t count, const int32_t* w, char* text,
                               const int32_t* len, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  *status = VORIN_FORMAT_DONE;
  giveText(text, *len, vorin::params::formatFor({values, lengthOf(count)}, *w));
}

void VORIN_CALL CHToString_dp(char* text, const double* value, const int32_t* len) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  giveText(text, *len, vorin::params::toText(*value));
}

void VORIN_CALL CHToString3_dp(char* text, const double* value, const int32_t* w, const int32_t* d,
                               const double* lower, const double* upper, const int32_t* fmin,
                               const int32_t* len) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  giveText(text, *len, vorin::params::toText(*value, {*w, *d, *lower, *upper, *fmin}));
}

void VORIN_CALL CHToString_i4b(char* text, const int32_t* value, const int32_t* len) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  giveText(text, *len, std::to_string(*value));
}

}  // extern "C"
