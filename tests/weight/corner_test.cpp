// The corner search: its picker on tables drawn by hand, its grid against the same
// search made of single solves, and the mode of the weight driver that runs it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "support/open_log.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "vorin.h"
#include "weight/corner_search.hpp"
#include "weight/weight_driver.hpp"

namespace {

using vorin::test::area;
using vorin::test::getNumber;
using vorin::test::laplaceProblem;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::TestProblem;
using vorin::weight::cornerWeight;
using vorin::weight::curvatures;
using vorin::weight::gridSize;
using vorin::weight::WeightGrid;

constexpr double pi = 3.14159265358979323846;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// ---------------------------------------------------------------- the picker alone

/// A curve that starts at (0, 0) and takes the steps of a text of 16: d down, r right,
/// u up, each by 1, where right is growing rss and down is falling norm.
WeightGrid drawn(const char* steps) {
  WeightGrid grid;
  for (std::size_t i = 0; i < gridSize; ++i) {
    grid.exponent[i] = -2.0 + 0.25 * static_cast<double>(i);
    if (i > 0) {
      const char step = steps[i - 1];
      grid.logRss[i] = grid.logRss[i - 1] + (step == 'r' ? 1.0 : 0.0);
      grid.logNorm[i] = grid.logNorm[i - 1] + (step == 'u' ? 1.0 : 0.0) - (step == 'd' ? 1.0 : 0.0);
    }
  }
  return grid;
}

TEST(Corner, CurvatureIsTheTurnPerUnitOfArcAndZeroAtTheEnds) {
  const auto C = curvatures(drawn("ddddrrrrdrrrrrru"));
  std::array<double, gridSize> expected{};
  expected[4] = pi / 4;   // a quarter turn to the left over an arc of 2
  expected[8] = -pi / 4;  // to the right
  expected[9] = pi / 4;
  expected[15] = pi / 4;
  for (std::size_t i = 0; i < gridSize; ++i) {
    EXPECT_DOUBLE_EQ(C[i], expected[i]) << i;
  }
}

TEST(Corner, LongStepsMakeATurnLessSharp) {
  WeightGrid grid = drawn("ddddrrrrdrrrrrrr");
  for (std::size_t i = 0; i < gridSize; ++i) {
    grid.logNorm[i] *= i < 5 ? 1.0 : 3.0;  // the fall behind the first corner is longer
  }
  const auto C = curvatures(grid);
  EXPECT_DOUBLE_EQ(C[9], (pi / 2) / (3.0 + 1.0));
}

TEST(Corner, OfTwoEqualPeaksTheSmallerWeightWins) {
  const WeightGrid grid = drawn("dddrrddrrrrddrrr");
  const auto C = curvatures(grid);
  EXPECT_EQ(C[3], C[7]);
  EXPECT_EQ(C[3], C[13]);
  EXPECT_EQ(cornerWeight(grid, 8.0), std::pow(10.0, -1.25) * 8.0);
}

TEST(Corner, TheSharperOfTwoTurnsIsTakenAtEitherPlace) {
  WeightGrid grid = drawn("ddddrrrrddrrrrrr");
  EXPECT_EQ(cornerWeight(grid, 1.0), 0.1);  // weight 5, exponent -1
  // Move the first corner's neighbours apart: its arc grows, its turn stays.
  for (std::size_t i = 0; i < 4; ++i) {
    grid.logNorm[i] += 5.0;
  }
  EXPECT_EQ(cornerWeight(grid, 1.0), std::pow(10.0, 0.5));  // weight 11
}

TEST(Corner, ACurveWithoutALeftTurnTakesTheLargestWeight) {
  for (const char* steps : {"dddddddddddddddd", "rrrrrrrrrrrrrrrr", "rrrrrrrddddddddd"}) {
    EXPECT_EQ(cornerWeight(drawn(steps), 0.125), 100.0 * 0.125) << steps;
  }
}

TEST(Corner, CurvaturesThatAreNotNumbersArePassedOver) {
  WeightGrid grid = drawn("dddrrrrrddrrrrrr");
  grid.logNorm[2] = nan;  // spoils weights 2 to 4, the first corner among them
  const auto C = curvatures(grid);
  EXPECT_TRUE(std::isnan(C[1]) && std::isnan(C[2]) && std::isnan(C[3]));
  EXPECT_EQ(cornerWeight(grid, 1.0), std::pow(10.0, 0.5));

  WeightGrid empty = drawn("dddrrrrrddrrrrrr");
  empty.logRss.fill(-infinity);
  empty.logNorm.fill(-infinity);
  EXPECT_EQ(cornerWeight(empty, 3.0), 300.0);
}

// ---------------------------------------------------------------- the exports

template <class Real>
struct Found {
  std::vector<Real> f;
  Real w = -1;
  Real rss = -1;
  Real rssSlope = -1;
  std::int32_t status = -1;
};

Found<float> search(const TestProblem<float>& data, float startW = -7.0f) {
  Found<float> out;
  out.f.assign(static_cast<std::size_t>(std::max(data.n, 0)), -5.0f);
  out.w = startW;
  vorinTarget2_sp(data.m, data.n, data.K.data(), data.d.data(), out.f.data(), &out.w, &out.rss,
                  &out.rssSlope, &out.status);
  return out;
}

Found<double> search(const TestProblem<double>& data, double startW = -7.0) {
  Found<double> out;
  out.f.assign(static_cast<std::size_t>(std::max(data.n, 0)), -5.0);
  out.w = startW;
  vorinTarget2_dp(data.m, data.n, data.K.data(), data.d.data(), out.f.data(), &out.w, &out.rss,
                  &out.rssSlope, &out.status);
  return out;
}

TestProblem<double> widened(const TestProblem<float>& narrow) {
  return {
      narrow.m, narrow.n, {narrow.K.begin(), narrow.K.end()}, {narrow.d.begin(), narrow.d.end()}};
}

class CornerSearch : public testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override { vorin::test::loadSettings(); }
};

