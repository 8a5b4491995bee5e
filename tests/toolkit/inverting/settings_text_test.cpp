// Sentences about the command's options, as programs that name settings read them.
#include "toolkit/inverting/settings_text.hpp"

#include <gtest/gtest.h>

namespace vorin::toolkit {
namespace {

TEST(SettingNames, HaveNoHyphens) {
  EXPECT_EQ(inSettingNames("--prune-points 9 is too few"), "prune_points 9 is too few");
  EXPECT_EQ(inSettingNames("give --noise SIGMA (or --grid)"), "give noise=SIGMA (or grid)");
  EXPECT_EQ(inSettingNames("--skip"), "skip");
}

TEST(SettingNames, KeysAreSettingsOfTheirOwn) {
  EXPECT_EQ(inSettingNames("add --set MAXI=50"), "add settings MAXI=50");
}

TEST(SettingNames, HyphensOfOtherTextStay) {
  for (const char* text :
       {"", "-", "--", "a -- b", "a--b", "x1--skip", "(a--skip)", "ends with --"}) {
    EXPECT_EQ(inSettingNames(text), text);
  }
}

}  // namespace
}  // namespace vorin::toolkit
