// Numbers as files store them: their types, byte orders, and the way to double precision and back.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

enum class NumberKind { signedInteger, unsignedInteger, floating };

/// How the numbers of an array are stored.
struct ElementType {
  NumberKind kind = NumberKind::floating;
  std::size_t size = 8;    ///< bytes of a number: 1, 2, 4 or 8; of complex ones, of a part
  bool isComplex = false;  ///< real part, imaginary part
  bool swapped = false;    ///< of the other byte order than this machine's

  std::size_t bytes() const { return isComplex ? 2 * size : size; }
};

/// The `count` numbers (parts, where they are complex) at `bytes`.
void takeNumbers(const char* bytes, std::size_t count, const ElementType& type, double* numbers);

/// `numbers` as `type` (of this machine's byte order, not complex) stores them. Where the type is
/// an integer the numbers are whole and in its range.
void putNumbers(const double* numbers, std::size_t count, const ElementType& type, char* bytes);

}  // namespace vorin::toolkit
