// The parameter block: the one piece of library-wide state through which hosts
// and routines exchange settings and results. It exists with its load values
// from the moment the library is loaded and keeps its contents between calls.
//
// Nearly everything goes through the store (store.hpp); the few routines that
// read or write a slot as it stands do it here.
#pragma once

#include <string_view>

namespace vorin::params {

/// The numeric slot `key` (exactly as the table spells it, e.g. "PRPO") itself.
float& rawNumber(std::string_view key);

/// The stored text of `key` (PRMO, NALG, TARG, FLOG, PRAV, VERS), padded with
/// blanks to the slot's length; not what a query would answer.
std::string_view rawText(std::string_view key);

}  // namespace vorin::params
