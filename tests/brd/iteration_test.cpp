// The control of the iteration: starts, limits, counts and the lines it logs.
#include "brd/iteration.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "brd/dispatch.hpp"
#include "params/log.hpp"
#include "support/log_file.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"

namespace {

using vorin::brd::Problem;
using vorin::test::getNumber;
using vorin::test::LogFile;
using vorin::test::setNumber;
using vorin::test::TestProblem;

struct Outcome {
  std::vector<float> f;
  std::vector<float> c;
  float rss = -1;
  float rssSlope = -1;
  std::int32_t status = -1;
};

Outcome run(const TestProblem<float>& data, float weight, float startF = 7.0f,
            float startC = 1.0f) {
  Problem<float> problem(data.m, data.n, data.K.data(), data.d.data());
  Outcome out;
  out.f.assign(static_cast<std::size_t>(std::max(data.n, 0)), startF);
  out.c.assign(static_cast<std::size_t>(std::max(data.m, 0)), startC);
  vorin::brd::vrBRD_s(problem, out.f.data(), out.c.data(), weight, out.rss, out.rssSlope,
                      out.status);
  return out;
}

class Iteration : public testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
  void TearDown() override {
    vorin::params::VorinLogOpen(false);
    vorin::test::loadSettings();
  }
  // Runs with the log open and returns its lines.
  template <class Action>
  std::vector<std::string> logged(Action action) {
    const LogFile log("ITERATION");
    vorin::params::VorinLogOpen(true);
    action();
    vorin::params::VorinLogOpen(false);
    return log.body();
  }
};

const TestProblem<float> ordinary = vorin::test::laplaceProblem<float>(50, 30, 0.01, 4);

TEST_F(Iteration, AWideToleranceMakesNoPass) {
  for (const float tolerance : {1e20f, 2e20f, INFINITY}) {
    setNumber("TOL", tolerance);
    setNumber("BRDA", 2.0f);
    const Outcome inDouble = run(ordinary, 0.1f);
    EXPECT_EQ(getNumber("CITE"), 0.0f);
    EXPECT_EQ(inDouble.status, 0);
    EXPECT_TRUE(
        std::all_of(inDouble.f.begin(), inDouble.f.end(), [](float f) { return f == 1.0f; }));

    // The single route gives f from the caller's c: column sums for c = 1.
    setNumber("BRDA", 1.0f);
    const Outcome single = run(ordinary, 0.1f);
    EXPECT_EQ(getNumber("CITE"), 0.0f);
    EXPECT_EQ(single.status, 0);
    for (int i = 0; i < ordinary.n; ++i) {
      float column = 0.0f;
      for (int j = 0; j < ordinary.m; ++j) {
        column += ordinary.K[static_cast<std::size_t>(j + i * ordinary.m)];
      }
      EXPECT_EQ(single.f[static_cast<std::size_t>(i)], std::max(column, 0.0f));
    }
  }
}

TEST_F(Iteration, OneAllowedPassEndsWithTheError) {
  for (const float limit : {1.0f, 0.0f, -3.0f, 1.9f}) {
    for (const float route : {1.0f, 2.0f}) {
      setNumber("MAXI", limit);
      setNumber("BRDA", route);
      // So wide a tolerance that the first pass meets it; the limit comes first.
      setNumber("TOL", 1e19f);
      Outcome out;
      const auto lines = logged([&] { out = run(ordinary, 0.1f); });
      EXPECT_EQ(out.status, 1);
      EXPECT_EQ(getNumber("CITE"), 1.0f);
      ASSERT_EQ(lines.size(), 3u);
      EXPECT_EQ(lines[1], "vrBRD_w::Error::Iterations Exceeeded = 1");
      EXPECT_EQ(lines[2].substr(0, 35), "vrBRD_w::Comment::Iter =   1 error=");
      EXPECT_EQ(lines[2].substr(48), " tol=  0.10000E+20 status= 1");
    }
  }
}

