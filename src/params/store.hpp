// Set and query of parameters from inside the library, by the same keys and the
// same core routine that hosts reach through the exported entries.
#pragma once

#include <cstdint>
#include <string_view>

namespace vorin::params {

/// The core: operation `mode` (S set, Q query, I reset) on `key` with a text of
/// `length` characters and a number. On return `status` is 0, or 1 for an
/// unknown mode. A length below 0 counts as 0; nothing outside
/// text[0 .. length - 1] is read or written.
void setQuery(char mode, std::string_view key, char* text, std::int32_t length, float& value,
              std::int32_t& status);

/// The number under `key`; 0 for a key that answers no number.
float queryReal(std::string_view key);

/// The number under `key` plus 0.5, truncated toward zero.
std::int32_t queryInteger(std::string_view key);

/// Stores `value` under the numeric key `key`; an unknown key is ignored.
void setReal(std::string_view key, float value);

}  // namespace vorin::params
