// Outputs appear whole or not at all; what is needed on the way leaves no trace.
#include "toolkit/reading/files.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/child.hpp"
#include "toolkit/user_error.hpp"

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

TEST(OutputFiles, FollowALinkAndLeaveItStanding) {
  const TemporaryFolder folder;
  test::writeFile(folder / "real.csv", "before");
  fs::create_symlink("real.csv", folder / "link.csv");
  OutputFiles outputs;
  outputs.write(outputs.announce(folder / "link.csv", "--out", {}), "content");
  outputs.commit();
  EXPECT_TRUE(fs::is_symlink(folder / "link.csv"));
  EXPECT_EQ(test::contentOf(folder / "real.csv"), "content");
}

TEST(OutputFiles, APipeIsWrittenToAndNotReplaced) {
  const TemporaryFolder folder;
  const fs::path pipe = folder / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  OutputFiles outputs;
  outputs.write(outputs.announce(pipe, "--out", {}), "content");
  outputs.commit();
  EXPECT_TRUE(fs::is_fifo(pipe));
  std::string got(7, ' ');
  EXPECT_EQ(::read(reader, got.data(), got.size()), 7);
  EXPECT_EQ(got, "content");
  ::close(reader);
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

TEST(OutputFiles, ALinkToTheInputIsTheInput) {
  const TemporaryFolder folder;
  test::writeFile(folder / "decay.csv", "1,2\n");
  fs::create_symlink("decay.csv", folder / "link.csv");
  OutputFiles outputs;
  EXPECT_THROW(outputs.announce(folder / "link.csv", "--out", folder / "decay.csv"), UserError);
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
