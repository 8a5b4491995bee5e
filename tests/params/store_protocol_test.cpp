// How the entries of the store behave: operations, entries that differ, key
// comparison, texts.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "params/expected_keys.hpp"
#include "params/store.hpp"
#include "params/store_fixture.hpp"

namespace {

using vorin::params::storedText;

class Store : public StoreTest {};

// ---- operations -----------------------------------------------------------------

TEST_F(Store, RepoAnswersOneAfterLoadingAndTwoAfterAReset) {
  EXPECT_EQ(number("REPO"), 1.0F);
  EXPECT_EQ(number("RSIG"), 1.05F);
  reset();
  EXPECT_EQ(number("REPO"), 2.0F);
  EXPECT_EQ(number("RSIG"), 0.2F);
}

TEST_F(Store, WtolAnswersItsExactNumberAndATextThatReadsZero) {
  const Answer answer = query("WTOL", 4);
  EXPECT_EQ(answer.value, 0.001F);
  EXPECT_EQ(answer.text, "   0");
}

TEST_F(Store, ResetLeavesKeysWithoutAResetValue) {
  for (const char* key : {"STOL", "RWEI", "SAVE", "SVDT", "SVDN", "L1AL"}) {
    setNumber(key, 4.5F);
  }
  setNumber("TARG", 2.0F);
  reset();
  for (const char* key : {"STOL", "RWEI", "SAVE", "SVDT", "SVDN", "L1AL"}) {
    EXPECT_EQ(number(key), 4.5F) << key;
  }
  EXPECT_EQ(text("TARG"), "2");
}

TEST_F(Store, StatusOfTheLastInversionIs99BeforeTheFirst) {
  EXPECT_EQ(number("CSTA"), 99.0F);
}

TEST_F(Store, LowerCaseModeAndKeyWork) {
  float value = -77.0F;
  std::int32_t status = -9;
  VorinSQR("q", "repo", &value, &status);
  EXPECT_EQ(value, 1.0F);
  EXPECT_EQ(status, 0);
  value = 3.0F;
  VorinSQR("s", "rEpO", &value, &status);
  EXPECT_EQ(number("REPO"), 3.0F);
  VorinSQR("i", "????", &value, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(number("REPO"), 2.0F);
}

TEST_F(Store, AnUnknownModeGivesStatusOneAndDoesNothing) {
  for (int code = 0; code < 256; ++code) {
    const char mode = static_cast<char>(code);
    if (std::string("SQIsqi").find(mode) != std::string::npos && mode != '\0') {
      continue;
    }
    std::string text = "LILO";
    std::int32_t length = 4;
    float value = 5.0F;
    std::int32_t status = -9;
    vorinSQC99(&mode, "REPO", text.data(), &length, &value, &status);
    EXPECT_EQ(status, 1) << code;
    EXPECT_EQ(text, "LILO") << code;
    EXPECT_EQ(value, 5.0F) << code;
    status = -9;
    VorinSQR(&mode, "REPO", &value, &status);
    EXPECT_EQ(status, 1) << code;
    EXPECT_EQ(value, 5.0F) << code;
  }
  EXPECT_EQ(number("REPO"), 1.0F);
}

TEST_F(Store, ResetLooksAtNeitherKeyNorTextNorValue) {
  std::string text = "LILO";
  const std::int32_t length = 4;
  float value = 5.0F;
  std::int32_t status = -9;
  vorinSQC99("I", "\xff\0\x01z", text.data(), &length, &value, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text, "LILO");
  EXPECT_EQ(value, 5.0F);
  EXPECT_EQ(number("REPO"), 2.0F);
  const char oneCharacter = 'x';  // shorter than a key; the sanitizer sees any read
  VorinSQR("I", &oneCharacter, &value, &status);
  EXPECT_EQ(status, 0);
}

TEST_F(Store, SettingsPersistFromCallToCall) {
  setNumber("MAXI", 123.0F);
  setText("FLOG", "other");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(number("MAXI"), 123.0F);
    EXPECT_EQ(text("FLOG"), "OTHER");
  }
}

// ---- keys -----------------------------------------------------------------------

TEST_F(Store, CSE2ReachesTheSlotOfCSE) {
  setNumber("CSE2", 5.0F);
  EXPECT_EQ(number("CSE "), 5.0F);
  setNumber("CSE ", 6.0F);
  EXPECT_EQ(number("CSE2"), 6.0F);
}

TEST_F(Store, ThreeLetterKeysMatchWithAnythingBehindThem) {
  setNumber("SIGX", 0.5F);
  EXPECT_EQ(number("SIG "), 0.5F);
  setNumber("tol9", 0.25F);
  EXPECT_EQ(number("TOL "), 0.25F);
  setNumber("DSE\xff", 0.75F);
  EXPECT_EQ(number("DSE "), 0.75F);
  EXPECT_EQ(query("CSEZ").value, 99.0F);
}

TEST_F(Store, TwoLetterKeysMatchWithAnythingBehindThem) {
  setNumber("C1XY", 0.5F);
  EXPECT_EQ(number("C1  "), 0.5F);
  setNumber("c2se", 0.25F);
  EXPECT_EQ(number("C2  "), 0.25F);
  EXPECT_EQ(number("C1 2"), 0.5F);
}

TEST_F(Store, FourLetterKeysAreComparedWhole) {
  for (int code = 0; code < 256; ++code) {
    const char last = static_cast<char>(code);
    const std::string key = std::string("REP") + last;
    const bool known = last == 'O' || last == 'o';
    EXPECT_EQ(query(key).value, known ? 1.0F : -77.0F) << code;
  }
  EXPECT_EQ(query(" REP").value, -77.0F);
  EXPECT_EQ(query("SI  ").value, -77.0F);
  EXPECT_EQ(query("C   ").value, -77.0F);
  EXPECT_EQ(query("WTO ").value, -77.0F);
}

TEST_F(Store, AnUnknownKeyDoesNothingOnSet) {
  EXPECT_EQ(setNumber("WFAC", 3.0F), 0);
  EXPECT_EQ(setText("NOPE", "text"), 0);
  for (const auto& row : expected::numberKeys) {
    EXPECT_EQ(number(row.key), row.load) << row.key;
  }
  for (const auto& row : expected::textKeys) {
    EXPECT_EQ(text(row.key), row.loadAnswer) << row.key;
  }
}

TEST_F(Store, AnUnknownKeyBlanksTheTextOnQueryAndLeavesTheValue) {
  for (const char* key : {"WFAC", "LOG ", "L1A1", "CDE ", "    "}) {
    const Answer answer = query(key, 10);
    EXPECT_EQ(answer.text, std::string(10, ' ')) << key;
    EXPECT_EQ(answer.value, -77.0F) << key;
    EXPECT_EQ(answer.status, 0) << key;
  }
}

TEST_F(Store, ReadOnlyKeysCannotBeSet) {
  EXPECT_EQ(setNumber("VERN", 5.0F), 0);
  EXPECT_EQ(number("VERN"), 1056.0F);
  EXPECT_EQ(setText("VERS", "other"), 0);
  EXPECT_EQ(text("VERS"), "Vorin10.56");
}

// ---- entries --------------------------------------------------------------------

TEST_F(Store, TheNumberEntriesAllReachTheSameSlot) {
  float value = 7.5F;
  std::int32_t status = -9;
  // Of two types on Windows of 32 bit, where cdecl is another convention of calling.
  const auto expectOneSlot = [&](auto entry) {
    value += 1.0F;
    entry("S", "WRAT", &value, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(number("WRAT"), value);
    float back = 0.0F;
    status = -9;
    entry("Q", "WRAT", &back, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(back, value);
  };
  expectOneSlot(VorinSQR);
  expectOneSlot(VorinSQR_s);
  expectOneSlot(VorinSQR_d);
  expectOneSlot(vorin_sqr_cdecl);
}

TEST_F(Store, SqrDQueriesForAnythingButAnUpperCaseS) {
  for (const char* mode : {"s", "q", "Q", "I", "i", "X"}) {
    float value = 8.0F;
    std::int32_t status = -9;
    VorinSQR_d(mode, "WRAT", &value, &status);
    EXPECT_EQ(value, 10.0F) << mode;
    EXPECT_EQ(status, 0) << mode;
    EXPECT_EQ(number("REPO"), 1.0F) << mode;  // no reset has happened
  }
}

TEST_F(Store, SqiRoundsANegativeValueUp) {
  std::int32_t value = -77;
  std::int32_t status = -9;
  VorinSQI("Q", "PRHI", &value, &status);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(number("PRHI"), -1.0F);
}

TEST_F(Store, SqiLeavesItsIntegerOnLowerCaseQ) {
  std::int32_t value = -77;
  std::int32_t status = -9;
  VorinSQI("q", "REPO", &value, &status);
  EXPECT_EQ(value, -77);
  EXPECT_EQ(status, 0);
}

TEST_F(Store, SqiSetsTheConvertedInteger) {
  std::int32_t value = 16777217;  // one more than a single holds exactly
  std::int32_t status = -9;
  VorinSQI("S", "MAXI", &value, &status);
  EXPECT_EQ(value, 16777217);
  EXPECT_EQ(number("MAXI"), 16777216.0F);
  value = -3;
  VorinSQI("s", "MAXI", &value, &status);
  EXPECT_EQ(number("MAXI"), -3.0F);
  VorinSQI("X", "MAXI", &value, &status);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(value, -3);
  VorinSQI("I", "MAXI", &value, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(value, -3);
  EXPECT_EQ(number("MAXI"), 50.0F);
}

TEST_F(Store, SqiAnswersTheValuePlusOneHalfTruncated) {
  const std::pair<float, std::int32_t> cases[] = {
      {2.49F, 2},
      {2.5F, 3},
      {-2.0F, -1},
      {-2.49F, -1},
      {-2.5F, -2},
      {0.001F, 0},
      {3e9F, std::numeric_limits<std::int32_t>::max()},
      {-3e9F, std::numeric_limits<std::int32_t>::min()},
      {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<std::int32_t>::min()}};
  for (const auto& [stored, answer] : cases) {
    setNumber("MAXI", stored);
    std::int32_t value = -77;
    std::int32_t status = -9;
    VorinSQI("Q", "MAXI", &value, &status);
    EXPECT_EQ(value, answer) << stored;
    EXPECT_EQ(vorin::params::queryInteger("MAXI"), answer) << stored;
  }
}

TEST_F(Store, SqiRoundsTheHostsOwnIntegerWhenTheKeyAnswersNoNumber) {
  for (const char* key : {"WFAC", "FLOG", "PRAV", "VERS"}) {
    std::int32_t value = -5;
    std::int32_t status = -9;
    VorinSQI("Q", key, &value, &status);
    EXPECT_EQ(value, -4) << key;
    EXPECT_EQ(status, 0) << key;
    value = 5;
    VorinSQI("Q", key, &value, &status);
    EXPECT_EQ(value, 5) << key;
  }
}

TEST_F(Store, SqiAnswersTheCodeOfAChoice) {
  std::int32_t value = 2;
  std::int32_t status = -9;
  VorinSQI("S", "TARG", &value, &status);
  value = -77;
  VorinSQI("Q", "TARG", &value, &status);
  EXPECT_EQ(value, 2);
}

TEST_F(Store, TheTextEntriesAllReachTheSameSlot) {
  std::string text = padded("one", 32);
  const std::int32_t length = 32;
  std::int32_t status = -9;
  VorinSQC("S", "PRAV", text.data(), &length, &status);
  EXPECT_EQ(text, padded("one", 32));
  VorinSQC2("Q", "PRAV", text.data(), &status);
  EXPECT_EQ(text, padded("ONE", 32));
  text = padded("two", 32);
  VorinSQC2("S", "PRAV", text.data(), &status);
  vorin_sqc_cdecl("Q", "PRAV", text.data(), &length, &status);
  EXPECT_EQ(text, padded("TWO", 32));
  text = padded("three", 32);
  vorin_sqc_cdecl("S", "PRAV", text.data(), &length, &status);
  VorinSQC("Q", "PRAV", text.data(), &length, &status);
  EXPECT_EQ(text, padded("THREE", 32));
  EXPECT_EQ(status, 0);
  VorinSQC("X", "PRAV", text.data(), &length, &status);
  EXPECT_EQ(status, 1);
  status = -9;
  vorin_sqc_cdecl("X", "PRAV", text.data(), &length, &status);
  EXPECT_EQ(status, 1);
}

TEST_F(Store, ATextEntryAnswersANumberAsText) {
  std::string text(32, '#');
  std::int32_t status = -9;
  VorinSQC2("Q", "WRAT", text.data(), &status);
  EXPECT_EQ(text, padded("  10.000    ", 32));
}

TEST_F(Store, ANumericSetThroughATextEntryStoresZeroHere) {
  EXPECT_EQ(setText("WRAT", "12"), 0);
  EXPECT_EQ(number("WRAT"), 0.0F);
}

TEST_F(Store, ATextThatIsSetMayLieInReadOnlyMemory) {
  const std::int32_t length = 3;
  std::int32_t status = -9;
  VorinSQC("S", "PRMO", const_cast<char*>("LIN"), &length, &status);
  EXPECT_EQ(text("PRMO"), "LIN");
}

// ---- texts ----------------------------------------------------------------------

TEST_F(Store, PrmoIsSetByCodeWithABlankTextAndByTheStartOfAText) {
  setNumber("PRMO", 2.0F);
  EXPECT_EQ(storedText("PRMO"), padded("LIN", 16));
  setText("PRMO", "LOGARITHMIC");
  EXPECT_EQ(storedText("PRMO"), padded("LOG", 16));
}

TEST_F(Store, NalgFitAnswersZeroAndN) {
  setText("NALG", "FIT");
  EXPECT_EQ(storedText("NALG"), padded("FIT", 16));
  EXPECT_EQ(number("NALG"), 0.0F);
  EXPECT_EQ(text("NALG"), "N");
}

TEST_F(Store, TargByTheTextLastStoresTwo) {
  setText("TARG", "LAST");
  EXPECT_EQ(storedText("TARG"), padded("2", 16));
}

TEST_F(Store, TheResetTextOfPrmoAnswersNoneAndStandsInTheSlot) {
  reset();
  EXPECT_EQ(number("PRMO"), 0.0F);
  EXPECT_EQ(text("PRMO"), "NONE");
  EXPECT_EQ(storedText("PRMO"), padded("A", 16));
}

TEST_F(Store, FlogIsStoredInUpperCase) {
  setText("FLOG", "run1.log");
  EXPECT_EQ(text("FLOG"), "RUN1.LOG");
}

TEST_F(Store, TextsAreCutOrPaddedToTheirSlots) {
  setText("PRAV", "abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(text("PRAV"), "ABCDEFGHIJKLMNOP");
  setText("PRAV", "xy   ");
  EXPECT_EQ(storedText("PRAV"), padded("XY", 16));
  setText("FLOG", std::string(300, 'a'));
  EXPECT_EQ(query("FLOG", 300).text, padded(std::string(256, 'A'), 300));
  setText("FLOG", "  lead");
  EXPECT_EQ(query("FLOG", 8).text, "  LEAD  ");
}

TEST_F(Store, ANumericEntryThatSetsATextKeyBlanksIt) {
  EXPECT_EQ(setNumber("FLOG", 5.0F), 0);
  EXPECT_EQ(storedText("FLOG"), std::string(256, ' '));
  EXPECT_EQ(setNumber("PRAV", 5.0F), 0);
  EXPECT_EQ(storedText("PRAV"), std::string(16, ' '));
}

TEST_F(Store, AQueryOfATextKeyLeavesTheValue) {
  for (const char* key : {"FLOG", "PRAV", "VERS"}) {
    EXPECT_EQ(query(key).value, -77.0F) << key;
  }
}

TEST_F(Store, BytesBeyondTheAlphabetPassThroughATextKey) {
  setText("PRAV", "\xe9\x80 z\x01");
  EXPECT_EQ(text("PRAV"), "\xe9\x80 Z\x01");
}

// ---- from inside ----------------------------------------------------------------

TEST_F(Store, InsideCallsReachTheSameSlots) {
  vorin::params::setReal("CSE2", 4.0F);
  vorin::params::setReal("CSE", 3.0F);
  vorin::params::setReal("WFAC", 3.0F);
  EXPECT_EQ(number("CSE "), 3.0F);
  EXPECT_EQ(vorin::params::queryReal("CSE"), 3.0F);
  EXPECT_EQ(vorin::params::queryReal("WFAC"), 0.0F);
  EXPECT_EQ(vorin::params::queryReal("FLOG"), 0.0F);
  EXPECT_EQ(vorin::params::queryInteger("PRPO"), 200);
  vorin::params::setReal("WREF", 12.5F);
  EXPECT_EQ(number("WREF"), 12.5F);
  EXPECT_TRUE(storedText("NOPE").empty());
}

}  // namespace