/// The search step by step, each solve a call of its own.
Found<double> separately(const TestProblem<double>& data) {
  setNumber("BRDA", 3.0f);
  Found<double> at;
  at.f.resize(static_cast<std::size_t>(data.n));
  const auto solve = [&](double w) {
    vrBRDw_dp_dll(data.m, data.n, data.K.data(), data.d.data(), at.f.data(), &w, &at.rss,
                  &at.rssSlope, &at.status);
  };
  double F = 0.0;
  for (const double value : data.K) {
    F += value * value;
  }
  solve(((F * 50) / (data.m * 100 * 100)) * 0.001);
  std::vector<double> fit(data.d.size());
  double square = 0.0;
  for (std::size_t j = 0; j < fit.size(); ++j) {
    for (int i = 0; i < data.n; ++i) {
      fit[j] += data.K[j + area(data.m, i)] * at.f[static_cast<std::size_t>(i)];
    }
    square += (data.d[j] - fit[j]) * (data.d[j] - fit[j]);
  }
  const double snr = fit[0] / std::sqrt(square / data.m);
  const double base = (F * 50) / (data.m * snr * snr);
  std::vector<double> E;
  std::vector<double> a;
  std::vector<double> b;
  for (double e = -2.0; e <= 2.0; e += 0.25) {
    solve(std::pow(10.0, e) * base);
    double norm = 0.0;
    for (const double f : at.f) {
      norm += f * f;
    }
    E.push_back(e);
    a.push_back(std::log(at.rss));
    b.push_back(std::log(norm));
  }
  double w = 100.0 * base;
  double best = 0.0;
  for (std::size_t i = 1; i + 1 < E.size(); ++i) {
    const double t2 = std::atan2(b[i + 1] - b[i], a[i + 1] - a[i]);
    const double t1 = std::atan2(b[i] - b[i - 1], a[i] - a[i - 1]);
    const double l2 = std::hypot(b[i + 1] - b[i], a[i + 1] - a[i]);
    const double l1 = std::hypot(b[i] - b[i - 1], a[i] - a[i - 1]);
    if ((t2 - t1) / (l1 + l2) > best) {
      best = (t2 - t1) / (l1 + l2);
      w = std::pow(10.0, E[i]) * base;
    }
  }
  solve(w);
  at.w = w;
  setNumber("BRDA", 2.0f);
  return at;
}

