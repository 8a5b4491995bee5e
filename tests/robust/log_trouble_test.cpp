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

#if defined(__linux__)
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

#include <cerrno>
#include <csignal>
#include <cstddef>
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

constexpr int noFilter = 2;  ///< how a child ends that can't set up its trouble

/// How a child process ends that first calls `troubles`: 0 where its answer is `expected`.
template <class Troubles>
int endOfChild(const Answer& expected, const std::string& log, Troubles troubles) {
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
  return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

template <class Troubles>
bool sameInChild(const Answer& expected, const std::string& log, Troubles troubles) {
  return endOfChild(expected, log, troubles) == 0;
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

#if defined(__linux__)
/// From now on the system answers `call` with `error` for all files but the console's.
void failCalls(long call, int error) {
  constexpr auto whichCall = static_cast<std::uint32_t>(offsetof(seccomp_data, nr));
  constexpr auto firstArgument = static_cast<std::uint32_t>(offsetof(seccomp_data, args));
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, whichCall),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, firstArgument),  // AT_FDCWD, for openat
      BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, STDERR_FILENO, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog filter{std::size(program), program};
  const bool isSet = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                     prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
  if (!isSet) {
    _exit(noFilter);
  }
}

/// What the system answers to a call for a file on a drive that has gone away.
TEST_F(LogTrouble, ANetworkDriveThatFails) {
  const Answer expected = untroubled();
  for (const long call : {SYS_openat, SYS_fcntl, SYS_fstat, SYS_newfstatat, SYS_ftruncate,
                          SYS_lseek, SYS_write, SYS_close}) {
    for (const int error : {EIO, ESTALE, ETIMEDOUT, EHOSTDOWN, ENOTCONN}) {
      // Each writes over the log of the one before.
      const int ending = endOfChild(expected, "DRIVE", [&] { failCalls(call, error); });
      if (ending == noFilter) {
        GTEST_SKIP() << "no filters of system calls here";
      }
      EXPECT_EQ(ending, 0) << call << ": " << error;
    }
  }
  // The last ones only failed to close it.
  EXPECT_GT(fs::file_size("DRIVE.log"), 10000U);
  EXPECT_TRUE(sameInChild(expected, "NEVER", [] { failCalls(SYS_openat, EHOSTDOWN); }));
  EXPECT_FALSE(fs::exists("NEVER.log"));
  EXPECT_TRUE(sameInChild(expected, "EMPTY", [] { failCalls(SYS_write, ESTALE); }));
  EXPECT_EQ(fs::file_size("EMPTY.log"), 0U);
}
#endif

}  // namespace
