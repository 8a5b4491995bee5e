// One solve held to the conditions of the minimum of 1/2 |K f - d|^2 + w/2 |f|^2
// over f >= 0: f >= 0, gradient K'(K f - d) + w f >= 0, and f times gradient = 0.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "support/one_solve.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "toolbox/kernels/kernels.hpp"

namespace {

using vorin::test::area;
using vorin::test::oneSolveOf;
using vorin::test::Solved;
using vorin::test::solvedBy;
using vorin::test::TestProblem;

template <class Real>
Solved<Real> solve(const TestProblem<Real>& problem, double w) {
  return solvedBy(oneSolveOf<Real>(), problem.m, problem.n, problem.K, problem.d,
                  static_cast<Real>(w));
}

struct Conditions {
  double smallestF = 0;
  double smallestGradient = 0;
  double largestComplement = 0;  // largest |gradient| where f > 0
  double rss = 0;
  double scale = 0;  // largest |K'd|, the size of a gradient at f = 0
};

template <class Real>
Conditions conditionsOf(const TestProblem<Real>& problem, const std::vector<Real>& f, double w) {
  const auto m = static_cast<std::size_t>(problem.m);
  std::vector<double> residual(m);
  for (std::size_t j = 0; j < m; ++j) {
    residual[j] = -static_cast<double>(problem.d[j]);
  }
  for (int i = 0; i < problem.n; ++i) {
    for (std::size_t j = 0; j < m; ++j) {
      residual[j] +=
          double(problem.K[j + area(problem.m, i)]) * double(f[static_cast<std::size_t>(i)]);
    }
  }
  Conditions found;
  for (const double r : residual) {
    found.rss += r * r;
  }
  for (int i = 0; i < problem.n; ++i) {
    const double value = static_cast<double>(f[static_cast<std::size_t>(i)]);
    double gradient = w * value;
    double start = 0;
    for (std::size_t j = 0; j < m; ++j) {
      const double k = static_cast<double>(problem.K[j + area(problem.m, i)]);
      gradient += k * residual[j];
      start += k * static_cast<double>(problem.d[j]);
    }
    found.scale = std::max(found.scale, std::abs(start));
    found.smallestF = std::min(found.smallestF, value);
    found.smallestGradient = std::min(found.smallestGradient, gradient);
    if (value > 0) {
      found.largestComplement = std::max(found.largestComplement, std::abs(gradient));
    }
  }
  return found;
}

class Optimality : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    // The iteration is to run until its mask has settled, not until the default
    // tolerance, which compares an absolute squared change.
    vorin::test::setNumber("TOL", 1e-24f);
    vorin::test::setNumber("MAXI", 300.0f);
  }
  void TearDown() override { vorin::test::loadSettings(); }
};

// `relative` bounds the conditions as a fraction of the gradient at f = 0.
template <class Real>
void expectOptimal(const TestProblem<Real>& problem, double w, double relative) {
  const Solved<Real> got = solve(problem, w);
  const Conditions found = conditionsOf(problem, got.f, static_cast<double>(static_cast<Real>(w)));
  EXPECT_EQ(got.status, 0);
  EXPECT_GE(found.smallestF, 0.0);
  EXPECT_GE(found.smallestGradient, -relative * found.scale);
  EXPECT_LE(found.largestComplement, relative * found.scale);
  EXPECT_NEAR(static_cast<double>(got.rss), found.rss, relative * found.rss + 1e-300);
}

TEST_F(Optimality, DoubleOnRandomKernelsOfManyShapes) {
  int seed = 0;
  for (const int m : {1, 3, 17, 64, 120}) {
    for (const int n : {1, 5, 40, 100}) {
      for (const double w : {1e-2, 1.0, 30.0}) {
        SCOPED_TRACE(testing::Message() << m << " x " << n << " w " << w);
        expectOptimal(vorin::test::randomProblem<double>(m, n, static_cast<std::uint64_t>(++seed)),
                      w, 1e-9);
      }
    }
  }
}

TEST_F(Optimality, DoubleOnLaplaceKernelsOverManyDecadesOfWeight) {
  for (const int m : {30, 100, 200}) {
    for (const int n : {20, 100}) {
      const auto problem = vorin::test::laplaceProblem<double>(m, n, 0.01, 77);
      for (const double w : {1e-4, 1e-2, 1.0, 100.0}) {
        SCOPED_TRACE(testing::Message() << m << " x " << n << " w " << w);
        expectOptimal(problem, w, 1e-8);
      }
    }
  }
}

