// VorinPrune and VorinPrune2 against their dense definitions and against each other, and
// at the edges of their arguments.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "reduce/kernel_pruning.hpp"

namespace {

using namespace vorin::test;

std::vector<PruneCall> requests() {
  std::vector<PruneCall> all;
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR}) {
    for (const int n : {2, 31, 200}) {
      for (const int target : {3, 20, 55, 90}) {
        PruneCall request{evenTimes(n)};
        request.mode = mode;
        request.target = target;
        request.prLo = std::min(4, n);
        request.moreLd = target % 2 == 0 ? 3 : 0;
        request.v = randomValues(request.t.size(), 7);
        for (float& v : request.v) {
          v = 2.0f + v;
        }
        all.push_back(request);
      }
    }
  }
  return all;
}

bool allZero(const std::vector<float>& values) {
  return std::all_of(values.begin(), values.end(), [](float value) { return value == 0.0f; });
}

TEST(VorinPrune, EqualsItsDenseDefinition) {
  for (const PruneCall& request : requests()) {
    SCOPED_TRACE(testing::Message()
                 << request.mode << " " << request.t.size() << " " << request.target);
    expectEqual(prune(VorinPrune, request), literal(Form::prune, request));
  }
}

TEST(VorinPrune2, EqualsItsDenseDefinition) {
  for (const PruneCall& request : requests()) {
    SCOPED_TRACE(testing::Message()
                 << request.mode << " " << request.t.size() << " " << request.target);
    expectEqual(prune(VorinPrune2, request), literal(Form::prune2, request));
  }
}

TEST(VorinPrune, TargetAboveThePointsLeavesBinsEmptyWithoutASecondTry) {
  PruneCall request{evenTimes(7)};
  request.target = 50;
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR}) {
    request.mode = mode;
    const Pruned out = prune(VorinPrune, request);
    // A row for each point, or two for one that an edge hits.
    EXPECT_GE(out.count, 7);
    EXPECT_LT(out.count, 50);
    expectEqual(out, literal(Form::prune, request));
  }
}

// From 1.5 to 4.5: the edges are 1.5, 2.5, 3.5 and 4.5, or 1.5, 2.16, 3.12 and 4.5.
TEST(VorinPrune, OneFilledBinCountsOne) {
  PruneCall request{{3.0f}, {7.0f}};
  request.target = 4;
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR}) {
    request.mode = mode;
    const Pruned out = prune(VorinPrune, request);
    EXPECT_EQ(out.count, 1);
    EXPECT_EQ(out.t[0], 3.0f);
    EXPECT_EQ(out.y[0], 7.0f);
    EXPECT_EQ(out.norm[0], 1.0f);
    EXPECT_EQ(out.norm[1], leastNorm);
  }
}

TEST(VorinPrune, WithoutAPointInAnyBinTheCountIsThatOfTheEdges) {
  PruneCall request{std::vector<float>(20, 0.0f)};
  for (const int target : {15, 60, 500}) {
    request.target = target;
    const Pruned out = prune(VorinPrune, request);
    EXPECT_EQ(out.count, std::min(target, request.maxBins));
    EXPECT_TRUE(allZero(out.P));
    EXPECT_TRUE(allZero(out.y));
    EXPECT_TRUE(allZero(out.t));
    EXPECT_TRUE(allZero(out.k));
    EXPECT_EQ(out.norm, std::vector<float>(60, leastNorm));
  }
}

TEST(VorinPrune, UnitScalesAndEqualBinsGiveTheDataAndKernelOfVorinPrune2) {
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR}) {
    for (const int target : {10, 25, 40}) {
      PruneCall second{evenTimes(300)};
      second.mode = mode;
      second.target = target;
      PruneCall first = second;
      const DenseBins dense{second.t, second.prLo, mode};
      first.target = static_cast<int>(dense.adjustedEdges(target, second.maxBins).size());
      ASSERT_LE(first.target, first.maxBins);
      const Pruned a = prune(VorinPrune, first);
      const Pruned b = prune(VorinPrune2, second);
      EXPECT_EQ(a.count, b.count);
      EXPECT_GT(a.count, 5);
      expectEqualBits(a.y, b.y, "yPruned");
      expectEqualBits(a.k, b.k, "kPruned");
      expectEqualBits(a.P, b.P, "P");
    }
  }
}

TEST(VorinPrune, VorinPruneZCountsOneMoreOnEqualBins) {
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR}) {
    for (const int target : {10, 25, 40}) {
      PruneCall request{evenTimes(300)};
      request.mode = mode;
      request.target = target;
      const int countZ = prunedCountZ(request);
      const DenseBins dense{request.t, request.prLo, mode};
      request.target = static_cast<int>(dense.adjustedEdges(target, request.maxBins).size());
      EXPECT_EQ(countZ, prune(VorinPrune, request).count + 1);
    }
  }
}

