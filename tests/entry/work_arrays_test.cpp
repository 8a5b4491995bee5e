// The compressed drivers that keep their work arrays allocate them once for a shape. A count
// of all allocations of the process tells it: the second call of a shape has fewer.
#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <vector>

#include "support/counted_memory.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "vorin.h"

namespace {

using vorin::test::setNumber;
using vorin::test::setText;

using Entry = decltype(&VorinyC5_s);

// The allocations of one call on `nf` points of a fixed grid of 40.
long allocationsOf(Entry entry, std::int32_t nf) {
  const auto job = vorin::test::laplaceProblem<float>(nf, 40, 0.01, 1);
  const auto points = static_cast<std::size_t>(nf);
  std::vector<float> T(points), W(points), G(40, 1.0f), F(40), FIT(points);
  std::iota(T.begin(), T.end(), 1.0f);
  std::int32_t status = -1;
  const std::int32_t ng = 40;
  vorin::test::memory::asked = 0;
  entry(nf, ng, &nf, &ng, job.K.data(), T.data(), job.d.data(), W.data(), G.data(), F.data(),
        FIT.data(), &status);
  return vorin::test::memory::asked;
}

class WorkArrays : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    setText("TARG", "WEIG");
    setNumber("WEIG", 0.3f);
    setNumber("REPO", 0.0f);
    setNumber("SVDN", 15.0f);
    setNumber("SVDT", 0.0f);  // decomposes the kernel: kernel, data and scratch are needed
  }
  void TearDown() override { vorin::test::loadSettings(); }
};

TEST_F(WorkArrays, ASecondCallOfOneShapeAllocatesNone) {
  struct Case {
    const char* name;
    Entry entry;
    long arrays;  // C2 and C3 have no scratch: their factors are arrays of another kind
  };
  for (const char* mode : {"NONE", "LOG"}) {
    setText("PRMO", mode);
    for (const Case& c : {Case{"C2", VorinyC2_s, 2}, Case{"C3", VorinyC3_s, 2},
                          Case{"C4", VorinyC4_s, 3}, Case{"C5", VorinyC5_s, 3}}) {
      SCOPED_TRACE(testing::Message() << c.name << " " << mode);
      // Brings what is allocated once for the life of the library, and another shape.
      allocationsOf(c.entry, 300);
      allocationsOf(c.entry, 200);
      const long first = allocationsOf(c.entry, 300);
      const long second = allocationsOf(c.entry, 300);
      EXPECT_GE(first, second + c.arrays);
      EXPECT_EQ(allocationsOf(c.entry, 300), second);
      EXPECT_EQ((allocationsOf(c.entry, 200), allocationsOf(c.entry, 300)), first);
    }
  }
}

TEST_F(WorkArrays, VariantCAllocatesItsOwnInEveryCall) {
  setText("PRMO", "LOG");
  setNumber("SVDN", 0.0f);
  allocationsOf(VorinyC_s, 300);
  allocationsOf(VorinyC_s, 200);
  const long first = allocationsOf(VorinyC_s, 300);
  EXPECT_EQ(allocationsOf(VorinyC_s, 300), first);
  // Kernel and data, which C4 has from the first call of a shape on; the first call of all brings
  // what the library keeps for life.
  allocationsOf(VorinyC4_s, 300);
  allocationsOf(VorinyC4_s, 200);
  const long fresh = allocationsOf(VorinyC4_s, 300);
  EXPECT_EQ(fresh, allocationsOf(VorinyC4_s, 300) + 2);
}

}  // namespace
