// The n-th allocation of a job is refused, or all from the n-th on, for every n: the toolkit
// answers with a status and a sentence, leaves nothing allocated, and does the next job right.
// Where only one is refused, what comes after it runs as well. The memory of the toolkit and of the
// numerical library inside it all comes from operator new; that of OpenBLAS is its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <tuple>

#include "robust/toolkit_jobs.hpp"
#include "support/counted_memory.hpp"
#include "support/own_folder.hpp"

namespace {

using vorin::test::Job;
using vorin::test::JobAnswer;
using vorin::test::jobs;

constexpr const char* ownMemory = "the memory of the test";

class RefusedAllocation : public testing::TestWithParam<std::tuple<std::size_t, memory::Refusal>> {
};

/// How many allocations `job` makes.
long allocationsOf(const Job& job) {
  memory::asked = 0;
  (void)job.run();
  return memory::asked;
}

/// The answer of `job` while memory is refused after `granted` allocations. One that this program
/// asks for itself counts as the toolkit's.
JobAnswer answerWithRefusal(const Job& job, memory::Refusal kind, long granted) {
  JobAnswer answer;
  const memory::Refused refused(kind, granted);
  try {
    answer = job.run();
  } catch (const std::bad_alloc&) {
    answer.status = VORIN_TOOLKIT_NO_MEMORY;
    std::snprintf(answer.sentence, sizeof answer.sentence, "%s", ownMemory);
  }
  return answer;
}

/// Whether it is the end that a job without memory may have, with a sentence that says so. A
/// stream takes a single refusal for a file that can't be read.
testing::AssertionResult isRefused(const JobAnswer& answer, bool mayBeTheFile) {
  if (mayBeTheFile && answer.status == VORIN_TOOLKIT_BAD_INPUT) {
    return testing::AssertionSuccess();
  }
  if (answer.status == VORIN_TOOLKIT_NO_MEMORY &&
      std::string(answer.sentence).find("memory") != std::string::npos) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << answer.status << ": " << answer.sentence;
}

TEST_P(RefusedAllocation, EndsTheJobWithAStatus) {
  const vorin::test::OwnFolder folder;
  const auto& [number, kind] = GetParam();
  const Job& job = jobs()[number];
  SCOPED_TRACE(job.name);
  vorin::test::writeJobFile();
  // What is made once for the process is made, and the answer is known.
  const JobAnswer expected = job.run();
  ASSERT_EQ(expected.status, VORIN_TOOLKIT_OK) << expected.sentence;
  ASSERT_EQ(job.run(), expected);
  // All of them take minutes: a number in the environment says how many there are to be.
  constexpr long fewest = 30;
  const char* const wanted = std::getenv("VORIN_REFUSALS");
  const long refusals = wanted == nullptr ? fewest : std::atol(wanted);
  const long all = allocationsOf(job);
  const long step = std::max(1L, all / refusals);
  const bool mayBeTheFile = kind == memory::Refusal::one && std::string(job.name) == "file";
  EXPECT_GT(all, 10);
  long ended = 0;
  for (long granted = 0; granted < all; granted += step) {
    const long before = memory::held;
    // A job may do without some memory, and then gives the same answer.
    if (const JobAnswer answer = answerWithRefusal(job, kind, granted);
        answer.status != VORIN_TOOLKIT_OK) {
      ASSERT_TRUE(isRefused(answer, mayBeTheFile)) << granted;
      ++ended;
    } else {
      ASSERT_EQ(answer, expected) << granted;
    }
    ASSERT_EQ(memory::held, before) << granted;
    ASSERT_EQ(job.run(), expected) << granted;
  }
  EXPECT_GT(ended, 0);
  std::printf("%s: %ld allocations, every %ldth refused, %ld jobs ended\n", job.name, all, step,
              ended);
}

INSTANTIATE_TEST_SUITE_P(Single, RefusedAllocation,
                         testing::Combine(testing::Range<std::size_t>(0, jobs().size()),
                                          testing::Values(memory::Refusal::one)));
INSTANTIATE_TEST_SUITE_P(AllFromOneOn, RefusedAllocation,
                         testing::Combine(testing::Range<std::size_t>(0, jobs().size()),
                                          testing::Values(memory::Refusal::rest)));

}  // namespace
