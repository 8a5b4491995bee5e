// Compression by way of the triangular factor: held to what the rows of S V' and U'd must be,
// and to the decomposition of the kernel itself, which it replaces where a host does not see them.
#include "reduce/pivoted_cholesky.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "reduce/svd_compression.hpp"
#include "support/compression.hpp"
#include "support/jacobi_svd.hpp"
#include "support/problems.hpp"

namespace {

using namespace vorin::test;
using vorin::reduce::Compression;
using vorin::reduce::compressWithoutFactors;

constexpr auto eps = static_cast<double>(std::numeric_limits<float>::epsilon());

Compression jobOf(const CompressionCall& call, Compressed& out) {
  Compression job;
  job.m = call.m;
  job.n = call.n;
  job.ldK = call.ldK;
  job.ldC = call.ldC;
  job.K = call.K.data();
  job.d = call.d.data();
  job.threshold = call.SVDT;
  job.mostRows = call.SVDN;
  job.Kc = out.Kc.data();
  job.dc = out.dc.data();
  job.dcLength = call.n;
  return job;
}

Compressed compressed(const CompressionCall& call) {
  Compressed out(call);
  EXPECT_TRUE(compressWithoutFactors(jobOf(call, out), out.count, out.status));
  EXPECT_EQ(out.status, VORIN_COMP_OK);
  return out;
}

double dot(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    sum += a[i] * b[i];
  }
  return sum;
}

// How far the rows are from singular values and vectors of K and projections on them, in
// units of the largest singular value: with row i = s v', the values against those of the
// second method, s against |K v|, s dc against d'K v, and v'v of two rows against 0.
struct Faults {
  double value = 0.0;
  double length = 0.0;
  double datum = 0.0;
  double angle = 0.0;
};

Faults faultsOf(const CompressionCall& call, const Compressed& out,
                const std::vector<double>& expected) {
  Faults worst;
  const std::vector<double> d(call.d.begin(), call.d.end());
  const double size = std::sqrt(dot(d, d));
  std::vector<std::vector<double>> rows;
  for (int i = 0; i < out.count; ++i) {
    std::vector<double> v;
    for (int j = 0; j < call.n; ++j) {
      v.push_back(static_cast<double>(out.Kc[area(call.ldC, j) + static_cast<std::size_t>(i)]));
    }
    const double s = std::sqrt(dot(v, v));
    std::vector<double> image(static_cast<std::size_t>(call.m));
    for (int j = 0; j < call.n; ++j) {
      v[static_cast<std::size_t>(j)] /= s;
      for (int r = 0; r < call.m; ++r) {
        image[static_cast<std::size_t>(r)] +=
            static_cast<double>(call.K[area(call.ldK, j) + static_cast<std::size_t>(r)]) *
            v[static_cast<std::size_t>(j)];
      }
    }
    const auto datum = static_cast<double>(out.dc[static_cast<std::size_t>(i)]);
    const double S0 = expected[0];
    worst.value = std::max(worst.value, std::abs(s - expected[static_cast<std::size_t>(i)]) / S0);
    worst.length = std::max(worst.length, std::abs(s - std::sqrt(dot(image, image))) / S0);
    worst.datum = std::max(worst.datum, std::abs(s * datum - dot(image, d)) / (S0 * size));
    for (const std::vector<double>& other : rows) {
      worst.angle = std::max(worst.angle, std::abs(dot(v, other)));
    }
    rows.push_back(v);
  }
  return worst;
}

std::vector<TestProblem<float>> problems() {
  return {randomProblem<float>(90, 20, 1),         randomProblem<float>(400, 60, 2),
          randomProblem<float>(25, 25, 3),         randomProblem<float>(9, 24, 4),
          randomProblem<float>(40, 1, 5),          randomProblem<float>(1, 6, 6),
          laplaceProblem<float>(300, 50, 0.01, 7), laplaceProblem<float>(1000, 100, 0.01, 8),
          laplaceProblem<float>(20, 40, 0.01, 9)};
}

