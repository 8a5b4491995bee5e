#include "toolkit/inverting/keys.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "toolkit/inverting/library.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t kLongestKey = 4;

constexpr bool kReadOnly = false;
constexpr bool kSettable = true;
constexpr KeyKind kWhole = KeyKind::whole;
constexpr KeyKind kNumber = KeyKind::number;

constexpr std::string_view kData = "unit of the data";
constexpr std::string_view kWeight = "kernel squared";
constexpr std::string_view kResult = "a result; setting it has no effect";

constexpr auto kKeys = std::to_array<KeyInfo>({
    {"REPO", kWhole, kSettable, "0 (the log's head only) to 4", "",
     "reporting level of the log; above 3 a save section is written as well"},
    {"VERN", kWhole, kReadOnly, "", "", "version as a number"},
    {"VERS", KeyKind::text, kReadOnly, "", "", "version as a text"},
    {"SAVE", kWhole, kSettable, "0, 1 or 2", "",
     "1: save section at the end of a call; 2: compact if the log is closed"},
    {"SAVF", kWhole, kSettable, "any", "", "stored and answered; no routine reads it"},
    {"FLOG", KeyKind::text, kSettable, "80 characters count; NONE stands for Vorin.log", "",
     "name of the log file"},
    {"PRAV", KeyKind::text, kSettable, "16 characters", "",
     "stored and answered; no routine reads it"},

    {"PRMO", KeyKind::choice, kSettable, "LOG, LIN, LILO, NONE", "", "mode of pruning"},
    {"PRLO", kWhole, kSettable, "1 to the number of data points", "data points",
     "first data point of the pruning range"},
    {"PRHI", kWhole, kSettable, "any", "data points",
     "last data point of the pruning range; accepted, without effect"},
    {"PRPO", kWhole, kSettable, "10 to 5000", "data points", "points wanted after pruning"},
    {"SVDT", kNumber, kSettable, "0 to 1; at 1 or above one vector is kept",
     "largest singular value", "threshold of the SVD compression"},
    {"SVDN", kWhole, kSettable, "0 (no compression) to the number of grid points", "vectors",
     "singular vectors kept by the SVD compression"},
    {"L2MO", kWhole, kSettable, "0 or 1", "",
     "1: VorinC5_s and VorinyC5_s reject outliers before the inversion"},
    {"L2NS", kNumber, kSettable, "above 0", "noise deviations",
     "distance from the fit at which VorinC5_s and VorinyC5_s reject a point"},

    {"BRDA", kWhole, kSettable, "1, 2 or 3", "",
     "route of the solver: 1 single, 3 quadratic program, else double"},
    {"TOL", kNumber, kSettable, "above 0", "(data / weight) squared",
     "convergence tolerance of the BRD iteration"},
    {"MAXI", kWhole, kSettable, "1 or above", "passes", "limit of passes of the BRD iteration"},

    {"NALG", KeyKind::choice, kSettable, "UREG, FIT, ASYM, ASY2, REG, D2, D3, NONE", "",
     "algorithm of the noise estimate"},
    {"SIG", kNumber, kSettable, "above 0", kData, "noise standard deviation that the host states"},
    {"RSIG", kNumber, kSettable, "above 0", "", "factor on the noise in the standard error wanted"},
    {"L1AL", kNumber, kSettable, "0 to 1", "",
     "mixing factor of data and noise in the standard error wanted"},

    {"TARG", KeyKind::choice, kSettable, "WEIG, NOISE, 2", "",
     "how the weight is chosen: from the noise, at the corner, or fixed"},
    {"WEIG", kNumber, kSettable, "above 0", kWeight,
     "regularisation weight: start of the search, or fixed"},
    {"WITE", kWhole, kSettable, "1 or above", "iterations",
     "limit of iterations of the weight search"},
    {"WTOL", kNumber, kSettable, "above 0", "",
     "relative tolerance of the weight search on the residual"},
    {"STOL", kNumber, kSettable, "any", "", "read by the weight search, without effect"},
    {"WRAT", kNumber, kSettable, "above 1", "",
     "greatest factor by which one update moves the weight"},
    {"WFRA", kNumber, kSettable, "above 0 to 1", "", "fraction of the Newton step taken"},
    {"RWEI", kNumber, kSettable, "above 0; 0.95 to 1.05 leaves the corner as it is", "",
     "factor on the weight after the corner search"},
    {"WREF", kNumber, kSettable, kResult, kWeight,
     "mean squared column norm that scales WNMI and WNMA"},
    {"WMIN", kNumber, kSettable, "above 0", kWeight, "lower limit of the weight"},
    {"WMAX", kNumber, kSettable, "above WMIN", kWeight, "upper limit of the weight"},
    {"WNMI", kNumber, kSettable, "above 0", "WREF", "lower limit of the weight in units of WREF"},
    {"WNMA", kNumber, kSettable, "above WNMI", "WREF",
     "upper limit of the weight in units of WREF"},

    {"CSTA", kWhole, kSettable, kResult, "", "status of the last inversion"},
    {"CWEI", kNumber, kSettable, kResult, kWeight, "final weight"},
    {"CWIT", kWhole, kSettable, kResult, "iterations", "iterations of the weight search"},
    {"CITE", kWhole, kSettable, kResult, "passes", "passes of the last solve"},
    {"CSIG", kNumber, kSettable, kResult, kData, "noise standard deviation in force at the end"},
    {"CSI2", kNumber, kSettable, "a result, and the noise where NALG is D2 or D3", kData,
     "noise estimate of the compressed drivers"},
    {"DSE", kNumber, kSettable, kResult, kData, "standard error wanted"},
    {"CSE", kNumber, kSettable, kResult, kData, "standard error reached"},

    {"EWIT", kWhole, kSettable, "any", "", "stored and answered; no routine reads it"},
    {"C1", kNumber, kSettable, "any", "", "stored and answered; no routine reads it"},
    {"C2", kNumber, kSettable, "any", "", "stored and answered; no routine reads it"},
});

