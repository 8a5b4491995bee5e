#include "toolkit/reading/containers/axis_name.hpp"

#include <algorithm>
#include <array>
#include <string>

namespace vorin::toolkit::containers {

bool namesAxis(std::string_view name) {
  constexpr std::array<std::string_view, 17> words{
      "t",  "time", "times", "timeaxis", "tau",       "taus",   "te",      "tes", "echotime",
      "ti", "tis",  "delay", "delays",   "echotimes", "bvalue", "bvalues", "bval"};
  constexpr std::array<std::string_view, 8> units{"s",   "ms",      "us",        "ns",
                                                  "sec", "seconds", "\xC2\xB5s", "\xCE\xBCs"};
  std::string word;
  for (const char c : name.substr(0, name.find_first_of("([/"))) {
    if (c != '_' && c != '-' && c != ' ') {
      word += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
  }
  const auto known = [&words](std::string_view text) {
    return std::find(words.begin(), words.end(), text) != words.end();
  };
  return known(word) || std::any_of(units.begin(), units.end(), [&](std::string_view unit) {
           return std::string_view(word).ends_with(unit) &&
                  known(std::string_view(word).substr(0, word.size() - unit.size()));
         });
}

}  // namespace vorin::toolkit::containers
