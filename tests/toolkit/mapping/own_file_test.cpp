// Where the files of a map are kept while they grow.
#include "toolkit/mapping/files/own_file.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/child.hpp"

namespace vorin::toolkit {
namespace {

namespace fs = std::filesystem;

// Scratch files lie on the disk of the output, in the nearest folder that exists.
TEST(FolderAbove, IsTheNearestThatExists) {
  const test::TemporaryFolder folder;
  const fs::path root = folder / "";
  const fs::path here = root.parent_path();
  fs::create_directory(here / "inner");
  EXPECT_EQ(folderAbove(here / "out"), here);
  EXPECT_EQ(folderAbove(here / "missing" / "deeper" / "out"), here);
  EXPECT_EQ(folderAbove(here / "inner" / "out"), here / "inner");
}

// The kernel gives a list of its own in pieces of some pages.
TEST(OwnFile, ReadsOnWhereTheSystemGivesLess) {
  constexpr std::size_t count = 200'000;
  constexpr std::size_t guard = 1'000'000;
  std::ifstream stream("/proc/kallsyms", std::ios::binary);
  std::string wanted(count, '\0');
  if (!stream.read(wanted.data(), count)) {
    GTEST_SKIP() << "no /proc/kallsyms of this size";
  }
  const OwnFile file = OwnFile::toRead("/proc/kallsyms");
  std::string found(count + guard, 'x');
  EXPECT_EQ(file.readSome(0, found.data(), count), count);
  EXPECT_TRUE(found.starts_with(wanted));
  EXPECT_EQ(found.substr(count), std::string(guard, 'x'));
}

}  // namespace
}  // namespace vorin::toolkit
