// Settings of the parameter block for one test: reset to load values' equivalents
// before, so that tests do not depend on their order.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "vorin.h"

namespace vorin::test {

inline std::string paddedKey(const std::string& key) {
  return (key + "    ").substr(0, 4);
}

inline void setNumber(const std::string& key, float value) {
  std::int32_t status = -1;
  VorinSQR("S", paddedKey(key).c_str(), &value, &status);
}

inline float getNumber(const std::string& key) {
  float value = -12345.0f;
  std::int32_t status = -1;
  VorinSQR("Q", paddedKey(key).c_str(), &value, &status);
  return value;
}

inline void setText(const std::string& key, const std::string& text) {
  std::string copy = text;
  const auto length = static_cast<std::int32_t>(copy.size());
  std::int32_t status = -1;
  VorinSQC("S", paddedKey(key).c_str(), copy.data(), &length, &status);
}

inline std::string getText(const std::string& key) {
  std::string text(256, ' ');
  const auto length = static_cast<std::int32_t>(text.size());
  std::int32_t status = -1;
  VorinSQC("Q", paddedKey(key).c_str(), text.data(), &length, &status);
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Every key that an inversion reads, at its load value. The load texts of NALG ("U")
/// and PRMO ("LOG") are reached as a host reaches them; NALG's becomes the reset text.
inline void loadSettings() {
  std::int32_t status = -1;
  float unused = 0.0f;
  VorinSQR("I", "    ", &unused, &status);
  setNumber("REPO", 1.0f);
  setNumber("SAVE", 0.0f);
  setNumber("SVDT", 999.0f);
  setNumber("SVDN", 0.0f);
  setNumber("RSIG", 1.05f);
  setNumber("RWEI", 0.1f);
  setNumber("WREF", 1.0f);
  setNumber("WMIN", 1e-30f);
  setNumber("WMAX", 1e30f);
  setNumber("WNMI", 1e-30f);
  setNumber("WNMA", 1e30f);
  setNumber("STOL", 0.005f);
  setNumber("L1AL", 0.05f);
  setNumber("L2MO", 0.0f);
  setNumber("L2NS", 3.0f);
  setNumber("BRDA", 2.0f);
  setText("PRMO", "LOG");
  setText("TARG", "NOISE");
}

}  // namespace vorin::test
