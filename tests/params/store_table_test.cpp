// The complete vocabulary of the store: every key with its load value, its reset
// value, its text form and its choices.
#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <limits>
#include <map>

#include "params/expected_keys.hpp"
#include "params/key_table.hpp"
#include "params/store.hpp"
#include "params/store_fixture.hpp"

namespace {

using vorin::params::storedText;

/// Every number as it stood before main() ran.
const std::map<std::string_view, float> numbersAtLoading = [] {
  std::map<std::string_view, float> numbers;
  for (const auto& row : expected::numberKeys) {
    float value = -77.0F;
    std::int32_t status = -9;
    VorinSQR("Q", row.key.data(), &value, &status);
    numbers[row.key] = value;
  }
  return numbers;
}();

class StoreTable : public StoreTest {};

TEST_F(StoreTable, HoldsTheseKeysAndNoOthers) {
  EXPECT_EQ(std::size(vorin::params::keyTable),
            std::size(expected::numberKeys) + std::size(expected::textKeys));
}

TEST_F(StoreTable, HasItsLoadValuesFromTheMomentTheLibraryIsLoaded) {
  for (const auto& row : expected::numberKeys) {
    EXPECT_EQ(numbersAtLoading.at(row.key), row.load) << row.key;
  }
}

TEST_F(StoreTable, NumbersAnswerTheirLoadValuesAndTexts) {
  for (const auto& row : expected::numberKeys) {
    const Answer answer = query(row.key);
    EXPECT_EQ(answer.value, row.load) << row.key;
    EXPECT_EQ(answer.text, padded(row.loadText, 32)) << row.key;
    EXPECT_EQ(answer.status, 0) << row.key;
  }
}

TEST_F(StoreTable, NumbersAnswerTheirResetValuesAndTexts) {
  reset();
  for (const auto& row : expected::numberKeys) {
    const Answer answer = query(row.key);
    EXPECT_EQ(answer.value, row.reset.value_or(row.load)) << row.key;
    EXPECT_EQ(answer.text, padded(row.reset ? row.resetText : row.loadText, 32)) << row.key;
  }
}

TEST_F(StoreTable, NumbersWithoutAResetValueKeepWhatTheyHold) {
  for (const auto& row : expected::numberKeys) {
    slot(row.key) = 7.25F;
  }
  reset();
  for (const auto& row : expected::numberKeys) {
    EXPECT_EQ(number(row.key), row.reset.value_or(7.25F)) << row.key;
  }
}

TEST_F(StoreTable, TextsAnswerTheirLoadValues) {
  for (const auto& row : expected::textKeys) {
    const Answer answer = query(row.key, 300);
    EXPECT_EQ(answer.text, padded(row.loadAnswer, 300)) << row.key;
    EXPECT_EQ(answer.value, row.loadCode.value_or(-77.0F)) << row.key;
    EXPECT_EQ(storedText(row.key), padded(row.load, row.slotLength)) << row.key;
  }
}

TEST_F(StoreTable, TextsAnswerTheirResetValues) {
  for (const auto& row : expected::textKeys) {
    setText(row.key, "LILO");
    setNumber(row.key, 3.0F);
  }
  reset();
  for (const auto& row : expected::textKeys) {
    if (row.reset) {
      EXPECT_EQ(storedText(row.key), padded(*row.reset, row.slotLength)) << row.key;
      EXPECT_EQ(text(row.key), row.resetAnswer) << row.key;
      EXPECT_EQ(number(row.key), row.loadCode ? row.resetCode : -77.0F) << row.key;
    }
  }
}

TEST_F(StoreTable, TextsWithoutAResetValueKeepWhatTheyHold) {
  setText("PRAV", "mean");
  setText("TARG", "WEIGHT");
  reset();
  EXPECT_EQ(text("PRAV"), "MEAN");
  EXPECT_EQ(text("TARG"), "WEIG");
  EXPECT_EQ(text("VERS"), "Vorin10.56");
}

TEST_F(StoreTable, EachNumberHasASlotOfItsOwn) {
  float value = 100.0F;
  for (const auto& row : expected::numberKeys) {
    value += 1.0F;
    EXPECT_EQ(setNumber(row.key, value), 0) << row.key;
  }
  value = 100.0F;
  for (const auto& row : expected::numberKeys) {
    value += 1.0F;
    EXPECT_EQ(number(row.key), row.key == "VERN" ? 1056.0F : value) << row.key;
    EXPECT_EQ(slot(row.key), row.key == "VERN" ? 1056.0F : value) << row.key;
  }
  for (const auto& row : expected::textKeys) {
    EXPECT_EQ(storedText(row.key), padded(row.load, row.slotLength)) << row.key;
  }
}

TEST_F(StoreTable, ANumberIsStoredUnchangedWhateverItIs) {
  const float values[] = {-0.0F, 1e-45F, 3.4e38F,
                          -1e9F, 0.1F,   std::numeric_limits<float>::infinity()};
  for (const auto& row : expected::numberKeys) {
    if (row.key == "VERN") {
      continue;
    }
    for (const float value : values) {
      setNumber(row.key, value);
      EXPECT_EQ(number(row.key), value) << row.key;
      EXPECT_EQ(std::signbit(number(row.key)), std::signbit(value)) << row.key;
    }
    setNumber(row.key, std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(number(row.key))) << row.key;
  }
}

TEST_F(StoreTable, IntegerTextIsTheValuePlusOneHalfTruncatedInFourColumns) {
  const std::pair<float, std::string_view> cases[] = {
      {0.4F, "   0"},    {0.5F, "   1"},    {1.49F, "   1"},     {-0.4F, "   0"},
      {-0.6F, "   0"},   {-1.4F, "   0"},   {-1.5F, "  -1"},     {-2.0F, "  -1"},
      {9999.4F, "9999"}, {9999.5F, "****"}, {-999.0F, "-998"},   {-1000.5F, "****"},
      {3e9F, "****"},    {-1e30F, "****"},  {123456.0F, "****"},
  };
  for (const auto& [value, text] : cases) {
    setNumber("MAXI", value);
    EXPECT_EQ(query("MAXI", 4).text, text) << value;
  }
  setNumber("MAXI", std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(query("MAXI", 4).text, "****");
}

TEST_F(StoreTable, GeneralTextHasTwelveColumnsAndFivePlaces) {
  const std::pair<float, std::string_view> cases[] = {
      {123.456F, "  123.46    "}, {-0.5F, "-0.50000    "},     {99999.0F, "  99999.    "},
      {1e5F, " 0.10000E+06"},     {-1.25e-7F, "-0.12500E-06"}, {-0.0F, "  0.0000    "},
      {12345.6F, "  12346.    "},
  };
  for (const auto& [value, text] : cases) {
    setNumber("WEIG", value);
    EXPECT_EQ(query("WEIG", 12).text, text) << value;
  }
  setNumber("WEIG", std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(query("WEIG", 12).text, "         NaN");
}

// ---- choices --------------------------------------------------------------------

struct ByCode {
  const char* key;
  float code;
  const char* stored;
  float answeredCode;
  const char* answered;
};

TEST_F(StoreTable, ChoicesAreSetByTheirCodes) {
  const ByCode cases[] = {
      {"PRMO", 1, "LOG", 1, "LOG"},
      {"PRMO", 2, "LIN", 2, "LIN"},
      {"PRMO", 3, "LILO", 3, "LILO"},
      {"PRMO", 0, "NONE", 0, "NONE"},
      {"PRMO", 4, "NONE", 0, "NONE"},
      {"PRMO", -1, "NONE", 0, "NONE"},
      {"NALG", 1, "UREG", 1, "URF"},
      {"NALG", 2, "ASYM", 2, "ASYM"},
      {"NALG", 3, "REG", 3, "REG"},
      {"NALG", 4, "D2", 4, "D2"},
      {"NALG", 5, "D3", 5, "D3"},
      {"NALG", 99, "ASY2", 2, "ASYM"},
      {"NALG", 0, "NONE", 0, "N"},
      {"NALG", 6, "NONE", 0, "N"},
      {"NALG", 98, "NONE", 0, "N"},
      {"TARG", 0, "WEIG", 0, "WEIG"},
      {"TARG", 1, "NOISE", 1, "NOISE"},
      {"TARG", 2, "2", 2, "2"},
      {"TARG", 3, "NOISE", 1, "NOISE"},
      {"TARG", -1, "NOISE", 1, "NOISE"},
      // the code is the value truncated toward zero ...
      {"TARG", 0.99F, "WEIG", 0, "WEIG"},
      {"TARG", -0.99F, "WEIG", 0, "WEIG"},
      {"PRMO", 2.9F, "LIN", 2, "LIN"},
      // ... if its magnitude is below a million, else 0
      {"TARG", 999999.0F, "NOISE", 1, "NOISE"},
      {"TARG", 1000000.0F, "WEIG", 0, "WEIG"},
      {"TARG", -1000000.0F, "WEIG", 0, "WEIG"},
      {"TARG", 1e38F, "WEIG", 0, "WEIG"},
      {"TARG", std::numeric_limits<float>::quiet_NaN(), "WEIG", 0, "WEIG"},
      {"TARG", -std::numeric_limits<float>::infinity(), "WEIG", 0, "WEIG"},
  };
  for (const ByCode& c : cases) {
    EXPECT_EQ(setNumber(c.key, c.code), 0);
    EXPECT_EQ(storedText(c.key), padded(c.stored, 16)) << c.key << ' ' << c.code;
    EXPECT_EQ(number(c.key), c.answeredCode) << c.key << ' ' << c.code;
    EXPECT_EQ(text(c.key), c.answered) << c.key << ' ' << c.code;
  }
}

TEST_F(StoreTable, ABlankTextLetsTheCodeDecideAndAnyOtherTextDoesNot) {
  std::string blanks(5, ' ');
  std::string word = "LOG";
  std::int32_t length = 5;
  std::int32_t status = -9;
  float code = 3.0F;
  vorinSQC99("S", "PRMO", blanks.data(), &length, &code, &status);
  EXPECT_EQ(text("PRMO"), "LILO");
  length = 3;
  vorinSQC99("S", "PRMO", word.data(), &length, &code, &status);
  EXPECT_EQ(text("PRMO"), "LOG");
}

struct ByText {
  const char* key;
  const char* given;
  const char* stored;
};

TEST_F(StoreTable, ChoicesAreSetByTheirTexts) {
  const ByText cases[] = {
      {"TARG", "W", "WEIG"},
      {"TARG", "weight", "WEIG"},
      {"TARG", "N", "NOISE"},
      {"TARG", "none", "NOISE"},
      {"TARG", "L", "2"},
      {"TARG", "LAST", "2"},
      {"TARG", "2", "2"},
      {"TARG", "22", "2"},
      {"TARG", "x", "NOISE"},
      {"TARG", " WEIG", "NOISE"},
      {"TARG", "1", "NOISE"},
      {"NALG", "U", "UREG"},
      {"NALG", "urf", "UREG"},
      {"NALG", "fit", "FIT"},
      {"NALG", "F", "FIT"},
      {"NALG", "asym", "ASYM"},
      {"NALG", "ASYMMETRIC", "ASYM"},
      {"NALG", "ASY2", "ASY2"},
      {"NALG", "ASY", "NONE"},
      {"NALG", "A", "NONE"},
      {"NALG", "R", "REG"},
      {"NALG", "regular", "REG"},
      {"NALG", "D2", "D2"},
      {"NALG", "d25", "D2"},
      {"NALG", "D3", "D3"},
      {"NALG", "D", "D3"},
      {"NALG", "D4", "D3"},
      {"NALG", "NONE", "NONE"},
      {"NALG", "3", "NONE"},
      {"PRMO", "LOG", "LOG"},
      {"PRMO", "LOGARITHMIC", "LOG"},
      {"PRMO", "lin", "LIN"},
      {"PRMO", "LINLOG", "LIN"},
      {"PRMO", "LILO", "LILO"},
      {"PRMO", "lilog", "LILO"},
      {"PRMO", "LIL", "NONE"},
      {"PRMO", "LO", "NONE"},
      {"PRMO", "L", "NONE"},
      {"PRMO", "none", "NONE"},
      {"PRMO", "1", "NONE"},
      {"PRMO", " LOG", "NONE"},
      {"PRMO", "A", "NONE"},
  };
  for (const ByText& c : cases) {
    EXPECT_EQ(setText(c.key, c.given), 0);
    EXPECT_EQ(storedText(c.key), padded(c.stored, 16)) << c.key << ' ' << c.given;
  }
}

TEST_F(StoreTable, AQueryAnswersByTheStoredTextAndNotAlwaysWithIt) {
  // every text that the slots can hold, those of loading and reset included
  struct {
    const char* key;
    const char* stored;
    float code;
    const char* answer;
  } const cases[] = {
      {"NALG", "U", 1, "URF"},     {"NALG", "URF", 1, "URF"},     {"NALG", "UREG", 1, "URF"},
      {"NALG", "ASYM", 2, "ASYM"}, {"NALG", "ASY2", 2, "ASYM"},   {"NALG", "REG", 3, "REG"},
      {"NALG", "D2", 4, "D2"},     {"NALG", "D3", 5, "D3"},       {"NALG", "FIT", 0, "N"},
      {"NALG", "NONE", 0, "N"},    {"PRMO", "LOG", 1, "LOG"},     {"PRMO", "LIN", 2, "LIN"},
      {"PRMO", "LILO", 3, "LILO"}, {"PRMO", "NONE", 0, "NONE"},   {"PRMO", "A", 0, "NONE"},
      {"TARG", "WEIG", 0, "WEIG"}, {"TARG", "NOISE", 1, "NOISE"}, {"TARG", "2", 2, "2"},
  };
  for (const auto& c : cases) {
    vorin::params::block().setText(vorin::params::findKey(c.key), c.stored);
    EXPECT_EQ(number(c.key), c.code) << c.key << ' ' << c.stored;
    EXPECT_EQ(text(c.key), c.answer) << c.key << ' ' << c.stored;
  }
}

}  // namespace
