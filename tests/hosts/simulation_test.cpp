// The generator of computed decays.
#include "common/simulation.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "common/grid.hpp"
#include "common/measures.hpp"
#include "common/user_error.hpp"
#include "hosts/child.hpp"

namespace vorin::host {
namespace {

TEST(Simulation, TheEngineIsTheOneThatTheStandardFixes) {
  std::mt19937_64 engine;  // the standard states its 10000th number
  engine.discard(9999);
  EXPECT_EQ(engine(), 9981545732273789042ULL);
}

TEST(Simulation, NoiseHasTheMomentsOfANormalVariate) {
  constexpr int kCount = 200000;
  NormalNoise noise(7);
  double first = 0.0;
  double second = 0.0;
  double third = 0.0;
  double fourth = 0.0;
  double neighbours = 0.0;
  double before = 0.0;
  for (int i = 0; i < kCount; ++i) {
    const double z = noise.next();
    first += z;
    second += z * z;
    third += z * z * z;
    fourth += z * z * z * z;
    neighbours += z * before;
    before = z;
  }
  // Variances of z, z^2, z^3, z^4 and of a product of two: 1, 2, 15, 96 and 1.
  const double unit = 4.0 / std::sqrt(kCount);
  EXPECT_NEAR(first / kCount, 0.0, unit);
  EXPECT_NEAR(second / kCount, 1.0, unit * std::sqrt(2.0));
  EXPECT_NEAR(third / kCount, 0.0, unit * std::sqrt(15.0));
  EXPECT_NEAR(fourth / kCount, 3.0, unit * std::sqrt(96.0));
  EXPECT_NEAR(neighbours / kCount, 0.0, unit);
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

TEST(Simulation, TheCommentOfTheTruthStatesItsLogMean) {
  const Distribution truth = readDistribution(std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv");
  const std::string content = test::contentOf(std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv");
  const std::string mark = "# log mean ";
  const double stated = std::stod(content.substr(content.find(mark) + mark.size()));
  EXPECT_NEAR(stated / logMean(truth), 1.0, 1e-5);
}

}  // namespace
}  // namespace vorin::host
