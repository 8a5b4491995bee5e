// The manual page: it is that of the program, it renders, and its examples run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

std::string theManual() {
  return contentOf(VORIN_MANUAL);
}

/// `text` as the page has it: hyphens that can be copied.
std::string inRoff(const std::string& text) {
  std::string result;
  for (const char c : text) {
    result += c == '-' ? "\\-" : std::string(1, c);
  }
  return result;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The first words of the lines of `help` behind `heading`, up to an empty line.
std::vector<std::string> listed(const std::string& help, const std::string& heading) {
  std::vector<std::string> words;
  bool within = false;
  for (const std::string& line : linesOf(help)) {
    if (line == heading) {
      within = true;
    } else if (line.empty()) {
      within = false;
    } else if (within && line.size() > 2 && line[0] == ' ' && line[2] != ' ') {
      std::istringstream in(line);
      words.emplace_back();
      in >> words.back();
    }
  }
  return words;
}

TEST(Manual, IsThatOfTheProgram) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"manual"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, theManual())
      << "write it anew: cmake --build --preset dev --target man_page";
}

TEST(Manual, HasTheSectionsOfAPage) {
  std::vector<std::string> sections;
  for (const std::string& line : linesOf(theManual())) {
    if (line.starts_with(".SH ")) {
      sections.push_back(line.substr(4));
    }
  }
  EXPECT_EQ(sections, (std::vector<std::string>{"NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS",
                                                "FILES", "EXIT STATUS", "EXAMPLES", "SEE ALSO"}));
}

TEST(Manual, HasEveryCommandAndOptionThatHelpLists) {
  const TemporaryFolder folder;
  const std::string manual = theManual();
  const std::vector<std::string> commands =
      listed(runProgram(folder.path(), {"--help"}).out, "Subcommands:");
  ASSERT_GE(commands.size(), 4U);
  std::size_t options = 0;
  for (const std::string& command : commands) {
    EXPECT_NE(manual.find("\n.SS \\fBvorin " + command + "\\fR"), std::string::npos) << command;
    const std::string help = runProgram(folder.path(), {command, "--help"}).out;
    for (const std::string& line : linesOf(help)) {
      const std::size_t at = line.find_first_not_of(' ');
      if (at == 2 && line.compare(at, 2, "--") == 0) {
        const std::string option = line.substr(at, line.find(' ', at) - at);
        EXPECT_NE(manual.find("\n\\fB" + inRoff(option) + "\\fR"), std::string::npos)
            << command << ' ' << option;
        ++options;
      }
    }
  }
  EXPECT_GT(options, 20U);
  EXPECT_EQ(manual.find("vorin manual"), std::string::npos);
}

TEST(Manual, RendersWithoutAWarning) {
  // A man that only tells how to install manuals is none.
  const std::vector<std::pair<std::string, std::string>> renderers{
      {"command -v groff", "groff -man -Tutf8 -ww -b -z"},
      {"command -v mandoc", "mandoc -T lint -W warning"},
      {"man --version | grep '^man '",
       "env -u MANPAGER PAGER=cat MAN_KEEP_STDERR=1 man --warnings -l"}};
  bool rendered = false;
  for (const auto& [probe, command] : renderers) {
    if (std::system(fmt::format("( {} ) >/dev/null 2>&1", probe).c_str()) != 0) {
      continue;
    }
    const TemporaryFolder channels;
    const std::string whole =
        fmt::format("LC_ALL=C.UTF-8 {} {} >{} 2>{}", command, shellWord(VORIN_MANUAL),
                    shellWord((channels / "out").string()), shellWord((channels / "err").string()));
    EXPECT_EQ(std::system(whole.c_str()), 0) << whole;
    EXPECT_EQ(contentOf(channels / "err"), "") << whole;
    if (probe.starts_with("man")) {
      const std::string page = contentOf(channels / "out");
      EXPECT_NE(page.find("EXIT STATUS"), std::string::npos) << page;
      EXPECT_NE(page.find("--kernel NAME"), std::string::npos) << page;
    }
    rendered = true;
  }
  if (!rendered) {
    GTEST_SKIP() << "skipped: neither groff, mandoc nor man is installed";
  }
}

TEST(Manual, ItsExamplesRunOneAfterTheOther) {
  const TemporaryFolder folder;
  const std::vector<std::string> lines = linesOf(theManual());
  std::size_t examples = 0;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (lines[i - 1] != ".RS 4") {
      continue;
    }
    std::string text;
    for (const char c : lines[i]) {
      text += c == '\\' ? "" : std::string(1, c);  // only hyphens are escaped here
    }
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
      words.push_back(word);
    }
    ASSERT_EQ(words.front(), "vorin");
    words.erase(words.begin());
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 0) << text << '\n' << outcome.err;
    ++examples;
  }
  EXPECT_GE(examples, 5U);
  EXPECT_EQ(folder.names(),
            (std::vector<std::string>{"decay.csv", "f.csv", "f.png", "g.csv", "map.csv", "map.json",
                                      "run.log", "t1t2.csv", "truth.csv"}));
}

TEST(Manual, IsWrittenWholeOrNotAtAll) {
  const TemporaryFolder folder;
  EXPECT_EQ(runProgram(folder.path(), {"manual", "vorin.1"}).status, 0);
  EXPECT_EQ(contentOf(folder / "vorin.1"), theManual());
  const Outcome outcome = runProgram(folder.path(), {"manual", "vorin.1/vorin.1"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"vorin.1"});
}

}  // namespace
}  // namespace vorin::toolkit::test
