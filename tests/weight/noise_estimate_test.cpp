// The noise estimate's frame: which estimator runs, where the search may start, and
// which standard error is requested.
#include "weight/noise_estimate.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "params/store.hpp"
#include "support/open_log.hpp"
#include "weight/weight_cases.hpp"

namespace {

using vorin::test::identityProblem;
using vorin::test::laplaceProblem;
using vorin::test::OpenLog;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::Workplace;
using vorin::weight::Estimator;
using vorin::weight::estimatorOf;
using Lines = std::vector<std::string>;

struct Estimated {
  float wfac = -1.0f;
  float w = 0.01f;
  float sig = 0.01f;
  float rms = -1.0f;
  float dse = -1.0f;
  std::int32_t status = 77;
};

Estimated estimate(Workplace& place, float w = 0.01f, float sig = 0.01f) {
  Estimated out;
  out.w = w;
  out.sig = sig;
  vorin::weight::VorinCalcSE(place.problem, place.f.data(), place.c.data(), out.wfac, out.w,
                             out.sig, out.rms, out.dse, out.status);
  return out;
}

class CalcSE : public ::testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    setText("NALG", "NONE");
  }
};

TEST_F(CalcSE, FirstTestThatHoldsNamesTheEstimator) {
  const auto padded = [](std::string text) {
    text.resize(16, ' ');
    return estimatorOf(text);
  };
  EXPECT_EQ(padded("NONE"), Estimator::none);
  EXPECT_EQ(padded("ASYM"), Estimator::asymptoticScan);
  EXPECT_EQ(padded("UREG"), Estimator::plainFitU);
  EXPECT_EQ(padded("REG"), Estimator::ridgeFit);
  EXPECT_EQ(padded("FIT"), Estimator::plainFit);
  EXPECT_EQ(padded("D2"), Estimator::differenceNoise);
  EXPECT_EQ(padded("D3"), Estimator::differenceNoise);
  EXPECT_EQ(padded(""), Estimator::unknown);
  EXPECT_EQ(padded("none"), Estimator::unknown);  // compared as stored, in capitals
  EXPECT_EQ(estimatorOf(""), Estimator::unknown);
}

TEST_F(CalcSE, RequiredDefaultTextsNameNoEstimator) {
  // "U" is the load text, "URF" the reset text; "ASY2" can be stored.
  EXPECT_EQ(estimatorOf("U               "), Estimator::unknown);
  EXPECT_EQ(estimatorOf("URF             "), Estimator::unknown);
  EXPECT_EQ(estimatorOf("ASY2            "), Estimator::unknown);
}

TEST_F(CalcSE, StoredTextsReachTheirEstimators) {
  struct Case {
    const char* set;
    std::int32_t status;
    float sig;
  };
  setNumber("CSI2", 0.125f);
  // d = (2, 2, -1, 2): the non-negative fit leaves 1 in one of four elements.
  const Case cases[] = {{"NONE", 0, 0.01f}, {"D2", 0, 0.125f},   {"D3", 0, 0.125f},
                        {"DX", 0, 0.125f},  {"ASY2", -1, 0.01f}, {"UREG", 1, 0.5f},
                        {"FIT", 1, 0.5f},   {"ASYM", 0, 0.5f}};
  for (const Case& c : cases) {
    setText("NALG", c.set);
    Workplace place(identityProblem({2, 2, -1, 2}));
    const Estimated out = estimate(place);
    EXPECT_EQ(out.status, c.status) << c.set;
    EXPECT_NEAR(out.sig, c.sig, 1e-6f) << c.set;
  }
}

TEST_F(CalcSE, ResetTextLeavesTheHostsNoise) {
  vorin::test::loadSettings();  // resets NALG to "URF"
  ASSERT_EQ(vorin::params::storedText("NALG").substr(0, 4), "URF ");
  Workplace place(identityProblem({1, 1, 1, 1}));
  const Estimated out = estimate(place, 0.01f, 0.25f);
  EXPECT_EQ(out.status, -1);
  EXPECT_EQ(out.sig, 0.25f);
  EXPECT_FLOAT_EQ(out.dse, 0.2625f);  // 1.05 * 0.25 against 0.05 + 0.95 * 0.25
}

TEST_F(CalcSE, Csi2NeverSetMakes99TheNoise) {
  setNumber("CSI2", 99.0f);  // its load value
  setText("NALG", "D2");
  Workplace place(identityProblem({1, 1, 1, 1}));
  const Estimated out = estimate(place);
  EXPECT_EQ(out.sig, 99.0f);
  EXPECT_FLOAT_EQ(out.dse, 0.05f + 0.95f * 99.0f);
}

TEST_F(CalcSE, ScaleOfTheKernelAndRmsOfTheData) {
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  const Estimated out = estimate(place);
  double squares = 0.0;
  for (const float value : place.data.K) {
    squares += double(value) * double(value);
  }
  EXPECT_NEAR(double(out.wfac) / (squares / 20), 1.0, 1e-5);
  EXPECT_NEAR(double(out.rms),
              vorin::test::standardErrorOf(place.data, std::vector<float>(20, 0.0f)), 1e-6);
}

TEST_F(CalcSE, GivenWeightAboveTheLowerLimitIsOnlyClamped) {
  setNumber("WMIN", 0.001f);
  setNumber("WMAX", 0.5f);
  Workplace place(identityProblem({1, 1, 1, 1}));
  EXPECT_EQ(estimate(place, 0.001f).w, 0.001f);
  EXPECT_EQ(estimate(place, 0.2f).w, 0.2f);
  EXPECT_EQ(estimate(place, 7.0f).w, 0.5f);
}

