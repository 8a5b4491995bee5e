// The target search: every way of ending, every line of its log, its limits and its
// memory of the last good solve. Most tests run on the identity kernel, where rss(w)
// has a closed form.
#include "weight/weight_search.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/open_log.hpp"
#include "weight/weight_cases.hpp"

namespace vorin::test {
namespace {

const std::string tag = searchTag;
const std::string hyphens = tag + "Comment::--------------------------------------------";

class TargSE : public LoadedSettings {};

// A new weight by Newton's rule from the closed form, before any limit.
double newton(double w, double target, double fraction = 1.0) {
  const double slope = 32.0 * w / std::pow(1.0 + w, 3);
  return w - (identityRss(twos, w) - target) * fraction / slope;
}

TEST_F(TargSE, ConvergedStartIsStatusZeroWordByWord) {
  OpenLog log("TARGOK");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 1.0f);
  EXPECT_EQ(out.status, 0);
  EXPECT_EQ(out.w, 1.0f);
  EXPECT_EQ(out.signow, 1.0f);
  EXPECT_EQ(out.iter, 1.0f);
  EXPECT_EQ(place.f, std::vector<float>(4, 1.0f));
  EXPECT_EQ(
      log.writtenBy(tag),
      (Lines{hyphens, tag + "Comment::Begin: Iter from w=    1.000     to get sigwant =    1.000",
             tag + "I::iw= 1 w=  1.0000     wwant=  1.0000     wnew=  1.0000     "
                   "signow=  1.0000     conv=  0.0000",
             tag + "I::Weight iteration succesful after  1iterations"}));
}

TEST_F(TargSE, DetailLineOnlyAboveLevelThree) {
  for (const float level : {3.0f, 4.0f}) {
    setNumber("REPO", level);
    setNumber("WMAX", 0.5f);
    OpenLog log("TARGDETAIL");
    Workplace place(identityProblem(twos));
    search(place, 1.0f, 1.0f);
    const Lines expected =
        level > 3.0f ? Lines{"VorinCalcSE::Comment::dwei=  1.0000 =>  0.5000"} : Lines{};
    EXPECT_EQ(log.writtenBy("VorinCalcSE"), expected) << level;
  }
}

TEST_F(TargSE, NewtonStepsFollowTheClosedForm) {
  for (const float route : {1.0f, 2.0f}) {
    setNumber("BRDA", route);
    OpenLog log("TARGNEWTON");
    Workplace place(identityProblem(twos));
    const Searched out = search(place, 0.3f, 1.5f);
    EXPECT_EQ(out.status, 0);
    // 2 w / (1 + w) = 1.5 at w = 3, where a relative change of rss by the tolerance of
    // 0.001 is one of w by 0.001 w (1 + w) / 2.
    EXPECT_NEAR(out.w, 3.0f, 0.001f * 3.0f * 4.0f / 2.0f);
    const Lines lines = iterations(log.writtenBy(tag));
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(out.iter));
    const double target = 4 * 1.5 * 1.5;
    for (const std::string& line : lines) {
      const double w = valueBehind(line, " w=");
      const double wwant = valueBehind(line, " wwant=");
      const double rss = identityRss(twos, w);
      EXPECT_NEAR(wwant, newton(w, target), 1e-3 * std::abs(wwant)) << line;
      EXPECT_NEAR(valueBehind(line, " wnew="), std::clamp(wwant, w / 10, w * 10), 1e-3 * w * 10);
      EXPECT_NEAR(valueBehind(line, " signow="), std::sqrt(rss / 4), 1e-4);
      EXPECT_NEAR(valueBehind(line, " conv="), (rss - target) / rss, 1e-3) << line;
    }
  }
}

