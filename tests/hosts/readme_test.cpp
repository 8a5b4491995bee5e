// The README's first C program, taken out of the README by the build, does what
// the README says.
#include <gtest/gtest.h>

#include <string>

#include "hosts/child.hpp"

namespace vorin::host::test {
namespace {

/// The first block that opens with ```kind behind position `from`.
std::string block(const std::string& text, const std::string& kind, std::size_t from,
                  std::size_t* end = nullptr) {
  const std::string mark = fmt::format("```{}\n", kind);
  const std::size_t start = text.find(mark, from) + mark.size();
  const std::size_t stop = text.find("```", start);
  if (end != nullptr) {
    *end = stop + 3;
  }
  return text.substr(start, stop - start);
}

TEST(Readme, FirstProgramPrintsWhatTheReadmeShows) {
  const std::string readme = contentOf(VORIN_README);
  std::size_t end = 0;
  ASSERT_NE(block(readme, "c", 0, &end).find("Vorin_s("), std::string::npos);
  const std::string shown = block(readme, "text", end);
  const TemporaryFolder folder;
  const TemporaryFolder channel;
  const std::string command =
      fmt::format("cd {} && {} >{}", shellWord(folder.path().string()),
                  shellWord(VORIN_FIRST_PROGRAM), shellWord((channel / "out").string()));
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(contentOf(channel / "out"), shown);
}

}  // namespace
}  // namespace vorin::host::test