/// How many characters have to be put in, left out, replaced or swapped with their
/// neighbour to turn one word into the other (Damerau, Commun. ACM 7, 171, 1964; no
/// place is changed twice).
std::size_t slipsBetween(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
    std::swap(beforeLast, last);
    std::swap(last, row);
  }
  return last[b.size()];
}

}  // namespace

std::span<const KeyInfo> keyInfos() {
  return kKeys;
}

const KeyInfo* findKey(std::string_view name) {
  const std::string wanted = upperCase(name);
  if (wanted.size() > kLongestKey) {
    return nullptr;
  }
  const auto* const found = std::find_if(kKeys.begin(), kKeys.end(), [&](const KeyInfo& info) {
    return wanted.starts_with(info.key);
  });
  return found == kKeys.end() ? nullptr : found;
}

std::vector<std::string_view> keysNear(std::string_view name) {
  constexpr std::size_t kMost = 5;
  constexpr std::size_t kLongestName = 32;
  constexpr std::size_t kShortestWord = 4;  // shorter ones stand within too many others
  const std::string wanted = upperCase(name.substr(0, kLongestName));
  std::vector<std::string_view> near;
  for (std::size_t slips = 1; slips <= 2; ++slips) {
    for (const KeyInfo& info : kKeys) {
      // Two slips make any key of a key half as long.
      if (info.key.size() > slips && slipsBetween(wanted, info.key) == slips) {
        near.push_back(info.key);
      }
    }
  }
  for (const KeyInfo& info : kKeys) {
    if (wanted.size() >= kShortestWord &&
        upperCase(info.meaning).find(wanted) != std::string::npos &&
        std::find(near.begin(), near.end(), info.key) == near.end()) {
      near.push_back(info.key);
    }
  }
  near.resize(std::min(near.size(), kMost));
  return near;
}

std::string keyValueText(const KeyInfo& info) {
  const bool isNumber = info.kind == KeyKind::whole || info.kind == KeyKind::number;
  return isNumber ? fmt::format("{}", queryNumber(info.key)) : queryText(info.key);
}

}  // namespace vorin::toolkit
