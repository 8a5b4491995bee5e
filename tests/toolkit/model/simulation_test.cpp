// The generator of computed decays.
#include "toolkit/model/simulation.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

namespace fs = std::filesystem;

TEST(Simulation, TheEngineIsTheOneThatTheStandardFixes) {
  std::mt19937_64 engine;  // the standard states its 10000th number
  engine.discard(9999);
  EXPECT_EQ(engine(), 9981545732273789042ULL);
}

TEST(Simulation, NoiseHasTheMomentsOfANormalVariate) {
  constexpr int drawCount = 200000;
  NormalNoise noise(7);
  double first = 0.0;
  double second = 0.0;
  double third = 0.0;
  double fourth = 0.0;
  double neighbours = 0.0;
  double before = 0.0;
  for (int i = 0; i < drawCount; ++i) {
    const double z = noise.next();
    first += z;
    second += z * z;
    third += z * z * z;
    fourth += z * z * z * z;
    neighbours += z * before;
    before = z;
  }
  // Variances of z, z^2, z^3, z^4 and of a product of two: 1, 2, 15, 96 and 1.
  const double unit = 4.0 / std::sqrt(drawCount);
  EXPECT_NEAR(first / drawCount, 0.0, unit);
  EXPECT_NEAR(second / drawCount, 1.0, unit * std::sqrt(2.0));
  EXPECT_NEAR(third / drawCount, 0.0, unit * std::sqrt(15.0));
  EXPECT_NEAR(fourth / drawCount, 3.0, unit * std::sqrt(96.0));
  EXPECT_NEAR(neighbours / drawCount, 0.0, unit);
}

TEST(Simulation, SeedsTellNoiseApart) {
  NormalNoise one(1);
  NormalNoise again(1);
  NormalNoise two(2);
  const double value = one.next();
  EXPECT_EQ(value, again.next());
  EXPECT_NE(value, two.next());
}

TEST(Simulation, APeakNarrowerThanTheGridGoesToTheNearestTime) {
  const Distribution distribution = distributionOf({{1.1, 1e-6, 5.0}}, {0.1, 1.0, 10.0});
  EXPECT_EQ(distribution.amplitude, (std::vector<double>{0.0, 5.0, 0.0}));
}

TEST(Simulation, WithoutNoiseOneTimeGivesOneExponential) {
  const Decay decay = simulatedDecay(Kernel::t2, {{2.0}, {3.0}}, {1.0, 2.0}, 0.0, 1);
  EXPECT_DOUBLE_EQ(decay.amplitude[0], 3.0 * std::exp(-0.5));
  EXPECT_DOUBLE_EQ(decay.amplitude[1], 3.0 * std::exp(-1.0));
}

TEST(Simulation, PeaksAreReadFromTheirText) {
  const LogNormalPeak peak = parsePeak("0.02:0.15:70", "--peak");
  EXPECT_EQ(peak.time, 0.02);
  EXPECT_EQ(peak.width, 0.15);
  EXPECT_EQ(peak.amplitude, 70.0);
  for (const char* text : {"", "1", "1:2", "1:2:x", "0:1:1", "1:0:1", "1:1:0", "1:-1:1", "1:2:3:4",
                           "nan:1:1", "1:inf:1"}) {
    EXPECT_THROW(parsePeak(text, "--peak"), UserError) << text;
  }
}

TEST(Simulation, TwoChannelsHoldTheDecayTurnedByThePhase) {
  const Distribution truth{{2.0}, {3.0}};
  const double phase = 0.7;
  const TwoChannels turned = simulatedChannels(Kernel::t2, truth, {1.0, 2.0}, 0.0, 1, phase);
  for (std::size_t i = 0; i < 2; ++i) {
    const double signal = 3.0 * std::exp(-0.5 * static_cast<double>(i + 1));
    EXPECT_DOUBLE_EQ(turned.real[i], signal * std::cos(phase));
    EXPECT_DOUBLE_EQ(turned.imaginary[i], signal * std::sin(phase));
    // Turned back, all of it is real.
    EXPECT_NEAR(turned.imaginary[i] * std::cos(phase) - turned.real[i] * std::sin(phase), 0.0,
                1e-15);
  }
}

TEST(Simulation, TheNoiseOfTheTwoChannelsIsIndependentAndThatOfTheRealOneIsTheSame) {
  constexpr std::size_t drawCount = 100000;
  const std::vector<double> times(drawCount, 1.0);
  const Distribution none{{1.0}, {0.0}};
  const TwoChannels noise = simulatedChannels(Kernel::t2, none, times, 0.5, 11, 1.0);
  const Decay real = simulatedDecay(Kernel::t2, none, times, 0.5, 11);
  EXPECT_EQ(noise.real, real.amplitude);
  double product = 0.0;
  double square = 0.0;
  for (std::size_t i = 0; i < drawCount; ++i) {
    product += noise.real[i] * noise.imaginary[i];
    square += noise.imaginary[i] * noise.imaginary[i];
  }
  // A product of two has variance 0.25^2, a square 2 * 0.25^2.
  const double unit = 4.0 * 0.25 / std::sqrt(static_cast<double>(drawCount));
  EXPECT_NEAR(product / drawCount, 0.0, unit);
  EXPECT_NEAR(square / drawCount, 0.25, unit * std::sqrt(2.0));
}

