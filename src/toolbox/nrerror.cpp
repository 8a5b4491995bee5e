#include "toolbox/nrerror.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>

namespace vorin {
namespace {

constinit std::atomic<RecordSink> recordSink = nullptr;

}  // namespace

void setRecordSink(RecordSink sink) noexcept {
  recordSink.store(sink, std::memory_order_release);
}

void nrerror(std::string_view text) {
  if (const RecordSink sink = recordSink.load(std::memory_order_acquire)) {
    sink("nrerror: " + std::string(text));
  }
}

std::int32_t assert_eq(std::span<const std::int32_t> sizes, std::string_view tag) {
  if (sizes.empty()) {
    return 0;
  }
  const std::int32_t first = sizes.front();
  if (std::all_of(sizes.begin(), sizes.end(), [first](std::int32_t n) { return n == first; })) {
    return first;
  }
  nrerror("an assert_eq failed with this tag:" + std::string(tag));
  return 0;
}

std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::string_view tag) {
  return assert_eq(std::array{n1, n2}, tag);
}

std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::int32_t n3, std::string_view tag) {
  return assert_eq(std::array{n1, n2, n3}, tag);
}

std::int32_t assert_eq(std::int32_t n1, std::int32_t n2, std::int32_t n3, std::int32_t n4,
                       std::string_view tag) {
  return assert_eq(std::array{n1, n2, n3, n4}, tag);
}

void assert_flag(std::span<const char> flags, std::string_view tag) {
  if (std::any_of(flags.begin(), flags.end(), [](char flag) { return flag == 0; })) {
    nrerror("an assertion failed with this tag:" + std::string(tag));
  }
}

void assert_flag(bool flag1, std::string_view tag) {
  assert_flag(std::array<char, 1>{flag1}, tag);
}

void assert_flag(bool flag1, bool flag2, std::string_view tag) {
  assert_flag(std::array<char, 2>{flag1, flag2}, tag);
}

void assert_flag(bool flag1, bool flag2, bool flag3, std::string_view tag) {
  assert_flag(std::array<char, 3>{flag1, flag2, flag3}, tag);
}

void assert_flag(bool flag1, bool flag2, bool flag3, bool flag4, std::string_view tag) {
  assert_flag(std::array<char, 4>{flag1, flag2, flag3, flag4}, tag);
}

}  // namespace vorin
