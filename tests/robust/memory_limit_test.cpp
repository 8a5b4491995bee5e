// Memory that can't be had: the call never comes back with a wrong answer and never hangs;
// the process ends by std::terminate on std::bad_alloc, after a terminate handler of the
// host's. With enough memory the answer is that without a limit.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include "robust/loaded.hpp"
#include "support/own_folder.hpp"

namespace {

using namespace vorin::test;

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

/// An inversion of m samples on n grid times, for which `tooLittle` more bytes of address space do
/// not suffice and `enough` do.
struct Case {
  int m;
  int n;
  std::size_t tooLittle;
  std::size_t enough;
};
#if defined(VORIN_OPENBLAS)
constexpr Case tested{300, 50, 8 * mebibyte, 320 * mebibyte};  // a buffer of OpenBLAS has 128 MiB
#else
constexpr Case tested{1500, 200, mebibyte * 3 / 4, 4 * mebibyte};
#endif

std::size_t addressSpaceInUse() {
  std::ifstream status("/proc/self/statm");
  std::size_t pages = 0;
  status >> pages;
  return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

struct Ending {
  int exitStatus = -1;  ///< -1 when a signal ended the process
  int signal = 0;
  std::string said;  ///< on standard error
};

constexpr int wrongAnswer = 3;
constexpr int handlerRan = 4;

// Inverts in a child whose address space may grow by `room` bytes from where it stands after
// the library is loaded. A call that hangs is ended by the alarm.
Ending invertWithin(std::size_t room, const Answer& expected, bool withHandler) {
  std::array<int, 2> channel{};
  EXPECT_EQ(pipe(channel.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    dup2(channel[1], STDERR_FILENO);
    close(channel[0]);
    const Loaded library(VORIN_LIBRARY);
    library.set("SVDN", 10.0F);
    library.set("SVDT", 1e-5F);
    if (withHandler) {
      std::set_terminate([] { _exit(handlerRan); });
    }
    alarm(120);
    Request request(tested.m, tested.n, 1);
    malloc_trim(0);
    const std::size_t limit = addressSpaceInUse() + room;
    const rlimit both{limit, limit};
    setrlimit(RLIMIT_AS, &both);
    _exit(request.through(library) == expected ? 0 : wrongAnswer);
  }
  close(channel[1]);
  Ending ending;
  std::array<char, 256> part{};
  for (ssize_t got = 0; (got = read(channel[0], part.data(), part.size())) > 0;) {
    ending.said.append(part.data(), static_cast<std::size_t>(got));
  }
  close(channel[0]);
  int state = 0;
  waitpid(child, &state, 0);
  ending.exitStatus = WIFEXITED(state) ? WEXITSTATUS(state) : -1;
  ending.signal = WIFSIGNALED(state) ? WTERMSIG(state) : 0;
  return ending;
}

Answer withoutLimit() {
  // Arrays go back to the system when they are freed, so that none serves the next inversion, which
  // would then ask for no memory. The C library else keeps those of the sizes that it has seen.
  constexpr int mappedFrom = 1 << 16;
  mallopt(M_MMAP_THRESHOLD, mappedFrom);
  const Loaded library(VORIN_LIBRARY);
  library.set("SVDN", 10.0F);
  library.set("SVDT", 1e-5F);
  return invert(library, tested.m, tested.n, 1);
}

TEST(MemoryLimit, TheProcessEndsByTerminateAndNamesTheReason) {
  const OwnFolder folder;
  const Ending ending = invertWithin(tested.tooLittle, withoutLimit(), false);
  EXPECT_EQ(ending.signal, SIGABRT);
  EXPECT_NE(ending.said.find("std::bad_alloc"), std::string::npos) << ending.said;
}

TEST(MemoryLimit, ATerminateHandlerOfTheHostIsCalled) {
  const OwnFolder folder;
  const Ending ending = invertWithin(tested.tooLittle, withoutLimit(), true);
  EXPECT_EQ(ending.exitStatus, handlerRan);
  EXPECT_EQ(ending.said, "");
}

TEST(MemoryLimit, EveryAmountEndsEitherWayAndNoneHangsOrAnswersWrong) {
  const OwnFolder folder;
  const Answer expected = withoutLimit();
  int answered = 0;
  int refused = 0;
  for (std::size_t room = 0; room <= tested.enough; room += tested.enough / 20) {
    const Ending ending = invertWithin(room, expected, false);
    const bool ended = ending.signal == SIGABRT;
    EXPECT_TRUE(ended || ending.exitStatus == 0)
        << room << " bytes: exit status " << ending.exitStatus << ", signal " << ending.signal;
    ++(ended ? refused : answered);
  }
  EXPECT_GT(refused, 0);
  EXPECT_GT(answered, 0);
}

}  // namespace
