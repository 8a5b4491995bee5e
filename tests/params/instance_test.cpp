// State per thread: a thread that holds an instance has a parameter block and a log of its own,
// and the process-wide ones stay as they are.
#include "toolbox/instance.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "params/log.hpp"
#include "params/store.hpp"
#include "toolbox/nrerror.hpp"
#include "vorin.h"

namespace {

using vorin::Instance;
using vorin::InstanceScope;
using vorin::params::queryReal;
using vorin::params::setReal;

class InstanceState : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("vorin_instance_" +
               std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    std::filesystem::current_path(folder_);
  }
  void TearDown() override {
    std::filesystem::current_path(folder_.parent_path());
    std::filesystem::remove_all(folder_);
  }

  /// Sets a text key of the instance in force, as a host does.
  static void setText(const char* key, std::string text) {
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t status = -1;
    VorinSQC("S", key, text.data(), &length, &status);
    ASSERT_EQ(status, 0);
  }

  static std::string content(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(InstanceState, AnInstanceBeginsWithTheLoadValuesAndLeavesTheDefaultAlone) {
  const float before = queryReal("SIG");
  setReal("SIG", 0.25F);
  {
    Instance instance;
    const InstanceScope scope(instance);
    EXPECT_EQ(queryReal("SIG"), 0.01F);
    EXPECT_EQ(queryReal("RSIG"), 1.05F);
    setReal("SIG", 7.0F);
    EXPECT_EQ(queryReal("SIG"), 7.0F);
    // The exports reach the same block.
    float value = 0.0F;
    std::int32_t status = -1;
    VorinSQR("Q", "SIG ", &value, &status);
    EXPECT_EQ(value, 7.0F);
  }
  EXPECT_EQ(queryReal("SIG"), 0.25F);
  setReal("SIG", before);
}

TEST_F(InstanceState, ScopesNestAndAnInstanceKeepsItsStateBetweenThem) {
  Instance outer;
  Instance inner;
  const InstanceScope first(outer);
  setReal("WEIG", 1.0F);
  {
    const InstanceScope second(inner);
    setReal("WEIG", 2.0F);
    {
      const InstanceScope again(outer);
      EXPECT_EQ(queryReal("WEIG"), 1.0F);
      setReal("WEIG", 3.0F);
    }
    EXPECT_EQ(queryReal("WEIG"), 2.0F);
  }
  EXPECT_EQ(queryReal("WEIG"), 3.0F);
}

TEST_F(InstanceState, EachThreadHasItsKeysItsLogAndItsFailureRecords) {
  constexpr int threadCount = 8;
  constexpr int rounds = 200;
  const float defaultWeight = queryReal("WEIG");
  std::atomic<int> wrong = 0;
  std::atomic<int> waiting = threadCount;
  std::vector<std::thread> threads;
  for (int t = 0; t < threadCount; ++t) {
    threads.emplace_back([&, t] {
      Instance instance;
      const InstanceScope scope(instance);
      const std::string tag = "THREAD" + std::to_string(t);
      setText("FLOG", tag + ".LOG");
      setReal("REPO", 2.0F);
      --waiting;
      while (waiting > 0) {
        std::this_thread::yield();
      }
      vorin::params::VorinLogOpen(true);
      for (int round = 0; round < rounds; ++round) {
        const auto value = static_cast<float>(1000 * t + round);
        setReal("WEIG", value);
        vorin::params::VorinLogLine("test", "M", tag);
        vorin::nrerror(tag);
        wrong += queryReal("WEIG") == value ? 0 : 1;
      }
      vorin::params::VorinLogOpen(false);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(queryReal("WEIG"), defaultWeight);
  EXPECT_FALSE(vorin::params::logIsOpen()) << "the process-wide log";
  for (int t = 0; t < threadCount; ++t) {
    const std::string tag = "THREAD" + std::to_string(t);
    std::istringstream lines(content(tag + ".LOG"));
    std::string line;
    for (int header = 0; header < 4; ++header) {
      ASSERT_TRUE(std::getline(lines, line)) << tag;
    }
    int count = 0;
    while (std::getline(lines, line)) {
      EXPECT_EQ(line, count % 2 == 0 ? "test::M::" + tag : " nrerror: " + tag);
      ++count;
    }
    EXPECT_EQ(count, 2 * rounds) << tag;
  }
}

TEST_F(InstanceState, TheEndOfAnInstanceClosesItsLog) {
  {
    Instance instance;
    const InstanceScope scope(instance);
    setText("FLOG", "LEFT.LOG");
    vorin::params::VorinLogOpen(true);
    vorin::params::VorinLogLine("test", "M", "last");
    EXPECT_TRUE(vorin::params::logIsOpen());
  }
  EXPECT_FALSE(vorin::params::logIsOpen());
  EXPECT_NE(content("LEFT.LOG").find("test::M::last\n"), std::string::npos);
}

}  // namespace
