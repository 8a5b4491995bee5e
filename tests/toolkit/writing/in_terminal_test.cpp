// The picture that the command prints in a terminal, on systems with terminals of POSIX.
#include <gtest/gtest.h>
#include <pty.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <map>
#include <string>
#include <vector>

namespace vorin::toolkit::test {
namespace {

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

}  // namespace
}  // namespace vorin::toolkit::test
