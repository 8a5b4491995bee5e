// The failure rule: one record in an open log, nothing otherwise, and no stop.
#include "toolbox/nrerror.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/open_log.hpp"

namespace {

using vorin::assert_eq;
using vorin::assert_flag;
using vorin::test::OpenLog;
using Lines = std::vector<std::string>;

class Nrerror : public ::testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
};

TEST_F(Nrerror, RecordIsABlankAndBothItems) {
  OpenLog log("NRERROR");
  vorin::nrerror("root must be bracketed for zbrent");
  EXPECT_EQ(log.written(), (Lines{" nrerror: root must be bracketed for zbrent"}));
}

TEST_F(Nrerror, RecordsDoNotDependOnTheLevel) {
  for (const float level : {1.0f, 2.0f, 5.0f}) {
    vorin::test::setNumber("REPO", level);
    OpenLog log("NRLEVEL");
    vorin::nrerror("x");
    EXPECT_EQ(log.written(), (Lines{" nrerror: x"})) << level;
  }
}

TEST_F(Nrerror, WithTheLogClosedTheRecordGoesNowhere) {
  vorin::nrerror("nobody hears");
  EXPECT_EQ(assert_eq(1, 2, "nobody hears"), 0);
  OpenLog log("NRCLOSED");
  EXPECT_EQ(log.written(), Lines{});
}

TEST_F(Nrerror, WithTheLogClosedByItsLevelTheRecordGoesNowhere) {
  vorin::test::setNumber("REPO", 0.0f);
  OpenLog log("NRZERO");
  vorin::nrerror("nobody hears");
  EXPECT_EQ(log.written(), Lines{});
}

TEST_F(Nrerror, AssertEqOnEqualValuesWritesNothing) {
  OpenLog log("NREQUAL");
  EXPECT_EQ(assert_eq(7, 7, "two"), 7);
  EXPECT_EQ(assert_eq(-3, -3, -3, "three"), -3);
  EXPECT_EQ(assert_eq(5, 5, 5, 5, "four"), 5);
  EXPECT_EQ(assert_eq(std::array{9, 9, 9, 9, 9}, "vector"), 9);
  EXPECT_EQ(assert_eq(std::array{4}, "one"), 4);
  EXPECT_EQ(assert_eq(std::span<const std::int32_t>{}, "none"), 0);
  EXPECT_EQ(log.written(), Lines{});
}

TEST_F(Nrerror, AssertEqOnUnequalValuesReturnsZeroWithOneRecordEach) {
  OpenLog log("NRUNEQ");
  EXPECT_EQ(assert_eq(7, 8, "two"), 0);
  EXPECT_EQ(assert_eq(7, 7, 8, "three"), 0);
  EXPECT_EQ(assert_eq(7, 7, 7, 8, "four"), 0);
  EXPECT_EQ(assert_eq(8, 7, 7, 7, "four again"), 0);
  EXPECT_EQ(assert_eq(std::array{7, 7, 6, 7, 7}, "vector"), 0);
  const std::string text = " nrerror: an assert_eq failed with this tag:";
  EXPECT_EQ(log.written(), (Lines{text + "two", text + "three", text + "four", text + "four again",
                                  text + "vector"}));
}

TEST_F(Nrerror, AssertFlagWritesWhenAnyFlagIsFalse) {
  OpenLog log("NRFLAG");
  assert_flag(true, "-");
  assert_flag(true, true, "-");
  assert_flag(true, true, true, "-");
  assert_flag(true, true, true, true, "-");
  assert_flag(std::array<char, 5>{1, 1, 1, 1, 1}, "-");
  assert_flag(false, "one");
  assert_flag(true, false, "two");
  assert_flag(false, true, true, "three");
  assert_flag(true, true, true, false, "four");
  assert_flag(std::array<char, 5>{1, 1, 0, 1, 0}, "vector");
  const std::string text = " nrerror: an assertion failed with this tag:";
  EXPECT_EQ(log.written(),
            (Lines{text + "one", text + "two", text + "three", text + "four", text + "vector"}));
}

}  // namespace
