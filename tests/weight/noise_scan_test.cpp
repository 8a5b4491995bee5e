// The asymptotic scan: its order of solves, its estimate on decays whose noise is
// known, and its edges.
#include "weight/noise_scan.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/open_log.hpp"
#include "weight/weight_cases.hpp"

namespace {

using vorin::test::identityProblem;
using vorin::test::identityRss;
using vorin::test::laplaceProblem;
using vorin::test::OpenLog;
using vorin::test::prunedProblem;
using vorin::test::setNumber;
using vorin::test::valueBehind;
using vorin::test::Workplace;
using Lines = std::vector<std::string>;

const std::string solveLine = "Vorin_TargSE::Comment::Begin: Iter w=";

struct Scanned {
  float w = -1.0f;
  float sig = -1.0f;
  float dse = 0.0f;
  std::int32_t status = 0;
};

Scanned scan(Workplace& place, float base) {
  Scanned out;
  vorin::weight::VorinCalcSEA2(place.problem, place.f.data(), place.c.data(), base, out.w, out.sig,
                               out.dse, out.status);
  return out;
}

class CalcSEA2 : public vorin::test::LoadedSettings {};

TEST_F(CalcSEA2, ClosedFormOfTheIdentityKernel) {
  // Positive elements are fitted as the weight falls, the negative one never is.
  const std::vector<float> d{2.0f, 3.0f, -0.5f, 1.0f};
  OpenLog log("SCANFORM");
  Workplace place(identityProblem(d));
  const float base = 0.1f;
  const Scanned out = scan(place, base);
  EXPECT_EQ(out.status, 0);
  EXPECT_NEAR(out.sig, 0.25, 1e-6);  // 0.5 / sqrt(4)
  EXPECT_FLOAT_EQ(out.dse, 1.05f * out.sig);

  // The crossing by the definition, from the closed form of each point.
  const auto y = [&](int e) { return std::sqrt(identityRss(d, 0.1 * std::pow(10.0, e)) / 4); };
  const double dse = 1.05 * 0.25;
  int j = 1;
  while (dse <= y(j)) {
    --j;
  }
  const double e = ((y(j) - dse) * (j + 1) + (dse - y(j + 1)) * j) / (y(j) - y(j + 1));
  EXPECT_NEAR(double(out.w) / (0.1 * std::pow(10.0, e)), 1.0, 1e-4);
  EXPECT_EQ(place.c, std::vector<float>(4, 1.0f));

  const Lines lines = log.written();
  EXPECT_EQ(lines.front(), "VorinCalcSEA2::Comment::Begin noise estmate");
  Lines solves;
  for (const std::string& line : lines) {
    if (line.rfind(solveLine, 0) == 0) {
      solves.push_back(line);
    }
  }
  ASSERT_EQ(solves.size(), 21u);  // from 10^2 down to 10^-18
  for (int k = 0; k < 21; ++k) {
    const std::string& line = solves[static_cast<std::size_t>(k)];
    const double w = valueBehind(line, " w=");
    EXPECT_NEAR(w / (0.1 * std::pow(10.0, 2 - k)), 1.0, 1e-3) << line;
    EXPECT_NEAR(valueBehind(line, "-> cse="), y(2 - k), 1e-4) << line;
  }
  // sqrt((4 + 9 + 1) / 1.21 / 4 ... ) at w = 10: 14 (10 / 11)^2 + 0.25 over 4.
  EXPECT_EQ(solves[0], solveLine + "   10.00    -> cse=   1.719     status=  0");
  EXPECT_EQ(solves[20], solveLine + "  0.1000E-18-> cse=  0.2500     status=  0");
}

TEST_F(CalcSEA2, DownwardScanEndsAtTheFirstFailureAndLogsIt) {
  OpenLog log("SCANDOWN");
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const Scanned out = scan(place, 1.0f);
  EXPECT_EQ(out.status, 1);
  const Lines solves = log.writtenBy(solveLine);
  ASSERT_GE(solves.size(), 3u);
  double smallest = 1e12;
  for (std::size_t k = 0; k < solves.size(); ++k) {
    EXPECT_NEAR(valueBehind(solves[k], " w=") / std::pow(10.0, 2.0 - double(k)), 1.0, 1e-3);
    const bool last = k + 1 == solves.size();
    EXPECT_EQ(valueBehind(solves[k], " status="), last ? 1.0 : 0.0);
    if (!last) {
      smallest = std::min(smallest, valueBehind(solves[k], "-> cse="));
    }
  }
  // The failed solve has no part in the estimate.
  EXPECT_NEAR(double(out.sig) / smallest, 1.0, 1e-3);
}

TEST_F(CalcSEA2, FirstFailureTurnsTheScanUpwardToThreeGoodPoints) {
  // Three passes are not enough at 100 * base, and are at larger weights.
  setNumber("MAXI", 3.0f);
  OpenLog log("SCANUP");
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const Scanned out = scan(place, 0.001f);
  EXPECT_EQ(out.status, 0);
  const Lines solves = log.writtenBy(solveLine);
  int good = 0;
  for (std::size_t k = 0; k < solves.size(); ++k) {
    EXPECT_NEAR(valueBehind(solves[k], " w=") / std::pow(10.0, double(k) - 1.0), 1.0, 1e-3);
    good += valueBehind(solves[k], " status=") == 0.0 ? 1 : 0;
  }
  EXPECT_EQ(valueBehind(solves.front(), " status="), 1.0);
  EXPECT_EQ(valueBehind(solves.back(), " status="), 0.0);
  EXPECT_EQ(good, 3);
  // The smallest standard error is that of the first good point, the lowest weight.
  const double first = valueBehind(solves[solves.size() - 3], "-> cse=");
  EXPECT_NEAR(double(out.sig) / first, 1.0, 1e-3);
  EXPECT_LE(out.w, 0.1f);  // not above 100 * base, however far up the good points lie
}

TEST_F(CalcSEA2, EverySolveFails) {
  // One pass never counts as success: 21 attempts, no point.
  setNumber("MAXI", 1.0f);
  OpenLog log("SCANFAIL");
  Workplace place(identityProblem({1, 1, 1, 1}));
  const Scanned out = scan(place, 0.1f);
  EXPECT_EQ(out.status, 1);
  EXPECT_EQ(out.sig, 1e12f);
  EXPECT_FLOAT_EQ(out.dse, 0.95e12f);
  EXPECT_EQ(out.w, 0.1f);
  const Lines solves = log.writtenBy(solveLine);
  ASSERT_EQ(solves.size(), 21u);
  EXPECT_EQ(solves[0].substr(0, 49), solveLine + "   10.00    ");
  EXPECT_EQ(solves[20].substr(0, 49), solveLine + "  0.1000E+22");
}

TEST_F(CalcSEA2, OneGoodPointOnly) {
  // Two passes are enough at 100 and not at 10.
  setNumber("MAXI", 2.0f);
  OpenLog log("SCANPOINT");
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const Scanned out = scan(place, 100.0f);  // 10000 takes one pass, 1000 takes two
  const Lines solves = log.writtenBy(solveLine);
  ASSERT_EQ(solves.size(), 2u);
  EXPECT_EQ(valueBehind(solves[0], " status="), 0.0);
  EXPECT_EQ(valueBehind(solves[1], " status="), 1.0);
  EXPECT_EQ(out.w, 10000.0f);
  EXPECT_NEAR(double(out.sig) / valueBehind(solves[0], "-> cse="), 1.0, 1e-3);
  // 1.05 of it lies above the rms of the data: the mixture decides.
  const double rms = vorin::test::standardErrorOf(place.data, std::vector<float>(20, 0.0f));
  ASSERT_GT(1.05 * double(out.sig), rms);
  EXPECT_NEAR(double(out.dse), 0.05 * rms + 0.95 * double(out.sig), 1e-6);
}

TEST_F(CalcSEA2, RequiredEqualNeighboursDivideByZero) {
  // Data that no distribution explains: every solve leaves all of it, and the rounding
  // of the mixture puts dse one unit above. The exponent is -inf, the weight 0.
  setNumber("L1AL", 0.01f);
  Workplace place(identityProblem({-1.75f, -1.75f, -1.75f, -1.75f}));
  const Scanned out = scan(place, 0.1f);
  EXPECT_EQ(out.sig, 1.75f);
  ASSERT_GT(out.dse, 1.75f);
  EXPECT_EQ(out.w, 0.0f);
}

TEST_F(CalcSEA2, WithoutACrossingTheLastGoodWeightStays) {
  // As above with a mixture that is exact: dse equals every point, and is not greater.
  setNumber("L1AL", 0.5f);
  Workplace place(identityProblem({-1.0f, -1.0f, -1.0f, -1.0f}));
  const Scanned out = scan(place, 0.1f);
  EXPECT_EQ(out.dse, 1.0f);
  EXPECT_NEAR(double(out.w), 1e-19, 1e-24);
}

TEST_F(CalcSEA2, WeightIsHeldAtAHundredTimesTheBase) {
  // A wish above every point of the scan extrapolates beyond its largest weight.
  setNumber("RSIG", 40.0f);
  Workplace place(identityProblem({10.0f, 10.0f, -0.25f, 10.0f}));
  const Scanned out = scan(place, 0.01f);
  ASSERT_GT(double(out.dse), std::sqrt(identityRss(place.data.d, 1.0) / 4));
  EXPECT_FLOAT_EQ(out.w, 1.0f);
}

TEST_F(CalcSEA2, ZeroBaseOfAnEmptyKernelEnds) {
  Workplace place(identityProblem({1, 1}));
  std::fill(place.data.K.begin(), place.data.K.end(), 0.0f);
  scan(place, 0.0f);
  scan(place, std::nanf(""));
}

// The estimate on decays with known noise e. The non-negative fit at the smallest
// weight can't miss the data by more than the true distribution does, but for the
// penalty: |r|^2 <= |e|^2 + w |f|^2. And a fit with p free amplitudes can't take more
// out of the noise than its projection on p directions, of which |e|^2 keeps all but a
// chi-square of p degrees. Smooth decays at these noise levels have at most 12
// directions that stand out; five standard deviations above 12 are 12 + 5 sqrt(24).
class ScanEstimate : public ::testing::TestWithParam<std::tuple<int, int, double, float>> {};

TEST_P(ScanEstimate, LiesWithinTheBoundsOfTheNoise) {
  const auto [nf, ng, snr, route] = GetParam();
  vorin::test::loadSettings();
  setNumber("BRDA", route);
  const double sigma = 1.0 / snr;
  const auto seed = static_cast<std::uint64_t>(nf * 1000 + ng);
  auto noisy = laplaceProblem<float>(nf, ng, sigma, seed);
  auto clean = laplaceProblem<float>(nf, ng, 0.0, seed);
  if (nf > 250) {
    noisy = prunedProblem(noisy, 100);
    clean = prunedProblem(clean, 100);
  }
  double noise = 0.0;
  for (std::size_t i = 0; i < noisy.d.size(); ++i) {
    noise += std::pow(double(noisy.d[i]) - double(clean.d[i]), 2);
  }
  double squares = 0.0;
  for (const float value : noisy.K) {
    squares += double(value) * double(value);
  }
  Workplace place(noisy);
  const Scanned out = scan(place, static_cast<float>(0.1 * squares / ng));
  const double found = double(out.sig) * double(out.sig) * noisy.m;
  EXPECT_LT(found, noise * 1.03);
  EXPECT_GT(found, noise - (12 + 5 * std::sqrt(24.0)) * sigma * sigma);
  EXPECT_GT(out.dse, out.sig);
  EXPECT_GT(out.w, 0.0f);
  RecordProperty("sigma", std::to_string(sigma));
  RecordProperty("estimate", std::to_string(out.sig));
}

INSTANTIATE_TEST_SUITE_P(Decays, ScanEstimate,
                         ::testing::Combine(::testing::Values(64, 300, 1000, 3000),
                                            ::testing::Values(20, 60, 150),
                                            ::testing::Values(20.0, 100.0, 1000.0),
                                            ::testing::Values(1.0f, 2.0f)));

}  // namespace
