// A log that can't be written costs its lines and nothing else: whatever the file system
// answers, the inversion gives the same bits and says nothing on the console.
//
// Permissions do not bind the superuser, who may run the tests; what stops everybody does it
// here: folders that don't exist, files in the place of folders, folders in the place of
// files, a device that is full, limits of the process.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include "robust/loaded.hpp"
#include "support/own_folder.hpp"

namespace {

using namespace vorin::test;
namespace fs = std::filesystem;

/// The answer with a log under `name`, of all lines and a save section.
Answer answerWithLog(const std::string& name) {
  const Loaded library(VORIN_LIBRARY);
  library.set("REPO", 4.0F);
  library.set("SAVE", 1.0F);
  library.set("FLOG", name);
  return invert(library, 200, 30, 1);
}

class LogTrouble : public ::testing::Test {
 protected:
  /// The answer while nothing is in the way; the log must have been written then.
  Answer untroubled() const {
    Answer answer = answerWithLog("GOOD");
    EXPECT_GT(fs::file_size("GOOD.log"), 10000U);
    return answer;
  }

  const OwnFolder folder_;
};

TEST_F(LogTrouble, ADiskThatIsFull) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP() << "no /dev/full here";
  }
  const Answer expected = untroubled();
  fs::create_symlink("/dev/full", "FULL.LOG");
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  const Answer answer = answerWithLog("FULL.LOG");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(answer, expected);
}

TEST_F(LogTrouble, ALogInAMissingFolder) {
  const Answer expected = untroubled();
  EXPECT_EQ(answerWithLog("MISSING/X.LOG"), expected);
  EXPECT_FALSE(fs::exists("MISSING"));
}

TEST_F(LogTrouble, ALogBelowAFileInsteadOfAFolder) {
  const Answer expected = untroubled();
  std::ofstream("FILE") << "kept";
  EXPECT_EQ(answerWithLog("FILE/X.LOG"), expected);
  EXPECT_EQ(OwnFolder::lines("FILE"), std::vector<std::string>{"kept"});
}

TEST_F(LogTrouble, ALogThatIsAFolder) {
  const Answer expected = untroubled();
  fs::create_directory("DIR.LOG");
  EXPECT_EQ(answerWithLog("DIR.LOG"), expected);
  EXPECT_TRUE(fs::is_empty("DIR.LOG"));
}

TEST_F(LogTrouble, ALinkThatLeadsNowhereOrToItself) {
  const Answer expected = untroubled();
  fs::create_symlink("MISSING/X", "NOWHERE.LOG");
  fs::create_symlink("LOOP.LOG", "LOOP.LOG");
  EXPECT_EQ(answerWithLog("NOWHERE.LOG"), expected);
  EXPECT_EQ(answerWithLog("LOOP.LOG"), expected);
}

TEST_F(LogTrouble, APipeThatNobodyReads) {
  const Answer expected = untroubled();
  ASSERT_EQ(mkfifo("PIPE.LOG", S_IRUSR | S_IWUSR), 0);
  alarm(60);  // opening it would wait for a reader
  EXPECT_EQ(answerWithLog("PIPE.LOG"), expected);
  alarm(0);
}

TEST_F(LogTrouble, ACompactSaveFileThatCannotBeMade) {
  const Answer expected = untroubled();
  fs::create_directory("DIR.LOG");
  fs::create_directory("DIR.sav");
  fs::create_directory("DIR.SAV");
  const Loaded library(VORIN_LIBRARY);
  library.set("REPO", 4.0F);
  library.set("SAVE", 2.0F);
  library.set("FLOG", "DIR.LOG");
  EXPECT_EQ(invert(library, 200, 30, 1), expected);
}

/// Whether the answer in a child process that first calls `troubles` is `expected`.
template <class Troubles>
bool sameInChild(const Answer& expected, const std::string& log, Troubles troubles) {
  const pid_t child = fork();
  if (child == 0) {
    const Loaded library(VORIN_LIBRARY);
    library.set("REPO", 4.0F);
    library.set("SAVE", 1.0F);
    library.set("FLOG", log);
    troubles();
    _exit(invert(library, 200, 30, 1) == expected ? 0 : 1);
  }
  int state = -1;
  waitpid(child, &state, 0);
  return WIFEXITED(state) && WEXITSTATUS(state) == 0;
}

TEST_F(LogTrouble, NoFileHandleLeft) {
  const Answer expected = untroubled();
  EXPECT_TRUE(sameInChild(expected, "HANDLES", [] {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
  }));
  EXPECT_FALSE(fs::exists("HANDLES.log"));
}

TEST_F(LogTrouble, ALimitOnTheSizeOfFiles) {
  const Answer expected = untroubled();
  EXPECT_TRUE(sameInChild(expected, "SHORT", [] {
    std::signal(SIGXFSZ, SIG_IGN);  // a write beyond the limit fails instead of killing
    const rlimit few{100, 100};
    setrlimit(RLIMIT_FSIZE, &few);
  }));
  EXPECT_LE(fs::file_size("SHORT.log"), 100U);
}

}  // namespace
