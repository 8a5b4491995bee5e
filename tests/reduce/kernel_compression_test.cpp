// VorinComp_s against VorinPruneZ and VorinCompSVD_s, which it combines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "support/compression.hpp"
#include "support/problems.hpp"
#include "vorin.h"

namespace {

using namespace vorin::test;

struct Call {
  TestProblem<float> problem;
  int ldK = 0;
  int cap = 80;
  int first = 1;
  int last = -1;
  int want = 30;
  int pmode = VORIN_PRUNE_LOG;
  float SVDT = 1e-4f;
  int SVDN = 20;
  float t0 = 1.0f;  // position of the first point
};

struct Outcome {
  std::int32_t count = untouchedInt;
  std::int32_t status = untouchedInt;
  std::vector<float> Y;
  std::vector<float> K;
};

Call reductionOf(TestProblem<float> problem) {
  Call call{std::move(problem)};
  call.ldK = call.problem.m;
  return call;
}

std::vector<float> timesOf(const Call& call) {
  std::vector<float> t(static_cast<std::size_t>(call.ldK));
  for (std::size_t i = 0; i < t.size(); ++i) {
    t[i] = call.t0 + static_cast<float>(i);
  }
  return t;
}

std::vector<float> weightsOf(const Call& call) {
  Uniform uniform(9);
  std::vector<float> w(static_cast<std::size_t>(call.problem.m));
  std::generate(w.begin(), w.end(), [&] { return static_cast<float>(2.0 + uniform()); });
  return w;
}

std::vector<float> kernelOf(const Call& call) {
  CompressionCall padded = callOf(call.problem);
  return widened(padded, call.ldK - call.problem.m, 0).K;
}

Outcome run(const Call& call) {
  Outcome out;
  const auto rows = static_cast<std::size_t>(std::max(call.cap, 0));
  out.Y.assign(rows, untouched);
  out.K.assign(rows * static_cast<std::size_t>(call.problem.n), untouched);
  VorinComp_s(call.problem.n, call.problem.m, call.ldK, call.cap, call.problem.d.data(),
              timesOf(call).data(), kernelOf(call).data(), weightsOf(call).data(), call.first,
              call.last, call.want, call.pmode, call.SVDT, call.SVDN, &out.count, out.Y.data(),
              out.K.data(), &out.status);
  return out;
}

// VorinPruneZ and the plain product P K.
Outcome pruned(const Call& call) {
  const int m = call.problem.m;
  const auto rows = static_cast<std::size_t>(call.cap);
  Outcome out;
  out.Y.assign(rows, untouched);
  out.K.assign(rows * static_cast<std::size_t>(call.problem.n), untouched);
  std::vector<float> tSum(rows);
  std::vector<float> norm(rows);
  std::vector<float> P(rows * static_cast<std::size_t>(m));
  VorinPruneZ(m, m, call.cap, call.problem.d.data(), timesOf(call).data(), weightsOf(call).data(),
              call.first, call.last, call.want, call.pmode, &out.count, out.Y.data(), tSum.data(),
              norm.data(), P.data(), &out.status);
  for (int j = 0; j < call.problem.n; ++j) {
    for (std::size_t r = 0; r < static_cast<std::size_t>(out.count); ++r) {
      float sum = 0.0f;
      for (std::size_t i = 0; i < static_cast<std::size_t>(m); ++i) {
        sum += call.problem.K[i + area(m, j)] * P[r + i * rows];
      }
      out.K[r + area(call.cap, j)] = sum;
    }
  }
  return out;
}

void expectEqual(const Outcome& got, const Outcome& expected) {
  EXPECT_EQ(got.count, expected.count);
  EXPECT_EQ(got.status, expected.status);
  EXPECT_EQ(got.Y, expected.Y);
  EXPECT_EQ(got.K, expected.K);
}

TEST(VorinComp, NeitherPruningNorCompressionWritesNothing) {
  for (const int pmode : {0, -1}) {
    for (const int SVDN : {0, -1}) {
      Call call = reductionOf(laplaceProblem<float>(200, 12, 0.01, 1));
      call.pmode = pmode;
      call.SVDN = SVDN;
      const Outcome out = run(call);
      EXPECT_EQ(out.count, untouchedInt);
      EXPECT_EQ(out.status, untouchedInt);
      EXPECT_EQ(out.Y, std::vector<float>(out.Y.size(), untouched));
      EXPECT_EQ(out.K, std::vector<float>(out.K.size(), untouched));
    }
  }
}

TEST(VorinComp, PruningAloneGivesThePrunedProblem) {
  for (const int pmode :
       {int{VORIN_PRUNE_LOG}, int{VORIN_PRUNE_LINEAR}, int{VORIN_PRUNE_LEADING}, 7}) {
    Call call = reductionOf(laplaceProblem<float>(200, 12, 0.01, 2));
    call.pmode = pmode;
    call.first = 5;
    call.SVDN = 0;
    const Outcome out = run(call);
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.count, pmode == 7 ? 1 : out.count);
    expectEqual(out, pruned(call));
  }
}

