// Every kind of bad option: one sentence that names it and what would be right, exit
// status 2, and no file left behind. Bad files are in bad_files_test.cpp.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

const std::string goodText = "0.001,3\n0.002,2\n0.003,1.5\n";

struct BadOptions {
  const char* what;
  std::vector<std::string> words;  ///< behind "vorin"
  std::string sentence;            ///< behind "vorin: ", whole
};

void PrintTo(const BadOptions& bad, std::ostream* out) {
  *out << bad.what;
}

class BadOptionsTest : public testing::TestWithParam<BadOptions> {};

TEST_P(BadOptionsTest, AreRefusedInOneSentence) {
  const TemporaryFolder folder;
  writeFile(folder / "decay.csv", goodText);
  writeFile(folder / "negative.csv", "0.01,1\n0.1,-1\n");
  const Outcome outcome = runProgram(folder.path(), GetParam().words);
  expectRefusal(outcome, GetParam().sentence);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"decay.csv", "negative.csv"}));
}

std::vector<std::string> invert(std::vector<std::string> options) {
  std::vector<std::string> words{"invert", "decay.csv", "--out", "out.csv"};
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

std::vector<std::string> invertAt1(std::vector<std::string> options) {
  std::vector<std::string> words = invert({"--weight", "1"});
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

std::vector<std::string> simulate(std::vector<std::string> options) {
  std::vector<std::string> words{"simulate", "--out", "out.csv"};
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

const std::string gridHelp =
    "; write FROM:TO:N, for instance 0.0001:10:100 for 100 times from 0.1 ms to 10 s";
const std::string columnsHelp =
    ": two or three columns are required, by number from 1 or by name, with commas between them; "
    "write for instance 1,2, or 1,2,3 with an imaginary channel";
const std::string helpHint = "; vorin --help lists the commands, vorin COMMAND --help its options";

INSTANTIATE_TEST_SUITE_P(
    Options, BadOptionsTest,
    testing::ValuesIn(std::vector<BadOptions>{
        {"NoCommand", {}, "A subcommand is required" + helpHint},
        {"NoFile", {"invert"}, "FILE is required" + helpHint},
        {"UnknownOption", invert({"--wieght=3"}),
         "The following argument was not expected: --wieght=3 (did you mean --weight?)" + helpHint},
        {"GridOfNoFile", invert({"--grid", "no.csv"}),
         "--grid \"no.csv\": three numbers with colons between them are required" + gridHelp},
        {"GridOfAnotherUnit", invert({"--grid", "1ms:1km:100"}),
         "--grid \"1ms:1km:100\": the times are not both numbers" + gridHelp},
        {"GridOfDiffusion", invert({"--kernel", "diffusion", "--grid", "1ms:1s:100"}),
         "--grid \"1ms:1s:100\": the values are not both numbers; write FROM:TO:N, for instance "
         "1e-12:1e-8:100 for 100 coefficients in m2/s"},
        {"UnknownTimeUnit", invert({"--time-unit", "min"}),
         "--time-unit \"min\": write s, ms, us or ns"},
        {"TimeUnitOfBValues", invert({"--kernel", "diffusion", "--time-unit", "ms"}),
         "--time-unit \"ms\": write s/m2, s/cm2, s/mm2 or ms/um2"},
        {"OneColumnOnly", invert({"--columns", "2"}), "--columns \"2\"" + columnsHelp},
        {"FourColumns", invert({"--columns", "1,2,3,4"}), "--columns \"1,2,3,4\"" + columnsHelp},
        {"EmptyColumn", invert({"--columns", "1,,3"}), "--columns \"1,,3\"" + columnsHelp},
        {"MatrixWithoutAGrid", invert({"--kernel", "negative.csv"}),
         "--kernel negative.csv: a matrix needs the grid values of its columns; give them "
         "by --grid FROM:TO:N or --grid FILE"},
        {"StandardInputTwice",
         {"invert", "-", "-"},
         "-: standard input can be read once only; give - once"},
        {"OneNameForTwoDecays",
         {"invert", "decay.csv", "decay.csv", "--weight", "1", "--out", "out.csv"},
         "--out out.csv: there are 2 decays; put {} into the name, which becomes the name of "
         "each without its folder and ending"},
        {"TwoDecaysOfOneStem",
         {"invert", "decay.csv", "./decay.csv", "--weight", "1", "--out", "{}_t2.csv"},
         "--out decay_t2.csv: two outputs have this name; give each its own"},
        {"OutputIsOneOfTheInputs",
         {"invert", "decay.csv", "decay.csv", "--weight", "1", "--table", "decay.csv"},
         "--table decay.csv: this is the file that is read; give another name"},
        {"OutputIsTheTruth", invertAt1({"--truth", "decay.csv", "--json", "decay.csv"}),
         "--json decay.csv: this is the file that is read; give another name"},
        {"GridOfTwo", invert({"--grid", "1:2"}),
         "--grid \"1:2\": three numbers with colons between them are required" + gridHelp},
        {"GridOfWords", invert({"--grid", "a:b:3"}),
         "--grid \"a:b:3\": the times are not both numbers" + gridHelp},
        {"GridFalls", invert({"--grid", "2:1:100"}),
         "--grid \"2:1:100\": the times must be above 0 and rise" + gridHelp},
        {"GridFromZero", invert({"--grid", "0:1:100"}),
         "--grid \"0:1:100\": the times must be above 0 and rise" + gridHelp},
        {"GridOfOnePoint", invert({"--grid", "1:2:1"}),
         "--grid \"1:2:1\": the count must be from 2 to 10000" + gridHelp},
        {"GridOfHalfAPoint", invert({"--grid", "1:2:2.5"}),
         "--grid \"1:2:2.5\": the count is not a whole number" + gridHelp},
        {"NoiseAboveTheData", invert({"--noise", "3"}),
         "--noise 3 is no less than the largest amplitude, 3; give it in the unit of the data"},
        {"NoNoiseToBeFound", invert({}),
         "the data show no noise to aim the fit at (too few samples, or computed data); give the "
         "noise by --noise SIGMA or a weight by --weight W"},
        {"SkipsTooMuch", invertAt1({"--skip", "2"}),
         "--skip \"2\": a whole number from 0 to 1 is required, so that 2 samples stay"},
        {"SkipsAWord", invertAt1({"--skip", "few"}),
         "--skip \"few\": a whole number from 0 to 1 is required, so that 2 samples stay"},
        {"UnknownKernel", invert({"--kernel", "t3"}),
         "--kernel \"t3\": there is no such kernel or file; write t2, t1-saturation, t1-inversion, "
         "diffusion or t2-epg, or the name of a file with a matrix"},
        {"UnknownPruning", invert({"--prune", "LOG"}),
         "--prune \"LOG\": write log, linear or none"},
        {"TooFewBins", invert({"--prune-points", "9"}),
         "--prune-points \"9\": a whole number from 10 to 5000 is required"},
        {"TooManyBins", invert({"--prune-points", "5001"}),
         "--prune-points \"5001\": a whole number from 10 to 5000 is required"},
        {"UnknownKey", invertAt1({"--set", "MAXY=3"}),
         "--set \"MAXY=3\": the library has no such key"},
        {"LongKey", invertAt1({"--set", "WEIGHT=3"}),
         "--set \"WEIGHT=3\": the library has no such key"},
        {"EmptyKey", invertAt1({"--set", "=3"}), "--set \"=3\": the library has no such key"},
        {"NoEquals", invertAt1({"--set", "MAXI"}),
         "--set \"MAXI\": an = is missing; write KEY=VALUE, for instance MAXI=200"},
        {"NoValue", invertAt1({"--set", "MAXI="}),
         "--set \"MAXI=\": the value is missing; write KEY=VALUE, for instance MAXI=200"},
        {"WordForANumber", invertAt1({"--set", "TOL=small"}),
         "--set \"TOL=small\": TOL takes a number"},
        {"EndlessNumber", invertAt1({"--set", "TOL=1e39"}),
         "--set \"TOL=1e39\": TOL takes a number"},
        {"UnknownChoice", invertAt1({"--set", "PRMO=CUBIC"}),
         "--set \"PRMO=CUBIC\": the words that PRMO takes are LOG LIN LILO NONE"},
        {"ReadOnlyNumber", invertAt1({"--set", "VERN=1"}),
         "--set \"VERN=1\": VERN can be read only"},
        {"ReadOnlyText", invertAt1({"--set", "vers=mine"}),
         "--set \"vers=mine\": VERS can be read only"},
        {"LogNameByKey", invertAt1({"--set", "FLOG=a.log"}),
         "--set \"FLOG=a.log\": the log's name is given by --log FILE"},
        {"NoiseByKey", invertAt1({"--set", "SIG=1"}),
         "--set \"SIG=1\": the noise is given by --noise SIGMA, in the unit of the data"},
        {"OutputInNoFolder",
         {"invert", "decay.csv", "--weight", "1", "--out", "/dev/null/out.csv"},
         "--out /dev/null/out.csv: /dev/null is no folder; give another name"},
        {"OutputIsAFolder",
         {"invert", "decay.csv", "--weight", "1", "--fit", "."},
         "--fit .: this is a folder; give the name of a file"},
        {"OutputIsTheInput",
         {"invert", "decay.csv", "--weight", "1", "--out", "./decay.csv"},
         "--out ./decay.csv: this is the file that is read; give another name"},
        {"TwoOutputsOfOneName", invertAt1({"--fit", "./out.csv"}),
         "--fit ./out.csv: two outputs have this name; give each its own"},
        {"PictureOfNoKind", invertAt1({"--plot", "plot.bmp"}),
         "--plot plot.bmp: the name must end in .png, .svg or .pdf"},
        {"MissingTruth", invertAt1({"--truth", "no.csv"}),
         "no.csv: there is no such file; give the name of a CSV file"},
        {"NegativeTruth", invertAt1({"--truth", "negative.csv"}),
         "negative.csv, line 2: the amplitude -1 is negative; a distribution has none below 0"},
        {"SimulatedPeakOffTheGrid", simulate({"--peak", "20:0.1:1"}),
         "--peak at 20.0 s: it lies outside the grid from 100 us to 10.0 s; widen --grid"},
        {"SimulatedPeakOfTwo", simulate({"--peak", "1:2"}),
         "--peak \"1:2\": three numbers with colons between them are required; write "
         "TIME:WIDTH:AMPLITUDE, for instance 0.02:0.15:70 for a peak at 20 ms, 0.15 decades wide, "
         "of amplitude 70"},
        {"SimulatedSpacing", simulate({"--spacing", "0"}),
         "--spacing \"0\": a time in seconds above 0 is required"},
        {"SimulatedSamples", simulate({"--samples", "1"}),
         "--samples \"1\": a whole number from 2 to 10000000 is required"},
        {"SimulatedNoise", simulate({"--noise", "-1"}),
         "--noise \"-1\": a number of 0 or above is required"},
        {"SimulatedSeed", simulate({"--seed", "x"}),
         "--seed \"x\": a whole number of 0 or above is required"},
    }),
    [](const auto& row) { return row.param.what; });

}  // namespace
}  // namespace vorin::toolkit::test
