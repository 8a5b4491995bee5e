// The process-wide parameter block, the block of the calling thread's instance, and the search
// for a key.
#include "params/block.hpp"

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

}  // namespace vorin::params
