// The log is written anew at every opening without being cut to nothing first. What others see of
// the file is what they see of one that std::fopen opens by "w", whatever became of it, of its
// name and of its folder between two calls.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/store_fixture.hpp"
#include "support/own_folder.hpp"
#include "toolbox/instance.hpp"

namespace {

namespace fs = std::filesystem;
using namespace vorin::params;

std::string contents(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Rewrites `name` with `text` and the end of a line.
void rewrite(const std::string& name, const std::string& text) {
  std::int32_t result = -1;
  FOPEN(logUnit(), name, "UNKNOWN", result);
  EXPECT_EQ(result, 0) << name;
  writeLine(text);
  closeLogUnit();
}

/// What is left of the log `name` when its process can write nothing, or no more than `most`
/// bytes, of a text of a thousand.
std::string writtenWithin(const std::string& name, rlim_t most) {
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);  // a write beyond the limit fails instead of killing
    const rlimit limit{most, most};
    setrlimit(RLIMIT_FSIZE, &limit);
    rewrite(name, std::string(999, 'n'));
    _exit(0);
  }
  int state = -1;
  waitpid(child, &state, 0);
  EXPECT_TRUE(WIFEXITED(state));
  return contents(name);
}

class RewrittenLog : public StoreTest {
 protected:
  void TearDown() override {
    closeLogUnit();
    StoreTest::TearDown();
  }

 private:
  const vorin::test::OwnFolder folder_;
};

TEST_F(RewrittenLog, HoldsNothingOfALongerOne) {
  for (const std::size_t before : {2U, 600U, 4095U, 4096U, 4097U, 100000U}) {
    for (const std::size_t after : {0U, 1U, 599U, 5000U}) {
      rewrite("log", std::string(before, 'o'));
      rewrite("log", std::string(after, 'n'));
      EXPECT_EQ(contents("log"), std::string(after, 'n') + '\n') << before << ' ' << after;
    }
  }
}

TEST_F(RewrittenLog, IsEmptyWhereNoLineWasWritten) {
  for (const char* before : {"", "o", "old\n", "old\nlines\n"}) {
    std::ofstream("log") << before;
    std::int32_t result = -1;
    FOPEN(logUnit(), "log", "UNKNOWN", result);
    EXPECT_EQ(result, 0);
    closeLogUnit();
    EXPECT_EQ(contents("log"), "") << before;
  }
}

TEST_F(RewrittenLog, ShowsNoOldLineWhileItIsOpen) {
  rewrite("log", "old line");
  std::int32_t result = -1;
  FOPEN(logUnit(), "log", "UNKNOWN", result);
  EXPECT_LE(contents("log").size(), 1U);
  writeLine("new");
  flushLogUnit();
  EXPECT_EQ(contents("log"), "new\n");
}

TEST_F(RewrittenLog, AFileOpenedAsOldIsNotCut) {
  std::ofstream("log") << "old line\n";
  std::int32_t result = -1;
  FOPEN(logUnit(), "log", "OLD", result);
  closeLogUnit();
  EXPECT_EQ(contents("log"), "old line\n");
  FOPEN(logUnit(), "log", "APPEND", result);
  closeLogUnit();
  EXPECT_EQ(contents("log"), "old line\n");
}