TEST(PivotedCholesky, RowsAreAsNearToSingularVectorsAsThoseOfTheWholeKernel) {
  for (const auto& problem : problems()) {
    const std::vector<double> expected = jacobiSingularValues(
        static_cast<std::size_t>(problem.m), static_cast<std::size_t>(problem.n), problem.K.data());
    for (const float threshold : {1e-6f, 1e-4f, 0.01f, 0.5f}) {
      CompressionCall call = callOf(problem);
      call.SVDT = threshold;
      const Compressed fast = compressed(call);
      const Compressed whole = compressKept(call);
      SCOPED_TRACE(testing::Message() << call.m << " x " << call.n << ", threshold " << threshold);
      // A value may lie on either side of the threshold by the rounding of either way.
      EXPECT_NEAR(fast.count, whole.count, threshold < 1e-5f ? 1 : 0);
      const Faults found = faultsOf(call, fast, expected);
      const Faults usual = faultsOf(call, whole, expected);
      // What a single-precision decomposition does to the largest value by itself.
      constexpr double rounding = 4.0 * eps;
      EXPECT_LE(found.value, usual.value + rounding);
      EXPECT_LE(found.length, usual.length + rounding);
      EXPECT_LE(found.datum, usual.datum + rounding);
      EXPECT_LE(found.angle, 4.0 * eps * std::sqrt(static_cast<double>(call.n)));
      for (int j = 0; j < call.n; ++j) {
        for (int i = fast.count; i < call.n; ++i) {
          EXPECT_EQ(fast.Kc[area(call.ldC, j) + static_cast<std::size_t>(i)], 0.0f);
        }
      }
      EXPECT_TRUE(std::all_of(fast.dc.begin() + fast.count, fast.dc.end(),
                              [](float value) { return value == 0.0f; }));
    }
  }
}

TEST(PivotedCholesky, RowsTakenAwayLeaveTheFactorOfTheOthers) {
  // Small integers: sums and differences of their products are exact, so the factors are equal.
  const std::vector<float> K = {1, 2, 3, 4, 5, 0, 1, 0, -1, 7};
  const std::vector<float> d = {2, 0, 1, 1, 3};
  const std::vector<float> kernelOfOthers = {1, 3, 4, 0, 0, -1};
  const std::vector<float> dataOfOthers = {2, 1, 1};
  vorin::reduce::ExtendedGram product(2);
  product.add(5, K.data(), 5, d.data());
  for (const std::size_t i : {1U, 4U}) {
    const std::vector<float> row = {K[i], K[5 + i]};
    product.takeAway(row.data(), d[i]);
  }
  vorin::reduce::PivotedFactor left;
  ASSERT_TRUE(product.factor(3, left));
  vorin::reduce::PivotedFactor others;
  ASSERT_TRUE(
      vorin::reduce::pivotedCholesky(3, 2, kernelOfOthers.data(), 3, dataOfOthers.data(), others));
  EXPECT_EQ(left.rank, others.rank);
  EXPECT_EQ(left.transposed, others.transposed);
  EXPECT_EQ(left.projected, others.projected);
}

TEST(PivotedCholesky, TheFactorHasTheKernelsProductsAndNoMoreRowsThanItsRank) {
  // Small integers, so that products are exact; the third column is the sum of the others.
  const std::vector<float> K = {1, 2, 3, 4, 0, 1, 0, -1, 1, 3, 3, 3};
  const std::vector<float> d = {2, 0, 1, 1};
  vorin::reduce::PivotedFactor factor;
  ASSERT_TRUE(vorin::reduce::pivotedCholesky(4, 3, K.data(), 4, d.data(), factor));
  ASSERT_EQ(factor.rank, 2);
  for (std::size_t a = 0; a < 3; ++a) {
    for (std::size_t b = 0; b < 3; ++b) {
      double product = 0.0;
      double expected = 0.0;
      for (std::size_t k = 0; k < 2; ++k) {
        product += static_cast<double>(factor.transposed[a + 3 * k]) *
                   static_cast<double>(factor.transposed[b + 3 * k]);
      }
      for (std::size_t i = 0; i < 4; ++i) {
        expected += static_cast<double>(K[i + 4 * a]) * static_cast<double>(K[i + 4 * b]);
      }
      EXPECT_NEAR(product, expected, 30.0 * eps);
    }
    double product = 0.0;
    double expected = 0.0;
    for (std::size_t k = 0; k < 2; ++k) {
      product += static_cast<double>(factor.transposed[a + 3 * k]) * factor.projected[k];
    }
    for (std::size_t i = 0; i < 4; ++i) {
      expected += static_cast<double>(K[i + 4 * a]) * static_cast<double>(d[i]);
    }
    EXPECT_NEAR(product, expected, 30.0 * eps);
  }
}

