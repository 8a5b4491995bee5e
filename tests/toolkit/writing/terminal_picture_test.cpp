// Bars of a distribution in a terminal, and none elsewhere.
#include "toolkit/writing/terminal_picture.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"

namespace vorin::toolkit::test {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST(TerminalPicture, BarsStandWhereTheAmplitudesAre) {
  // 60 grid values over 6 decades: the first and last column are half a grid step wide.
  Distribution distribution{LogGrid{1e-4, 100.0, 61}.times(), std::vector<double>(61, 0.0)};
  distribution.amplitude[30] = 2.0;  // 0.1 s, on the border of columns 29 and 30
  distribution.amplitude[10] = 0.5;
  const std::vector<std::string> lines =
      linesOf(terminalPicture(distribution, Kernel::t2, {false, false}));
  ASSERT_EQ(lines.size(), 11U);
  // An amplitude of 2 in a tenth of a decade.
  EXPECT_EQ(lines[0], "  amplitude per decade over relaxation time T2, up to 10");
  const std::string whole(31, ' ');
  for (std::size_t row = 1; row <= 6; ++row) {
    EXPECT_EQ(lines[row], whole + "##") << row;
  }
  for (std::size_t row = 7; row <= 8; ++row) {  // a quarter as high
    EXPECT_EQ(lines[row], std::string(11, ' ') + "##" + std::string(18, ' ') + "##") << row;
  }
  EXPECT_EQ(lines[9], "  +---------+---------+---------+---------+---------+--------+");
}

TEST(TerminalPicture, TheAxisNamesItsDecades) {
  const Distribution distribution =
      distributionOf({{0.02, 0.2, 5.0}}, LogGrid{1e-4, 10, 100}.times());
  const std::vector<std::string> lines =
      linesOf(terminalPicture(distribution, Kernel::t2, {false, false}));
  const std::string& axis = lines[9];
  const std::string& labels = lines[10];
  for (const char* label : {"100 us", "1 ms", "10 ms", "100 ms", "1 s", "10 s"}) {
    EXPECT_NE(labels.find(label), std::string::npos) << labels;
  }
  EXPECT_EQ(std::count(axis.begin(), axis.end(), '+'), 6);
}

TEST(TerminalPicture, IsSixtyByEightOfAnyGrid) {
  for (int points : {2, 7, 60, 100, 1000}) {
    const Distribution distribution =
        distributionOf({{0.02, 0.2, 5.0}}, LogGrid{1e-4, 10, points}.times());
    const std::vector<std::string> lines =
        linesOf(terminalPicture(distribution, Kernel::diffusion, {false, false}));
    ASSERT_EQ(lines.size(), 11U) << points;
    EXPECT_EQ(lines[9].size(), 62U);
    for (const std::string& line : lines) {
      EXPECT_LE(line.size(), 66U);
    }
    EXPECT_NE(lines[1].find_first_of("#."), std::string::npos) << points;  // the highest bar
  }
}

TEST(TerminalPicture, AnEmptyDistributionHasNone) {
  EXPECT_EQ(terminalPicture({{0.1, 1.0}, {0.0, 0.0}}, Kernel::t2, {true, true}), "");
}

TEST(TerminalPicture, BlocksAndColourComeOnlyWhereTheyAreAskedFor) {
  const Distribution distribution =
      distributionOf({{0.02, 0.2, 5.0}}, LogGrid{1e-4, 10, 100}.times());
  const auto holds = [&](const TerminalStyle& style, const char* part) {
    return terminalPicture(distribution, Kernel::t2, style).find(part) != std::string::npos;
  };
  EXPECT_TRUE(holds({true, false}, "\xE2\x96\x88"));
  EXPECT_FALSE(holds({false, true}, "\xE2"));
  EXPECT_TRUE(holds({false, true}, "\033["));
  EXPECT_FALSE(holds({true, false}, "\033"));
}

TEST(TerminalPicture, AFileOrAPipeGetsNone) {
  const TemporaryFolder folder;
  const Outcome outcome =
      runProgram(folder.path(), {"invert", std::string(VORIN_SAMPLE_DIR) + "/decay.csv"});
  EXPECT_EQ(outcome.out.find("per decade"), std::string::npos) << outcome.out;
}

}  // namespace
}  // namespace vorin::toolkit::test