TEST_F(CornerSearch, HasTheBitsOfTheSameSearchMadeOfSeparateSolves) {
  int corners = 0;
  std::uint64_t seed = 0;
  for (const double sigma : {0.003, 0.01, 0.05}) {
    for (const int m : {20, 80, 150}) {
      for (const int n : {10, 60}) {
        const auto data = laplaceProblem<double>(m, n, sigma, ++seed);
        const Found<double> expected = separately(data);
        const Found<double> got = search(data);
        EXPECT_EQ(got.w, expected.w);
        EXPECT_EQ(got.f, expected.f);
        EXPECT_EQ(got.rss, expected.rss);
        EXPECT_EQ(got.rssSlope, expected.rssSlope);
        EXPECT_EQ(got.status, 0);
        ++corners;
      }
    }
  }
  EXPECT_EQ(corners, 18);
}

TEST_F(CornerSearch, TheWeightPassedInHasNoEffect) {
  const auto data = laplaceProblem<float>(80, 40, 0.01, 5);
  const Found<float> expected = search(data, 1.0f);
  for (const float start : {0.0f, -1e30f, static_cast<float>(nan), 1e30f}) {
    const Found<float> got = search(data, start);
    EXPECT_EQ(got.w, expected.w);
    EXPECT_EQ(got.f, expected.f);
  }
}

TEST_F(CornerSearch, ScalingTheKernelByTwoScalesTheWeightsByFour) {
  auto data = laplaceProblem<double>(80, 40, 0.01, 5);
  const Found<double> once = search(data);
  for (double& value : data.K) {
    value *= 2.0;
  }
  const Found<double> doubled = search(data);
  EXPECT_EQ(doubled.w, 4.0 * once.w);
  EXPECT_EQ(doubled.rss, once.rss);
  for (std::size_t i = 0; i < once.f.size(); ++i) {
    EXPECT_EQ(doubled.f[i], once.f[i] / 2.0);
  }
}

TEST_F(CornerSearch, BothPrecisionsGiveTheSameUpToTheFinalNarrowing) {
  for (const std::uint64_t seed : {1u, 2u, 3u}) {
    const auto narrow = laplaceProblem<float>(90, 50, 0.01, seed);
    const Found<float> single = search(narrow);
    const Found<double> inDouble = search(widened(narrow));
    EXPECT_EQ(single.w, static_cast<float>(inDouble.w));
    EXPECT_EQ(single.rss, static_cast<float>(inDouble.rss));
    EXPECT_EQ(single.rssSlope, static_cast<float>(inDouble.rssSlope));
    EXPECT_EQ(single.status, inDouble.status);
    for (std::size_t i = 0; i < inDouble.f.size(); ++i) {
      EXPECT_EQ(single.f[i], static_cast<float>(inDouble.f[i]));
    }
  }
}

TEST_F(CornerSearch, ReadsNoKeyAndWritesNoLog) {
  const auto data = laplaceProblem<float>(60, 30, 0.01, 7);
  const Found<float> expected = search(data);
  for (const float route : {1.0f, 2.0f, 3.0f}) {
    setNumber("BRDA", route);
    setNumber("MAXI", 1.0f);
    setNumber("WEIG", 123.0f);
    setNumber("RWEI", 5.0f);
    setNumber("REPO", 9.0f);
    setNumber("CITE", 41.0f);
    vorin::test::OpenLog log("CORNERSEARCH");
    EXPECT_EQ(search(data).f, expected.f);
    EXPECT_TRUE(log.written().empty());
    EXPECT_EQ(getNumber("CITE"), 41.0f);
  }
}

