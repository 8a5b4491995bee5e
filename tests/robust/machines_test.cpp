// Other machines: LAPACK's kernels are chosen for the CPU and round differently, which must
// not show in what a host reads off a result. The choices that this machine can carry out are
// forced one after the other, each in a process of its own.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "robust/loaded.hpp"
#include "support/own_folder.hpp"
#include "support/problems.hpp"

namespace {

using namespace vorin::test;

constexpr int samples = 400;
constexpr int gridTimes = 50;

struct Outcome {
  std::array<float, gridTimes> F{};
  std::int32_t status = -1;
};

// The inversion of a decay with LAPACK's kernels for the CPU named `core`; empty for its own
// choice.
Outcome invertOn(const std::string& core) {
  std::array<int, 2> channel{};
  EXPECT_EQ(pipe(channel.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    if (!core.empty()) {
      setenv("OPENBLAS_CORETYPE", core.c_str(), 1);
    }
    const Loaded library(VORIN_LIBRARY);
    const auto problem = laplaceProblem<float>(samples, gridTimes, 0.01, 1);
    Outcome outcome;
    library.find<decltype(Vorin_s)>("Vorin_s")(samples, gridTimes, problem.K.data(),
                                               problem.d.data(), outcome.F.data(), &outcome.status);
    const bool sent = write(channel[1], &outcome, sizeof outcome) == sizeof outcome;
    _exit(sent ? 0 : 1);
  }
  close(channel[1]);
  Outcome outcome;
  EXPECT_EQ(read(channel[0], &outcome, sizeof outcome), static_cast<ssize_t>(sizeof outcome));
  close(channel[0]);
  int state = -1;
  waitpid(child, &state, 0);
  EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == 0) << core;
  return outcome;
}

TEST(Machines, LapackOfOtherCpusGivesTheSameStatusAndTheSameCurve) {
  const OwnFolder folder;
  const Outcome own = invertOn("");
  EXPECT_EQ(own.status, VORIN_OK);
  const float greatest = *std::max_element(own.F.begin(), own.F.end());
  ASSERT_GT(greatest, 0.0F);
  std::vector<std::string> cores{"Prescott", "Core2", "Nehalem"};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx")) {
    cores.emplace_back("Sandybridge");
  }
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    cores.emplace_back("Haswell");
    cores.emplace_back("Zen");
  }
#else
  cores.clear();
#endif
  for (const std::string& core : cores) {
    SCOPED_TRACE(core);
    const Outcome other = invertOn(core);
    EXPECT_EQ(other.status, own.status);
    // F crosses the boundary in single precision, rounded by 6e-8; the factor of 100 above it
    // is what the conditioning of a system at this weight may make of other roundings.
    for (std::size_t j = 0; j < own.F.size(); ++j) {
      EXPECT_NEAR(other.F[j], own.F[j], 1e-5F * greatest) << j;
    }
  }
}

}  // namespace
