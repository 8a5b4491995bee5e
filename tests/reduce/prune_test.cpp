// Pruning against a literal dense build of its definition, which scans every point
// for every bin and multiplies full matrices.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "reduce/prune_plan.hpp"
#include "support/dense_bins.hpp"
#include "support/problems.hpp"
#include "vorin.h"

namespace {

using vorin::test::area;
using vorin::test::DenseBins;

struct Pruned {
  int count = -1;
  int status = -1;
  std::vector<float> y, tSum, norm, P;
};

struct Request {
  std::vector<float> t;
  int maxBins = 300;
  int prLo = 1;
  int prHi = -1;
  int target = 20;
  int mode = VORIN_PRUNE_LOG;
  std::vector<float> scale = {};
};

constexpr float untouched = -123.0f;

std::vector<float> scaleOf(const Request& request) {
  return request.scale.empty() ? std::vector<float>(request.t.size(), 1.0f) : request.scale;
}

std::vector<float> dataOf(const Request& request) {
  vorin::test::Uniform uniform(5);
  std::vector<float> y(request.t.size());
  std::generate(y.begin(), y.end(), [&] { return static_cast<float>(uniform()); });
  return y;
}

Pruned prune(const Request& request) {
  const int n = static_cast<int>(request.t.size());
  const auto bins = static_cast<std::size_t>(std::max(request.maxBins, 0));
  Pruned out;
  out.y.assign(bins, untouched);
  out.tSum.assign(bins, untouched);
  out.norm.assign(bins, untouched);
  out.P.assign(bins * request.t.size(), untouched);
  VorinPruneZ(n, n, request.maxBins, dataOf(request).data(), request.t.data(),
              scaleOf(request).data(), request.prLo, request.prHi, request.target, request.mode,
              &out.count, out.y.data(), out.tSum.data(), out.norm.data(), out.P.data(),
              &out.status);
  return out;
}

std::vector<float> evenTimes(int n, float step = 1.0f) {
  std::vector<float> t(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    t[static_cast<std::size_t>(i)] = step * static_cast<float>(i + 1);
  }
  return t;
}

Pruned literalPrune(const Request& request) {
  const auto& t = request.t;
  const std::vector<float> y = dataOf(request);
  const std::vector<float> v = scaleOf(request);
  const std::size_t n = t.size();
  const auto bins = static_cast<std::size_t>(request.maxBins);
  const DenseBins literal{t, request.prLo, request.mode};
  const std::vector<float> g = literal.adjustedEdges(request.target, request.maxBins);
  Pruned out;
  out.P.assign(bins * n, 0.0f);
  const std::size_t r = literal.fill(g, bins, bins - 1, out.P);
  out.count = static_cast<int>(r) + 1;
  out.status = 0;
  out.tSum.assign(bins, untouched);
  out.norm.assign(bins, 1e-10f);
  out.y.assign(bins, 0.0f);
  for (std::size_t k = 0; k <= r; ++k) {
    float sum = 0.0f;
    float square = 0.0f;
    for (std::size_t i = 0; i < n; ++i) {
      sum += t[i] * out.P[k + i * bins];
      square += v[i] * v[i] * out.P[k + i * bins];
    }
    out.tSum[k] = sum;
    out.norm[k] = k < r ? std::max(std::sqrt(square), 1e-10f) : 1e-10f;
    for (std::size_t i = 0; i < n; ++i) {
      out.P[k + i * bins] /= out.norm[k];
    }
    for (std::size_t i = 0; i < n && k < r; ++i) {
      out.y[k] += y[i] * out.P[k + i * bins];
    }
  }
  return out;
}

void expectEqualBits(const std::vector<float>& a, const std::vector<float>& b, const char* what) {
  ASSERT_EQ(a.size(), b.size()) << what;
  EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(float)), 0) << what;
}

void expectLiteral(const Request& request) {
  const Pruned got = prune(request);
  const Pruned expected = literalPrune(request);
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.count, expected.count);
  expectEqualBits(got.y, expected.y, "yPruned");
  expectEqualBits(got.tSum, expected.tSum, "tSum");
  expectEqualBits(got.norm, expected.norm, "binNorm");
  expectEqualBits(got.P, expected.P, "P");
}

