// Several copies of the library in one process, and one in each of several processes: each
// has a store, a log and work arrays of its own, and answers as if it were alone.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "robust/loaded.hpp"
#include "support/own_folder.hpp"

namespace {

using namespace vorin::test;
namespace fs = std::filesystem;

constexpr int instances = 4;
constexpr int rounds = 6;

/// Each instance has a shape, a log and settings that no other has.
struct Instance {
  explicit Instance(int which) : which_(which), file_("copy" + std::to_string(which) + ".so") {
    fs::copy_file(VORIN_LIBRARY, file_);
    library_ = std::make_unique<Loaded>(fs::absolute(file_));
    // The file is only needed while it is loaded; a host may clean up at once.
    fs::remove(file_);
    library_->set("FLOG", "LOG" + std::to_string(which));
    library_->set("REPO", 4.0F);
    library_->set("SVDN", static_cast<float>(which % 2 == 0 ? 0 : 10));
    library_->set("SVDT", 1e-5F);
    library_->set("WEIG", static_cast<float>(1 + which));
  }

  Answer round(int number) const {
    return invert(*library_, 100 + 40 * which_, 20 + 5 * which_,
                  static_cast<std::uint64_t>(number + 1));
  }

  const Loaded& library() const { return *library_; }

 private:
  int which_;
  std::string file_;
  std::unique_ptr<Loaded> library_;
};

using Rounds = std::array<Answer, rounds>;

Rounds allRounds(const Instance& instance) {
  Rounds answers;
  for (int i = 0; i < rounds; ++i) {
    answers[static_cast<std::size_t>(i)] = instance.round(i);
  }
  return answers;
}

/// What each instance answers when no other is loaded.
std::vector<Rounds> alone() {
  std::vector<Rounds> answers;
  for (int i = 0; i < instances; ++i) {
    const Instance instance(i);
    answers.push_back(allRounds(instance));
  }
  return answers;
}

std::vector<std::unique_ptr<Instance>> together() {
  std::vector<std::unique_ptr<Instance>> all;
  for (int i = 0; i < instances; ++i) {
    all.push_back(std::make_unique<Instance>(i));
  }
  return all;
}

TEST(Instances, EachHasAStoreOfItsOwn) {
  const OwnFolder folder;
  const auto all = together();
  for (int i = 0; i < instances; ++i) {
    EXPECT_EQ(all[static_cast<std::size_t>(i)]->library().number("WEIG"),
              static_cast<float>(1 + i));
  }
}

TEST(Instances, InTurnsInOneProcessTheyAnswerAsAlone) {
  const OwnFolder folder;
  const std::vector<Rounds> expected = alone();
  const auto all = together();
  for (int round = 0; round < rounds; ++round) {
    for (int i = 0; i < instances; ++i) {
      const auto which = static_cast<std::size_t>(i);
      EXPECT_EQ(all[which]->round(round), expected[which][static_cast<std::size_t>(round)])
          << "instance " << i << ", round " << round;
    }
  }
}

TEST(Instances, OnAThreadEachTheyAnswerAsAlone) {
  const OwnFolder folder;
  const std::vector<Rounds> expected = alone();
  const auto all = together();
  std::vector<Rounds> answers(instances);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < instances; ++i) {
    threads.emplace_back([&, i] { answers[i] = allRounds(*all[i]); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (std::size_t i = 0; i < instances; ++i) {
    EXPECT_EQ(answers[i], expected[i]) << "instance " << i;
  }
}

TEST(Instances, FourProcessesAtOnceAnswerAsOneAlone) {
  const OwnFolder folder;
  const std::vector<Rounds> expected = alone();
  std::vector<pid_t> children;
  for (int i = 0; i < instances; ++i) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      const Instance instance(i);
      const bool same = allRounds(instance) == expected[static_cast<std::size_t>(i)];
      _exit(same && !::testing::Test::HasFailure() ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int state = -1;
    ASSERT_EQ(waitpid(child, &state, 0), child);
    EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0) << state;
  }
}

}  // namespace
