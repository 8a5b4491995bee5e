// The commands in the documents do what the documents show: in every block of the kind
// "console" each line that begins with "$ vorin" is run, in one folder a document, and what
// stands below it is what it prints. A command with nothing below it only has to succeed.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

struct Shown {
  std::string command;
  std::string output;
};

std::vector<Shown> commandsOf(const fs::path& document) {
  std::vector<Shown> commands;
  std::istringstream in(contentOf(document));
  bool inside = false;
  bool ours = false;  // the last command of the block begins with "vorin"
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("```", 0) == 0) {
      inside = line == "```console";
      ours = false;
    } else if (inside && line.rfind("$ ", 0) == 0) {
      ours = line.rfind("$ vorin ", 0) == 0;
      if (ours) {
        commands.push_back({line.substr(2), ""});
      }
    } else if (inside && ours) {
      commands.back().output += line + "\n";
    }
  }
  return commands;
}

class Documents : public testing::TestWithParam<const char*> {};

TEST_P(Documents, ShowWhatTheProgramPrints) {
  const fs::path measured = VORIN_MEASURED_DATA_DIR;
  const TemporaryFolder folder;
  const TemporaryFolder channel;
  for (const fs::path& data : {fs::path(VORIN_SAMPLE_DIR), measured}) {
    if (fs::exists(data)) {
      for (const fs::directory_entry& entry : fs::directory_iterator(data)) {
        fs::copy_file(entry.path(), folder / entry.path().filename().string());
      }
    }
  }
  const std::vector<Shown> commands = commandsOf(fs::path(VORIN_DOCS_DIR) / GetParam());
  EXPECT_FALSE(commands.empty());
  bool skipped = false;
  for (const Shown& shown : commands) {
    const bool needsMeasured = shown.command.find("rock_") != std::string::npos ||
                               shown.command.find("berea_") != std::string::npos;
    if (needsMeasured && !fs::exists(measured)) {
      skipped = true;
      continue;
    }
    const std::string run =
        fmt::format("cd {} && PATH={}:$PATH; {{ {}; }} >{} 2>&1", shellWord(folder.path().string()),
                    shellWord(fs::path(VORIN_PROGRAM).parent_path().string()), shown.command,
                    shellWord((channel / "out").string()));
    EXPECT_EQ(std::system(run.c_str()), 0) << shown.command;
    if (!shown.output.empty()) {
      EXPECT_EQ(contentOf(channel / "out"), shown.output) << shown.command;
    }
  }
  if (skipped) {
    GTEST_SKIP() << "no measured decays; their commands were left out";
  }
}

INSTANTIATE_TEST_SUITE_P(Docs, Documents,
                         testing::Values("guide.md", "invert.md", "mathematics.md",
                                         "two_dimensional.md"),
                         [](const auto& row) {
                           const std::string name = row.param;
                           return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace vorin::toolkit::test
