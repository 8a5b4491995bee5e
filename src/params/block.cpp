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

// Keys are told apart by their first two characters for the most part: those that share the group
// of a key are compared with it one after the other. Every key has two characters or more.
constexpr std::size_t groupCount = 64;
constexpr std::size_t groupOf(std::uint32_t key) {
  constexpr unsigned firstShift = 24;
  constexpr unsigned secondShift = 16;
  constexpr std::uint32_t character = 0xFF;
  constexpr std::uint32_t spread = 29;
  return ((key >> firstShift) * spread + (key >> secondShift & character)) % groupCount;
}

// The first row of each group, and behind each row the next one of its group; keyTable.size() where
// there is none.
struct KeyGroups {
  std::array<std::uint8_t, groupCount> first{};
  std::array<std::uint8_t, keyTable.size()> next{};
};

constexpr KeyGroups groupKeys() {
  constexpr auto none = static_cast<std::uint8_t>(keyTable.size());
  KeyGroups groups;
  groups.first.fill(none);
  for (std::size_t i = keyTable.size(); i-- > 0;) {
    std::uint8_t& first = groups.first[groupOf(packedKeys[i].key)];
    groups.next[i] = first;
    first = static_cast<std::uint8_t>(i);
  }
  return groups;
}

constexpr KeyGroups keyGroups = groupKeys();

}  // namespace

std::size_t findKey(std::string_view key) {
  std::uint32_t wanted = 0;
  for (std::size_t i = 0; i < keyLength; ++i) {
    constexpr unsigned characterBits = 8;
    const char c = i < key.size() ? ToUpperCase(key[i]) : ' ';
    wanted = wanted << characterBits | static_cast<unsigned char>(c);
  }
  std::size_t row = keyGroups.first[groupOf(wanted)];
  while (row < packedKeys.size() && (wanted & packedKeys[row].compared) != packedKeys[row].key) {
    row = keyGroups.next[row];
  }
  return row;
}

}  // namespace vorin::params
