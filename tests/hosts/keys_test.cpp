// What users are told of the library's keys, and vorin keys.
#include "toolkit/inverting/keys.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "hosts/child.hpp"
#include "params/key_table.hpp"
#include "toolkit/inverting/library.hpp"

namespace vorin::toolkit {
namespace {

TEST(Keys, AreThoseOfTheLibraryInItsOrder) {
  const auto infos = keyInfos();
  ASSERT_EQ(infos.size(), params::keyTable.size());
  for (std::size_t i = 0; i < infos.size(); ++i) {
    EXPECT_EQ(infos[i].key, params::keyTable.at(i).key);
  }
}

TEST(Keys, WhatCanBeSetHasARange) {
  for (const KeyInfo& info : keyInfos()) {
    EXPECT_EQ(info.range.empty(), !info.settable) << info.key;
    EXPECT_FALSE(info.meaning.empty()) << info.key;
  }
}

// What the library writes as an integer is one by meaning, but for three fractions.
TEST(Keys, WholeNumbersAreThoseWithTheTextFormOfAnInteger) {
  for (const KeyInfo& info : keyInfos()) {
    const params::KeyRow* const row =
        std::find_if(params::keyTable.begin(), params::keyTable.end(),
                     [&](const params::KeyRow& r) { return r.key == info.key; });
    const bool fraction = std::set<std::string_view>{"WTOL", "SVDT", "L2NS"}.contains(info.key);
    EXPECT_EQ(info.kind == KeyKind::whole, row->kind == params::Kind::integer && !fraction)
        << info.key;
  }
}

TEST(Keys, TheWordsOfAChoiceAreThoseThatTheLibraryStores) {
  for (const KeyInfo& info : keyInfos()) {
    if (info.kind != KeyKind::choice) {
      continue;
    }
    const params::KeyRow* const row =
        std::find_if(params::keyTable.begin(), params::keyTable.end(),
                     [&](const params::KeyRow& r) { return r.key == info.key; });
    std::set<std::string> stored{std::string(row->choice->storedOtherwise)};
    for (const params::CodeRow& code : row->choice->byCode) {
      stored.emplace(code.stored);
    }
    for (const params::TextRow& text : row->choice->byText) {
      stored.emplace(text.stored);
    }
    std::set<std::string> told;
    std::istringstream words{std::string(info.range)};
    for (std::string word; words >> word;) {
      told.insert(word.substr(0, word.find(',')));
    }
    EXPECT_EQ(told, stored) << info.key;
    for (const std::string& word : told) {
      EXPECT_EQ(assign(std::string(info.key) + '=' + word, "--set"), info.key);
    }
  }
}

TEST(Keys, AreFoundAsTheLibraryComparesThem) {
  const auto found = [](const char* name) {
    const KeyInfo* const info = findKey(name);
    return info == nullptr ? std::string_view("none") : info->key;
  };
  EXPECT_EQ(found("maxi"), "MAXI");
  EXPECT_EQ(found("CSE2"), "CSE");
  EXPECT_EQ(found("SIGX"), "SIG");
  EXPECT_EQ(found("C1"), "C1");
  for (const char* name : {"", "M", "MAX", "MAXIM", "WFAC", "LOG", "L1A1", "CDE"}) {
    EXPECT_EQ(found(name), "none") << name;
  }
}

TEST(Keys, TheNearestComeFirst) {
  using Names = std::vector<std::string_view>;
  EXPECT_EQ(keysNear("MXAI").front(), "MAXI");  // two letters swapped
  EXPECT_EQ(keysNear("WITTE").front(), "WITE");
  EXPECT_EQ(keysNear("weight").front(), "WEIG");
  const Names noise = keysNear("noise");  // a word of the meaning
  EXPECT_NE(std::find(noise.begin(), noise.end(), "SIG"), noise.end());
  EXPECT_LE(noise.size(), 5U);
  EXPECT_EQ(keysNear("ZZZZZZZZ"), Names{});
  EXPECT_EQ(keysNear(std::string(100000, 'W')), Names{});
}

}  // namespace

namespace test {
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
  EXPECT_EQ(far.err, "vorin: \"?quux\": the library has no such key; vorin keys lists them all\n");
}

}  // namespace
}  // namespace test
}  // namespace vorin::toolkit