TEST_F(RewrittenLog, StaysTheSameFile) {
  rewrite("log", "old");
  fs::permissions("log", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_hard_link("log", "linked");
  fs::create_symlink("log", "pointer");
  rewrite("log", "new");
  EXPECT_EQ(contents("linked"), "new\n");
  rewrite("pointer", "newer");
  EXPECT_EQ(contents("linked"), "newer\n");
  EXPECT_TRUE(fs::is_symlink("pointer"));
  EXPECT_EQ(fs::status("log").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(RewrittenLog, IsCreatedAsTheUmaskAllows) {
  rewrite("log", "new");
  std::fclose(std::fopen("other", "w"));
  EXPECT_EQ(fs::status("log").permissions(), fs::status("other").permissions());
}

// ---- between two calls ------------------------------------------------------------

TEST_F(RewrittenLog, IsMadeAnewWhereItWasRemovedOrRenamed) {
  rewrite("log", "first");
  fs::remove("log");
  rewrite("log", "second");
  EXPECT_EQ(contents("log"), "second\n");
  fs::rename("log", "kept");
  rewrite("log", "third");
  EXPECT_EQ(contents("kept"), "second\n");
  EXPECT_EQ(contents("log"), "third\n");
}

TEST_F(RewrittenLog, ReturnsWithItsFolder) {
  fs::create_directory("folder");
  rewrite("folder/log", "first");
  fs::rename("folder", "moved");
  std::int32_t result = -1;
  FOPEN(logUnit(), "folder/log", "UNKNOWN", result);
  EXPECT_NE(result, 0);
  EXPECT_FALSE(logIsOpen());
  EXPECT_EQ(contents("moved/log"), "first\n");
  fs::create_directory("folder");
  rewrite("folder/log", "second");
  EXPECT_EQ(contents("folder/log"), "second\n");
  EXPECT_EQ(contents("moved/log"), "first\n");
}

/// What FOPEN answers for the log `name` in a process that permissions bind.
std::int32_t openedWithoutPrivileges(const std::string& name) {
  const pid_t child = fork();
  if (child == 0) {
    constexpr uid_t nobody = 65534;
    const bool bound = geteuid() != 0 || setuid(nobody) == 0;
    std::int32_t result = -1;
    FOPEN(logUnit(), name, "UNKNOWN", result);
    writeLine("new");
    closeLogUnit();
    _exit(bound ? result : -1);
  }
  int state = -1;
  waitpid(child, &state, 0);
  return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

TEST_F(RewrittenLog, AFileThatMayNotBeWrittenStays) {
  rewrite("log", "old");
  fs::permissions("log", fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  EXPECT_EQ(openedWithoutPrivileges("log"), 1);
  EXPECT_EQ(contents("log"), "old\n");
}

TEST_F(RewrittenLog, AFolderThatTakesNoFilesStillHasTheLog) {
  fs::create_directory("folder");
  rewrite("folder/log", "old");
  fs::permissions("folder/log", fs::perms::all);
  constexpr auto noWriting = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  fs::permissions("folder", noWriting);
  EXPECT_EQ(openedWithoutPrivileges("folder/log"), 0);
  EXPECT_EQ(contents("folder/log"), "new\n");
  EXPECT_EQ(openedWithoutPrivileges("folder/other"), 1);
  fs::permissions("folder", fs::perms::owner_all);
  EXPECT_FALSE(fs::exists("folder/other"));
}

TEST_F(RewrittenLog, AFullDiskLeavesNoOldLine) {
  for (const rlim_t most : {0U, 1U, 100U}) {
    rewrite("log", "old line");
    EXPECT_EQ(writtenWithin("log", most), std::string(most, 'n')) << most;
    fs::remove("log");
    EXPECT_EQ(writtenWithin("log", most), std::string(most, 'n')) << "new file, " << most;
  }
}

// ---- other readers and writers -----------------------------------------------------

TEST_F(RewrittenLog, APipeTakesTheLines) {
  ASSERT_EQ(mkfifo("log", S_IRUSR | S_IWUSR), 0);
  const int reader = open("log", O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  rewrite("log", "through a pipe");
  std::array<char, 100> text{};
  const ssize_t count = read(reader, text.data(), text.size());
  EXPECT_EQ(std::string(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0),
            "through a pipe\n");
  close(reader);
}

/// Two instances, which share nothing but the name, with one log; or two streams by "w".
template <class First, class Second>
void writeInTurn(First&& first, Second&& second) {
  first.open();
  first.write("the first line of the first writer");
  first.flush();
  second.open();
  second.write("second");
  first.write("again the first");
  first.close();
  second.close();
}

class LogWriter {
 public:
  void open() {
    const vorin::InstanceScope scope(instance_);
    std::int32_t result = -1;
    FOPEN(logUnit(), "by units", "UNKNOWN", result);
  }
  void write(const std::string& text) {
    const vorin::InstanceScope scope(instance_);
    writeLine(text);
  }
  void flush() {
    const vorin::InstanceScope scope(instance_);
    flushLogUnit();
  }
  void close() {
    const vorin::InstanceScope scope(instance_);
    closeLogUnit();
  }

 private:
  vorin::Instance instance_;
};

class StreamWriter {
 public:
  void open() { file_ = std::fopen("by streams", "w"); }
  void write(const std::string& text) { std::fputs((text + '\n').c_str(), file_); }
  void flush() { std::fflush(file_); }
  void close() { std::fclose(file_); }

 private:
  std::FILE* file_ = nullptr;
};

TEST_F(RewrittenLog, TwoWritersLeaveWhatTwoStreamsLeave) {
  rewrite("by units", std::string(300, 'o'));
  writeInTurn(LogWriter(), LogWriter());
  writeInTurn(StreamWriter(), StreamWriter());
  EXPECT_EQ(contents("by units"), contents("by streams"));
  EXPECT_EQ(contents("by units").substr(0, 7), "second\n");
}

}  // namespace
