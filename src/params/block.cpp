// The library-wide parameter block and the direct ways to its slots.
#include "params/block.hpp"

#include <cassert>

#include "params/block_state.hpp"
#include "params/text.hpp"
#include "toolbox/instance.hpp"

namespace vorin::params {

Block& block() {
  static constinit Block theBlock;
  return stateOf(InstancePart::parameters, theBlock);
}

std::size_t findKey(std::string_view key) {
  std::array<char, keyLength> upper;
  fillField(upper, key);
  for (char& c : upper) {
    c = ToUpperCase(c);
  }
  const std::string_view wanted(upper.data(), upper.size());
  std::size_t index = 0;
  while (index < keyTable.size() && !matches(keyTable[index], wanted)) {
    ++index;
  }
  return index;
}

float& rawNumber(std::string_view key) {
  const std::size_t index = findKey(key);
  assert(index < keyTable.size() && keyTable[index].holdsNumber());
  static thread_local float noSlot = 0;  // a misspelt key must not reach another's slot
  return index < keyTable.size() && keyTable[index].holdsNumber() ? block().number(index) : noSlot;
}

std::string_view rawText(std::string_view key) {
  const std::size_t index = findKey(key);
  if (index == keyTable.size()) {
    return {};
  }
  const std::span<char> slot = block().text(index);
  return {slot.data(), slot.size()};
}

}  // namespace vorin::params
