// Every kind of bad file: one sentence that names the place and what would be right, exit
// status 2, and no file written or changed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

using Words = std::vector<std::string>;

struct BadFile {
  const char* what;      ///< name of the case
  std::string content;   ///< of decay.csv
  std::string sentence;  ///< behind "vorin: "
  Words options{};       ///< behind the name of the file
  std::string other{};   ///< content of other.csv, a kernel or a grid
};

void PrintTo(const BadFile& bad, std::ostream* out) {
  *out << bad.what;
}

class BadFiles : public testing::TestWithParam<BadFile> {};

TEST_P(BadFiles, AreRefusedInOneSentence) {
  const BadFile& bad = GetParam();
  const TemporaryFolder folder;
  writeFile(folder / "decay.csv", bad.content);
  writeFile(folder / "other.csv", bad.other);
  Words words{"invert",  "decay.csv", "--out",    "out.csv", "--fit",  "fit.csv",
              "--plot",  "plot.png",  "--log",    "run.log", "--json", "all.json",
              "--table", "table.csv", "--weight", "1"};
  words.insert(words.end(), bad.options.begin(), bad.options.end());
  const Outcome outcome = runProgram(folder.path(), words);
  expectRefusal(outcome, bad.sentence);
  EXPECT_EQ(folder.names(), (Words{"decay.csv", "other.csv"}));
  EXPECT_EQ(contentOf(folder / "decay.csv"), bad.content);
  EXPECT_EQ(contentOf(folder / "other.csv"), bad.other);
}

const std::string goodText = "0.001,3\n0.002,2\n0.003,1.5\n";
const std::string threeColumns = "time,re,im\n0.001,3.5,0\n0.002,2,0.1\n";
const std::string twoFields = "; a row needs 2, time and amplitude, separated by a comma";
const std::string orSpacing = twoFields + ", or --spacing TIME for amplitudes alone";
const std::string noRows =
    "decay.csv: there are no rows of numbers; give one row a sample, time,amplitude";
const std::string notANumberText = " is not a number; write one such as 0.0012 or 1.2e-3";
const std::string notFiniteText = " is not a finite number; leave out samples without a value";
const std::string cutOffText = "; the file ends within this line, it may have been cut off";
const std::string whichColumns =
    "; say by --columns which hold time and amplitude, for instance --columns 1,2, or 1,2,3 with "
    "the imaginary channel of complex data";
const std::string utf16Mark("\xFF\xFE", 2);

const auto caseName = [](const testing::TestParamInfo<BadFile>& row) { return row.param.what; };

INSTANTIATE_TEST_SUITE_P(NoRows, BadFiles,
                         testing::ValuesIn(std::vector<BadFile>{
                             {"Empty", "", noRows},
                             {"BlankLines", "\n \n\r\n\r", noRows},
                             {"CommentsOnly", "# nothing\n# here\n", noRows},
                             {"HeaderOnly", "time_s,amplitude\n", noRows},
                             {"OneRow", "time,amplitude\n0.001,3\n",
                              "decay.csv, line 2: this is the only row; a decay has at least 2"},
                         }),
                         caseName);