TEST(VorinPrune, MeanPositionsByHand) {
  // Points 1 .. 6 in linear bins with the edges 0.5, 3.5, 6.5.
  PruneCall request{evenTimes(6), {1, 2, 3, 4, 5, 6}};
  request.mode = VORIN_PRUNE_LINEAR;
  request.target = 3;
  const Pruned out = prune(VorinPrune, request);
  ASSERT_EQ(out.count, 2);
  EXPECT_FLOAT_EQ(out.t[0], 2.0f);
  EXPECT_FLOAT_EQ(out.t[1], 5.0f);
  EXPECT_FLOAT_EQ(out.norm[0], std::sqrt(3.0f));
  EXPECT_FLOAT_EQ(out.y[1], 15.0f / std::sqrt(3.0f));
  // A scale of 2 divides the sum of t by s^2 = 12.
  request.v.assign(6, 2.0f);
  EXPECT_FLOAT_EQ(prune(VorinPrune, request).t[1], 15.0f / 12.0f);
}

TEST(VorinPrune, AModeWithoutBinsGivesCountZeroAndAnEmptyMap) {
  for (const int mode : {0, 3, -1, 99}) {
    PruneCall request{evenTimes(30)};
    request.mode = mode;
    const Pruned out = prune(VorinPrune, request);
    EXPECT_EQ(out.count, 0);
    EXPECT_TRUE(allZero(out.P));
    EXPECT_TRUE(allZero(out.k));
    const Pruned second = prune(VorinPrune2, request);
    EXPECT_EQ(second.count, 0);
    EXPECT_TRUE(allZero(second.P));
  }
}

TEST(VorinPrune, ScalesOfZeroDivideByTheLeastNorm) {
  PruneCall request{evenTimes(6), {1, 2, 3, 4, 5, 6}, std::vector<float>(6, 0.0f)};
  request.mode = VORIN_PRUNE_LINEAR;
  request.target = 3;
  const Pruned out = prune(VorinPrune, request);
  ASSERT_EQ(out.count, 2);
  EXPECT_EQ(out.norm[0], leastNorm);
  EXPECT_FLOAT_EQ(out.y[0], 6e10f);
}

TEST(VorinPrune2, ASearchThatEndsWellLeavesOneBinLessThanTheTarget) {
  PruneCall request{evenTimes(1000)};
  request.target = 10;
  const Pruned out = prune(VorinPrune2, request);
  EXPECT_EQ(out.count, 9);
  EXPECT_EQ(prunedCountZ(request), 10);
}

TEST(VorinPrune2, TheIncomingCountIsAFloor) {
  PruneCall request{evenTimes(1000)};
  request.target = 10;
  const Pruned plain = prune(VorinPrune2, request);
  for (const int countIn : {-5, 0, 8, 9}) {
    request.countIn = countIn;
    expectEqual(prune(VorinPrune2, request), plain);
  }
  request.countIn = 12;
  const Pruned out = prune(VorinPrune2, request);
  EXPECT_EQ(out.count, 12);
  for (std::size_t r = 0; r < 60; ++r) {
    const bool none = r >= 9 && r < 12;  // 0/0
    EXPECT_EQ(std::isnan(out.t[r]), none);
    EXPECT_EQ(std::isnan(out.y[r]), none);
    EXPECT_EQ(std::isnan(out.k[r + 60 * 8]), none);
    EXPECT_EQ(std::isnan(out.P[r + 60 * 999]), none);
    EXPECT_GE(out.norm[r], leastNorm);
  }
  // A floor above the capacity is reported and not written.
  request.countIn = 1000;
  EXPECT_EQ(prune(VorinPrune2, request).count, 1000);
}

TEST(VorinPrune2, WithoutAPointInAnyBinTheCountIsTheIncomingOne) {
  PruneCall request{std::vector<float>(20, 0.0f)};
  EXPECT_EQ(prune(VorinPrune2, request).count, 0);
  EXPECT_TRUE(allZero(prune(VorinPrune2, request).P));
  request.countIn = 3;
  EXPECT_EQ(prune(VorinPrune2, request).count, 3);
}

// Equal classes of numbers everywhere, and equal values where they are numbers.
void expectAlike(const std::vector<float>& a, const std::vector<float>& b, const char* what) {
  ASSERT_EQ(a.size(), b.size()) << what;
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(std::isnan(a[i]), std::isnan(b[i])) << what << " " << i;
    if (!std::isnan(a[i]) && !std::isnan(b[i])) {
      EXPECT_EQ(a[i], b[i]) << what << " " << i;
    }
  }
}