TEST_F(TargSE, StepOfAtMostTheRatioHoweverLargeNewtons) {
  // From w = 0.01 the slope asks for a weight of 29.
  OpenLog log("TARGRATIO");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 0.01f, 1.5f);
  EXPECT_EQ(out.status, 0);
  const Lines lines = iterations(log.writtenBy(tag));
  EXPECT_NEAR(valueBehind(lines.front(), " wwant="), newton(0.01, 9.0), 1e-3);
  for (const std::string& line : lines) {
    const double ratio = valueBehind(line, " wnew=") / valueBehind(line, " w=");
    EXPECT_LE(ratio, 10.0 * (1 + 1e-4));
    EXPECT_GE(ratio, 0.1 * (1 - 1e-4));
  }
  EXPECT_NEAR(valueBehind(lines.front(), " wnew="), 0.1, 1e-6);
}

TEST_F(TargSE, NegativeWeightWantedGivesTheLowerRatio) {
  OpenLog log("TARGNEG");
  Workplace place(identityProblem(twos));
  search(place, 5.0f, 0.5f, 0.0f);
  const Lines lines = iterations(log.writtenBy(tag));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_LT(valueBehind(lines[0], " wwant="), 0.0);
  EXPECT_EQ(valueBehind(lines[0], " wnew="), 0.5);
}

TEST_F(TargSE, RatioOfOneEndsByTheLimitOfIterations) {
  setNumber("WRAT", 1.0f);
  OpenLog log("TARGONE");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 0.5f, 40.0f);
  expectEnd(out, 2, 41.0f, 1.0f);
  const Lines lines = log.writtenBy(tag);
  EXPECT_EQ(lines.back(), tag + "E::Weight iterations 41 exceeded");
  const Lines all = iterations(lines);
  ASSERT_EQ(all.size(), 41u);
  for (const std::string& line : all) {
    EXPECT_EQ(valueBehind(line, " conv="), valueBehind(all[0], " conv="));
  }
}

TEST_F(TargSE, HalfTheFractionTakesHalfStepsAndMoreOfThem) {
  Workplace place(identityProblem(twos));
  const Searched whole = search(place, 2.0f, 1.5f);
  setNumber("WFRA", 0.5f);
  OpenLog log("TARGHALF");
  const Searched half = search(place, 2.0f, 1.5f);
  EXPECT_EQ(half.status, 0);
  EXPECT_GT(half.iter, whole.iter);
  EXPECT_NEAR(half.w, whole.w, 0.02f);
  const Lines lines = iterations(log.writtenBy(tag));
  EXPECT_NEAR(valueBehind(lines[0], " wwant="), newton(2.0, 9.0, 0.5), 1e-3);
  EXPECT_NEAR(valueBehind(lines[0], " wwant=") - 2.0, 0.5 * (newton(2.0, 9.0) - 2.0), 1e-3);
}

TEST_F(TargSE, ThirdTouchOfTheLowerLimitIsStatus21) {
  setNumber("WMIN", 0.5f);
  OpenLog log("TARG21");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 0.0f);
  expectEnd(out, 21, 3.0f, 0.5f);
  EXPECT_NEAR(out.signow, 2.0 / 3.0, 1e-6);
  EXPECT_NEAR(place.f[0], 2.0 / 1.5, 1e-6);  // the last solve
  const Lines lines = log.writtenBy(tag);
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[1], tag + "Comment::Begin: Iter from w=    1.000     to get sigwant =    0.000");
  EXPECT_EQ(lines[2], tag +
                          "I::iw= 1 w=  1.0000     wwant=  0.0000     wnew= 0.50000     "
                          "signow=  1.0000     conv=  1.0000");
  EXPECT_EQ(lines[5], tag + "E::Wmin   0.5000     is hit");
}

TEST_F(TargSE, ThirdTouchOfTheUpperLimitIsStatus22) {
  setNumber("WMAX", 3.0f);
  OpenLog log("TARG22");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 5.0f);
  expectEnd(out, 22, 3.0f, 3.0f);
  EXPECT_NEAR(out.signow, 1.5, 1e-6);
  EXPECT_EQ(log.writtenBy(tag).back(), tag + "E::Wmax    3.000     is hit");
}

