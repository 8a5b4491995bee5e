// The file behind the log unit: the library has one unit and writes every file,
// log and save section alike, through it.
#pragma once

#include <cstdint>
#include <string_view>

namespace vorin::params {

/// The number of the log unit. It is no key; routines that take a unit (the save
/// section) are handed this one.
std::int32_t& logUnit();

/// Opens `name` on `unit`, as `statusWord` says (case and trailing blanks aside):
///   OLD, blank   an existing file, from its start
///   UNKNOWN      a new file, or an existing one rewritten from its start
///   NEW          a file that must not exist yet
///   APPEND       an existing file, at its end
/// `result` is 0, or else the file could not be opened and the unit is closed.
/// Any other word is a coding error, reported on standard output; `result`
/// is 0 then and the unit stays as it was. Units other than the log unit have no
/// file and can't be opened.
void FOPEN(std::int32_t unit, std::string_view name, std::string_view statusWord,
           std::int32_t& result);

/// Writes a blank and `text`, without trailing blanks, as a line of its own, if the log unit
/// is open: the free-form records of routines that have no module tag. FOPEN registers it as
/// the sink of the toolbox's failure records (toolbox/nrerror.hpp).
void writeRecord(std::string_view text);

/// True while `unit` has a file behind it.
bool unitIsOpen(std::int32_t unit);

/// Closes the log unit; nothing happens if it is closed.
void closeLogUnit();

/// The one writer: `line` unchanged, and the end of the line. Writes nothing when the log
/// unit is closed, and a failure to write costs the line.
void writeLine(std::string_view line);

/// Hands what was written to the system, so that others can read it.
void flushLogUnit();

}  // namespace vorin::params
