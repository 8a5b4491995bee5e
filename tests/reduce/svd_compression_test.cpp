// The mathematics of the compression: what the reduced problem shares with the full
// one, on random and Laplace kernels, through every exported form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "support/compression.hpp"
#include "support/jacobi_svd.hpp"
#include "support/problems.hpp"

namespace {

using namespace vorin::test;

constexpr auto eps = static_cast<double>(std::numeric_limits<float>::epsilon());

// Single-precision factors are exact to a few rounding units of the largest singular
// value, growing slowly with the size (Golub and Van Loan, Matrix Computations, 5.5.8).
double tolerance(const CompressionCall& call) {
  return 4.0 * eps * std::sqrt(static_cast<double>(call.m + call.n));
}

struct Case {
  const char* name;
  TestProblem<float> problem;

  std::vector<double> singularValues() const {
    return jacobiSingularValues(static_cast<std::size_t>(problem.m),
                                static_cast<std::size_t>(problem.n), problem.K.data());
  }
};

std::vector<Case> cases() {
  return {{"random tall", randomProblem<float>(90, 20, 1)},
          {"random square", randomProblem<float>(25, 25, 2)},
          {"random wide", randomProblem<float>(9, 24, 3)},
          {"one column", randomProblem<float>(40, 1, 4)},
          {"one row", randomProblem<float>(1, 6, 5)},
          {"Laplace", laplaceProblem<float>(300, 50, 0.01, 6)},
          {"Laplace wide", laplaceProblem<float>(20, 40, 0.01, 7)}};
}

// X'Y of the first `rows` rows of two matrices, as (columns of X) x (columns of Y).
std::vector<double> gram(int rows, const std::vector<float>& X, int ldX, int columnsX,
                         const std::vector<float>& Y, int ldY, int columnsY) {
  std::vector<double> product(area(columnsX, columnsY));
  for (int b = 0; b < columnsY; ++b) {
    for (int a = 0; a < columnsX; ++a) {
      double sum = 0.0;
      for (int i = 0; i < rows; ++i) {
        sum += static_cast<double>(X[area(ldX, a) + static_cast<std::size_t>(i)]) *
               static_cast<double>(Y[area(ldY, b) + static_cast<std::size_t>(i)]);
      }
      product[static_cast<std::size_t>(a) + area(columnsX, b)] = sum;
    }
  }
  return product;
}

double largestDifference(const std::vector<double>& a, const std::vector<double>& b) {
  double largest = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    largest = std::max(largest, std::abs(a[i] - b[i]));
  }
  return largest;
}

double norm(const std::vector<float>& v) {
  double square = 0.0;
  for (const float value : v) {
    square += static_cast<double>(value) * static_cast<double>(value);
  }
  return std::sqrt(square);
}

TEST(CompSvd, AllRowsKeepTheNormalEquations) {
  for (const Case& c : cases()) {
    const double largest = c.singularValues()[0];
    for (const Variant variant : allVariants) {
      SCOPED_TRACE(std::string(c.name) + ", " + nameOf(variant));
      const CompressionCall call = callOf(c.problem);
      const Compressed out = compress(variant, call);
      ASSERT_EQ(out.status, VORIN_COMP_OK);
      const int n = call.n;
      EXPECT_LT(largestDifference(gram(n, out.Kc, n, n, out.Kc, n, n),
                                  gram(call.m, call.K, call.m, n, call.K, call.m, n)),
                tolerance(call) * largest * largest);
      EXPECT_LT(largestDifference(gram(n, out.Kc, n, n, out.dc, n, 1),
                                  gram(call.m, call.K, call.m, n, call.d, call.m, 1)),
                tolerance(call) * largest * norm(call.d));
    }
  }
}

