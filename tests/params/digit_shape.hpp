// The shape of a text with its digits hidden, for texts whose digits come from
// the clock.
#pragma once

#include <string>

inline std::string digitShape(std::string text) {
  for (char& c : text) {
    if (c >= '0' && c <= '9') {
      c = '9';
    }
  }
  return text;
}
