// Array sizes from the extents that callers give, in one place. An extent below 0, as a host
// may pass it, counts as 0: no array has fewer elements than none.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorin {

/// `n` as an extent or offset of a view.
constexpr std::ptrdiff_t extent(std::int64_t n) {
  return n > 0 ? static_cast<std::ptrdiff_t>(n) : 0;
}

/// The number of elements of an array of `n`, as the standard containers count.
constexpr std::size_t length(std::int64_t n) {
  return static_cast<std::size_t>(extent(n));
}

/// The number of elements of a `rows` by `columns` matrix; its product does not overflow for
/// extents of 32 bits.
constexpr std::size_t area(std::int64_t rows, std::int64_t columns) {
  return length(rows) * length(columns);
}

/// An extent of a view as the 32-bit integer that the size checks of the toolbox compare.
constexpr std::int32_t extent32(std::ptrdiff_t n) {
  return static_cast<std::int32_t>(n);
}

}  // namespace vorin
