// The noise from a single fit, against fits that can be written down.
#include "weight/noise_fit.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/open_log.hpp"
#include "weight/weight_cases.hpp"

namespace {

using vorin::test::identityProblem;
using vorin::test::laplaceProblem;
using vorin::test::OpenLog;
using vorin::test::Workplace;
using Lines = std::vector<std::string>;

class CalcSEFit : public vorin::test::LoadedSettings {};

TEST_F(CalcSEFit, PlainFitOfTheIdentityKernel) {
  OpenLog log("FITU");
  Workplace place(identityProblem({2, 3, -1, 0.5f}));
  float sig = -1.0f;
  std::int32_t status = -7;
  vorin::weight::VorinCalcSEU(place.problem, place.f.data(), 9999.99f, sig, status);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(place.f, (std::vector<float>{2, 3, 0, 0.5f}));
  EXPECT_FLOAT_EQ(sig, 0.5f);  // sqrt(1 / 4)
  EXPECT_EQ(log.written(), (Lines{"VorinCalcSEU::Comment::Begin noise estimate"}));
}

TEST_F(CalcSEFit, RidgeFitOfTheIdentityKernel) {
  OpenLog log("FITR");
  Workplace place(identityProblem({2, 3, -1, 0.5f}));
  float sig = -1.0f;
  std::int32_t status = -7;
  vorin::weight::VorinCalcSER(place.problem, place.f.data(), 0.25f, sig, status);
  EXPECT_EQ(status, 0);
  // f = max(0, d) / 1.25, so that a fifth of each positive element is left.
  EXPECT_NEAR(place.f[0], 1.6f, 1e-6f);
  EXPECT_EQ(place.f[2], 0.0f);
  EXPECT_NEAR(sig, std::sqrt((13.25 * 0.04 + 1) / 4), 1e-6);
  EXPECT_EQ(log.written(), (Lines{"VorinCalcSER::Comment::Begin noise estimate"}));
}

TEST_F(CalcSEFit, UregAndFitGiveIdenticalNoise) {
  Workplace place(laplaceProblem<float>(64, 20, 0.01, 5));
  float first = -1.0f;
  float second = -2.0f;
  std::int32_t status = -7;
  vorin::weight::VorinCalcSEU(place.problem, place.f.data(), 9999.99f, first, status);
  std::fill(place.f.begin(), place.f.end(), 3.0f);
  vorin::weight::VorinCalcSEU(place.problem, place.f.data(), 1e-5f, second, status);
  EXPECT_EQ(first, second);
  EXPECT_NEAR(double(first), vorin::test::standardErrorOf(place.data, place.f), 1e-7);
  // The smallest residual a non-negative distribution can reach is below the noise
  // and not far below: a handful of the 64 degrees of freedom are fitted.
  EXPECT_LT(first, 0.0125f);
  EXPECT_GT(first, 0.0075f);
}

TEST_F(CalcSEFit, NothingBetterThanThePlainFit) {
  Workplace plain(laplaceProblem<float>(64, 20, 0.05, 9));
  Workplace ridge(plain.data);
  float sigPlain = -1.0f;
  float sigRidge = -1.0f;
  std::int32_t status = -7;
  vorin::weight::VorinCalcSEU(plain.problem, plain.f.data(), 0.0f, sigPlain, status);
  vorin::weight::VorinCalcSER(ridge.problem, ridge.f.data(), 1e-4f, sigRidge, status);
  EXPECT_GE(sigRidge, sigPlain * (1 - 1e-5f));
  EXPECT_NEAR(sigRidge / sigPlain, 1.0f, 0.05f);
}

}  // namespace
