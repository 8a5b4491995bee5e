// Outputs appear whole or not at all; what is needed on the way leaves no trace.
#include "toolkit/reading/files.hpp"

#include <gtest/gtest.h>

#include "support/child.hpp"

namespace vorin::toolkit {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

TEST(OutputFiles, AppearOnCommitOnly) {
  const TemporaryFolder folder;
  {
    OutputFiles outputs;
    const fs::path target = outputs.announce(folder / "a.csv", "--out", {});
    outputs.write(target, "content");
    EXPECT_FALSE(fs::exists(folder / "a.csv"));
    outputs.commit();
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.csv"});
  }
  EXPECT_EQ(test::contentOf(folder / "a.csv"), "content");
}

TEST(OutputFiles, AreForgottenWithoutCommit) {
  const TemporaryFolder folder;
  test::writeFile(folder / "a.csv", "before");
  {
    OutputFiles outputs;
    outputs.write(outputs.announce(folder / "a.csv", "--out", {}), "content");
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"a.csv"});
  EXPECT_EQ(test::contentOf(folder / "a.csv"), "before");
}

TEST(OutputFiles, HaveNamesInUtf8) {
  // Letters of 2, 3 and 4 bytes; a path of the system's own text says what they are.
  const std::string name = "\u00e4\u00df_\u6e2c_\U0001d6fd.csv";
  const fs::path known(u"\u00e4\u00df_\u6e2c_\U0001d6fd.csv");
  const TemporaryFolder folder;
  OutputFiles outputs;
  outputs.write(outputs.announce(folder / name, "--out", {}), "content");
  outputs.commit();
  EXPECT_EQ(folder.names(), std::vector<std::string>{name});
  EXPECT_TRUE(fs::exists(folder.path() / known));
  EXPECT_EQ(test::contentOf(folder.path() / known), "content");
}

TEST(ScratchFolder, IsTheWorkingDirectoryAndGoesWithAllItHolds) {
  const fs::path before = fs::current_path();
  fs::path inside;
  {
    const ScratchFolder scratch;
    inside = scratch.path();
    EXPECT_EQ(fs::canonical(fs::current_path()), fs::canonical(inside));
    test::writeFile("Vorin.log", "text");
    EXPECT_TRUE(fs::exists(inside / "Vorin.log"));
  }
  EXPECT_FALSE(fs::exists(inside));
  EXPECT_EQ(fs::current_path(), before);
}

}  // namespace
}  // namespace vorin::toolkit