TEST(CompSvd, CutRowsChangeTheNormalEquationsByNoMoreThanTheyHold) {
  // K'K - Kc'Kc is the sum of s^2 v v' over the dropped directions, so no element
  // exceeds the square of the largest dropped value; for K'd the bound is s |d|.
  for (const Case& c : cases()) {
    const std::vector<double> S = c.singularValues();
    for (const Variant variant : truncatingVariants) {
      for (const float threshold : {0.3f, 0.01f, 1e-4f}) {
        SCOPED_TRACE(std::string(c.name) + ", " + nameOf(variant) + ", " +
                     std::to_string(threshold));
        CompressionCall call = callOf(c.problem);
        call.SVDT = threshold;
        const Compressed out = compress(variant, call);
        const int n = call.n;
        const double dropped = out.count < n ? S[static_cast<std::size_t>(out.count)] : 0.0;
        EXPECT_LE(dropped, (static_cast<double>(threshold) + tolerance(call)) * S[0]);
        EXPECT_GT(S[static_cast<std::size_t>(out.count - 1)],
                  (static_cast<double>(threshold) - tolerance(call)) * S[0]);
        EXPECT_LE(largestDifference(gram(n, out.Kc, n, n, out.Kc, n, n),
                                    gram(call.m, call.K, call.m, n, call.K, call.m, n)),
                  dropped * dropped + tolerance(call) * S[0] * S[0]);
        EXPECT_LE(largestDifference(gram(n, out.Kc, n, n, out.dc, n, 1),
                                    gram(call.m, call.K, call.m, n, call.d, call.m, 1)),
                  dropped * norm(call.d) + tolerance(call) * S[0] * norm(call.d));
      }
    }
  }
}

TEST(CompSvd, ResidualDiffersByAConstantForAllDistributions) {
  // All directions above the rounding of the kernel are kept: |Kc f - dc|^2 of the first
  // count rows is |K f - d|^2 minus the part of d outside the range of K.
  const auto problem = laplaceProblem<float>(200, 40, 0.02, 11);
  CompressionCall call = callOf(problem);
  call.SVDT = 1e-6f;
  const Compressed out = compress(Variant::kept, call);
  ASSERT_LT(out.count, call.n);
  Uniform uniform(12);
  std::vector<double> constants;
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<double> f(static_cast<std::size_t>(call.n));
    std::generate(f.begin(), f.end(), [&] { return 0.05 * (uniform() + 1.0); });
    const auto rss = [&](int rows, const std::vector<float>& K, int ld,
                         const std::vector<float>& d) {
      double square = 0.0;
      for (int i = 0; i < rows; ++i) {
        double r = -static_cast<double>(d[static_cast<std::size_t>(i)]);
        for (int j = 0; j < call.n; ++j) {
          r += f[static_cast<std::size_t>(j)] *
               static_cast<double>(K[static_cast<std::size_t>(i) + area(ld, j)]);
        }
        square += r * r;
      }
      return square;
    };
    constants.push_back(rss(call.m, call.K, call.m, call.d) -
                        rss(out.count, out.Kc, call.ldC, out.dc));
  }
  const auto [low, high] = std::minmax_element(constants.begin(), constants.end());
  // The noise outside the range of K: (m - count) sigma^2, with a spread of
  // sigma^2 sqrt(2 (m - count)).
  const double outside = 200.0 - out.count;
  EXPECT_NEAR(constants[0], outside * 4e-4, 4.0 * 4e-4 * std::sqrt(2.0 * outside));
  // Against a residual whose square is some 1e2 to 1e3.
  EXPECT_LT(*high - *low, 1e-3);
}

TEST(CompSvd, RowsAboveTheCountAreZero) {
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    CompressionCall call = callOf(randomProblem<float>(60, 15, 21));
    call.SVDN = 6;
    const Compressed out = compress(variant, widened(call, 3, 4));
    ASSERT_EQ(out.count, 6);
    for (int j = 0; j < 15; ++j) {
      for (int i = 0; i < 19; ++i) {
        const float value = out.Kc[static_cast<std::size_t>(i) + area(19, j)];
        if (i < 6) {
          EXPECT_NE(value, 0.0f);
        } else {
          EXPECT_EQ(value, i < 15 ? 0.0f : untouched) << i;
        }
      }
    }
    for (std::size_t i = 0; i < 15; ++i) {
      EXPECT_EQ(out.dc[i] == 0.0f, i >= 6) << i;
    }
  }
}

TEST(CompSvd, LeadingDimensionsLargerThanTheRowsChangeNothing) {
  for (const Case& c : cases()) {
    for (const Variant variant : allVariants) {
      SCOPED_TRACE(std::string(c.name) + ", " + nameOf(variant));
      CompressionCall call = callOf(c.problem);
      call.SVDT = 0.01f;
      const Compressed tight = compress(variant, call);
      const Compressed wide = compress(variant, widened(call, 7, 5));
      EXPECT_EQ(tight.count, wide.count);
      EXPECT_EQ(tight.dc, wide.dc);
      for (int j = 0; j < call.n; ++j) {
        for (int i = 0; i < call.n + 5; ++i) {
          const float value = wide.Kc[static_cast<std::size_t>(i) + area(call.n + 5, j)];
          EXPECT_EQ(value, i < call.n ? tight.Kc[static_cast<std::size_t>(i) + area(call.n, j)]
                                      : untouched);
        }
      }
    }
  }
}

