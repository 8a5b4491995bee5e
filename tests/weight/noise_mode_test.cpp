// The noise mode from the keys to the distribution.
#include "weight/noise_mode.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "support/open_log.hpp"
#include "weight/weight_cases.hpp"

namespace {

using vorin::test::getNumber;
using vorin::test::identityProblem;
using vorin::test::laplaceProblem;
using vorin::test::OpenLog;
using vorin::test::prunedProblem;
using vorin::test::runNoiseMode;
using vorin::test::Searched;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::standardErrorOf;
using vorin::test::Workplace;
using Lines = std::vector<std::string>;

const std::string tag = "Vorin_SEtoW::Comment::";

class NoiseMode : public ::testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    setText("NALG", "NONE");
  }
};

TEST_F(NoiseMode, LogWordByWord) {
  for (const float level : {3.0f, 4.0f}) {
    setNumber("REPO", level);
    setNumber("SIG", 0.5f);
    setNumber("WEIG", 0.0125f);
    OpenLog log("NOISELOG");
    Workplace place(identityProblem({2, 2, 2, 2}));
    runNoiseMode(place);
    Lines expected;
    if (level > 3.0f) {
      expected.push_back(tag + " w(try)= 0.125000E-01");
    }
    expected.push_back(tag +
                       "NOISE: CSIG= 0.500000     RMS=  2.00000    => DSE= 0.525000     "
                       "w(try)= 0.125000E-01");
    EXPECT_EQ(log.writtenBy(tag), expected) << level;
  }
}

TEST_F(NoiseMode, LinesComeInTheirOrder) {
  setNumber("REPO", 4.0f);
  OpenLog log("NOISEORDER");
  Workplace place(identityProblem({2, 2, 2, 2}));
  runNoiseMode(place);
  const Lines lines = log.written();
  const Lines beginnings{
      "VorinCalcSE2::Comment::wfac=", tag + " w(try)=",
      tag + "NOISE: CSIG=",           "VorinCalcSE::Comment::dwei=",
      "Vorin_TargSE::Comment::----",  "Vorin_TargSE::Comment::Begin: Iter from w= ",
      "vrBRD_w::M::Solving"};
  ASSERT_GE(lines.size(), beginnings.size());
  for (std::size_t k = 0; k < beginnings.size(); ++k) {
    EXPECT_EQ(lines[k].substr(0, beginnings[k].size()), beginnings[k]);
  }
}

TEST_F(NoiseMode, KeysAreSet) {
  setNumber("SIG", 0.5f);
  Workplace place(identityProblem({2, 2, 2, 2}));
  const Searched out = runNoiseMode(place);
  EXPECT_EQ(out.status, 0);
  EXPECT_EQ(getNumber("CSIG"), 0.5f);
  EXPECT_FLOAT_EQ(getNumber("DSE"), 0.525f);
  EXPECT_EQ(getNumber("SIG"), 0.5f);
  EXPECT_EQ(getNumber("WFAC"), -12345.0f);  // there is no such key
  // 2 w / (1 + w) = 0.525, to half the tolerance on its square.
  EXPECT_NEAR(out.signow, 0.525f, 0.525f * 0.0005f);
}

TEST_F(NoiseMode, EstimatedNoiseReplacesTheHosts) {
  setText("NALG", "D2");
  setNumber("CSI2", 0.25f);
  setNumber("SIG", 0.5f);
  Workplace place(identityProblem({2, 2, 2, 2}));
  const Searched out = runNoiseMode(place);
  EXPECT_EQ(getNumber("CSIG"), 0.25f);
  EXPECT_NEAR(out.signow, 0.2625f, 0.2625f * 0.0005f);
}

TEST_F(NoiseMode, StatusOfTheEstimatorIsOverwritten) {
  setText("NALG", "ASY2");  // the estimator's status is -1
  setNumber("SIG", 0.5f);
  Workplace place(identityProblem({2, 2, 2, 2}));
  EXPECT_EQ(runNoiseMode(place).status, 0);
}

TEST_F(NoiseMode, NaNFromTheEstimatorStartsTheSearchAtOne) {
  // A scan on a kernel without columns yields a weight that is not a number.
  setText("NALG", "ASYM");
  setNumber("WMAX", 0.5f);
  setNumber("WITE", 0.0f);
  OpenLog log("NOISENAN");
  const std::vector<float> d(4, 2.0f);
  std::vector<float> c(4, 1.0f);
  vorin::brd::Problem<float> problem(4, 0, d.data(), d.data());
  vorin::weight::ModeResult result;
  result.w = 0.01f;
  std::int32_t status = -1;
  vorin::weight::noiseMode(problem, nullptr, c.data(), result, status);
  Lines begin;
  const Lines lines = log.written();
  for (const std::string& line : lines) {
    if (line.find("NOISE: CSIG=") != std::string::npos) {
      EXPECT_EQ(line.substr(line.find(" w(try)=")), " w(try)=  1.00000");
    }
    if (line.find("Begin: Iter from w=") != std::string::npos) {
      begin.push_back(line.substr(0, line.find(" to get")));
    }
  }
  EXPECT_EQ(begin, (Lines{"Vorin_TargSE::Comment::Begin: Iter from w=   0.5000    "}));
}

