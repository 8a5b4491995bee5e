// The difference noise: its formulas, its edges, and its statistics on white noise of
// known deviation.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <vector>

#include "support/problems.hpp"
#include "vorin.h"

namespace {

using vorin::test::Normal;

float of(int order, const std::vector<float>& x) {
  return VorinSEDiff(order, static_cast<int>(x.size()), x.data());
}

TEST(VorinSEDiff, StraightLineHasNoSecondDifferences) {
  std::vector<float> line(50);
  for (std::size_t i = 0; i < line.size(); ++i) {
    line[i] = 3.0f + 0.25f * static_cast<float>(i);
  }
  EXPECT_EQ(of(VORIN_SEDIFF_SECOND, line), 0.0f);
}

TEST(VorinSEDiff, StraightLineGivesItsSlopeOverRootTwo) {
  std::vector<float> line(50);
  for (std::size_t i = 0; i < line.size(); ++i) {
    line[i] = 3.0f + 0.25f * static_cast<float>(i);
  }
  EXPECT_EQ(of(VORIN_SEDIFF_FIRST, line), 0.25f / 1.4142135f);
}

TEST(VorinSEDiff, FirstDifferencesByHand) {
  // 3, -1: (9 + 1) / 2 = 5.
  EXPECT_FLOAT_EQ(of(VORIN_SEDIFF_FIRST, {1.0f, 4.0f, 3.0f}), std::sqrt(5.0f) / 1.4142135f);
}

TEST(VorinSEDiff, SecondDifferencesByHand) {
  // 1 - 8 + 3 = -4 and 4 - 6 + 9 = 7: (16 + 49) / 12 / 2 = 65 / 24.
  EXPECT_FLOAT_EQ(of(VORIN_SEDIFF_SECOND, {1.0f, 4.0f, 3.0f, 9.0f}),
                  std::sqrt(65.0f / 24.0f) * 1.4142135f);
}

TEST(VorinSEDiff, AsManySamplesAsMakeNoDifferenceGiveNotANumber) {
  EXPECT_TRUE(std::isnan(of(VORIN_SEDIFF_FIRST, {7.0f})));
  EXPECT_TRUE(std::isnan(of(VORIN_SEDIFF_SECOND, {7.0f, 8.0f})));
}

TEST(VorinSEDiff, FewerSamplesGiveZero) {
  const float x[] = {5.0f, 9.0f};
  for (const int count : {0, -1, -100, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(VorinSEDiff(VORIN_SEDIFF_FIRST, count, x), 0.0f);
    EXPECT_EQ(VorinSEDiff(VORIN_SEDIFF_SECOND, count, x), 0.0f);
  }
  EXPECT_EQ(VorinSEDiff(VORIN_SEDIFF_SECOND, 1, x), 0.0f);
}

TEST(VorinSEDiff, OtherOrdersGiveZeroWhateverTheData) {
  const std::vector<float> x = {1.0f, -4.0f, std::numeric_limits<float>::quiet_NaN(), 9.0f};
  for (const int order : {4, 1, 0, -2, 99}) {
    EXPECT_EQ(of(order, x), 0.0f);
  }
}

struct Statistics {
  double mean = 0.0;
  double spread = 0.0;
};

// Estimates over `seeds` decays of two exponentials with noise sigma.
Statistics overSeeds(int order, std::size_t samples, double sigma, int seeds) {
  std::vector<double> estimates;
  for (int seed = 0; seed < seeds; ++seed) {
    Normal normal(static_cast<std::uint64_t>(1000 + seed));
    std::vector<float> x(samples);
    for (std::size_t i = 0; i < samples; ++i) {
      const double t = static_cast<double>(i + 1);
      x[i] = static_cast<float>(0.6 * std::exp(-t / 150.0) + 0.4 * std::exp(-t / 600.0) +
                                sigma * normal());
    }
    estimates.push_back(static_cast<double>(of(order, x)));
  }
  Statistics result;
  result.mean = std::accumulate(estimates.begin(), estimates.end(), 0.0) / seeds;
  for (const double s : estimates) {
    result.spread += (s - result.mean) * (s - result.mean) / (seeds - 1);
  }
  result.spread = std::sqrt(result.spread);
  return result;
}

// Over 1000 seeds a mean is known to spread / sqrt(1000), a spread to 1 / sqrt(2000) of
// itself; four of these are allowed.
void expectStatistics(const Statistics& found, double mean, double spread) {
  EXPECT_NEAR(found.mean, mean, 4.0 * spread / std::sqrt(1000.0));
  EXPECT_NEAR(found.spread, spread, 4.0 * spread / std::sqrt(2000.0));
}

// The variance of s^2 follows from the correlations of neighbouring differences: with
// first differences 3 sigma^4 / p (rho = -1/2), with second ones 35/9 sigma^4 / p
// (rho = -2/3, 1/6), for p of them. So s spreads by half the root of that, and its mean
// lies an eighth of it below sigma. The curve's own differences are below 1e-2 of the
// noise's.
TEST(VorinSEDiff, FirstDifferencesEstimateWhiteNoiseOnADecay) {
  const double sigma = 0.05;
  const double variance = 3.0 / 499.0;
  expectStatistics(overSeeds(VORIN_SEDIFF_FIRST, 500, sigma, 1000), sigma * (1.0 - variance / 8.0),
                   sigma * std::sqrt(variance) / 2.0);
}

TEST(VorinSEDiff, SecondDifferencesEstimateWhiteNoiseOnADecay) {
  const double sigma = 0.05;
  const double variance = 35.0 / 9.0 / 498.0;
  expectStatistics(overSeeds(VORIN_SEDIFF_SECOND, 500, sigma, 1000), sigma * (1.0 - variance / 8.0),
                   sigma * std::sqrt(variance) / 2.0);
}

TEST(VorinSEDiff, SecondDifferencesSeeLessOfTheCurve) {
  // A steep decay without noise: what is left is the curve's own contribution.
  std::vector<float> x(200);
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = static_cast<float>(std::exp(-static_cast<double>(i) / 20.0));
  }
  // A difference of e^(-t/20) is q e^(-t/20), q = 1 - e^(-1/20); a second one q^2.
  const double q = 1.0 - std::exp(-1.0 / 20.0);
  const auto meanSquare = [](double p) {
    return (1.0 - std::exp(-p / 10.0)) / (1.0 - std::exp(-0.1)) / p;
  };
  EXPECT_NEAR(static_cast<double>(of(VORIN_SEDIFF_FIRST, x)), q * std::sqrt(meanSquare(199) / 2.0),
              1e-6);
  EXPECT_NEAR(static_cast<double>(of(VORIN_SEDIFF_SECOND, x)),
              q * q * std::sqrt(meanSquare(198) / 6.0), 1e-6);
}

}  // namespace
