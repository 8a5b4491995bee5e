// The library as a host has it that loads it by name: any number of copies, each with a
// state of its own, and an inversion whose outcome is compared bit by bit.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vorin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/problems.hpp"

namespace vorin::test {

/// A loaded library, unloaded with the object.
class Loaded {
 public:
  explicit Loaded(const std::filesystem::path& file)
      : handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(handle_, nullptr) << dlerror();
  }
  ~Loaded() { dlclose(handle_); }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  template <class Function>
  Function* find(const char* name) const {
    void* const address = dlsym(handle_, name);
    EXPECT_NE(address, nullptr) << name;
    Function* function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
  }

  void set(const char* key, float value) const {
    std::int32_t ignored = 0;
    find<decltype(VorinSQR)>("VorinSQR")("S", key, &value, &ignored);
  }
  void set(const char* key, std::string text) const {
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t ignored = 0;
    find<decltype(VorinSQC)>("VorinSQC")("S", key, text.data(), &length, &ignored);
  }
  float number(const char* key) const {
    float value = -12345.0F;
    std::int32_t ignored = 0;
    find<decltype(VorinSQR)>("VorinSQR")("Q", key, &value, &ignored);
    return value;
  }

 private:
  void* handle_;
};

/// All that an inversion answers: the distribution, the fit, the status and the results in
/// the store, as bits.
struct Answer {
  std::vector<std::uint32_t> bits;

  void add(float value) {
    std::uint32_t word = 0;
    std::memcpy(&word, &value, sizeof word);
    bits.push_back(word);
  }
  bool operator==(const Answer& other) const { return bits == other.bits; }
};

inline constexpr const char* resultKeys[] = {"CSTA", "CWEI", "CWIT", "CITE",
                                             "CSIG", "CSI2", "DSE ", "CSE "};

/// Inverts a noisy decay of `m` samples on `n` grid times through VorinyC5_s; which one is
/// told by the seed.
inline Answer invert(const Loaded& library, int m, int n, std::uint64_t seed) {
  const TestProblem<float> problem = laplaceProblem<float>(m, n, 0.01, seed);
  const auto rows = static_cast<std::size_t>(m);
  const auto columns = static_cast<std::size_t>(n);
  std::vector<float> T(rows), W(rows), G(columns), F(columns), FIT(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    T[i] = static_cast<float>(i + 1);
  }
  std::int32_t status = -1;
  library.find<decltype(VorinyC5_s)>("VorinyC5_s")(m, n, &m, &n, problem.K.data(), T.data(),
                                                   problem.d.data(), W.data(), G.data(), F.data(),
                                                   FIT.data(), &status);
  Answer answer;
  answer.bits.push_back(static_cast<std::uint32_t>(status));
  for (const std::vector<float>* part : {&F, &FIT, &W}) {
    for (const float value : *part) {
      answer.add(value);
    }
  }
  for (const char* key : resultKeys) {
    answer.add(library.number(key));
  }
  return answer;
}

}  // namespace vorin::test
