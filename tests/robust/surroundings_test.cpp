// Jobs in programs that have set up their process in ways of their own: floating-point modes,
// locales, small stacks, signals, forks, libraries that come and go. Each answers as in a plain
// one, and the program finds its surroundings as it left them.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <locale>
#include <string>
#include <thread>
#include <vector>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

#include "robust/loaded.hpp"
#include "robust/toolkit_jobs.hpp"
#include "support/own_folder.hpp"
#include "support/sanitizers.hpp"

namespace {

namespace fs = std::filesystem;
using vorin::test::Answer;
using vorin::test::Job;
using vorin::test::JobAnswer;
using vorin::test::jobs;
using vorin::test::Loaded;
using vorin::test::OwnFolder;

/// What all jobs and some inversions by the exports answer.
struct Answers {
  std::vector<JobAnswer> jobs;
  std::vector<Answer> inversions;
  std::ptrdiff_t logLines = 0;  ///< of which some have the time of day

  bool operator==(const Answers& other) const {
    return jobs == other.jobs && inversions == other.inversions && logLines == other.logLines;
  }
};

const Loaded& numericalLibrary() {
  static const Loaded library(VORIN_LIBRARY);
  return library;
}

/// An inversion by the exports, of data that are computed once.
Answer inverted(const Loaded& library, float rows) {
  static const auto problem = vorin::test::laplaceProblem<float>(60, 12, 0.01, 3);
  library.set("REPO", 4.0F);
  library.set("SVDN", rows);
  library.set("SVDT", 1e-5F);
  std::vector<float> F(static_cast<std::size_t>(problem.n));
  std::int32_t status = -1;
  library.find<decltype(VorinC5_s)>("VorinC5_s")(problem.m, problem.n, problem.K.data(),
                                                 problem.d.data(), F.data(), &status);
  Answer answer;
  answer.bits.push_back(static_cast<std::uint32_t>(status));
  for (const float value : F) {
    answer.add(value);
  }
  for (const char* key : vorin::test::resultKeys) {
    answer.add(library.number(key));
  }
  return answer;
}

Answers allAnswers() {
  vorin::test::writeJobFile();
  Answers answers;
  for (const Job& job : jobs()) {
    answers.jobs.push_back(job.run());
    EXPECT_EQ(answers.jobs.back().status, VORIN_TOOLKIT_OK)
        << job.name << ": " << answers.jobs.back().sentence;
  }
  const Loaded& library = numericalLibrary();
  for (const float rows : {0.0F, 10.0F}) {
    library.set("FLOG", "EXPORTS");
    answers.inversions.push_back(inverted(library, rows));
  }
  std::ifstream log("EXPORTS.log", std::ios::binary);
  answers.logLines = std::count(std::istreambuf_iterator<char>(log), {}, '\n');
  return answers;
}

class Surroundings : public testing::Test {
 protected:
  const OwnFolder folder_;
  const Answers plain_ = allAnswers();
};

TEST_F(Surroundings, AreThoseOfAPlainProgramWithTheSameAnswers) {
  EXPECT_EQ(allAnswers(), plain_);
  EXPECT_GT(plain_.logLines, 10);
}

#if defined(__SSE2__)
TEST_F(Surroundings, FlushToZeroAndDenormalsAreZero) {
  constexpr unsigned bothBits = 0x8040U;
  const unsigned before = _mm_getcsr();
  _mm_setcsr(before | bothBits);
  const Answers answers = allAnswers();
  const unsigned after = _mm_getcsr();
  _mm_setcsr(before);
  EXPECT_EQ(after & bothBits, bothBits);
  EXPECT_EQ(answers, plain_);
}
#endif

TEST_F(Surroundings, OtherRoundingModes) {
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    ASSERT_EQ(std::fesetround(mode), 0);
    const Answers answers = allAnswers();
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(after, mode);
    EXPECT_EQ(answers, plain_) << mode;
  }
}

#if defined(__GLIBC__)
TEST_F(Surroundings, TrapsOfFloatingPointExceptions) {
  constexpr int traps = FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW | FE_UNDERFLOW | FE_INEXACT;
  // The child ends by a signal where a trap is sprung.
  const pid_t child = fork();
  if (child == 0) {
    std::feclearexcept(FE_ALL_EXCEPT);  // those of before would spring at once
    feenableexcept(traps);
    const bool same = allAnswers() == plain_ && fegetexcept() == traps;
    fedisableexcept(traps);
    _exit(same ? 0 : 1);
  }
  int state = -1;
  waitpid(child, &state, 0);
  EXPECT_FALSE(WIFSIGNALED(state)) << WTERMSIG(state);
  EXPECT_EQ(WEXITSTATUS(state), 0);
}
#endif

/// Numbers as in Germany or Turkey, on the streams of C++.
class Commas : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(Surroundings, ALocaleOfStreamsWithCommas) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Commas));
  const Answers answers = allAnswers();
  std::locale::global(before);
  EXPECT_EQ(answers, plain_);
}

