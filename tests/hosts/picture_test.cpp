// What stands in the pictures, read off the text of SVG files.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

const std::string sampleFile = std::string(VORIN_SAMPLE_DIR) + "/decay.csv";
const std::string trueDistribution = std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv";

std::string pictureOf(const std::vector<std::string>& words) {
  const TemporaryFolder folder;
  std::vector<std::string> all = words;
  all.insert(all.end(), {"--plot", "p.svg"});
  const Outcome outcome = runProgram(folder.path(), all);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return contentOf(folder / "p.svg");
}

TEST(Picture, NamesWhatItShows) {
  const std::string picture =
      pictureOf({"invert", sampleFile, "--weight", "1", "--truth", trueDistribution});
  for (const char* text :
       {">measured<", ">fit<", ">residual<", ">distribution<", ">truth<", ">time (ms)<",
        ">relaxation time T2 (ms)<", ">amplitude per decade<", ">log mean 4"}) {
    EXPECT_NE(picture.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(picture.find("band"), std::string::npos);
}

TEST(Picture, HasTheBandOfABootstrap) {
  const std::string picture =
      pictureOf({"invert", sampleFile, "--weight", "1", "--bootstrap", "20", "--seed", "2"});
  EXPECT_NE(picture.find(">68 % band<"), std::string::npos);
}

}  // namespace
}  // namespace vorin::toolkit::test
