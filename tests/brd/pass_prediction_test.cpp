// The passes that are predicted in few unknowns against those that the systems of all active
// columns make, and the factor of K'K that the prediction works with.
#include "brd/pass_prediction.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "brd/kernel_forms.hpp"
#include "brd/rank_factor.hpp"
#include "brd/system.hpp"
#include "support/problems.hpp"

namespace {

using vorin::brd::KernelForms;
using vorin::brd::PassPrediction;
using vorin::brd::RankFactor;
using vorin::brd::System;
using vorin::test::laplaceProblem;
using vorin::test::TestProblem;

double trace(int n, const double* A) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) {
    sum += A[vorin::test::area(n, i) + static_cast<std::size_t>(i)];
  }
  return sum;
}

TEST(RankFactor, SquaresToTheProductUpToWhatItLeavesOut) {
  for (const int m : {30, 200}) {
    for (const int n : {40, 100}) {
      const auto data = laplaceProblem<float>(m, n, 0.01, 3);
      const auto kernel = KernelForms<double>::converted(m, n, data.K.data());
      const RankFactor* const factor = kernel->rankFactor();
      ASSERT_NE(factor, nullptr) << m << " x " << n;
      EXPECT_LE(factor->rank, n / 2);
      EXPECT_EQ(factor->padded % 8, 0);
      // What is left is positive semidefinite, so that no element exceeds its largest diagonal one.
      const double bound = 2e-13 * trace(n, kernel->gram());
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
          double sum = 0.0;
          for (int k = 0; k < factor->padded; ++k) {
            const auto place = vorin::test::area(factor->padded, 1) * static_cast<std::size_t>(i);
            const double left = factor->byColumns[place + static_cast<std::size_t>(k)];
            const double right = factor->byRows[vorin::test::area(factor->paddedColumns, k) +
                                                static_cast<std::size_t>(j)];
            sum += left * right;
          }
          EXPECT_NEAR(sum, kernel->gram()[vorin::test::area(n, i) + static_cast<std::size_t>(j)],
                      bound);
        }
      }
    }
  }
}

TEST(RankFactor, IsMissingWhereItSavesNothing) {
  std::vector<double> identity(vorin::test::area(40, 40), 0.0);
  for (std::size_t i = 0; i < 40; ++i) {
    identity[i * 41] = 1.0;
  }
  EXPECT_EQ(vorin::brd::rankFactorOf(40, identity.data()).rank, 0);
  identity[5] = identity[200] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(vorin::brd::rankFactorOf(40, identity.data()).rank, 0);
  const std::vector<double> nothing(vorin::test::area(40, 40), 0.0);
  EXPECT_EQ(vorin::brd::rankFactorOf(40, nothing.data()).rank, 0);
  EXPECT_EQ(vorin::brd::rankFactorOf(0, nullptr).rank, 0);
}

// The passes of a solve by the systems of its active columns.
struct Passes {
  std::vector<std::vector<char>> masks;  // with which each pass was solved
  std::vector<double> steps;
};

std::vector<char> maskOf(const std::vector<double>& f) {
  std::vector<char> mask(f.size());
  std::transform(f.begin(), f.end(), mask.begin(),
                 [](double value) { return static_cast<char>(value > 0.0 ? 1 : 0); });
  return mask;
}

Passes literalPasses(System<double>& system, std::vector<double> f, double weight,
                     double tolerance) {
  const auto m = static_cast<std::size_t>(system.m());
  Passes passes;
  std::vector<double> c(m, 0.0);
  std::vector<double> next(m);
  double step = 0.0;
  do {
    passes.masks.push_back(maskOf(f));
    system.factor(f.data(), weight);
    system.solveData(next.data());
    system.distributionFromDual(next.data(), f.data());
    step = 0.0;
    for (std::size_t j = 0; j < m; ++j) {
      step += (next[j] - c[j]) * (next[j] - c[j]);
    }
    c = next;
    passes.steps.push_back(step);
  } while (step > tolerance && passes.steps.size() < 100);
  return passes;
}

TEST(PassPrediction, HasTheMasksAndStepsOfTheSystems) {
  constexpr double tolerance = 1e-12;
  std::uint64_t seed = 1;
  int settled = 0;
  for (const int m : {40, 57, 200}) {
    for (const int n : {40, 60, 100}) {
      for (const double share : {1e-4, 1e-2, 1.0}) {
        for (const double start : {1.0, 0.0}) {
          const auto data = laplaceProblem<double>(m, n, 0.01, ++seed);
          System<double> system(m, n, data.K.data(), data.d.data());
          const double weight = share * trace(n, system.gram()) / n;
          std::vector<double> f(static_cast<std::size_t>(n), start);
          f[0] = 1.0;
          const Passes literal = literalPasses(system, f, weight, tolerance);
          const std::vector<double> c(static_cast<std::size_t>(m), 0.0);
          const PassPrediction* const prediction =
              system.predictPasses(f.data(), c.data(), weight, tolerance, 100);
          SCOPED_TRACE(testing::Message() << m << " x " << n << " at " << share);
          if (prediction == nullptr) {
            // Only where the second pass may be the last.
            EXPECT_LE(literal.masks.size(), 3U);
            continue;
          }
          const std::size_t passes = prediction->steps().size();
          settled += static_cast<int>(passes) - 1;
          ASSERT_GE(passes, 2U);
          ASSERT_LE(passes, literal.masks.size());
          EXPECT_GE(passes + 2, literal.masks.size()) << "passes left to the solve";
          EXPECT_EQ(maskOf(f), literal.masks[passes - 1]);
          for (std::size_t k = 0; k < passes; ++k) {
            EXPECT_NEAR(prediction->steps()[k], literal.steps[k], 1e-5 * literal.steps[k]);
          }
        }
      }
    }
  }
  EXPECT_GT(settled, 100);
}

TEST(PassPrediction, LeavesASolveAloneThatItCannotSettle) {
  const auto data = laplaceProblem<double>(60, 40, 0.01, 9);
  System<double> system(60, 40, data.K.data(), data.d.data());
  const std::vector<double> zero(60, 0.0);
  const std::vector<double> start(40, 3.0);
  std::vector<double> f = start;
  EXPECT_NE(system.predictPasses(f.data(), zero.data(), 0.1, 1e-12, 100), nullptr);
  f = start;
  // A weight far below the range in which squared forms hold.
  EXPECT_EQ(system.predictPasses(f.data(), zero.data(), 1e-12, 1e-12, 100), nullptr);
  // A limit of passes that the solve could meet, and a tolerance that its first step meets.
  EXPECT_EQ(system.predictPasses(f.data(), zero.data(), 0.1, 1e-12, 2), nullptr);
  EXPECT_EQ(system.predictPasses(f.data(), zero.data(), 0.1, 1e12, 100), nullptr);
  EXPECT_EQ(system.predictPasses(f.data(), zero.data(), 0.1, std::nan(""), 100), nullptr);
  EXPECT_EQ(f, start);
  std::vector<double> spoiled = data.d;
  spoiled[7] = std::nan("");
  System<double> withNan(60, 40, data.K.data(), spoiled.data());
  EXPECT_EQ(withNan.predictPasses(f.data(), zero.data(), 0.1, 1e-12, 100), nullptr);
  const std::vector<double> nothing(60, 0.0);
  System<double> withoutData(60, 40, data.K.data(), nothing.data());
  EXPECT_EQ(withoutData.predictPasses(f.data(), zero.data(), 0.1, 1e-12, 100), nullptr);
  EXPECT_EQ(f, start);
}

}  // namespace
