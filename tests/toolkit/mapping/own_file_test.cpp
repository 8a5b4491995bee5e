// Where the files of a map are kept while they grow.
#include "toolkit/mapping/files/own_file.hpp"

#include <gtest/gtest.h>

#include <filesystem>

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

}  // namespace
}  // namespace vorin::toolkit