TEST_F(Iteration, TheLimitIsTruncated) {
  setNumber("MAXI", 2.9f);
  setNumber("TOL", 0.0f);
  EXPECT_EQ(run(ordinary, 0.1f).status, 1);
  EXPECT_EQ(getNumber("CITE"), 2.0f);
}

TEST_F(Iteration, LevelsDecideWhichLinesAPassWrites) {
  setNumber("TOL", 1e-6f);
  const std::size_t start = 1;
  setNumber("REPO", 1.0f);
  const auto summary = logged([&] { run(ordinary, 0.5f); });
  const auto passes = static_cast<std::size_t>(getNumber("CITE"));
  ASSERT_GE(passes, 2u);
  EXPECT_EQ(summary[0], "vrBRD_w::M::Solving with  weight = 0.5");
  ASSERT_EQ(summary.size(), start + passes);
  EXPECT_EQ(summary[1].substr(0, 35), "vrBRD_w::Comment::Iter =   1 error=");
  EXPECT_EQ(summary[1].substr(48), " tol=  0.10000E-05 status= 0");

  setNumber("REPO", 2.0f);
  const auto counts = logged([&] { run(ordinary, 0.5f); });
  ASSERT_EQ(counts.size(), start + 2 * passes);
  EXPECT_EQ(counts[1], "vrBRD_w::Comment::Iterations  =    1");
  EXPECT_EQ(counts[2], summary[1]);
}

TEST_F(Iteration, AnEmptyMaskGoesOnWithoutASpecialCase) {
  // Every column points away from the data, so f = 0, G = 0 and c = d / w.
  TestProblem<float> data{3, 2, {-1, -1, -1, -2, -2, -2}, {1, 2, 3}};
  for (const float route : {1.0f, 2.0f}) {
    setNumber("BRDA", route);
    const Outcome out = run(data, 0.5f);
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.f, std::vector<float>({0.0f, 0.0f}));
    EXPECT_FLOAT_EQ(out.rss, 14.0f);         // |d|^2
    EXPECT_NEAR(out.rssSlope, 0.0f, 1e-5f);  // 2 w (c.c - w c.c / w)
  }
}

TEST_F(Iteration, AnyCodeButOneAndThreeTakesTheDoubleRoute) {
  setNumber("BRDA", 2.0f);
  const Outcome expected = run(ordinary, 0.1f);
  for (const float code : {0.0f, 7.0f, -1.0f, 2.4f}) {
    setNumber("BRDA", code);
    EXPECT_EQ(run(ordinary, 0.1f).f, expected.f);
  }
  setNumber("BRDA", 1.0f);
  EXPECT_NE(run(ordinary, 0.1f).f, expected.f);
}

TEST_F(Iteration, TheDoubleRouteIgnoresWhatFAndCHold) {
  const Outcome first = run(ordinary, 0.1f, 7.0f, 1.0f);
  const Outcome second = run(ordinary, 0.1f, -1e30f, 99.0f);
  EXPECT_EQ(first.f, second.f);
  EXPECT_EQ(first.rss, second.rss);
  EXPECT_TRUE(std::all_of(second.c.begin(), second.c.end(), [](float c) { return c == 99.0f; }));
}

TEST_F(Iteration, TheSingleRouteStartsFromTheCallersDualAndUpdatesIt) {
  setNumber("BRDA", 1.0f);
  const Outcome cold = run(ordinary, 1.0f);
  ASSERT_EQ(cold.status, 0);
  const float coldPasses = getNumber("CITE");
  Problem<float> problem(ordinary.m, ordinary.n, ordinary.K.data(), ordinary.d.data());
  Outcome warm = cold;
  vorin::brd::vrBRD_s(problem, warm.f.data(), warm.c.data(), 1.0f, warm.rss, warm.rssSlope,
                      warm.status);
  EXPECT_LT(getNumber("CITE"), coldPasses);
  EXPECT_NE(cold.c, std::vector<float>(50, 1.0f));
}

