// Jobs in threads give the bits of the same jobs one after the other, leave nothing behind, and
// cost little memory each.
#include <fmt/format.h>
#include <gtest/gtest.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/sanitizers.hpp"
#include "toolbox/instance.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/vorin_toolkit.h"

namespace {

constexpr int sampleCount = 24;
constexpr int pointCount = 16;
#if VORIN_UNDER_THREAD_SANITIZER
constexpr int decayCount = 300;
#elif VORIN_UNDER_ADDRESS_SANITIZER
constexpr int decayCount = 1000;
#else
constexpr int decayCount = 10000;
#endif

struct Decays {
  std::vector<double> t;
  std::vector<std::vector<double>> y;
};

const Decays& theDecays() {
  static const Decays decays = [] {
    Decays made;
    for (int i = 0; i < sampleCount; ++i) {
      made.t.push_back(2e-3 * (i + 1));
    }
    std::mt19937_64 engine(7);
    std::normal_distribution<double> noise(0.0, 0.01);
    for (int k = 0; k < decayCount; ++k) {
      std::vector<double> y;
      for (const double t : made.t) {
        y.push_back(std::exp(-t / (0.005 + 1e-6 * k)) + noise(engine));
      }
      made.y.push_back(std::move(y));
    }
    return made;
  }();
  return decays;
}

/// Settings of kind `which`: a weight by the noise, one given with compressed rows, the corner.
vorin_settings* settingsOf(int which) {
  vorin_settings* settings = nullptr;
  EXPECT_EQ(vorin_settings_create(&settings, nullptr, 0), VORIN_TOOLKIT_OK);
  const std::string grid = fmt::format("1ms:0.2s:{}", pointCount);
  EXPECT_EQ(vorin_settings_set_text(settings, "grid", grid.c_str(), nullptr, 0), 0);
  if (which == 0) {
    EXPECT_EQ(vorin_settings_set_number(settings, "noise", 0.01, nullptr, 0), 0);
  } else if (which == 1) {
    EXPECT_EQ(vorin_settings_set_number(settings, "weight", 0.01, nullptr, 0), 0);
    EXPECT_EQ(vorin_settings_set_text(settings, "compress", "10", nullptr, 0), 0);
  } else {
    EXPECT_EQ(vorin_settings_set_text(settings, "weight", "corner", nullptr, 0), 0);
  }
  return settings;
}

std::vector<double> distributionOf(const vorin_settings* settings, const std::vector<double>& y) {
  vorin_result* result = nullptr;
  std::string message(VORIN_TOOLKIT_MESSAGE_SIZE, '\0');
  const int status = vorin_invert(settings, theDecays().t.data(), y.data(), nullptr, sampleCount,
                                  &result, message.data(), static_cast<int64_t>(message.size()));
  EXPECT_EQ(status, VORIN_TOOLKIT_OK) << message;
  const double* values = nullptr;
  int64_t count = 0;
  EXPECT_EQ(vorin_result_array(result, "distribution", &values, &count, nullptr, 0), 0);
  std::vector<double> copy(values, values + count);
  vorin_result_free(result);
  return copy;
}

/// All decays, decay k with settings k modulo 3 that all threads share, on `threads` threads.
std::vector<std::vector<double>> invertAll(int threads) {
  vorin_settings* const settings[3] = {settingsOf(0), settingsOf(1), settingsOf(2)};
  std::vector<std::vector<double>> found(decayCount);
  std::atomic<int> next = 0;
  const std::function<void()> work = [&] {
    for (int k = next++; k < decayCount; k = next++) {
      const auto place = static_cast<std::size_t>(k);
      found[place] = distributionOf(settings[k % 3], theDecays().y[place]);
    }
  };
  {
    std::vector<std::jthread> others;
    for (int i = 1; i < threads; ++i) {
      others.emplace_back(work);
    }
    work();
  }
  for (vorin_settings* one : settings) {
    vorin_settings_free(one);
  }
  return found;
}

TEST(Threads, ManyDecaysGiveTheBitsOfOneAfterTheOther) {
  const auto alone = invertAll(1);
  EXPECT_NE(alone[0], alone[3]);
  EXPECT_EQ(alone, invertAll(2));
  EXPECT_EQ(alone, invertAll(8));
}

/// The first decay, inverted.
vorin_result* firstInversion(const vorin_settings* settings) {
  vorin_result* inversion = nullptr;
  EXPECT_EQ(vorin_invert(settings, theDecays().t.data(), theDecays().y[0].data(), nullptr,
                         sampleCount, &inversion, nullptr, 0),
            VORIN_TOOLKIT_OK);
  return inversion;
}

TEST(Threads, ABootstrapDoesNotDependOnTheCountOfThreads) {
  vorin_settings* const settings = settingsOf(0);
  vorin_result* const inversion = firstInversion(settings);
  std::vector<std::vector<double>> bands;
  for (const double threads : {1.0, 2.0, 7.0}) {
    ASSERT_EQ(vorin_settings_set_number(settings, "threads", threads, nullptr, 0), 0);
    vorin_result* band = nullptr;
    ASSERT_EQ(vorin_bootstrap(inversion, settings, nullptr, nullptr, &band, nullptr, 0), 0);
    const double* upper = nullptr;
    int64_t count = 0;
    ASSERT_EQ(vorin_result_array(band, "upper", &upper, &count, nullptr, 0), 0);
    bands.emplace_back(upper, upper + count);
    vorin_result_free(band);
  }
  EXPECT_EQ(bands[0], bands[1]);
  EXPECT_EQ(bands[0], bands[2]);
  vorin_result_free(inversion);
  vorin_settings_free(settings);
}

/// The log means of a map of `voxels` decays, one behind the other, on `threads` threads.
std::vector<double> mapOf(const std::vector<double>& samples, int64_t voxels, double threads) {
  vorin_settings* settings = settingsOf(0);
  EXPECT_EQ(vorin_settings_set_number(settings, "threads", threads, nullptr, 0), VORIN_TOOLKIT_OK);
  vorin_map* map = nullptr;
  EXPECT_EQ(vorin_map_create(settings, theDecays().t.data(), sampleCount, &map, nullptr, 0),
            VORIN_TOOLKIT_OK);
  vorin_result* result = nullptr;
  EXPECT_EQ(vorin_map_invert(map, samples.data(), 8, voxels, nullptr, nullptr, nullptr, nullptr,
                             nullptr, &result, nullptr, 0),
            VORIN_TOOLKIT_OK);
  const double* values = nullptr;
  int64_t count = 0;
  EXPECT_EQ(vorin_result_array(result, "log_mean", &values, &count, nullptr, 0), VORIN_TOOLKIT_OK);
  std::vector<double> found(values, values + count);
  vorin_result_free(result);
  vorin_map_free(map);
  vorin_settings_free(settings);
  return found;
}

TEST(Threads, AMapDoesNotDependOnTheCountOfThreads) {
  constexpr int64_t voxels = 160;
  std::vector<double> samples;
  for (std::size_t k = 0; k < voxels; ++k) {
    const std::vector<double>& y = theDecays().y[k];
    samples.insert(samples.end(), y.begin(), y.end());
  }
  const std::vector<double> alone = mapOf(samples, voxels, 1.0);
  EXPECT_EQ(alone.size(), static_cast<std::size_t>(voxels));
  EXPECT_EQ(mapOf(samples, voxels, 2.0), alone);
  EXPECT_EQ(mapOf(samples, voxels, 8.0), alone);
}

#ifdef __linux__
std::ptrdiff_t threadsOfTheProcess() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST(Threads, AJobStartsNoneUnlessItIsToldTo) {
  vorin_settings* const settings = settingsOf(0);
  vorin_result* const inversion = firstInversion(settings);
  const std::ptrdiff_t before = threadsOfTheProcess();
  const auto seenIn = [&] {
    std::ptrdiff_t most = 0;
    const auto look = [](void* user, int64_t, int64_t) {
      auto& seen = *static_cast<std::ptrdiff_t*>(user);
      seen = std::max(seen, threadsOfTheProcess());
      return int32_t{0};
    };
    vorin_result* band = nullptr;
    EXPECT_EQ(vorin_bootstrap(inversion, settings, look, &most, &band, nullptr, 0), 0);
    vorin_result_free(band);
    return most;
  };
  EXPECT_EQ(seenIn(), before);
  EXPECT_EQ(vorin_settings_set_number(settings, "threads", 2.0, nullptr, 0), VORIN_TOOLKIT_OK);
  EXPECT_GT(seenIn(), before);
  vorin_result_free(inversion);
  vorin_settings_free(settings);
}
#endif

TEST(Threads, AJobLeavesNoLog) {
  const auto before = std::filesystem::exists("Vorin.log");
  ASSERT_FALSE(before) << "left by something else";
  vorin_settings* const settings = settingsOf(0);
  (void)distributionOf(settings, theDecays().y[0]);
  vorin_settings_free(settings);
  EXPECT_FALSE(std::filesystem::exists("Vorin.log"));
}

// Only this C library says how much is allocated.
#if defined(__GLIBC__) && !VORIN_UNDER_THREAD_SANITIZER && !VORIN_UNDER_ADDRESS_SANITIZER
TEST(Threads, AnInstanceCostsLessThanTwoMegabytes) {
  const vorin::toolkit::Decay decay{theDecays().t, theDecays().y[0]};
  vorin::toolkit::InversionSettings settings;
  settings.grid = {0.002, 0.005, 0.01, 0.02, 0.05};
  settings.noise = 0.01;
  settings.compression = vorin::toolkit::Compression{};
  std::size_t each = 0;
  // On a thread of its own: blocks that other tests have freed wait with the thread that did, count
  // as used, and would be used again.
  std::thread([&] {
    const std::size_t before = mallinfo2().uordblks;
    std::vector<vorin::Instance> instances(16);
    for (vorin::Instance& instance : instances) {
      instance.logFile = "";
      const vorin::InstanceScope scope(instance);
      // A driver that keeps its arrays, of which those of this problem are a few thousand bytes.
      vorin::toolkit::setKeys(settings);
      vorin::toolkit::setNoise(0.01);
      const vorin::toolkit::Problem problem(decay, settings);
      EXPECT_EQ(problem.solve(problem.data()).F.size(), settings.grid.size());
    }
    each = (mallinfo2().uordblks - before) / instances.size();
  }).join();
  RecordProperty("bytes", std::to_string(each));
  std::cout << "an instance takes " << each << " bytes\n";
  EXPECT_GT(each, 1000U);
  EXPECT_LT(each, 2U * 1024U * 1024U);
}
#endif

}  // namespace
