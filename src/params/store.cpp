// Set, query and reset over the table of keys.
#include "params/store.hpp"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>

#include "params/block.hpp"
#include "params/number_field.hpp"
#include "params/text.hpp"
#include "toolbox/convert.hpp"

namespace vorin::params {
namespace {

/// The integer by which a choice is set from a number. A number too large for
/// any code, NaN included, counts as 0.
int choiceCode(float value) {
  constexpr float beyondCodes = 1000000.0F;
  return std::fabs(value) < beyondCodes ? truncateToInt(value) : 0;
}

std::string_view storedByCode(const Choice& choice, int code) {
  const auto row = std::find_if(choice.byCode.begin(), choice.byCode.end(),
                                [code](const CodeRow& r) { return r.code == code; });
  return row == choice.byCode.end() ? choice.storedOtherwise : row->stored;
}

std::string_view storedByText(const Choice& choice, std::string_view text) {
  const auto row = std::find_if(choice.byText.begin(), choice.byText.end(),
                                [text](const TextRow& r) { return beginsNoCase(text, r.prefix); });
  return row == choice.byText.end() ? choice.storedOtherwise : row->stored;
}

AnswerRow answerFor(const Choice& choice, std::string_view stored) {
  const auto row =
      std::find_if(choice.answers.begin(), choice.answers.end(),
                   [stored](const AnswerRow& r) { return stored.starts_with(r.prefix); });
  return row == choice.answers.end() ? choice.answerOtherwise : *row;
}

void set(std::string_view key, std::string_view text, float value) {
  const std::size_t index = findKey(key);
  if (index == keyTable.size() || !keyTable[index].settable) {
    return;
  }
  const KeyRow& row = keyTable[index];
  switch (row.kind) {
    case Kind::integer:
    case Kind::general:
      block().number(index) = value;
      break;
    case Kind::text:
      // Required: all text is stored in upper case, file names too.
      block().setText(index, trimmed(text));
      for (char& c : block().text(index)) {
        c = ToUpperCase(c);
      }
      break;
    case Kind::choice: {
      const std::string_view given = trimmed(text);
      block().setText(index, given.empty() ? storedByCode(*row.choice, choiceCode(value))
                                           : storedByText(*row.choice, given));
      break;
    }
  }
}

std::string numberText(Kind kind, float value) {
  constexpr int integerWidth = 4;
  constexpr int generalWidth = 12;
  constexpr int generalPlaces = 5;
  return kind == Kind::integer
             ? integerField(truncateToInt(value + 0.5F), integerWidth)
             : generalField(static_cast<double>(value), generalWidth, generalPlaces);
}

void query(std::string_view key, std::span<char> text, float& value) {
  const std::size_t index = findKey(key);
  fillField(text, "");
  if (index == keyTable.size()) {
    return;
  }
  const KeyRow& row = keyTable[index];
  const std::span<const char> slot = block().text(index);
  const std::string_view stored(slot.data(), slot.size());
  switch (row.kind) {
    case Kind::integer:
    case Kind::general:
      value = block().number(index);
      if (!text.empty()) {
        fillField(text, numberText(row.kind, value));
      }
      break;
    case Kind::text:
      fillField(text, stored);
      break;
    case Kind::choice: {
      const AnswerRow answer = answerFor(*row.choice, stored);
      value = static_cast<float>(answer.code);
      fillField(text, answer.text);
      break;
    }
  }
}

void reset() {
  for (std::size_t i = 0; i < keyTable.size(); ++i) {
    if (keyTable[i].reset) {
      block().number(i) = *keyTable[i].reset;
    }
    if (keyTable[i].resetText) {
      block().setText(i, *keyTable[i].resetText);
    }
  }
}

}  // namespace

void setQuery(char mode, std::string_view key, char* text, std::int32_t length, float& value,
              std::int32_t& status) {
  status = setQueryDone;
  const std::size_t characters = length > 0 ? static_cast<std::size_t>(length) : 0;
  switch (ToUpperCase(mode)) {
    case 'S':
      set(key, {text, characters}, value);
      break;
    case 'Q':
      query(key, {text, characters}, value);
      break;
    case 'I':
      reset();  // the key is not looked at, so any will do
      break;
    default:
      status = setQueryUnknownMode;
  }
}

void setQueryInteger(char mode, std::string_view key, std::int32_t& value, std::int32_t& status) {
  auto number = static_cast<float>(value);
  setQuery(mode, key, nullptr, 0, number, status);
  if (mode == 'Q') {
    // Required: half is added before the truncation whatever the sign, so that a
    // negative number rounds up; and it happens also when the key answered no
    // number and `number` is still what came in.
    value = truncateToInt(number + 0.5F);
  }
}

float queryReal(std::string_view key) {
  float value = 0;
  const std::size_t index = findKey(key);
  if (index < keyTable.size() && keyTable[index].holdsNumber()) {
    return block().number(index);
  }
  std::int32_t status = 0;
  setQuery('Q', key, nullptr, 0, value, status);
  return value;
}

std::int32_t queryInteger(std::string_view key) {
  return truncateToInt(queryReal(key) + 0.5F);
}

void setReal(std::string_view key, float value) {
  std::int32_t status = 0;
  setQuery('S', key, nullptr, 0, value, status);
}

std::string_view storedText(std::string_view key) {
  const std::size_t index = findKey(key);
  if (index == keyTable.size()) {
    return {};
  }
  const std::span<const char> slot = block().text(index);
  return {slot.data(), slot.size()};
}

}  // namespace vorin::params
