// Solves that fail in the target search: what is restored, what is retried, and that
// every run of failures ends.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "brd/dispatch.hpp"
#include "support/open_log.hpp"
#include "weight/weight_cases.hpp"

namespace vorin::test {
namespace {

const std::string tag = searchTag;

class TargSEFailures : public LoadedSettings {};

TEST_F(TargSEFailures, FailureAfterAGoodSolveRestoresThatSolve) {
  // Four passes are enough at large weights and not at small ones.
  setNumber("MAXI", 4.0f);
  OpenLog log("TARGFAIL");
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const Searched out = search(place, 1000.0f, 1e-4f);
  EXPECT_EQ(out.status, 1);
  const Lines lines = log.writtenBy(tag);
  EXPECT_EQ(lines.back(), tag + "W::BRD Iterations exceeeded");
  const Lines all = iterations(lines);
  ASSERT_GE(all.size(), 3u);
  const std::string& failed = all.back();
  const std::string& good = all[all.size() - 2];
  EXPECT_EQ(out.iter, static_cast<float>(all.size() - 1));
  EXPECT_NEAR(double(out.w) / valueBehind(good, " w="), 1.0, 1e-4);
  EXPECT_NEAR(double(out.signow) / valueBehind(good, " signow="), 1.0, 1e-4);
  EXPECT_NEAR(standardErrorOf(place.data, place.f), double(out.signow), 1e-4 * double(out.signow));
  // What the failed solve asked for: the weight wanted stays, the new one is tenfold.
  EXPECT_EQ(valueBehind(failed, " wwant="), valueBehind(good, " wwant="));
  EXPECT_NEAR(valueBehind(failed, " wnew=") / valueBehind(failed, " w="), 10.0, 1e-3);
}

// Without a log nobody reads the numbers of a failure that ends a search with the solve before it,
// and they are not computed.
TEST_F(TargSEFailures, AClosedLogChangesNothing) {
  for (const float passes : {4.0f, 6.0f, 9.0f}) {
    for (const float start : {1000.0f, 1.0f, 0.01f}) {
      setNumber("MAXI", passes);
      Workplace logged(laplaceProblem<float>(64, 40, 0.01, 5));
      Workplace silent(laplaceProblem<float>(64, 40, 0.01, 5));
      Searched expected;
      float expectedPasses = 0.0f;
      {
        OpenLog log("TARGOPEN");
        expected = search(logged, start, 1e-4f);
        expectedPasses = getNumber("CITE");
      }
      const Searched out = search(silent, start, 1e-4f);
      SCOPED_TRACE(testing::Message() << passes << " passes from " << start);
      EXPECT_EQ(out.status, expected.status);
      EXPECT_EQ(out.iter, expected.iter);
      EXPECT_EQ(out.w, expected.w);
      EXPECT_EQ(out.signow, expected.signow);
      EXPECT_EQ(getNumber("CITE"), expectedPasses);
      EXPECT_EQ(silent.f, logged.f);
    }
  }
}

TEST_F(TargSEFailures, FirstSolveFailsAndTheTenfoldWeightSucceeds) {
  setNumber("MAXI", 4.0f);
  OpenLog log("TARGRISE");
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const float wanted = std::sqrt(0.13f / 64.0f);  // near w = 10
  const Searched out = search(place, 0.01f, wanted);
  EXPECT_EQ(out.status, 0);
  EXPECT_NEAR(double(out.signow) * double(out.signow) / (double(wanted) * double(wanted)), 1.0,
              1e-3);
  const Lines lines = log.writtenBy(tag);
  const Lines all = iterations(lines);
  EXPECT_EQ(out.iter, static_cast<float>(all.size()));
  EXPECT_EQ(lines[3], tag + "W::BRD Iterations exceeeded");
  // No weight is chosen before the first good solve.
  EXPECT_EQ(lines[2].substr(0, lines[2].find(" signow=")),
            tag + "I::iw= 1 w= 0.10000E-01 wwant=  0.0000     wnew= 0.10000    ");
  EXPECT_NEAR(valueBehind(all[1], " w="), 0.1, 1e-6);
}

TEST_F(TargSEFailures, SolvesThatAlwaysFailEndAtTheUpperLimit) {
  // One pass never counts as success. Three solves rise from 1 to 1000; the third asks
  // for 1000 and touches, as do the fourth and fifth. The weight itself is not limited
  // on this way and rises past the limit; nor is the number of iterations.
  setNumber("MAXI", 1.0f);
  setNumber("WMAX", 1000.0f);
  OpenLog log("TARGALL");
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 1.0f, 0.0f);
  expectEnd(out, 22, 5.0f, 10000.0f);
  EXPECT_NEAR(place.f[0], 2.0f / 10001.0f, 1e-8f);  // the last solve, not a good one
  EXPECT_NEAR(out.signow, 2.0 * 10000.0 / 10001.0, 1e-5);
  const Lines lines = log.writtenBy(tag);
  Lines ends;
  for (const std::string& line : lines) {
    if (line.find("::I::") == std::string::npos && line.find("::Comment::") == std::string::npos) {
      ends.push_back(line);
    }
  }
  const std::string warning = tag + "W::BRD Iterations exceeeded";
  EXPECT_EQ(ends, (Lines{warning, warning, warning, warning, tag + "E::Wmax    1000.     is hit"}));
  EXPECT_EQ(valueBehind(iterations(lines)[3], " wnew="), 1000.0);
}

TEST_F(TargSEFailures, FailingSolvesEndEvenWithoutALimitThatCanBeTouched) {
  setNumber("MAXI", 1.0f);
  setNumber("WREF", std::nanf(""));  // both limits become NaN
  Workplace place(identityProblem(twos));
  const Searched out = search(place, 1.0f, 1.0f);
  EXPECT_EQ(out.status, 22);
  EXPECT_TRUE(std::isinf(out.w));
  setNumber("WREF", 1.0f);
  setNumber("WMIN", -1.0f);
  setNumber("WNMI", -1.0f);
  EXPECT_EQ(search(place, 0.0f, 1.0f).status, 22);  // ten times zero never rises
}

TEST_F(TargSEFailures, ThirdTouchOutranksConvergence) {
  // At 0.001 and 0.01 the solves run out of passes, which takes the weight past its
  // limit with two touches. At 0.1 one succeeds, on the target, and touches once more.
  setNumber("MAXI", 5.0f);
  setNumber("WMAX", 0.005f);
  setNumber("WTOL", 0.1f);
  OpenLog log("TARGTHIRD");
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const Searched out = search(place, 0.001f, std::sqrt(0.00467f / 64.0f));
  EXPECT_EQ(out.status, 22);
  EXPECT_EQ(out.iter, 3.0f);
  const Lines lines = log.writtenBy(tag);
  EXPECT_LT(std::abs(valueBehind(iterations(lines).back(), " conv=")), 0.01);
  EXPECT_EQ(lines.back(), tag + "E::Wmax   0.5000E-02 is hit");
}

TEST_F(TargSEFailures, OtherFailuresWithoutAGoodSolveEndByTheLimitAndLeaveTheDistribution) {
  // At w = -0.5 the quadratic program is not convex in its first variable: a failure
  // with a status of its own, so that there is no warning and no tenfold way out, only
  // the limit of iterations. Nothing is restored; f stays what that solve left, which in
  // the other variables is 2 / (1 - 0.5).
  setNumber("BRDA", 3.0f);
  setNumber("WMIN", -9.0f);
  setNumber("WNMI", -9.0f);
  OpenLog log("TARGQP");
  auto problem = identityProblem(twos);
  problem.K[0] = 0.5f;
  Workplace place(problem);
  const Searched out = search(place, -0.5f, 1.0f, 0.0f);
  expectEnd(out, 2, 1.0f, 1.0f);
  EXPECT_EQ(out.signow, 0.0f);
  EXPECT_EQ(place.f, (std::vector<float>{0, 4, 4, 4}));
  const Lines lines = log.writtenBy(tag);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[2].substr(0, lines[2].find(" conv=")),
            tag +
                "I::iw= 1 w=-0.50000     wwant=  0.0000     wnew= -5.0000     "
                "signow=  2.0000    ");
  EXPECT_EQ(lines[3], tag + "E::Weight iterations  1 exceeded");
}

