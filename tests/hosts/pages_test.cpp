// The programs that the README and the page on hosts show, taken out of them by the
// build or by this test, print what stands there.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "support/child.hpp"
#include "toolkit/reading/files.hpp"

namespace vorin::toolkit::test {
namespace {

/// The first block that opens with ```kind behind `from`, which moves behind it.
std::string nextBlock(const std::string& page, const std::string& kind, std::size_t& from) {
  const std::string mark = fmt::format("```{}\n", kind);
  const std::size_t start = page.find(mark, from);
  if (start == std::string::npos) {
    ADD_FAILURE() << "there is no block of " << kind << " behind position " << from;
    return {};
  }
  const std::size_t content = start + mark.size();
  const std::string_view end = "```";
  const std::size_t stop = page.find(end, content);
  from = stop + end.size();
  return page.substr(content, stop - content);
}

std::string page(const std::string& name) {
  return contentOf(std::filesystem::path(VORIN_SOURCE_DIR) / name);
}

/// What `command` prints, run in a folder of its own.
std::string outputOf(const std::string& command) {
  const TemporaryFolder folder;
  const TemporaryFolder channel;
  const std::string line = fmt::format("cd {} && {} >{}", shellWord(folder.path().string()),
                                       command, shellWord((channel / "out").string()));
  EXPECT_EQ(std::system(line.c_str()), 0) << line;
  return contentOf(channel / "out");
}

TEST(Readme, FirstProgramPrintsWhatTheReadmeShows) {
  const std::string readme = page("README.md");
  std::size_t at = 0;
  ASSERT_NE(nextBlock(readme, "c", at).find("Vorin_s("), std::string::npos);
  EXPECT_EQ(outputOf(shellWord(VORIN_README_PROGRAM)), nextBlock(readme, "text", at));
}

TEST(HostsPage, CProgramPrintsWhatThePageShows) {
  const std::string hosts = page("docs/hosts.md");
  std::size_t at = 0;
  ASSERT_NE(nextBlock(hosts, "c", at).find("Voriny_s("), std::string::npos);
  EXPECT_EQ(outputOf(shellWord(VORIN_HOSTS_PAGE_PROGRAM)), nextBlock(hosts, "text", at));
}

TEST(HostsPage, PythonProgramPrintsWhatThePageShows) {
#ifdef VORIN_PYTHON
  const std::string hosts = page("docs/hosts.md");
  std::size_t at = 0;
  std::string program = nextBlock(hosts, "python", at);
  const std::string built = "build/libVorin01056.so";
  const std::size_t name = program.find(built);
  ASSERT_NE(name, std::string::npos);
  program.replace(name, built.size(), VORIN_LIBRARY);
  EXPECT_EQ(outputOf(fmt::format("{} -c {}", shellWord(VORIN_PYTHON), shellWord(program))),
            nextBlock(hosts, "text", at));
#else
  GTEST_SKIP() << "skipped: there is no python3, or the library has the sanitizers";
#endif
}

}  // namespace
}  // namespace vorin::toolkit::test