int rowsWithPoints(const Pruned& pruned, std::size_t bins) {
  int rows = 0;
  for (std::size_t r = 0; r < bins; ++r) {
    bool filled = false;
    for (std::size_t i = r; i < pruned.P.size(); i += bins) {
      filled = filled || pruned.P[i] != 0.0f;
    }
    rows += filled ? 1 : 0;
  }
  return rows;
}

TEST(VorinPruneZ, EqualsTheDenseDefinitionOnRisingTimes) {
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR, VORIN_PRUNE_LEADING}) {
    for (const int n : {2, 5, 64, 333}) {
      for (const int prLo : {1, 2, 4}) {
        for (const int target : {3, 20, 150}) {
          Request request{evenTimes(n)};
          request.mode = mode;
          request.prLo = std::min(prLo, n);
          request.target = target;
          SCOPED_TRACE(testing::Message() << mode << " " << n << " " << prLo << " " << target);
          expectLiteral(request);
        }
      }
    }
  }
}

TEST(VorinPruneZ, EqualsTheDenseDefinitionOnRepeatedAndUnevenTimes) {
  vorin::test::Uniform uniform(17);
  for (const int n : {3, 20, 120}) {
    for (const int target : {12, 40, 200}) {
      for (const double spread : {0.01, 1.0, 6.0}) {
        Request request;
        request.target = target;
        request.maxBins = 250;
        for (int i = 0; i < n; ++i) {
          request.t.push_back(static_cast<float>(std::pow(10.0, spread * uniform())));
          if (i % 5 == 2) {
            request.t.push_back(request.t.back());
          }
        }
        std::sort(request.t.begin(), request.t.end());
        SCOPED_TRACE(testing::Message() << n << " " << target << " " << spread);
        expectLiteral(request);
      }
    }
  }
}

TEST(VorinPruneZ, EqualsTheDenseDefinitionWhereLogarithmicEdgesLieOnPoints) {
  int onEdges = 0;
  for (const int target : {10, 25, 70}) {
    Request request{evenTimes(40)};
    request.target = target;
    // The edges of the first try, put among the points between the first two and the last,
    // which make the range.
    const auto edges = DenseBins{request.t, 1, VORIN_PRUNE_LOG}.edges(
        static_cast<int>(static_cast<float>(target) * 1.3f));
    for (const float edge : edges) {
      if (edge > 2.0f && edge < 40.0f) {
        request.t.push_back(edge);
        ++onEdges;
      }
    }
    std::sort(request.t.begin(), request.t.end());
    SCOPED_TRACE(testing::Message() << target);
    expectLiteral(request);
  }
  EXPECT_GT(onEdges, 30);
}

TEST(VorinPruneZ, EqualsTheDenseDefinitionWhereEdgesAreTooCloseToRise) {
  // Neighbouring edges that rounding makes equal, or turns.
  for (const float from : {1000.0f, 65536.0f, 1e6f}) {
    for (const int target : {20, 300}) {
      Request request;
      for (int i = 0; i < 30; ++i) {
        request.t.push_back(from + static_cast<float>(i) * from * 2e-7f);
      }
      request.target = target;
      request.maxBins = 320;
      SCOPED_TRACE(testing::Message() << from << " " << target);
      expectLiteral(request);
    }
  }
}

TEST(VorinPruneZ, EqualsTheDenseDefinitionOnTimesThatDoNotRise) {
  Request request{evenTimes(60)};
  std::swap(request.t[10], request.t[40]);
  std::swap(request.t[20], request.t[21]);
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR}) {
    request.mode = mode;
    expectLiteral(request);
  }
}

// Linear edges over 0.5 .. 3.5, of which 2 is one: five for a target of 4.
TEST(VorinPruneZ, APointOnAnEdgeCountsInBothBinsOfTimesThatDoNotRiseToo) {
  Request request{{1.0f, 2.0f, 1.0f, 2.0f, 3.0f}};
  request.mode = VORIN_PRUNE_LINEAR;
  for (int target = 1; target <= 6; ++target) {
    request.maxBins = 12;
    request.target = target;
    expectLiteral(request);
  }
}