// Without rows every sum is zero and the division by m decides: 0 / 0 for m = 0, and
// 0 / (m * 0 * 0) further on. The first fitted point does not exist and is not read.
TEST_F(CornerSearch, WithoutRowsTheRulesOfArithmeticDecide) {
  for (const int m : {0, -1, -50}) {
    const Found<double> got = search(TestProblem<double>{m, 3, {}, {}});
    EXPECT_TRUE(std::isnan(got.w)) << m;
    EXPECT_EQ(got.f, std::vector<double>(3, 0.0));
  }
  const Found<double> noColumns = search(TestProblem<double>{3, 0, {}, {1, 2, 3}});
  EXPECT_TRUE(std::isnan(noColumns.w));  // 0 * 50 / (3 * 0 * 0)
}

TEST_F(CornerSearch, ZeroDataOrAZeroKernelGiveNoWeightAndAnEmptyDistribution) {
  for (const bool zeroData : {true, false}) {
    auto data = laplaceProblem<double>(20, 10, 0.01, 3);
    auto& zeroed = zeroData ? data.d : data.K;
    std::fill(zeroed.begin(), zeroed.end(), 0.0);
    const Found<double> got = search(data);
    EXPECT_TRUE(std::isnan(got.w));
    EXPECT_EQ(got.f, std::vector<double>(10, 0.0));
  }
}

// A kernel so small that the first weight underflows to 0 is fitted exactly: s = 0, the
// ratio is infinite, and all weights solve at weight 0.
TEST_F(CornerSearch, APerfectFirstFitLeavesAWeightOfZero) {
  const TestProblem<double> data{1, 1, {0x1p-531}, {0x1p-531}};
  const Found<double> got = search(data);
  EXPECT_EQ(got.w, 0.0);
  EXPECT_EQ(got.f[0], 1.0);
}

TEST_F(CornerSearch, AZeroFirstFittedPointMakesTheWeightInfinite) {
  auto data = laplaceProblem<double>(20, 10, 0.01, 3);
  for (std::size_t i = 0; i < 10; ++i) {
    data.K[i * 20] = 0.0;
  }
  const Found<double> got = search(data);
  EXPECT_EQ(got.w, infinity);
  EXPECT_EQ(got.f, std::vector<double>(10, 0.0));
}

TEST_F(CornerSearch, HostileValuesEndWithNumbersInTheDistribution) {
  const std::vector<double> values = {nan, infinity, -infinity, 0.0, 1e308, -1e308, 5e-324, 1e-160};
  vorin::test::Uniform uniform(9);
  for (int round = 0; round < 400; ++round) {
    auto data = vorin::test::randomProblem<double>(round % 7, round / 7 % 7,
                                                   static_cast<std::uint64_t>(round));
    for (auto* numbers : {&data.K, &data.d}) {
      for (double& value : *numbers) {
        if (uniform() > 0.7) {
          value = values[static_cast<std::size_t>(4.0 * (1.0 + uniform())) % values.size()];
        }
      }
    }
    for (const double f : search(data).f) {
      EXPECT_TRUE(std::isfinite(f) && (f == 0.0 || f >= 1e-15));
    }
  }
}

// ---------------------------------------------------------------- the mode

struct Inverted {
  std::vector<float> f;
  std::int32_t status = -1;
};

class CornerMode : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    setText("TARG", "2");
  }
  void TearDown() override { vorin::test::loadSettings(); }

  Inverted invert(const TestProblem<float>& data) const {
    Inverted out;
    out.f.assign(static_cast<std::size_t>(std::max(data.n, 0)), -5.0f);
    vorin::weight::Vorin_SEtoW(data.m, data.n, data.K.data(), data.d.data(), out.f.data(),
                               out.status);
    return out;
  }

  const TestProblem<float> data_ = laplaceProblem<float>(90, 50, 0.01, 17);
};

float rootMeanSquare(const TestProblem<float>& data, const std::vector<float>& f) {
  std::vector<float> r(data.d.size(), 0.0f);
  for (int i = 0; i < data.n; ++i) {
    for (std::size_t j = 0; j < r.size(); ++j) {
      r[j] += f[static_cast<std::size_t>(i)] * data.K[j + area(data.m, i)];
    }
  }
  float square = 0.0f;
  for (std::size_t j = 0; j < r.size(); ++j) {
    square += (r[j] - data.d[j]) * (r[j] - data.d[j]);
  }
  return std::sqrt(square / static_cast<float>(data.m));
}