TEST_F(TargSE, WeightEqualToALimitTouchesIt) {
  // The ratio takes the weight from 1 to the limits themselves.
  setNumber("WMIN", 1.0f / 10.0f);
  setNumber("WMAX", 10.0f);
  Workplace place(identityProblem(twos));
  EXPECT_EQ(search(place, 1.0f, 0.0f).iter, 3.0f);
  EXPECT_EQ(search(place, 1.0f, 5.0f).iter, 3.0f);
}

TEST_F(TargSE, StartOnALimitCountsAsATouch) {
  // Two more touches, not three, end the search.
  setNumber("WMIN", 0.5f);
  Workplace place(identityProblem(twos));
  EXPECT_EQ(search(place, 0.5f, 0.0f).iter, 2.0f);
  const Searched below = search(place, 0.001f, 0.0f);
  EXPECT_EQ(below.status, 21);
  EXPECT_EQ(below.iter, 2.0f);
  setNumber("WMAX", 3.0f);
  const Searched above = search(place, 99.0f, 5.0f);
  EXPECT_EQ(above.status, 22);
  EXPECT_EQ(above.iter, 2.0f);
}

TEST_F(TargSE, EqualLimitsEndOnTheSecondIteration) {
  setNumber("WMIN", 1.0f);
  setNumber("WMAX", 1.0f);
  Workplace place(identityProblem(twos));
  const Searched low = search(place, 7.0f, 0.5f);
  EXPECT_EQ(low.status, 21);
  EXPECT_EQ(low.iter, 2.0f);
  const Searched high = search(place, 7.0f, 1.5f);
  EXPECT_EQ(high.status, 22);
  EXPECT_EQ(high.iter, 2.0f);
  EXPECT_EQ(high.w, 1.0f);
  const Searched converged = search(place, 7.0f, 1.0f);
  EXPECT_EQ(converged.status, 0);
  EXPECT_EQ(converged.iter, 1.0f);
}

TEST_F(TargSE, RelativeLimitsAreScaledByTheReference) {
  setNumber("WREF", 4.0f);
  setNumber("WNMI", 0.25f);
  setNumber("WNMA", 0.5f);
  OpenLog log("TARGREF");
  Workplace place(identityProblem(twos));
  EXPECT_EQ(search(place, 0.1f, 0.0f).w, 1.0f);
  EXPECT_EQ(search(place, 0.1f, 5.0f).w, 2.0f);
  setNumber("WMIN", 1.5f);  // the larger of the lower, the smaller of the upper limits
  setNumber("WMAX", 1.75f);
  EXPECT_EQ(search(place, 0.1f, 0.0f).w, 1.5f);
  EXPECT_EQ(search(place, 0.1f, 5.0f).w, 1.75f);
}

TEST_F(TargSE, NoIterationsAllowedIsOneSolve) {
  OpenLog log("TARGZERO");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 0.5f, 0.0f);
  expectEnd(out, 2, 1.0f, 1.0f);
  EXPECT_EQ(out.signow, 1.0f);
  EXPECT_EQ(place.f, std::vector<float>(4, 1.0f));
  EXPECT_EQ(log.writtenBy(tag).back(), tag + "E::Weight iterations  1 exceeded");
  EXPECT_EQ(search(place, 1.0f, 1.0f, 0.0f).status, 0);  // converged is a success even so
}

TEST_F(TargSE, LimitOfIterationsIsTruncated) {
  setNumber("WRAT", 1.0f);
  Workplace place(identityProblem(twos));
  EXPECT_EQ(search(place, 1.0f, 0.5f, 2.9f).iter, 3.0f);
  EXPECT_EQ(search(place, 1.0f, 0.5f, -5.0f).iter, 1.0f);
  EXPECT_EQ(search(place, 1.0f, 0.5f, std::nanf("")).iter, 1.0f);
}

TEST_F(TargSE, ConvOfExactlyTheToleranceIsNotConverged) {
  // rss 4 and target 1: conv is 0.75 exactly.
  setNumber("WTOL", 0.75f);
  Workplace place(identityProblem(twos));
  EXPECT_EQ(search(place, 1.0f, 0.5f, 0.0f).status, 2);
  setNumber("WTOL", std::nextafter(0.75f, 1.0f));
  EXPECT_EQ(search(place, 1.0f, 0.5f, 0.0f).status, 0);
}