TEST_F(CalcSE, GivenWeightBelowTheLowerLimitBecomesAThirdOfTheScale) {
  // wfac is 1 for the identity.
  setNumber("WMIN", 0.001f);
  Workplace place(identityProblem({1, 1, 1, 1}));
  EXPECT_EQ(estimate(place, 0.0009f).w, 1.0f / 3.0f);
  setNumber("WMAX", 0.25f);
  EXPECT_EQ(estimate(place, 0.0009f).w, 0.25f);  // replaced first, clamped then
  setNumber("WMAX", 1e30f);
  setNumber("WMIN", 0.5f);
  EXPECT_EQ(estimate(place, 0.0009f).w, 0.5f);
}

TEST_F(CalcSE, RelativeLimitsAreScaledByTheKernelAndNotByTheReference) {
  setNumber("WREF", 1000.0f);
  setNumber("WNMI", 0.5f);
  setNumber("WNMA", 2.0f);
  auto problem = identityProblem({1, 1, 1, 1});
  for (float& value : problem.K) {
    value *= 2.0f;
  }
  Workplace place(problem);  // wfac is 4: limits 2 and 8
  EXPECT_EQ(estimate(place, 100.0f).w, 8.0f);
  EXPECT_EQ(estimate(place, 3.0f).w, 3.0f);
  EXPECT_EQ(estimate(place, 1.0f).w, 2.0f);  // 4 / 3 is below the limit too
}

TEST_F(CalcSE, TargetStandardErrorOfSmallNoise) {
  // 1.05 * 0.01 = 0.0105 against 0.05 * 1 + 0.95 * 0.01 = 0.0595.
  Workplace place(identityProblem({1, 1, 1, 1}));
  const Estimated out = estimate(place, 0.01f, 0.01f);
  EXPECT_EQ(out.rms, 1.0f);
  EXPECT_FLOAT_EQ(out.dse, 0.0105f);
}

TEST_F(CalcSE, TargetStandardErrorOfDataThatIsMostlyNoise) {
  // 1.05 * 0.8 = 0.84 against 0.05 + 0.95 * 0.8 = 0.81: no more than a twentieth of
  // the way to the empty fit.
  Workplace place(identityProblem({1, 1, 1, 1}));
  EXPECT_FLOAT_EQ(estimate(place, 0.01f, 0.8f).dse, 0.81f);
}

TEST_F(CalcSE, NoiseAboveTheDataGivesATargetBelowTheNoise) {
  Workplace place(identityProblem({1, 1, 1, 1}));
  const Estimated out = estimate(place, 0.01f, 2.0f);
  EXPECT_FLOAT_EQ(out.dse, 0.05f + 0.95f * 2.0f);
  EXPECT_LT(out.dse, out.sig);
}

TEST_F(CalcSE, RsigAfterAResetGivesATargetBelowTheNoise) {
  std::int32_t status = -1;
  float unused = 0.0f;
  VorinSQR("I", "    ", &unused, &status);
  Workplace place(identityProblem({1, 1, 1, 1}));
  EXPECT_FLOAT_EQ(estimate(place, 0.01f, 0.1f).dse, 0.02f);
}

TEST_F(CalcSE, ScanSetsTheTargetStandardErrorByItsOwnRule) {
  // Half the data can't be fitted: sig is 0.5 and rms 1. The scan takes 1.5 * 0.5 since
  // it lies below rms; the closing rule would take the mixture, 0.05 + 0.95 * 0.5.
  setNumber("RSIG", 1.5f);
  const float part = std::sqrt(3.0f);
  Workplace place(identityProblem({part, -1.0f, 0.0f, 0.0f}));
  setText("NALG", "ASYM");
  EXPECT_NEAR(estimate(place).dse, 0.75f, 1e-6f);
  setText("NALG", "NONE");
  EXPECT_NEAR(estimate(place, 0.01f, 0.5f).dse, 0.525f, 1e-6f);
}

TEST_F(CalcSE, LogLineWordByWord) {
  OpenLog log("CALCSE");
  Workplace place(identityProblem({1, 1, 1, 1}));
  estimate(place);
  setNumber("WMAX", 1e30f);
  estimate(place, 12.0f);
  auto large = identityProblem({1, 1, 1, 1});
  for (float& value : large.K) {
    value *= 200.0f;
  }
  Workplace other(large);
  estimate(other, 1e-31f);
  const std::string tag = "VorinCalcSE2::Comment::wfac=";
  EXPECT_EQ(log.written(),
            (Lines{tag + "  1.0000 cwei=  0.1000E-01", tag + "  1.0000 cwei=   12.00",
                   tag + "******** cwei=  0.1333E+05"}));
}

TEST_F(CalcSE, EmptyProblemsGiveWhatFloatingPointGives) {
  for (const char* algorithm : {"NONE", "ASYM", "UREG", "REG", "D2"}) {
    setText("NALG", algorithm);
    const std::vector<float> d(3, 2.0f);
    std::vector<float> f(3, 5.0f);
    std::vector<float> c(3, 1.0f);
    for (const int m : {-2, 0, 3}) {
      for (const int n : {-2, 0}) {
        vorin::brd::Problem<float> problem(m, n, d.data(), d.data());
        Estimated out;
        vorin::weight::VorinCalcSE(problem, f.data(), c.data(), out.wfac, out.w, out.sig, out.rms,
                                   out.dse, out.status);
        EXPECT_EQ(f, std::vector<float>(3, 5.0f)) << algorithm;
        if (m == 3) {
          EXPECT_EQ(out.rms, 2.0f);
        }
        if (n == 0) {
          EXPECT_TRUE(std::isnan(out.wfac));
        }
      }
    }
  }
}

}  // namespace
