// vorin invert from end to end: a computed decay in, the truth out, and what is
// left in the user's folder.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/csv.hpp"

namespace vorin::toolkit::test {
namespace {

const std::string sampleFile = std::string(VORIN_SAMPLE_DIR) + "/decay.csv";
const std::string sampleTruth = std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv";

TEST(Invert, PrintsASummaryAndLeavesNothingBehind) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"invert", sampleFile, "--weight", "1"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  for (const char* part : {"3000 samples from 200 us to 600 ms", "exp(-t/T2), 100 times",
                           "success (0)", "1 (given)", "total amplitude", "log mean", "peaks"}) {
    EXPECT_NE(outcome.out.find(part), std::string::npos) << part << "\n" << outcome.out;
  }
  EXPECT_TRUE(folder.names().empty());
}

TEST(Invert, WritesWhatIsAskedForUnderTheNameThatIsGiven) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "results");
  const Outcome outcome =
      runProgram(folder.path(), {"invert", sampleFile, "--weight", "1", "--out", "results/f.csv",
                                 "--fit", "fit.csv", "--log", "lower case.log"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"fit.csv", "lower case.log", "results"}));

  const Distribution distribution = readDistribution(folder / "results/f.csv");
  EXPECT_EQ(distribution.time.size(), 100U);
  EXPECT_NEAR(distribution.time.front(), 2e-4 / 3.0, 1e-10);
  EXPECT_NEAR(distribution.time.back(), 1.8, 1e-6);

  const std::string log = contentOf(folder / "lower case.log");
  EXPECT_NE(log.find("Vorin::M::Start inversion"), std::string::npos);
  EXPECT_NE(log.find("Successful inversion"), std::string::npos);
}

TEST(Invert, FitIsTheDataMinusTheResidual) {
  const TemporaryFolder folder;
  const Outcome outcome =
      runProgram(folder.path(), {"invert", sampleFile, "--weight", "1", "--fit", "fit.csv"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Decay decay = readDecay(sampleFile);
  std::istringstream rows(contentOf(folder / "fit.csv"));
  std::string line;
  std::getline(rows, line);
  EXPECT_EQ(line.substr(0, 1), "#");
  std::getline(rows, line);
  EXPECT_EQ(line, "time_s,amplitude,fit,residual");
  std::size_t count = 0;
  double squares = 0.0;
  while (std::getline(rows, line)) {
    double time = 0.0;
    double amplitude = 0.0;
    double fit = 0.0;
    double residual = 0.0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf", &time, &amplitude, &fit, &residual), 4);
    ASSERT_LT(count, decay.time.size());
    EXPECT_NEAR(time, decay.time[count], 1e-9);
    EXPECT_NEAR(amplitude, decay.amplitude[count], 1e-5);
    EXPECT_NEAR(residual, amplitude - fit, 1e-5);
    squares += residual * residual;
    ++count;
  }
  EXPECT_EQ(count, decay.time.size());
  // The sample's noise is 0.2. The mean square of 3000 residuals spreads by sqrt(2/3000);
  // the fit takes up some ten degrees of freedom and the penalty gives some back.
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(count)) / 0.2, 1.0, 0.1);
}

TEST(Invert, AFailedInversionStillWritesItsOutputsAndSaysSo) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(
      folder.path(), {"invert", sampleFile, "--weight", "1", "--set", "MAXI=1", "--out", "f.csv"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.out.find("ran out of passes"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("(1)"), std::string::npos);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"f.csv"});
}

/// The log mean that the summary states beside the true one, as a ratio.
double offFromTruth(const std::string& summary) {
  const std::string words = "the one found is off by ";
  const std::size_t at = summary.find(words);
  if (at == std::string::npos) {
    ADD_FAILURE() << summary;
    return HUGE_VAL;
  }
  std::istringstream rest(summary.substr(at + words.size()));
  double percent = HUGE_VAL;
  std::string unit;
  EXPECT_TRUE(rest >> percent >> unit) << summary;
  EXPECT_EQ(unit, "%") << summary;
  return 0.01 * percent;
}

TEST(Invert, ComparesWithTheTruth) {
  const TemporaryFolder folder;
  const Outcome outcome =
      runProgram(folder.path(), {"invert", sampleFile, "--weight", "1", "--truth", sampleTruth});
  EXPECT_NE(outcome.out.find("true log mean   43.5 ms, the one found is off by "),
            std::string::npos)
      << outcome.out;
  EXPECT_LT(std::fabs(offFromTruth(outcome.out)), 0.1);
}

