// What the fuzzer's bytes become: sizes, hostile numbers, texts, and arrays of exactly the
// size that an export's comment asks for, so that a step past their end is seen.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace vorin::fuzz {

/// An array on the heap with no elements past its end, so that AddressSanitizer sees a write there.
template <class T>
class Exact {
 public:
  explicit Exact(std::size_t size) : size_(size), data_(new T[size]()) {}
  T* data() { return data_.get(); }
  const T* data() const { return data_.get(); }
  std::size_t size() const { return size_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }

 private:
  std::size_t size_;
  std::unique_ptr<T[]> data_;  // NOLINT: a vector would have capacity to spare
};

/// A size that an array is given for `n`, which may be negative.
inline std::size_t room(int n) {
  return static_cast<std::size_t>(n < 0 ? 0 : n);
}

inline std::size_t area(int rows, int columns) {
  return room(rows) * room(columns);
}

/// Reads the fuzzer's bytes from the front; zeros follow their end.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : at_(data), left_(size) {}

  bool empty() const { return left_ == 0; }

  std::uint8_t byte() {
    if (left_ == 0) {
      return 0;
    }
    --left_;
    return *at_++;
  }

  /// A whole number from `low` to `high`.
  int within(int low, int high) {
    const unsigned value = static_cast<unsigned>(byte()) << 8U | byte();
    return low + static_cast<int>(value % static_cast<unsigned>(high - low + 1));
  }

  /// Any 32 bits.
  std::int32_t integer() {
    std::uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) {
      bits = bits << 8U | byte();
    }
    return static_cast<std::int32_t>(bits);
  }

  /// A size of a shape: mostly small, sometimes none or below.
  int size(int greatest = 64) {
    const std::uint8_t kind = byte();
    return kind < 16 ? -static_cast<int>(kind % 3) : within(1, kind < 160 ? 12 : greatest);
  }

  /// One of the numbers that break things, any bit pattern, or a usual one.
  double number() {
    static constexpr double special[] = {0.0,
                                         -0.0,
                                         1.0,
                                         -1.0,
                                         std::numeric_limits<double>::quiet_NaN(),
                                         std::numeric_limits<double>::infinity(),
                                         -std::numeric_limits<double>::infinity(),
                                         std::numeric_limits<double>::denorm_min(),
                                         -std::numeric_limits<double>::denorm_min(),
                                         1e-310,
                                         1e-42,
                                         1e-38,
                                         3.4e38,
                                         -3.4e38,
                                         std::numeric_limits<double>::max(),
                                         std::numeric_limits<double>::lowest(),
                                         2147483648.0,
                                         -2147483649.0,
                                         1e10,
                                         -1e20,
                                         0.5};
    const std::uint8_t kind = byte();
    if (kind < 40) {
      return special[byte() % (sizeof special / sizeof special[0])];
    }
    if (kind < 64) {
      std::uint64_t bits = 0;
      for (int i = 0; i < 8; ++i) {
        bits = bits << 8U | byte();
      }
      double value = 0.0;
      std::memcpy(&value, &bits, sizeof value);
      return value;
    }
    if (kind < 80) {
      return std::ldexp(within(-100, 100), within(-150, 130));
    }
    return within(-1000, 1000) / 256.0;
  }

  float single() { return narrowed<float>(number()); }

  /// Fills `array` by one of several ways: each number from the bytes, or a decay, or one
  /// number throughout; then a few numbers of it anew.
  template <class Real>
  void fill(Exact<Real>& array) {
    const std::uint8_t way = byte();
    const double first = number();
    const double rate = within(0, 255) / 64.0;
    for (std::size_t i = 0; i < array.size(); ++i) {
      const double value = way < 100 ? (empty() ? std::sin(static_cast<double>(i) * 1.7) : number())
                           : way < 220 ? first * std::exp(-rate * static_cast<double>(i % 61))
                                       : first;
      array[i] = narrowed<Real>(value);
    }
    for (int left = byte() % 4; left > 0 && array.size() > 0; --left) {
      array[static_cast<std::size_t>(within(0, 65535)) % array.size()] = narrowed<Real>(number());
    }
  }

  /// Positions that rise by equal or uneven steps, mostly above 0.
  void rising(Exact<float>& array) {
    float at = byte() < 200 ? static_cast<float>(within(1, 1000)) / 64.0F : single();
    for (std::size_t i = 0; i < array.size(); ++i) {
      array[i] = at;
      at += static_cast<float>(byte()) / 16.0F;
    }
  }

  /// A text of at most `greatest` bytes, any of which may occur.
  std::string text(int greatest) {
    std::string result(static_cast<std::size_t>(within(0, greatest)), ' ');
    for (char& c : result) {
      const std::uint8_t value = byte();
      std::memcpy(&c, &value, 1);
    }
    return result;
  }

 private:
  // A double beyond the range of a float becomes an infinity, as at a host that rounds.
  template <class Real>
  static Real narrowed(double value) {
    if constexpr (sizeof(Real) < sizeof(double)) {
      constexpr auto greatest = static_cast<double>(std::numeric_limits<float>::max());
      if (value > greatest) {
        return std::numeric_limits<float>::infinity();
      }
      if (value < -greatest) {
        return -std::numeric_limits<float>::infinity();
      }
    }
    return static_cast<Real>(value);
  }

  const std::uint8_t* at_;
  std::size_t left_;
};

/// Stops the fuzzer with the input kept, when what a comment promises does not hold.
inline void require(bool holds) {
  if (!holds) {
    __builtin_trap();
  }
}

}  // namespace vorin::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
