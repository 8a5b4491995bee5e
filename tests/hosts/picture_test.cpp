// What stands in the pictures, read off the text of SVG files.
#include <gtest/gtest.h>

#include <cmath>
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

TEST(Picture, HasTheCumulativeCurveCutoffsAndOwnTexts) {
  const std::string picture =
      pictureOf({"invert", sampleFile, "--weight", "1", "--cutoff", "33ms", "--title", "Plug <7>",
                 "--amplitude-label", "porosity", "--size", "800x700"});
  for (const char* text : {">cumulative<", ">cumulative (%)<", ">cutoff<", ">Plug &lt;7><",
                           ">porosity<", ">porosity per decade<"}) {
    EXPECT_NE(picture.find(text), std::string::npos) << text;
  }
  EXPECT_NE(picture.find("viewBox=\"0 0 800 700\""), std::string::npos);
}

TEST(Picture, OfManySamplesStaysSmall) {
  const TemporaryFolder folder;
  ASSERT_EQ(runProgram(folder.path(), {"simulate", "--samples", "100000", "--spacing", "10us",
                                       "--out", "long.csv"})
                .status,
            0);
  ASSERT_EQ(runProgram(folder.path(),
                       {"invert", "long.csv", "--weight", "1", "--plot", "p.svg", "--no-picture"})
                .status,
            0);
  // Four samples in each of 2000 columns, drawn two times, take about 50 bytes each.
  EXPECT_LT(contentOf(folder / "p.svg").size(), 2'000'000U);
}

TEST(Picture, LabelsOfANarrowGridAndOfGreatAmplitudesStayApart) {
  const TemporaryFolder folder;
  std::string rows;
  for (int i = 1; i <= 200; ++i) {
    rows += fmt::format("{},{}\n", 1e-3 * i, 1e9 * std::exp(-1e-3 * i / 0.05));
  }
  writeFile(folder / "great.csv", rows);
  ASSERT_NE(runProgram(folder.path(), {"invert", "great.csv", "--weight", "1", "--grid",
                                       "20ms:200ms:30", "--plot", "p.svg"})
                .status,
            2);
  const std::string picture = contentOf(folder / "p.svg");
  for (const char* label : {">20<", ">50<", ">100<", ">200<"}) {
    EXPECT_NE(picture.find(label), std::string::npos) << label;
  }
  EXPECT_EQ(picture.find("e+0"), std::string::npos);
}

TEST(Picture, BadSizesAreRefused) {
  const TemporaryFolder folder;
  for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
           {"--size", "800"}, {"--size", "10x10"}, {"--size", "900x90000"}, {"--dpi", "3"}}) {
    std::vector<std::string> words{"invert", sampleFile, "--plot", "p.png"};
    words.insert(words.end(), options.begin(), options.end());
    EXPECT_EQ(runProgram(folder.path(), words).status, 2) << options[1];
    EXPECT_FALSE(fs::exists(folder / "p.png"));
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