TEST_F(TargSE, NegativeConvIsComparedByItsSize) {
  // rss 4 and target 9: conv is -1.25.
  setNumber("WTOL", 1.0f);
  Workplace place(identityProblem(twos));
  EXPECT_EQ(search(place, 1.0f, 1.5f, 0.0f).status, 2);
  setNumber("WTOL", 1.3f);
  EXPECT_EQ(search(place, 1.0f, 1.5f, 0.0f).status, 0);
}

TEST_F(TargSE, ZeroDataHasNoResidualAndRisesToTheLimit) {
  // rss and slope are 0: conv is -inf, the weight wanted +inf, held by the ratio.
  setNumber("WMAX", 100.0f);
  OpenLog log("TARGNIL");
  Workplace place(identityProblem(std::vector<float>(4, 0.0f)));
  const Searched out = search(place, 1.0f, 1.0f);
  EXPECT_EQ(out.status, 22);
  EXPECT_EQ(out.iter, 4.0f);
  EXPECT_EQ(out.signow, 0.0f);
  EXPECT_EQ(place.f, std::vector<float>(4, 0.0f));
  const std::string first = iterations(log.writtenBy(tag)).front();
  EXPECT_TRUE(std::isinf(valueBehind(first, " wwant="))) << first;
  EXPECT_TRUE(std::isinf(valueBehind(first, " conv="))) << first;
  EXPECT_EQ(valueBehind(first, " wnew="), 10.0);
}

TEST_F(TargSE, NaNInTheWeightWantedPassesIntoTheNextSolve) {
  // rss, slope and target are 0: the weight wanted is NaN, nothing catches it, and only
  // the limit of iterations ends the search, with the last solve that had no failure.
  OpenLog log("TARGNAN");
  Workplace place(identityProblem(std::vector<float>(4, 0.0f)));
  const Searched out = search(place, 1.0f, 0.0f, 2.0f);
  EXPECT_EQ(out.status, 2);
  EXPECT_EQ(out.iter, 3.0f);
  EXPECT_TRUE(std::isnan(out.w));
  const Lines lines = log.writtenBy(tag);
  EXPECT_EQ(lines[2], tag +
                          "I::iw= 1 w=  1.0000     wwant=         NaN wnew=         NaN "
                          "signow=  0.0000     conv=         NaN");
  EXPECT_EQ(lines[3].substr(0, 37), tag + "I::iw= 2 w=         NaN");
}

TEST_F(TargSE, EmptyProblemsEnd) {
  for (const int m : {0, -3, 2}) {
    for (const int n : {0, -2, 2}) {
      if (m == 2 && n == 2) {
        continue;
      }
      const std::vector<float> d(2, 1.0f);
      brd::Problem<float> problem(m, n, d.data(), d.data());
      std::vector<float> f(2, 5.0f);
      std::vector<float> c(2, 1.0f);
      float w = 1.0f;
      float signow = -1.0f;
      float iter = -1.0f;
      std::int32_t status = -1;
      weight::Vorin_TargSE(problem, f.data(), c.data(), w, 0.5f, 40.0f, signow, iter, status);
      EXPECT_TRUE(status == 2 || status == 21) << m << ' ' << n << ' ' << status;
      if (n < 1) {
        EXPECT_EQ(f, std::vector<float>(2, 5.0f));
      }
    }
  }
}

TEST_F(TargSE, NothingIsRememberedBetweenCalls) {
  Workplace place(identityProblem(twos));
  const Searched first = search(place, 0.3f, 1.5f);
  Workplace other(laplaceProblem<float>(64, 20, 0.01, 5));
  search(other, 1.0f, 0.02f);
  const Searched again = search(place, 0.3f, 1.5f);
  EXPECT_EQ(first.w, again.w);
  EXPECT_EQ(first.iter, again.iter);
  EXPECT_EQ(first.signow, again.signow);
}

}  // namespace
}  // namespace vorin::test
