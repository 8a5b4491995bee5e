// Section "Parameters": set, query and reset by key. The entries differ in which of the
// two values, text and number, the host supplies; setQuery does the work.
//
// A query writes the text only after mode and key have been read, and a set never
// writes it. The entries therefore work on the host's text in place, without a copy,
// and a text that is set may lie in read-only memory.
#include <string_view>

#include "params/store.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

using vorin::params::setQuery;

static_assert(int{VORIN_SQ_OK} == int{vorin::params::setQueryDone});
static_assert(int{VORIN_SQ_UNKNOWN_MODE} == int{vorin::params::setQueryUnknownMode});

// A key as hosts pass it: four characters and no terminator. They are read only by the
// operations that look at the key.
std::string_view hostKey(const char* key) {
  return {key, 4};
}

void setQueryNumber(char mode, const char* key, float* value, std::int32_t* status) {
  setQuery(mode, hostKey(key), nullptr, 0, *value, *status);
}

void setQueryText(char mode, const char* key, char* text, std::int32_t length,
                  std::int32_t* status) {
  // Required: these entries have no number argument, so a numeric key that is set through
  // them takes an undefined number; here 0.
  float undefinedNumber = 0;
  setQuery(mode, hostKey(key), text, length, undefinedNumber, *status);
}

}  // namespace

extern "C" {

void VORIN_CDECL vorinSQC99(const char* mode, const char* key, char* text, const int32_t* len,
                            float* value, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQuery(*mode, hostKey(key), text, *len, *value, *status);
}

void VORIN_CALL VorinSQR(const char* mode, const char* key, float* value,
                         int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQueryNumber(*mode, key, value, status);
}

void VORIN_CALL VorinSQR_s(const char* mode, const char* key, float* value,
                           int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQueryNumber(*mode, key, value, status);
}

void VORIN_CALL VorinSQR_d(const char* mode, const char* key, float* value,
                           int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  // Required: anything but an upper-case S queries, the reset letter included, and
  // the value is single in spite of the entry's name. Hosts are built on that.
  setQueryNumber(*mode == 'S' ? 'S' : 'Q', key, value, status);
}

void VORIN_CALL VorinSQI(const char* mode, const char* key, int32_t* value,
                         int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::params::setQueryInteger(*mode, hostKey(key), *value, *status);
}

void VORIN_CALL VorinSQC(const char* mode, const char* key, char* text, const int32_t* len,
                         int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQueryText(*mode, key, text, *len, status);
}

void VORIN_CALL VorinSQC2(const char* mode, const char* key, char* text, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQueryText(*mode, key, text, VORIN_SQC2_TEXT_LENGTH, status);
}

void VORIN_CDECL vorin_sqc_cdecl(const char* mode, const char* key, char* text, const int32_t* len,
                                 int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQueryText(*mode, key, text, *len, status);
}

void VORIN_CDECL vorin_sqr_cdecl(const char* mode, const char* key, float* value,
                                 int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  setQueryNumber(*mode, key, value, status);
}

}  // extern "C"
