// The forms in which two columns of numbers may come. What is refused, and in
// which words, is tested through the program in bad_input_test.cpp.
#include "toolkit/reading/csv.hpp"

#include <gtest/gtest.h>

#include "support/child.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using test::TemporaryFolder;
using test::writeFile;

Decay decayFrom(std::string_view content) {
  const TemporaryFolder folder;
  writeFile(folder / "decay.csv", content);
  return readDecay(folder / "decay.csv");
}

TEST(Csv, EveryFormOfTheSameDecayReadsAlike) {
  for (const char* content : {
           "0.001,3\n0.002,2.5\n",
           "0.001;3\n0.002;2.5\n",
           "0.001\t3\n0.002\t2.5\n",
           "0.001 3\n0.002 2.5\n",
           "  0.001    3  \n\t0.002 \t 2.5\n",
           "0.001 , 3\n0.002 , 2.5\n",
           "time_s,amplitude\n0.001,3\n0.002,2.5\n",
           "time (s) amplitude (a.u.)\n0.001 3\n0.002 2.5\n",
           "time;amplitude\n0.001,3\n0.002,2.5\n",
           "# a comment, with 1,2,3\n\ntime,amplitude\n# another\n1e-3,3\n\n2e-3,2.5",
           "\xEF\xBB\xBFtime_s,amplitude\r\n0.001,3\r\n0.002,2.5\r\n",
           "time_s,amplitude\r0.001,3\r0.002,2.5\r",
           "0,001;3\n0,002;2,5\n",
           "0,001\t3\r\n0,002\t2,5",
           "0,001 3\n0,002   2,5\n",
           "Zeit Signal\n0,001 3,0\n0,002 2,5\n",
           "0.001, 3\n0.002, 2.5\n",
           "\"time\",\"amplitude, V\"\n\"0.001\",\"3\"\n\"0.002\",\"2.5\"\n",
           "# Zeit;Signal\n\"0,001\";\"3,0\"\n\"0,002\";\"2,5\"\n",
           "+1E-3,+3\n 2.0e-03 , 2.5\n\n\n",
       }) {
    const Decay decay = decayFrom(content);
    EXPECT_EQ(decay.time, (std::vector<double>{0.001, 0.002})) << content;
    EXPECT_EQ(decay.amplitude, (std::vector<double>{3.0, 2.5})) << content;
  }
}

TEST(Csv, CommasBetweenWholeNumbersSeparateTwoColumns) {
  const Decay decay = decayFrom("0,5\n1,3\n");
  EXPECT_EQ(decay.time, (std::vector<double>{0.0, 1.0}));
  EXPECT_EQ(decay.amplitude, (std::vector<double>{5.0, 3.0}));
}

TEST(Csv, CommasBetweenWholeNumbersAreDecimalBesideSemicolons) {
  const Decay decay = decayFrom("1,5;2,5\n2,5;1,5\n");
  EXPECT_EQ(decay.time, (std::vector<double>{1.5, 2.5}));
  EXPECT_EQ(decay.amplitude, (std::vector<double>{2.5, 1.5}));
}

MeasuredDecay columnsFrom(std::string_view content, std::string_view columns) {
  const TemporaryFolder folder;
  writeFile(folder / "decay.csv", content);
  DecayFormat format;
  format.columns = parseColumns(columns, "--columns");
  return readMeasuredDecay(folder / "decay.csv", format);
}

TEST(Csv, ColumnsAreChosenByNumberAndByName) {
  const std::string_view file = "No,time (ms),Im,Re,when\n1,0.5,-1,3,noon\n2,1.5,1,2,later\n";
  for (const char* columns : {"2,4,3", "time (ms),Re,Im", "TIME (MS),re,im", " 2 , Re , 3 "}) {
    const MeasuredDecay measured = columnsFrom(file, columns);
    EXPECT_EQ(measured.decay.time, (std::vector<double>{0.0005, 0.0015})) << columns;
    EXPECT_EQ(measured.decay.amplitude, (std::vector<double>{3.0, 2.0})) << columns;
    EXPECT_EQ(measured.imaginary, (std::vector<double>{-1.0, 1.0})) << columns;
  }
  EXPECT_TRUE(columnsFrom(file, "2,4").imaginary.empty());
}

