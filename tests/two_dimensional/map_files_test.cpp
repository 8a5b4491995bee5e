// What vorin invert2d reads besides text with axes: arrays of numpy's and kernels in files; and its
// exit status where no map is what was asked for.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/npy.hpp"
#include "toolkit/two_dimensional/map_reading.hpp"
#include "toolkit/two_dimensional/map_report.hpp"
#include "toolkit/user_error.hpp"
#include "two_dimensional/experiments.hpp"

namespace vorin::toolkit::test {
namespace {

using Json = nlohmann::json;

/// An array as numpy.save writes it: magic, version 1.0, the header's length in two bytes, the
/// header, padded to a multiple of 64 and ended by a newline, and the numbers.
std::string npy(const std::string& type, bool byColumns, const std::string& shape,
                const std::string& numbers) {
  std::string header = "{'descr': '" + type +
                       "', 'fortran_order': " + (byColumns ? "True" : "False") + ", 'shape': (" +
                       shape + "), }";
  header.append(63 - (10 + header.size()) % 64, ' ');
  header += '\n';
  std::string text("\x93NUMPY\x01\x00", 8);
  text += static_cast<char>(header.size() % 256);
  text += static_cast<char>(header.size() / 256);
  return text + header + numbers;
}

template <class Number>
std::string bytesOf(const std::vector<Number>& numbers) {
  std::string bytes(numbers.size() * sizeof(Number), '\0');
  std::memcpy(bytes.data(), numbers.data(), bytes.size());
  return bytes;
}

TEST(Npy, ReadsEveryKindOfNumberInEitherOrder) {
  const TemporaryFolder folder;
  const std::vector<double> expected{1.0, 2.0, 3.0, 4.0, 5.0, 6.0};  // rows 1 2 3, 4 5 6
  const auto read = [&](const std::string& content) {
    writeFile(folder / "a.npy", content);
    EXPECT_TRUE(isNpy(folder / "a.npy"));
    return readNpy(folder / "a.npy");
  };
  EXPECT_EQ(read(npy("<f8", false, "2, 3", bytesOf<double>({1, 2, 3, 4, 5, 6}))).real, expected);
  EXPECT_EQ(read(npy("<f4", true, "2, 3", bytesOf<float>({1, 4, 2, 5, 3, 6}))).real, expected);
  EXPECT_EQ(read(npy("<i4", false, "2, 3", bytesOf<std::int32_t>({1, 2, 3, 4, 5, 6}))).real,
            expected);
  EXPECT_EQ(read(npy(">u2", false, "6,", std::string("\0\1\0\2\0\3\0\4\0\5\0\6", 12))).real,
            expected);
  const NumberArray both = read(npy("<c16", false, "1, 2", bytesOf<double>({1, -1, 2, -2})));
  EXPECT_EQ(both.real, (std::vector<double>{1.0, 2.0}));
  EXPECT_EQ(both.imaginary, (std::vector<double>{-1.0, -2.0}));
  EXPECT_EQ(both.shape, (std::vector<std::size_t>{1, 2}));
}

// Text with the axes: the first row and column, with 0 in the corner.
TEST(ImaginaryChannel, HasBothAxesOfTheRealOne) {
  const TemporaryFolder folder;
  writeFile(folder / "real.csv", "0,1,2\n1,5,4\n2,3,2\n");
  const auto read = [&](const std::string& content) {
    writeFile(folder / "imaginary.csv", content);
    MapFormat format;
    format.imaginary = (folder / "imaginary.csv").string();
    return readMap(folder / "real.csv", format);
  };
  EXPECT_EQ(read("0,1,2\n1,-1,-2\n2,-3,-4\n").imaginary,
            (std::vector<double>{-1.0, -2.0, -3.0, -4.0}));
  for (const char* content : {"0,1,2\n1,5,4\n3,3,2\n", "0,1,3\n1,5,4\n2,3,2\n"}) {
    EXPECT_THROW(read(content), UserError) << content;
  }
}

TEST(Npy, TellsWhatItCannotRead) {
  const TemporaryFolder folder;
  const std::string numbers = bytesOf<double>({1, 2, 3, 4});
  for (const auto& [content, part] : std::vector<std::pair<std::string, std::string>>{
           {npy("|O", false, "2, 2", numbers), "numbers are needed"},
           {npy("<f8", false, "2, 2, 1", numbers), "3 dimensions"},
           {npy("<f8", false, "2, 9", numbers), "is cut"},
           {npy("<f8", false, "2, x", numbers), "no shape"},
           {npy("<f8", false, "2, 2", "").substr(0, 30), "cut in its header"}}) {
    writeFile(folder / "a.npy", content);
    try {
      readNpy(folder / "a.npy");
      ADD_FAILURE() << part;
    } catch (const UserError& error) {
      EXPECT_NE(std::string_view(error.what()).find(part), std::string_view::npos) << error.what();
    }
  }
}

class MapFiles : public testing::Test {
 protected:
  MapFiles() {
    e.data.times2 = evenTimes(2e-3, 200);
    e.data.samples = simulatedSamples(e.data, e.settings, e.truth, e.noise, 5);
    writeFile(folder / "data.csv", matrixCsv(e.data.times1, e.data.times2, e.data.samples, 17));
  }

