// Sentences about the command's options, as programs that name settings read them.
#include "toolkit/inverting/settings_text.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

TEST(SettingNames, HaveNoHyphens) {
  EXPECT_EQ(inSettingNames("--prune-points 9 is too few"), "prune_points 9 is too few");
  EXPECT_EQ(inSettingNames("give --noise SIGMA (or --grid)"), "give noise=SIGMA (or grid)");
  EXPECT_EQ(inSettingNames("--skip"), "skip");
}

TEST(SettingNames, NothingBehindTheTextIsLookedAt) {
  const std::string_view longer = "leave out --skip N";
  EXPECT_EQ(inSettingNames(longer.substr(0, longer.size() - 1)), "leave out skip ");
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

// Weights are numbers of the library's single precision: normal ones, bounds included.
TEST(SettingNumbers, ReachFromTheLeastNormalNumberToTheLargest) {
  InversionSettings settings;
  readSetting("weight", "1.1754943508222875e-38", settings);
  EXPECT_EQ(settings.weight, static_cast<double>(std::numeric_limits<float>::min()));
  readSetting("weight", "3.4028234663852886e38", settings);
  EXPECT_EQ(settings.weight, static_cast<double>(std::numeric_limits<float>::max()));
  EXPECT_THROW(readSetting("weight", "1.17549e-38", settings), UserError);
  EXPECT_THROW(readSetting("weight", "3.40283e38", settings), UserError);
}

}  // namespace
}  // namespace vorin::toolkit
