// Solves by the library (normal equations on the active set, factors kept) against the
// reference implementation: the full m-by-m system, factored anew in every pass.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <vector>

#include "brd/iteration.hpp"
#include "brd/system.hpp"
#include "support/one_solve.hpp"
#include "support/problems.hpp"
#include "support/reference.hpp"
#include "support/store.hpp"
#include "vorin.h"

namespace {

using vorin::brd::System;
using vorin::test::getNumber;
using vorin::test::oneSolveOf;
using vorin::test::Reference;
using vorin::test::setNumber;
using vorin::test::Solved;
using vorin::test::solvedBy;
using vorin::test::TestProblem;

template <class Real>
struct Outcome : Solved<Real> {
  float passes = -1;
};

template <class Real>
Outcome<Real> fastSolve(const TestProblem<Real>& data, Real weight) {
  Outcome<Real> out{solvedBy(oneSolveOf<Real>(), data.m, data.n, data.K, data.d, weight)};
  out.passes = getNumber("CITE");
  return out;
}

template <class Real>
Outcome<Real> referenceSolve(const TestProblem<Real>& data, Real weight) {
  const Reference& reference = Reference::instance();
  reference.takeSettings();
  const auto solveOnce = reference.find<std::remove_pointer_t<decltype(oneSolveOf<Real>())>>(
      std::is_same_v<Real, double> ? "vrBRDw_dp_dll" : "vrBRDw_sp_dll");
  Outcome<Real> out{solvedBy(solveOnce, data.m, data.n, data.K, data.d, weight)};
  out.passes = reference.getNumber("CITE");
  return out;
}

double largest(const std::vector<double>& values) {
  double found = 0;
  for (const double value : values) {
    found = std::max(found, std::abs(value));
  }
  return found;
}

double squaredNorm(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) {
    sum += value * value;
  }
  return sum;
}

// Either solve errs by the rounding of a double times the condition number of its system,
// at most |K|^2 / w + 1.
void expectSameSolve(const TestProblem<double>& data, double weight) {
  const auto fast = fastSolve(data, weight);
  const auto reference = referenceSolve(data, weight);
  SCOPED_TRACE(testing::Message() << data.m << " x " << data.n << ", weight " << weight);
  EXPECT_EQ(fast.status, reference.status);
  EXPECT_EQ(fast.passes, reference.passes);
  const double relative = 4.0 * 0x1p-52 * (squaredNorm(data.K) / weight + 1.0);
  const double bound = relative * largest(reference.f);
  for (std::size_t i = 0; i < reference.f.size(); ++i) {
    EXPECT_NEAR(fast.f[i], reference.f[i], bound);
  }
  EXPECT_NEAR(fast.rss, reference.rss, relative * reference.rss);
  // The slope is a difference of two terms of the size of 2 rss / w.
  EXPECT_NEAR(fast.rssSlope, reference.rssSlope, relative * 2.0 * reference.rss / weight);
}

class FastAgainstReference : public testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override { vorin::test::loadSettings(); }
};

TEST_F(FastAgainstReference, SameStatusPassesAndDistribution) {
  std::uint64_t seed = 100;
  for (const int m : {20, 60, 200}) {
    for (const int n : {10, 50, 100}) {
      for (const double sigma : {0.001, 0.01, 0.05}) {
        const auto data = vorin::test::laplaceProblem<double>(m, n, sigma, ++seed);
        for (const double weight : {1e-4, 1e-2, 1.0, 30.0}) {
          expectSameSolve(data, weight);
        }
      }
    }
  }
}

// Many columns a row: the fast solve takes the m-by-m system, too.
TEST_F(FastAgainstReference, SameOnKernelsWiderThanTall) {
  std::uint64_t seed = 300;
  for (const int m : {1, 2, 9, 16, 25}) {
    for (const int columnsPerRow : {2, 4, 5, 20}) {
      const int n = m * columnsPerRow;
      for (const double weight : {1e-4, 1e-2, 1.0, 30.0}) {
        expectSameSolve(vorin::test::laplaceProblem<double>(m, n, 0.01, ++seed), weight);
        expectSameSolve(vorin::test::randomProblem<double>(m, n, ++seed), weight);
      }
    }
  }
}

TEST_F(FastAgainstReference, BelowTheLeastWeightOfTheNormalEquationsTheBitsAreTheSame) {
  const auto data = vorin::test::laplaceProblem<double>(80, 40, 0.01, 3);
  const double weight = 0.9e-6 * squaredNorm(data.K) / 40;
  const auto fast = fastSolve(data, weight);
  const auto reference = referenceSolve(data, weight);
  EXPECT_EQ(fast.f, reference.f);
  EXPECT_EQ(fast.rss, reference.rss);
}