TEST_F(NoiseMode, SubnormalStartsTheSearchAtOneAndZeroPasses) {
  setNumber("WMIN", 0.0f);
  setNumber("WNMI", 0.0f);
  setNumber("WITE", 0.0f);
  const auto start = [](float w) {
    setNumber("WEIG", w);
    OpenLog log("NOISESUB");
    Workplace place(identityProblem({2, 2, 2, 2}));
    runNoiseMode(place);
    const Lines lines = log.writtenBy(tag);
    return lines.at(0).substr(lines.at(0).find(" w(try)=") + 8);
  };
  EXPECT_EQ(start(std::numeric_limits<float>::denorm_min()), "  1.00000");
  EXPECT_EQ(start(1e-40f), "  1.00000");
  EXPECT_EQ(start(0.0f), "  0.00000");
  EXPECT_EQ(start(2e-38f), " 0.200000E-37");
}

TEST_F(NoiseMode, InfiniteWeightIsClampedBeforeItIsLookedAt) {
  setNumber("WEIG", std::numeric_limits<float>::infinity());
  setNumber("SIG", 1.0f);
  Workplace place(identityProblem({2, 2, 2, 2}));
  EXPECT_EQ(runNoiseMode(place).status, 0);
}

TEST_F(NoiseMode, EveryEstimatorEndsInAConvergedSearch) {
  setNumber("SIG", 0.01f);
  setNumber("CSI2", 0.01f);
  for (const char* algorithm : {"NONE", "ASYM", "UREG", "REG", "FIT", "D2", "D3", "ASY2"}) {
    setText("NALG", algorithm);
    Workplace place(laplaceProblem<float>(150, 60, 0.01, 77));
    const Searched out = runNoiseMode(place);
    EXPECT_EQ(out.status, 0) << algorithm;
    EXPECT_NEAR(getNumber("CSIG"), 0.01f, 0.002f) << algorithm;
    EXPECT_NEAR(std::pow(double(out.signow) / double(getNumber("DSE")), 2), 1.0, 1e-3) << algorithm;
  }
}

TEST_F(NoiseMode, SingleRouteGoesOnFromWhatTheScanLeft) {
  // The scan leaves the dual vector at ones, the host's start; a search on the single
  // route after it and one without it reach the same solution.
  setNumber("BRDA", 1.0f);
  setText("NALG", "ASYM");
  Workplace scanned(laplaceProblem<float>(64, 20, 0.01, 5));
  const Searched first = runNoiseMode(scanned);
  setText("NALG", "NONE");
  setNumber("SIG", getNumber("CSIG"));
  setNumber("WEIG", 1.0f);
  Workplace plain(scanned.data);
  const Searched second = runNoiseMode(plain);
  EXPECT_EQ(first.status, 0);
  EXPECT_EQ(second.status, 0);
  EXPECT_NEAR(first.signow, second.signow, 2e-3f * first.signow);
}

// The default settings: where a weight with the requested standard error exists, the
// search finds it to the tolerance, on every route.
class NoiseModeOnDecays : public ::testing::TestWithParam<std::tuple<int, int, double, float>> {};

TEST_P(NoiseModeOnDecays, ReachesTheTargetStandardError) {
  const auto [nf, ng, snr, route] = GetParam();
  vorin::test::loadSettings();
  setText("NALG", "NONE");
  setNumber("BRDA", route);
  setNumber("SIG", static_cast<float>(1.0 / snr));
  // The single route needs a start at which its factors have digits left; at weights
  // far below the kernel's own size the slope is lost in cancellation.
  setNumber("WEIG", route == 1.0f ? 10.0f : 0.01f);
  auto data = laplaceProblem<float>(nf, ng, 1.0 / snr, static_cast<std::uint64_t>(nf * 1000 + ng));
  if (nf > 250) {
    data = prunedProblem(data, 100);
  }
  Workplace place(std::move(data));
  const Searched out = runNoiseMode(place);
  const double wanted = double(getNumber("DSE"));
  EXPECT_EQ(out.status, 0);
  EXPECT_LE(out.iter, 41.0f);
  EXPECT_LT(std::abs(std::pow(double(out.signow) / wanted, 2) - 1.0), 0.001);
  for (const float value : place.f) {
    EXPECT_GE(value, 0.0f);
  }
  // So does the residual of the distribution itself, which the solver's own value represents:
  // a solve that stopped on a change below TOL may differ by as much again.
  EXPECT_LT(std::abs(std::pow(standardErrorOf(place.data, place.f) / wanted, 2) - 1.0), 0.002);
}

INSTANTIATE_TEST_SUITE_P(Decays, NoiseModeOnDecays,
                         ::testing::Combine(::testing::Values(64, 300, 1000, 3000),
                                            ::testing::Values(20, 60, 150),
                                            ::testing::Values(20.0, 100.0, 1000.0),
                                            ::testing::Values(1.0f, 2.0f, 3.0f)));

}  // namespace