TEST(VorinPruneZ, ScaleEntersTheNorm) {
  Request request{evenTimes(40)};
  vorin::test::Uniform uniform(3);
  for (std::size_t i = 0; i < request.t.size(); ++i) {
    request.scale.push_back(static_cast<float>(2.0 + uniform()));
  }
  expectLiteral(request);
}

TEST(VorinPruneZ, TargetTenIsReachedOnDensePoints) {
  Request request{evenTimes(1000)};
  request.target = 10;
  const Pruned pruned = prune(request);
  EXPECT_EQ(pruned.count, 10);
  EXPECT_EQ(rowsWithPoints(pruned, 300), 9);
}

TEST(VorinPruneZ, FewPointsGetARowEachAndTheZeroRow) {
  Request request{evenTimes(12)};
  request.target = 200;
  const Pruned pruned = prune(request);
  EXPECT_EQ(pruned.count, 13);
  const std::vector<float> y = dataOf(request);
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(pruned.y[i], y[i]);
    EXPECT_EQ(pruned.P[i + i * 300], 1.0f);
  }
  EXPECT_EQ(pruned.y[12], 0.0f);
  EXPECT_EQ(pruned.norm[12], 1e-10f);
}

TEST(VorinPruneZ, APointExactlyOnAnEdgeCountsInBothBins) {
  // Linear edges over 0.5 .. 3.5; target 3 asks for int(3.9) = 3 of them: 0.5, 2, 3.5.
  // The middle point lies on the second edge.
  Request request{{1.0f, 2.0f, 3.0f}};
  request.mode = VORIN_PRUNE_LINEAR;
  request.maxBins = 6;
  request.target = 3;
  const Pruned pruned = prune(request);
  ASSERT_EQ(pruned.count, 3);
  const float share = 1.0f / std::sqrt(2.0f);
  EXPECT_FLOAT_EQ(pruned.P[0 + 1 * 6], share);
  EXPECT_FLOAT_EQ(pruned.P[1 + 1 * 6], share);
  const std::vector<float> y = dataOf(request);
  EXPECT_FLOAT_EQ(pruned.y[0], (y[0] + y[1]) * share);
  EXPECT_FLOAT_EQ(pruned.y[1], (y[1] + y[2]) * share);
}

TEST(VorinPruneZ, AllTimesZeroGiveCountOneAndAnEmptyMap) {
  Request request{std::vector<float>(20, 0.0f)};
  const Pruned pruned = prune(request);
  EXPECT_EQ(pruned.count, 1);
  EXPECT_EQ(rowsWithPoints(pruned, 300), 0);
  EXPECT_TRUE(std::all_of(pruned.y.begin(), pruned.y.end(), [](float y) { return y == 0.0f; }));
  EXPECT_TRUE(
      std::all_of(pruned.norm.begin(), pruned.norm.end(), [](float s) { return s == 1e-10f; }));
}

TEST(VorinPruneZ, ALogarithmicRangeThatReachesZeroHoldsNoPoint) {
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LEADING}) {
    Request request{{0.0f, 1.0f, 2.0f, 3.0f}};
    request.mode = mode;
    EXPECT_EQ(prune(request).count, 1);
    request.t = {-2.0f, -1.5f, -1.0f};
    EXPECT_EQ(prune(request).count, 1);
  }
  Request linear{{0.0f, 1.0f, 2.0f, 3.0f}};
  linear.mode = VORIN_PRUNE_LINEAR;
  EXPECT_GT(prune(linear).count, 1);
}

TEST(VorinPruneZ, TheLastPointOfTheRangeHasNoInfluence) {
  Request request{evenTimes(100)};
  const Pruned first = prune(request);
  for (const int prHi : {0, 7, 50, 1000, -3}) {
    request.prHi = prHi;
    const Pruned second = prune(request);
    EXPECT_EQ(first.count, second.count);
    expectEqualBits(first.P, second.P, "P");
    expectEqualBits(first.y, second.y, "yPruned");
  }
}

