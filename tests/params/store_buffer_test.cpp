// Nothing outside a host's text is read or written, whatever length the host
// gives: guard bytes stand on both sides, and texts of exactly the given size let
// the address sanitizer see any touch beyond them.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "params/expected_keys.hpp"
#include "params/store_fixture.hpp"

namespace {

constexpr std::int32_t longest = 300;
constexpr std::size_t guard = 64;
constexpr char guardByte = '\x5a';

class StoreBuffer : public StoreTest {
 protected:
  static std::vector<std::string> allKeys() {
    std::vector<std::string> keys = {"WFAC", "\xff\xfe\xfd\xfc", "CSE2", "C1XY"};
    for (const auto& row : expected::numberKeys) {
      keys.emplace_back(row.key);
    }
    for (const auto& row : expected::textKeys) {
      keys.emplace_back(row.key);
    }
    return keys;
  }

  static std::vector<std::int32_t> allLengths() {
    std::vector<std::int32_t> lengths = {std::numeric_limits<std::int32_t>::min(), -1000, -2, -1};
    for (std::int32_t length = 0; length <= longest; ++length) {
      lengths.push_back(length);
    }
    return lengths;
  }

  /// Calls each entry that takes a length on a guarded text that holds `before`;
  /// returns what `check` should see of the text.
  template <class Check>
  static void onEachEntry(const char* mode, const std::string& key, std::int32_t length,
                          const std::string& before, Check check) {
    for (int entry = 0; entry < 3; ++entry) {
      const auto size = static_cast<std::size_t>(std::max(length, 0));
      const std::string border(guard, guardByte);
      std::string memory = border + before.substr(0, size) + border;
      char* const text = memory.data() + guard;
      float value = 1.0F;
      std::int32_t status = -9;
      if (entry == 0) {
        vorinSQC99(mode, key.data(), text, &length, &value, &status);
      } else if (entry == 1) {
        VorinSQC(mode, key.data(), text, &length, &status);
      } else {
        vorin_sqc_cdecl(mode, key.data(), text, &length, &status);
      }
      ASSERT_EQ(memory.substr(0, guard), border) << mode << key << length;
      ASSERT_EQ(memory.substr(guard + size), border) << mode << key << length;
      check(memory.substr(guard, size));
    }
  }
};

TEST_F(StoreBuffer, QueriesFillExactlyTheGivenLength) {
  const std::string before(longest, '#');
  for (const std::string& key : allKeys()) {
    const std::string whole = query(key, longest).text;
    for (const std::int32_t length : allLengths()) {
      onEachEntry("Q", key, length, before, [&](const std::string& after) {
        ASSERT_EQ(after, whole.substr(0, after.size())) << key << ' ' << length;
      });
    }
  }
}

TEST_F(StoreBuffer, SetsLeaveTheTextAlone) {
  for (const std::string& before : {std::string(longest, ' '), std::string(longest, 'l')}) {
    for (const std::string& key : allKeys()) {
      for (const std::int32_t length : allLengths()) {
        onEachEntry("S", key, length, before, [&](const std::string& after) {
          ASSERT_EQ(after, before.substr(0, after.size())) << key << ' ' << length;
        });
      }
    }
  }
}

TEST_F(StoreBuffer, ResetAndUnknownModesLeaveTheTextAlone) {
  const std::string before(longest, '#');
  for (const char* mode : {"I", "X"}) {
    for (const std::int32_t length : allLengths()) {
      onEachEntry(mode, "FLOG", length, before, [&](const std::string& after) {
        ASSERT_EQ(after, before.substr(0, after.size())) << length;
      });
    }
  }
}

TEST_F(StoreBuffer, ATextOfExactlyTheGivenSizeIsEnough) {
  for (const std::string& key : allKeys()) {
    for (const std::int32_t length : {1, 3, 15, 16, 17, 255, 256, 257}) {
      for (const char* mode : {"S", "Q"}) {
        std::vector<char> text(static_cast<std::size_t>(length), ' ');
        std::int32_t status = -9;
        VorinSQC(mode, key.data(), text.data(), &length, &status);
        ASSERT_EQ(status, 0);
      }
    }
  }
}

TEST_F(StoreBuffer, ATextAddressMayBeNullWhenThereIsNoText) {
  for (const std::string& key : allKeys()) {
    for (const std::int32_t length : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
      for (const char* mode : {"Q", "S", "I", "X"}) {
        float value = 1.0F;
        std::int32_t status = -9;
        vorinSQC99(mode, key.data(), nullptr, &length, &value, &status);
        EXPECT_EQ(status, *mode == 'X' ? 1 : 0);
        VorinSQC(mode, key.data(), nullptr, &length, &status);
        vorin_sqc_cdecl(mode, key.data(), nullptr, &length, &status);
        EXPECT_EQ(status, *mode == 'X' ? 1 : 0);
      }
    }
  }
}

TEST_F(StoreBuffer, ANegativeLengthCountsAsNoText) {
  std::string text = "LOG";
  const std::int32_t length = -3;
  float code = 2.0F;
  std::int32_t status = -9;
  vorinSQC99("S", "PRMO", text.data(), &length, &code, &status);
  EXPECT_EQ(this->text("PRMO"), "LIN");
}

TEST_F(StoreBuffer, Sqc2TouchesExactlyThirtyTwoCharacters) {
  for (const std::string& key : allKeys()) {
    for (const char* mode : {"Q", "S"}) {
      std::vector<char> text(32, ' ');
      std::int32_t status = -9;
      VorinSQC2(mode, key.data(), text.data(), &status);
      ASSERT_EQ(status, 0);
    }
    const std::string border(guard, guardByte);
    std::string memory = border + std::string(32, '#') + border;
    std::int32_t status = -9;
    VorinSQC2("Q", key.data(), memory.data() + guard, &status);
    EXPECT_EQ(memory, border + query(key).text + border);
  }
}

TEST_F(StoreBuffer, AVeryLongTextIsTakenWhole) {
  constexpr std::int32_t length = 1 << 26;
  std::vector<char> text(static_cast<std::size_t>(length), ' ');
  std::int32_t status = -9;
  text.back() = 'x';  // the only letter: not blank, but it begins with no choice
  VorinSQC("S", "PRMO", text.data(), &length, &status);
  EXPECT_EQ(this->text("PRMO"), "NONE");
  VorinSQC("Q", "VERS", text.data(), &length, &status);
  EXPECT_EQ(std::string(text.data(), 12), "Vorin10.56  ");
  EXPECT_EQ(text.back(), ' ');
}

}  // namespace
