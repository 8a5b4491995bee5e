// vorin keys: the list, and the keys that are named.
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>

#include "params/key_table.hpp"
#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

TEST(KeysCommand, ListsEveryKeyWithItsValueAfterLoading) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"keys"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_TRUE(folder.names().empty());
  std::istringstream lines(outcome.out);
  std::size_t keys = 0;
  for (std::string line; std::getline(lines, line); ++keys) {
    const params::KeyRow& row = params::keyTable.at(keys);
    std::istringstream words(line);
    std::string key;
    std::string value;
    words >> key >> value;
    EXPECT_EQ(key, row.key);
    if (row.holdsNumber()) {
      EXPECT_EQ(std::stof(value), row.load) << key;
    } else if (row.kind == params::Kind::text) {
      EXPECT_EQ(value, row.loadText) << key;
    }
    std::string meaning;
    std::getline(lines, meaning);
    EXPECT_EQ(meaning, fmt::format("      {}", row.meaning));
  }
  EXPECT_EQ(keys, 46U);
}

TEST(KeysCommand, ShowsTheKeysThatAreNamed) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"keys", "maxi", "vern", "TARG", "sig"});
  EXPECT_EQ(outcome.out,
            "MAXI  50          whole number: 1 or above [passes]\n"
            "      limit of passes of the BRD iteration\n"
            "VERN  1056        whole number, read-only\n"
            "      version as a number\n"
            "TARG  NOISE       choice: WEIG, NOISE, 2\n"
            "      how the weight is chosen: from the noise, at the corner, or fixed\n"
            "SIG   0.01        number: above 0 [unit of the data]\n"
            "      noise standard deviation that the host states\n");
}

TEST(KeysCommand, AnUnknownKeyIsRefusedWithItsNeighbours) {
  const TemporaryFolder folder;
  const Outcome near = runProgram(folder.path(), {"keys", "TARG", "MAXY"});
  EXPECT_EQ(near.status, 2);
  EXPECT_EQ(near.out, "");
  EXPECT_EQ(near.err,
            "vorin: \"MAXY\": the library has no such key; near it are MAXI, WMAX "
            "(vorin keys lists them all)\n");
  const Outcome far = runProgram(folder.path(), {"keys", "\x01quux"});
  EXPECT_EQ(far.status, 2);
  EXPECT_EQ(far.err,
            "vorin: \"\\x01quux\": the library has no such key; vorin keys lists them all\n");
}

}  // namespace
}  // namespace vorin::toolkit::test