TEST(VorinPruneZ, AFirstPointOutsideThePointsMeansTheFirst) {
  for (const int mode : {VORIN_PRUNE_LOG, VORIN_PRUNE_LINEAR, VORIN_PRUNE_LEADING}) {
    Request request{evenTimes(100)};
    request.mode = mode;
    const Pruned first = prune(request);
    for (const int prLo : {0, -5, 102, 2000000000}) {
      request.prLo = prLo;
      const Pruned second = prune(request);
      EXPECT_EQ(first.count, second.count);
      expectEqualBits(first.P, second.P, "P");
    }
  }
}

TEST(VorinPruneZ, ALaterFirstPointGathersTheEarlierOnesInTheFirstBin) {
  // The first bin reaches from -1e20 to the first edge, which lies just before the
  // fifth point: four points in row 0.
  Request request{evenTimes(100)};
  request.prLo = 5;
  const Pruned pruned = prune(request);
  EXPECT_FLOAT_EQ(pruned.norm[0], 2.0f);
  EXPECT_FLOAT_EQ(pruned.tSum[0], 1.0f + 2.0f + 3.0f + 4.0f);
}

TEST(VorinPruneZ, LeadingPointsStandAlone) {
  Request request{evenTimes(200)};
  request.mode = VORIN_PRUNE_LEADING;
  request.prLo = 11;
  request.target = 40;
  const Pruned pruned = prune(request);
  // Nothing lies below the first edge t[0] - h / 2, so row r is point r up to the tenth.
  for (std::size_t r = 0; r < 9; ++r) {
    EXPECT_EQ(pruned.P[r + r * 300], 1.0f);
    EXPECT_EQ(pruned.norm[r], 1.0f);
  }
}

// VorinPruneZ on the first `points` of the positions t, with data and scales of 1.
Pruned pruneSome(const std::vector<float>& t, int points, int prLo, int target, int mode) {
  constexpr std::size_t bins = 40;
  const std::vector<float> ones(t.size(), 1.0f);
  Pruned out;
  out.y.resize(bins);
  out.tSum.resize(bins);
  out.norm.resize(bins);
  out.P.resize(bins * t.size());
  VorinPruneZ(points, static_cast<int>(t.size()), int(bins), ones.data(), t.data(), ones.data(),
              prLo, -1, target, mode, &out.count, out.y.data(), out.tSum.data(), out.norm.data(),
              out.P.data(), &out.status);
  return out;
}

TEST(VorinPruneZ, LeadingEdgesGoOnPastThePointsInUse) {
  // h = 0.5, lo = 0.5, hi = 5.5. Six leading edges at 0.75 .. 5.75, whose bins hold one point
  // each up to the fifth. Of int(10.4) = 10 edges four are logarithmic, at 0.5, 1.11, 2.47 and
  // 5.5, and hold 1, 2 and 3 .. 5: 9 with the closing row. Of int(8 * 10 / 9 + 0.5) = 9 three
  // are, at 0.5, 1.66 and 5.5, and hold 1 and 2 .. 5: 8.
  const Pruned pruned = pruneSome(evenTimes(20), 5, 7, 8, VORIN_PRUNE_LEADING);
  ASSERT_EQ(pruned.count, 8);
  const std::vector<float> sums{1, 2, 3, 4, 5, 1, 14, 0};
  EXPECT_TRUE(std::equal(sums.begin(), sums.end(), pruned.tSum.begin()));
  // A first point of ldPoints + 1 still has a position for each leading edge.
  EXPECT_EQ(pruneSome(evenTimes(6), 5, 7, 8, VORIN_PRUNE_LEADING).count, 8);
}

TEST(VorinPruneZ, TheSpacingOfOnePointIsTakenFromTheNextPositionWhereThereIsOne) {
  // With a second position equal to the first, h = 0 and all edges fall on the point: it
  // lies in each of the two bins. With h = 2 it would lie in the second one alone.
  const Pruned pruned = pruneSome({4.0f, 4.0f}, 1, 1, 2, VORIN_PRUNE_LINEAR);
  EXPECT_EQ(pruned.count, 3);
  EXPECT_EQ(pruned.tSum[0], 4.0f);
  EXPECT_EQ(pruned.tSum[1], 4.0f);
}

TEST(VorinPruneZ, PointsMarkedBelowTheLimitAreDropped) {
  Request request{evenTimes(50)};
  request.mode = VORIN_PRUNE_LINEAR;
  request.t[0] = -2e20f;
  const Pruned pruned = prune(request);
  for (std::size_t r = 0; r < 300; ++r) {
    EXPECT_EQ(pruned.P[r], 0.0f);
  }
}

