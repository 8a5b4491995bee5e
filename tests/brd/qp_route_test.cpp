// A solve by the quadratic program, and what follows from its f.
#include "brd/qp_route.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "brd/dispatch.hpp"
#include "brd/qp_route_cases.hpp"
#include "brd/qp_solver.hpp"
#include "support/open_log.hpp"
#include "support/problems.hpp"
#include "support/reference.hpp"
#include "support/store.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"
#include "vorin.h"

namespace {

using vorin::brd::Problem;
using vorin::test::area;
using vorin::test::expectSameBits;
using vorin::test::finish;
using vorin::test::getNumber;
using vorin::test::laplaceProblem;
using vorin::test::length;
using vorin::test::randomProblem;
using vorin::test::Reference;
using vorin::test::setNumber;
using vorin::test::solve;
using vorin::test::Solved;
using vorin::test::TestProblem;
using Numbers = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// G = K diag(H) K' + w I and the two solves, by their definitions.
void literalFinish(const TestProblem<double>& data, double w, const Numbers& H, Solved& out) {
  const int m = data.m;
  Numbers G(area(m, m));
  for (int k = 0; k < m; ++k) {
    for (int j = 0; j < m; ++j) {
      double sum = 0.0;
      for (int i = 0; i < data.n; ++i) {
        sum += H[length(i)] * data.K[length(j) + area(m, i)] * data.K[length(k) + area(m, i)];
      }
      G[length(k) + area(m, j)] = sum;
    }
  }
  for (int j = 0; j < m; ++j) {
    G[length(j) + area(m, j)] += w;
  }
  std::vector<int> pivots(length(m));
  vorin::getrf(m, G.data(), m, pivots.data());
  out.c = data.d;
  vorin::getrs(m, G.data(), m, pivots.data(), out.c.data());
  Numbers x = out.c;
  vorin::getrs(m, G.data(), m, pivots.data(), x.data());
  double square = 0.0;
  double slope = 0.0;
  for (std::size_t j = 0; j < x.size(); ++j) {
    square += out.c[j] * out.c[j];
    slope += (out.c[j] - x[j] * w) * out.c[j];
  }
  out.result.rss = w * w * square;
  out.result.rssSlope = w * 2.0 * slope;
}

/// The whole solve by plain loops around nk0000.
Solved literalSolve(const TestProblem<double>& data, double w) {
  const int m = data.m;
  const int n = data.n;
  Numbers g(length(n));
  Numbers Q(area(n, n));
  for (int i = 0; i < n; ++i) {
    double t = 0.0;
    for (int j = 0; j < m; ++j) {
      t += data.K[length(j) + area(m, i)] * data.d[length(j)];
    }
    g[length(i)] = -t;
    for (int k = 0; k < n; ++k) {
      double sum = 0.0;
      for (int j = 0; j < m; ++j) {
        sum += data.K[length(j) + area(m, i)] * data.K[length(j) + area(m, k)];
      }
      Q[length(i) + area(n, k)] = i == k ? sum + w : sum;
    }
  }
  Numbers A(area(n, n));
  vorin::brd::vrEye_d(n, A.data());
  const Numbers b(length(n));
  Solved out{Numbers(length(n)), {}, {}};
  double objective = 0.0;
  std::int32_t count = 0;
  std::vector<std::int32_t> list(length(n));
  Numbers multipliers(length(n));
  vorin::brd::nk0000(n, n, 0, A.data(), b.data(), g.data(), Q.data(), &objective, out.f.data(),
                     &count, list.data(), multipliers.data(), &out.result.status);
  Numbers H(length(n));
  for (std::size_t i = 0; i < H.size(); ++i) {
    out.f[i] = out.f[i] < 1e-15 ? 0.0 : out.f[i];
    H[i] = out.f[i] > 1e-15 ? 1.0 : out.f[i];
  }
  literalFinish(data, w, H, out);
  return out;
}

class QpRoute : public testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override {
    vorin::kernels::useLevel(vorin::kernels::highestLevel());
    vorin::test::loadSettings();
  }
};

TEST_F(QpRoute, AMatrixOfOnesOnTheDiagonal) {
  Numbers A(9, nan);
  vorin::brd::vrEye_d(3, A.data());
  EXPECT_EQ(A, Numbers({1, 0, 0, 0, 1, 0, 0, 0, 1}));
  vorin::brd::vrEye_d(0, A.data());
  vorin::brd::vrEye_d(-4, A.data());
  EXPECT_EQ(A[0], 1.0);
}

