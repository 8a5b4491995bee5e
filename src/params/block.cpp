// The process-wide parameter block, the block of the calling thread's instance, and the search
// for a key.
#include "params/block.hpp"

#include <algorithm>
#include <cstdint>

#include "params/text.hpp"
#include "toolbox/instance.hpp"

namespace vorin::params {

Block& block() {
  static constinit Block theBlock;
  return stateOf(InstancePart::parameters, theBlock);
}

namespace {

// Four characters as one number, so that a key is found by comparisons of numbers: a search asks
// for some hundred keys.
constexpr std::uint32_t packed(std::string_view text) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < keyLength; ++i) {
    constexpr unsigned characterBits = 8;
    number = number << characterBits | static_cast<unsigned char>(i < text.size() ? text[i] : '\0');
  }
  return number;
}

struct PackedKey {
  std::uint32_t key = 0;
  std::uint32_t compared = 0;  // all bits of the characters that count
};

constexpr std::array<PackedKey, keyTable.size()> packKeys() {
  std::array<PackedKey, keyTable.size()> keys;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    constexpr std::string_view all = "\xff\xff\xff\xff";
    keys[i] = {packed(keyTable[i].key), packed(all.substr(0, keyTable[i].key.size()))};
  }
  return keys;
}

constexpr std::array<PackedKey, keyTable.size()> packedKeys = packKeys();

}  // namespace

std::size_t findKey(std::string_view key) {
  std::array<char, keyLength> upper;
  fillField(upper, key);
  for (char& c : upper) {
    c = ToUpperCase(c);
  }
  const std::uint32_t wanted = packed({upper.data(), upper.size()});
  const auto found = std::ranges::find_if(
      packedKeys, [wanted](const PackedKey& row) { return (wanted & row.compared) == row.key; });
  return static_cast<std::size_t>(found - packedKeys.begin());
}

}  // namespace vorin::params