TEST(VorinPruneZ, CapacityCutsTheFillingAndNothingIsWrittenPastIt) {
  // Points that bin k and bin k + 1 share make more rows than edges can avoid: with
  // all points on one spot every wide bin pair holds them.
  Request request{std::vector<float>(30, 2.0f)};
  request.mode = VORIN_PRUNE_LINEAR;
  for (const int maxBins : {1, 2, 3, 7}) {
    request.maxBins = maxBins;
    request.target = 5000;
    const Pruned pruned = prune(request);
    EXPECT_LE(pruned.count, maxBins);
    EXPECT_GE(pruned.count, 1);
  }
  Request dense{evenTimes(500)};
  dense.maxBins = 10;
  dense.target = 10000;
  const Pruned pruned = prune(dense);
  EXPECT_EQ(pruned.count, 10);
}

TEST(VorinPruneZ, NoCapacityWritesNothing) {
  Request request{evenTimes(20)};
  for (const int maxBins : {0, -4}) {
    request.maxBins = maxBins;
    EXPECT_EQ(prune(request).count, 1);
  }
}

TEST(VorinPruneZ, OnePointDoesNotLookAtASecond) {
  Request request{{4.0f}};
  // h = 2, lo = 2, hi = 6: the point lies inside.
  const Pruned pruned = prune(request);
  EXPECT_EQ(pruned.count, 2);
  EXPECT_EQ(pruned.tSum[0], 4.0f);
}

TEST(VorinPruneZ, NoPointsGiveCountOne) {
  Request request{{}};
  const Pruned pruned = prune(request);
  EXPECT_EQ(pruned.count, 1);
  EXPECT_EQ(pruned.status, 0);
}

TEST(VorinPruneZ, AModeWithoutEdgesHoldsNoPoint) {
  Request request{evenTimes(30)};
  for (const int mode : {0, 4, -1, 99}) {
    request.mode = mode;
    EXPECT_EQ(prune(request).count, 1);
  }
}

TEST(VorinPruneZ, TargetsBelowOneGiveCountOne) {
  Request request{evenTimes(30)};
  for (const int target : {0, -1, std::numeric_limits<int>::min()}) {
    request.target = target;
    EXPECT_EQ(prune(request).count, 1);
  }
}

// Zero times infinity is not a number, so in the dense sums a value that is not finite reaches
// every row.
TEST(VorinPruneZ, AValueThatIsNotFiniteReachesEveryRow) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  // Linear bins with the edges 0.5, 3.5, 6.5: points 1 .. 3 and 4 .. 6.
  const std::vector<float> t = evenTimes(6);
  for (const float wrong : {infinity, -infinity, std::numeric_limits<float>::quiet_NaN()}) {
    std::vector<float> y(6, 1.0f), v(6, 1.0f), norm(8), tSum(8), out(8), P(48);
    int count = 0;
    int status = -1;
    const auto call = [&] {
      VorinPruneZ(6, 6, 8, y.data(), t.data(), v.data(), 1, -1, 3, VORIN_PRUNE_LINEAR, &count,
                  out.data(), tSum.data(), norm.data(), P.data(), &status);
      EXPECT_EQ(count, 3);
    };
    y[4] = wrong;
    call();
    EXPECT_TRUE(std::isnan(out[0])) << wrong;
    EXPECT_FALSE(std::isfinite(out[1])) << wrong;
    EXPECT_EQ(std::isinf(out[1]), std::isinf(wrong));
    EXPECT_EQ(out[2], 0.0f);  // data past the filled rows are set, not summed
    y[4] = 1.0f;
    v[4] = wrong;
    call();
    EXPECT_TRUE(std::isnan(norm[0])) << wrong;
    EXPECT_TRUE(std::isnan(out[0])) << wrong;
    EXPECT_TRUE(std::isnan(P[0])) << wrong;
    EXPECT_TRUE(std::isnan(P[8 * 5])) << wrong;
    EXPECT_EQ(norm[2], 1e-10f);
  }
  // A scale whose square overflows counts as well.
  std::vector<float> y(6, 1.0f), v(6, 1.0f), norm(8), tSum(8), out(8), P(48);
  v[0] = 1e30f;
  int count = 0;
  int status = -1;
  VorinPruneZ(6, 6, 8, y.data(), t.data(), v.data(), 1, -1, 3, VORIN_PRUNE_LINEAR, &count,
              out.data(), tSum.data(), norm.data(), P.data(), &status);
  EXPECT_EQ(norm[0], infinity);
  EXPECT_TRUE(std::isnan(norm[1]));
}