// Where the residual is nearly all misfit, the slope is a difference of almost equal terms and
// its sign is rounding error. A search takes its direction from that sign.
TEST_F(FastAgainstReference, SameSignOfTheSlopeDownToTheLeastWeight) {
  setNumber("TOL", 1e-12f);
  vorin::test::Uniform random(4);
  const auto between = [&](int low, int high) {
    return low + static_cast<int>((random() + 1.0) / 2.0 * (high - low));
  };
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    const int m = between(10, 60);
    const int n = between(3, std::min(40, m));
    auto data = vorin::test::randomProblem<double>(m, n, seed);
    if (seed % 2 == 0) {
      for (double& value : data.K) {
        value = std::abs(value);
      }
    }
    for (const double share : {1.01e-6, 3e-6, 1.01e-5, 1e-4}) {
      const double weight = share * squaredNorm(data.K) / n;
      const auto fast = fastSolve(data, weight);
      const auto reference = referenceSolve(data, weight);
      SCOPED_TRACE(testing::Message() << m << " x " << n << ", share " << share);
      EXPECT_EQ(std::signbit(fast.rssSlope), std::signbit(reference.rssSlope));
      EXPECT_EQ(fast.status, reference.status);
      EXPECT_EQ(fast.passes, reference.passes);
    }
  }
}

TEST_F(FastAgainstReference, SingleIterationHasTheSameBits) {
  // It uses the m-by-m system in both.
  setNumber("BRDA", 1.0f);
  setNumber("TOL", 1e-8f);
  std::uint64_t seed = 12;
  for (const int m : {20, 90}) {
    for (const int n : {10, 50}) {
      const auto data = vorin::test::laplaceProblem<float>(m, n, 0.01, ++seed);
      for (const float weight : {3.0f, 0.5f, 0.01f}) {
        const auto fast = fastSolve(data, weight);
        const auto reference = referenceSolve(data, weight);
        EXPECT_EQ(fast.f, reference.f);
        EXPECT_EQ(fast.rss, reference.rss);
        EXPECT_EQ(fast.rssSlope, reference.rssSlope);
        EXPECT_EQ(fast.status, reference.status);
        EXPECT_EQ(fast.passes, reference.passes);
      }
    }
  }
}

TEST_F(FastAgainstReference, NonFiniteAndExtremeElementsLeadToTheSameStatus) {
  for (const double bad : {std::nan(""), double(INFINITY), 1e300, 1e-320}) {
    auto data = vorin::test::laplaceProblem<double>(20, 10, 0.01, 3);
    data.K[7] = bad;
    const auto fast = fastSolve(data, 0.1);
    const auto reference = referenceSolve(data, 0.1);
    EXPECT_EQ(fast.status, reference.status) << bad;
    EXPECT_EQ(std::isnan(fast.rss), std::isnan(reference.rss)) << bad;
  }
}

TEST(KeptFactors, HaveTheBitsOfNewOnes) {
  vorin::test::loadSettings();
  setNumber("TOL", 1e-8f);
  const auto data = vorin::test::laplaceProblem<float>(90, 50, 0.01, 12);
  System<float> kept(data.m, data.n, data.K.data(), data.d.data());
  std::vector<float> f(50), keptF(50);
  std::vector<float> c(90, 1.0f), keptC(90, 1.0f);
  for (const float weight : {3.0f, 0.5f, 0.5f, 2.0f}) {
    System<float> fresh(data.m, data.n, data.K.data(), data.d.data());
    const auto expected = vorin::brd::vrBRD_w_s(fresh, f.data(), c.data(), weight);
    const auto got = vorin::brd::vrBRD_w_s(kept, keptF.data(), keptC.data(), weight);
    EXPECT_EQ(keptF, f);
    EXPECT_EQ(keptC, c);
    EXPECT_EQ(got.rss, expected.rss);
    EXPECT_EQ(got.rssSlope, expected.rssSlope);
  }
  vorin::test::loadSettings();
}

TEST(KeptFactors, AreNotUsedForAnotherMaskOrWeight) {
  const auto data = vorin::test::randomProblem<double>(12, 6, 5);
  System<double> system(12, 6, data.K.data(), data.d.data());
  std::vector<double> x(12), y(12);
  const std::vector<double> all(6, 1.0);
  std::vector<double> some = all;
  some[2] = 0.0;
  system.factor(all.data(), 0.5);
  system.solveData(x.data());
  system.factor(some.data(), 0.5);
  system.solveData(y.data());
  EXPECT_NE(x, y);
  // Any positive value means the same mask.
  const std::vector<double> other(6, 7.0);
  system.factor(other.data(), 0.5);
  system.solveData(y.data());
  EXPECT_EQ(x, y);
  system.factor(other.data(), 0.25);
  system.solveData(y.data());
  EXPECT_NE(x, y);
}

}  // namespace
