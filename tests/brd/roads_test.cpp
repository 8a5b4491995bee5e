// The fast road (smaller side, factors kept) against the road that states the meaning:
// the m-by-m system, factored anew in every pass.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "brd/iteration.hpp"
#include "brd/system.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"

namespace {

using vorin::brd::System;
using vorin::test::getNumber;
using vorin::test::TestProblem;

struct Outcome {
  std::vector<double> f;
  double rss = 0;
  double rssSlope = 0;
  std::int32_t status = -1;
  float passes = -1;
};

class PlainRoad {
 public:
  PlainRoad() { set(true); }
  ~PlainRoad() { set(false); }

 private:
  static void set(bool plain) {
    System<double>::plainRoad() = plain;
    System<float>::plainRoad() = plain;
  }
};

Outcome solve(const TestProblem<double>& data, double weight) {
  System<double> system(data.m, data.n, data.K.data(), data.d.data());
  Outcome out;
  out.f.assign(static_cast<std::size_t>(data.n), 1.0);
  std::vector<double> c(static_cast<std::size_t>(data.m), 0.0);
  const auto solution = vorin::brd::vrBRD_w_d(system, out.f.data(), c.data(), weight);
  out.rss = solution.rss;
  out.rssSlope = solution.rssSlope;
  out.status = solution.status;
  out.passes = getNumber("CITE");
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

class Roads : public testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override { vorin::test::loadSettings(); }
};

TEST_F(Roads, FastAndPlainAgreeInStatusPassesAndDistribution) {
  int compared = 0;
  std::uint64_t seed = 100;
  for (const int m : {20, 60, 200}) {
    for (const int n : {10, 50, 100}) {
      for (const double sigma : {0.001, 0.01, 0.05}) {
        const auto data = vorin::test::laplaceProblem<double>(m, n, sigma, ++seed);
        for (const double weight : {1e-4, 1e-2, 1.0, 30.0}) {
          const Outcome fast = solve(data, weight);
          const PlainRoad guard;
          const Outcome plain = solve(data, weight);
          SCOPED_TRACE(testing::Message()
                       << m << " x " << n << " sigma " << sigma << " w " << weight);
          EXPECT_EQ(fast.status, plain.status);
          EXPECT_EQ(fast.passes, plain.passes);
          // Either road errs by the rounding of a double times the condition number of
          // its system, at most |K|^2 / w + 1.
          const double relative = 4.0 * 0x1p-52 * (squaredNorm(data.K) / weight + 1.0);
          const double bound = relative * largest(plain.f);
          for (std::size_t i = 0; i < plain.f.size(); ++i) {
            EXPECT_NEAR(fast.f[i], plain.f[i], bound);
          }
          EXPECT_NEAR(fast.rss, plain.rss, relative * plain.rss);
          // The slope is a difference of two terms of the size of 2 rss / w.
          EXPECT_NEAR(fast.rssSlope, plain.rssSlope, relative * 2.0 * plain.rss / weight);
          ++compared;
        }
      }
    }
  }
  EXPECT_EQ(compared, 3 * 3 * 3 * 4);
}

TEST_F(Roads, BelowTheGuardedWeightBothAreTheSameSystem) {
  const auto data = vorin::test::laplaceProblem<double>(80, 40, 0.01, 3);
  const double weight = 0.9e-6 * squaredNorm(data.K) / 40;
  const Outcome fast = solve(data, weight);
  const PlainRoad guard;
  const Outcome plain = solve(data, weight);
  EXPECT_EQ(fast.f, plain.f);
  EXPECT_EQ(fast.rss, plain.rss);
}

TEST_F(Roads, KeptFactorsHaveTheBitsOfNewOnes) {
  // The single iteration uses the m-by-m system on both roads: only the factors that are
  // kept differ.
  vorin::test::setNumber("TOL", 1e-8f);
  const auto data = vorin::test::laplaceProblem<float>(90, 50, 0.01, 12);
  const auto once = [&] {
    System<float> system(data.m, data.n, data.K.data(), data.d.data());
    std::vector<float> f(50);
    std::vector<float> c(90, 1.0f);
    std::vector<float> found;
    for (const float weight : {3.0f, 0.5f, 0.5f, 2.0f}) {
      const auto solution = vorin::brd::vrBRD_w_s(system, f.data(), c.data(), weight);
      found.insert(found.end(), f.begin(), f.end());
      found.push_back(solution.rss);
      found.push_back(solution.rssSlope);
    }
    return found;
  };
  const std::vector<float> fast = once();
  const PlainRoad guard;
  EXPECT_EQ(fast, once());
}

TEST_F(Roads, MasksThatDifferAreFactoredAnew) {
  const auto data = vorin::test::randomProblem<double>(12, 6, 5);
  System<double> system(12, 6, data.K.data(), data.d.data());
  std::vector<double> x(12), y(12);
  const std::vector<double> all(6, 1.0);
  std::vector<double> some = all;
  some[2] = 0.0;
  system.factor(all.data(), 0.5);
  system.solve(data.d.data(), x.data());
  system.factor(some.data(), 0.5);
  system.solve(data.d.data(), y.data());
  EXPECT_NE(x, y);
  // Any positive value means the same mask.
  const std::vector<double> other(6, 7.0);
  system.factor(other.data(), 0.5);
  system.solve(data.d.data(), y.data());
  EXPECT_EQ(x, y);
  system.factor(other.data(), 0.25);
  system.solve(data.d.data(), y.data());
  EXPECT_NE(x, y);
}

TEST_F(Roads, HostileNumbersTakeTheSameWayOut) {
  for (const double bad : {std::nan(""), double(INFINITY), 1e300, 1e-320}) {
    auto data = vorin::test::laplaceProblem<double>(20, 10, 0.01, 3);
    data.K[7] = bad;
    const Outcome fast = solve(data, 0.1);
    const PlainRoad guard;
    const Outcome plain = solve(data, 0.1);
    EXPECT_EQ(fast.status, plain.status) << bad;
    EXPECT_EQ(std::isnan(fast.rss), std::isnan(plain.rss)) << bad;
  }
}

}  // namespace
