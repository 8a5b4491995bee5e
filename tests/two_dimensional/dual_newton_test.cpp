// The iteration at one weight against closed forms, a plain Kronecker matrix, and a non-negative
// least-squares solution that shares no code with it.
#include "toolkit/inverting/dual_newton.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <vector>

#include "support/child.hpp"
#include "toolkit/two_dimensional/compressed_map.hpp"
#include "toolkit/two_dimensional/map_report.hpp"
#include "toolkit/two_dimensional/map_weight.hpp"
#include "two_dimensional/experiments.hpp"

namespace vorin::toolkit::test {
namespace {

std::vector<double> randomValues(std::size_t count, unsigned seed) {
  std::mt19937_64 engine(seed);
  std::vector<double> values(count);
  for (double& value : values) {
    value = static_cast<double>(engine() % 2001) / 1000.0 - 1.0;
  }
  return values;
}

TEST(KernelFactor, IsTheDecomposition) {
  const std::vector<double> kernel = randomValues(5 * 3, 7);
  const KernelFactor factor = factorKernel(kernel, 5, 3, 1e-12);
  ASSERT_EQ(factor.rank, 3);
  double squares = 0.0;
  for (int i = 0; i < 5; ++i) {
    for (int k = 0; k < 3; ++k) {
      double product = 0.0;
      for (int p = 0; p < 3; ++p) {
        product += factor.left[static_cast<std::size_t>(i * factor.width() + p)] *
                   factor.rows[static_cast<std::size_t>(p * 3 + k)];
      }
      const double value = kernel[static_cast<std::size_t>(k * 5 + i)];
      EXPECT_NEAR(product, value, 1e-13);
      squares += value * value;
    }
  }
  EXPECT_NEAR(factor.meanSquare, squares / 3.0, 1e-13);
}

/// All operators of a small map against the Kronecker matrix written out.
TEST(CompressedMap, EqualsTheKroneckerMatrix) {
  const int n1 = 4;
  const int n2 = 5;
  const KernelFactor first = factorKernel(randomValues(6 * 4, 1), 6, n1, 1e-12);
  const KernelFactor second = factorKernel(randomValues(7 * 5, 2), 7, n2, 1e-12);
  const double cut = 0.05;
  const CompressedMap map(first, second, cut);
  // Rows of A, in the order of the pairs.
  std::vector<std::vector<double>> A;
  for (int p = 0; p < first.rank; ++p) {
    for (int q = 0; q < second.rank; ++q) {
      if (first.values[static_cast<std::size_t>(p)] * second.values[static_cast<std::size_t>(q)] <=
          cut * first.values[0] * second.values[0]) {
        continue;
      }
      A.emplace_back();
      for (int i = 0; i < n1; ++i) {
        for (int k = 0; k < n2; ++k) {
          A.back().push_back(first.rows[static_cast<std::size_t>(p * n1 + i)] *
                             second.rows[static_cast<std::size_t>(q * n2 + k)] / map.scale());
        }
      }
    }
  }
  const std::size_t m = A.size();
  ASSERT_EQ(static_cast<std::size_t>(map.rows()), m);
  ASSERT_LT(m, 20U);  // the cut takes some
  ASSERT_GT(m, 4U);
  const std::vector<double> c = randomValues(m, 3);
  std::vector<double> F(20);
  map.transposeTimes(c.data(), F.data());
  std::vector<double> positive(20);
  for (std::size_t cell = 0; cell < 20; ++cell) {
    double sum = 0.0;
    for (std::size_t r = 0; r < m; ++r) {
      sum += A[r][cell] * c[r];
    }
    EXPECT_NEAR(F[cell], sum, 1e-13);
    positive[cell] = std::max(0.0, sum);
  }
  std::vector<double> y(m);
  map.times(positive.data(), y.data());
  std::vector<double> G(m * m);
  map.gram(positive.data(), G.data());
  for (std::size_t r = 0; r < m; ++r) {
    double sum = 0.0;
    for (std::size_t cell = 0; cell < 20; ++cell) {
      sum += A[r][cell] * positive[cell];
    }
    EXPECT_NEAR(y[r], sum, 1e-13);
    for (std::size_t s = 0; s <= r; ++s) {
      double element = 0.0;
      for (std::size_t cell = 0; cell < 20; ++cell) {
        element += positive[cell] > 0.0 ? A[r][cell] * A[s][cell] : 0.0;
      }
      EXPECT_NEAR(G[s * m + r], element, 1e-13) << r << ' ' << s;
    }
  }
}

TEST(CompressedMap, CompressedDataKeepTheFitOfAnyMap) {
  // Without a cut, |K1 F K2' - D|^2 = |A F - d|^2 + what no map changes.
  const Experiment e = experiment(Kernel::t1Saturation, 6, 50.0, 3);
  const KernelFactor first =
      factorKernel(mapKernel(e.settings.kernel1, e.data.times1, e.settings.grid1), 32, 6, 1e-14);
  const KernelFactor second =
      factorKernel(mapKernel(e.settings.kernel2, e.data.times2, e.settings.grid2), 2000, 6, 1e-14);
  const CompressedMap map(first, second, 1e-14);
  ASSERT_EQ(map.rows(), 36);
  const std::vector<double> d = map.compressed(e.data.samples.data());
  std::vector<double> differences;
  for (unsigned seed : {1U, 2U}) {
    std::vector<double> F = randomValues(36, seed);
    std::vector<double> scaled;
    for (double& f : F) {
      f = std::fabs(f);
      scaled.push_back(f * map.scale());
    }
    const std::vector<double> fit = mapFit(e.data, e.settings, F);
    double whole = 0.0;
    for (std::size_t i = 0; i < fit.size(); ++i) {
      whole += (fit[i] - e.data.samples[i]) * (fit[i] - e.data.samples[i]);
    }
    std::vector<double> y(36);
    map.times(scaled.data(), y.data());
    for (std::size_t r = 0; r < 36; ++r) {
      whole -= (y[r] - d[r]) * (y[r] - d[r]);
    }
    differences.push_back(whole);
  }
  EXPECT_NEAR(differences[0], differences[1], 1e-7 * std::fabs(differences[0]));
}

TEST(SolveDual, OneCellHasAClosedForm) {
  // One row, one cell: F = max(0, a d / (a^2 + w)) with a = 1 by the scaling.
  const KernelFactor one = factorKernel({3.0}, 1, 1, 1e-7);
  const CompressedMap map(one, one, 1e-4);
  for (double d : {2.0, -2.0}) {
    DualState state;
    // The sign of a singular vector is free, its product with itself is not.
    ASSERT_TRUE(solveDual(map, {d}, 0.25, optimalGap, state));
    EXPECT_NEAR(state.F[0], std::max(0.0, d / 1.25), 1e-14);
  }
}

/// The duality gap of the whole problem, nothing compressed: the primal value less the dual one
/// at the multipliers D - K1 F K2'.
double wholeGap(const Experiment& e, const MapInversion& inversion, double& primal) {
  const std::vector<double> fit = mapFit(e.data, e.settings, inversion.distribution);
  const std::vector<double> K1 = mapKernel(e.settings.kernel1, e.data.times1, e.settings.grid1);
  const std::vector<double> K2 = mapKernel(e.settings.kernel2, e.data.times2, e.settings.grid2);
  const std::size_t n1 = e.data.times1.size();
  const std::size_t n2 = e.data.times2.size();
  const std::size_t g1 = e.settings.grid1.size();
  const std::size_t g2 = e.settings.grid2.size();
  double squares = 0.0;
  double product = 0.0;
  std::vector<double> half(n1 * g2, 0.0);  // residual times K2
  for (std::size_t i = 0; i < n1; ++i) {
    for (std::size_t j = 0; j < n2; ++j) {
      const double residual = e.data.samples[i * n2 + j] - fit[i * n2 + j];
      squares += residual * residual;
      product += residual * e.data.samples[i * n2 + j];
      for (std::size_t b = 0; b < g2; ++b) {
        half[i * g2 + b] += residual * K2[b * n2 + j];
      }
    }
  }
  double size = 0.0;
  double active = 0.0;
  for (std::size_t a = 0; a < g1; ++a) {
    for (std::size_t b = 0; b < g2; ++b) {
      double sum = 0.0;
      for (std::size_t i = 0; i < n1; ++i) {
        sum += K1[a * n1 + i] * half[i * g2 + b];
      }
      active += sum > 0.0 ? sum * sum : 0.0;
      const double f = inversion.distribution[a * g2 + b];
      size += f * f;
    }
  }
  primal = 0.5 * squares + 0.5 * inversion.weight * size;
  return primal - (product - 0.5 * squares - 0.5 * active / inversion.weight);
}

// Data without a signal leave no path whose curvature could tell a corner.
TEST(SearchCorner, DataOfZerosHaveNoCorner) {
  const KernelFactor one = factorKernel({3.0}, 1, 1, 1e-7);
  const CompressedMap map(one, one, 1e-7);
  const WeightSearch found = searchCorner(map, {0.0}, {});
  EXPECT_FALSE(found.reached);
  EXPECT_EQ(found.state.F, std::vector<double>{0.0});
}

TEST(InvertMap, IsOptimalForTheWholeProblem) {
  for (const Kernel kernel : {Kernel::t1Inversion, Kernel::t2, Kernel::diffusion}) {
    for (const int n : {20, 40}) {
      const Experiment e = experiment(kernel, n, 100.0, 1);
      const MapInversion inversion = invertMap(e.data, e.settings);
      ASSERT_TRUE(succeeded(inversion));
      EXPECT_LT(inversion.gap, 1e-8);
      double primal = 0.0;
      const double gap = wholeGap(e, inversion, primal);
      EXPECT_LT(gap, 1e-8 * primal) << n;
      EXPECT_GT(gap, -1e-9 * primal) << n;
    }
  }
}

/// scipy's active-set solution of min |(K1 x K2; sqrt(w) I) f - (D; 0)| on the matrix itself.
TEST(InvertMap, EqualsScipysNnlsOnTheStackedSystem) {
  if (std::system("/usr/bin/python3 -c 'import scipy.optimize' >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "skipped: scipy is not installed";
  }
  Experiment e = experiment(Kernel::t1Inversion, 20, 100.0, 5);
  // Few samples keep the stacked system small; the map has 400 cells.
  e.data.times2 = LogGrid{1e-3, 1.0, 30}.times();
  e.data.samples = simulatedSamples(e.data, e.settings, e.truth, e.noise, 5);
  e.settings.mode = MapWeightMode::fixed;
  e.settings.weight = 0.5;
  const MapInversion inversion = invertMap(e.data, e.settings);
  ASSERT_TRUE(succeeded(inversion));
  const TemporaryFolder folder;
  writeFile(folder / "data.csv", matrixCsv(e.data.times1, e.data.times2, e.data.samples, 17));
  writeFile(folder / "grid.csv", matrixCsv(e.settings.grid1, e.settings.grid2, e.truth, 17));
  writeFile(folder / "solve.py", R"(
import numpy as np
from scipy.optimize import nnls
data = np.loadtxt('data.csv', delimiter=',')
grid = np.loadtxt('grid.csv', delimiter=',')
K1 = 1 - 2 * np.exp(-data[1:, :1] / grid[1:, 0])
K2 = np.exp(-data[0, 1:, None] / grid[0, 1:])
A = np.vstack([np.kron(K1, K2), np.sqrt(0.5) * np.eye(400)])
f, _ = nnls(A, np.concatenate([data[1:, 1:].ravel(), np.zeros(400)]), maxiter=40000)
np.savetxt('f.txt', f)
)");
  ASSERT_EQ(std::system(
                fmt::format("cd {} && /usr/bin/python3 solve.py", shellWord(folder.path().string()))
                    .c_str()),
            0);
  std::istringstream in(contentOf(folder / "f.txt"));
  double largest = 0.0;
  std::vector<double> expected(400);
  for (double& f : expected) {
    ASSERT_TRUE(in >> f);
    largest = std::max(largest, f);
  }
  ASSERT_GT(largest, 0.0);
  for (std::size_t cell = 0; cell < 400; ++cell) {
    EXPECT_NEAR(inversion.distribution[cell], expected[cell], 1e-5 * largest) << cell;
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
