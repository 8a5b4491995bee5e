// What the system tells of the process that runs.
#include "toolkit/system/process.hpp"

#include <gtest/gtest.h>

#include <thread>

#if defined(__linux__)
#include <sched.h>
#endif

namespace vorin::toolkit {
namespace {

#if defined(__linux__)
// A thread's processors are its own: the others' keep theirs.
TEST(Processors, AreThoseThatTheCallerMayUse) {
  std::thread([] {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
    if (sched_setaffinity(0, sizeof one, &one) == 0) {
      EXPECT_EQ(processorCount(), 1U);
    }
  }).join();
}
#endif

TEST(Processors, AreOneAtLeast) {
  EXPECT_GE(processorCount(), 1U);
}

}  // namespace
}  // namespace vorin::toolkit