TEST(Csv, ANameThatIsMeantToTheLetterWinsOverItsCapitals) {
  EXPECT_EQ(columnsFrom("T,t,a\n9,1,5\n8,2,4\n", "t,a").decay.time.front(), 1.0);
  EXPECT_EQ(columnsFrom("t,T,a\n9,1,5\n8,2,4\n", "T,a").decay.time.front(), 1.0);
}

TEST(Csv, ACommentBeforeTheRowsMayNameTheColumns) {
  // As numpy.savetxt leaves it.
  EXPECT_EQ(columnsFrom("# made today\n# t re im\n1 5 0\n2 4 0\n", "t,re").decay.amplitude,
            (std::vector<double>{5.0, 4.0}));
}

TEST(Csv, ASeparatorBehindAmplitudesAloneIsNoColumn) {
  DecayFormat format;
  format.spacing = Spacing{"1ms", 1e-3, {}};
  const TemporaryFolder folder;
  for (const char* content : {"5\n4\n3\n", "5,\n4,\n3,\n", "signal,\n5,\n4,\n3,\n"}) {
    writeFile(folder / "decay.csv", content);
    EXPECT_EQ(readMeasuredDecay(folder / "decay.csv", format).decay.amplitude,
              (std::vector<double>{5.0, 4.0, 3.0}))
        << content;
  }
}

TEST(Csv, NamesOfSeveralWordsMayStandAboveARowOfUnits) {
  const MeasuredDecay measured =
      columnsFrom("Echo time   First signal\nms mV\n1 5\n3 4\n", "Echo time,First signal");
  EXPECT_EQ(measured.decay.time, (std::vector<double>{0.001, 0.003}));
  EXPECT_EQ(measured.decay.amplitude, (std::vector<double>{5.0, 4.0}));
}

TEST(Csv, WholeNumbersInThreeColumnsAreColumnsWhereTheUserSaysSo) {
  EXPECT_EQ(columnsFrom("0,5,3\n1,4,2\n", "1,3").decay.amplitude, (std::vector<double>{3.0, 2.0}));
}

TEST(Csv, AbscissaeAreTurnedIntoSiUnits) {
  const TemporaryFolder folder;
  writeFile(folder / "decay.csv", "1,5\n3,4\n");
  DecayFormat format;
  format.unit = 1e-3;
  EXPECT_EQ(readMeasuredDecay(folder / "decay.csv", format).decay.time,
            (std::vector<double>{0.001, 0.003}));
  format = {std::nullopt, Quantity::bValue, 1e6};
  EXPECT_EQ(readMeasuredDecay(folder / "decay.csv", format).decay.time,
            (std::vector<double>{1e6, 3e6}));
}

TEST(Csv, AMatrixIsStoredByColumns) {
  const TemporaryFolder folder;
  writeFile(folder / "k.txt", "# K\n1 2 3\n4 5 6\n");
  const Matrix matrix = readMatrix(folder / "k.txt");
  EXPECT_EQ(matrix.rows, 2U);
  EXPECT_EQ(matrix.columns, 3U);
  EXPECT_EQ(matrix.values, (std::vector<double>{1, 4, 2, 5, 3, 6}));
}

TEST(Csv, ADistributionMayHaveMoreColumns) {
  const TemporaryFolder folder;
  writeFile(folder / "t2.csv", "t2_s,amplitude,lower,upper\n0.1,2,1,3\n0.2,3,2,4\n");
  EXPECT_EQ(readDistribution(folder / "t2.csv").amplitude, (std::vector<double>{2.0, 3.0}));
}

TEST(Csv, ATimeOfZeroAndNegativeAmplitudesAreData) {
  const Decay decay = decayFrom("0,-1\n1,0\n");
  EXPECT_EQ(decay.time.front(), 0.0);
  EXPECT_EQ(decay.amplitude.front(), -1.0);
}

TEST(Csv, ADistributionHasPositiveTimesAndNoNegativeAmplitude) {
  const TemporaryFolder folder;
  const auto read = [&](std::string_view content) {
    writeFile(folder / "truth.csv", content);
    return readDistribution(folder / "truth.csv");
  };
  EXPECT_EQ(read("0.1,0\n1,2\n").amplitude.back(), 2.0);
  EXPECT_THROW(read("0,1\n1,2\n"), UserError);
  EXPECT_THROW(read("0.1,-1\n1,2\n"), UserError);
  EXPECT_THROW(read("0.1,0\n1,0\n"), UserError);
}

}  // namespace
}  // namespace vorin::toolkit
