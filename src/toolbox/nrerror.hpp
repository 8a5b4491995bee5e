// The failure rule of the toolbox: a failed check never ends the program or the call. It
// leaves one record, and the routine goes on. Callers learn of it from the log alone; with no
// log open the record goes nowhere, and the log's level does not matter.
//
// The toolbox knows nothing of the log. The log registers as the sink of the records when it
// opens its first file.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace vorin {

/// Takes one record. A sink may be called from several threads at once; it finds the log of
/// the calling thread itself (instance.hpp).
using RecordSink = void (*)(std::string_view record);

/// Makes `sink` the receiver of all records; null, the initial state, drops them. Safe from
/// any thread.
void setRecordSink(RecordSink sink) noexcept;

/// Writes the record "nrerror: " and `text`, and returns.
void nrerror(std::string_view text);

/// The common value of sizes that must agree. When they don't: one record that
/// ends with `tag`, and 0, so that a routine that takes its size from here goes on
/// with size 0 and its loops do nothing. No sizes at all agree on 0. No routine of the library
/// calls the form for three sizes: it completes the family.
std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::string_view tag);
std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::int32_t n3, std::string_view tag);
std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::int32_t n3, std::int32_t n4,
                       std::string_view tag);
std::int32_t assert_eq(std::span<const std::int32_t> sizes, std::string_view tag);

/// Leaves one record that ends with `tag` when any of the flags is false. No routine of the
/// library calls this family: it is the toolbox's, for checks that are not of sizes.
void assert_flag(bool flag1, std::string_view tag);
void assert_flag(bool flag1, bool flag2, std::string_view tag);
void assert_flag(bool flag1, bool flag2, bool flag3, std::string_view tag);
void assert_flag(bool flag1, bool flag2, bool flag3, bool flag4, std::string_view tag);
/// A vector of flags, one char each because std::vector<bool> has no addresses: 0 is false.
void assert_flag(std::span<const char> flags, std::string_view tag);

}  // namespace vorin