TEST_F(TargSEFailures, DataThatAreNotNumbersEndByTheLimit) {
  for (const float route : {1.0f, 2.0f, 3.0f}) {
    setNumber("BRDA", route);
    Workplace place(identityProblem({2, std::nanf(""), 2, 2}));
    const Searched out = search(place, 0.5f, 1.0f, 2.0f);
    EXPECT_EQ(out.status, 2) << route;
    EXPECT_EQ(out.iter, 3.0f) << route;
  }
}

TEST_F(TargSEFailures, OtherFailuresAreClearedWhenTheResidualIsOnTarget) {
  // At w = -2 the program on the identity kernel is not convex and has no solution. Its
  // residual is formed all the same, and meets the target.
  setNumber("BRDA", 3.0f);
  setNumber("WMIN", -5.0f);
  setNumber("WNMI", -5.0f);
  Workplace place(identityProblem(twos));
  float rss = 0.0f;
  float slope = 0.0f;
  std::int32_t status = 0;
  brd::vrBRD_s(place.problem, place.f.data(), place.c.data(), -2.0f, rss, slope, status);
  ASSERT_GT(status, 2);
  ASSERT_GT(rss, 0.0f);
  const Searched out = search(place, -2.0f, std::sqrt(rss / 4.0f));
  expectEnd(out, 0, 1.0f, -2.0f);
}

}  // namespace
}  // namespace vorin::test
