// The toolbox's one failure rule: a failed check never ends the program or the
// call. It leaves one record, and the routine goes on. Callers learn of it from
// the log alone; with no log open the record goes nowhere. The log's level has no
// say in it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace vorin {

/// Writes the record "nrerror: " and `text`, and returns.
void nrerror(std::string_view text);

/// The common value of sizes that must agree. When they don't: one record that
/// ends with `tag`, and 0, so that a routine that takes its size from here goes on
/// with size 0 and its loops do nothing. No sizes at all agree on 0.
std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::string_view tag);
std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::int32_t n3, std::string_view tag);
std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::int32_t n3, std::int32_t n4,
                       std::string_view tag);
std::int32_t assert_eq(std::span<const std::int32_t> sizes, std::string_view tag);

/// Leaves one record that ends with `tag` when any of the flags is false.
void assert_flag(bool flag1, std::string_view tag);
void assert_flag(bool flag1, bool flag2, std::string_view tag);
void assert_flag(bool flag1, bool flag2, bool flag3, std::string_view tag);
void assert_flag(bool flag1, bool flag2, bool flag3, bool flag4, std::string_view tag);
/// A vector of flags, one char each as std::vector<bool> has no addresses: 0 is false.
void assert_flag(std::span<const char> flags, std::string_view tag);

}  // namespace vorin