TEST(Invert, TheNoiseTargetRecoversTheLogMeanOfEveryKernel) {
  const TemporaryFolder folder;
  const std::vector<std::vector<std::string>> cases{
      {"t2", "--spacing", "0.0002", "--samples", "3000"},
      {"t1-saturation", "--times", "0.0005:3:300"},
      {"t1-inversion", "--times", "0.0005:3:300"},
  };
  for (std::vector<std::string> options : cases) {
    const std::string kernel = options.front();
    options.erase(options.begin());
    for (int seed = 1; seed <= 5; ++seed) {
      std::vector<std::string> words{
          "simulate",           "--kernel", kernel,  "--noise", "0.2",  "--seed",
          std::to_string(seed), "--out",    "d.csv", "--truth", "t.csv"};
      words.insert(words.end(), options.begin(), options.end());
      ASSERT_EQ(runProgram(folder.path(), words).status, 0);
      const Outcome outcome =
          runProgram(folder.path(), {"invert", "d.csv", "--kernel", kernel, "--truth", "t.csv"});
      EXPECT_EQ(outcome.status, 0) << outcome.err << outcome.out;
      // The fit may miss the curve by as much as the noise of a point, sigma / A = 0.002
      // of the amplitude A. Amount on that scale moved from its place down to the shortest
      // time of the grid, which no sample tells from the noise, shifts the mean of ln T by
      // 0.002 ln(0.0435 s / 0.0000667 s) = 0.013; the penalty broadens each peak by about
      // that much again.
      EXPECT_LT(std::fabs(offFromTruth(outcome.out)), 0.03) << kernel << " seed " << seed;
    }
  }
}

TEST(Invert, NoiseThatNoFitComesNearIsReplacedAndTold) {
  const TemporaryFolder folder;
  Decay decay = readDecay(sampleFile);
  for (std::size_t i : {0U, 1U, 2U}) {
    decay.amplitude[i] += i == 1 ? 5.0 : -5.0;  // first echoes that lie off the curve
  }
  std::string text;
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    text += fmt::format("{},{}\n", decay.time[i], decay.amplitude[i]);
  }
  writeFile(folder / "spoiled.csv", text);
  const Outcome spoiled =
      runProgram(folder.path(), {"invert", "spoiled.csv", "--truth", sampleTruth});
  EXPECT_EQ(spoiled.status, 0) << spoiled.out;
  EXPECT_NE(spoiled.out.find("(--skip N)"), std::string::npos) << spoiled.out;
  EXPECT_LT(std::fabs(offFromTruth(spoiled.out)), 0.1);
  // The advice helps.
  const Outcome mended =
      runProgram(folder.path(), {"invert", "spoiled.csv", "--skip", "3", "--truth", sampleTruth});
  EXPECT_EQ(mended.status, 0) << mended.out;
  EXPECT_EQ(mended.out.find("(--skip N)"), std::string::npos) << mended.out;
  EXPECT_NE(mended.out.find("2997 samples from 800 us"), std::string::npos) << mended.out;
  EXPECT_LT(std::fabs(offFromTruth(mended.out)), 0.03) << mended.out;
}

TEST(Invert, DrawsAPictureOfEachKind) {
  const TemporaryFolder folder;
  const std::vector<std::pair<std::string, std::string>> kinds{
      {"it's a picture.png", "\x89PNG"}, {"picture.svg", "<?xml"}, {"picture.pdf", "%PDF"}};
  for (const auto& [name, start] : kinds) {
    const Outcome outcome =
        runProgram(folder.path(), {"invert", sampleFile, "--weight", "1", "--plot", name});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string content = contentOf(folder / name);
    EXPECT_EQ(content.substr(0, start.size()), start);
    EXPECT_GT(content.size(), 10000U);
  }
}

TEST(Invert, ADecayFromTimeZeroIsDrawnOnALinearAxis) {
  const TemporaryFolder folder;
  std::string text = "0,100\n";
  const Decay sample = readDecay(sampleFile);
  for (std::size_t i = 0; i < sample.time.size(); ++i) {
    text += fmt::format("{},{}\n", sample.time[i], sample.amplitude[i]);
  }
  writeFile(folder / "zero.csv", text);
  const Outcome outcome = runProgram(
      folder.path(), {"invert", "zero.csv", "--truth", sampleTruth, "--plot", "zero.png"});
  EXPECT_EQ(outcome.status, 0) << outcome.err << outcome.out;
  EXPECT_TRUE(fs::exists(folder / "zero.png"));
  EXPECT_LT(std::fabs(offFromTruth(outcome.out)), 0.03);
}

TEST(Invert, NoiseAboveWhatTheDataHoldIsTold) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"invert", sampleFile, "--noise", "90"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.out.find("give a smaller one (--noise)"), std::string::npos) << outcome.out;
}

TEST(Invert, ADecayWithAnAwkwardNameIsDrawnToo) {
  const TemporaryFolder folder;
  const std::string name = "it's \"50%\" $(done) {Symbol a}_1.csv";
  fs::copy_file(sampleFile, folder / name);
  const Outcome outcome =
      runProgram(folder.path(), {"invert", name, "--weight", "1", "--plot", "p.png"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_TRUE(fs::exists(folder / "p.png"));
}

TEST(Invert, HelpAndVersionAreNoFailures) {
  const TemporaryFolder folder;
  EXPECT_EQ(runProgram(folder.path(), {"--help"}).status, 0);
  EXPECT_EQ(runProgram(folder.path(), {"invert", "--help"}).status, 0);
  const Outcome version = runProgram(folder.path(), {"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "vorin, library Vorin10.56\n");
}

}  // namespace
}  // namespace vorin::toolkit::test
