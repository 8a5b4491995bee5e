// Outlier flags: the rule on problems whose fit is known, and the counts of found
// spikes and of false alarms on noisy decays.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <vector>

#include "support/problems.hpp"
#include "vorin.h"

namespace {

using vorin::test::area;
using vorin::test::laplaceProblem;
using vorin::test::Normal;
using vorin::test::TestProblem;

constexpr float untouched = -123.0f;

struct Call {
  int m = 0;
  int n = 0;
  std::vector<float> K;  // lda x n
  std::vector<float> y;
  std::vector<float> W;
  float thresh = 3.0f;
  float ridge = 0.0001f;
  int lda = 0;
};

struct Outcome {
  std::vector<float> x;
  std::vector<float> flags;
  std::int32_t nGood = -77;
  std::int32_t nBad = -77;
  std::int32_t status = -77;
};

Call callOf(const TestProblem<float>& problem) {
  return {problem.m, problem.n, problem.K, problem.d, std::vector<float>(problem.d.size(), 1.0f),
          3.0f,      0.0001f,   problem.m};
}

Outcome run(const Call& call) {
  Outcome out;
  out.x.assign(static_cast<std::size_t>(std::max(call.n, 0)), untouched);
  out.flags.assign(call.y.size(), untouched);
  float spare = untouched;
  VorinSEROL(&call.thresh, &call.ridge, &call.lda, &call.m, &call.n, call.K.data(), call.y.data(),
             call.W.data(), out.x.data(), out.flags.data(), &out.nGood, &out.nBad, &spare,
             &out.status);
  EXPECT_EQ(spare, untouched);
  return out;
}

int outliers(const Outcome& out) {
  int count = 0;
  for (const float flag : out.flags) {
    EXPECT_TRUE(flag == 0.0f || flag == 1.0f);
    count += flag == 0.0f ? 1 : 0;
  }
  EXPECT_EQ(out.nBad, count);
  EXPECT_EQ(out.nGood, static_cast<int>(out.flags.size()) - count);
  return count;
}

// One column that is 1 in row 0 and 0 elsewhere: x is y[0], up to the ridge, and every
// other residual is the datum itself.
Call bareResiduals(const std::vector<float>& y) {
  Call call{static_cast<int>(y.size()), 1, std::vector<float>(y.size()), y,
            std::vector<float>(y.size(), 1.0f)};
  call.K[0] = 1.0f;
  call.ridge = 0.0f;
  call.lda = call.m;
  return call;
}

TEST(VorinSEROL, OneLargeSpikeIsFlagged) {
  Call call = callOf(laplaceProblem<float>(200, 30, 0.01, 1));
  call.y[120] += 0.5f;
  const Outcome out = run(call);
  EXPECT_EQ(out.status, VORIN_SEROL_FITTED);
  EXPECT_EQ(out.flags[120], 0.0f);
  EXPECT_GE(out.nBad, 1);
  EXPECT_EQ(outliers(out), out.nBad);
}

TEST(VorinSEROL, NegativeThresholdFlagsEveryPoint) {
  Call call = callOf(laplaceProblem<float>(100, 20, 0.01, 2));
  for (const float thresh : {-1e-30f, -3.0f, -std::numeric_limits<float>::infinity()}) {
    call.thresh = thresh;
    EXPECT_EQ(outliers(run(call)), 100);
  }
}

TEST(VorinSEROL, PointExactlyOnTheThresholdIsAnOutlier) {
  Call call = bareResiduals({2.0f, 0.3f, -0.7f, 1.1f, 0.4f, -0.2f});
  const float noise = VorinSEDiff(VORIN_SEDIFF_SECOND, 6, call.y.data());
  call.thresh = 0.7f / noise;
  EXPECT_EQ(run(call).flags, (std::vector<float>{1, 1, 0, 0, 1, 1}));
  call.thresh = std::nextafter(call.thresh, 100.0f);
  EXPECT_EQ(run(call).flags, (std::vector<float>{1, 1, 1, 0, 1, 1}));
}

TEST(VorinSEROL, RequiredResidualIsUnweightedButTheNoiseIsNot) {
  // Scales of 4 leave the residual as it is and make the noise a quarter, so four
  // times the threshold flags the same points. Powers of two keep every value exact.
  Call call = callOf(laplaceProblem<float>(150, 20, 0.02, 3));
  call.thresh = 1.5f;
  const Outcome plain = run(call);
  EXPECT_GT(plain.nBad, 5);
  EXPECT_LT(plain.nBad, 75);
  call.W.assign(150, 4.0f);
  call.thresh = 6.0f;
  const Outcome scaled = run(call);
  EXPECT_EQ(scaled.flags, plain.flags);
  EXPECT_EQ(scaled.x, plain.x);
  call.thresh = 1.5f;
  EXPECT_GT(run(call).nBad, plain.nBad);
}

TEST(VorinSEROL, LargeScaleTakesAPointOutOfTheFit) {
  Call call = callOf(laplaceProblem<float>(200, 30, 0.0, 4));
  const Outcome clean = run(call);
  call.y[50] += 10.0f;
  call.W[50] = 1e6f;
  const Outcome spiked = run(call);
  for (std::size_t j = 0; j < 30; ++j) {
    EXPECT_NEAR(spiked.x[j], clean.x[j], 0.02f) << j;
  }
}

TEST(VorinSEROL, LeadingDimensionLargerThanTheRowsChangesNothing) {
  const Call call = callOf(laplaceProblem<float>(80, 12, 0.02, 5));
  Call wide = call;
  wide.lda = 85;
  wide.K.assign(area(85, 12), std::numeric_limits<float>::quiet_NaN());
  for (int j = 0; j < 12; ++j) {
    std::copy_n(call.K.begin() + 80 * j, 80, wide.K.begin() + 85 * j);
  }
  wide.y.resize(85, std::numeric_limits<float>::quiet_NaN());
  wide.W.resize(85, 0.0f);
  const Outcome expected = run(call);
  const Outcome out = run(wide);
  EXPECT_EQ(out.x, expected.x);
  EXPECT_EQ(out.nGood, expected.nGood);
  EXPECT_EQ(out.nBad, expected.nBad);
  for (std::size_t i = 0; i < 85; ++i) {
    EXPECT_EQ(out.flags[i], i < 80 ? expected.flags[i] : untouched);
  }
}

TEST(VorinSEROL, RidgeIsRelativeToTheMeanColumnNormOfTheWeightedKernel) {
  // Orthogonal columns of squared lengths a = 4 and b = 1, all scales 2: the normal
  // matrix is diag(a, b) / 4 + ridge (a + b) / 8, the right-hand side (2 y0, y1) / 4.
  Call call{3, 2, {2, 0, 0, 0, 1, 0}, {6.0f, 5.0f, 0.0f}, {2, 2, 2}, 3.0f, 0.8f, 3};
  const Outcome out = run(call);
  EXPECT_FLOAT_EQ(out.x[0], (12.0f / 4.0f) / (1.0f + 0.5f));
  EXPECT_FLOAT_EQ(out.x[1], (5.0f / 4.0f) / (0.25f + 0.5f));
}

TEST(VorinSEROL, NotANumberIsNoOutlier) {
  // Data of a straight line have no second differences: residuals of 0 give 0/0, others
  // an infinity.
  Call call = bareResiduals({0.0f, 1.0f, 2.0f, 3.0f});
  EXPECT_EQ(run(call).flags, (std::vector<float>{1, 0, 0, 0}));
  call.y[2] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(run(call).flags, (std::vector<float>{1, 1, 1, 1}));
}

TEST(VorinSEROL, ZeroScaleEndsWithoutAMessage) {
  Call call = callOf(laplaceProblem<float>(60, 10, 0.02, 6));
  call.W[30] = 0.0f;
  const Outcome out = run(call);
  outliers(out);
}

TEST(VorinSEROL, EmptyProblems) {
  Call noColumns{3, 0, {}, {1.0f, 5.0f, 1.0f}, {1, 1, 1}, 1.0f, 0.1f, 3};
  // The fit refuses; K x is 0, the noise |1 - 10 + 1| / sqrt(6) = 3.27.
  Outcome out = run(noColumns);
  EXPECT_EQ(out.status, VORIN_SEROL_EMPTY);
  EXPECT_EQ(out.flags, (std::vector<float>{1, 0, 1}));
  EXPECT_EQ(out.nGood, 2);
  EXPECT_EQ(out.nBad, 1);
  Call noRows{0, 2, {}, {}, {}, 1.0f, 0.1f, 0};
  out = run(noRows);
  EXPECT_EQ(out.nGood, 0);
  EXPECT_EQ(out.nBad, 0);
}

// Over 200 noisy decays of 200 points with 30 grid times, as the driver calls it.
struct Counts {
  int spikesFound = 0;
  int falseAlarms = 0;
};

Counts overSeeds(float thresh, double spike) {
  constexpr double sigma = 0.02;
  Counts counts;
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    Call call = callOf(laplaceProblem<float>(200, 30, sigma, 7000 + seed));
    call.thresh = thresh;
    // The first points have a fit of their own; spikes stand among the other ones.
    const auto place = static_cast<std::size_t>(40 + (seed * 37) % 150);
    call.y[place] += static_cast<float>((seed % 2 == 0 ? spike : -spike) * sigma);
    const Outcome out = run(call);
    // The fit takes the first column that helps, and a tenth of these problems is not
    // done within its 5n solves; the residuals are those of the noise all the same.
    EXPECT_TRUE(out.status == VORIN_SEROL_FITTED || out.status == VORIN_SEROL_ITERATION_LIMIT);
    const bool found = spike > 0.0 && out.flags[place] == 0.0f;
    counts.spikesFound += found ? 1 : 0;
    counts.falseAlarms += outliers(out) - (found ? 1 : 0);
  }
  return counts;
}

