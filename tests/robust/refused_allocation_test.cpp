// The n-th allocation of a job is refused, for every n: the toolkit answers with a status and a
// sentence, leaves nothing allocated, and does the next job right. Only that one is refused, so
// that what comes after it runs as well. operator new is this program's, which the toolkit's
// library takes, too.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "robust/toolkit_jobs.hpp"
#include "support/own_folder.hpp"

namespace {

std::atomic<long> untilRefusal = -1;  ///< allocations that are granted still; below 0: all
std::atomic<long> held = 0;           ///< allocations that are not freed

void* taken(std::size_t size, std::size_t alignment) {
  if (untilRefusal >= 0 && untilRefusal-- == 0) {
    return nullptr;
  }
  const std::size_t rounded = (size + alignment) / alignment * alignment;
  void* const memory = alignment > alignof(std::max_align_t)
                           ? std::aligned_alloc(alignment, rounded)
                           : std::malloc(size > 0 ? size : 1);
  held += memory != nullptr ? 1 : 0;
  return memory;
}

void* takenOrThrown(std::size_t size, std::size_t alignment) {
  void* const memory = taken(size, alignment);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void given(void* memory) noexcept {
  held -= memory != nullptr ? 1 : 0;
  std::free(memory);
}

}  // namespace

// clang-format off
void* operator new(std::size_t size) { return takenOrThrown(size, 1); }
void* operator new[](std::size_t size) { return takenOrThrown(size, 1); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return taken(size, 1); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return taken(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return takenOrThrown(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return taken(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { given(memory); }
void operator delete[](void* memory) noexcept { given(memory); }
void operator delete(void* memory, std::size_t) noexcept { given(memory); }
void operator delete[](void* memory, std::size_t) noexcept { given(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { given(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { given(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { given(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { given(memory); }
// clang-format on

namespace {

using vorin::test::Job;
using vorin::test::JobAnswer;
using vorin::test::jobs;

class RefusedAllocation : public testing::TestWithParam<std::size_t> {};

/// How many allocations `job` makes.
long allocationsOf(const Job& job) {
  constexpr long many = 1'000'000'000;
  untilRefusal = many;
  (void)job.run();
  const long made = many - untilRefusal;
  untilRefusal = -1;
  return made;
}

/// The answer of `job` while the allocation after `granted` ones is refused. One that this program
/// asks for itself counts as the toolkit's.
JobAnswer answerWithRefusal(const Job& job, long granted) {
  untilRefusal = granted;
  JobAnswer answer;
  try {
    answer = job.run();
  } catch (const std::bad_alloc&) {
    answer.status = VORIN_TOOLKIT_NO_MEMORY;
  }
  untilRefusal = -1;
  return answer;
}

TEST_P(RefusedAllocation, OfAnyAllocationEndsTheJobWithAStatus) {
  const vorin::test::OwnFolder folder;
  const Job& job = jobs()[GetParam()];
  SCOPED_TRACE(job.name);
  vorin::test::writeJobFile();
  // What is made once for the process is made, and the answer is known.
  const JobAnswer expected = job.run();
  ASSERT_EQ(expected.status, VORIN_TOOLKIT_OK) << expected.sentence;
  ASSERT_EQ(job.run(), expected);
  // All of them take minutes: a number in the environment says how many there are to be.
  constexpr long fewest = 60;
  const char* const wanted = std::getenv("VORIN_REFUSALS");
  const long refusals = wanted == nullptr ? fewest : std::atol(wanted);
  const long all = allocationsOf(job);
  const long step = std::max(1L, all / refusals);
  EXPECT_GT(all, 10);
  long ended = 0;
  for (long granted = 0; granted < all; granted += step) {
    const long before = held;
    // A job may do without some memory, and then gives the same answer.
    if (const JobAnswer answer = answerWithRefusal(job, granted);
        answer.status != VORIN_TOOLKIT_OK) {
      // A stream takes refused memory for a file that can't be read.
      const bool isFile = std::string(job.name) == "file";
      ASSERT_TRUE(answer.status == VORIN_TOOLKIT_NO_MEMORY ||
                  (isFile && answer.status == VORIN_TOOLKIT_BAD_INPUT))
          << granted << ": " << answer.sentence;
      ++ended;
    } else {
      ASSERT_EQ(answer, expected) << granted;
    }
    ASSERT_EQ(held, before) << granted;
    ASSERT_EQ(job.run(), expected) << granted;
  }
  EXPECT_GT(ended, 0);
  std::printf("%s: %ld allocations, every %ldth refused, %ld jobs ended\n", job.name, all, step,
              ended);
}

INSTANTIATE_TEST_SUITE_P(Jobs, RefusedAllocation, testing::Range<std::size_t>(0, jobs().size()));

}  // namespace