TEST(PivotedCholesky, LeadingDimensionsAndWorkInPlaceChangeNoBit) {
  CompressionCall call = callOf(laplaceProblem<float>(300, 50, 0.01, 7));
  call.SVDT = 1e-5f;
  const Compressed plain = compressed(call);
  CompressionCall wide = widened(call, 7, 0);
  wide.ldC = wide.ldK;
  Compressed out(wide);
  out.Kc = wide.K;
  Compression job = jobOf(wide, out);
  job.K = job.Kc;
  std::copy(wide.d.begin(), wide.d.begin() + call.n, out.dc.begin());
  ASSERT_TRUE(compressWithoutFactors(job, out.count, out.status));
  EXPECT_EQ(out.count, plain.count);
  EXPECT_EQ(out.dc, plain.dc);
  for (int j = 0; j < call.n; ++j) {
    for (int i = 0; i < call.n; ++i) {
      EXPECT_EQ(out.Kc[area(wide.ldC, j) + static_cast<std::size_t>(i)],
                plain.Kc[area(call.ldC, j) + static_cast<std::size_t>(i)]);
    }
  }
}

TEST(PivotedCholesky, WhatItDoesNotServeIsLeftAlone) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  constexpr float inf = std::numeric_limits<float>::infinity();
  const CompressionCall good = [] {
    CompressionCall call = callOf(laplaceProblem<float>(60, 20, 0.01, 10));
    call.SVDT = 1e-4f;
    return call;
  }();
  const auto expectRefused = [](const CompressionCall& call, const char* why) {
    Compressed out(call);
    EXPECT_FALSE(compressWithoutFactors(jobOf(call, out), out.count, out.status)) << why;
    EXPECT_EQ(out.count, untouchedInt);
    EXPECT_EQ(out.status, untouchedInt);
    for (const std::vector<float>* values : {&out.Kc, &out.dc}) {
      EXPECT_TRUE(std::all_of(values->begin(), values->end(), [](float value) {
        return value == untouched;
      })) << why;
    }
  };
  const auto changed = [&good](auto change) {
    CompressionCall call = good;
    change(call);
    return call;
  };
  const auto scaled = [&changed](float by) {
    return changed([by](CompressionCall& call) {
      for (float& value : call.K) {
        value *= by;
      }
    });
  };
  Compressed out(good);
  EXPECT_TRUE(compressWithoutFactors(jobOf(good, out), out.count, out.status));
  for (const float threshold : {0.0f, -1.0f, 1e-7f, nan}) {
    expectRefused(changed([=](auto& call) { call.SVDT = threshold; }), "threshold");
  }
  expectRefused(changed([](auto& call) { call.SVDN = call.ldC + 1; }), "capacity");
  expectRefused(changed([](auto& call) { call.K[5] = nan; }), "NaN in the kernel");
  expectRefused(changed([](auto& call) { call.K[5] = -inf; }), "infinity in the kernel");
  expectRefused(changed([](auto& call) { call.d[5] = nan; }), "NaN in the data");
  expectRefused(changed([](auto& call) { call.d[5] = inf; }), "infinity in the data");
  expectRefused(scaled(0.0f), "kernel of zeros");
  expectRefused(scaled(1e35f), "huge");
  expectRefused(scaled(1e-35f), "tiny");
  expectRefused(changed([](auto& call) { call.m = 0; }), "no points");
  expectRefused(changed([](auto& call) { call.n = 0; }), "no grid");
}

}  // namespace