TEST(CompSvd, AllFormsGiveTheSameBits) {
  for (const Case& c : cases()) {
    CompressionCall call = callOf(c.problem);
    call.SVDT = 0.02f;
    const Compressed first = compress(Variant::kept, call);
    for (const Variant variant : truncatingVariants) {
      SCOPED_TRACE(std::string(c.name) + ", " + nameOf(variant));
      const Compressed other = compress(variant, call);
      EXPECT_EQ(first.count, other.count);
      EXPECT_EQ(first.Kc, other.Kc);
      EXPECT_EQ(first.dc, other.dc);
    }
    const Compressed full = compress(Variant::untruncated, call);
    for (int j = 0; j < call.n; ++j) {
      for (int i = 0; i < first.count; ++i) {
        const std::size_t place = static_cast<std::size_t>(i) + area(call.n, j);
        EXPECT_EQ(full.Kc[place], first.Kc[place]);
      }
    }
  }
}

TEST(CompSvd, FactorsAreReturnedWhereTheHostKeepsThem) {
  for (const Case& c : cases()) {
    const std::vector<double> S = c.singularValues();
    for (const Variant variant : {Variant::untruncated, Variant::scratch, Variant::arrays}) {
      SCOPED_TRACE(std::string(c.name) + ", " + nameOf(variant));
      const CompressionCall call = widened(callOf(c.problem), 2, 3);
      const int m = call.m;
      const int n = call.n;
      const Factors f = compress(variant, call).factors;
      for (std::size_t i = 0; i < S.size(); ++i) {
        EXPECT_NEAR(static_cast<double>(f.S[i]), S[i], tolerance(call) * S[0]) << i;
      }
      // V' V = 1 with all n rows, U' U = 1 on the min(m, n) columns there are.
      std::vector<double> unit(area(n, n));
      for (int i = 0; i < n; ++i) {
        unit[static_cast<std::size_t>(i) + area(n, i)] = 1.0;
      }
      EXPECT_LT(largestDifference(gram(n, f.VT, n, n, f.VT, n, n), unit), tolerance(call));
      for (int i = m; i < n; ++i) {
        unit[static_cast<std::size_t>(i) + area(n, i)] = 0.0;
      }
      EXPECT_LT(largestDifference(gram(m, f.U, m, n, f.U, m, n), unit), tolerance(call));
      double worst = 0.0;
      for (int j = 0; j < n; ++j) {
        for (int i = 0; i < m; ++i) {
          double sum = 0.0;
          for (int k = 0; k < n; ++k) {
            sum += double(f.U[std::size_t(i) + area(m, k)]) * double(f.S[std::size_t(k)]) *
                   double(f.VT[std::size_t(k) + area(n, j)]);
          }
          worst = std::max(worst, std::abs(sum - double(c.problem.K[std::size_t(i) + area(m, j)])));
        }
      }
      EXPECT_LT(worst, tolerance(call) * S[0]);
    }
  }
}

TEST(CompSvd, FewerRowsThanColumnsLeaveTheMissingValuesZero) {
  for (const Variant variant : allVariants) {
    SCOPED_TRACE(nameOf(variant));
    CompressionCall call = callOf(randomProblem<float>(4, 9, 31));
    call.SVDT = 0.0f;
    const Compressed out = compress(variant, call);
    EXPECT_EQ(out.count, variant == Variant::untruncated ? 9 : 4);
    for (std::size_t j = 0; j < 9; ++j) {
      for (std::size_t i = 4; i < 9; ++i) {
        EXPECT_EQ(out.Kc[i + j * 9], 0.0f);
      }
    }
    for (std::size_t i = 4; i < 9; ++i) {
      EXPECT_EQ(out.dc[i], 0.0f);
      if (variant != Variant::kept) {
        EXPECT_EQ(out.factors.S[i], 0.0f);
      }
    }
    // A negative threshold keeps all of them: 0 exceeds it.
    call.SVDT = -1.0f;
    EXPECT_EQ(compress(variant, call).count, 9);
  }
}

}  // namespace