/// The command in the first line of a file that vorin simulate has written.
std::vector<std::string> storedCommand(const std::string& content) {
  const std::string mark = "made by: vorin ";
  const auto start = content.find(mark) + mark.size();
  std::istringstream words(content.substr(start, content.find('\n') - start));
  return {std::istream_iterator<std::string>(words), {}};
}

TEST(Simulation, TheStoredSampleIsReproducedByteForByteByItsOwnCommand) {
  const std::string decay = test::contentOf(std::string(VORIN_SAMPLE_DIR) + "/decay.csv");
  const std::string truth = test::contentOf(std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv");
  ASSERT_FALSE(decay.empty());
  const test::TemporaryFolder folder;
  const test::Outcome outcome = test::runProgram(folder.path(), storedCommand(decay));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"decay.csv", "decay_truth.csv"}));
  EXPECT_TRUE(test::contentOf(folder / "decay.csv") == decay) << "decay.csv differs";
  EXPECT_TRUE(test::contentOf(folder / "decay_truth.csv") == truth) << "decay_truth.csv differs";
}

TEST(Simulation, AComplexDecayIsReproducedByItsOwnCommandAndHasTheRealColumnOfPhaseZero) {
  const test::TemporaryFolder folder;
  const auto run = [&](std::vector<std::string> options) {
    std::vector<std::string> words{"simulate", "--samples", "50", "--seed", "5"};
    words.insert(words.end(), options.begin(), options.end());
    const test::Outcome outcome = test::runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
  };
  run({"--phase", "-33.5", "--out", "z.csv"});
  const std::string content = test::contentOf(folder / "z.csv");
  EXPECT_NE(content.find("\ntime_s,real,imaginary\n"), std::string::npos);
  fs::remove(folder / "z.csv");
  const test::Outcome again = test::runProgram(folder.path(), storedCommand(content));
  EXPECT_EQ(again.status, 0) << again.err;
  EXPECT_EQ(test::contentOf(folder / "z.csv"), content);

  // At phase 0 the real column is that of a decay of one channel.
  run({"--out", "one.csv"});
  run({"--phase", "0", "--out", "two.csv"});
  std::istringstream one(test::contentOf(folder / "one.csv"));
  std::istringstream two(test::contentOf(folder / "two.csv"));
  std::string a;
  std::string b;
  for (int line = 0; line < 52; ++line) {
    ASSERT_TRUE(std::getline(one, a) && std::getline(two, b));
    if (line >= 2) {
      EXPECT_EQ(b.substr(0, b.rfind(',')), a);
    }
  }
}

TEST(Simulation, EveryKernelAndAnyNumberOfPeaksCanBeHad) {
  const test::TemporaryFolder folder;
  const std::vector<std::pair<std::string, double>> kernels{
      {"t2", 1.0}, {"t1-saturation", 0.0}, {"t1-inversion", -1.0}};
  for (const auto& [kernel, start] : kernels) {
    const test::Outcome outcome = test::runProgram(
        folder.path(), {"simulate", "--kernel", kernel, "--peak", "0.01:0.1:1", "--peak",
                        "0.1:0.1:2", "--peak", "1:0.2:4", "--times", "1e-7:0.001:3", "--noise", "0",
                        "--out", "d.csv", "--truth", "t.csv"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    // At 0.1 us nothing has decayed: the curve stands at its start, 7 times that of one.
    EXPECT_NEAR(readDecay(folder / "d.csv").amplitude.front(), 7.0 * start, 1e-3) << kernel;
    const Distribution truth = readDistribution(folder / "t.csv");
    EXPECT_EQ(peaks(truth).size(), 3U) << kernel;
    EXPECT_NEAR(totalAmplitude(truth), 7.0, 1e-5) << kernel;
  }
}

TEST(Simulation, TheCommentOfTheTruthStatesItsLogMean) {
  const Distribution truth = readDistribution(std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv");
  const std::string content = test::contentOf(std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv");
  const std::string mark = "# log mean ";
  const double stated = std::stod(content.substr(content.find(mark) + mark.size()));
  EXPECT_NEAR(stated / logMean(truth), 1.0, 1e-5);
}

}  // namespace
}  // namespace vorin::toolkit