TEST_F(CornerMode, StatusIs999AndNoIterationsAreReported) {
  setNumber("CWIT", 7.0f);
  const Inverted got = invert(data_);
  EXPECT_EQ(got.status, VORIN_CORNER_MODE);
  EXPECT_EQ(getNumber("CSTA"), 999.0f);
  EXPECT_EQ(getNumber("CWIT"), 0.0f);
}

TEST_F(CornerMode, AScaleNearOneKeepsTheCornersSolution) {
  const Found<float> corner = search(data_);
  for (const float scale : {0.95f, 1.0f, 1.05f}) {
    setNumber("RWEI", scale);
    EXPECT_EQ(invert(data_).f, corner.f) << scale;
    EXPECT_EQ(getNumber("CWEI"), corner.w);
    EXPECT_EQ(getNumber("CSE"), rootMeanSquare(data_, corner.f));
  }
}

TEST_F(CornerMode, AnyOtherScaleSolvesOnceMoreByTheQuadraticProgram) {
  const Found<float> corner = search(data_);
  for (const float scale :
       {0.1f, std::nextafter(0.95f, 0.0f), std::nextafter(1.05f, 2.0f), 10.0f}) {
    const float w = scale * corner.w;
    std::vector<float> f(50);
    float rss = 0;
    float slope = 0;
    std::int32_t status = -1;
    setNumber("BRDA", 3.0f);
    vrBRDw_sp_dll(90, 50, data_.K.data(), data_.d.data(), f.data(), &w, &rss, &slope, &status);
    // The route is the same whatever the key says.
    for (const float route : {1.0f, 2.0f, 3.0f}) {
      setNumber("BRDA", route);
      setNumber("RWEI", scale);
      setNumber("CITE", 41.0f);
      EXPECT_EQ(invert(data_).f, f);
      EXPECT_EQ(getNumber("CWEI"), w);
      EXPECT_EQ(getNumber("CSE"), rootMeanSquare(data_, f));
      EXPECT_EQ(getNumber("CITE"), 41.0f);
    }
    EXPECT_NE(f, corner.f);
  }
}

TEST_F(CornerMode, TheDefaultScaleIsATenth) {
  const Found<float> corner = search(data_);
  invert(data_);
  EXPECT_EQ(getNumber("CWEI"), 0.1f * corner.w);
}

TEST_F(CornerMode, TheHostsWeightHasNoEffect) {
  const Inverted expected = invert(data_);
  setNumber("WEIG", 1e9f);
  EXPECT_EQ(invert(data_).f, expected.f);
}

TEST_F(CornerMode, NoiseKeysAreLeftAloneAndNothingIsLogged) {
  setNumber("REPO", 9.0f);
  setNumber("SIG", 0.25f);
  setNumber("CSIG", 0.5f);
  setNumber("DSE", 0.75f);
  vorin::test::OpenLog log("CORNERMODE");
  invert(data_);
  EXPECT_TRUE(log.written().empty());
  EXPECT_EQ(getNumber("SIG"), 0.25f);
  EXPECT_EQ(getNumber("CSIG"), 0.5f);
  EXPECT_EQ(getNumber("DSE"), 0.75f);
}

TEST_F(CornerMode, ProblemsWithoutACornerEndAllTheSame) {
  TestProblem<float> zero = data_;
  std::fill(zero.d.begin(), zero.d.end(), 0.0f);
  const Inverted got = invert(zero);
  EXPECT_EQ(got.status, VORIN_CORNER_MODE);
  EXPECT_EQ(got.f, std::vector<float>(50, 0.0f));
  EXPECT_EQ(getNumber("CSE"), 0.0f);
  EXPECT_TRUE(std::isnan(getNumber("CWEI")));
  for (const int m : {0, -3}) {
    EXPECT_EQ(invert({m, 2, {}, {}}).status, VORIN_CORNER_MODE);
  }
  EXPECT_EQ(invert({2, 0, {}, {1.0f, 2.0f}}).status, VORIN_CORNER_MODE);
}

}  // namespace