// Problems of many shapes and weights, some of them far below the rounding of K'K.
template <class Check>
void forManyProblems(Check check) {
  std::uint64_t seed = 0;
  for (const int m : {1, 2, 7, 33, 64}) {
    for (const int n : {1, 3, 8, 31, 70}) {
      ++seed;
      for (const auto& data :
           {randomProblem<double>(m, n, seed), laplaceProblem<double>(m, n, 0.01, 3)}) {
        for (const double w : {1e-9, 1e-3, 2.0}) {
          SCOPED_TRACE(testing::Message() << m << " x " << n << ", weight " << w);
          check(data, w);
        }
      }
    }
  }
}

TEST_F(QpRoute, TheReferenceImplementationHasTheBitsOfTheDefinition) {
  const auto solveByReference =
      Reference::instance().find<decltype(referenceQuadraticProgram)>("referenceQuadraticProgram");
  forManyProblems([&](const TestProblem<double>& data, double w) {
    Solved got{Numbers(length(data.n)), Numbers(length(data.m)), {}};
    solveByReference(data.m, data.n, data.K.data(), data.d.data(), got.f.data(), got.c.data(), w,
                     &got.result.rss, &got.result.rssSlope, &got.result.status);
    expectSameBits(got, literalSolve(data, w));
  });
}

// The distribution has the bits of the definition; c, rss and slope may come from the normal
// equations on the active set, and have one result at every instruction-set level.
TEST_F(QpRoute, HasTheDistributionOfTheDefinitionAndTheSameBitsAtEveryLevel) {
  using vorin::kernels::Level;
  forManyProblems([](const TestProblem<double>& data, double w) {
    vorin::kernels::useLevel(Level::baseline);
    const Solved expected = solve(data, w);
    for (const Level level : {Level::avx2, Level::avx512}) {
      vorin::kernels::useLevel(level);
      expectSameBits(solve(data, w), expected);
    }
    const Solved literal = literalSolve(data, w);
    EXPECT_EQ(expected.f, literal.f);
    EXPECT_EQ(expected.result.status, literal.result.status);
    double squaredNorm = 0.0;
    for (const double value : data.K) {
      squaredNorm += value * value;
    }
    // Either system errs by the rounding of a double times its condition number.
    const double relative = 4.0 * 0x1p-52 * (squaredNorm / w + 1.0);
    EXPECT_NEAR(expected.result.rss, literal.result.rss, relative * literal.result.rss);
    EXPECT_NEAR(expected.result.rssSlope, literal.result.rssSlope,
                relative * 2.0 * literal.result.rss / w);
  });
}

TEST_F(QpRoute, WhatFAndCHoldIsNotRead) {
  const auto data = laplaceProblem<double>(30, 20, 0.01, 8);
  const Solved expected = solve(data, 0.01, 0.0);
  for (const double before : {nan, infinity, -3.0, 1e300}) {
    expectSameBits(solve(data, 0.01, before), expected);
  }
}

TEST_F(QpRoute, ZeroDataGiveZeroEverything) {
  auto data = laplaceProblem<double>(30, 20, 0.01, 8);
  std::fill(data.d.begin(), data.d.end(), 0.0);
  const Solved got = solve(data, 0.5);
  EXPECT_EQ(got.f, Numbers(20, 0.0));
  EXPECT_EQ(got.c, Numbers(30, 0.0));
  EXPECT_EQ(got.result.rss, 0.0);
  EXPECT_EQ(got.result.rssSlope, 0.0);
  EXPECT_EQ(got.result.status, 0);
}

TEST_F(QpRoute, TinyElementsAreClearedAndLargerOnesKeepAMaskOfOne) {
  // As many active columns as rows, so that the system is the m-by-m one.
  const auto data = randomProblem<double>(2, 4, 21);
  const Solved got = finish(data, 0.3, {-1e-18, 2e-15, 0.7, 9.99e-16});
  EXPECT_EQ(got.f, Numbers({0.0, 2e-15, 0.7, 0.0}));
  Solved expected{got.f, {}, {}};
  literalFinish(data, 0.3, {0, 1, 1, 0}, expected);
  // Two factorisations of a 2 x 2 system with a condition of a few units.
  for (std::size_t j = 0; j < 2; ++j) {
    EXPECT_NEAR(got.c[j], expected.c[j], 1e-14 * std::abs(expected.c[j]));
  }
  EXPECT_NEAR(got.result.rss, expected.result.rss, 1e-14 * expected.result.rss);
  EXPECT_NEAR(got.result.rssSlope, expected.result.rssSlope, 1e-14 * expected.result.rssSlope);
}

