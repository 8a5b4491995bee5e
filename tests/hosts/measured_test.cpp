// Measured decays, where they are at hand (VORIN_MEASURED_DATA_DIR).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/noise.hpp"
#include "toolkit/reading/csv.hpp"

namespace vorin::toolkit::test {
namespace {

class Measured : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::is_directory(VORIN_MEASURED_DATA_DIR)) {
      GTEST_SKIP() << "no measured decays at " << VORIN_MEASURED_DATA_DIR;
    }
  }

  static std::string file(const std::string& name) {
    return (fs::path(VORIN_MEASURED_DATA_DIR) / name).string();
  }

  /// The distribution that `vorin invert` finds.
  static Distribution inverted(const std::string& name, std::vector<std::string> options) {
    const TemporaryFolder folder;
    std::vector<std::string> words{"invert", file(name), "--out", "f.csv"};
    words.insert(words.end(), options.begin(), options.end());
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 0) << outcome.err << outcome.out;
    return outcome.status == 0 ? readDistribution(folder / "f.csv") : Distribution{};
  }
};

TEST_F(Measured, RockEchoTrainHasItsPublishedLogMean) {
  // 22.92 ms is what the source of the decay publishes; 0.0769 is the noise of the
  // imaginary channel, which owes nothing to a fit.
  const Distribution found = inverted("rock_cpmg.csv", {"--noise", "0.0769"});
  EXPECT_NEAR(logMean(found) / 0.0229, 1.0, 0.03);
}

TEST_F(Measured, EveryDecayIsInvertedWithoutBeingToldAnything) {
  // Beside the figures of a non-negative least-squares program of another make,
  // whose weight was set so that the standard error is 1.02 times the smallest.
  EXPECT_NEAR(logMean(inverted("rock_cpmg.csv", {})) / 0.0225, 1.0, 0.03);
  EXPECT_NEAR(logMean(inverted("berea_cpmg.csv", {})) / 0.00246, 1.0, 0.03);
  EXPECT_NEAR(
      logMean(inverted("rock_saturation_recovery.csv", {"--kernel", "t1-saturation"})) / 0.647, 1.0,
      0.03);
}

TEST_F(Measured, EveryPathAndBothWeightsFindOneLogMean) {
  // The weights differ up to a hundredfold; an integral hardly depends on them.
  const std::vector<std::vector<std::string>> decays{
      {"rock_cpmg.csv"},
      {"berea_cpmg.csv"},
      {"rock_saturation_recovery.csv", "--kernel", "t1-saturation"}};
  const std::vector<std::vector<std::string>> paths{
      {}, {"--prune", "none"}, {"--compress"}, {"--prune", "none", "--compress"}};
  for (const std::vector<std::string>& decay : decays) {
    double least = HUGE_VAL;
    double most = 0.0;
    for (std::vector<std::string> options : paths) {
      options.insert(options.end(), decay.begin() + 1, decay.end());
      for (const char* weight : {"noise", "corner"}) {
        options.insert(options.end(), {"--weight", weight});
        const double mean = logMean(inverted(decay.front(), options));
        options.resize(options.size() - 2);
        least = std::min(least, mean);
        most = std::max(most, mean);
      }
    }
    EXPECT_LT(most / least, 1.03) << decay.front();
  }
}

TEST_F(Measured, GoodSamplesAreNotTakenForOutliers) {
  // Of 3622 normal variates 0.23 lie beyond 4 standard deviations. The second echo of the rock
  // lies off the curve.
  for (const char* name : {"rock_cpmg.csv", "berea_cpmg.csv"}) {
    const TemporaryFolder folder;
    const Outcome outcome =
        runProgram(folder.path(), {"invert", file(name), "--reject-outliers", "robust"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("  outliers        1 of "), std::string::npos) << outcome.out;
  }
}

TEST_F(Measured, DifferencesFindTheNoiseOfTheImaginaryChannel) {
  EXPECT_NEAR(*differenceNoise(readDecay(file("rock_cpmg.csv"))) / 0.0769, 1.0, 0.1);
  EXPECT_NEAR(*differenceNoise(readDecay(file("berea_cpmg.csv"))) / 24.6, 1.0, 0.1);
}

// At a fixed weight: the log means are those that a non-negative least-squares
// program of another make finds with an identity penalty.
TEST_F(Measured, RockEchoTrainAtAFixedWeight) {
  EXPECT_NEAR(logMean(inverted("rock_cpmg.csv", {"--weight", "1"})) / 0.0225, 1.0, 0.03);
}

TEST_F(Measured, BereaEchoTrainAtAFixedWeight) {
  EXPECT_NEAR(logMean(inverted("berea_cpmg.csv", {"--weight", "0.01"})) / 0.00246, 1.0, 0.03);
}

TEST_F(Measured, RockSaturationRecoveryAtAFixedWeight) {
  EXPECT_NEAR(logMean(inverted("rock_saturation_recovery.csv",
                               {"--kernel", "t1-saturation", "--weight", "0.01"})) /
                  0.647,
              1.0, 0.03);
}

}  // namespace
}  // namespace vorin::toolkit::test
