// vorin invert2d and simulate2d as a user runs them.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

using Json = nlohmann::json;

/// A folder with data.csv, made by simulate2d with `more`.
class Invert2d : public testing::Test {
 protected:
  void simulate(std::vector<std::string> more = {}) {
    std::vector<std::string> words{"simulate2d", "--times2", "1ms:1s:400:linear", "--out",
                                   "data.csv"};
    words.insert(words.end(), more.begin(), more.end());
    const Outcome outcome = runProgram(folder.path(), words);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }

  Json json(std::vector<std::string> more = {}, const std::string& grid1 = "1ms:10s:30") {
    std::vector<std::string> words{"invert2d", "data.csv",  "--grid1", grid1,
                                   "--grid2",  "1ms:3s:31", "--json",  "-"};
    words.insert(words.end(), more.begin(), more.end());
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return Json::parse(outcome.out);
  }

  TemporaryFolder folder;
};

std::vector<std::vector<double>> numbersIn(const fs::path& path) {
  std::vector<std::vector<double>> rows;
  std::istringstream in(contentOf(path));
  for (std::string line; std::getline(in, line);) {
    rows.emplace_back();
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, ',');) {
      rows.back().push_back(std::stod(field));
    }
  }
  return rows;
}

TEST_F(Invert2d, JsonHasTheMapAndItsSums) {
  simulate({"--truth", "truth.csv"});
  const Json result = json({"--out", "map.csv", "--fit", "fit.csv", "--region", "0.2:2,0.1:1"});
  EXPECT_EQ(result["success"], true);
  EXPECT_EQ(result["status"], 0);
  ASSERT_EQ(result["grid1"].size(), 30U);
  ASSERT_EQ(result["grid2"].size(), 31U);
  ASSERT_EQ(result["distribution"].size(), 30U);
  double total = 0.0;
  std::vector<double> columns(31, 0.0);
  for (std::size_t i = 0; i < 30; ++i) {
    double row = 0.0;
    ASSERT_EQ(result["distribution"][i].size(), 31U);
    for (std::size_t k = 0; k < 31; ++k) {
      row += result["distribution"][i][k].get<double>();
      columns[k] += result["distribution"][i][k].get<double>();
    }
    EXPECT_NEAR(result["projection1"][i].get<double>(), row, 1e-9);
    total += row;
  }
  for (std::size_t k = 0; k < 31; ++k) {
    EXPECT_NEAR(result["projection2"][k].get<double>(), columns[k], 1e-9);
  }
  EXPECT_NEAR(result["total"].get<double>(), total, 1e-9);
  EXPECT_NEAR(total, 100.0, 3.0);
  EXPECT_NEAR(result["noise"].get<double>(), 0.5, 0.02);
  const Json& peak = result["peaks"][0];
  EXPECT_NEAR(peak["share"].get<double>(), 0.6, 0.02);
  EXPECT_NEAR(peak["log_mean1"].get<double>(), 0.5, 0.02);
  EXPECT_NEAR(peak["ratio"].get<double>(),
              peak["position1"].get<double>() / peak["position2"].get<double>(), 1e-12);
  EXPECT_NEAR(result["regions"][0]["share"].get<double>(), 0.6, 0.02);
  // The files: first row and column hold the axes, and the rest is the same map.
  const auto map = numbersIn(folder / "map.csv");
  ASSERT_EQ(map.size(), 31U);
  ASSERT_EQ(map[0].size(), 32U);
  EXPECT_NEAR(map[1][0], 1e-3, 1e-12);
  EXPECT_NEAR(map[0][31], 3.0, 1e-12);
  EXPECT_NEAR(map[4][5], result["distribution"][3][4].get<double>(), 1e-7);
  EXPECT_EQ(numbersIn(folder / "fit.csv").size(), 33U);
  EXPECT_EQ(numbersIn(folder / "fit.csv")[0].size(), 401U);
}

