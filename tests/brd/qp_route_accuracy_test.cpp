// The third route's answers against closed forms, the iteration, long double, and itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "brd/iteration.hpp"
#include "brd/qp_route.hpp"
#include "brd/qp_route_cases.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"

namespace {

using vorin::brd::Problem;
using vorin::test::area;
using vorin::test::expectSameBits;
using vorin::test::laplaceProblem;
using vorin::test::length;
using vorin::test::randomProblem;
using vorin::test::setNumber;
using vorin::test::solve;
using vorin::test::Solved;
using vorin::test::TestProblem;
using Numbers = std::vector<double>;

double trace(const TestProblem<double>& data) {
  double sum = 0.0;
  for (const double value : data.K) {
    sum += value * value;
  }
  return sum;
}

class QpRouteAccuracy : public testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override { vorin::test::loadSettings(); }
};

// One column k: f = k.d / (k.k + w), and rss = |k f - d|^2 has the derivative
// 2 (f k.k - k.d) df/dw. It comes out only if x solves for c and not for d once more.
TEST_F(QpRouteAccuracy, SlopeComesFromASecondSolveOfTheSameSystem) {
  const TestProblem<double> data{2, 1, {3, 4}, {2, 1}};
  const double kk = 25;
  const double kd = 10;
  const double dd = 5;
  for (const double w : {0.25, 1.0, 16.0}) {
    const Solved got = solve(data, w);
    const double f = kd / (kk + w);
    const double rss = dd - 2 * f * kd + f * f * kk;
    const double dfdw = -kd / ((kk + w) * (kk + w));
    EXPECT_NEAR(got.f[0], f, 1e-15);
    EXPECT_NEAR(got.result.rss, rss, 1e-13);
    EXPECT_NEAR(got.result.rssSlope, 2 * (f * kk - kd) * dfdw, 1e-13);
  }
}

TEST_F(QpRouteAccuracy, SlopeIsTheDerivativeByFiniteDifferences) {
  const auto data = laplaceProblem<double>(80, 50, 0.01, 9);
  for (const double w : {0.003, 0.1, 2.0}) {
    const double h = 1e-5 * w;
    const double difference =
        (solve(data, w + h).result.rss - solve(data, w - h).result.rss) / (2 * h);
    EXPECT_NEAR(solve(data, w).result.rssSlope / difference, 1.0, 1e-5);
  }
}

// Where the iteration converges, both routes are at the one minimum. Both compute with a
// matrix rounded by 1e-16 of its norm and amplify that by norm over weight.
TEST_F(QpRouteAccuracy, AgreesWithTheConvergedDoubleIteration) {
  setNumber("TOL", 1e-26f);
  setNumber("MAXI", 400.0f);
  int compared = 0;
  std::uint64_t seed = 0;
  for (const int m : {10, 40, 100}) {
    for (const int n : {5, 30, 120}) {
      for (const auto& data :
           {randomProblem<double>(m, n, ++seed), laplaceProblem<double>(m, n, 0.01, 4)}) {
        for (const double relative : {1e-7, 1e-5, 1e-3, 0.1}) {
          const double w = relative * trace(data);
          Problem<double> problem(m, n, data.K.data(), data.d.data());
          Numbers f(length(n), 1.0);
          Numbers c(length(m), 0.0);
          const auto iterated =
              vorin::brd::vrBRD_w_d(problem.doublePrecision(), f.data(), c.data(), w);
          if (iterated.status != 0) {
            continue;
          }
          ++compared;
          const Solved direct = solve(data, w);
          const double largest = *std::max_element(f.begin(), f.end());
          const double tolerance = 1e-16 / relative * 10.0 + 1e-12;
          EXPECT_EQ(direct.result.status, 0);
          for (std::size_t i = 0; i < f.size(); ++i) {
            EXPECT_NEAR(direct.f[i], f[i], tolerance * largest);
          }
          EXPECT_NEAR(direct.result.rss / iterated.rss, 1.0, tolerance);
        }
      }
    }
  }
  EXPECT_GT(compared, 60);
}

struct Quality {
  double gradient = 0;  // worst condition of the minimum, as a fraction of |K'd|
  long double rss = 0;  // |K f - d|^2
  bool exactZeros = true;
};

