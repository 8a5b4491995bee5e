// The forms in which two columns of numbers may come. What is refused, and in
// which words, is tested through the program in bad_input_test.cpp.
#include "common/csv.hpp"

#include <gtest/gtest.h>

#include "common/user_error.hpp"
#include "hosts/child.hpp"

namespace vorin::host {
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
       }) {
    const Decay decay = decayFrom(content);
    EXPECT_EQ(decay.time, (std::vector<double>{0.001, 0.002})) << content;
    EXPECT_EQ(decay.amplitude, (std::vector<double>{3.0, 2.5})) << content;
  }
}

TEST(Csv, ATimeOfZeroAndNegativeAmplitudesAreData) {
  const Decay decay = decayFrom("0,-1\n1,0\n");
  EXPECT_EQ(decay.time.front(), 0.0);
  EXPECT_EQ(decay.amplitude.front(), -1.0);
}

TEST(Csv, OnlyOneHeaderIsAllowed) {
  EXPECT_THROW(decayFrom("time,amplitude\nsecond,header\n1,2\n2,1\n"), UserError);
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
}  // namespace vorin::host
