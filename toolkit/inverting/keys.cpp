#include "toolkit/inverting/keys.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "params/key_table.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/reading/edit_distance.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::string_view dataUnit = "unit of the data";
constexpr std::string_view weightUnit = "kernel squared";
constexpr std::string_view resultText = "a result; setting it has no effect";

/// What a user is told of a key beside what the library's own table has of it.
struct Usage {
  std::string_view key;
  std::string_view range;
  std::string_view unit;
  bool fraction = false;  ///< a fraction, although the library writes it as an integer
};
constexpr bool takesFraction = true;

constexpr auto usageTexts = std::to_array<Usage>({
    {"REPO", "0 (the log's head only) to 4", ""},
    {"SAVE", "0, 1 or 2", ""},
    {"SAVF", "any", ""},
    {"FLOG", "80 characters count; NONE means Vorin.log", ""},
    {"PRAV", "16 characters", ""},
    {"PRLO", "1 to the number of data points", "data points"},
    {"PRHI", "any", "data points"},
    {"PRPO", "10 to 5000", "data points"},
    {"SVDT", "0 to 1; at 1 or above one vector is kept", "largest singular value", takesFraction},
    {"SVDN", "0 (no compression) to the number of grid points", "vectors"},
    {"L2MO", "0 or 1", ""},
    {"L2NS", "above 0", "noise deviations", takesFraction},
    {"BRDA", "1, 2 or 3", ""},
    {"TOL", "above 0", "(data / weight) squared"},
    {"MAXI", "1 or above", "passes"},
    {"SIG", "above 0", dataUnit},
    {"RSIG", "above 0", ""},
    {"L1AL", "0 to 1", ""},
    {"WEIG", "above 0", weightUnit},
    {"WITE", "1 or above", "iterations"},
    {"WTOL", "above 0", "", takesFraction},
    {"STOL", "any", ""},
    {"WRAT", "above 1", ""},
    {"WFRA", "above 0 to 1", ""},
    {"RWEI", "above 0; 0.95 to 1.05 leaves the corner as it is", ""},
    {"WREF", resultText, weightUnit},
    {"WMIN", "above 0", weightUnit},
    {"WMAX", "above WMIN", weightUnit},
    {"WNMI", "above 0", "WREF"},
    {"WNMA", "above WNMI", "WREF"},
    {"CSTA", resultText, ""},
    {"CWEI", resultText, weightUnit},
    {"CWIT", resultText, "iterations"},
    {"CITE", resultText, "passes"},
    {"CSIG", resultText, dataUnit},
    {"CSI2", "a result, and the noise where NALG is D2 or D3", dataUnit},
    {"DSE", resultText, dataUnit},
    {"CSE", resultText, dataUnit},
    {"EWIT", "any", ""},
    {"C1", "any", ""},
    {"C2", "any", ""},
});

static_assert(std::all_of(usageTexts.begin(), usageTexts.end(), [](const Usage& usage) {
  return std::any_of(params::keyTable.begin(), params::keyTable.end(),
                     [&](const params::KeyRow& row) { return row.key == usage.key; });
}));

const Usage* usageOf(std::string_view key) {
  const auto* const found = std::find_if(usageTexts.begin(), usageTexts.end(),
                                         [&](const Usage& usage) { return usage.key == key; });
  return found == usageTexts.end() ? nullptr : found;
}

/// The words that the library stores for a choice, the last for what it does not know.
std::string choiceWords(const params::Choice& choice) {
  std::vector<std::string_view> words;
  for (const params::TextRow& row : choice.byText) {
    words.push_back(row.stored);
  }
  words.push_back(choice.storedOtherwise);
  std::vector<std::string_view> distinct;
  for (std::string_view word : words) {
    if (std::find(distinct.begin(), distinct.end(), word) == distinct.end()) {
      distinct.push_back(word);
    }
  }
  return fmt::format("{}", fmt::join(distinct, ", "));
}

KeyInfo infoOf(const params::KeyRow& row) {
  const Usage* const usage = usageOf(row.key);
  KeyInfo info{row.key, KeyKind::number, row.settable, "", "", row.meaning};
  if (usage != nullptr) {
    info.range = usage->range;
    info.unit = usage->unit;
  }
  switch (row.kind) {
    case params::Kind::integer:
      info.kind = usage != nullptr && usage->fraction ? KeyKind::number : KeyKind::whole;
      break;
    case params::Kind::general:
      break;
    case params::Kind::text:
      info.kind = KeyKind::text;
      break;
    case params::Kind::choice:
      info.kind = KeyKind::choice;
      info.range = choiceWords(*row.choice);
      break;
  }
  return info;
}

}  // namespace

std::string_view kindName(KeyKind kind) {
  switch (kind) {
    case KeyKind::whole:
      return "whole number";
    case KeyKind::number:
      return "number";
    case KeyKind::text:
      return "text";
    case KeyKind::choice:
      break;
  }
  return "choice";
}

std::span<const KeyInfo> keyInfos() {
  static const std::vector<KeyInfo> infos = [] {
    std::vector<KeyInfo> result;
    result.reserve(params::keyTable.size());
    std::transform(params::keyTable.begin(), params::keyTable.end(), std::back_inserter(result),
                   infoOf);
    return result;
  }();
  return infos;
}

const KeyInfo* findKey(std::string_view name) {
  if (name.size() > params::keyLength) {
    return nullptr;
  }
  std::string padded = upperCase(name);
  padded.resize(params::keyLength, ' ');
  const std::span<const KeyInfo> infos = keyInfos();
  const auto found =
      std::find_if(params::keyTable.begin(), params::keyTable.end(),
                   [&](const params::KeyRow& row) { return params::matches(row, padded); });
  return found == params::keyTable.end()
             ? nullptr
             : &infos[static_cast<std::size_t>(found - params::keyTable.begin())];
}

std::vector<std::string_view> keysNear(std::string_view name) {
  constexpr std::size_t mostSuggestions = 5;
  constexpr std::size_t longestName = 32;
  constexpr std::size_t shortestWord = 4;  // shorter ones stand within too many others
  const std::string wanted = upperCase(name.substr(0, longestName));
  std::vector<std::string_view> near;
  for (std::size_t edits = 1; edits <= 2; ++edits) {
    for (const KeyInfo& info : keyInfos()) {
      // Two edits turn a key of two characters into any other.
      if (info.key.size() > edits && editDistance(wanted, info.key) == edits) {
        near.push_back(info.key);
      }
    }
  }
  for (const KeyInfo& info : keyInfos()) {
    if (wanted.size() >= shortestWord &&
        upperCase(info.meaning).find(wanted) != std::string::npos &&
        std::find(near.begin(), near.end(), info.key) == near.end()) {
      near.push_back(info.key);
    }
  }
  near.resize(std::min(near.size(), mostSuggestions));
  return near;
}

std::string keyValueText(const KeyInfo& info) {
  const bool isNumber = info.kind == KeyKind::whole || info.kind == KeyKind::number;
  return isNumber ? fmt::format("{}", queryNumber(info.key)) : queryText(info.key);
}

}  // namespace vorin::toolkit
