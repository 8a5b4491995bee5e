// What a user is told of the library's keys: names, kinds and meanings are those of the
// library's own table, ranges and units are added here.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

enum class KeyKind {
  whole,   ///< a number, a whole one by meaning
  number,  ///< a number
  text,    ///< any text
  choice   ///< one of the words of `range`
};

/// "whole number", "number", "text" or "choice".
std::string_view kindName(KeyKind kind);

struct KeyInfo {
  std::string_view key;  ///< the library compares as many characters as stand here
  KeyKind kind;
  bool settable;
  std::string range;      ///< what makes sense; for a choice its words, commas between
  std::string_view unit;  ///< empty: none
  std::string_view meaning;
};

/// All keys, in the order of docs/keys.md.
std::span<const KeyInfo> keyInfos();

/// The key that `name` reaches, as the library compares it (case aside, and CSE2 reaches
/// CSE); null when there is none.
const KeyInfo* findKey(std::string_view name);

/// Keys that may have been meant by `name`, the nearest first: those at an edit distance
/// of two at most, then those whose meaning has the word. Five at most.
std::vector<std::string_view> keysNear(std::string_view name);

/// The value that the library holds for `info`, as text.
std::string keyValueText(const KeyInfo& info);

}  // namespace vorin::toolkit