// Columns of 1e8 make a mask of 1e-15 weigh as much as ordinary columns do.
TEST_F(QpRoute, AnElementOfExactlyTheSmallestValueKeepsItAsItsMask) {
  auto data = randomProblem<double>(6, 3, 22);
  for (std::size_t j = 0; j < 6; ++j) {
    data.K[j] *= 1e8;
  }
  const Solved got = finish(data, 0.3, {1e-15, 0.5, 0.0});
  EXPECT_EQ(got.f, Numbers({1e-15, 0.5, 0.0}));
  Solved expected{got.f, {}, {}};
  literalFinish(data, 0.3, {1e-15, 1, 0}, expected);
  expectSameBits(got, expected);
  EXPECT_NE(got.result.rss, finish(data, 0.3, {0.0, 0.5, 0.0}).result.rss);
  EXPECT_NE(got.result.rss, finish(data, 0.3, {1.1e-15, 0.5, 0.0}).result.rss);
}

TEST_F(QpRoute, AFailedProgramDoesNotStopTheClosingSteps) {
  const auto data = randomProblem<double>(5, 4, 23);
  const Solved good = finish(data, 0.3, {0.1, 0, 0.2, 0});
  const Solved failed = finish(data, 0.3, {0.1, 0, 0.2, 0}, 77);
  EXPECT_EQ(failed.result.status, 77);
  EXPECT_EQ(failed.c, good.c);
  EXPECT_EQ(failed.result.rss, good.result.rss);

  // A weight so far below zero that Q has no positive diagonal: f = 0, c = d / w.
  const Solved negative = solve(data, -1000.0);
  EXPECT_EQ(negative.result.status, VORIN_QP_NOT_DEFINITE);
  EXPECT_EQ(negative.f, Numbers(4, 0.0));
  double square = 0.0;
  for (std::size_t j = 0; j < 5; ++j) {
    EXPECT_DOUBLE_EQ(negative.c[j], data.d[j] / -1000.0);
    square += data.d[j] * data.d[j];
  }
  EXPECT_NEAR(negative.result.rss, square, 1e-14 * square);
}

TEST_F(QpRoute, EmptyProblems) {
  for (const int m : {0, -2}) {
    const Solved got = solve({m, 3, {}, {}}, 0.1);
    EXPECT_EQ(got.f, Numbers(3, 0.0));
    EXPECT_EQ(got.result.rss, 0.0);
    EXPECT_EQ(got.result.rssSlope, 0.0);
    EXPECT_EQ(got.result.status, 0);
  }
  for (const int n : {0, -1}) {
    const Solved got = solve({3, n, {}, {1, 2, 4}}, 0.25);
    EXPECT_DOUBLE_EQ(got.result.rss, 21.0);
    EXPECT_EQ(got.result.status, 0);
  }
}

// The corner search can arrive at each of these weights.
TEST_F(QpRoute, WeightsThatAreNoneEnd) {
  const auto data = laplaceProblem<double>(40, 30, 0.01, 2);
  for (const double w : {0.0, -0.0, nan, infinity, -infinity, -1e-3, 1e308, 5e-324}) {
    const Solved got = solve(data, w);
    for (const double f : got.f) {
      EXPECT_TRUE(std::isfinite(f) && (f == 0.0 || f >= 1e-15)) << w;
    }
  }
  EXPECT_EQ(solve(data, nan).result.status, VORIN_QP_NOT_DEFINITE);
}