TEST_F(Surroundings, LocalesOfTheProcess) {
  setenv("LOCPATH", fs::current_path().c_str(), 1);
  int tested = 0;
  // One byte a character: then the Turkish letters are other ones in capitals, too.
  for (const std::string name : {"de_DE", "tr_TR"}) {
    const std::string locale = name + ".ISO-8859-9";
    const std::string make =
        "localedef -i " + name + " -f ISO-8859-9 ./" + locale + " >localedef.txt 2>&1";
    // An exit status of 1 is for warnings.
    if (std::system(make.c_str()) < 0 || std::setlocale(LC_ALL, locale.c_str()) == nullptr) {
      continue;
    }
    EXPECT_EQ(std::string(std::localeconv()->decimal_point), ",");
    const Answers answers = allAnswers();
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(answers, plain_) << locale;
    ++tested;
  }
  unsetenv("LOCPATH");
  if (tested == 0) {
    GTEST_SKIP() << "localedef makes no locales here";
  }
}

#if !VORIN_UNDER_ADDRESS_SANITIZER && !VORIN_UNDER_THREAD_SANITIZER
TEST_F(Surroundings, AStackOf128Kilobytes) {
  constexpr std::size_t stack = 128 * 1024;
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack), 0);
  Answers answers;
  pthread_t thread{};
  const auto work = [](void* place) -> void* {
    *static_cast<Answers*>(place) = allAnswers();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, work, &answers), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(answers, plain_);
}
#endif

TEST_F(Surroundings, AForkWhileJobsRun) {
  if (VORIN_UNDER_ADDRESS_SANITIZER) {
    GTEST_SKIP() << "clang 14's AddressSanitizer forks with its allocator's locks as they are";
  }
  std::atomic<bool> stop = false;
  std::vector<std::jthread> others;
  for (int i = 0; i < 2; ++i) {
    others.emplace_back([&] {
      while (!stop) {
        jobs()[0].run();
        jobs()[1].run();
      }
    });
  }
  constexpr int forks = 20;
  for (int i = 0; i < forks; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);  // a lock that nobody opens any more would be waited for without end
      const bool same = jobs()[0].run() == plain_.jobs[0] && jobs()[2].run() == plain_.jobs[2];
      _exit(same ? 0 : 1);
    }
    int state = -1;
    waitpid(child, &state, 0);
    EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0) << state;
  }
  stop = true;
}

TEST_F(Surroundings, SignalsThatInterruptSystemCalls) {
  static std::atomic<int> came = 0;
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) { ++came; };  // without SA_RESTART
  sigaction(SIGALRM, &action, &before);
  constexpr int microseconds = 300;
  const itimerval often{{0, microseconds}, {0, microseconds}};
  setitimer(ITIMER_REAL, &often, nullptr);
  const Answers answers = allAnswers();
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
  EXPECT_GT(came, 3);
  EXPECT_EQ(answers, plain_);
}

std::size_t mappings() {
  std::ifstream maps("/proc/self/maps");
  return static_cast<std::size_t>(
      std::count(std::istreambuf_iterator<char>(maps), std::istreambuf_iterator<char>(), '\n'));
}

/// Copies of the libraries, which nothing else has loaded.
TEST_F(Surroundings, LibrariesThatAreUnloadedAndLoadedAgain) {
  // All of 1000 take half a minute: a number in the environment says how often.
  const char* const wanted = std::getenv("VORIN_LOADS");
  const int loads = wanted == nullptr ? 20 : std::atoi(wanted);
  const fs::path toolkit = fs::absolute("toolkit-copy.so");
  const fs::path numerical = fs::absolute("numerical-copy.so");
  fs::copy_file(VORIN_TOOLKIT, toolkit);
  fs::copy_file(VORIN_LIBRARY, numerical);
  std::size_t atStart = 0;
  Answer first;
  for (int i = 0; i < loads; ++i) {
    {
      const Loaded library(toolkit);
      vorin_result* result = nullptr;
      const vorin::test::JobData& data = vorin::test::jobData();
      ASSERT_EQ(
          library.find<decltype(vorin_invert)>("vorin_invert")(
              nullptr, data.t.data(), data.y.data(), nullptr, data.count(), &result, nullptr, 0),
          VORIN_TOOLKIT_OK);
      library.find<decltype(vorin_result_free)>("vorin_result_free")(result);
    }
    {
      const Loaded library(numerical);
      library.set("FLOG", "/");
      const Answer answer = inverted(library, 10.0F);
      EXPECT_TRUE(i == 0 || answer == first);
      first = answer;
    }
    for (const fs::path& file : {toolkit, numerical}) {
      ASSERT_EQ(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << file;
    }
    constexpr int warm = 5;
    if (i == warm) {
      atStart = mappings();
    }
  }
  // The buffers of OpenBLAS have 128 MiB each: one that stays would be seen.
  EXPECT_LE(mappings(), atStart + 4);
}

TEST_F(Surroundings, AnotherOpenBlas) {
  const char* const named = std::getenv("VORIN_OTHER_OPENBLAS");
  void* const other = dlopen(named == nullptr ? "libopenblas.so.0" : named, RTLD_NOW | RTLD_GLOBAL);
  if (other == nullptr) {
    GTEST_SKIP() << "no shared OpenBLAS here";
  }
  EXPECT_EQ(allAnswers(), plain_);
  const fs::path copy = fs::absolute("numerical-copy.so");
  fs::copy_file(VORIN_LIBRARY, copy);
  const Loaded library(copy);  // loaded behind it
  library.set("FLOG", "/");
  EXPECT_EQ(inverted(library, 10.0F), plain_.inversions[1]);
  dlclose(other);
}

}  // namespace
