// Bars of a distribution in a terminal, and none elsewhere.
#include "toolkit/writing/terminal_picture.hpp"

#include <gtest/gtest.h>
#include <pty.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
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

/// What `vorin invert` prints for the sample decay to a terminal, with these variables.
std::string inTerminal(const std::map<std::string, std::string>& variables,
                       const std::vector<std::string>& options = {}) {
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG", "NO_COLOR", "TERM"}) {
      ::unsetenv(name);
    }
    for (const auto& [name, value] : variables) {
      ::setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<std::string> words{VORIN_PROGRAM, "invert",
                                   std::string(VORIN_SAMPLE_DIR) + "/decay.csv"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> arguments;
    for (std::string& word : words) {
      arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    ::execv(VORIN_PROGRAM, arguments.data());
    ::_exit(127);
  }
  std::string output;
  std::array<char, 4096> block{};
  for (ssize_t count = 0; (count = ::read(terminal, block.data(), block.size())) > 0;) {
    output.append(block.data(), static_cast<std::size_t>(count));
  }
  ::close(terminal);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  return output;
}

bool holds(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

const char* const blockGlyph = "\xE2\x96\x88";

TEST(InTerminal, BarsFollowTheSummary) {
  const std::string output = inTerminal({{"LANG", "de_DE.UTF-8"}, {"TERM", "xterm"}});
  EXPECT_TRUE(holds(output, "log mean")) << output;
  EXPECT_TRUE(holds(output, blockGlyph)) << output;
  EXPECT_TRUE(holds(output, "\033[34m")) << output;
}

TEST(InTerminal, NoColorAndADumbTerminalAreHonoured) {
  EXPECT_FALSE(
      holds(inTerminal({{"LANG", "C.UTF-8"}, {"TERM", "xterm"}, {"NO_COLOR", "1"}}), "\033"));
  EXPECT_FALSE(holds(inTerminal({{"LANG", "C.UTF-8"}, {"TERM", "dumb"}}), "\033"));
}

TEST(InTerminal, ALocaleWithoutUtf8GetsAscii) {
  for (const std::map<std::string, std::string>& variables :
       {std::map<std::string, std::string>{{"LC_ALL", "C"}, {"LANG", "C.UTF-8"}},
        std::map<std::string, std::string>{}}) {
    const std::string output = inTerminal(variables);
    EXPECT_TRUE(holds(output, "####")) << output;
    EXPECT_FALSE(holds(output, "\xE2")) << output;
  }
}

TEST(InTerminal, NoPictureMeansNone) {
  const std::string output = inTerminal({{"LANG", "C.UTF-8"}}, {"--no-picture"});
  EXPECT_TRUE(holds(output, "log mean"));
  EXPECT_FALSE(holds(output, "per decade"));
}

TEST(InTerminal, AFileOrAPipeGetsNone) {
  const TemporaryFolder folder;
  const Outcome outcome =
      runProgram(folder.path(), {"invert", std::string(VORIN_SAMPLE_DIR) + "/decay.csv"});
  EXPECT_FALSE(holds(outcome.out, "per decade")) << outcome.out;
}

}  // namespace
}  // namespace vorin::toolkit::test
