// The page of keys and the table of keys in the header are those of the code.
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

std::string contentOf(const char* path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(KeysPage, TheHeaderHasTheTableOfKeys) {
  const std::string header = contentOf(VORIN_HEADER);
  EXPECT_NE(header.find(vorin::test::headerTableHead), std::string::npos);
  EXPECT_EQ(header, vorin::test::withKeys(header, vorin::test::keysOfHeader()))
      << "write it anew: cmake --build --preset dev --target keys_page";
  // Three rows by hand.
  for (const char* row :
       {"\n *    SIG   0.01          0.01     ", "\n *    RSIG  1.05          0.2      ",
        "\n *    TARG  \"NOISE\"       -        "}) {
    EXPECT_NE(header.find(row), std::string::npos) << row;
  }
}

// The header explains the three choices in words of its own: every text that a set can store
// and every text that a query answers has to occur there.
TEST(KeysPage, TheHeaderNamesEveryTextOfAChoice) {
  const std::string header = contentOf(VORIN_HEADER);
  for (const vorin::params::KeyRow& row : vorin::params::keyTable) {
    if (row.choice == nullptr) {
      continue;
    }
    const std::size_t start = header.find("\n *    " + std::string(row.key) + "  0 WEIG");
    const std::size_t paragraph = start != std::string::npos
                                      ? start
                                      : header.find("\n *    " + std::string(row.key) + "  1 ");
    ASSERT_NE(paragraph, std::string::npos) << row.key;
    std::size_t end = header.find('\n', paragraph + 1);
    while (header.compare(end, 8, "\n *     ") == 0) {
      end = header.find('\n', end + 1);
    }
    const std::string text = header.substr(paragraph, end - paragraph);
    const auto names = [&](std::string_view word) {
      const std::size_t at = text.find(' ' + std::string(word));
      return at != std::string::npos;
    };
    for (const vorin::params::CodeRow& code : row.choice->byCode) {
      EXPECT_TRUE(names(std::to_string(code.code) + ' ' + std::string(code.stored)))
          << row.key << ' ' << code.code;
    }
    for (const vorin::params::TextRow& given : row.choice->byText) {
      EXPECT_TRUE(names(given.stored)) << row.key << ' ' << given.stored;
    }
    EXPECT_TRUE(names(row.choice->storedOtherwise)) << row.key;
    for (const vorin::params::AnswerRow& answer : row.choice->answers) {
      EXPECT_TRUE(names(answer.text)) << row.key << ' ' << answer.text;
    }
  }
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
