// The page of keys is that of the table.
#include "params/keys_page.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

TEST(KeysPage, IsThatOfTheTableOfKeys) {
  std::ifstream in(VORIN_KEYS_PAGE, std::ios::binary);
  ASSERT_TRUE(in) << VORIN_KEYS_PAGE;
  std::ostringstream page;
  page << in.rdbuf();
  EXPECT_EQ(page.str(), vorin::test::keysPage())
      << "write it anew: cmake --build --preset dev --target keys_page";
}

TEST(KeysPage, HasALineAKey) {
  std::istringstream page(vorin::test::keysPage());
  std::size_t keys = 0;
  for (std::string line; std::getline(page, line);) {
    keys += line.starts_with("| `") ? 1U : 0U;
  }
  EXPECT_EQ(keys, 46U);
  // One line of each kind, by hand.
  const std::string text = vorin::test::keysPage();
  for (const char* line : {"| `WTOL` | number | 0.001 | 0.001 | `I4` | ",
                           "| `RSIG` | number | 1.05 | 0.2 | `G12.5` | ",
                           "| `VERN` | number, read-only | 1056 |  | `I4` | ",
                           "| `FLOG` | text of 256 | \"Vorin\" | \"Vorin\" | the text | ",
                           "| `TARG` | choice | \"NOISE\" |  | 0 \"WEIG\", 1 \"NOISE\", 2 \"2\", "
                           "else 1 \"NOISE\" | "}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
}

}  // namespace
