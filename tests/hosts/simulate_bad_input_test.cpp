// Bad options of vorin simulate: one sentence, exit status 2, and no file left behind.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

struct BadSimulation {
  const char* what;
  std::vector<std::string> options;  ///< behind "simulate --out out.csv --truth truth.csv"
  std::string sentence;
};

void PrintTo(const BadSimulation& bad, std::ostream* out) {
  *out << bad.what;
}

class BadSimulations : public testing::TestWithParam<BadSimulation> {};

TEST_P(BadSimulations, AreRefusedInOneSentence) {
  const TemporaryFolder folder;
  std::vector<std::string> words{"simulate", "--out", "out.csv", "--truth", "truth.csv"};
  words.insert(words.end(), GetParam().options.begin(), GetParam().options.end());
  const Outcome outcome = runProgram(folder.path(), words);
  expectRefusal(outcome, GetParam().sentence);
  EXPECT_TRUE(folder.names().empty());
}

const std::string peakHelp =
    "; write TIME:WIDTH:AMPLITUDE, for instance 0.02:0.15:70 for a peak at 20 ms, 0.15 decades "
    "wide, of amplitude 70";
const std::string repeatedTimes =
    ": it takes the place of --spacing and --samples; leave out one or the others";

INSTANTIATE_TEST_SUITE_P(
    Simulate, BadSimulations,
    testing::ValuesIn(std::vector<BadSimulation>{
        {"PeakOfWords",
         {"--peak", "a:b:c"},
         "--peak \"a:b:c\": not all three are numbers" + peakHelp},
        {"PeakWithoutWidth",
         {"--peak", "1:0:1"},
         "--peak \"1:0:1\": all three must be above 0" + peakHelp},
        {"SecondPeakOffTheGrid",
         {"--peak", "0.1:0.1:1", "--peak", "1e-5:0.1:1"},
         "--peak at 10.0 us: it lies outside the grid from 100 us to 10.0 s; widen --grid"},
        {"TooManySamples",
         {"--samples", "10000001"},
         "--samples \"10000001\": a whole number from 2 to 10000000 is required"},
        {"HalfASample",
         {"--samples", "2.5"},
         "--samples \"2.5\": a whole number from 2 to 10000000 is required"},
        {"EndlessSpacing",
         {"--spacing", "inf"},
         "--spacing \"inf\": a time in seconds above 0 is required"},
        {"TimesAndSamples",
         {"--times", "0.001:1:50", "--samples", "50"},
         "--times \"0.001:1:50\"" + repeatedTimes},
        {"TimesAndSpacing",
         {"--spacing", "0.001", "--times", "0.001:1:50"},
         "--times \"0.001:1:50\"" + repeatedTimes},
        {"EndlessNoise", {"--noise", "inf"}, "--noise \"inf\": a number of 0 or above is required"},
        {"NegativeSeed",
         {"--seed", "-1"},
         "--seed \"-1\": a whole number of 0 or above is required"},
        {"HalfASeed",
         {"--seed", "0.5"},
         "--seed \"0.5\": a whole number of 0 or above is required"},
        {"PhaseOfAWord",
         {"--phase", "right"},
         "--phase \"right\": an angle in degrees is required"},
        {"EndlessPhase", {"--phase", "nan"}, "--phase \"nan\": an angle in degrees is required"},
    }),
    [](const auto& row) { return row.param.what; });

TEST(BadSimulation, TheFileMustBeNamed) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"simulate"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "vorin: --out is required; vorin --help lists the commands, vorin COMMAND --help its "
            "options\n");
}

TEST(BadSimulation, DecayAndTruthWantNamesOfTheirOwn) {
  const TemporaryFolder folder;
  const Outcome outcome =
      runProgram(folder.path(), {"simulate", "--out", "out.csv", "--truth", "./out.csv"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "vorin: --truth ./out.csv: two outputs have this name; give each its own\n");
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace vorin::toolkit::test
