// A store with its load values for each test, and shorthand for the calls that a
// host makes on it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "params/block.hpp"
#include "params/text.hpp"
#include "vorin.h"

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override { restore(); }
  void TearDown() override { restore(); }

  struct Answer {
    std::string text;
    float value;
    std::int32_t status;
  };

  /// What a query leaves in a text of `length` characters and in a number that
  /// held `before`.
  static Answer query(std::string_view key, std::int32_t length = 32, float before = -77.0F) {
    Answer answer{std::string(static_cast<std::size_t>(length), '#'), before, -9};
    vorinSQC99("Q", key.data(), answer.text.data(), &length, &answer.value, &answer.status);
    return answer;
  }

  static float number(std::string_view key) { return query(key).value; }

  /// The numeric slot of `key` itself, read-only keys included.
  static float& slot(std::string_view key) {
    return vorin::params::block().number(vorin::params::findKey(key));
  }

  /// The answered text without its trailing blanks.
  static std::string text(std::string_view key) {
    return std::string(vorin::params::trimmed(query(key, 300).text));
  }

  static std::int32_t setNumber(std::string_view key, float value) {
    std::int32_t status = -9;
    VorinSQR("S", key.data(), &value, &status);
    return status;
  }

  static std::int32_t setText(std::string_view key, std::string value) {
    const auto length = static_cast<std::int32_t>(value.size());
    std::int32_t status = -9;
    VorinSQC("S", key.data(), value.data(), &length, &status);
    return status;
  }

  static void reset() {
    float value = 0.0F;
    std::int32_t status = -9;
    VorinSQR("I", "    ", &value, &status);
    ASSERT_EQ(status, 0);
  }

  static std::string padded(std::string_view text, std::size_t width) {
    std::string field(text.substr(0, width));
    field.resize(width, ' ');
    return field;
  }

 private:
  static void restore() { vorin::params::block() = vorin::params::Block(); }
};