TEST_F(QpRoute, HostileValuesEnd) {
  const Numbers values = {nan,    infinity, -infinity, 0.0,    1e308,
                          -1e308, 5e-324,   1e-310,    1e-200, 1e200};
  vorin::test::Uniform uniform(4);
  for (int round = 0; round < 3000; ++round) {
    const int m = round % 9;
    const int n = round / 9 % 9;
    auto data = randomProblem<double>(m, n, static_cast<std::uint64_t>(round));
    const auto spoil = [&](Numbers& numbers) {
      for (double& value : numbers) {
        if (uniform() > 0.6) {
          value = values[static_cast<std::size_t>(5.0 * (1.0 + uniform())) % values.size()];
        }
      }
    };
    if (round % 3 != 0) {
      spoil(data.K);
    }
    if (round % 3 != 1) {
      spoil(data.d);
    }
    const double w = round % 5 == 0 ? values[static_cast<std::size_t>(round) % 10] : 0.1;
    for (const double f : solve(data, w).f) {
      EXPECT_TRUE(std::isfinite(f) && (f == 0.0 || f >= 1e-15));
    }
  }
}

// The third column of the dispatchers and of the exports.
TEST_F(QpRoute, TheKeyPicksItForBothPrecisions) {
  const auto narrow = laplaceProblem<float>(50, 30, 0.01, 4);
  const TestProblem<double> wide{
      50, 30, {narrow.K.begin(), narrow.K.end()}, {narrow.d.begin(), narrow.d.end()}};
  const float weight = 0.02f;
  const auto w = static_cast<double>(weight);
  const Solved expected = solve(wide, w);
  setNumber("BRDA", 3.0f);

  Numbers f(30, -5.0);
  double rss = -1;
  double slope = -1;
  std::int32_t status = -1;
  vrBRDw_dp_dll(50, 30, wide.K.data(), wide.d.data(), f.data(), &w, &rss, &slope, &status);
  EXPECT_EQ(f, expected.f);
  EXPECT_EQ(rss, expected.result.rss);
  EXPECT_EQ(slope, expected.result.rssSlope);
  EXPECT_EQ(status, 0);

  Problem<double> problem(50, 30, wide.K.data(), wide.d.data());
  Numbers c(50, -3.0);
  vorin::brd::vrBRD_d(problem, f.data(), c.data(), w, rss, slope, status);
  EXPECT_EQ(f, expected.f);
  EXPECT_EQ(c, expected.c);

  std::vector<float> fSingle(30, -5.0f);
  std::vector<float> cSingle(50, -3.0f);
  float rssSingle = -1;
  float slopeSingle = -1;
  const auto expectSingle = [&] {
    for (std::size_t i = 0; i < f.size(); ++i) {
      EXPECT_EQ(fSingle[i], static_cast<float>(expected.f[i]));
    }
    EXPECT_EQ(rssSingle, static_cast<float>(expected.result.rss));
    EXPECT_EQ(slopeSingle, static_cast<float>(expected.result.rssSlope));
    EXPECT_EQ(status, 0);
    std::fill(fSingle.begin(), fSingle.end(), -5.0f);
    rssSingle = slopeSingle = -1;
    status = -1;
  };
  status = -1;
  vrBRDw_sp_dll(50, 30, narrow.K.data(), narrow.d.data(), fSingle.data(), &weight, &rssSingle,
                &slopeSingle, &status);
  expectSingle();

  // The caller's dual vector is neither read nor written.
  Problem<float> single(50, 30, narrow.K.data(), narrow.d.data());
  vorin::brd::vrBRD_s(single, fSingle.data(), cSingle.data(), weight, rssSingle, slopeSingle,
                      status);
  expectSingle();
  EXPECT_EQ(cSingle, std::vector<float>(50, -3.0f));
}

TEST_F(QpRoute, ReadsNoLimitWritesNoCountAndNoLine) {
  const auto data = laplaceProblem<float>(50, 30, 0.01, 4);
  setNumber("BRDA", 3.0f);
  const auto run = [&] {
    std::vector<float> f(30);
    const float w = 0.02f;
    float rss = -1;
    float slope = -1;
    std::int32_t status = -1;
    vrBRDw_sp_dll(50, 30, data.K.data(), data.d.data(), f.data(), &w, &rss, &slope, &status);
    EXPECT_EQ(status, 0);
    return f;
  };
  const auto expected = run();
  setNumber("CITE", 41.0f);
  setNumber("MAXI", 0.0f);
  setNumber("TOL", 1e30f);
  setNumber("REPO", 9.0f);
  vorin::test::OpenLog log("QPROUTE");
  EXPECT_EQ(run(), expected);
  EXPECT_EQ(getNumber("CITE"), 41.0f);
  EXPECT_TRUE(log.written().empty());
}

}  // namespace
