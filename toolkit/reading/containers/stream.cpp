#include "toolkit/reading/containers/stream.hpp"

#include <algorithm>
#include <cstring>

namespace vorin::toolkit::containers {

namespace {

constexpr std::string_view magic = "VORINC1\n";
enum Kind : char { array = 'a', listed = 'l', error = 'e', end = '.' };

template <class Number>
void put(std::string& bytes, Number number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof(Number));
}

void putText(std::string& bytes, std::string_view text) {
  put(bytes, static_cast<std::uint32_t>(text.size()));
  bytes += text;
}

void putNumbers(std::string& bytes, const std::vector<double>& numbers) {
  bytes.append(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(double));
}

/// Walks the bytes; every step answers false behind their end.
class Walker {
 public:
  explicit Walker(std::string_view bytes) : rest_(bytes) {}

  template <class Number>
  bool take(Number& number) {
    if (rest_.size() < sizeof(Number)) {
      return false;
    }
    std::memcpy(&number, rest_.data(), sizeof(Number));
    rest_.remove_prefix(sizeof(Number));
    return true;
  }

  bool takeText(std::string& text) {
    std::uint32_t length = 0;
    if (!take(length) || rest_.size() < length) {
      return false;
    }
    text = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return true;
  }

  bool takeNumbers(std::vector<double>& numbers, std::uint64_t count) {
    if (rest_.size() / sizeof(double) < count) {
      return false;
    }
    const auto size = static_cast<std::size_t>(count);
    numbers.resize(size);
    if (size > 0) {
      std::memcpy(numbers.data(), rest_.data(), size * sizeof(double));
    }
    rest_.remove_prefix(size * sizeof(double));
    return true;
  }

  bool takeArray(Array& found) {
    constexpr std::uint32_t mostAxes = 2;
    std::uint32_t rank = 0;
    if (!takeText(found.name) || !takeText(found.times) || !takeText(found.unit) || !take(rank) ||
        rank < 1 || rank > mostAxes) {
      return false;
    }
    std::uint64_t count = 1;
    for (std::uint32_t axis = 0; axis < rank; ++axis) {
      std::uint64_t extent = 0;
      if (!take(extent) || extent > mostNumbers) {
        return false;
      }
      count *= extent;  // two factors below 2^26
      found.shape.push_back(extent);
    }
    char isComplex = 0;
    return count <= mostNumbers && take(isComplex) && takeNumbers(found.real, count) &&
           takeNumbers(found.imaginary, isComplex != 0 ? count : 0);
  }

 private:
  std::string_view rest_;
};

}  // namespace

std::uint64_t numbersAllowed(std::uint64_t bytes) {
  constexpr std::uint64_t always = 64'000'000;
  constexpr std::uint64_t ratio = 100;
  const std::uint64_t most = mostNumbers * sizeof(double);
  return std::min(most, always + ratio * std::min(bytes, most)) / sizeof(double);
}

std::string encodedStart() {
  return std::string(magic);
}

std::string encoded(const Array& array) {
  std::string bytes(1, Kind::array);
  putText(bytes, array.name);
  putText(bytes, array.times);
  putText(bytes, array.unit);
  put(bytes, static_cast<std::uint32_t>(array.shape.size()));
  for (const std::uint64_t extent : array.shape) {
    put(bytes, extent);
  }
  bytes += array.imaginary.empty() ? '\0' : '\1';
  putNumbers(bytes, array.real);
  putNumbers(bytes, array.imaginary);
  return bytes;
}

std::string encoded(const Listed& listed) {
  std::string bytes(1, Kind::listed);
  putText(bytes, listed.name);
  putText(bytes, listed.what);
  return bytes;
}

std::string encodedError(std::string_view sentence) {
  std::string bytes(1, Kind::error);
  putText(bytes, sentence);
  return bytes;
}

std::string encodedEnd() {
  return std::string(1, Kind::end);
}

bool decode(std::string_view bytes, Content& content) {
  if (!bytes.starts_with(magic)) {
    return false;
  }
  Walker walker(bytes.substr(magic.size()));
  char kind = 0;
  while (walker.take(kind)) {
    switch (kind) {
      case Kind::array:
        content.arrays.emplace_back();
        if (!walker.takeArray(content.arrays.back())) {
          content.arrays.pop_back();
          return false;
        }
        break;
      case Kind::listed:
        content.listed.emplace_back();
        if (!walker.takeText(content.listed.back().name) ||
            !walker.takeText(content.listed.back().what)) {
          return false;
        }
        break;
      case Kind::error:
        return walker.takeText(content.error);
      case Kind::end:
        return true;
      default:
        return false;
    }
  }
  return false;
}

}  // namespace vorin::toolkit::containers
