// Every kind of bad file and bad option: one sentence that names the place and
// what would be right, exit status 2, and no file left behind.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosts/child.hpp"

namespace vorin::host::test {
namespace {

const std::string kGood = "0.001,3\n0.002,2\n0.003,1.5\n";

struct BadFile {
  const char* what;      ///< name of the case
  std::string content;   ///< of decay.csv
  std::string sentence;  ///< behind "vorin: "
};

void PrintTo(const BadFile& bad, std::ostream* out) {
  *out << bad.what;
}

class BadFiles : public testing::TestWithParam<BadFile> {};

TEST_P(BadFiles, AreRefusedInOneSentence) {
  const TemporaryFolder folder;
  writeFile(folder / "decay.csv", GetParam().content);
  const Outcome outcome =
      runProgram(folder.path(), {"invert", "decay.csv", "--weight", "1", "--out", "out.csv",
                                 "--fit", "fit.csv", "--plot", "plot.png", "--log", "run.log"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, fmt::format("vorin: {}\n", GetParam().sentence));
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"decay.csv"});
}

const std::string kTwoFields = "; a row wants 2, time and amplitude, separated by a comma";
const std::string kNoRows =
    "decay.csv: there are no rows of numbers; give one row a sample, time,amplitude";

INSTANTIATE_TEST_SUITE_P(
    Files, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"Empty", "", kNoRows},
        {"BlankLines", "\n \n\r\n", kNoRows},
        {"CommentsOnly", "# nothing\n# here\n", kNoRows},
        {"HeaderOnly", "time_s,amplitude\n", kNoRows},
        {"WordAsTime", "0.001,3\nabc,2\n",
         "decay.csv, line 2: the time \"abc\" is not a number; write one such as 0.0012 or 1.2e-3"},
        {"WordAsAmplitude", "# c\nt,a\n0.001,3\n0.002,two\n",
         "decay.csv, line 4: the amplitude \"two\" is not a number; write one such as 0.0012 or "
         "1.2e-3"},
        {"WordInTheFirstRow", "0.001,x\n0.002,2\n",
         "decay.csv, line 1: the amplitude \"x\" is not a number; write one such as 0.0012 or "
         "1.2e-3"},
        {"DecimalComma", "0,001;3\n0,002;2\n",
         "decay.csv, line 1: the time \"0,001\" is not a number; write one such as 0.0012 or "
         "1.2e-3"},
        {"SecondHeader", "time,amplitude\nin s,in V\n0.001,3\n",
         "decay.csv, line 2: the time \"in s\" is not a number; write one such as 0.0012 or "
         "1.2e-3"},
        {"Binary", std::string("\x7f\x45\x4c\x46\0\1,\2\n", 9),
         "decay.csv, line 1: the time \"?ELF??\" is not a number; write one such as 0.0012 or "
         "1.2e-3"},
        {"OneColumn", "0.001\n0.002\n", "decay.csv, line 1: this row has 1 field" + kTwoFields},
        {"TooFewFields", "0.001,3\n0.002\n",
         "decay.csv, line 2: this row has 1 field" + kTwoFields},
        {"TooManyFields", "0.001,3\n0.002,2,1\n",
         "decay.csv, line 2: this row has 3 fields" + kTwoFields},
        {"ThreeColumns", "t,re,im\n0.001,3,0\n",
         "decay.csv, line 2: this row has 3 fields" + kTwoFields},
        {"MissingField", "0.001,3\n0.002,\n",
         "decay.csv, line 2: the amplitude is missing; write a number such as 0.0012"},
        {"OneRow", "time,amplitude\n0.001,3\n",
         "decay.csv, line 2: this is the only row; a decay wants 2 at least"},
        {"TimesFall", "0.001,3\n0.003,2\n0.002,1\n",
         "decay.csv, line 3: the time 0.002 does not rise above the 0.003 of the row before; sort "
         "the rows by time, each time once"},
        {"TimesRepeat", "0.001,3\n\n0.001,2\n",
         "decay.csv, line 3: the time 0.001 does not rise above the 0.001 of the row before; sort "
         "the rows by time, each time once"},
        {"NanTime", "nan,3\n0.002,2\n",
         "decay.csv, line 1: the time \"nan\" is not a finite number; leave out samples without a "
         "value"},
        {"NanAmplitude", "0.001,3\n0.002,NaN\n",
         "decay.csv, line 2: the amplitude \"NaN\" is not a finite number; leave out samples "
         "without a value"},
        {"InfiniteAmplitude", "0.001,-inf\n0.002,2\n",
         "decay.csv, line 1: the amplitude \"-inf\" is not a finite number; leave out samples "
         "without a value"},
        {"InfiniteTime", "0.001,3\n1e999,2\n",
         "decay.csv, line 2: the time \"1e999\" is not a finite number; leave out samples without "
         "a value"},
        {"NegativeTime", "-0.001,3\n0.002,2\n",
         "decay.csv, line 1: the time -0.001 is negative; times are in seconds, 0 or above"},
        {"EndlessTime", "0.001,3\n1e31,2\n",
         "decay.csv, line 2: the time 1e+31 is too long; times are in seconds, 1e+30 at most"},
        {"AllZero", "0.001,0\n0.002,-0\n",
         "decay.csv: every amplitude is 0; a decay wants one that is not"},
    }),
    [](const auto& row) { return row.param.what; });

TEST(BadFile, Missing) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"invert", "no.csv", "--out", "out.csv"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "vorin: no.csv: there is no such file; give the name of a CSV file\n");
  EXPECT_TRUE(folder.names().empty());
}

