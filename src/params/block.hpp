// The parameter block as the store sees it: one slot a row of the key table.
// Private to this folder; other folders use store.hpp.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "params/key_table.hpp"

namespace vorin::params {

/// Where the text slot of row `index` begins in the block's characters.
constexpr std::size_t textOffset(std::size_t index) {
  std::size_t offset = 0;
  for (std::size_t i = 0; i < index; ++i) {
    offset += keyTable[i].slotLength;
  }
  return offset;
}

/// The slots. Made with the load values at compile time, so that the block is
/// right from the moment the library is loaded, before any code has run.
class Block {
 public:
  constexpr Block() {
    for (std::size_t i = 0; i < keyTable.size(); ++i) {
      numbers_[i] = keyTable[i].load;
      setText(i, keyTable[i].loadText);
    }
  }

  /// The numeric slot of row `index` of the table.
  constexpr float& number(std::size_t index) { return numbers_[index]; }

  /// The text slot of row `index`; empty for a number.
  constexpr std::span<char> text(std::size_t index) {
    return std::span(characters_).subspan(textOffset(index), keyTable[index].slotLength);
  }

  /// Stores `value`, cut or padded to the slot.
  constexpr void setText(std::size_t index, std::string_view value) {
    const std::span<char> slot = text(index);
    for (std::size_t i = 0; i < slot.size(); ++i) {
      slot[i] = i < value.size() ? value[i] : ' ';
    }
  }

 private:
  std::array<float, keyTable.size()> numbers_{};
  std::array<char, textOffset(keyTable.size())> characters_{};
};

/// The block of the thread's instance, or else the one of the process.
Block& block();

/// The row that `key` reaches, by its number in the table; keyTable.size() if
/// there is none. `key` counts with four characters, cut or padded with blanks,
/// in any case.
std::size_t findKey(std::string_view key);

}  // namespace vorin::params
