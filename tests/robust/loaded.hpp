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
#include <iterator>
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

/// A noisy decay of `m` samples on `n` grid times, and room for all that an inversion of it
/// answers, so that the call itself is all that asks for memory. The seed tells which decay it is.
class Request {
 public:
  Request(int m, int n, std::uint64_t seed)
      : m_(m),
        n_(n),
        problem_(laplaceProblem<float>(m, n, 0.01, seed)),
        T_(static_cast<std::size_t>(m)),
        W_(T_.size()),
        G_(static_cast<std::size_t>(n)),
        F_(G_.size()),
        FIT_(T_.size()) {
    for (std::size_t i = 0; i < T_.size(); ++i) {
      T_[i] = static_cast<float>(i + 1);
    }
    answer_.bits.reserve(1 + F_.size() + FIT_.size() + W_.size() + std::size(resultKeys));
  }

  /// Inverts it through VorinyC5_s of `library`; once.
  const Answer& through(const Loaded& library) {
    std::int32_t status = -1;
    library.find<decltype(VorinyC5_s)>("VorinyC5_s")(m_, n_, &m_, &n_, problem_.K.data(), T_.data(),
                                                     problem_.d.data(), W_.data(), G_.data(),
                                                     F_.data(), FIT_.data(), &status);
    answer_.bits.push_back(static_cast<std::uint32_t>(status));
    for (const std::vector<float>* part : {&F_, &FIT_, &W_}) {
      for (const float value : *part) {
        answer_.add(value);
      }
    }
    for (const char* key : resultKeys) {
      answer_.add(library.number(key));
    }
    return answer_;
  }

 private:
  int m_;
  int n_;
  TestProblem<float> problem_;
  std::vector<float> T_, W_, G_, F_, FIT_;
  Answer answer_;
};

inline Answer invert(const Loaded& library, int m, int n, std::uint64_t seed) {
  return Request(m, n, seed).through(library);
}

}  // namespace vorin::test
