// VorinPrune2 on data with a known ramp of noise: what it whitens, and what it keeps.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "reduce/kernel_pruning.hpp"

namespace {

using namespace vorin::test;

// Noise that grows along the decay from 0.5 to 3.5.
std::vector<float> ramp(std::size_t n) {
  std::vector<float> v(n);
  for (std::size_t i = 0; i < n; ++i) {
    v[i] = 0.5f + 3.0f * static_cast<float>(i) / static_cast<float>(n - 1);
  }
  return v;
}

TEST(VorinPrune2, PrunedValuesOfRampedNoiseHaveNoiseOne) {
  constexpr int seeds = 2000;
  PruneCall request{evenTimes(240)};
  request.v = ramp(240);
  request.target = 16;
  request.nCols = 1;
  std::vector<double> mean;
  std::vector<double> square;
  for (int seed = 0; seed < seeds; ++seed) {
    Normal normal(static_cast<std::uint64_t>(500 + seed));
    request.y.clear();
    for (const float v : request.v) {
      request.y.push_back(v * static_cast<float>(normal()));
    }
    const Pruned out = prune(VorinPrune2, request);
    ASSERT_EQ(out.count, 15);
    mean.resize(15);
    square.resize(15);
    for (std::size_t r = 0; r < 15; ++r) {
      const auto value = static_cast<double>(out.y[r]);
      mean[r] += value / seeds;
      square[r] += value * value / seeds;
    }
  }
  // Known to 1 / sqrt(seeds) and sqrt(2 / seeds); four of these over 15 rows.
  for (std::size_t r = 0; r < 15; ++r) {
    EXPECT_NEAR(mean[r], 0.0, 4.0 / std::sqrt(double(seeds))) << r;
    EXPECT_NEAR(square[r], 1.0, 4.0 * std::sqrt(2.0 / seeds)) << r;
  }
}

TEST(VorinPrune2, BinScaleTurnsAPrunedValueBackIntoTheUnitOfTheData) {
  PruneCall request{evenTimes(240)};
  request.v = ramp(240);
  request.y.assign(240, 7.0f);
  const Pruned out = prune(VorinPrune2, request);
  ASSERT_GT(out.count, 10);
  for (std::size_t r = 0; r < static_cast<std::size_t>(out.count); ++r) {
    EXPECT_NEAR(out.y[r] * out.norm[r], 7.0f, 1e-5f) << r;
  }
}

TEST(VorinPrune2, KernelAndDataStayConsistentUnderARampOfNoise) {
  // y = K f without noise: the pruned data is the pruned kernel times f.
  PruneCall request{evenTimes(240)};
  request.v = ramp(240);
  const std::vector<float> K = kernelOf(request);
  const std::vector<float> f = randomValues(9, 8);
  request.y.assign(240, 0.0f);
  for (std::size_t j = 0; j < 9; ++j) {
    for (std::size_t i = 0; i < 240; ++i) {
      request.y[i] += K[i + j * 240] * f[j];
    }
  }
  const Pruned out = prune(VorinPrune2, request);
  for (std::size_t r = 0; r < static_cast<std::size_t>(out.count); ++r) {
    float fit = 0.0f;
    for (std::size_t j = 0; j < 9; ++j) {
      fit += out.k[r + j * 60] * f[j];
    }
    EXPECT_NEAR(fit, out.y[r], 2e-5f) << r;
  }
}

}  // namespace