TEST(VorinSEROL, CleanDecaysAreLeftAlone) {
  // Beyond 5 sigma a normal number lies in 5.7e-7 of the cases: 0.02 of 40000 points.
  EXPECT_EQ(overSeeds(5.0f, 0.0).falseAlarms, 0);
}

TEST(VorinSEROL, FalseAlarmsAreThoseOfTheNormalDistribution) {
  // Beyond 3 sigma: 0.0027 of 40000 points are 108, with a spread of 10.4. Residuals are
  // smaller than the noise by the handful of coefficients that the fit frees, of 200:
  // 1 percent, which takes the expectation to 97.
  const int alarms = overSeeds(3.0f, 0.0).falseAlarms;
  EXPECT_GT(alarms, 97 - 42);
  EXPECT_LT(alarms, 108 + 42);
}

TEST(VorinSEROL, SpikesOfSixSigmaAreFound) {
  // A spike of 6 sigma raises the noise to sqrt(1 + 36 / 198) = 1.087 sigma and draws the
  // fit by some 2 percent of itself, so at a threshold of 3 it is missed when its own
  // noise is below 3 * 1.087 - 5.88 = -2.6 sigma: 0.5 percent, 1 in 200.
  const Counts counts = overSeeds(3.0f, 6.0);
  EXPECT_GE(counts.spikesFound, 195);
  // At 4.5 the bound is -1.0 sigma, 16 percent: 168 of 200, with a spread of 5.2.
  const Counts stricter = overSeeds(4.5f, 6.0);
  EXPECT_NEAR(stricter.spikesFound, 168, 21);
  EXPECT_LE(stricter.falseAlarms, 2);
}

}  // namespace