TEST_F(Iteration, ClippedStartOfTheDoubleIteration) {
  // From f = (-1, 1) the first mask is (0, 1), as from (0, 1).
  const TestProblem<double> data = vorin::test::randomProblem<double>(4, 2, 6);
  setNumber("MAXI", 1.0f);
  const auto once = [&](double first) {
    Problem<double> problem(4, 2, data.K.data(), data.d.data());
    std::vector<double> f = {first, 1.0};
    std::vector<double> c(4, 0.0);
    vorin::brd::vrBRD_w_d(problem.doublePrecision(), f.data(), c.data(), 0.3);
    return c;
  };
  EXPECT_EQ(once(-1.0), once(0.0));
  EXPECT_NE(once(-1.0), once(1.0));
}

TEST_F(Iteration, ASystemWithoutRowsHasNoResidual) {
  for (const int m : {0, -2}) {
    for (const float route : {1.0f, 2.0f}) {
      setNumber("BRDA", route);
      const TestProblem<float> data{m, 3, {}, {}};
      const Outcome out = run(data, 0.1f);
      EXPECT_EQ(out.rss, 0.0f);
      EXPECT_EQ(out.rssSlope, 0.0f);
      EXPECT_EQ(out.status, 0);
      EXPECT_EQ(out.f, std::vector<float>({0.0f, 0.0f, 0.0f}));
    }
  }
}

TEST_F(Iteration, ASystemWithoutColumnsLeavesTheDataAsResidual) {
  for (const int n : {0, -1}) {
    for (const float route : {1.0f, 2.0f}) {
      setNumber("BRDA", route);
      const TestProblem<float> data{3, n, {}, {1.0f, 2.0f, 4.0f}};
      const Outcome out = run(data, 0.25f);
      EXPECT_FLOAT_EQ(out.rss, 21.0f);
      EXPECT_EQ(out.status, 0);
    }
  }
}

TEST_F(Iteration, ANaNEndsTheLoop) {
  TestProblem<float> data = ordinary;
  data.d[3] = NAN;
  for (const float route : {1.0f, 2.0f}) {
    setNumber("BRDA", route);
    const Outcome out = run(data, 0.1f);
    EXPECT_TRUE(std::isnan(out.rss));
    EXPECT_LE(getNumber("CITE"), 3.0f);
  }
  EXPECT_TRUE(std::isnan(run(ordinary, NAN).rss));
}

TEST_F(Iteration, AZeroWeightIsAccepted) {
  const Outcome out = run(ordinary, 0.0f);
  EXPECT_TRUE(out.status == 0 || out.status == 1);
}

// Twelve passes in a row without the change of c coming back near its best end the
// single route; the double route runs on to its limit.
TEST_F(Iteration, StallsEndTheSingleRouteOnly) {
  setNumber("TOL", 0.0f);  // never met, so that only a limit ends the loop
  setNumber("MAXI", 500.0f);
  setNumber("BRDA", 1.0f);
  Outcome single;
  const auto lines = logged([&] { single = run(ordinary, 1e-6f); });
  ASSERT_EQ(single.status, 1);
  EXPECT_LT(getNumber("CITE"), 500.0f);
  EXPECT_EQ(
      std::count(lines.begin(), lines.end(), "vrBRD_w::Error::stalled iterations exceeeded = 12"),
      1);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) {
                            return line.find("Iterations Exceeeded") != std::string::npos;
                          }),
            0);

  setNumber("BRDA", 2.0f);
  setNumber("MAXI", 60.0f);
  const auto inDouble = logged([&] { run(ordinary, 1e-6f); });
  EXPECT_EQ(std::count_if(
                inDouble.begin(), inDouble.end(),
                [](const std::string& line) { return line.find("stalled") != std::string::npos; }),
            0);
}

}  // namespace
