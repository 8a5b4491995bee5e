// What users are told of the library's keys, against the library's own table of them.
#include "toolkit/inverting/keys.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

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
  const Names twoLetters = keysNear("MYYI");  // two letters replaced
  EXPECT_NE(std::find(twoLetters.begin(), twoLetters.end(), "MAXI"), twoLetters.end());
  EXPECT_EQ(keysNear("weight").front(), "WEIG");
  const Names noise = keysNear("noise");  // a word of the meaning
  EXPECT_NE(std::find(noise.begin(), noise.end(), "SIG"), noise.end());
  EXPECT_LE(noise.size(), 5U);
  EXPECT_EQ(keysNear("ZZZZZZZZ"), Names{});
  EXPECT_EQ(keysNear(std::string(100000, 'W')), Names{});
}

}  // namespace

}  // namespace vorin::toolkit
