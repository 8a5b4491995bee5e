// The exported entries of set and query. They differ in which of the two values,
// text and number, the host supplies; the work is setQuery's. What they call is
// noexcept, so no exception can leave them.
//
// A query writes the text only after mode and key have been taken from the host,
// and a set never writes it. The entries therefore work on the host's text in
// place: what comes back is the same as from a copy, without an allocation, and a
// text that is set may lie in read-only memory.
#include <string_view>

#include "params/store.hpp"
#include "vorin.h"

namespace {

using vorin::params::setQuery;

/// A key as hosts hand it in: four characters and no terminator. They are read
/// only by the operations that look at the key.
std::string_view hostKey(const char* key) {
  return {key, 4};
}

void setQueryNumber(char mode, const char* key, float* value, std::int32_t* status) {
  setQuery(mode, hostKey(key), nullptr, 0, *value, *status);
}

void setQueryText(char mode, const char* key, char* text, std::int32_t length,
                  std::int32_t* status) {
  // Required: the number behind a text is no argument of these entries, so that a
  // numeric key set through them gets one that no host can rely on; here 0.
  float undefinedNumber = 0;
  setQuery(mode, hostKey(key), text, length, undefinedNumber, *status);
}

}  // namespace

extern "C" {

void VORIN_CDECL vorinSQC99(const char* mode, const char* key, char* text, const int32_t* len,
                            float* value, int32_t* status) noexcept {
  setQuery(*mode, hostKey(key), text, *len, *value, *status);
}

void VORIN_CALL VorinSQR(const char* mode, const char* key, float* value,
                         int32_t* status) noexcept {
  setQueryNumber(*mode, key, value, status);
}

void VORIN_CALL VorinSQR_s(const char* mode, const char* key, float* value,
                           int32_t* status) noexcept {
  setQueryNumber(*mode, key, value, status);
}

void VORIN_CALL VorinSQR_d(const char* mode, const char* key, float* value,
                           int32_t* status) noexcept {
  // Required: anything but an upper-case S queries, the reset letter included, and
  // the value is single in spite of the entry's name. Hosts are built on that.
  setQueryNumber(*mode == 'S' ? 'S' : 'Q', key, value, status);
}

void VORIN_CALL VorinSQI(const char* mode, const char* key, int32_t* value,
                         int32_t* status) noexcept {
  vorin::params::setQueryInteger(*mode, hostKey(key), *value, *status);
}

void VORIN_CALL VorinSQC(const char* mode, const char* key, char* text, const int32_t* len,
                         int32_t* status) noexcept {
  setQueryText(*mode, key, text, *len, status);
}

void VORIN_CALL VorinSQC2(const char* mode, const char* key, char* text, int32_t* status) noexcept {
  setQueryText(*mode, key, text, VORIN_SQC2_TEXT_LENGTH, status);
}

void VORIN_CDECL vorin_sqc_cdecl(const char* mode, const char* key, char* text, const int32_t* len,
                                 int32_t* status) noexcept {
  setQueryText(*mode, key, text, *len, status);
}

void VORIN_CDECL vorin_sqr_cdecl(const char* mode, const char* key, float* value,
                                 int32_t* status) noexcept {
  setQueryNumber(*mode, key, value, status);
}

}  // extern "C"
