// Outputs whose names are links and pipes of POSIX.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/child.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

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

TEST(OutputFiles, ALinkToTheInputIsTheInput) {
  const TemporaryFolder folder;
  test::writeFile(folder / "decay.csv", "1,2\n");
  fs::create_symlink("decay.csv", folder / "link.csv");
  OutputFiles outputs;
  EXPECT_THROW(outputs.announce(folder / "link.csv", "--out", folder / "decay.csv"), UserError);
}

}  // namespace
}  // namespace vorin::toolkit