INSTANTIATE_TEST_SUITE_P(
    NoText, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"Binary", std::string("\x7f\x45\x4c\x46\n\0\1,\2\n", 10),
         "decay.csv, line 2: this is not text (a byte is 0); give a text file with one row a "
         "sample"},
        {"ControlCharacters", "\x7f\x01\x02\n\x03\n",
         "decay.csv, line 1: this row has 1 field" + orSpacing},
        {"Utf16OfOneRow", utf16Mark + std::string("0\0,\0001\0\n\0", 8),
         "decay.csv, line 1: this is the only row; a decay has at least 2"},
        {"GzipCutOff", std::string("\x1F\x8B\x08\0\0", 5),
         "decay.csv: the packed data are damaged or cut off"},
        {"Workbook", std::string("PK\x03\x04\x14\0\6\0", 8),
         "decay.csv: the archive is damaged or cut off"},
        {"EndlessLine", std::string(1'000'001, '7'),
         "decay.csv, line 1: this line has more than 1000000 characters; give one row a sample, "
         "each on a line of its own"},
    }),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Fields, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"WordAsTime", "0.001,3\nabc,2\n", "decay.csv, line 2: the time \"abc\"" + notANumberText},
        {"WordAsAmplitude", "# c\nt,a\n0.001,3\n0.002,two\n",
         "decay.csv, line 4: the amplitude \"two\"" + notANumberText},
        {"WordInTheFirstRow", "0.001,x\n0.002,2\n",
         "decay.csv, line 1: the amplitude \"x\"" + notANumberText},
        {"TextInTheMiddle", goodText + "end of part 1,\n0.004,1\n",
         "decay.csv, line 4: the time \"end of part 1\"" + notANumberText},
        {"OneRowBelowUnits", "time,amplitude\nin s,in V\n0.001,3\n",
         "decay.csv, line 3: this is the only row; a decay has at least 2"},
        {"MissingAmplitude", "0.001,3\n0.002,\n",
         "decay.csv, line 2: the amplitude is missing; write a number such as 0.0012"},
        {"MissingTime", "0.001\t3\n\"\"\t2\n",
         "decay.csv, line 2: the time is missing; write a number such as 0.0012"},
        {"NanTime", "nan,3\n0.002,2\n",
         "decay.csv, line 2: this is the only row with numbers; a decay has at least 2"},
        {"NanAmplitude", "0.001,3\n0.002,NaN\n",
         "decay.csv, line 1: this is the only row with numbers; a decay has at least 2"},
        {"InfiniteAmplitude", "0.001,-inf\n0.002,2\n",
         "decay.csv, line 1: the amplitude \"-inf\"" + notFiniteText},
        {"InfiniteTime", "0.001,3\n1e999,2\n",
         "decay.csv, line 2: the time \"1e999\"" + notFiniteText},
    }),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Layout, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"OneColumn", "0.001\n0.002\n", "decay.csv, line 1: this row has 1 field" + orSpacing},
        {"TooFewFields", "0.001,3\n0.002\n0.003,1\n",
         "decay.csv, line 2: this row has 1 field" + twoFields},
        {"CutOff", "0.001,3\n0.00",
         "decay.csv, line 2: this row has 1 field" + twoFields + cutOffText},
        {"TooManyFields", "0.001,3\n0.002,2,1\n",
         "decay.csv, line 2: this row has 3 fields" + twoFields},
        {"ThreeColumns", threeColumns, "decay.csv, line 2: this row has 3 fields" + whichColumns},
        {"RaggedColumns",
         threeColumns + "0.003,1\n0.004,1,0\n",
         "decay.csv, line 4: this row has 2 fields, but the first (line 2) has 3",
         {"--columns", "1,2"}},
        {"MixedSeparators", "0.001,3\n0.002;2\n",
         "decay.csv, line 2: semicolons separate the fields here and commas in line 1; use one of "
         "them"},
        {"CommaAfterSemicolons", "0.001;3\n0.002,2\n",
         "decay.csv, line 2: commas separate the fields here and semicolons in line 1; use one of "
         "them"},
        {"DecimalCommaBetweenCommas", "0,001,3\n0,002,2\n",
         "decay.csv, line 1: the commas may separate fields or be decimal separators; separate the "
         "fields by semicolons, or say by --columns, for instance --columns 1,2, that they are "
         "columns"},
        {"CommaAndPointBeforeDecimals", "0,001;3\n0.002;2\n",
         "decay.csv, line 2: the decimal separator is a point here and a comma in line 1; "
         "write one of them"},
        {"ThousandsSeparator", "0,001;1.234,5\n0,002;2\n",
         "decay.csv, line 1: the amplitude \"1.234,5\"" + notANumberText},
    }),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Values, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"OneTimeOnly", "0.001,3\n\n0.001,2\n",
         "decay.csv: all rows have one time; a decay has at least 2"},
        {"NegativeTime", "-0.001,3\n0.002,2\n",
         "decay.csv, line 1: the time -0.001 is negative; times are in seconds, 0 or above"},
        {"NegativeBValue",
         "-1,3\n0.002,2\n",
         "decay.csv, line 1: the b value -1 is negative; b values are in s/m2, 0 or above",
         {"--kernel", "diffusion"}},
        {"EndlessTime", "0.001,3\n1e31,2\n",
         "decay.csv, line 2: the time 1e+31 is too long; times are in seconds, 1e+30 at most"},
        {"AllZero", "0.001,0\n0.002,-0\n",
         "decay.csv: every amplitude is 0; a decay requires one that is not"},
        {"VastAmplitude", "0.001,3\n0.002,1e200\n",
         "decay.csv, line 2: the amplitude 1e+200 is too large; give it in another unit, 1e+100 at "
         "most"},
        {"TinyAmplitudes", "0.001,3e-200\n0.002,1e-200\n",
         "decay.csv: no amplitude is above 1e-100; give them in another unit"},
    }),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Columns, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"ColumnOutOfRange",
         threeColumns,
         "--columns \"1,4\": there is no column 4 in decay.csv, which has 3",
         {"--columns", "1,4"}},
        {"ColumnZero",
         threeColumns,
         "--columns \"0,1\": there is no column 0 in decay.csv, which has 3",
         {"--columns", "0,1"}},
        {"ColumnNameUnknown",
         threeColumns,
         "--columns \"time,real\": there is no column \"real\" in decay.csv, whose columns are "
         "\"time\", \"re\", \"im\"",
         {"--columns", "time,real"}},
        {"ColumnNameWithoutAHeader",
         goodText,
         "--columns \"t,re\": decay.csv has no header line with names for its 2 columns; give "
         "their "
         "numbers",
         {"--columns", "t,re"}},
        {"ColumnNamedTwice",
         threeColumns,
         "--columns \"1,time\": column 1 of decay.csv is named twice",
         {"--columns", "1,time"}},
        {"ImaginaryColumnMissing",
         goodText,
         "--columns \"1,2,3\": there is no column 3 in decay.csv, which has 2",
         {"--columns", "1,2,3"}},
        {"ImaginaryValueMissing",
         "t,re,im\n0.001,3.5,0\n0.002,2,\n",
         "decay.csv, line 3: the imaginary amplitude is missing; write a number such as 0.0012",
         {"--columns", "t,re,im"}},
    }),
    caseName);

