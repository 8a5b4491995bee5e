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

TEST(Picture, OfSeveralDecaysHasALegendWithEach) {
  const TemporaryFolder folder;
  std::vector<std::string> words{"invert"};
  for (const char* name : {"a.csv", "b<2>.csv", "c.csv"}) {
    writeFile(folder / name, contentOf(sampleFile));
    words.emplace_back(name);
  }
  words.insert(words.end(),
               {"--weight", "1", "--cutoff", "33ms", "--plot", "all.svg", "--together"});
  std::vector<std::string> overlay = words;
  overlay.emplace_back("overlay");
  ASSERT_EQ(runProgram(folder.path(), overlay).status, 0);
  std::string picture = contentOf(folder / "all.svg");
  for (const char* text : {">3 decays<", ">a.csv<", ">b&lt;2>.csv<", ">c.csv<", ">cutoff<",
                           ">amplitude per decade<"}) {
    EXPECT_NE(picture.find(text), std::string::npos) << text;
  }
  std::vector<std::string> stack = words;
  stack.insert(stack.end(), {"stack", "--title", "Plugs", "--calibrate", "100pu=100"});
  ASSERT_EQ(runProgram(folder.path(), stack).status, 0);
  picture = contentOf(folder / "all.svg");
  EXPECT_NE(picture.find(">Plugs<"), std::string::npos);
  EXPECT_NE(picture.find(">amplitude per decade (pu), each "), std::string::npos);
}

TEST(Picture, TogetherNeedsAPictureAndAWord) {
  const TemporaryFolder folder;
  const Outcome word =
      runProgram(folder.path(), {"invert", sampleFile, "--plot", "a.svg", "--together", "both"});
  EXPECT_EQ(word.status, 2);
  EXPECT_NE(word.err.find("--together \"both\": write overlay or stack"), std::string::npos);
  const Outcome none = runProgram(folder.path(), {"invert", sampleFile, "--together", "stack"});
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.err.find("--plot, which is not asked for"), std::string::npos);
  EXPECT_FALSE(fs::exists(folder / "a.svg"));
}

TEST(Picture, OfAnLCurveHasItsTitleUnitAndSize) {
  const TemporaryFolder folder;
  ASSERT_EQ(runProgram(folder.path(),
                       {"invert", sampleFile, "--weight", "1", "--plot-lcurve", "l.svg", "--title",
                        "Plug 7", "--size", "800x560", "--calibrate", "100pu=100"})
                .status,
            0);
  const std::string picture = contentOf(folder / "l.svg");
  EXPECT_NE(picture.find(">Plug 7<"), std::string::npos);
  EXPECT_NE(picture.find("|K f - d| (pu)<"), std::string::npos);
  EXPECT_NE(picture.find("viewBox=\"0 0 800 560\""), std::string::npos);
}

TEST(Picture, UnitsAndPowersHaveOneStyle) {
  const TemporaryFolder folder;
  std::string rows;
  for (int i = 0; i < 100; ++i) {
    rows += fmt::format("{},{}\n", 20000.0 * i, 100.0 * std::exp(-i / 25.0) + (i % 3 - 1));
  }
  writeFile(folder / "slow.csv", rows);
  ASSERT_NE(
      runProgram(folder.path(), {"invert", "slow.csv", "--noise", "0.8", "--plot", "p.svg"}).status,
      2);
  const std::string slow = contentOf(folder / "p.svg");
  EXPECT_NE(slow.find("time (s) / 10"), std::string::npos);
  EXPECT_EQ(slow.find(">500000<"), std::string::npos);
  rows.clear();
  for (int i = 1; i <= 100; ++i) {
    rows += fmt::format("{},{}\n", 20e-6 * i, 100.0 * std::exp(-i / 25.0) + (i % 3 - 1));
  }
  writeFile(folder / "fast.csv", rows);
  ASSERT_NE(
      runProgram(folder.path(), {"invert", "fast.csv", "--noise", "0.8", "--plot", "p.svg"}).status,
      2);
  const std::string fast = contentOf(folder / "p.svg");
  EXPECT_NE(fast.find(">time (\xC2\xB5s)<"), std::string::npos);
  EXPECT_NE(fast.find(" \xC2\xB5s<"), std::string::npos);  // of the log mean
  EXPECT_EQ(fast.find(" us<"), std::string::npos);
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
