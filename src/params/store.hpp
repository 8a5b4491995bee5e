// Set and query of parameters from inside the library, by the same keys and the
// same core routine that hosts reach through the exported entries.
//
// Nothing here checks a value: it is stored as it comes, and the routine that
// reads it applies its limits. An unknown key does nothing and is no failure. Nothing throws but
// std::bad_alloc, where the block of a thread's instance can't be allocated.
#pragma once

#include <cstdint>
#include <string_view>

namespace vorin::params {

/// What `status` holds after a set, query or reset.
enum SetQueryStatus : std::int32_t {
  setQueryDone = 0,
  setQueryUnknownMode = 1,  ///< the operation letter is none of S, Q and I; nothing was done
};

/// The core: operation `mode` (S set, Q query, I reset) on `key` with a text of
/// `length` characters and a number. On return `status` is a
/// SetQueryStatus. A length below 0 counts as 0; nothing outside
/// text[0 .. length - 1] is read or written.
void setQuery(char mode, std::string_view key, char* text, std::int32_t length, float& value,
              std::int32_t& status);

/// The core for an integer by the rules of hosts: on S it is converted; on mode Q,
/// upper case only, it takes the number plus 0.5 truncated toward zero. Other
/// modes, lower-case q among them, leave it.
void setQueryInteger(char mode, std::string_view key, std::int32_t& value, std::int32_t& status);

/// The number under `key`; 0 for a key that answers no number. For a choice (PRMO, NALG, TARG)
/// it is the code of the stored text.
float queryReal(std::string_view key);

/// The number under `key` plus 0.5, truncated toward zero.
std::int32_t queryInteger(std::string_view key);

/// Stores `value` under the numeric key `key`; an unknown key is ignored.
void setReal(std::string_view key, float value);

/// The text that the slot of `key` (PRMO, NALG, TARG, FLOG, PRAV, VERS) holds, padded with
/// blanks to the slot's length; empty for any other key. Required: this is not what a query
/// answers. A query tells neither ASY2 from ASYM nor FIT from NONE, and answers NONE for the
/// reset text of PRMO.
std::string_view storedText(std::string_view key);

}  // namespace vorin::params
