#include "toolkit/mapping/files/elements.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace vorin::toolkit {

namespace {

template <class Stored>
void takeAs(const char* bytes, std::size_t count, bool swapped, double* numbers) {
  for (std::size_t i = 0; i < count; ++i) {
    std::array<char, sizeof(Stored)> own{};
    std::memcpy(own.data(), bytes + i * sizeof(Stored), sizeof(Stored));
    if (swapped) {
      std::reverse(own.begin(), own.end());
    }
    Stored value{};
    std::memcpy(&value, own.data(), sizeof(Stored));
    numbers[i] = static_cast<double>(value);
  }
}

template <class Stored>
void putAs(const double* numbers, std::size_t count, char* bytes) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<Stored>(numbers[i]);
    std::memcpy(bytes + i * sizeof(Stored), &value, sizeof(Stored));
  }
}

}  // namespace

void takeNumbers(const char* bytes, std::size_t count, const ElementType& type, double* numbers) {
  const bool swapped = type.swapped;
  if (type.kind == NumberKind::floating) {
    type.size == 4 ? takeAs<float>(bytes, count, swapped, numbers)
                   : takeAs<double>(bytes, count, swapped, numbers);
  } else if (type.kind == NumberKind::signedInteger) {
    type.size == 1   ? takeAs<std::int8_t>(bytes, count, swapped, numbers)
    : type.size == 2 ? takeAs<std::int16_t>(bytes, count, swapped, numbers)
    : type.size == 4 ? takeAs<std::int32_t>(bytes, count, swapped, numbers)
                     : takeAs<std::int64_t>(bytes, count, swapped, numbers);
  } else {
    type.size == 1   ? takeAs<std::uint8_t>(bytes, count, swapped, numbers)
    : type.size == 2 ? takeAs<std::uint16_t>(bytes, count, swapped, numbers)
    : type.size == 4 ? takeAs<std::uint32_t>(bytes, count, swapped, numbers)
                     : takeAs<std::uint64_t>(bytes, count, swapped, numbers);
  }
}

void putNumbers(const double* numbers, std::size_t count, const ElementType& type, char* bytes) {
  if (type.kind == NumberKind::floating) {
    type.size == 4 ? putAs<float>(numbers, count, bytes) : putAs<double>(numbers, count, bytes);
  } else {
    putAs<std::int32_t>(numbers, count, bytes);
  }
}

}  // namespace vorin::toolkit