TEST(VorinComp, CompressionAloneIsThatOfVorinCompSVD) {
  Call call = reductionOf(laplaceProblem<float>(200, 12, 0.01, 3));
  call.pmode = 0;
  call.ldK = 207;
  const Outcome out = run(call);
  CompressionCall direct = callOf(call.problem);
  direct.ldC = call.cap;
  direct.SVDT = call.SVDT;
  direct.SVDN = call.SVDN;
  const Compressed expected = compress(Variant::kept, direct);
  EXPECT_EQ(out.status, VORIN_COMP_OK);
  EXPECT_EQ(out.count, expected.count);
  EXPECT_EQ(out.K, expected.Kc);
  EXPECT_TRUE(std::equal(expected.dc.begin(), expected.dc.end(), out.Y.begin()));
  EXPECT_EQ(out.Y[12], untouched);
}

TEST(VorinComp, PruningThenCompressionIsTheOneAfterTheOther) {
  // With 30 pruned rows, and with fewer of them than columns.
  for (const int want : {30, 8}) {
    Call call = reductionOf(laplaceProblem<float>(200, 12, 0.01, 4));
    call.want = want;
    call.ldK = 205;
    const Outcome out = run(call);
    const Outcome small = pruned(call);
    CompressionCall second{small.count, 12,      call.cap,  call.cap,
                           small.K,     small.Y, call.SVDT, call.SVDN};
    const Compressed expected = compress(Variant::kept, second);
    EXPECT_EQ(out.status, VORIN_COMP_OK);
    EXPECT_EQ(out.count, expected.count);
    EXPECT_TRUE(std::equal(expected.dc.begin(), expected.dc.end(), out.Y.begin()));
    for (int j = 0; j < 12; ++j) {
      for (std::size_t i = 0; i < 12; ++i) {
        EXPECT_EQ(out.K[i + area(call.cap, j)], expected.Kc[i + area(call.cap, j)]);
      }
      for (std::size_t i = 12; i < 80; ++i) {
        EXPECT_EQ(out.K[i + area(call.cap, j)], small.K[i + area(call.cap, j)]);
      }
    }
  }
}

TEST(VorinComp, RefusedCompressionLeavesThePrunedProblem) {
  Call call = reductionOf(laplaceProblem<float>(200, 12, 0.01, 5));
  call.SVDN = call.cap + 1;
  Outcome expected = pruned(call);
  expected.status = VORIN_COMP_ROWS_ABOVE_CAPACITY;
  expectEqual(run(call), expected);
  call.pmode = 0;
  const Outcome out = run(call);
  EXPECT_EQ(out.status, VORIN_COMP_ROWS_ABOVE_CAPACITY);
  EXPECT_EQ(out.count, untouchedInt);
  EXPECT_EQ(out.K, std::vector<float>(out.K.size(), untouched));
}

TEST(VorinComp, TheRangesEndHasNoInfluence) {
  Call call = reductionOf(laplaceProblem<float>(200, 12, 0.01, 6));
  const Outcome expected = run(call);
  for (const int last : {0, 50, 300}) {
    call.last = last;
    expectEqual(run(call), expected);
  }
}

TEST(VorinComp, ACapacityBelowTheColumnsIsNotWrittenPast) {
  for (const int pmode : {0, 1}) {
    Call call = reductionOf(laplaceProblem<float>(200, 40, 0.01, 7));
    call.cap = 15;
    call.SVDN = 10;
    call.pmode = pmode;
    const Outcome out = run(call);
    EXPECT_EQ(out.status, VORIN_COMP_OK);
    EXPECT_GE(out.count, 2);
    EXPECT_LE(out.count, 10);
    EXPECT_NE(out.K[0], untouched);
  }
}

TEST(VorinComp, TheRangeOfTheBinsStartsAtTheLeastOfAllPositionsUpToTheLeadingDimension) {
  // T has ldK elements, as VorinPruneZ takes them. The first position is 0, so the range
  // starts at the least of all eleven, -11, and ends at the eighth, 7. Linear edges for a
  // target of 3: three at first, which leave all points in one bin; then five, at -11, -6.5,
  // -2, 2.5 and 7, which part them into 0 .. 2 and 3 .. 7.
  const std::vector<float> t{0, 1, 2, 3, 4, 5, 6, 7, 9, -11, 20};
  const std::vector<float> ones(11, 1.0f);
  std::vector<float> Y(6, untouched);
  std::vector<float> K(6, untouched);
  std::int32_t count = 0;
  std::int32_t status = -1;
  VorinComp_s(1, 8, 11, 6, ones.data(), t.data(), ones.data(), ones.data(), 1, -1, 3,
              VORIN_PRUNE_LINEAR, 0.0f, 0, &count, Y.data(), K.data(), &status);
  EXPECT_EQ(status, VORIN_COMP_OK);
  ASSERT_EQ(count, 3);
  EXPECT_FLOAT_EQ(K[0], std::sqrt(3.0f));  // the sum of n ones over the root of n
  EXPECT_FLOAT_EQ(K[1], std::sqrt(5.0f));
  EXPECT_EQ(K[2], 0.0f);
}

TEST(VorinComp, EmptyProblems) {
  for (const int pmode : {0, 1}) {
    for (const int cap : {0, -2, 5}) {
      Call call{};
      call.pmode = pmode;
      call.cap = cap;
      call.SVDN = 0;
      EXPECT_EQ(run(call).count, pmode == 0 ? untouchedInt : 1);
    }
  }
}

}  // namespace
