// Decays as instruments and spreadsheets leave them: what is read, and what is told about it.
#include "toolkit/reading/decay_file.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "support/child.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/writing/decay_csv.hpp"

namespace vorin::toolkit {
namespace {

using test::TemporaryFolder;
using test::writeFile;
using Numbers = std::vector<double>;

std::vector<FileDecay> read(std::string_view content, const DecayFormatText& text = {},
                            Quantity quantity = Quantity::time) {
  const TemporaryFolder folder;
  writeFile(folder / "f.csv", content);
  return readDecays(folder / "f.csv", readDecayFormat(text, quantity, "--"));
}

std::string refusal(std::string_view content, const DecayFormatText& text = {},
                    Quantity quantity = Quantity::time) {
  try {
    read(content, text, quantity);
  } catch (const UserError& error) {
    const std::string sentence = error.what();
    return sentence.substr(std::min(sentence.find("f.csv"), sentence.size()));
  }
  return "read";
}

std::string allNotes(const Found& found) {
  return std::accumulate(found.notes.begin(), found.notes.end(), std::string(),
                         [](const std::string& a, const std::string& b) { return a + b + "\n"; });
}

TEST(DecayFile, AHeaderOfAnyLengthAndAFooterAreFound) {
  for (const char* content : {
           "Sample 12\nScans,16\n\nGain,20\ntime,signal\n0.5,3\n1,2\nend\n",
           "Run 5 of 2020-01-01\nPoints 300\ntime signal\n0.5 3\n1 2\nMean noise 3\n",
           "2\n0.5;3\n1;2\n",
           "% one\n// two\n; three\n# four\n0.5\t3\n1\t2\n-- end --\n",
           "Kopf;;\n;;\nZeit;Signal;\n0,5;3;\n1;2;\n;;\n",
           "sep=;\n0.5;3\n1;2\n",
       }) {
    const FileDecay decay = read(content).front();
    EXPECT_EQ(decay.measured.decay.time, (Numbers{0.5, 1.0})) << content;
    EXPECT_EQ(decay.measured.decay.amplitude, (Numbers{3.0, 2.0})) << content;
  }
}

TEST(DecayFile, HeaderLinesCanBeGiven) {
  DecayFormatText text;
  text.headerLines = "2";
  const FileDecay decay = read("7,8\n8,9\n0.5,3\n1,2\n", text).front();
  EXPECT_EQ(decay.measured.decay.time, (Numbers{0.5, 1.0}));
}

TEST(DecayFile, UnitsOfHeaderAndUnitsRowAreTaken) {
  struct Case {
    const char* head;
    double size;
  };
  for (const Case& row :
       {Case{"time (ms),y", 1e-3}, Case{"t [us],y", 1e-6}, Case{"t/ms,y", 1e-3},
        Case{"TE (\xC2\xB5s),y", 1e-6}, Case{"TE (\xB5s),y", 1e-6}, Case{"tau_ns,y", 1e-9},
        Case{"time,y\nms,V", 1e-3}, Case{"time,y\n[us],[V]", 1e-6}, Case{"(ms),(V)", 1e-3},
        Case{"Time MSEC,y", 1e-3}, Case{"# t (ms), y", 1e-3}, Case{"time_s,y", 1.0},
        Case{"t,s", 1.0}}) {
    const FileDecay decay = read(std::string(row.head) + "\n1,5\n2,4\n").front();
    EXPECT_EQ(decay.measured.decay.time,
              (Numbers{1.0 / std::round(1.0 / row.size), 2.0 / std::round(1.0 / row.size)}))
        << row.head;
  }
  // Blanks separate the columns and stand in their names.
  EXPECT_EQ(read("Time (ms) Signal (V)\n1 5\n2 4\n").front().measured.decay.time.front(), 1e-3);
  EXPECT_EQ(read("Echo time [ms]  Mean signal\n1 5\n2 4\n").front().measured.decay.time.front(),
            1e-3);
  for (const char* head : {"b (s/mm2)", "b [s/mm^2]", "b s/mm\xC2\xB2", "b_s/mm2"}) {
    EXPECT_EQ(read(std::string(head) + ",y\n1,5\n2,4\n", {}, Quantity::bValue)
                  .front()
                  .measured.decay.time.front(),
              1e6)
        << head;
  }
}

TEST(DecayFile, TheUsersUnitOverridesAndContradictionsAreRefused) {
  DecayFormatText text;
  text.timeUnit = "us";
  const FileDecay decay = read("t (ms),y\n1,5\n2,4\n", text).front();
  EXPECT_EQ(decay.measured.decay.time.front(), 1e-6);
  EXPECT_EQ(allNotes(decay.found), "--time-unit us overrides \"ms\" (header, line 1)\n");
  EXPECT_EQ(refusal("t (ms),y\n(s),(V)\n1,5\n2,4\n"),
            "f.csv: the unit of column 1 is \"ms\" in line 1 and \"s\" in line 2; say which by "
            "--time-unit");
  EXPECT_EQ(refusal("b (s/mm2),y\n1,5\n2,4\n"),
            "f.csv: column 1 is in \"s/mm2\" (header, line 1), but the kernel takes times; choose "
            "--kernel diffusion, or give the unit by --time-unit");
  EXPECT_EQ(refusal("t (ms),y\n1,5\n2,4\n", {}, Quantity::bValue),
            "f.csv: column 1 is in \"ms\" (header, line 1), but the kernel takes b values; choose "
            "the column of b values by --columns, or give the unit by --time-unit");
}

TEST(DecayFile, RowsAreLeftOutSortedAndAveragedAndThatIsTold) {
  const FileDecay decay = read("3,1\n1,nan\n,\n2,4\n2,5\n1,#N/A\n1,6\n").front();
  EXPECT_EQ(decay.measured.decay.time, (Numbers{1, 2, 3}));
  EXPECT_EQ(decay.measured.decay.amplitude, (Numbers{6, 4.5, 1}));
  EXPECT_EQ(allNotes(decay.found),
            "1 empty row is left out\n2 rows are without a number left out (line 2, line 6)\n"
            "the rows are not in order: sorted by time\n"
            "1 repeated value: samples of one time are averaged, 3 of 4 left\n"
            "the first column counts 1, 2, 3 ...: if these are numbers of echoes and no seconds, "
            "give --spacing TIME\n");
}

TEST(DecayFile, SpacingGivesTheTimes) {
  DecayFormatText text;
  text.spacing = "200us";
  const double step = 200.0 / 1e6;
  EXPECT_EQ(read("5\n4\n3\n", text).front().measured.decay.time,
            (Numbers{step, step + step, step + 2.0 * step}));
  EXPECT_EQ(read("echo,y\n1,5\n2,4\n4,3\n", text).front().measured.decay.time,
            (Numbers{step, 2.0 * step, 4.0 * step}));
  EXPECT_EQ(refusal("0.5,5\n1.5,4\n", text),
            "f.csv, line 1: --spacing \"200us\" takes a first column that numbers the samples, but "
            "it holds 0.5 here; leave --spacing out where the file has times, or choose the "
            "amplitudes by --columns -,Y");
  text.columns = "-,2";
  EXPECT_EQ(read("0.5,5\n1.5,4\n", text).front().measured.decay.amplitude, (Numbers{5, 4}));
  text.spacing = "1ms,0";
  EXPECT_EQ(read("0.5,5\n1.5,4\n", text).front().measured.decay.time, (Numbers{0.0, 1e-3}));
}

TEST(DecayFile, ColumnsOfOneFileAreManyDecays) {
  DecayFormatText text;
  text.columns = "1,2..3,5";
  const std::vector<FileDecay> decays = read("t,a,b,c,d\n1,9,8,7,6\n2,5,4,3,\n3,1,1,1,1\n", text);
  ASSERT_EQ(decays.size(), 3U);
  EXPECT_EQ(decays[1].column, "b");
  EXPECT_EQ(decays[1].measured.decay.amplitude, (Numbers{8, 4, 1}));
  EXPECT_EQ(decays[2].measured.decay.time, (Numbers{1, 3}));  // the others have no number
  text.columns = "1,2:3,4:5";
  const std::vector<FileDecay> pairs = read("1,9,8,7,6\n2,5,4,3,2\n", text);
  ASSERT_EQ(pairs.size(), 2U);
  EXPECT_EQ(pairs[1].measured.imaginary, (Numbers{6, 2}));
  text.columns = "1,2..2000000";
  EXPECT_THROW(read("1,9\n2,8\n", text), UserError);
}

TEST(DecayFile, ComplexNumbersInOneFieldAreBothChannels) {
  const FileDecay decay = read("1 (1.5e+00+2.0e-01j)\n2 (1.0e+00-1.0e-01j)\n").front();
  EXPECT_EQ(decay.measured.decay.amplitude, (Numbers{1.5, 1.0}));
  EXPECT_EQ(decay.measured.imaginary, (Numbers{0.2, -0.1}));
}

TEST(DecayFile, ImplausibleTimesAreNoted) {
  EXPECT_EQ(allNotes(read("200,5\n7200,4\n").front().found),
            "the times go up to 7200 s; are they in seconds? (--time-unit ms, say)\n");
  EXPECT_EQ(allNotes(read("0,5\n1000,4\n", {}, Quantity::bValue).front().found),
            "the b values go up to 1000 s/m2; are they in s/m2? (--time-unit s/mm2, say)\n");
  EXPECT_EQ(allNotes(read("0.2,5\n7.2,4\n").front().found), "");
}

TEST(DecayFile, WhatIsWrittenReadsBackToTheLastBit) {
  const TemporaryFolder folder;
  for (const char* columns : {"1,2", "1,2,3"}) {
    DecayFormatText text;
    text.columns = columns;
    const std::vector<FileDecay> decays =
        read("t (us),re,im\n0.1,0.30000000000000004,1e-7\n0.3,0.1,-3\n", text);
    writeFile(folder / "out.csv", decayCsv(decays, Kernel::t2));
    const FileDecay again = readFileDecay(folder / "out.csv", {});
    EXPECT_EQ(again.measured.decay.time, decays.front().measured.decay.time);
    EXPECT_EQ(again.measured.decay.amplitude, decays.front().measured.decay.amplitude);
    EXPECT_EQ(again.measured.imaginary, decays.front().measured.imaginary);
  }
}

}  // namespace
}  // namespace vorin::toolkit