const std::string fourValues = "1,2\n3,4\n";

INSTANTIATE_TEST_SUITE_P(
    KernelsAndGrids, BadFiles,
    testing::ValuesIn(std::vector<BadFile>{
        {"KernelOfOtherRows",
         goodText,
         "--kernel other.csv: the matrix has 2 rows and 2 columns, but decay.csv has 3 samples and "
         "the grid 2 values; 3 rows and 2 columns are required",
         {"--kernel", "other.csv", "--grid", "1:2:2"},
         fourValues},
        {"KernelOfOtherColumns",
         goodText,
         "--kernel other.csv: the matrix has 3 rows and 2 columns, but decay.csv has 3 samples and "
         "the grid 4 values; 3 rows and 4 columns are required",
         {"--kernel", "other.csv", "--grid", "1:2:4"},
         fourValues + "5,6\n"},
        {"RaggedKernel",
         goodText,
         "other.csv, line 2: this row has 1 field, but the first (line 1) has 2",
         {"--kernel", "other.csv", "--grid", "1:2:2"},
         "1,2\n3\n5,6\n"},
        {"EmptyKernel",
         goodText,
         "other.csv: there are no rows of numbers; give one row a sample, one number for each "
         "value of the grid",
         {"--kernel", "other.csv", "--grid", "1:2:2"}},
        {"WordInTheKernel",
         goodText,
         "other.csv, line 2: the kernel value \"x\"" + notANumberText,
         {"--kernel", "other.csv", "--grid", "1:2:2"},
         "1,2\n3,x\n"},
        {"GridFileFalls",
         goodText,
         "other.csv, line 2: the time 1 does not rise above the 2 of the row before; sort the rows "
         "by time, each time once",
         {"--grid", "other.csv"},
         "2\n1\n"},
        {"GridFileFromZero",
         goodText,
         "other.csv, line 1: the time 0 is 0; times are in seconds, above 0",
         {"--grid", "other.csv"},
         "0\n1\n"},
        {"GridFileOfOneValue",
         goodText,
         "--grid other.csv: a grid has 2 to 10000 values, this file has 1",
         {"--grid", "other.csv"},
         "1\n"},
        {"TruthOfOneColumn",
         goodText,
         "other.csv, line 1: this row has 1 field; a row needs 2, relaxation time and amplitude, "
         "separated by a comma",
         {"--truth", "other.csv"},
         "1\n2\n"},
    }),
    caseName);

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
  EXPECT_EQ(folder.names(), Words{"decays"});
}

TEST(BadFile, EndlessDevice) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"invert", "/dev/null", "--out", "out.csv"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "vorin: /dev/null: there are no rows of numbers; give one row a sample, "
            "time,amplitude\n");
  EXPECT_TRUE(folder.names().empty());
}

TEST(BadFile, EmptyStandardInput) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"invert", "-", "--out", "out.csv"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "vorin: standard input: there are no rows of numbers; give one row a sample, "
            "time,amplitude\n");
  EXPECT_TRUE(folder.names().empty());
}

TEST(BadFile, ConstantDataHaveNoNoiseToAimAt) {
  const TemporaryFolder folder;
  std::string text;
  for (int i = 1; i <= 50; ++i) {
    text += fmt::format("{},7\n", i);
  }
  writeFile(folder / "decay.csv", text);
  const Outcome outcome = runProgram(folder.path(), {"invert", "decay.csv", "--out", "out.csv"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err.substr(0, 46), "vorin: the data show no noise to aim the fit a");
  EXPECT_EQ(folder.names(), Words{"decay.csv"});
}

TEST(BadFile, AmongGoodOnesIsRefusedBeforeAnyWork) {
  const TemporaryFolder folder;
  std::string noisy;
  for (int i = 1; i <= 50; ++i) {
    noisy += fmt::format("{},{}\n", i, 7 + i % 3);
  }
  writeFile(folder / "good.csv", noisy);
  for (const auto& [content, sentence] : std::vector<std::pair<std::string, std::string>>{
           {"0.001,3\nabc,2\n", "bad.csv, line 2: the time \"abc\"" + notANumberText},
           {goodText,
            "bad.csv: the data show no noise to aim the fit at (too few samples, or computed "
            "data); give the noise by --noise SIGMA or a weight by --weight W"}}) {
    writeFile(folder / "bad.csv", content);
    const Outcome outcome = runProgram(folder.path(), {"invert", "good.csv", "bad.csv", "--out",
                                                       "{}_t2.csv", "--table", "table.csv"});
    expectRefusal(outcome, sentence);
    EXPECT_EQ(folder.names(), (Words{"bad.csv", "good.csv"}));
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