TEST_F(Invert2d, PlainMatrixAndUnitsGiveTheSameMap) {
  simulate();
  const auto data = numbersIn(folder / "data.csv");
  std::string matrix;
  std::string first;
  std::string second;
  for (std::size_t i = 0; i < data.size(); ++i) {
    first += i > 0 ? fmt::format("{:.17g}\n", data[i][0] * 1e3) : "";
    for (std::size_t k = 1; k < data[i].size(); ++k) {
      (i == 0 ? second : matrix) += fmt::format("{:.17g}{}", data[i][k],
                                                i == 0                   ? '\n'
                                                : k + 1 < data[i].size() ? ' '
                                                                         : '\n');
    }
  }
  writeFile(folder / "plain.txt", matrix);
  writeFile(folder / "first.txt", first);
  writeFile(folder / "second.txt", second);
  const Json whole = json();
  const Outcome outcome =
      runProgram(folder.path(), {"invert2d", "plain.txt", "--times1", "first.txt", "--times2",
                                 "second.txt", "--time-unit1", "ms", "--grid1", "1ms:10s:30",
                                 "--grid2", "1ms:3s:31", "--json", "-"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json plain = Json::parse(outcome.out);
  EXPECT_NEAR(plain["weight"].get<double>(), whole["weight"].get<double>(),
              1e-3 * whole["weight"].get<double>());
  EXPECT_NEAR(plain["log_mean1"].get<double>(), whole["log_mean1"].get<double>(), 1e-5);
}

TEST_F(Invert2d, TwoChannelsTellPhaseAndNoise) {
  simulate({"--phase", "130", "--imaginary", "imaginary.csv"});
  const Json result = json({"--imaginary", "imaginary.csv", "--noise", "quadrature"});
  EXPECT_NEAR(result["phase"].get<double>(), 130.0, 0.5);
  EXPECT_EQ(result["noise_origin"], "quadrature");
  EXPECT_NEAR(result["noise"].get<double>(), 0.5, 0.02);
  EXPECT_NEAR(result["total"].get<double>(), 100.0, 3.0);
}

TEST_F(Invert2d, OtherKernelsAndTheBootstrap) {
  simulate({"--kernels", "diffusion,t2"});
  const Json result = json({"--kernels", "diffusion,t2"}, "1e-11:1e-8:30");
  EXPECT_FALSE(result["peaks"][0].contains("ratio"));
  EXPECT_NEAR(result["peaks"][0]["log_mean1"].get<double>(), 2e-9, 1e-10);
  simulate({"--kernels", "t1-saturation,t2"});
  const Json other = json({"--kernels", "t1-saturation,t2", "--bootstrap", "20"});
  EXPECT_EQ(other["bootstrap_replicates"], 20);
  EXPECT_LE(other["peaks"][0]["share_interval"][0].get<double>(),
            other["peaks"][0]["share_interval"][1].get<double>());
}

TEST_F(Invert2d, DrawsEveryKindOfPicture) {
  if (std::system("command -v gnuplot >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "skipped: gnuplot is not installed";
  }
  simulate();
  for (const auto& [name, start] : std::vector<std::pair<std::string, std::string>>{
           {"map.png", "\x89PNG"}, {"map.svg", "<?xml"}, {"map.pdf", "%PDF"}}) {
    json({"--plot", name});
    EXPECT_EQ(contentOf(folder / name).substr(0, start.size()), start);
  }
}

TEST_F(Invert2d, BadInputIsOneSentenceAndLeavesNothing) {
  simulate();
  writeFile(folder / "unequal.csv", ",1,2,3\n1,2,3,4\n2,3,4\n");
  writeFile(folder / "falling.csv", ",1,2,3\n2,2,3,4\n1,3,4,5\n");
  writeFile(folder / "one.csv", ",1,2,3\n2,2,3,4\n");
  writeFile(folder / "nan.csv", ",1,2,3\n1,2,3,4\n2,3,nan,5\n");
  writeFile(folder / "zero.csv", ",1,2,3\n1,0,0,0\n2,0,0,0\n");
  writeFile(folder / "times.txt", "1\n2\n");
  struct Case {
    std::vector<std::string> words;
    std::string part;
  };
  for (const Case& row :
       std::vector<Case>{{{"unequal.csv"}, "line 3"},
                         {{"falling.csv"}, "does not rise"},
                         {{"one.csv"}, "needs 2 rows at least"},
                         {{"nan.csv"}, "line 3"},
                         {{"zero.csv"}, "every sample is 0"},
                         {{"none.csv"}, "none.csv"},
                         {{"data.csv", "--kernels", "t2"}, "--kernels"},
                         {{"data.csv", "--kernels", "t2,t9"}, "t9"},
                         {{"data.csv", "--weight", "-1"}, "--weight"},
                         {{"data.csv", "--noise", "quadrature"}, "--noise"},
                         {{"data.csv", "--grid1", "1:2"}, "--grid1"},
                         {{"data.csv", "--region", "1:2"}, "--region"},
                         {{"data.csv", "--times1", "times.txt"}, "--times2"},
                         {{"data.csv", "--times1", "times.txt", "--times2", "times.txt"}, "rows"},
                         {{"data.csv", "--bootstrap", "0"}, "--bootstrap"}}) {
    std::vector<std::string> words{"invert2d"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    words.insert(words.end(), {"--out", "left.csv"});
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 2) << outcome.out;
    EXPECT_NE(outcome.err.find(row.part), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_FALSE(fs::exists(folder / "left.csv"));
  }
}

TEST_F(Invert2d, ReadsAT1T2SetOfAnInstrument) {
  const fs::path set =
      fs::path(VORIN_MEASURED_DATA_DIR).parent_path() / "instrument_files" / "spinsolve_t1t2";
  if (!fs::exists(set / "T1IRT2.dat")) {
    GTEST_SKIP() << "skipped: no instrument files";
  }
  for (const fs::path& name : {set, set / "T1IRT2.dat"}) {
    const Outcome outcome = runProgram(folder.path(), {"invert2d", name.string(), "--json", "-"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json result = Json::parse(outcome.out);
    // Sampled from 1 ms to 3 s and from 100 us to 102.4 ms, by acqu.par.
    EXPECT_GE(result["grid1"].front().get<double>(), 1e-3 * (1.0 - 1e-9));
    EXPECT_LE(result["grid1"].back().get<double>(), 9.0 * (1.0 + 1e-9));
    EXPECT_GE(result["grid2"].front().get<double>(), 1e-4 * (1.0 - 1e-9));
    EXPECT_LE(result["grid2"].back().get<double>(), 0.3072 * (1.0 + 1e-9));
    EXPECT_GT(result["log_mean1"].get<double>(), result["log_mean2"].get<double>());
  }
}

TEST_F(Invert2d, SimulationIsRepeatableAndRefusesWhatItCannotMake) {
  simulate();
  const std::string once = contentOf(folder / "data.csv");
  simulate();
  EXPECT_EQ(contentOf(folder / "data.csv"), once);
  for (const auto& [option, value] :
       std::vector<std::pair<std::string, std::string>>{{"--peak", "1:2:3"},
                                                        {"--peak", "100:1:0.1:5"},
                                                        {"--noise", "-1"},
                                                        {"--seed", "x"},
                                                        {"--times1", "5:1:3"},
                                                        {"--phase", "10"},
                                                        {"--kernels", "t2"}}) {
    const Outcome outcome =
        runProgram(folder.path(), {"simulate2d", "--out", "left.csv", option, value});
    EXPECT_EQ(outcome.status, 2) << option;
    EXPECT_NE(outcome.err.find(option), std::string::npos) << outcome.err;
  }
  EXPECT_FALSE(fs::exists(folder / "left.csv"));
}

}  // namespace
}  // namespace vorin::toolkit::test
