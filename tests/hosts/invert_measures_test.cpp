// Cutoffs, percentiles and the calibration as the command tells and writes them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/csv.hpp"

namespace vorin::toolkit::test {
namespace {

using Json = nlohmann::json;

/// A decay whose truth has 30 of 100 around 8 ms and 70 around 90 ms, both 0.15 decades wide: a
/// cutoff of 27 ms, 3.5 widths from either, divides them to 0.02 %.
void makeDecay(const TemporaryFolder& folder) {
  ASSERT_EQ(runProgram(folder.path(), {"simulate", "--out", "decay.csv", "--noise", "0.02"}).status,
            0);
}

TEST(InvertMeasures, ACutoffDividesWhatTheTruthDivides) {
  const TemporaryFolder folder;
  makeDecay(folder);
  const Outcome outcome =
      runProgram(folder.path(), {"invert", "decay.csv", "--cutoff", "27ms", "--json", "all.json",
                                 "--out", "f.csv", "--table", "table.csv", "--no-picture"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json one = Json::parse(contentOf(folder / "all.json"));
  ASSERT_EQ(one["cutoffs"].size(), 2U);
  EXPECT_NEAR(one["cutoffs"][0]["share"].get<double>(), 0.30, 0.004);
  EXPECT_NEAR(one["cutoffs"][1]["amount"].get<double>(), 70.0, 0.4);
  EXPECT_EQ(one["cutoffs"][0]["from"], 0.0);
  EXPECT_EQ(one["cutoffs"][0]["to"], 0.027);
  EXPECT_TRUE(one["cutoffs"][1]["to"].is_null());
  EXPECT_TRUE(one["amplitude_unit"].is_null());
  // The mean of a log-normal peak is exp(s^2 / 2) above its centre, s in ln T.
  const double s = 0.15 * std::log(10.0);
  EXPECT_NEAR(one["mean"].get<double>() / ((0.3 * 0.008 + 0.7 * 0.09) * std::exp(0.5 * s * s)), 1.0,
              0.01);
  EXPECT_NE(outcome.out.find("\n  cutoffs         below 27.0 ms"), std::string::npos)
      << outcome.out;
  EXPECT_NE(contentOf(folder / "table.csv")
                .find(",amount_below_0.027_s,share_below_0.027_s,amount_above_0.027_s,"
                      "share_above_0.027_s,message,notes,peak_positions_s,"),
            std::string::npos);
  // The column of --out is the running sum of its amplitudes and ends at the total.
  std::istringstream rows(contentOf(folder / "f.csv"));
  std::string row;
  std::getline(rows, row);
  std::getline(rows, row);
  EXPECT_EQ(row, "t2_s,amplitude,cumulative");
  double sum = 0.0;
  double last = 0.0;
  while (std::getline(rows, row)) {
    const std::size_t first = row.find(',');
    const std::size_t second = row.find(',', first + 1);
    sum += std::stod(row.substr(first + 1));
    last = std::stod(row.substr(second + 1));
    EXPECT_NEAR(last, sum, 1e-5);
  }
  EXPECT_NEAR(last, one["total"].get<double>(), 1e-5);
}

TEST(InvertMeasures, AllHaveIntervalsWithABootstrap) {
  const TemporaryFolder folder;
  makeDecay(folder);
  const Outcome outcome =
      runProgram(folder.path(), {"invert", "decay.csv", "--cutoff", "3ms,33ms", "--percentiles",
                                 "25", "--bootstrap", "20", "--json", "-", "--table", "t.csv"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json one = Json::parse(outcome.out);
  const auto holds = [](const Json& object, const std::string& name) {
    return object[name + "_lower"].get<double>() <= object[name + "_upper"].get<double>();
  };
  EXPECT_TRUE(holds(one, "mean"));
  ASSERT_EQ(one["percentiles"].size(), 1U);
  EXPECT_TRUE(holds(one["percentiles"][0], "position"));
  ASSERT_EQ(one["cutoffs"].size(), 3U);
  for (const Json& part : one["cutoffs"]) {
    EXPECT_TRUE(holds(part, "share"));
    EXPECT_TRUE(holds(part, "amount"));
  }
  for (const Json& peak : one["peaks"]) {
    for (const char* name : {"position", "centre", "width", "share", "amount"}) {
      EXPECT_TRUE(holds(peak, name)) << name;
    }
  }
  EXPECT_NE(contentOf(folder / "t.csv").find(",mean_s,mean_lower_s,mean_upper_s,p25_s,p25_lower_s"),
            std::string::npos);
}

TEST(InvertMeasures, ACalibrationIsTheUnitOfAllAmplitudes) {
  const TemporaryFolder folder;
  makeDecay(folder);
  const std::vector<std::string> common{"invert", "decay.csv", "--noise", "0.02", "--json", "-"};
  std::vector<std::string> calibrated = common;
  calibrated.insert(calibrated.end(), {"--calibrate", "100pu=50", "--fit", "fit.csv"});
  const Json plain = Json::parse(runProgram(folder.path(), common).out);
  const Json twice = Json::parse(runProgram(folder.path(), calibrated).out);
  EXPECT_EQ(twice["amplitude_unit"], "pu");
  for (const char* name : {"total", "noise", "fit_error"}) {
    EXPECT_NEAR(twice[name].get<double>() / plain[name].get<double>(), 2.0, 1e-6) << name;
  }
  EXPECT_NEAR(twice["log_mean"].get<double>() / plain["log_mean"].get<double>(), 1.0, 1e-6);
  EXPECT_NE(runProgram(folder.path(), {"invert", "decay.csv", "--calibrate", "100pu=50"})
                .out.find(" pu\n"),
            std::string::npos);
}

TEST(InvertMeasures, BadOnesAreRefused) {
  const TemporaryFolder folder;
  makeDecay(folder);
  for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
           {"--cutoff", "33 min"}, {"--percentiles", "150"}, {"--calibrate", "pu"}}) {
    std::vector<std::string> words{"invert", "decay.csv", "--out", "f.csv"};
    words.insert(words.end(), options.begin(), options.end());
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find(options[0] + " \"" + options[1] + "\": "), std::string::npos)
        << outcome.err;
    EXPECT_FALSE(fs::exists(folder / "f.csv"));
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