// All sums in long double, from K itself, so that nothing of the route enters.
Quality qualityOf(const TestProblem<double>& data, const Numbers& f, double w) {
  std::vector<long double> residual(length(data.m));
  Quality out;
  for (int j = 0; j < data.m; ++j) {
    long double r = -static_cast<long double>(data.d[length(j)]);
    for (int i = 0; i < data.n; ++i) {
      r += static_cast<long double>(data.K[length(j) + area(data.m, i)]) *
           static_cast<long double>(f[length(i)]);
    }
    residual[length(j)] = r;
    out.rss += r * r;
  }
  long double worst = 0;
  long double scale = 0;
  for (int i = 0; i < data.n; ++i) {
    const double value = f[length(i)];
    long double gradient = static_cast<long double>(w) * static_cast<long double>(value);
    long double start = 0;
    for (int j = 0; j < data.m; ++j) {
      const auto k = static_cast<long double>(data.K[length(j) + area(data.m, i)]);
      gradient += k * residual[length(j)];
      start += k * static_cast<long double>(data.d[length(j)]);
    }
    worst = std::max(worst, value > 0 ? std::abs(gradient) : -gradient);
    scale = std::max(scale, std::abs(start));
    out.exactZeros = out.exactZeros && (value == 0.0 || value > 1e-15);
  }
  out.gradient = static_cast<double>(worst / scale);
  return out;
}

// Kernels of rank about 15 in double precision, whose K'K has a condition number limited
// by the weight alone: up to 1e15 and more.
TEST_F(QpRouteAccuracy, LaplaceKernelsAndWeightsOverSixteenDecades) {
  const struct {
    int m;
    int n;
  } shapes[] = {{40, 20}, {40, 300}, {200, 20}, {200, 150}};
  for (const auto& [m, n] : shapes) {
    for (const double sigma : {0.01, 1e-4}) {
      const auto data = laplaceProblem<double>(m, n, sigma, 5);
      const double size = trace(data);
      for (int decade = 1; decade >= -15; --decade) {
        const double relative = std::pow(10.0, decade);
        const Solved got = solve(data, relative * size);
        SCOPED_TRACE(testing::Message() << m << " x " << n << " noise " << sigma << " weight 1e"
                                        << decade << " of the trace");
        EXPECT_EQ(got.result.status, 0);
        const Quality found = qualityOf(data, got.f, relative * size);
        EXPECT_TRUE(found.exactZeros);
        EXPECT_LE(found.gradient, 1e-14);
        // rss is w^2 c.c: the rounding of G, 1e-16 of its norm, changes c by that over w.
        const double representable = std::numeric_limits<double>::epsilon() / relative;
        EXPECT_NEAR(static_cast<double>(static_cast<long double>(got.result.rss) / found.rss), 1.0,
                    1e-8 + representable);
      }
    }
  }
}

TEST_F(QpRouteAccuracy, WithoutAWeightItIsThePlainNonNegativeFit) {
  for (const double sigma : {0.01, 1e-4}) {
    const auto data = laplaceProblem<double>(40, 30, sigma, 2);
    const Solved fit = solve(data, 0.0);
    EXPECT_EQ(fit.result.status, 0);
    EXPECT_LE(qualityOf(data, fit.f, 0.0).gradient, 1e-14);
  }
}

TEST_F(QpRouteAccuracy, ScalingTheKernelByTwoAndTheWeightByFourHalvesTheDistribution) {
  auto data = laplaceProblem<double>(60, 40, 0.01, 12);
  const Solved once = solve(data, 0.02);
  for (double& value : data.K) {
    value *= 2.0;
  }
  const Solved doubled = solve(data, 0.08);
  for (std::size_t i = 0; i < once.f.size(); ++i) {
    EXPECT_EQ(doubled.f[i], once.f[i] / 2.0);
  }
  EXPECT_EQ(doubled.result.rss, once.result.rss);
  EXPECT_EQ(doubled.result.rssSlope, once.result.rssSlope / 4.0);
}

TEST_F(QpRouteAccuracy, SolvesThatShareAProblemHaveTheBitsOfSeparateOnes) {
  const auto data = laplaceProblem<double>(90, 60, 0.01, 6);
  Problem<double> problem(data.m, data.n, data.K.data(), data.d.data());
  Solved shared{Numbers(60), Numbers(90), {}};
  for (int k = 0; k < 19; ++k) {
    const double w = std::pow(10.0, (k * 7) % 19 - 14);
    shared.result =
        vorin::brd::vrBRD_qp_d(problem.quadraticProgram(), shared.f.data(), shared.c.data(), w);
    SCOPED_TRACE(testing::Message() << "weight " << w);
    expectSameBits(shared, solve(data, w));
  }
}

}  // namespace
