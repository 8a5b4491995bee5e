// Memory that is refused in the middle of a job ends the job alone, with the status for it and its
// sentence: a page or an interpreter goes on. Each job is repeated with every allocation refused
// from the first one on, from the second one on, and so forth. The memory of the toolkit and of the
// numerical library inside it all comes from the operators that this program replaces; that of
// OpenBLAS is its own.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "toolkit/vorin_toolkit.h"

namespace {

constexpr long unlimited = std::numeric_limits<long>::max();
std::atomic<long> granted = unlimited;  // allocations before all are refused
std::atomic<long> asked = 0;

void* allocate(std::size_t bytes, std::size_t alignment) noexcept {
  if (++asked > granted) {
    return nullptr;
  }
  // A multiple of the alignment, as the C library asks for.
  return std::aligned_alloc(alignment, (bytes / alignment + 1) * alignment);
}

void* allocateOrThrow(std::size_t bytes, std::size_t alignment) {
  if (void* const memory = allocate(bytes, alignment)) {
    return memory;
  }
  throw std::bad_alloc();
}

constexpr std::size_t plain = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

void* operator new(std::size_t bytes) {
  return allocateOrThrow(bytes, plain);
}
void* operator new[](std::size_t bytes) {
  return allocateOrThrow(bytes, plain);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
  return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
  return allocate(bytes, plain);
}
void* operator new(std::size_t bytes, std::align_val_t alignment,
                   const std::nothrow_t& /*tag*/) noexcept {
  return allocate(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*bytes*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}

namespace {

using Numbers = std::vector<double>;
using Texts = std::vector<std::pair<const char*, const char*>>;

char message[VORIN_TOOLKIT_MESSAGE_SIZE];

/// Settings that are freed at their end.
class Settings {
 public:
  explicit Settings(const Texts& texts) {
    EXPECT_EQ(vorin_settings_create(&handle_, message, sizeof message), VORIN_TOOLKIT_OK);
    for (const auto& [name, text] : texts) {
      EXPECT_EQ(vorin_settings_set_text(handle_, name, text, message, sizeof message),
                VORIN_TOOLKIT_OK)
          << message;
    }
  }
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;
  ~Settings() { vorin_settings_free(handle_); }

  const vorin_settings* get() const { return handle_; }

 private:
  vorin_settings* handle_ = nullptr;
};

using Job = std::function<std::int32_t(vorin_result**)>;

/// A job and the array of its result by which results are compared.
struct Case {
  const char* field;
  Job job;
};

Numbers arrayOf(const vorin_result* result, const char* field) {
  const double* values = nullptr;
  std::int64_t count = 0;
  EXPECT_EQ(vorin_result_array(result, field, &values, &count, message, sizeof message),
            VORIN_TOOLKIT_OK)
      << message;
  return {values, values + count};
}

Numbers resultOf(const Case& tested) {
  vorin_result* result = nullptr;
  EXPECT_EQ(tested.job(&result), VORIN_TOOLKIT_OK) << message;
  const Numbers values = result == nullptr ? Numbers{} : arrayOf(result, tested.field);
  vorin_result_free(result);
  return values;
}

/// Refuses memory from each of some allocations on, the first ones and others all over the job.
void expectRefused(const Case& tested) {
  const Numbers expected = resultOf(tested);
  ASSERT_FALSE(expected.empty());
  asked = 0;
  EXPECT_EQ(resultOf(tested), expected);
  const long all = asked;
  constexpr long firstOnes = 16;
  constexpr long others = 24;
  for (long grant = 0; grant < all; grant += grant < firstOnes ? 1 : all / others + 1) {
    vorin_result* result = nullptr;
    asked = 0;
    granted = grant;
    const std::int32_t status = tested.job(&result);
    granted = unlimited;
    if (status == VORIN_TOOLKIT_OK) {  // what it asked for last, it could do without
      EXPECT_GT(grant, all / 2);
      EXPECT_EQ(arrayOf(result, tested.field), expected) << grant << " of " << all;
      vorin_result_free(result);
      continue;
    }
    EXPECT_EQ(status, VORIN_TOOLKIT_NO_MEMORY) << grant << " of " << all << ": " << message;
    EXPECT_NE(std::string(message).find("memory"), std::string::npos) << message;
    EXPECT_EQ(result, nullptr);
  }
  EXPECT_EQ(resultOf(tested), expected);
}

/// Two exponentials at 100 times; the rounding to 1/256 serves as noise.
struct Decay {
  Numbers times;
  Numbers amplitudes;
  Decay() {
    for (int i = 1; i <= 100; ++i) {
      times.push_back(0.01 * i);
      const double curve = std::exp(-times.back() / 0.05) + std::exp(-times.back() / 0.4);
      amplitudes.push_back(std::round(curve * 256.0) / 256.0);
    }
  }
  std::int64_t samples() const { return static_cast<std::int64_t>(times.size()); }
};

void expectInversionRefused(Texts texts) {
  texts.emplace_back("grid", "10ms:2s:20");
  const Decay decay;
  const Settings settings(texts);
  expectRefused({"distribution", [&](vorin_result** result) {
                   return vorin_invert(settings.get(), decay.times.data(), decay.amplitudes.data(),
                                       nullptr, decay.samples(), result, message, sizeof message);
                 }});
}

TEST(RefusedMemory, EndsAnInversionOfPrunedSamples) {
  expectInversionRefused({});
}
TEST(RefusedMemory, EndsAnInversionOfAllSamples) {
  expectInversionRefused({{"prune", "none"}, {"noise", "0.01"}});
}
TEST(RefusedMemory, EndsASearchForTheCorner) {
  expectInversionRefused({{"weight", "corner"}});
}
TEST(RefusedMemory, EndsAnInversionOfCompressedRows) {
  expectInversionRefused({{"compress", "10,1e-5"}, {"noise", "0.01"}});
}
TEST(RefusedMemory, EndsAnInversionWithKeysOfTheLibrary) {
  expectInversionRefused({{"key.BRDA", "1"}, {"noise", "0.01"}});
}
TEST(RefusedMemory, EndsAnInversionWithStimulatedEchoes) {
  expectInversionRefused({{"kernel", "t2-epg"}, {"flip", "160"}, {"noise", "0.01"}});
}

class OfAnInversion : public testing::Test {
 protected:
  OfAnInversion() : settings_({{"grid", "10ms:2s:20"}, {"noise", "0.01"}, {"replicates", "20"}}) {
    EXPECT_EQ(vorin_invert(settings_.get(), decay_.times.data(), decay_.amplitudes.data(), nullptr,
                           decay_.samples(), &inversion_, message, sizeof message),
              VORIN_TOOLKIT_OK)
        << message;
  }
  ~OfAnInversion() override { vorin_result_free(inversion_); }

  Decay decay_;
  Settings settings_;
  vorin_result* inversion_ = nullptr;
};

TEST_F(OfAnInversion, RefusedMemoryEndsTheBootstrap) {
  expectRefused({"lower", [&](vorin_result** result) {
                   return vorin_bootstrap(inversion_, settings_.get(), nullptr, nullptr, result,
                                          message, sizeof message);
                 }});
}
TEST_F(OfAnInversion, RefusedMemoryEndsTheLCurve) {
  expectRefused({"weight", [&](vorin_result** result) {
                   return vorin_lcurve(inversion_, result, message, sizeof message);
                 }});
}
TEST_F(OfAnInversion, RefusedMemoryEndsASimulation) {
  expectRefused({"amplitude", [&](vorin_result** result) {
                   return vorin_simulate(settings_.get(), decay_.times.data(), decay_.samples(),
                                         nullptr, 0, result, message, sizeof message);
                 }});
}
TEST_F(OfAnInversion, RefusedMemoryEndsAMapOfManyDecays) {
  const Settings settings({{"grid", "10ms:2s:20"}, {"weight", "0.1"}});
  expectRefused(
      {"total", [&](vorin_result** result) {
         vorin_map* map = nullptr;
         std::int32_t status = vorin_map_create(settings.get(), decay_.times.data(),
                                                decay_.samples(), &map, message, sizeof message);
         if (status == VORIN_TOOLKIT_OK) {
           status = vorin_map_invert(map, decay_.amplitudes.data(), 8, 1, nullptr, nullptr, nullptr,
                                     nullptr, nullptr, result, message, sizeof message);
         }
         vorin_map_free(map);
         return status;
       }});
}

TEST(RefusedMemory, EndsAnInversionOverTwoAxes) {
  const Settings settings({{"kernel1", "t1-saturation"},
                           {"grid1", "10ms:2s:5"},
                           {"grid2", "10ms:2s:6"},
                           {"noise", "0.01"}});
  const Numbers times1{0.02, 0.05, 0.1, 0.2, 0.5, 1.0, 2.0};
  const Numbers times2{0.01, 0.02, 0.04, 0.08, 0.16, 0.32, 0.64, 1.28};
  Numbers samples;
  for (const double first : times1) {
    for (const double second : times2) {
      const double value = (1.0 - std::exp(-first / 0.5)) * std::exp(-second / 0.2);
      samples.push_back(std::round(value * 256.0) / 256.0);
    }
  }
  expectRefused({"distribution", [&](vorin_result** result) {
                   return vorin_invert2d(settings.get(), times1.data(), 7, times2.data(), 8,
                                         samples.data(), nullptr, nullptr, nullptr, result, message,
                                         sizeof message);
                 }});
}

TEST(RefusedMemory, EndsTheReadingOfAFile) {
  expectRefused({"amplitude", [](vorin_result** result) {
                   return vorin_read_decay(VORIN_SAMPLE_DIR "/decay.csv", nullptr, result, message,
                                           sizeof message);
                 }});
}

}  // namespace
