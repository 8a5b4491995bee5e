#include "toolkit/inverting/library.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "params/store.hpp"
#include "toolkit/inverting/keys.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t keyLength = 4;
/// Room for the longest text slot.
using Text = std::array<char, 256>;

struct Answer {
  float number = std::numeric_limits<float>::quiet_NaN();  ///< NaN where the key has none
  std::string text;
};

Answer query(std::string_view key) {
  Answer answer;
  Text text;
  text.fill(' ');
  const auto length = static_cast<std::int32_t>(text.size());
  std::int32_t status = 0;
  params::setQuery('Q', key, text.data(), length, answer.number, status);
  answer.text = trimmed({text.data(), text.size()});
  return answer;
}

/// The words of the choice `key`, blanks between; none for any other key. The library takes any
/// text and stores its last choice for what it does not know, which a user should hear about.
std::string choiceWords(std::string_view key) {
  const KeyInfo* const info = findKey(key);
  std::string words = info != nullptr && info->kind == KeyKind::choice ? info->range : "";
  std::erase(words, ',');
  return words;
}

bool isAmong(std::string_view word, std::string_view words) {
  return fmt::format(" {} ", words).find(fmt::format(" {} ", word)) != std::string::npos;
}

}  // namespace

float queryNumber(std::string_view key) {
  float number = std::numeric_limits<float>::quiet_NaN();
  std::int32_t status = 0;
  params::setQuery('Q', key, nullptr, 0, number, status);
  return number;
}
std::string queryText(std::string_view key) {
  return query(key).text;
}

void setNumber(std::string_view key, float value) {
  params::setReal(key, value);
}

void setText(std::string_view key, std::string_view value) {
  std::string text(value);
  const auto length = static_cast<std::int32_t>(text.size());
  float undefinedNumber = 0.0F;
  std::int32_t status = 0;
  params::setQuery('S', key, text.data(), length, undefinedNumber, status);
}

std::string assign(std::string_view assignment, std::string_view option) {
  const auto fail = [&](std::string_view why) {
    return UserError(fmt::format("{} {}: {}", option, inQuotes(assignment), why));
  };
  const auto equals = assignment.find('=');
  if (equals == std::string_view::npos) {
    throw fail("an = is missing; write KEY=VALUE, for instance MAXI=200");
  }
  std::string key = upperCase(trimmed(assignment.substr(0, equals)));
  const std::string_view value = trimmed(assignment.substr(equals + 1));
  if (key == "FLOG") {
    throw fail("the log's name is given by --log FILE");
  }
  if (key.substr(0, 3) == "SIG") {
    throw fail("the noise is given by --noise SIGMA, in the unit of the data");
  }
  const Answer before = query(key);
  const bool hasNumber = !std::isnan(before.number);
  if (key.empty() || key.size() > keyLength || (!hasNumber && before.text.empty())) {
    throw fail("the library has no such key");
  }
  if (value.empty()) {
    throw fail("the value is missing; write KEY=VALUE, for instance MAXI=200");
  }
  if (const std::string words = choiceWords(key); !words.empty()) {
    if (!isAmong(upperCase(value), words)) {
      throw fail(fmt::format("the words that {} takes are {}", key, words));
    }
    setText(key, value);
    return key;
  }
  if (!hasNumber) {
    setText(key, value);
    if (queryText(key) != upperCase(value).substr(0, queryText(key).size())) {
      throw fail(fmt::format("{} can be read only", key));
    }
    return key;
  }
  const auto number = parseNumber(value);
  if (!number || !(std::fabs(*number) <= static_cast<double>(std::numeric_limits<float>::max()))) {
    throw fail(fmt::format("{} takes a number", key));
  }
  const auto single = static_cast<float>(*number);
  setNumber(key, single);
  if (queryNumber(key) != single) {
    throw fail(fmt::format("{} can be read only", key));
  }
  return key;
}

}  // namespace vorin::toolkit