TEST_F(Optimality, SingleCallerIsServedByTheDoubleIteration) {
  const auto problem = vorin::test::laplaceProblem<float>(100, 60, 0.01, 3);
  for (const double w : {1e-2, 1.0}) {
    // The result is rounded to single precision on its way out: the gradient then
    // errs by the rounding of f and of rss.
    expectOptimal(problem, w, 1e-5);
  }
}

TEST_F(Optimality, SingleIterationMeetsTheConditionsToSinglePrecision) {
  vorin::test::setNumber("BRDA", 1.0f);
  vorin::test::setNumber("TOL", 1e-7f);
  for (const int m : {5, 40, 100}) {
    for (const int n : {3, 30, 80}) {
      SCOPED_TRACE(testing::Message() << m << " x " << n);
      expectOptimal(vorin::test::randomProblem<float>(m, n, static_cast<std::uint64_t>(m + n)), 3.0,
                    2e-4);
    }
  }
}

TEST_F(Optimality, SlopeOfRssIsItsDerivativeByFiniteDifferences) {
  const auto problem = vorin::test::laplaceProblem<double>(80, 50, 0.01, 9);
  for (const double w : {0.003, 0.1, 2.0}) {
    const double h = 1e-5 * w;
    const auto centre = solve(problem, w);
    const double difference = (solve(problem, w + h).rss - solve(problem, w - h).rss) / (2 * h);
    EXPECT_NEAR(centre.rssSlope, difference, 1e-5 * std::abs(difference)) << w;
  }
}

TEST_F(Optimality, BothExportsAgreeWithTheDefaultRoute) {
  const auto narrow = vorin::test::laplaceProblem<float>(60, 40, 0.02, 5);
  TestProblem<double> wide{
      60, 40, {narrow.K.begin(), narrow.K.end()}, {narrow.d.begin(), narrow.d.end()}};
  const auto single = solve(narrow, 0.25);
  const auto inDouble = solve(wide, 0.25);
  for (std::size_t i = 0; i < single.f.size(); ++i) {
    EXPECT_EQ(single.f[i], static_cast<float>(inDouble.f[i]));
  }
  EXPECT_EQ(single.rss, static_cast<float>(inDouble.rss));
  EXPECT_EQ(single.rssSlope, static_cast<float>(inDouble.rssSlope));
}

TEST_F(Optimality, ADoubleCallerOnTheSingleRouteSolvesForTheRoundedWeight) {
  vorin::test::setNumber("BRDA", 1.0f);
  vorin::test::setNumber("TOL", 1e-7f);
  const auto narrow = vorin::test::randomProblem<float>(40, 30, 15);
  TestProblem<double> wide{
      40, 30, {narrow.K.begin(), narrow.K.end()}, {narrow.d.begin(), narrow.d.end()}};
  const double w = 3.1;  // no single-precision number
  const auto single = solve(narrow, w);
  const auto inDouble = solve(wide, w);
  for (std::size_t i = 0; i < single.f.size(); ++i) {
    EXPECT_EQ(static_cast<double>(single.f[i]), inDouble.f[i]);
  }
  EXPECT_EQ(static_cast<double>(single.rss), inDouble.rss);
}

template <class Real>
void expectSameBits(const Solved<Real>& a, const Solved<Real>& b) {
  EXPECT_EQ(std::memcmp(a.f.data(), b.f.data(), a.f.size() * sizeof(Real)), 0);
  EXPECT_EQ(std::memcmp(&a.rss, &b.rss, sizeof(Real)), 0);
  EXPECT_EQ(std::memcmp(&a.rssSlope, &b.rssSlope, sizeof(Real)), 0);
}

TEST_F(Optimality, TwoRunsAndEveryInstructionSetLevelGiveTheSameBits) {
  using vorin::kernels::Level;
  const auto narrow = vorin::test::laplaceProblem<float>(101, 57, 0.01, 8);
  const auto wide = vorin::test::laplaceProblem<double>(101, 57, 0.01, 8);
  for (const float route : {1.0f, 2.0f}) {
    vorin::test::setNumber("BRDA", route);
    const auto single = solve(narrow, 0.5);
    const auto inDouble = solve(wide, 0.5);
    for (const Level level : {Level::baseline, Level::avx2, Level::avx512}) {
      vorin::kernels::useLevel(level);
      expectSameBits(single, solve(narrow, 0.5));
      expectSameBits(inDouble, solve(wide, 0.5));
    }
    vorin::kernels::useLevel(vorin::kernels::highestLevel());
  }
}

}  // namespace