template <class Export>
void expectTheDenseSumsOfValuesThatAreNotFinite(Export exported, Form form) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  for (const float wrong : {infinity, -infinity, 1e30f, 0.0f}) {
    for (const bool inData : {true, false}) {
      PruneCall request = completed({evenTimes(40)});
      request.mode = VORIN_PRUNE_LINEAR;
      request.target = 8;
      (inData ? request.y : request.v)[17] = wrong;
      SCOPED_TRACE(testing::Message() << wrong << " " << inData);
      const Pruned got = prune(exported, request);
      const Pruned expected = literal(form, request);
      EXPECT_EQ(got.count, expected.count);
      expectAlike(got.y, expected.y, "yPruned");
      expectAlike(got.t, expected.t, "tMean");
      expectAlike(got.k, expected.k, "kPruned");
      expectAlike(got.norm, expected.norm, "binNorm");
      expectAlike(got.P, expected.P, "P");
    }
  }
}

TEST(VorinPrune, ValuesThatAreNotFiniteReachTheRowsThatTheDenseSumsSay) {
  expectTheDenseSumsOfValuesThatAreNotFinite(VorinPrune, Form::prune);
}
TEST(VorinPrune2, ValuesThatAreNotFiniteReachTheRowsThatTheDenseSumsSay) {
  expectTheDenseSumsOfValuesThatAreNotFinite(VorinPrune2, Form::prune2);
}

TEST(VorinPrune, ValuesThatAreNotFiniteReachTheEmptyRowsToo) {
  PruneCall request = completed({std::vector<float>(20, 0.0f)});
  request.y[3] = std::numeric_limits<float>::infinity();
  const Pruned out = prune(VorinPrune, request);
  EXPECT_EQ(out.count, 20);
  EXPECT_TRUE(std::isnan(out.y[0]));
  EXPECT_TRUE(std::isnan(out.y[19]));
  EXPECT_EQ(out.y[20], 0.0f);
  EXPECT_TRUE(allZero(out.k));
}

TEST(VorinPrune2, AScaleOfZeroGivesAnInfiniteResult) {
  PruneCall request{evenTimes(6), {1, 2, 3, 4, 5, 6}, {1, 1, 1, 1, 0, 1}};
  request.mode = VORIN_PRUNE_LINEAR;
  request.target = 3;
  const Pruned out = prune(VorinPrune2, request);
  ASSERT_EQ(out.count, 2);
  EXPECT_TRUE(std::isnan(out.y[0]));  // zero times the infinite value of the other bin
  EXPECT_EQ(out.y[1], std::numeric_limits<float>::infinity());
  EXPECT_EQ(out.norm[1], leastNorm);
}

template <class Export>
void expectEdges(Export exported) {
  PruneCall request{evenTimes(100)};
  const Pruned plain = prune(exported, request);
  for (const int prHi : {0, 50, -7}) {
    request.prHi = prHi;
    expectEqual(prune(exported, request), plain);
  }
  for (const int prLo : {0, -5, 101}) {
    request.prLo = prLo;
    expectEqual(prune(exported, request), plain);
  }
  // The mark for points to leave out.
  PruneCall marked{evenTimes(50)};
  marked.mode = VORIN_PRUNE_LINEAR;
  marked.t[0] = -2e20f;
  const Pruned out = prune(exported, marked);
  for (std::size_t r = 0; r < 60; ++r) {
    EXPECT_EQ(out.P[r], 0.0f);
  }
  // Sizes that leave nothing to do.
  PruneCall empty;
  EXPECT_EQ(prune(exported, empty).status, 0);
  for (const int maxBins : {0, -3}) {
    PruneCall none{evenTimes(10)};
    none.maxBins = maxBins;
    EXPECT_LE(prune(exported, none).count, 0);
  }
  PruneCall noColumns{evenTimes(100)};
  noColumns.nCols = -2;
  EXPECT_EQ(prune(exported, noColumns).count, plain.count);
  for (const int target : {0, -4}) {
    PruneCall noTarget{evenTimes(10)};
    noTarget.target = target;
    EXPECT_LE(prune(exported, noTarget).count, 0);
  }
}

TEST(VorinPrune, EdgesOfItsArguments) {
  expectEdges(VorinPrune);
}
TEST(VorinPrune2, EdgesOfItsArguments) {
  expectEdges(VorinPrune2);
}

TEST(VorinPrune2, BinsPastTheCapacityAreNotWritten) {
  PruneCall request{evenTimes(400)};
  request.mode = VORIN_PRUNE_LINEAR;
  request.maxBins = 8;
  request.target = 8;
  for (const int prLo : {1, 300}) {
    request.prLo = prLo;
    const Pruned out = prune(VorinPrune2, request);
    EXPECT_LE(out.count, 8);
    expectEqual(out, literal(Form::prune2, request));
  }
  // All points on one spot, which every pair of bins around it shares.
  PruneCall spot{std::vector<float>(30, 2.0f)};
  spot.mode = VORIN_PRUNE_LINEAR;
  spot.maxBins = 2;
  spot.target = 2;
  EXPECT_LE(prune(VorinPrune2, spot).count, 2);
}

}  // namespace
