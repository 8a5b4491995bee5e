// The keys of the library through the thin layer.
#include "toolkit/inverting/library.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

TEST(Library, NumbersAndTextsGoThereAndBack) {
  setNumber("PRPO", 321.0F);
  EXPECT_EQ(queryNumber("PRPO"), 321.0F);
  setText("PRAV", "spin echo");
  EXPECT_EQ(queryText("PRAV"), "SPIN ECHO");
  EXPECT_EQ(queryText("VERS"), "Vorin10.56");
}

TEST(Library, AnUnknownKeyAnswersNothing) {
  EXPECT_TRUE(std::isnan(queryNumber("ZZZZ")));
  EXPECT_EQ(queryText("ZZZZ"), "");
}

TEST(Library, AssignmentsTakeNumbersWordsAndShortKeys) {
  EXPECT_EQ(assign("maxi=200", "--set"), "MAXI");
  EXPECT_EQ(queryNumber("MAXI"), 200.0F);
  EXPECT_EQ(assign(" TOL = 1e-8 ", "--set"), "TOL");
  EXPECT_EQ(queryNumber("TOL"), 1e-8F);
  assign("PRHI=-1", "--set");
  EXPECT_EQ(queryNumber("PRHI"), -1.0F);
  assign("C1=2.5", "--set");
  EXPECT_EQ(queryNumber("C1"), 2.5F);
  assign("PRMO=lin", "--set");
  EXPECT_EQ(queryText("PRMO"), "LIN");
  assign("TARG=WEIG", "--set");
  EXPECT_EQ(queryNumber("TARG"), 0.0F);
  assign("TARG=2", "--set");
  EXPECT_EQ(queryNumber("TARG"), 2.0F);
  assign("TARG=NOISE", "--set");
  EXPECT_EQ(queryNumber("TARG"), 1.0F);
  assign("PRAV=median", "--set");
  EXPECT_EQ(queryText("PRAV"), "MEDIAN");
}

TEST(Library, ATextThatIsCutIsNoReadOnlyKey) {
  EXPECT_NO_THROW(assign("PRAV=a text longer than sixteen characters", "--set"));
  EXPECT_EQ(queryText("PRAV"), "A TEXT LONGER TH");
}

TEST(Library, ARefusedAssignmentChangesNothing) {
  setNumber("MAXI", 77.0F);
  EXPECT_THROW(assign("MAXI=many", "--set"), UserError);
  EXPECT_EQ(queryNumber("MAXI"), 77.0F);
}

}  // namespace
}  // namespace vorin::toolkit