TEST(PrunePlan, AKernelColumnWithAnInfinityIsNaNOutsideItsBinAndTheOthersStayFinite) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  for (const bool rising : {true, false}) {
    std::vector<float> t = evenTimes(6);
    if (!rising) {
      std::swap(t[1], t[2]);
    }
    const vorin::reduce::PrunePlan plan(
        {6, 6, 8, t.data(), nullptr, 1, 3, vorin::reduce::pruneLinear});
    ASSERT_EQ(plan.count(), 3);
    std::vector<float> K(18, 1.0f);
    K[6 + 4] = infinity;  // row 4 of the second column
    std::vector<float> kernel(9, untouched);
    plan.apply(3, K.data(), 6, kernel.data(), 3);
    EXPECT_TRUE(std::isnan(kernel[3])) << rising;
    EXPECT_EQ(kernel[4], infinity) << rising;
    EXPECT_TRUE(std::isnan(kernel[5])) << rising;  // the closing row is part of the product
    for (const std::size_t place : {0U, 1U, 6U, 7U}) {
      EXPECT_FLOAT_EQ(kernel[place], std::sqrt(3.0f)) << rising;
    }
    EXPECT_EQ(kernel[2], 0.0f);
    EXPECT_EQ(kernel[8], 0.0f);
  }
}

TEST(VorinPruneZ, APointInNoBinReachesTheRowsAsWell) {
  // The first point is left out by its mark, its datum is not a number.
  const std::vector<float> t{-2e20f, 1, 2, 3, 4, 5};
  const std::vector<float> y{std::numeric_limits<float>::quiet_NaN(), 1, 1, 1, 1, 1};
  const vorin::reduce::PrunePlan plan(
      {6, 6, 8, t.data(), nullptr, 2, 4, vorin::reduce::pruneLinear});
  ASSERT_GT(plan.filled(), 0);
  std::vector<float> out(8, untouched);
  plan.apply(y.data(), out.data());
  EXPECT_TRUE(std::isnan(out[0]));
}

// A plan against the dense product with the exported map, summed in the order of the points.
void expectTheBitsOfTheDenseProduct(const Request& request) {
  for (const int columns : {1, 7, 8, 17}) {
    const Pruned dense = prune(request);
    const auto problem = vorin::test::randomProblem<float>(257, columns, 21);
    const std::vector<float> scale(257, 1.0f);
    const vorin::reduce::PrunePlan plan(
        {257, 257, 300, request.t.data(), scale.data(), 1, 20, VORIN_PRUNE_LOG});
    const int rows = plan.count();
    std::vector<float> kernel(area(rows, columns), untouched);
    plan.apply(columns, problem.K.data(), 257, kernel.data(), rows);
    for (int j = 0; j < columns; ++j) {
      for (int r = 0; r < rows; ++r) {
        float sum = 0.0f;
        for (std::size_t i = 0; i < 257; ++i) {
          sum += dense.P[static_cast<std::size_t>(r) + i * 300] * problem.K[i + area(257, j)];
        }
        EXPECT_EQ(kernel[static_cast<std::size_t>(r) + area(rows, j)], sum);
      }
    }
  }
}

TEST(PrunePlan, KernelHasTheBitsOfTheDenseProduct) {
  expectTheBitsOfTheDenseProduct({evenTimes(257)});
}

TEST(PrunePlan, KernelOfPointsOutOfOrderHasTheBitsOfTheDenseProduct) {
  // The ends stay where they are, since the range is taken from them.
  Request request{evenTimes(257)};
  std::reverse(request.t.begin() + 1, request.t.end() - 1);
  expectTheBitsOfTheDenseProduct(request);
}

}  // namespace