TEST(BadFile, Folder) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "decays");
  const Outcome outcome = runProgram(folder.path(), {"invert", "decays", "--out", "out.csv"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "vorin: decays: this is a folder; give the name of a CSV file in it\n");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"decays"});
}

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
  writeFile(folder / "decay.csv", kGood);
  writeFile(folder / "negative.csv", "0.01,1\n0.1,-1\n");
  const Outcome outcome = runProgram(folder.path(), GetParam().words);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, fmt::format("vorin: {}\n", GetParam().sentence));
  EXPECT_EQ(outcome.out, "");
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

const std::string kGridHelp =
    "; write FROM:TO:N, for instance 0.0001:10:100 for 100 times from 0.1 ms to 10 s";
const std::string kHelp = "; vorin --help lists the commands, vorin COMMAND --help its options";

INSTANTIATE_TEST_SUITE_P(
    Options, BadOptionsTest,
    testing::ValuesIn(std::vector<BadOptions>{
        {"NoCommand", {}, "A subcommand is required" + kHelp},
        {"NoFile", {"invert"}, "FILE.csv is required" + kHelp},
        {"UnknownOption", invert({"--wieght=3"}),
         "The following argument was not expected: --wieght=3" + kHelp},
        {"GridOfTwo", invert({"--grid", "1:2"}),
         "--grid \"1:2\": three numbers with colons between them are wanted" + kGridHelp},
        {"GridOfWords", invert({"--grid", "a:b:3"}),
         "--grid \"a:b:3\": the times are not both numbers" + kGridHelp},
        {"GridFalls", invert({"--grid", "2:1:100"}),
         "--grid \"2:1:100\": the times must be above 0 and rise" + kGridHelp},
        {"GridFromZero", invert({"--grid", "0:1:100"}),
         "--grid \"0:1:100\": the times must be above 0 and rise" + kGridHelp},
        {"GridOfOnePoint", invert({"--grid", "1:2:1"}),
         "--grid \"1:2:1\": the count must be from 2 to 10000" + kGridHelp},
        {"GridOfHalfAPoint", invert({"--grid", "1:2:2.5"}),
         "--grid \"1:2:2.5\": the count is not a whole number" + kGridHelp},
        {"ZeroWeight", invert({"--weight", "0"}), "--weight \"0\": a number above 0 is wanted"},
        {"NegativeWeight", invert({"--weight", "-1"}),
         "--weight \"-1\": a number above 0 is wanted"},
        {"WordAsWeight", invert({"--weight", "auto"}),
         "--weight \"auto\": a number above 0 is wanted"},
        {"NanWeight", invert({"--weight", "nan"}), "--weight \"nan\": a number above 0 is wanted"},
        {"VastWeight", invert({"--weight", "1e39"}),
         "--weight \"1e39\": a number above 0 is wanted"},
        {"ZeroNoise", invert({"--noise", "0"}), "--noise \"0\": a number above 0 is wanted"},
        {"NegativeNoise", invert({"--noise", "-0.1"}),
         "--noise \"-0.1\": a number above 0 is wanted"},
        {"NoiseAboveTheData", invert({"--noise", "3"}),
         "--noise 3 is no less than the largest amplitude, 3; give it in the unit of the data"},
        {"NoNoiseToBeFound", invert({}),
         "the data show no noise to aim the fit at (too few samples, or computed data); give the "
         "noise by --noise SIGMA or a weight by --weight W"},
        {"SkipsTooMuch", invertAt1({"--skip", "2"}),
         "--skip \"2\": a whole number from 0 to 1 is wanted, so that 2 samples stay"},
        {"SkipsAWord", invertAt1({"--skip", "few"}),
         "--skip \"few\": a whole number from 0 to 1 is wanted, so that 2 samples stay"},
        {"UnknownKernel", invert({"--kernel", "T2"}),
         "--kernel \"T2\": there is no such kernel; write t2, t1-saturation or t1-inversion"},
        {"UnknownPruning", invert({"--prune", "LOG"}),
         "--prune \"LOG\": write log, linear or none"},
        {"TooFewBins", invert({"--prune-points", "9"}),
         "--prune-points \"9\": a whole number from 10 to 5000 is wanted"},
        {"TooManyBins", invert({"--prune-points", "5001"}),
         "--prune-points \"5001\": a whole number from 10 to 5000 is wanted"},
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
         {"invert", "decay.csv", "--weight", "1", "--out", "/no/such/out.csv"},
         "--out /no/such/out.csv: there is no folder /no/such; make it first"},
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
         "--peak \"1:2\": three numbers with colons between them are wanted; write "
         "TIME:WIDTH:AMPLITUDE, for instance 0.02:0.15:70 for a peak at 20 ms, 0.15 decades wide, "
         "of amplitude 70"},
        {"SimulatedSpacing", simulate({"--spacing", "0"}),
         "--spacing \"0\": a time in seconds above 0 is wanted"},
        {"SimulatedSamples", simulate({"--samples", "1"}),
         "--samples \"1\": a whole number from 2 to 10000000 is wanted"},
        {"SimulatedNoise", simulate({"--noise", "-1"}),
         "--noise \"-1\": a number of 0 or above is wanted"},
        {"SimulatedSeed", simulate({"--seed", "x"}),
         "--seed \"x\": a whole number of 0 or above is wanted"},
    }),
    [](const auto& row) { return row.param.what; });

}  // namespace
}  // namespace vorin::host::test