  Outcome run(std::vector<std::string> more) {
    std::vector<std::string> words{"invert2d", "--grid1", "0.003:10:20", "--grid2", "1ms:3s:20",
                                   "--json",   "-"};
    words.insert(words.end(), more.begin(), more.end());
    return runProgram(folder.path(), words);
  }

  Json result(std::vector<std::string> more) {
    const Outcome outcome = run(std::move(more));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return Json::parse(outcome.out);
  }

  TemporaryFolder folder;
  Experiment e = experiment(Kernel::t1Inversion, 20, 100.0, 5);
};

TEST_F(MapFiles, ArraysGiveTheBitsOfText) {
  writeFile(folder / "d.npy", npy("<f8", false, "32, 200", bytesOf(e.data.samples)));
  writeFile(folder / "t1.npy", npy("<f8", false, "32,", bytesOf(e.data.times1)));
  writeFile(folder / "t2.npy", npy("<f8", false, "200,", bytesOf(e.data.times2)));
  const Json text = result({"data.csv"});
  EXPECT_EQ(result({"d.npy", "--times1", "t1.npy", "--times2", "t2.npy"})["distribution"],
            text["distribution"]);
  std::vector<double> turned;
  for (double sample : e.data.samples) {
    turned.push_back(sample * std::cos(0.5));
    turned.push_back(sample * std::sin(0.5));
  }
  writeFile(folder / "z.npy", npy("<c16", false, "32, 200", bytesOf(turned)));
  const Json complex = result({"z.npy", "--times1", "t1.npy", "--times2", "t2.npy"});
  EXPECT_NEAR(complex["phase"].get<double>(), 0.5 * 180.0 / std::acos(-1.0), 1e-6);
  EXPECT_NEAR(complex["total"].get<double>(), text["total"].get<double>(), 1e-6);
}

TEST_F(MapFiles, AKernelInAFileIsTheKernelByName) {
  const std::vector<double> grid = LogGrid{3e-3, 10.0, 20}.times();
  std::string matrix;
  for (double t : e.data.times1) {
    for (double T : grid) {
      matrix += fmt::format("{:.17g} ", 1.0 - 2.0 * std::exp(-t / T));
    }
    matrix += '\n';
  }
  writeFile(folder / "k1.txt", matrix);
  const Json byName = result({"data.csv"});
  const Json byFile = result({"data.csv", "--kernels", "k1.txt,t2"});
  EXPECT_EQ(byFile["kernels"][0], "k1.txt");
  EXPECT_NEAR(byFile["total"].get<double>(), byName["total"].get<double>(), 1e-6);
  EXPECT_FALSE(byFile["peaks"][0].contains("ratio"));
  writeFile(folder / "short.txt", "1 2\n3 4\n");
  const Outcome outcome = run({"data.csv", "--kernels", "short.txt,t2"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("short.txt"), std::string::npos) << outcome.err;
}

// The first value of each row of a Spinsolve's set is at the shortest delay, the last at the
// longest.
TEST(Spinsolve, DelaysSpreadFromTheShortestToTheLongest) {
  const TemporaryFolder folder;
  writeFile(folder / "acqu.par",
            "minTau = 10\nmaxTau = 1000\ntauSteps = 3\nnrEchoes = 2\nechoTime = 500\n");
  writeFile(folder / "T1IRT2.dat", "-4 0 -2 0\n1 0 0.5 0\n4 0 2 0\n");
  const MapData data = readMap(folder.path(), {}).data;
  ASSERT_EQ(data.times1.size(), 3U);
  EXPECT_DOUBLE_EQ(data.times1[0], 0.01);
  EXPECT_DOUBLE_EQ(data.times1[1], 0.1);
  EXPECT_DOUBLE_EQ(data.times1[2], 1.0);
  EXPECT_EQ(data.times2, (std::vector<double>{1.0 * 500e-6, 2.0 * 500e-6}));
}

TEST_F(MapFiles, AFileMayHaveANameOfAnyLetters) {
  fs::copy_file(folder / "data.csv", folder /
                                         "donn\xC3\xA9"
                                         "es.csv");
  const Outcome outcome =
      run({"donn\xC3\xA9"
           "es.csv"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("donn\xC3\xA9"
                             "es.csv"),
            std::string::npos);
}

TEST_F(MapFiles, AMapOfNothingEndsWithOne) {
  for (double& sample : e.data.samples) {
    sample = -std::fabs(sample) - 1.0;
  }
  writeFile(folder / "data.csv", matrixCsv(e.data.times1, e.data.times2, e.data.samples, 17));
  const Outcome outcome = run({"data.csv", "--kernels", "t2,t2", "--weight", "1"});
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  const Json told = Json::parse(outcome.out);
  EXPECT_EQ(told["success"], false);
  EXPECT_EQ(told["status"], 3);
  EXPECT_EQ(told["total"], 0.0);
}

}  // namespace
}  // namespace vorin::toolkit::test
