// The sentence with which a file of decays is refused.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "toolkit/reading/decay_file.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit::test {

/// "read" where it is not refused.
inline std::string refusal(const std::filesystem::path& path, const DecayFormat& format = {}) {
  try {
    readDecays(path, format);
  } catch (const UserError& error) {
    return error.what();
  }
  return "read";
}

/// The sentence holds `part`.
inline void expectRefusal(const std::filesystem::path& path, const std::string& part,
                          const DecayFormat& format = {}) {
  const std::string sentence = refusal(path, format);
  EXPECT_NE(sentence.find(part), std::string::npos) << sentence;
}

}  // namespace vorin::toolkit::test
